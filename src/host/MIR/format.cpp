#include "MIR/format.h"

#include <refhost/Unicode.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <type_traits>
#include <utility>

#include "TXT/number_text.h"

namespace refhost {
namespace {

// A width or precision beyond this is no wish of a log line.
constexpr int kWidest = 512;

struct Conversion {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool zero = false;
    bool alternate = false;
    int width = 0;
    int precision = -1;
    enum Length { Plain, Char, Short, Long, LongLong, Size, Max, Difference } length = Plain;
    char letter = '\0';
};

int ReadNumber(const char*& at) {
    int number = 0;
    for (; *at >= '0' && *at <= '9'; ++at) number = std::min(number * 10 + (*at - '0'), kWidest);
    return number;
}

class Formatter {
public:
    explicit Formatter(std::va_list arguments) { va_copy(m_Arguments, arguments); }
    ~Formatter() { va_end(m_Arguments); }
    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;

    std::string Run(const char* format) {
        for (const char* at = format; *at != '\0';) {
            const char* percent = std::strchr(at, '%');
            if (percent == nullptr) {
                m_Out += at;
                break;
            }
            m_Out.append(at, percent);
            at = percent + 1;
            if (!Convert(ReadConversion(at))) {
                m_Out += percent;
                break;
            }
        }
        return std::move(m_Out);
    }

private:
    Conversion ReadConversion(const char*& at) {
        Conversion c;
        for (;; ++at) {
            if (*at == '-') {
                c.left = true;
            } else if (*at == '+') {
                c.plus = true;
            } else if (*at == ' ') {
                c.blank = true;
            } else if (*at == '0') {
                c.zero = true;
            } else if (*at == '#') {
                c.alternate = true;
            } else {
                break;
            }
        }
        if (*at == '*') {
            const int width = va_arg(m_Arguments, int);
            c.left = c.left || width < 0;
            c.width = width < -kWidest || width > kWidest ? kWidest : std::abs(width);
            ++at;
        } else {
            c.width = ReadNumber(at);
        }
        if (*at == '.') {
            ++at;
            if (*at == '*') {
                c.precision = std::min(va_arg(m_Arguments, int), kWidest);
                ++at;
            } else {
                c.precision = ReadNumber(at);
            }
        }
        ReadLength(at, c);
        c.letter = *at;
        if (*at != '\0') ++at;
        return c;
    }

    static void ReadLength(const char*& at, Conversion& c) {
        const auto take = [&at, &c](const char* text, Conversion::Length length) {
            const std::size_t size = std::strlen(text);
            if (std::strncmp(at, text, size) != 0) return false;
            at += size;
            c.length = length;
            return true;
        };
        take("hh", Conversion::Char) || take("h", Conversion::Short) || take("ll", Conversion::LongLong) ||
            take("l", Conversion::Long) || take("z", Conversion::Size) || take("j", Conversion::Max) ||
            take("t", Conversion::Difference);
    }

    /// False for a conversion that is not known.
    bool Convert(const Conversion& c) {
        switch (c.letter) {
            case '%':
                m_Out += '%';
                return true;
            case 'd':
            case 'i': {
                const std::intmax_t value = TakeSigned(c.length);
                const std::uintmax_t size = value < 0 ? std::uintmax_t(0) - static_cast<std::uintmax_t>(value)
                                                      : static_cast<std::uintmax_t>(value);
                WriteInteger(c, size, 10, Sign(c, value < 0));
                return true;
            }
            case 'u':
                WriteInteger(c, TakeUnsigned(c.length), 10, "");
                return true;
            case 'o':
                WriteInteger(c, TakeUnsigned(c.length), 8, c.alternate ? "0" : "");
                return true;
            case 'x':
            case 'X': {
                const std::uintmax_t value = TakeUnsigned(c.length);
                const char* prefix = c.alternate && value != 0 ? (c.letter == 'x' ? "0x" : "0X") : "";
                WriteInteger(c, value, 16, prefix);
                return true;
            }
            case 'p':
                WriteInteger(c, reinterpret_cast<std::uintptr_t>(va_arg(m_Arguments, void*)), 16, "0x");
                return true;
            case 'c':
                WriteCharacter(c);
                return true;
            case 's':
                WriteText(c);
                return true;
            case 'f':
            case 'F':
                WriteFloat(c, 'f');
                return true;
            case 'e':
            case 'E':
                WriteFloat(c, 'e');
                return true;
            case 'g':
            case 'G':
                WriteFloat(c, 'g');
                return true;
            default:
                return false;
        }
    }

    std::intmax_t TakeSigned(Conversion::Length length) {
        switch (length) {
            case Conversion::Char:
                return static_cast<signed char>(va_arg(m_Arguments, int));
            case Conversion::Short:
                return static_cast<short>(va_arg(m_Arguments, int));
            case Conversion::Long:
                return va_arg(m_Arguments, long);
            case Conversion::LongLong:
                return va_arg(m_Arguments, long long);
            case Conversion::Size:
            case Conversion::Difference:
                return va_arg(m_Arguments, std::ptrdiff_t);
            case Conversion::Max:
                return va_arg(m_Arguments, std::intmax_t);
            default:
                return va_arg(m_Arguments, int);
        }
    }

