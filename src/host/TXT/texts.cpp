#include <TXT/TXT_Strings.h>
#include <refhost/Texts.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace {

struct BuiltinText {
    unsigned int id;
    const wchar_t* text;
};

constexpr BuiltinText kTexts[] = {
    {2004, L"Image palette"},
    {16270, L"Window width and centre"},
    {16337, L"Inverted grayscale"},
    {18034, L"Grayscale"},
};

/// Longest text that is handed out, with its terminator.
constexpr std::size_t kLongest = 1024;

struct Texts {
    std::mutex mutex;
    std::map<unsigned int, std::wstring> replaced;
    std::optional<std::wstring> vendor = std::wstring();
};

Texts& TheTexts() {
    static Texts& texts = *new Texts;
    return texts;
}

}  // namespace

void refhost::SetText(unsigned int id, const wchar_t* text) {
    Texts& texts = TheTexts();
    const std::lock_guard<std::mutex> hold(texts.mutex);
    if (text != nullptr) {
        texts.replaced[id] = text;
    } else {
        texts.replaced.erase(id);
    }
}

void refhost::SetVendorName(const wchar_t* name) {
    Texts& texts = TheTexts();
    const std::lock_guard<std::mutex> hold(texts.mutex);
    if (name != nullptr) {
        texts.vendor = name;
    } else {
        texts.vendor.reset();
    }
}

wchar_t* WTxtLoadString(unsigned int id, int size) {
    // A buffer of the thread: a text that is replaced meanwhile does not pull away what a caller still reads.
    static thread_local wchar_t buffer[kLongest];
    buffer[0] = L'\0';
    if (size <= 1) return buffer;

    Texts& texts = TheTexts();
    const std::lock_guard<std::mutex> hold(texts.mutex);
    const wchar_t* text = L"";
    const auto replaced = texts.replaced.find(id);
    if (replaced != texts.replaced.end()) {
        text = replaced->second.c_str();
    } else {
        const auto builtin = std::find_if(std::begin(kTexts), std::end(kTexts),
                                          [id](const BuiltinText& t) { return t.id == id; });
        if (builtin != std::end(kTexts)) text = builtin->text;
    }
    const std::size_t length =
        std::min({std::wcslen(text), static_cast<std::size_t>(size) - 1, kLongest - 1});
    std::wmemcpy(buffer, text, length);
    buffer[length] = L'\0';
    return buffer;
}

_bstr_t TxtGetVendorName() {
    Texts& texts = TheTexts();
    const std::lock_guard<std::mutex> hold(texts.mutex);
    return texts.vendor ? _bstr_t(texts.vendor->c_str()) : _bstr_t();
}

_bstr_t CreateString(int number) { return _bstr_t(std::to_wstring(number).c_str()); }
