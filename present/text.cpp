#include "text.h"

#include <refhost/Unicode.h>
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "io/module.h"
#include "text_engine.h"

namespace {

constexpr const char* kModuleName = "libzevtext.so";
constexpr double kLineHeight = 1.25;
constexpr double kEdge = 1.2;
constexpr std::size_t kMostCharacters = 4096;

std::vector<std::u32string> lines_of(const std::string& utf8) {
    std::vector<std::u32string> lines(1);
    std::size_t count = 0;
    for (const wchar_t sign : refhost::FromUtf8(utf8)) {
        if (++count > kMostCharacters) break;
        if (sign == L'\n') {
            lines.emplace_back();
        } else if (sign >= L' ') {
            lines.back() += static_cast<char32_t>(sign);
        }
    }
    return lines;
}

}  // namespace

TextPainter::TextPainter() {
    std::string reason;
    if (void* const symbol = ModuleSymbol(kModuleName, kTextEngineSymbol, &reason))
        m_Engine.reset(reinterpret_cast<TextEngine* (*)(const char*)>(symbol)(std::getenv("ZEV_FONT")));
}

TextPainter::~TextPainter() = default;

bool TextPainter::IsReady() const { return m_Engine != nullptr; }

TextPainter::Extent TextPainter::Measure(const std::string& utf8, double size) const {
    Extent extent{0.0, 0.0};
    if (m_Engine == nullptr) return extent;
    for (const std::u32string& line : lines_of(utf8)) {
        extent.width = std::max(extent.width, m_Engine->Advance(line, size));
        extent.height += size * kLineHeight;
    }
    return extent;
}

void TextPainter::Draw(const Canvas& canvas, const std::string& utf8, double x, double y, double width,
                       double size, Align align, const Ink& ink) const {
    if (m_Engine == nullptr) return;
    constexpr int kDark = 0x6000;
    const bool isDark = (ink.red + ink.green + ink.blue) / 3 < kDark;
    const Ink edge = Ink::Grey(isDark ? 0xFFFF : 0);
    double baseline = y + size;
    for (const std::u32string& line : lines_of(utf8)) {
        if (baseline > canvas.picture.height + 2.0 * size) return;
        const double spare = width - m_Engine->Advance(line, size);
        const double start = x + (align == Align::kLeft     ? 0.0
                                  : align == Align::kCentre ? spare / 2.0
                                                            : spare);
        if (baseline > -size) {
            for (const bool isEdge : {true, false}) {
                m_Engine->Draw(line, start, baseline, size, isEdge ? kEdge : 0.0, canvas.picture.width + size,
                               [&](int column, int row, double coverage) {
                                   canvas.Blend(column, row, isEdge ? edge : ink, coverage);
                               });
            }
        }
        baseline += size * kLineHeight;
    }
}