    std::uintmax_t TakeUnsigned(Conversion::Length length) {
        switch (length) {
            case Conversion::Char:
                return static_cast<unsigned char>(va_arg(m_Arguments, unsigned int));
            case Conversion::Short:
                return static_cast<unsigned short>(va_arg(m_Arguments, unsigned int));
            case Conversion::Long:
                return va_arg(m_Arguments, unsigned long);
            case Conversion::LongLong:
                return va_arg(m_Arguments, unsigned long long);
            case Conversion::Size:
            case Conversion::Difference:
                return va_arg(m_Arguments, std::size_t);
            case Conversion::Max:
                return va_arg(m_Arguments, std::uintmax_t);
            default:
                return va_arg(m_Arguments, unsigned int);
        }
    }

    static const char* Sign(const Conversion& c, bool negative) {
        if (negative) return "-";
        if (c.plus) return "+";
        return c.blank ? " " : "";
    }

    void WriteInteger(const Conversion& c, std::uintmax_t value, int base, const char* prefix) {
        char digits[72];
        char* end = std::to_chars(digits, digits + sizeof(digits), value, base).ptr;
        std::string text(digits, end);
        if (c.precision == 0 && value == 0 && c.letter != 'p') text.clear();
        if (c.letter == 'X') {
            for (char& digit : text) {
                if (digit >= 'a') digit = static_cast<char>(digit - 'a' + 'A');
            }
        }
        if (c.precision > 0 && text.size() < static_cast<std::size_t>(c.precision)) {
            text.insert(0, static_cast<std::size_t>(c.precision) - text.size(), '0');
        }
        WriteNumber(c, prefix, text, c.zero && c.precision < 0);
    }

    void WriteFloat(const Conversion& c, char conversion) {
        const double value = va_arg(m_Arguments, double);
        const bool negative = std::signbit(value);
        const bool capital = c.letter < 'a';
        std::string text;
        if (std::isfinite(value)) {
            text = PreciseText(std::fabs(value), conversion, c.precision < 0 ? 6 : c.precision);
            if (capital) std::replace(text.begin(), text.end(), 'e', 'E');
        } else if (std::isnan(value)) {
            text = capital ? "NAN" : "nan";
        } else {
            text = capital ? "INF" : "inf";
        }
        WriteNumber(c, Sign(c, negative), text, c.zero && std::isfinite(value));
    }

    void WriteNumber(const Conversion& c, const char* prefix, const std::string& digits, bool zeros) {
        const std::size_t size = std::strlen(prefix) + digits.size();
        const std::size_t width = static_cast<std::size_t>(c.width);
        const std::size_t fill = width > size ? width - size : 0;
        if (!c.left && !zeros) m_Out.append(fill, ' ');
        m_Out += prefix;
        if (!c.left && zeros) m_Out.append(fill, '0');
        m_Out += digits;
        if (c.left) m_Out.append(fill, ' ');
    }

    void WriteCharacter(const Conversion& c) {
        if (c.length == Conversion::Long) {
            // Where wint_t is narrower than int it comes as an int.
            using Passed = std::conditional_t<(sizeof(std::wint_t) < sizeof(int)), int, std::wint_t>;
            const wchar_t wide = static_cast<wchar_t>(va_arg(m_Arguments, Passed));
            WritePadded(c, ToUtf8(&wide, 1));
        } else {
            WritePadded(c, std::string(1, static_cast<char>(va_arg(m_Arguments, int))));
        }
    }

    void WriteText(const Conversion& c) {
        std::string text = "(null)";
        // A text need not have a terminator within its precision.
        if (c.length == Conversion::Long) {
            if (const wchar_t* wide = va_arg(m_Arguments, const wchar_t*)) {
                std::size_t length = 0;
                while ((c.precision < 0 || length < static_cast<std::size_t>(c.precision)) &&
                       wide[length] != L'\0')
                    ++length;
                text = ToUtf8(wide, length);
            }
        } else if (const char* narrow = va_arg(m_Arguments, const char*)) {
            std::size_t length = 0;
            while ((c.precision < 0 || length < static_cast<std::size_t>(c.precision)) &&
                   narrow[length] != '\0')
                ++length;
            text.assign(narrow, length);
        }
        WritePadded(c, text);
    }

    void WritePadded(const Conversion& c, const std::string& text) {
        const std::size_t width = static_cast<std::size_t>(c.width);
        const std::size_t fill = width > text.size() ? width - text.size() : 0;
        if (!c.left) m_Out.append(fill, ' ');
        m_Out += text;
        if (c.left) m_Out.append(fill, ' ');
    }

    std::va_list m_Arguments;
    std::string m_Out;
};

}  // namespace

std::string FormatText(const char* format, std::va_list arguments) {
    return format == nullptr ? std::string() : Formatter(arguments).Run(format);
}

}  // namespace refhost
