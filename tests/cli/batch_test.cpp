#include <gtest/gtest.h>
#include <sys/stat.h>

#include "cli/batch_inputs.h"
#include "io/image_support.h"
#include "program_support.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using support::Outcome;

/// Runs in the test's own directory, over a few images that differ.
class Batch : public support::ProgramTest {
protected:
    Batch() {
        fs::current_path(m_Directory.Path());
        for (const char* folder : {"in/sub", "other"}) fs::create_directories(folder);
        int side = 8;
        for (const char* name : {"in/a.dcm", "in/a", "in/sub/a.dcm", "other/b.DCM"})
            support::WriteImage(name, support::Ramp("MR", {}, side += 2));
        DicomDataSet cine = support::Ramp("XA", {}, 4);
        cine.PutText(tag::kNumberOfFrames, "IS", "3");
        std::string& pixels = cine.elements[tag::kPixelData].bytes;
        pixels += std::string(12, '\7') + pixels + pixels.substr(0, 4);
        support::WriteImage("cine.dcm", cine);
        std::vector<std::uint32_t> header(16);
        header[0] = 1, header[1] = 64;
        const std::string frame = support::BytesOf(header, 4) + '\x0F' + std::string(16, '\5');
        support::WriteFile("partly.dcm", support::Encoded(cine, "1.2.840.10008.1.2.5",
                                                          support::Fragments("", {"??", frame, frame})));
        fs::copy("in/a", "a-2.dcm");
        support::WriteFile("in/notes.txt", "not an image");
        support::WriteFile("list", "# two\nin/a.dcm\r\n\nin/sub/a.dcm\n");
    }
    ~Batch() override { fs::current_path(fs::temp_directory_path()); }

    /// All files below a folder, by their path in it.
    static std::map<std::string, std::string> Files(const std::string& folder) {
        std::map<std::string, std::string> files;
        if (!fs::exists(folder)) return files;
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file())
                files[entry.path().lexically_relative(folder)] = support::ReadFile(entry.path());
        }
        return files;
    }
    static std::string Names(const std::string& folder) {
        std::string names;
        for (const auto& [name, bytes] : Files(folder)) names += (names.empty() ? "" : " ") + name;
        return names;
    }
    static std::vector<Json> Report() {
        std::vector<Json> lines;
        for (const std::string& line : support::Split(support::ReadFile("report"), '\n'))
            lines.push_back(Json::parse(line));
        return lines;
    }
};

TEST_F(Batch, Names) {
    const struct {
        std::string arguments;
        std::string names;
        std::string failure;
    } rows[] = {
        {"in", "a-2.png a.png sub/a.png", ""},
        {"in/a.dcm in/sub/a.dcm", "a-2.png a.png", ""},
        {"in/sub in/sub/a.dcm other", "a-2.png a.png b.png", ""},
        {"@list @list", "a-2.png a-3.png a-4.png a.png", ""},
        {"@list a-2.dcm", "a-2.png a-3.png a.png", ""},
        {"in/a.dcm", "a.png", ""},
        {"@- < list", "a-2.png a.png", ""},
        {"- < in/a.dcm", "stdin.png", ""},
        {"in gone.dcm", "", "gone.dcm: No such file or directory"},
        {"cine.dcm --frame all --format png", "cine-f0000.png cine-f0001.png cine-f0002.png", ""},
        {"cine.dcm --frame 1-2", "cine-f0001.png cine-f0002.png", ""},
        {"cine.dcm --frame 1", "cine.png", ""},
        {"cine.dcm other --frame 2-5", "cine-f0002.png", "has no frame 3: its frames are 0 to 2"},
        {"cine.dcm --frame 7-9", "", "has no frame 7: its frames are 0 to 2"},
        {"cine.dcm in/a --frame 1", "cine.png", "in/a: has no frame 1: its frames are 0 to 0"},
        {"in/a.dcm --frame all", "a-f0000.png", ""},
        {"in/a in/a.dcm --frame 2147483647", "", "has no frame 2147483647"},
        {"partly.dcm --frame all", "partly-f0001.png partly-f0002.png", "damaged"},
        {"partly.dcm --frame 1-2", "partly-f0001.png partly-f0002.png", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments);
        const Outcome outcome = Run("render -q -o out/ " + row.arguments);
        EXPECT_EQ(outcome.status, row.failure.empty() ? 0 : 1) << outcome.err;
        EXPECT_EQ(Names("out"), row.names);
        EXPECT_NE(outcome.err.find(row.failure), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.err.empty(), row.failure.empty()) << outcome.err;
        fs::remove_all("out");
    }
    // Standard input is there once.
    for (const char* inputs : {"- -", "- @-", "@- -"})
        EXPECT_EQ(Run(std::string("render -o out/ ") + inputs + " < in/a.dcm").status, 2) << inputs;
}

