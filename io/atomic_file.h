#pragma once

#include <cstddef>
#include <string>

/// An output file that is either there as a whole or not at all: the bytes go to a temporary name in the same
/// directory, which Commit renames. Without a Commit the temporary is removed and an older file of that name
/// stays.
class AtomicFile {
public:
    /// Opens the temporary. Throws PresentError when it cannot be made.
    explicit AtomicFile(const std::string& path);
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    ~AtomicFile();

    /// Throws PresentError when the bytes cannot be written, as on a full disk.
    void Write(const void* bytes, std::size_t size);
    void Commit();

private:
    [[noreturn]] void fail(int error) const;

    std::string m_Path;
    std::string m_Temporary;
    int m_File = -1;
};

void WriteFileAtomically(const std::string& path, const void* bytes, std::size_t size);

/// Makes the directory and those above it where they are missing. Throws PresentError.
void MakeDirectory(const std::string& path);
