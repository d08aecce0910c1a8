#include "file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>

FileBytes::FileBytes(const std::string& path) : m_File(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat status {};
    if (m_File >= 0 && fstat(m_File, &status) == 0) m_Size = static_cast<std::uint64_t>(status.st_size);
}

FileBytes::~FileBytes() {
    if (m_File >= 0) close(m_File);
}

std::string FileBytes::Read(Extent extent) const {
    if (extent.offset >= m_Size) return std::string();
    std::string bytes(static_cast<std::size_t>(std::min(extent.size, m_Size - extent.offset)), '\0');
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t got =
            pread(m_File, &bytes[done], bytes.size() - done, static_cast<off_t>(extent.offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) throw std::runtime_error("the file cannot be read");
        done += static_cast<std::size_t>(got);
    }
    return bytes;
}
