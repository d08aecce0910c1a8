#include "module.h"

#include <dlfcn.h>

#include <filesystem>
#include <vector>

namespace {

std::vector<std::string> module_paths(const char* fileName) {
    namespace fs = std::filesystem;
    std::vector<fs::path> homes;
    std::error_code failed;
    const fs::path program = fs::read_symlink("/proc/self/exe", failed);
    if (!failed) homes.push_back(program.parent_path());
    Dl_info here{};
    if (dladdr(reinterpret_cast<const void*>(&ModuleSymbol), &here) != 0 && here.dli_fname != nullptr) {
        // The program's own name is as it was called, perhaps by a relative path.
        const fs::path library = here.dli_fname;
        if (library.is_absolute()) homes.push_back(library.parent_path());
    }
    std::vector<std::string> paths;
    for (const fs::path& home : homes) {
        for (const fs::path& folder : {home, home / ".." / "lib"}) {
            const fs::path path = folder / fileName;
            if (fs::exists(path, failed)) paths.push_back(path.string());
        }
    }
    paths.emplace_back(fileName);
    return paths;
}

}  // namespace

void* ModuleSymbol(const char* fileName, const char* symbol, std::string* reason) {
    reason->clear();
    for (const std::string& path : module_paths(fileName)) {
        void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (void* const found = module == nullptr ? nullptr : dlsym(module, symbol)) return found;
        const char* const error = dlerror();
        if (reason->empty()) *reason = error == nullptr ? "unknown error" : error;
    }
    return nullptr;
}
