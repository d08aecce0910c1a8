#pragma once

#include <optional>
#include <string>

class Dicom_Msg;

namespace refhost {

/// Seconds from midnight of a TM text ("HHMMSS.FFFFFF", its end may be missing, colons may part it).
std::optional<double> ParseTime(const std::wstring& text);
/// Days of a DA text ("YYYYMMDD", dots may part it) from a fixed day on, for the years 1400 to 9999.
std::optional<long> ParseDate(const std::wstring& text);

/// A moment: seconds from a fixed one on, local time where no time zone is known.
struct Moment {
    double seconds = 0.0;
    /// Seconds that local time is ahead of UTC.
    std::optional<double> zone;
};
/// From a DT text ("YYYYMMDDHHMMSS.FFFFFF&ZZXX"), at least a whole date and an hour.
std::optional<Moment> ParseDateTime(const std::wstring& text);
/// Seconds of an offset text ("+HHMM").
std::optional<double> ParseZone(const std::wstring& text);

/// From a to b; nothing when the time zone of only one of them is known.
std::optional<double> SecondsBetween(const Moment& a, const Moment& b);

}  // namespace refhost
