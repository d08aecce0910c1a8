#include "module.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace {

namespace fs = std::filesystem;

int add_home(dl_phdr_info* library, std::size_t, void* homes) {
    const fs::path path = library->dlpi_name;
    // The program itself has no name here, and others may be as they were called, perhaps by a relative path.
    if (path.is_absolute()) static_cast<std::vector<fs::path>*>(homes)->push_back(path.parent_path());
    return 0;
}

std::vector<std::string> module_paths(const char* fileName) {
    std::vector<fs::path> folders;
    const char* const given = std::getenv("ZEV_MODULES");
    if (given != nullptr && *given != '\0') folders.emplace_back(given);
    std::error_code failed;
    const fs::path program = fs::read_symlink("/proc/self/exe", failed);
    if (!failed) {
        const fs::path home = program.parent_path();
        folders.insert(folders.end(), {home, home / ".." / "lib", home / ZEV_INSTALLED_MODULES});
    }
    std::vector<fs::path> homes;
    dl_iterate_phdr(&add_home, &homes);
    for (const fs::path& home : homes) folders.insert(folders.end(), {home, home / "zev"});
    std::vector<std::string> paths;
    for (const fs::path& folder : folders) {
        const std::string path = (folder / fileName).string();
        if (fs::exists(path, failed) && std::find(paths.begin(), paths.end(), path) == paths.end())
            paths.push_back(path);
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