TEST_F(Batch, WrongUsageDrawsNothing) {
    const std::size_t files = Files(".").size();
    for (const char* arguments :
         {"in/a.dcm -o x.bmp", "in/a.dcm -o x", "in -o x.png", "in/a in/a.dcm -o x.png", "in -o -",
          "cine.dcm -o x.png --frame 0-1", "in/a.dcm -o x.jpg --bits 16", "in -o out --format jpg --bits 16",
          "in -o out --frame 3-1", "in -o out --frame 1-", "in -o out --shard 0/2", "in -o out --shard 3/2",
          "in -o out --shard 1", "in -o out --fit 5x0", "in -o out --jobs 0",
          "in/a.dcm -o in/a.dcm --format png", "in/a.dcm -o x.png --resume", "in/a.dcm -o x.png --bits 12",
          "in/a.dcm -o="}) {
        const Outcome outcome = Run(std::string("render ") + arguments);
        EXPECT_EQ(outcome.status, 2) << arguments << "\n" << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_EQ(Files(".").size(), files) << arguments;
    }
}

// Not in PNG: of two equal matches the compressor may take either.
TEST_F(Batch, PicturesAreThoseOfSingleRuns) {
    WriteSamples("samples");
    fs::copy("cine.dcm", "samples/cine.dcm");
    std::map<std::string, std::string> expected, frames;
    for (const auto& [name, bytes] : Files("samples")) {
        const std::string stem = fs::path(name).stem();
        ASSERT_EQ(Run("render samples/" + name + " -o single.ppm --gamma 0.8").status, 0);
        expected[stem + ".ppm"] = support::ReadFile("single.ppm");
    }
    // What is not an image is skipped in a folder.
    WriteSampleState("samples");
    EXPECT_EQ(Run("render samples/ct-state.dcm -o single.ppm").status, 1);
    for (const char* frame : {"0", "1", "2"}) {
        ASSERT_EQ(Run(std::string("render cine.dcm -o single.ppm --frame ") + frame).status, 0);
        frames[std::string("cine-f000") + frame + ".ppm"] = support::ReadFile("single.ppm");
    }
    for (const std::string jobs : {"1", "3"}) {
        EXPECT_EQ(Run("render samples -o out" + jobs + " --gamma 0.8 --format ppm --jobs " + jobs).status, 0);
        EXPECT_EQ(Files("out" + jobs), expected) << jobs;
        EXPECT_EQ(Run("render cine.dcm -o cine" + jobs + " --frame all --format ppm --jobs " + jobs).status,
                  0);
        EXPECT_EQ(Files("cine" + jobs), frames) << jobs;
    }
}

TEST_F(Batch, SharesAreTheWholeWhereverTheFolderIs) {
    fs::create_directory("many");
    for (int i = 0; i < 20; ++i) fs::copy("in/a", "many/" + std::to_string(i) + ".dcm");
    std::map<std::string, std::string> all;
    for (const std::string share : {"1/3", "2/3", "3/3"}) {
        const std::string out = std::string("out") + share[0];
        EXPECT_EQ(Run("render many -o " + out + " --shard " + share).status, 0);
        std::map<std::string, std::string> drawn = Files(out);
        const std::size_t least = all.size() + 1;
        all.merge(drawn);
        EXPECT_TRUE(drawn.empty()) << share;
        EXPECT_GE(all.size(), least);
    }
    EXPECT_EQ(all.size(), 20U);
    fs::create_directory("moved");
    fs::rename("many", "moved/many");
    EXPECT_EQ(Run("render " + m_Directory / "moved/many" + " -o again --shard 2/3").status, 0);
    EXPECT_EQ(Names("again"), Names("out2"));
    // Both have the name "a", and one of them "-2" in every share.
    for (const char* share : {"1/2", "2/2"})
        EXPECT_EQ(Run(std::string("render in/a.dcm in/sub/a.dcm -o both --shard ") + share).status, 0);
    EXPECT_EQ(Names("both"), "a-2.png a.png");

    EXPECT_EQ(ShardHash(""), 0xcbf29ce484222325U);
    EXPECT_EQ(ShardHash("foobar"), 0x85944171f73967e8U);
}

