#include "SPC/dicom_time.h"

#include <algorithm>
#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <stdexcept>

namespace refhost {
namespace {

constexpr double kSecondsPerMinute = 60.0;
constexpr double kSecondsPerHour = 3600.0;
constexpr double kSecondsPerDay = 86400.0;

bool is_digit(wchar_t c) { return c >= L'0' && c <= L'9'; }

std::wstring without(std::wstring text, wchar_t mark) {
    text.erase(std::remove(text.begin(), text.end(), mark), text.end());
    return text;
}

/// `length` digits at `at`; -1 when they are not all there.
int digits(const std::wstring& text, std::size_t at, std::size_t length) {
    if (text.size() < at + length) return -1;
    int number = 0;
    for (std::size_t i = at; i < at + length; ++i) {
        if (!is_digit(text[i])) return -1;
        number = number * 10 + (text[i] - L'0');
    }
    return number;
}

}  // namespace

std::optional<double> ParseTime(const std::wstring& withColons) {
    const std::wstring text = without(withColons, L':');
    const std::size_t whole = std::min(text.find(L'.'), text.size());
    if (whole == 0 || whole > 6 || whole % 2 != 0) return std::nullopt;
    const int hours = digits(text, 0, 2);
    const int minutes = whole > 2 ? digits(text, 2, 2) : 0;
    // 60 is a leap second.
    const int seconds = whole > 4 ? digits(text, 4, 2) : 0;
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59 || seconds < 0 || seconds > 60)
        return std::nullopt;
    double fraction = 0.0;
    double place = 0.1;
    for (std::size_t i = whole + 1; i < text.size(); ++i, place /= 10.0) {
        if (!is_digit(text[i])) return std::nullopt;
        fraction += place * (text[i] - L'0');
    }
    return hours * kSecondsPerHour + minutes * kSecondsPerMinute + seconds + fraction;
}

std::optional<long> ParseDate(const std::wstring& withDots) {
    const std::wstring text = without(withDots, L'.');
    const int year = digits(text, 0, 4);
    const int month = digits(text, 4, 2);
    const int day = digits(text, 6, 2);
    if (text.size() != 8 || year < 0 || month < 0 || day < 0) return std::nullopt;
    try {
        return static_cast<long>(boost::gregorian::date(static_cast<unsigned short>(year),
                                                        static_cast<unsigned short>(month),
                                                        static_cast<unsigned short>(day))
                                     .day_number());
    } catch (const std::out_of_range&) {
        return std::nullopt;
    }
}

std::optional<double> ParseZone(const std::wstring& text) {
    const int hours = digits(text, 1, 2);
    const int minutes = digits(text, 3, 2);
    if (text.size() != 5 || (text[0] != L'+' && text[0] != L'-') || hours < 0 || hours > 14 || minutes < 0 ||
        minutes > 59) {
        return std::nullopt;
    }
    const double seconds = hours * kSecondsPerHour + minutes * kSecondsPerMinute;
    return text[0] == L'-' ? -seconds : seconds;
}

std::optional<Moment> ParseDateTime(const std::wstring& text) {
    const std::size_t sign = std::min(text.find_first_of(L"+-"), text.size());
    const std::optional<long> date = ParseDate(text.substr(0, std::min<std::size_t>(8, sign)));
    // A date alone is no moment: midnight would be a guess.
    const std::optional<double> time = sign > 8 ? ParseTime(text.substr(8, sign - 8)) : std::nullopt;
    if (!date || !time) return std::nullopt;
    return Moment{static_cast<double>(*date) * kSecondsPerDay + *time, ParseZone(text.substr(sign))};
}

std::optional<double> SecondsBetween(const Moment& a, const Moment& b) {
    if (a.zone.has_value() != b.zone.has_value()) return std::nullopt;
    return b.seconds - a.seconds - b.zone.value_or(0.0) + a.zone.value_or(0.0);
}

}  // namespace refhost
