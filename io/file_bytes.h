#pragma once

#include <cstdint>
#include <string>

/// A run of bytes.
struct Extent {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// A file that is read in pieces, by any number of threads. Nothing is mapped: a file that shrinks meanwhile
/// is an error, not a signal.
class FileBytes {
public:
    /// A file that cannot be opened has size 0.
    explicit FileBytes(const std::string& path);
    ~FileBytes();
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;

    std::uint64_t Size() const { return m_Size; }
    /// As much of the extent as the file has. Throws std::runtime_error when it cannot be read.
    std::string Read(Extent extent) const;

private:
    int m_File = -1;
    std::uint64_t m_Size = 0;
};
