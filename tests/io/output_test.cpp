#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <future>

#include "cli/app_test_support.h"
#include "io/atomic_file.h"
#include "io/present_error.h"
#include "io/printable.h"

namespace {

unsigned mode_of(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode : 0U;
}

TEST(Output, IsWholeOrNotThere) {
    support::TemporaryDirectory directory;
    const std::string path = directory / "out.bin", link = directory / "link.bin";
    support::WriteFile(path, "old");
    chmod(path.c_str(), 0600);
    std::filesystem::create_symlink("out.bin", link);
    // Of a run that was killed, and not of this target.
    support::WriteFile(directory / ".out.bin.zev-abcdef", "left");
    support::WriteFile(directory / ".other.bin.zev-abcdef", "kept");
    ASSERT_EQ(mkfifo((directory / ".out.bin.zev-apipe0").c_str(), 0600), 0);
    {
        AtomicFile file(link);
        file.Write("half", 4);
        file.Finish();
        EXPECT_EQ(support::ReadFile(path), "old");
    }
    EXPECT_EQ(support::ReadFile(path), "old");
    EXPECT_EQ(directory.Count(), 4U) << "the leftover is gone, and so is this run's temporary";
    WriteFileAtomically(link, "whole", 5);
    EXPECT_EQ(support::ReadFile(path), "whole");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(mode_of(path) & 07777, 0600U);
    {
        // The temporary of a run that lives is nobody's leftover.
        AtomicFile first(path), second(path);
        first.Write("first", 5);
        first.Commit();
        second.Commit();
    }
    EXPECT_EQ(support::ReadFile(path), "");
    for (const char* bad : {"no/out.bin", ""}) {
        EXPECT_THROW(WriteFilesAtomically({{path, "new"}, {directory / bad, "x"}}), PresentError) << bad;
        EXPECT_EQ(support::ReadFile(path), "")
            << "the first output took its place before the second was there";
    }
    // The longest name has a temporary, too.
    WriteFileAtomically(directory / std::string(255, 'x'), "x", 1);
    EXPECT_EQ(directory.Count(), 5U);
    // Runs at the same time do not take each other's temporaries.
    const auto write = [&] {
        for (int i = 0; i < 100; ++i) WriteFileAtomically(path, "x", 1);
    };
    std::future<void> other = std::async(std::launch::async, write);
    EXPECT_NO_THROW(write());
    EXPECT_NO_THROW(other.get());
}

TEST(Output, WhatIsNotAFileIsWrittenStraight) {
    support::TemporaryDirectory directory;
    const std::string pipe = directory / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    WriteFileAtomically(pipe, "through", 7);
    char got[8] = {};
    EXPECT_EQ(read(reader, got, 7), 7);
    close(reader);
    EXPECT_STREQ(got, "through");
    EXPECT_TRUE(S_ISFIFO(mode_of(pipe)));
    EXPECT_NO_THROW(WriteFileAtomically("/dev/null", "x", 1));
    EXPECT_TRUE(S_ISCHR(mode_of("/dev/null")));
    EXPECT_THROW(WriteFileAtomically("/dev/full", "x", 1), PresentError);
}

TEST(Output, ClashesAreFoundBehindNames) {
    support::TemporaryDirectory directory;
    const std::string file = directory / "a.dcm", link = directory / "link", hard = directory / "hard";
    support::WriteFile(file, "x");
    std::filesystem::create_symlink(file, link);
    std::filesystem::create_hard_link(file, hard);
    const struct {
        std::vector<std::string> inputs, outputs;
        bool clash;
    } rows[] = {
        {{file}, {directory / "./a.dcm"}, true},
        {{file}, {link}, true},
        {{file}, {hard}, true},
        {{file}, {directory / "b.dcm"}, false},
        {{file}, {directory / "b.dcm", directory / "./b.dcm"}, true},
        {{file, ""}, {directory / "b.dcm", "", ""}, false},
        {{file}, {"/dev/null", "/dev/null"}, false},
        {{file}, {"-", "-"}, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.outputs));
        if (row.clash) {
            EXPECT_THROW(RefuseClashes(row.inputs, row.outputs), UsageError);
        } else {
            EXPECT_NO_THROW(RefuseClashes(row.inputs, row.outputs));
        }
    }
}

TEST(Output, TextForATerminalCommandsNothing) {
    const struct {
        const char *text, *shown;
    } rows[] = {
        {"W\xc3\xa4rme 20 \xe2\x82\xac", "W\xc3\xa4rme 20 \xe2\x82\xac"},
        {"a\x1b[2Jb\r\n\x7f", "a?[2Jb???"},
        {"c1 \xc2\x9b turned \xe2\x80\xae", "c1 ? turned ?"},
        {"cut \xe2\x82 over \xc0\x80 high \xed\xa0\x80", "cut ?? over ?? high ???"},
    };
    for (const auto& row : rows) EXPECT_EQ(Printable(row.text), row.shown);
}

}  // namespace
