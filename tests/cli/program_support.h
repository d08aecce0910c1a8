#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "app_test_support.h"

namespace support {

struct Outcome {
    int status = -1;
    std::string out, err;
};

/// Runs the program in a directory of the test's own.
class ProgramTest : public testing::Test {
protected:
    /// With a line of arguments as a shell reads them.
    Outcome Run(const std::string& arguments) {
        const std::string out = m_Logs / "out", err = m_Logs / "err";
        const std::string line =
            std::string("'") + ZEV_PROGRAM + "' " + arguments + " >'" + out + "' 2>'" + err + "'";
        const int result = std::system(line.c_str());
        return {WIFEXITED(result) ? WEXITSTATUS(result) : -1, ReadFile(out), ReadFile(err)};
    }
    /// What a command that prints JSON says.
    nlohmann::json Ask(const std::string& arguments) {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return nlohmann::json::parse(outcome.out);
    }
    nlohmann::json Info(const std::string& arguments) { return Ask("info --json " + arguments); }

    TemporaryDirectory m_Directory, m_Logs;
};

}  // namespace support
