#include "atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "present_error.h"

AtomicFile::AtomicFile(const std::string& path) : m_Path(path) {
    static std::atomic<unsigned> s_Serial{0};
    // O_EXCL: never through a link that somebody else left there. A name that a killed run left behind is
    // passed over.
    for (int attempt = 0; attempt < 100; ++attempt) {
        m_Temporary = path + ".tmp" + std::to_string(getpid()) + "-" + std::to_string(++s_Serial);
        m_File = open(m_Temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (m_File >= 0 || errno != EEXIST) break;
    }
    if (m_File < 0) fail(errno);
}

AtomicFile::~AtomicFile() {
    if (m_File >= 0) close(m_File);
    if (!m_Temporary.empty()) unlink(m_Temporary.c_str());
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

void AtomicFile::Commit() {
    const int file = m_File;
    m_File = -1;
    // Some file systems tell only on closing that there was no room.
    if (close(file) != 0) fail(errno);
    if (std::rename(m_Temporary.c_str(), m_Path.c_str()) != 0) fail(errno);
    m_Temporary.clear();
}

void WriteFileAtomically(const std::string& path, const void* bytes, std::size_t size) {
    AtomicFile file(path);
    file.Write(bytes, size);
    file.Commit();
}

void MakeDirectory(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) throw PresentError(path, "cannot be made: " + error.message());
}
