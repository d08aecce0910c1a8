#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "cli/samples.h"

namespace support {

/// A directory of the test's own, gone when the test ends.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zev_test_XXXXXX").string();
        m_Path = mkdtemp(pattern.data());
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(m_Path); }
    std::string operator/(const std::string& name) const { return m_Path + "/" + name; }
    const std::string& Path() const { return m_Path; }
    std::size_t Count() const {
        const std::filesystem::directory_iterator files(m_Path);
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

private:
    std::string m_Path;
};

inline std::string ReadFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

inline void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::vector<std::string> Split(const std::string& line, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(line);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

/// The folder of real images; empty when there is none on this machine.
inline std::string TestData() {
    const char* told = std::getenv("ZEV_TEST_DATA");
    const std::string path = told != nullptr ? told : std::string(ZEV_SOURCE_DIR) + "/../shared/data/open";
    return std::filesystem::exists(path + "/MANIFEST.tsv") ? path : std::string();
}

/// The rows of MANIFEST.tsv, each by the names in its first line.
inline std::vector<std::map<std::string, std::string>> Manifest() {
    std::vector<std::map<std::string, std::string>> rows;
    std::ifstream stream(TestData() + "/MANIFEST.tsv");
    std::string line;
    std::getline(stream, line);
    const std::vector<std::string> names = Split(line, '\t');
    while (std::getline(stream, line)) {
        const std::vector<std::string> values = Split(line, '\t');
        std::map<std::string, std::string> row;
        for (std::size_t i = 0; i < values.size() && i < names.size(); ++i) row[names[i]] = values[i];
        rows.push_back(row);
    }
    return rows;
}

}  // namespace support
