#include <refhost/Config.h>
#include <refhost/Unicode.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "PRM/config_node.h"

namespace refhost {

// Made by the build from config/builtin.json.
extern const char* const kBuiltinConfig;

namespace {

struct Store {
    std::mutex mutex;
    std::shared_ptr<const ConfigData> data;
    std::string name;
};

Store& TheStore() {
    static Store& store = *new Store;
    return store;
}

std::string Compose(const std::string& file, std::size_t line, std::size_t column,
                    const std::string& reason) {
    std::string text = file;
    if (line != 0) text += ":" + std::to_string(line) + ":" + std::to_string(column);
    return text + ": " + reason;
}

std::string ReadFile(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) throw ConfigError(path, 0, 0, "cannot be opened");
    std::string text;
    char block[65536];
    // One byte beyond the limit is enough to know.
    while (text.size() <= kMaxConfigBytes) {
        const std::size_t read = std::fread(block, 1, sizeof(block), file.get());
        if (read == 0) break;
        text.append(block, read);
    }
    if (std::ferror(file.get()) != 0) throw ConfigError(path, 0, 0, "cannot be read");
    return text;
}

void Replace(std::shared_ptr<const ConfigData> data, const std::string& name) {
    Store& store = TheStore();
    const std::lock_guard<std::mutex> hold(store.mutex);
    store.data.swap(data);
    store.name = name;
}

constexpr const char* kBuiltinName = "built-in";

}  // namespace

ConfigError::ConfigError(const std::string& file, std::size_t line, std::size_t column,
                         const std::string& reason)
    : std::runtime_error(Compose(file, line, column, reason)),
      m_File(file),
      m_Line(line),
      m_Column(column),
      m_Reason(reason) {}

ConfigError::~ConfigError() = default;

const char* BuiltinConfigText() { return kBuiltinConfig; }

void LoadConfigFile(const std::string& path) { Replace(ParseConfig(ReadFile(path), path), path); }

void LoadConfigText(const std::string& text, const std::string& name) {
    Replace(ParseConfig(text, name), name);
}

void UseBuiltinConfig() { LoadConfigText(kBuiltinConfig, kBuiltinName); }

void EnsureConfig() { CurrentConfig(); }

void RequireConfigTree(const std::string& name) {
    const std::shared_ptr<const ConfigData> data = CurrentConfig();
    const std::wstring wide = FromUtf8(name);
    const auto found = data->trees->FindSubTrees(wide);
    const std::size_t count = static_cast<std::size_t>(found.second - found.first);
    const ConfigNode* const tree = count == 0 ? nullptr : data->trees->SubTrees()[*found.first].node.get();
    const char* fault = nullptr;
    if (data->trees->FindKey(wide) != nullptr)
        fault = "is not an object";
    else if (tree == nullptr)
        fault = "is missing";
    else if (count > 1)
        fault = "is defined more than once";
    else if (tree->SubTrees().empty())
        fault = "is empty";
    if (fault != nullptr) throw ConfigError(ConfigName(), 0, 0, "the tree \"" + name + "\" " + fault);
}

std::string ConfigName() {
    Store& store = TheStore();
    const std::lock_guard<std::mutex> hold(store.mutex);
    return store.name;
}

std::shared_ptr<const ConfigData> CurrentConfig() {
    Store& store = TheStore();
    const std::lock_guard<std::mutex> hold(store.mutex);
    if (!store.data) {
        const char* path = std::getenv("ZEV_CONFIG");
        const bool hasFile = path != nullptr && *path != '\0';
        const std::string name = hasFile ? path : kBuiltinName;
        store.data = ParseConfig(hasFile ? ReadFile(name) : kBuiltinConfig, name);
        store.name = name;
    }
    return store.data;
}

}  // namespace refhost
