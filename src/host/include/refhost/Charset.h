#pragma once

#include <HOST_Export.h>

#include <optional>
#include <string>

/// Text of DICOM data elements in the character set that Specific Character Set (0008,0005) declares (DICOM
/// PS3.3 C.12.1.1.2, PS3.5 6.1). Any thread.
///
///     const auto name = refhost::DecodeText(bytes, "\\ISO 2022 IR 87", "PN");
namespace refhost {

/// The wide text of a value. `characterSet` is the value of (0008,0005), several terms separated by
/// backslashes: ISO_IR 6, 100, 101, 109, 110, 144, 127, 126, 138, 148, 203, 13, 166 and 192, GB18030, GBK,
/// the ISO 2022 forms of these, and ISO 2022 IR 87, 159, 149 and 58. `vr` decides which characters end the
/// effect of an escape sequence. Nothing for an unknown term, for bytes that do not fit the set, and for an
/// empty `characterSet`: then a reader guesses.
HOST_API std::optional<std::wstring> DecodeText(const std::string& bytes, const std::string& characterSet,
                                                const std::string& vr);

/// The bytes of a text, unpadded. A character that is not in the set becomes a question mark. Nothing for an
/// unknown term or an empty `characterSet`.
HOST_API std::optional<std::string> EncodeText(const std::wstring& text, const std::string& characterSet,
                                               const std::string& vr);

/// Whether values of this representation follow Specific Character Set.
HOST_API bool HasCharacterSet(const std::string& vr);

}  // namespace refhost