TEST_F(Batch, ABrokenFileAmongGoodOnesAndTheRunThatFollows) {
    support::WriteFile("in/broken.dcm", support::ReadFile("in/a").substr(0, 200));
    const std::string run = "render in list.dcm -o out --jobs 2 --report report --resume";
    fs::copy("in/sub/a.dcm", "list.dcm");
    Outcome outcome = Run(run);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("zev: in/broken.dcm: "), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("4 pictures, 1 failed, 1 file without"), std::string::npos) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 2) << outcome.err;
    std::vector<Json> report = Report();
    ASSERT_EQ(report.size(), 5U);
    for (const Json& line : report) {
        const bool isBroken = line["input"] == "in/broken.dcm";
        EXPECT_EQ(line["schema"], 1);
        EXPECT_EQ(line["frame"], 0);
        EXPECT_EQ(line["error"].is_string(), isBroken) << line;
        EXPECT_EQ(fs::exists(line["output"].get<std::string>()), !isBroken) << line;
        EXPECT_EQ(line.contains("milliseconds") && line["windowSource"] == "automatic" &&
                      line["width"].get<int>() > 0 && line["notes"].is_array(),
                  !isBroken)
            << line;
    }

    // Only what is missing, empty or older than its input is drawn again.
    const std::map<std::string, std::string> drawn = Files("out");
    fs::remove("out/a.png");
    support::WriteFile("out/sub/a.png", "");
    fs::last_write_time("list.dcm", fs::last_write_time("out/list.png") + std::chrono::seconds(1));
    outcome = Run(run);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("3 pictures, 1 failed, 1 there already"), std::string::npos) << outcome.err;
    EXPECT_EQ(Files("out"), drawn);
    EXPECT_EQ(Report().size(), 9U);
    fs::remove("in/broken.dcm");
    EXPECT_EQ(Run(run).status, 0);
}

TEST_F(Batch, ClosedStreamsAndAFolderInThePlaceOfAPicture) {
    const std::string program = std::string("'") + ZEV_PROGRAM + "' ";
    Outcome outcome =
        Run("--version; " + program + "render in -o out --report report <&- >&- 2>&-; (exit $?)");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(Names("out"), "a-2.png a.png sub/a.png");
    EXPECT_EQ(Report().size(), 3U);
    fs::remove("out/a.png");
    fs::create_directory("out/a.png");
    outcome = Run("render in -o out --resume");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("1 failed, 2 there already"), std::string::npos) << outcome.err;
}

TEST_F(Batch, WhatIsNoFileIsNotWaitedFor) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    support::WriteFile("list", "pipe\nmissing\nin/a.dcm\n");
    const Outcome outcome = Run("render @list pipe -o out");
    EXPECT_EQ(outcome.status, 1);
    for (const char* line : {"zev: pipe: not a file\n", "zev: missing: No such file or directory\n"})
        EXPECT_NE(outcome.err.find(line), std::string::npos) << outcome.err;
    EXPECT_EQ(Names("out"), "a.png");
}

TEST_F(Batch, InputsAreNotWrittenOver) {
    fs::copy("in/sub/a.dcm", "in/a.png");
    fs::copy("in/sub/a.dcm", "in/a.png.png");
    const std::string before = support::ReadFile("in/a.png");
    fs::create_symlink("in", "link");
    for (const char* arguments : {"in -o in", "in -o link", "in -o in --shard 1/2", "in -o in --shard 2/2"}) {
        Run(std::string("render ") + arguments);
        EXPECT_EQ(support::ReadFile("in/a.png"), before) << arguments;
        EXPECT_EQ(support::ReadFile("in/a.png.png"), before) << arguments;
    }
    // Neither are they by the report, nor is the report.
    EXPECT_EQ(Run("render in -o out --report in/a.png").status, 2);
    EXPECT_EQ(support::ReadFile("in/a.png"), before);
    EXPECT_EQ(Run("render other -o out --report report").status, 0);
    fs::rename("report", "out/b.png");
    EXPECT_EQ(Run("render other -o out --report out/b.png").status, 1);
    EXPECT_EQ(Json::parse(support::Split(support::ReadFile("out/b.png"), '\n').back())["frame"], 0);
}

}  // namespace
