#include "atomic_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>

#include "present_error.h"

namespace fs = std::filesystem;

namespace {

/// Temporaries of a target are hidden files "NAME.zev-XXXXXX" beside it, locked while their run lives.
constexpr const char* kMark = ".zev-";
constexpr std::size_t kRandomLetters = 6;
constexpr mode_t kNewFile = 0666;
constexpr mode_t kPermissions = 07777;

bool is_standard_output(const std::string& path) { return path == "-"; }

std::optional<struct stat> status_of(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return status;
}

fs::path folder_of(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

/// A name of something that is open, such as what /dev/stdout points at, is not a place in a directory.
bool is_open_file(const fs::path& path) { return path.string().rfind("/proc/", 0) == 0; }

/// The file that a path means behind symbolic links, which may be missing itself.
std::string behind_links(const std::string& path) {
    constexpr int kMostLinks = 40;
    fs::path target = path;
    std::error_code error;
    for (int i = 0; i < kMostLinks && fs::is_symlink(target, error); ++i) {
        if (is_open_file(target)) break;
        const fs::path next = fs::read_symlink(target, error);
        if (error) break;
        target = next.is_absolute() ? next : folder_of(target) / next;
    }
    return target.string();
}

/// What the temporaries' names have of the target's: room is left for the rest.
std::string mark_of(const fs::path& target) {
    return target.filename().string().substr(0, NAME_MAX - 1 - std::strlen(kMark) - kRandomLetters);
}

mode_t permissions_of_a_new_file() {
    const mode_t mask = umask(0);
    umask(mask);
    return kNewFile & ~mask;
}

/// The name is still that of the open file.
bool leads_to(const std::string& path, int file) {
    struct stat status {};
    const std::optional<struct stat> named = status_of(path);
    return named && fstat(file, &status) == 0 && named->st_dev == status.st_dev &&
           named->st_ino == status.st_ino;
}

/// Whether a name is that of a temporary, of the file of that name or, without one, of any.
bool is_temporary(const std::string& name, const std::string& of) {
    const std::size_t mark = name.size() - std::min(name.size(), std::strlen(kMark) + kRandomLetters);
    return mark > 1 && name[0] == '.' && name.compare(mark, std::strlen(kMark), kMark) == 0 &&
           (of.empty() || name.compare(1, mark - 1, of) == 0);
}

/// A temporary whose lock can be had belongs to a run that is dead. A folder that cannot be listed keeps its
/// own. The standard library's iterator calls terminate when memory runs out.
void remove_leftovers(const fs::path& in, const std::string& of) {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(in.c_str()), &closedir);
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
        if (!is_temporary(entry->d_name, of)) continue;
        // Nothing that has such a name may block.
        const std::string path = (in / entry->d_name).string();
        const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (file < 0) continue;
        struct stat status {};
        if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && flock(file, LOCK_EX | LOCK_NB) == 0)
            unlink(path.c_str());
        close(file);
    }
}

void sync_folder(const fs::path& folder) {
    const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) return;
    // Not every file system can do this, and the rename has been done.
    fsync(file);
    close(file);
}

}  // namespace

AtomicFile::AtomicFile(const std::string& path, Disk disk)
    : m_Path(path), m_Target(behind_links(path)), m_Disk(disk) {
    const std::optional<struct stat> status = status_of(m_Target);
    if (status && S_ISDIR(status->st_mode)) fail(EISDIR);
    const bool isFile =
        !is_standard_output(path) && !is_open_file(m_Target) && (!status || S_ISREG(status->st_mode));
    try {
        isFile ? open_temporary() : open_straight();
    } catch (...) {
        drop();
        throw;
    }
}

AtomicFile::~AtomicFile() { drop(); }

void AtomicFile::drop() {
    if (m_File >= 0) close(m_File);
    if (!m_Temporary.empty()) unlink(m_Temporary.c_str());
}

