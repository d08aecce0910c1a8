// A program that is killed at any moment, or whose disk is full, leaves the old file or the new one.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <functional>

#include "../cli/app_test_support.h"

#if defined(ZEV_FAULTS_LIBRARY)

namespace {

struct Job {
    const char* name;
    std::string arguments;              ///< of the program
    std::vector<std::string> outputs;   ///< names in the folder
    std::vector<std::string> old, now;  ///< what they hold before, and once it is done
};

class Disk : public testing::Test {
protected:
    Disk() { WriteSamples(m_Folder.Path()); }

    /// The status as wait gives it.
    int Run(const Job& job, const std::string& fault) {
        for (std::size_t i = 0; i < job.outputs.size(); ++i)
            support::WriteFile(m_Folder / job.outputs[i], job.old[i]);
        return std::system(("LD_PRELOAD=" ZEV_FAULTS_LIBRARY " ZEV_FAULT=" + fault + " " ZEV_PROGRAM " " +
                            job.arguments + " >/dev/null 2>&1")
                               .c_str());
    }
    std::vector<Job> Jobs() {
        const std::string image = m_Folder / "ct.dcm", original = support::ReadFile(image);
        std::vector<Job> jobs = {
            {"render", "render " + image + " -o " + (m_Folder / "out.png"), {"out.png"}, {"old"}, {}},
            {"two files",
             "save " + image + " --invert -o " + (m_Folder / "copy.dcm") + " --ddp-out " +
                 (m_Folder / "ddp.dcm"),
             {"copy.dcm", "ddp.dcm"},
             {"old", "old too"},
             {}},
            {"in place",
             "save " + (m_Folder / "in.dcm") + " --in-place --invert",
             {"in.dcm"},
             {original},
             {}}};
        for (Job& job : jobs) {
            EXPECT_EQ(Run(job, "none"), 0) << job.name;
            for (const std::string& name : job.outputs) job.now.push_back(support::ReadFile(m_Folder / name));
        }
        return jobs;
    }
    support::TemporaryDirectory m_Folder;
};

TEST_F(Disk, KilledAtAnyMoment) {
    for (const Job& job : Jobs()) {
        int at = 1;
        for (int status = 1; status != 0 && at < 200; ++at) {
            SCOPED_TRACE(testing::Message() << job.name << ", killed at call " << at);
            status = Run(job, "kill:" + std::to_string(at));
            for (std::size_t i = 0; i < job.outputs.size(); ++i) {
                const std::string found = support::ReadFile(m_Folder / job.outputs[i]);
                ASSERT_TRUE(support::AreCopies(found, job.now[i]) || (status != 0 && found == job.old[i]));
            }
        }
        EXPECT_GT(at, 5) << "nothing was killed";
        EXPECT_LT(at, 200);
        // What the killed ones left is gone after a run that was not.
        for (const auto& file : std::filesystem::directory_iterator(m_Folder.Path()))
            EXPECT_NE(file.path().filename().string()[0], '.') << file.path();
    }
}

TEST_F(Disk, Full) {
    for (const Job& job : Jobs()) {
        const std::size_t files = m_Folder.Count();
        int at = 1;
        for (int status = 1; status != 0 && at < 200; ++at) {
            SCOPED_TRACE(testing::Message() << job.name << ", full from write " << at);
            status = Run(job, "full:" + std::to_string(at));
            EXPECT_EQ(m_Folder.Count(), files) << "a temporary file stays";
            if (status == 0) break;
            EXPECT_EQ(WEXITSTATUS(status), 1);
            for (std::size_t i = 0; i < job.outputs.size(); ++i)
                ASSERT_EQ(support::ReadFile(m_Folder / job.outputs[i]), job.old[i]);
        }
        EXPECT_GT(at, 1) << "the disk was never full";
    }
}

}  // namespace

#endif
