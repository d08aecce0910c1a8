#include "dicom_library.h"

#include <dlfcn.h>

#include <atomic>
#include <filesystem>
#include <vector>

#include "refusal.h"

namespace {

constexpr const char* kModuleName = "libzevcodecs.so";

std::vector<std::string> module_paths() {
    namespace fs = std::filesystem;
    std::vector<fs::path> homes;
    std::error_code failed;
    const fs::path program = fs::read_symlink("/proc/self/exe", failed);
    if (!failed) homes.push_back(program.parent_path());
    Dl_info here{};
    if (dladdr(reinterpret_cast<const void*>(&LoadDicomLibrary), &here) != 0 && here.dli_fname != nullptr) {
        // The program's own name is as it was called, perhaps by a relative path.
        const fs::path library = here.dli_fname;
        if (library.is_absolute()) homes.push_back(library.parent_path());
    }
    std::vector<std::string> paths;
    for (const fs::path& home : homes) {
        for (const fs::path& folder : {home, home / ".." / "lib"}) {
            const fs::path path = folder / kModuleName;
            if (fs::exists(path, failed)) paths.push_back(path.string());
        }
    }
    paths.push_back(kModuleName);
    return paths;
}

const DicomLibrary& load() {
    std::string reason;
    for (const std::string& path : module_paths()) {
        void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        void* symbol = module == nullptr ? nullptr : dlsym(module, kDicomLibrarySymbol);
        if (symbol != nullptr) return *reinterpret_cast<const DicomLibrary* (*)()>(symbol)();
        const char* error = dlerror();
        if (reason.empty()) reason = error == nullptr ? "unknown error" : error;
    }
    throw Refusal("cannot be decoded: " + reason);
}

}  // namespace

// Without the lock of a static variable, which a child process could inherit closed.
const DicomLibrary& LoadDicomLibrary() {
    static std::atomic<const DicomLibrary*> loaded{nullptr};
    if (loaded == nullptr) loaded = &load();
    return *loaded;
}