void AtomicFile::open_straight() {
    m_File = is_standard_output(m_Path) ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
                                        : open(m_Target.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (m_File < 0) fail(errno);
}

void AtomicFile::open_temporary() {
    const fs::path target = m_Target;
    if (m_Disk == kNow) remove_leftovers(folder_of(target), mark_of(target));
    const std::string start = (folder_of(target) / ("." + mark_of(target) + kMark)).string();
    do {
        if (m_File >= 0) close(m_File);
        std::string name = start + std::string(kRandomLetters, 'X');
        m_File = mkostemp(name.data(), O_CLOEXEC);
        if (m_File < 0) fail(errno);
        m_Temporary = std::move(name);
        // Before the lock another run may take the file for a leftover, whose lock this one waits for. Where
        // there are no locks, nothing is ever taken for one.
        while (flock(m_File, LOCK_EX) != 0 && errno == EINTR) continue;
    } while (!leads_to(m_Temporary, m_File));
    const std::optional<struct stat> older = status_of(m_Target);
    // Only a privileged run may keep the owner; where it cannot, the bits that act for the owner go.
    const bool isOwned = older && fchown(m_File, older->st_uid, older->st_gid) == 0;
    const mode_t mode = !older ? permissions_of_a_new_file()
                               : older->st_mode & (isOwned ? kPermissions : kPermissions & ~mode_t{06000});
    if (fchmod(m_File, mode) != 0) fail(errno);
}

void AtomicFile::fail(int error) const {
    throw PresentError(m_Path, std::string("cannot be written: ") + std::strerror(error));
}

void AtomicFile::Write(const void* bytes, std::size_t size) {
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t written = write(m_File, next, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            fail(errno);
        }
        next += written;
        size -= static_cast<std::size_t>(written);
    }
}

void AtomicFile::Finish() {
    if (m_File < 0) return;
    // A device or a pipe has no disk to reach.
    if (m_Disk == kNow && !m_Temporary.empty() && fsync(m_File) != 0) fail(errno);
}

void AtomicFile::Commit() {
    Finish();
    // While the lock is held, so that no other run takes the temporary for a leftover.
    if (!m_Temporary.empty()) {
        if (rename(m_Temporary.c_str(), m_Target.c_str()) != 0) fail(errno);
        m_Temporary.clear();
        if (m_Disk == kNow) sync_folder(folder_of(m_Target));
    }
    const int file = m_File;
    m_File = -1;
    if (close(file) != 0) fail(errno);
}

void WriteFileAtomically(const std::string& path, const void* bytes, std::size_t size,
                         AtomicFile::Disk disk) {
    AtomicFile file(path, disk);
    file.Write(bytes, size);
    file.Commit();
}

void RemoveLeftovers(const std::string& folder) { remove_leftovers(folder, std::string()); }

void SyncFolder(const std::string& folder) {
    const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) return;
    syncfs(file);
    close(file);
}

void WriteFilesAtomically(const std::vector<std::pair<std::string, std::string>>& files) {
    std::vector<std::unique_ptr<AtomicFile>> outputs;
    for (const auto& [path, bytes] : files) {
        outputs.push_back(std::make_unique<AtomicFile>(path));
        outputs.back()->Write(bytes.data(), bytes.size());
        outputs.back()->Finish();
    }
    for (const std::unique_ptr<AtomicFile>& output : outputs) output->Commit();
}

void RefuseClashes(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs) {
    const auto same = [](const std::string& a, const std::string& b) {
        if (a.empty() || b.empty()) return false;
        if (is_standard_output(a) || is_standard_output(b)) return a == b;
        const std::optional<struct stat> one = status_of(a), other = status_of(b);
        if (one && other) {
            const bool isFile = S_ISREG(one->st_mode);
            return isFile && one->st_dev == other->st_dev && one->st_ino == other->st_ino;
        }
        if (one || other) return false;
        // Neither is there yet: the same name in the same directory.
        const fs::path first = behind_links(a), second = behind_links(b);
        std::error_code error;
        return first.filename() == second.filename() &&
               fs::equivalent(folder_of(first), folder_of(second), error);
    };
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        for (const std::string& input : inputs) {
            if (same(outputs[i], input))
                throw UsageError("the output " + outputs[i] + " is the same file as the input " + input);
        }
        for (std::size_t k = 0; k < i; ++k) {
            if (same(outputs[i], outputs[k]))
                throw UsageError("the outputs " + outputs[k] + " and " + outputs[i] + " are the same file");
        }
    }
}

void MakeDirectory(const std::string& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (error) throw PresentError(path, "cannot be made: " + error.message());
}
