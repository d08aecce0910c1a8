#include "batch_inputs.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "io/atomic_file.h"
#include "io/dicomdir.h"
#include "io/present_error.h"

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kMostFromStandardInput = std::uint64_t{4} << 30;

/// A file that cannot be opened passes for one: its failure is shown when its turn comes.
bool is_dicom(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return true;
    char beginning[132];
    return file.read(beginning, sizeof beginning) && std::equal(beginning + 128, beginning + 132, "DICM");
}

/// "scan.dcm" is "scan"; other names stay whole, since their dots may be part of a UID.
std::string without_suffix(const fs::path& path) {
    std::string suffix = path.extension().string();
    for (char& sign : suffix) sign = sign >= 'A' && sign <= 'Z' ? static_cast<char>(sign - 'A' + 'a') : sign;
    return (suffix == ".dcm" && path.has_stem() ? path.parent_path() / path.stem() : path).string();
}

class Finder {
public:
    explicit Finder(std::string scratch) : m_Scratch(std::move(scratch)) {}

    void Take(const std::string& given) {
        if (given == "-") {
            add(keep_standard_input(), "stdin", "-");
        } else if (given.size() > 1 && given[0] == '@') {
            take_list(given.substr(1));
        } else {
            take_path(given);
        }
    }

    /// Names that come twice get a number.
    BatchInputs Result() {
        // Each name, that of the first who has it, with the number that was last given to another one.
        std::unordered_map<std::string_view, std::size_t> names;
        std::vector<BatchInput*> others;
        for (BatchInput& input : m_Found.files) {
            if (!names.emplace(input.name, 1).second) others.push_back(&input);
        }
        for (BatchInput* const input : others) {
            std::size_t& number = names[input->name];
            std::string name;
            do name = input->name + "-" + std::to_string(++number);
            while (names.count(name) != 0);
            input->name = std::move(name);
            names.emplace(input->name, 1);
        }
        m_Found.areMany = m_Found.areMany || m_Found.files.size() > 1;
        return std::move(m_Found);
    }

private:
    void add(std::string path, const fs::path& name, const std::string& key) {
        m_Found.files.push_back({std::move(path), without_suffix(name), ShardHash(key)});
    }

    void take_path(const std::string& path) {
        std::error_code error;
        const fs::file_status status = fs::status(path, error);
        if (!fs::exists(status)) throw PresentError(path, "No such file or directory");
        if (fs::is_directory(status)) {
            take_folder(path);
        } else if (fs::is_regular_file(status) && IsDicomDir(path)) {
            m_Found.areMany = true;
            const fs::path folder = fs::path(path).parent_path();
            for (const std::string& image : ReadDicomDir(path)) {
                const std::string below =
                    fs::path(image).lexically_relative(folder.empty() ? "." : folder).string();
                add(image, below, below);
            }
        } else {
            add(path, fs::path(path).filename(), path);
        }
    }

    void take_folder(const fs::path& folder) {
        m_Found.areMany = true;
        std::vector<std::string> files;  // a path takes several times the memory
        std::error_code error;
        fs::recursive_directory_iterator entry(folder, error);
        if (error) throw PresentError(folder.string(), error.message());
        for (const fs::recursive_directory_iterator end; entry != end; entry.increment(error)) {
            // A folder that cannot be listed passes for a file, too.
            const bool isClosed =
                entry->is_directory(error) && access(entry->path().c_str(), R_OK | X_OK) != 0;
            if (isClosed) entry.disable_recursion_pending();
            if (isClosed || entry->is_regular_file(error)) files.push_back(entry->path().string());
        }
        if (error) throw PresentError(folder.string(), error.message());
        std::sort(files.begin(), files.end());
        for (std::string& file : files) {
            // The images of a DICOMDIR lie in the folder themselves. It has no other name (PS3.10 8.6).
            if (!is_dicom(file) || (fs::path(file).filename() == "DICOMDIR" && IsDicomDir(file))) {
                ++m_Found.skipped;
                continue;
            }
            const fs::path below = fs::path(file).lexically_relative(folder);
            add(std::move(file), below, below.generic_string());
            m_Found.files.back().isFound = true;
        }
    }

    void take_list(const std::string& list) {
        m_Found.areMany = true;
        std::ifstream file;
        if (list != "-") {
            file.open(list);
            if (!file) throw PresentError(list, "cannot be read");
        }
        std::istream& lines = list == "-" ? standard_input() : file;
        for (std::string line; std::getline(lines, line);) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            if (!line.empty() && line[0] != '#') take_listed(line);
        }
    }

    /// What is missing costs its own line when its turn comes.
    void take_listed(const std::string& path) {
        std::error_code error;
        if (fs::is_directory(path, error) || (fs::is_regular_file(path, error) && IsDicomDir(path)))
            return take_path(path);
        add(path, fs::path(path).filename(), path);
    }

    /// What was read is gone: another reader would find nothing.
    std::istream& standard_input() {
        if (std::exchange(m_bReadInput, true)) throw UsageError("standard input can only be given once");
        return std::cin;
    }

    std::string keep_standard_input() {
        std::istream& input = standard_input();
        std::string path = m_Scratch + "/stdin.dcm";
        AtomicFile file(path, AtomicFile::kLater);
        char block[65536];
        std::uint64_t size = 0;
        while (input.read(block, sizeof block), input.gcount() > 0) {
            size += static_cast<std::uint64_t>(input.gcount());
            if (size > kMostFromStandardInput) throw PresentError("-", "is longer than 4 GiB");
            file.Write(block, static_cast<std::size_t>(input.gcount()));
        }
        file.Commit();
        return path;
    }

    std::string m_Scratch;
    bool m_bReadInput = false;
    BatchInputs m_Found;
};

template <class Number>
bool read_number(const std::string& text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

}  // namespace

BatchInputs FindInputs(const std::vector<std::string>& given, const std::string& scratch) {
    Finder finder(scratch);
    for (const std::string& input : given) finder.Take(input);
    return finder.Result();
}

std::uint64_t ShardHash(const std::string& key) {
    std::uint64_t hash = 14695981039346656037u;
    for (const char sign : key) {
        hash ^= static_cast<unsigned char>(sign);
        hash *= 1099511628211u;
    }
    return hash;
}

std::optional<Shard> ParseShard(const std::string& text) {
    const std::size_t slash = text.find('/');
    Shard shard;
    if (slash == std::string::npos || !read_number(text.substr(0, slash), shard.index) ||
        !read_number(text.substr(slash + 1), shard.count) || shard.index < 1 || shard.index > shard.count) {
        return std::nullopt;
    }
    return shard;
}

std::optional<FrameRange> ParseFrames(const std::string& text) {
    if (text == "all") return FrameRange{0, std::numeric_limits<int>::max(), false};
    FrameRange range;
    const std::size_t dash = text.find('-');
    if (!read_number(text.substr(0, dash), range.first) || range.first < 0) return std::nullopt;
    range.last = range.first;
    if (dash == std::string::npos) return range;
    range.isSingle = false;
    if (!read_number(text.substr(dash + 1), range.last) || range.last < range.first) return std::nullopt;
    return range;
}
