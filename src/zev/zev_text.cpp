#include "zev_text.h"

#include <charconv>
#include <memory>

#include "zev_voi.h"

namespace zev {

std::wstring WindowingEntryText(const Mapper_WindowingEntry& entry) {
    const wchar_t* const name = entry.m_FunctionCode == kFunctionLinear    ? L"Linear"
                                : entry.m_FunctionCode == kFunctionSigmoid ? L"Sigmoid"
                                                                           : L"Table";
    const Dicom_LO explanation = entry.GetWindowingExplanation();
    const std::unique_ptr<wchar_t[]> text(static_cast<wchar_t*>(explanation));
    return std::wstring(name) + L" " + (text == nullptr ? L"" : text.get());
}

std::wstring FixedText(double value) {
    char text[400];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 6).ptr;
    return std::wstring(text, end);
}

}  // namespace zev
