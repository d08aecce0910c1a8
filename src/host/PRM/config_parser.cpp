#include <refhost/Config.h>
#include <refhost/Unicode.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <nlohmann/json.hpp>

#include "PRM/config_node.h"

namespace refhost {
namespace {

/// Walks a text and tells how far the parser has got, which its callbacks do not say.
class Position {
public:
    typedef std::forward_iterator_tag iterator_category;
    typedef char value_type;
    typedef std::ptrdiff_t difference_type;
    typedef const char* pointer;
    typedef const char& reference;

    Position(const char* at, const char** furthest) : m_At(at), m_Furthest(furthest) {}
    const char& operator*() const { return *m_At; }
    Position& operator++() {
        *m_Furthest = ++m_At;
        return *this;
    }
    Position operator++(int) {
        Position before = *this;
        ++*this;
        return before;
    }
    bool operator==(const Position& other) const { return m_At == other.m_At; }
    bool operator!=(const Position& other) const { return m_At != other.m_At; }

private:
    const char* m_At;
    const char** m_Furthest;
};

/// Builds the nodes as the parser tells what it reads. Kept apart from the parser's own document, which would
/// drop repeated names and has no limit of depth.
class Builder final : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit Builder(ConfigNode& root) : m_Root(root) {}

    const std::string& Error() const { return m_Error; }
    /// Number of bytes read when the parser itself found the error; 0 when the builder found it.
    std::size_t ErrorPosition() const { return m_ErrorPosition; }

    bool null() override { return Scalar(nullptr); }
    bool boolean(bool value) override { return Number(value ? 1.0 : 0.0); }
    bool number_integer(number_integer_t value) override { return Number(static_cast<double>(value)); }
    bool number_unsigned(number_unsigned_t value) override { return Number(static_cast<double>(value)); }
    bool number_float(number_float_t value, const string_t&) override { return Number(value); }
    bool string(string_t& value) override {
        ConfigNode::Value text = FromUtf8(value);
        return Scalar(&text);
    }
    bool binary(binary_t&) override { return Scalar(nullptr); }

    bool key(string_t& name) override {
        m_Open.back().name = FromUtf8(name);
        return true;
    }
    bool start_object(std::size_t) override {
        if (m_Open.empty()) return Open({&m_Root, false, {}});
        Frame& around = m_Open.back();
        return Open({around.node == nullptr ? nullptr : around.node->AddSubTree(around.name), false, {}});
    }
    bool end_object() override {
        if (m_Open.back().node != nullptr) m_Open.back().node->Finish();
        m_Open.pop_back();
        return true;
    }
    bool start_array(std::size_t) override {
        if (m_Open.empty()) return Refuse();
        // The objects of an array become sub trees of the node around it; what an array within an array holds
        // has no place.
        const Frame& around = m_Open.back();
        return Open({around.isArray ? nullptr : around.node, true, around.name});
    }
    bool end_array() override {
        m_Open.pop_back();
        return true;
    }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception& error) override {
        m_ErrorPosition = std::max<std::size_t>(position, 1);
        // "[json.exception...] parse error at line 1, column 2: what is wrong"
        m_Error = error.what();
        std::size_t cut = m_Error.find("] ");
        if (cut != std::string::npos) m_Error.erase(0, cut + 2);
        cut = m_Error.find(": ");
        if (m_Error.rfind("parse error", 0) == 0 && cut != std::string::npos) m_Error.erase(0, cut + 2);
        constexpr std::size_t kLongest = 200;
        if (m_Error.size() > kLongest) m_Error = m_Error.substr(0, kLongest) + "...";
        return false;
    }

private:
    struct Frame {
        /// Where the content goes; null when it is left out.
        ConfigNode* node;
        bool isArray;
        /// The name that the next value of an object has, or that the objects of an array get.
        std::wstring name;
    };

    bool Refuse() {
        m_Error = "a configuration is an object";
        return false;
    }
    bool Open(Frame frame) {
        if (m_Open.size() >= kMaxConfigDepth) {
            m_Error = "nested deeper than " + std::to_string(kMaxConfigDepth) + " levels";
            return false;
        }
        m_Open.push_back(std::move(frame));
        return true;
    }
    bool Number(double value) {
        ConfigNode::Value number = value;
        return Scalar(&number);
    }
    bool Scalar(ConfigNode::Value* value) {
        if (m_Open.empty()) return Refuse();
        const Frame& around = m_Open.back();
        if (value != nullptr && around.node != nullptr && !around.isArray) {
            around.node->AddKey(around.name, std::move(*value));
        }
        return true;
    }

    ConfigNode& m_Root;
    std::vector<Frame> m_Open;
    std::string m_Error;
    std::size_t m_ErrorPosition = 0;
};

[[noreturn]] void ThrowAt(const std::string& text, std::size_t bytesRead, const std::string& name,
                          const std::string& reason) {
    // The last byte read is the one that shows the error; at the end of the text there is none.
    const std::size_t at = std::min(bytesRead - 1, text.size());
    const auto here = text.begin() + static_cast<std::ptrdiff_t>(at);
    const auto line = std::count(text.begin(), here, '\n');
    const auto lineStart = std::find(std::make_reverse_iterator(here), text.rend(), '\n').base();
    throw ConfigError(name, static_cast<std::size_t>(line) + 1,
                      static_cast<std::size_t>(here - lineStart) + 1, reason);
}

}  // namespace

std::shared_ptr<const ConfigData> ParseConfig(const std::string& text, const std::string& name) {
    if (text.size() > kMaxConfigBytes) {
        throw ConfigError(name, 0, 0, "larger than " + std::to_string(kMaxConfigBytes) + " bytes");
    }
    auto data = std::make_shared<ConfigData>();
    Builder builder(data->root);
    const char* furthest = text.data();
    const Position first(text.data(), &furthest);
    const Position last(text.data() + text.size(), &furthest);
    if (!nlohmann::json::sax_parse(first, last, &builder, nlohmann::json::input_format_t::json, true, true)) {
        const std::size_t read =
            builder.ErrorPosition() != 0
                ? builder.ErrorPosition()
                : std::max<std::size_t>(static_cast<std::size_t>(furthest - text.data()), 1);
        ThrowAt(text, read, name, builder.Error());
    }
    static const ConfigNode empty;
    const ConfigNode* settings = data->root.FindNode(L"settings");
    const ConfigNode* trees = data->root.FindNode(L"trees");
    data->settings = settings != nullptr ? settings : &empty;
    data->trees = trees != nullptr ? trees : &empty;
    return data;
}

}  // namespace refhost
