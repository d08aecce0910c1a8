#include "PRM/config_node.h"

#include <algorithm>
#include <numeric>

namespace refhost {
namespace {

template <class Named>
std::vector<std::uint32_t> OrderByName(const std::vector<Named>& items) {
    std::vector<std::uint32_t> order(items.size());
    std::iota(order.begin(), order.end(), std::uint32_t(0));
    std::stable_sort(order.begin(), order.end(),
                     [&items](std::uint32_t a, std::uint32_t b) { return items[a].name < items[b].name; });
    return order;
}

template <class Named>
auto FindByName(const std::vector<Named>& items, const std::vector<std::uint32_t>& order,
                std::wstring_view name) {
    const auto first =
        std::lower_bound(order.data(), order.data() + order.size(), name,
                         [&items](std::uint32_t i, std::wstring_view n) { return items[i].name < n; });
    const auto last =
        std::upper_bound(first, order.data() + order.size(), name,
                         [&items](std::wstring_view n, std::uint32_t i) { return n < items[i].name; });
    return std::make_pair(first, last);
}

}  // namespace

ConfigNode* ConfigNode::AddSubTree(const std::wstring& name) {
    m_SubTrees.push_back({name, std::make_unique<ConfigNode>()});
    return m_SubTrees.back().node.get();
}

void ConfigNode::Finish() {
    m_KeysByName = OrderByName(m_Keys);
    std::vector<bool> superseded(m_Keys.size(), false);
    bool repeated = false;
    for (std::size_t i = 0; i < m_KeysByName.size();) {
        Key& first = m_Keys[m_KeysByName[i]];
        for (++i; i < m_KeysByName.size() && m_Keys[m_KeysByName[i]].name == first.name; ++i) {
            first.value = m_Keys[m_KeysByName[i]].value;
            superseded[m_KeysByName[i]] = true;
            repeated = true;
        }
    }
    if (repeated) {
        std::vector<Key> kept;
        for (std::size_t i = 0; i < m_Keys.size(); ++i) {
            if (!superseded[i]) kept.push_back(std::move(m_Keys[i]));
        }
        m_Keys.swap(kept);
        m_KeysByName = OrderByName(m_Keys);
    }
    m_SubTreesByName = OrderByName(m_SubTrees);
}

const ConfigNode::Value* ConfigNode::FindKey(std::wstring_view name) const {
    const auto found = FindByName(m_Keys, m_KeysByName, name);
    return found.first == found.second ? nullptr : &m_Keys[*found.first].value;
}

std::pair<const std::uint32_t*, const std::uint32_t*> ConfigNode::FindSubTrees(std::wstring_view name) const {
    return FindByName(m_SubTrees, m_SubTreesByName, name);
}

const ConfigNode* ConfigNode::FindNode(std::wstring_view path) const {
    const ConfigNode* node = this;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(L'\\'), path.size());
        const std::wstring_view step = path.substr(0, end);
        path.remove_prefix(std::min(end + 1, path.size()));
        if (step.empty()) continue;
        const auto found = node->FindSubTrees(step);
        if (found.first == found.second) return nullptr;
        node = node->m_SubTrees[*found.first].node.get();
    }
    return node;
}

const ConfigNode::Value* ConfigNode::FindValue(std::wstring_view path) const {
    const std::size_t last = path.rfind(L'\\');
    if (last == std::wstring_view::npos) return FindKey(path);
    const ConfigNode* node = FindNode(path.substr(0, last));
    return node == nullptr ? nullptr : node->FindKey(path.substr(last + 1));
}

}  // namespace refhost
