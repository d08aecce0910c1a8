#include "zev_text.h"

#include <iomanip>
#include <locale>
#include <memory>
#include <sstream>

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
    // Not to_chars, which some standard libraries lack for double.
    std::wostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(6) << value;
    return text.str();
}

}  // namespace zev
