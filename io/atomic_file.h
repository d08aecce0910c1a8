#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// An output file that is either there as a whole or not at all. The bytes go to a temporary file in the same
/// directory, reach the disk, and take the place of the older file, whose mode the new one has. A symbolic
/// link is followed: what it points at is replaced. What is not a regular file (a device, a pipe) is written
/// straight, and so is "-", standard output.
///
///     AtomicFile file("out.png");
///     file.Write(bytes.data(), bytes.size());
///     file.Commit();
///
/// Without Commit the temporary is removed and the older file stays. The temporary that a killed run left is
/// removed by the next run that writes the same file. Every operation throws PresentError.
class AtomicFile {
public:
    /// kLater: the caller has removed leftovers, and syncs the folder when many files are written.
    enum Disk { kNow, kLater };

    explicit AtomicFile(const std::string& path, Disk disk = kNow);
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    ~AtomicFile();

    /// Throws on a full disk, for instance.
    void Write(const void* bytes, std::size_t size);
    /// With kNow the bytes are on the disk when this returns; the older file is still there.
    void Finish();
    /// Finishes, and takes the place of the older file.
    void Commit();

private:
    void open_straight();
    void open_temporary();
    void drop();
    [[noreturn]] void fail(int error) const;

    std::string m_Path;       ///< as given
    std::string m_Target;     ///< behind links
    std::string m_Temporary;  ///< empty when written straight, and once renamed
    Disk m_Disk;
    int m_File = -1;
};

void WriteFileAtomically(const std::string& path, const void* bytes, std::size_t size,
                         AtomicFile::Disk disk = AtomicFile::kNow);
/// Removes what killed runs left in a folder.
void RemoveLeftovers(const std::string& folder);
/// What was written to the folder's file system reaches the disk.
void SyncFolder(const std::string& folder);
/// Several outputs of one command, path and bytes: none takes its place before all are on the disk.
void WriteFilesAtomically(const std::vector<std::pair<std::string, std::string>>& files);

/// Throws UsageError when an output is one of the inputs or another output: the same file, whatever its name
/// (links included). Devices may be named twice, standard output once. Empty names are passed over.
void RefuseClashes(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs);

/// Makes the directory and those above it where they are missing. Throws PresentError.
void MakeDirectory(const std::string& path);
