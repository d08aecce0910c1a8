#include "dicomdir.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "dicom_parser.h"
#include "dicom_reader.h"
#include "dicom_tags.h"
#include "file_bytes.h"

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kMetaBytes = 65536;
constexpr const char* kDirectoryStorage = "1.2.840.10008.1.3.10";
constexpr std::uint32_t kDirectoryRecords = DicomTag(0x0004, 0x1220);
constexpr std::uint32_t kRecordType = DicomTag(0x0004, 0x1430);
constexpr std::uint32_t kReferencedFile = DicomTag(0x0004, 0x1500);

/// In small letters, without what some systems append to a name.
std::string plain_name(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    for (const std::string tail : {".dcm", "."}) {
        if (name.size() > tail.size() && name.compare(name.size() - tail.size(), tail.size(), tail) == 0) {
            name.resize(name.size() - tail.size());
            break;
        }
    }
    return name;
}

/// Finds names, and lists each folder once.
class Finder {
public:
    fs::path Find(const fs::path& folder, const std::string& name) {
        std::error_code failed;
        if (fs::exists(folder / name, failed)) return folder / name;
        const auto [listed, isNew] = m_Folders.try_emplace(folder.string());
        if (isNew) {
            for (fs::directory_iterator file(folder, failed), end; !failed && file != end;
                 file.increment(failed)) {
                const std::string found = file->path().filename().string();
                listed->second.emplace(plain_name(found), found);
            }
        }
        const auto found = listed->second.find(plain_name(name));
        return folder / (found == listed->second.end() ? name : found->second);
    }

private:
    std::map<std::string, std::map<std::string, std::string>> m_Folders;
};

/// Empty where a component is missing or leads elsewhere.
std::vector<std::string> components(const std::string& fileId) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= fileId.size();) {
        const std::size_t end = std::min(fileId.find('\\', begin), fileId.size());
        const std::string part = Trimmed(fileId.substr(begin, end - begin));
        if (part.empty() || part == "." || part == ".." || part.find('/') != std::string::npos) return {};
        parts.push_back(part);
        begin = end + 1;
    }
    return parts;
}

}  // namespace

bool IsDicomDir(const std::string& path) try {
    return ReadFileMeta(FileBytes(path).Read({0, kMetaBytes})).storageClass == kDirectoryStorage;
} catch (const std::runtime_error&) {
    return false;
}

std::vector<std::string> ReadDicomDir(const std::string& path) {
    const DicomDataSet directory = ReadDicomDataSet(path);
    std::vector<std::string> images;
    const DicomElement* records = directory.Find(kDirectoryRecords);
    if (records == nullptr) return images;
    Finder finder;
    for (const DicomDataSet& record : records->items) {
        if (record.Text(kRecordType) != "IMAGE") continue;
        const std::vector<std::string> parts = components(record.Text(kReferencedFile));
        if (parts.empty()) continue;
        fs::path file = fs::path(path).parent_path();
        for (const std::string& part : parts) file = finder.Find(file, part);
        images.push_back(file.string());
    }
    return images;
}
