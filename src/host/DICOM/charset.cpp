#include <refhost/Charset.h>
#include <refhost/Unicode.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <iconv.h>
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace refhost {
namespace {

/// A code page as a defined term names it. An escape sequence invokes it into the lower (G0) or upper (G1)
/// half.
struct CodePage {
    const char* term;    ///< behind "ISO_IR " or "ISO 2022 IR "
    const char* iconv;   ///< converter of its bytes, which have the high bit set
    const char* escape;  ///< behind the escape character
    int width;           ///< bytes of a character
    bool lower;
    const char* prefix;  ///< what the converter wants in front of each character
};

constexpr CodePage kPages[] = {
    {"100", "ISO-8859-1", "-A", 1, false, ""}, {"101", "ISO-8859-2", "-B", 1, false, ""},
    {"109", "ISO-8859-3", "-C", 1, false, ""}, {"110", "ISO-8859-4", "-D", 1, false, ""},
    {"144", "ISO-8859-5", "-L", 1, false, ""}, {"127", "ISO-8859-6", "-G", 1, false, ""},
    {"126", "ISO-8859-7", "-F", 1, false, ""}, {"138", "ISO-8859-8", "-H", 1, false, ""},
    {"148", "ISO-8859-9", "-M", 1, false, ""}, {"203", "ISO-8859-15", "-b", 1, false, ""},
    {"166", "TIS-620", "-T", 1, false, ""},    {"13", "SHIFT_JIS", ")I", 1, false, ""},
    {"149", "EUC-KR", "$)C", 2, false, ""},    {"58", "GB2312", "$)A", 2, false, ""},
    {"87", "EUC-JP", "$B", 2, true, ""},       {"159", "EUC-JP", "$(D", 2, true, "\x8F"}};

constexpr char kEscape = '\x1B';
// ASCII, and the Roman half of JIS X 0201, which is read as ASCII: its bytes separate values all the same.
constexpr const char* kAscii = "(B";
constexpr const char* kRoman = "(J";

#if defined(_WIN32)

/// Converters between UTF-8 and other encodings: the system's code pages.
class Converters {
public:
    /// Nothing when a byte or a character does not fit.
    std::optional<std::string> Convert(const std::string& text, const char* from, const char* to) {
        const UINT source = PageOf(from), target = PageOf(to);
        const std::string bytes = source == kJapanese ? Shortened(text) : text;
        std::wstring wide(bytes.size() + 1, L'\0');
        const int length =
            MultiByteToWideChar(source, MB_ERR_INVALID_CHARS, bytes.data(), static_cast<int>(bytes.size()),
                                &wide[0], static_cast<int>(wide.size()));
        if (length == 0 && !bytes.empty()) return std::nullopt;
        std::string result(static_cast<std::size_t>(length) * 4 + 1, '\0');
        const bool strict = target != CP_UTF8 && target != kChinese;
        BOOL missing = FALSE;
        const int size =
            WideCharToMultiByte(target, strict ? WC_NO_BEST_FIT_CHARS : 0, wide.data(), length, &result[0],
                                static_cast<int>(result.size()), nullptr, strict ? &missing : nullptr);
        if (missing || (size == 0 && length != 0)) return std::nullopt;
        result.resize(static_cast<std::size_t>(size));
        return target == kJapanese ? Lengthened(result) : result;
    }

private:
    static constexpr UINT kJapanese = 20932, kChinese = 54936;

    static UINT PageOf(const std::string& name) {
        static const std::map<std::string, UINT> pages = {
            {"UTF-8", CP_UTF8},    {"TIS-620", 874},      {"SHIFT_JIS", 932},
            {"EUC-JP", kJapanese}, {"EUC-KR", 20949},     {"GB2312", 936},
            {"GBK", 936},          {"GB18030", kChinese}, {"ISO-8859-15", 28605}};
        // Wine lacks it; two bytes of it are those of GBK.
        if (name == "GB18030" && IsValidCodePage(kChinese) == FALSE) return pages.at("GBK");
        const auto found = pages.find(name);
        // ISO-8859-1 to -9.
        return found != pages.end() ? found->second : 28590 + static_cast<UINT>(name.back() - '0');
    }
    /// The system's page has two bytes for a character of the supplementary set, the second without its high
    /// bit, where EUC-JP has three.
    static std::string Shortened(const std::string& text) {
        if (text.size() != 3 || text[0] != '\x8F') return text;
        return {text[1], static_cast<char>(text[2] & 0x7F)};
    }
    static std::string Lengthened(const std::string& text) {
        if (text.size() != 2 || (text[0] & 0x80) == 0 || (text[1] & 0x80) != 0) return text;
        return {'\x8F', text[0], static_cast<char>(text[1] | 0x80)};
    }
};

#else

/// Converters between UTF-8 and other encodings, each opened once.
class Converters {
public:
    Converters() = default;
    Converters(const Converters&) = delete;
    Converters& operator=(const Converters&) = delete;
    ~Converters() {
        for (const auto& [names, converter] : m_Open) {
            if (IsOpen(converter)) iconv_close(converter);
        }
    }

    /// Nothing when a byte or a character does not fit.
    std::optional<std::string> Convert(const std::string& text, const char* from, const char* to) {
        auto [at, isNew] = m_Open.try_emplace({from, to}, nullptr);
        if (isNew) at->second = iconv_open(to, from);
        if (!IsOpen(at->second)) return std::nullopt;
        iconv(at->second, nullptr, nullptr, nullptr, nullptr);
        std::string result(text.size() * 6 + 16, '\0');
        char* in = const_cast<char*>(text.data());
        char* out = &result[0];
        std::size_t inLeft = text.size();
        std::size_t outLeft = result.size();
        if (iconv(at->second, &in, &inLeft, &out, &outLeft) != 0 || inLeft != 0) return std::nullopt;
        result.resize(result.size() - outLeft);
        return result;
    }

private:
    static bool IsOpen(iconv_t converter) { return reinterpret_cast<std::intptr_t>(converter) != -1; }

    std::map<std::pair<std::string, std::string>, iconv_t> m_Open;
};

#endif

/// What Specific Character Set declares: one converter for everything, or the code pages that the value
/// starts with and may switch to.
struct Declared {
    const char* whole = nullptr;
    const CodePage* first = nullptr;  ///< in the upper half at the start; null for ASCII alone
    std::vector<const CodePage*> pages;
};

std::optional<Declared> Parse(const std::string& characterSet) {
    Declared declared;
    bool any = false;
    for (std::size_t at = 0, index = 0; at <= characterSet.size(); ++index) {
        const std::size_t end = std::min(characterSet.find('\\', at), characterSet.size());
        std::string term = characterSet.substr(at, end - at);
        at = end + 1;
        term.erase(0, std::min(term.find_first_not_of(' '), term.size()));
        term.erase(term.find_last_not_of(std::string(" \0", 2)) + 1);
        if (term.empty()) continue;
        any = true;
        if (term == "ISO_IR 192" || term == "GB18030" || term == "GBK") {
            if (index == 0)
                declared.whole = term == "ISO_IR 192" ? "UTF-8" : term == "GBK" ? "GBK" : "GB18030";
            continue;
        }
        const std::size_t number = term.rfind(' ');
        const std::string prefix = term.substr(0, number == std::string::npos ? 0 : number);
        if (prefix != "ISO_IR" && prefix != "ISO 2022 IR") return std::nullopt;
        const std::string name = term.substr(number + 1);
        if (name == "6") continue;
        const CodePage* found = nullptr;
        for (const CodePage& page : kPages) {
            if (name == page.term) found = &page;
        }
        if (found == nullptr) return std::nullopt;
        declared.pages.push_back(found);
        if (index == 0 && !found->lower) declared.first = found;
    }
    if (!any) return std::nullopt;
    return declared;
}

/// Characters that end the effect of escape sequences.
bool Resets(unsigned char c, const std::string& vr) {
    if (c == '\n' || c == '\r' || c == '\f' || c == '\t') return true;
    const bool isLong = vr == "ST" || vr == "LT" || vr == "UT";
    return (c == '\\' && !isLong) || (vr == "PN" && (c == '^' || c == '='));
}

/// A character's bytes as its code page's converter takes them.
std::string Raised(const CodePage& page, const std::string& character) {
    std::string raised = page.prefix;
    for (const char c : character) raised += static_cast<char>(static_cast<unsigned char>(c) | 0x80);
    return raised;
}

/// The code page of the escape sequence at `at`, which moves behind it; null for ASCII. False for an unknown
/// one.
bool ReadEscape(const std::string& bytes, std::size_t& at, const CodePage*& page) {
    page = nullptr;
    for (const char* const ascii : {kAscii, kRoman}) {
        if (bytes.compare(at + 1, 2, ascii) == 0) {
            at += 3;
            return true;
        }
    }
    for (const CodePage& each : kPages) {
        const std::string escape = each.escape;
        if (bytes.compare(at + 1, escape.size(), escape) != 0) continue;
        at += 1 + escape.size();
        page = &each;
        return true;
    }
    return false;
}

}  // namespace

bool HasCharacterSet(const std::string& vr) {
    return vr == "SH" || vr == "LO" || vr == "ST" || vr == "LT" || vr == "UC" || vr == "UT" || vr == "PN";
}

std::optional<std::wstring> DecodeText(const std::string& bytes, const std::string& characterSet,
                                       const std::string& vr) {
    const std::optional<Declared> declared = Parse(characterSet);
    if (!declared) return std::nullopt;
    Converters converters;
    if (declared->whole != nullptr) {
        const std::optional<std::string> utf8 = converters.Convert(bytes, declared->whole, "UTF-8");
        return utf8 ? std::make_optional(FromUtf8(*utf8)) : std::nullopt;
    }
    std::string utf8;
    const CodePage* lower = nullptr;
    const CodePage* upper = declared->first;
    for (std::size_t at = 0; at < bytes.size();) {
        const auto c = static_cast<unsigned char>(bytes[at]);
        if (bytes[at] == kEscape) {
            const CodePage* page = nullptr;
            if (!ReadEscape(bytes, at, page)) return std::nullopt;
            (page == nullptr || page->lower ? lower : upper) = page;
            continue;
        }
        const CodePage* const page = c >= 0x80 ? upper : c > ' ' && c < 0x7F ? lower : nullptr;
        if (page == nullptr) {
            if (c >= 0x80) return std::nullopt;
            utf8 += bytes[at++];
            if (Resets(c, vr)) lower = nullptr, upper = declared->first;
            continue;
        }
        const std::string character = bytes.substr(at, static_cast<std::size_t>(page->width));
        const std::optional<std::string> converted =
            converters.Convert(Raised(*page, character), page->iconv, "UTF-8");
        if (!converted) return std::nullopt;
        utf8 += *converted;
        at += character.size();
    }
    return FromUtf8(utf8);
}

std::optional<std::string> EncodeText(const std::wstring& text, const std::string& characterSet,
                                      const std::string& vr) {
    const std::optional<Declared> declared = Parse(characterSet);
    if (!declared) return std::nullopt;
    Converters converters;
    std::string bytes;
    const CodePage* lower = nullptr;
    const CodePage* upper = declared->first;
    const auto to_ascii = [&bytes, &lower] {
        if (lower != nullptr) bytes += kEscape + std::string(kAscii);
        lower = nullptr;
    };
    for (std::size_t at = 0; at < text.size();) {
        const bool pair = sizeof(wchar_t) == 2 && (text[at] & 0xFC00) == 0xD800 && at + 1 < text.size();
        const std::string utf8 = ToUtf8(&text[at], pair ? 2 : 1);
        at += pair ? 2 : 1;
        if (utf8.size() == 1) {
            to_ascii();
            bytes += utf8;
            if (Resets(static_cast<unsigned char>(utf8[0]), vr)) upper = declared->first;
            continue;
        }
        if (declared->whole != nullptr) {
            bytes += converters.Convert(utf8, "UTF-8", declared->whole).value_or("?");
            continue;
        }
        bool written = false;
        for (const CodePage* const page : declared->pages) {
            std::optional<std::string> converted = converters.Convert(utf8, "UTF-8", page->iconv);
            const std::string prefix = page->prefix;
            const std::size_t size = prefix.size() + static_cast<std::size_t>(page->width);
            if (!converted || converted->size() != size || converted->compare(0, prefix.size(), prefix) != 0)
                continue;
            converted->erase(0, prefix.size());
            const CodePage*& half = page->lower ? lower : upper;
            if (half != page) bytes += kEscape + std::string(page->escape);
            half = page;
            for (const char c : *converted) {
                bytes += page->lower ? static_cast<char>(static_cast<unsigned char>(c) & 0x7F) : c;
            }
            written = true;
            break;
        }
        if (!written) to_ascii(), bytes += '?';
    }
    to_ascii();
    return bytes;
}

}  // namespace refhost
