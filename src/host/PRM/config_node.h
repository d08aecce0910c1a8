#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace refhost {

/// A node of a loaded configuration. It never changes after Finish, so that threads read it freely.
class ConfigNode {
public:
    /// A text or a number; a boolean is the number 0 or 1.
    typedef std::variant<std::wstring, double> Value;

    struct Key {
        std::wstring name;
        Value value;
    };
    struct SubTree {
        std::wstring name;
        std::unique_ptr<ConfigNode> node;
    };

    void AddKey(const std::wstring& name, Value value) { m_Keys.push_back({name, std::move(value)}); }
    ConfigNode* AddSubTree(const std::wstring& name);
    /// Called once everything is added: of the keys with one name the last value takes the place of the
    /// first, and the names can be looked up from now on.
    void Finish();

    const std::vector<Key>& Keys() const { return m_Keys; }
    const std::vector<SubTree>& SubTrees() const { return m_SubTrees; }

    /// Null when there is none.
    const Value* FindKey(std::wstring_view name) const;
    /// The sub trees of that name: begin and end of their numbers, in order.
    std::pair<const std::uint32_t*, const std::uint32_t*> FindSubTrees(std::wstring_view name) const;
    /// Follows the steps of a path, empty ones left out; null when a step leads nowhere.
    const ConfigNode* FindNode(std::wstring_view path) const;
    /// The key at the end of a path; null when there is none.
    const Value* FindValue(std::wstring_view path) const;

private:
    std::vector<Key> m_Keys;
    std::vector<SubTree> m_SubTrees;
    // Numbers of the keys and the sub trees in the order of their names, equal names in file order.
    std::vector<std::uint32_t> m_KeysByName;
    std::vector<std::uint32_t> m_SubTreesByName;
};

/// A loaded configuration.
struct ConfigData {
    ConfigNode root;
    /// The two sections; never null, but empty where the text has none.
    const ConfigNode* settings = nullptr;
    const ConfigNode* trees = nullptr;
};

/// Reads a JSON text; throws ConfigError.
std::shared_ptr<const ConfigData> ParseConfig(const std::string& text, const std::string& name);

/// The configuration in use, loaded now if none is; throws ConfigError.
std::shared_ptr<const ConfigData> CurrentConfig();

}  // namespace refhost
