#include <SYS/dynamic_library.h>
#include <refhost/Libraries.h>
#include <refhost/Unicode.h>

#if !defined(_WIN32)
#include <dlfcn.h>
#endif

#include <mutex>
#include <string>

namespace {

struct Directory {
    std::mutex mutex;
    std::string path;
};

Directory& TheDirectory() {
    static Directory& directory = *new Directory;
    return directory;
}

}  // namespace

void refhost::SetLibraryDirectory(const std::string& path) {
    Directory& directory = TheDirectory();
    const std::lock_guard<std::mutex> hold(directory.mutex);
    directory.path = path;
#if defined(_WIN32)
    SetDllDirectoryW(path.empty() ? nullptr : refhost::FromUtf8(path).c_str());
#endif
}

#if !defined(_WIN32)

HMODULE LoadLibraryW(const wchar_t* fileName) {
    // An empty name would be the program itself.
    if (fileName == nullptr || *fileName == L'\0') return nullptr;
    const std::string name = refhost::ToUtf8(fileName);
    std::string path;
    if (name.find('/') == std::string::npos) {
        Directory& directory = TheDirectory();
        const std::lock_guard<std::mutex> hold(directory.mutex);
        if (!directory.path.empty()) path = directory.path + "/" + name;
    }
    void* library = path.empty() ? nullptr : dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    return static_cast<HMODULE>(library);
}

FARPROC GetProcAddress(HMODULE library, const char* name) {
    if (library == nullptr || name == nullptr) return nullptr;
    return reinterpret_cast<FARPROC>(dlsym(library, name));
}
#endif
