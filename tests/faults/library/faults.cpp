// Loaded before a program's own libraries: at its N-th call that touches a file the program is killed
// (ZEV_FAULT=kill:N, a write is done by half), or from its N-th write on the disk is full (ZEV_FAULT=full:N).

#include <dlfcn.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int s_Calls = 0;

bool reached(const char* kind) {
    const char* const fault = std::getenv("ZEV_FAULT");
    const std::size_t length = std::strlen(kind);
    if (fault == nullptr || std::strncmp(fault, kind, length) != 0 || fault[length] != ':') return false;
    return ++s_Calls >= std::atoi(fault + length + 1);
}

void die_if_reached() {
    if (reached("kill")) kill(getpid(), SIGKILL);
}

template <class Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool is_regular(int file) {
    struct stat status {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

extern "C" {

ssize_t write(int file, const void* bytes, std::size_t size) {
    const auto real = next<ssize_t (*)(int, const void*, std::size_t)>("write");
    if (!is_regular(file)) return real(file, bytes, size);
    if (reached("full")) {
        errno = ENOSPC;
        return -1;
    }
    if (reached("kill")) {
        real(file, bytes, size / 2);
        kill(getpid(), SIGKILL);
    }
    return real(file, bytes, size);
}

int fsync(int file) {
    die_if_reached();
    return next<int (*)(int)>("fsync")(file);
}

int fchmod(int file, mode_t mode) {
    die_if_reached();
    return next<int (*)(int, mode_t)>("fchmod")(file, mode);
}

int rename(const char* from, const char* to) {
    die_if_reached();
    const int result = next<int (*)(const char*, const char*)>("rename")(from, to);
    die_if_reached();
    return result;
}

int mkostemp(char* name, int flags) {
    const int file = next<int (*)(char*, int)>("mkostemp")(name, flags);
    die_if_reached();
    return file;
}
}
