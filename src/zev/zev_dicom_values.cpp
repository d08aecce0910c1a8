#include "zev_dicom_values.h"

#include <DICOM/Dicom_Null.h>
#include <DICOM/Dicom_US.h>
#include <OBJ/OBJ_Image.h>

#include <cstring>
#include <limits>
#include <memory>

#include "zev_numeric.h"

namespace zev {

int FirstInt(const Dicom_Type* decimalString) {
    if (decimalString == nullptr) return 0;
    return TruncToInt(static_cast<double>(*static_cast<const Dicom_DS*>(decimalString)));
}

float NarrowToFloat(double value) {
    constexpr double kMax = std::numeric_limits<float>::max();
    return static_cast<float>(value > kMax ? kMax : value < -kMax ? -kMax : value);
}

_bstr_t TextOf(const Dicom_Type& value) {
    // The text belongs to the caller.
    const std::unique_ptr<wchar_t[]> text(static_cast<wchar_t*>(value));
    return _bstr_t(text.get());
}

Rescale ReadRescale(const Dicom_Msg& msg) {
    Rescale rescale;
    const Dicom_DS* const intercept = Find<Dicom_DS>(msg, tag::kRescaleIntercept);
    const Dicom_DS* const slope = Find<Dicom_DS>(msg, tag::kRescaleSlope);
    const bool hasIntercept = intercept != nullptr && *intercept != DS_NULL;
    const bool hasSlope = slope != nullptr && *slope != DS_NULL;
    if (hasIntercept) rescale.intercept = TruncToInt(static_cast<double>(*intercept));
    if (hasSlope) rescale.slope = NarrowToFloat(static_cast<double>(*slope));
    rescale.complete = hasIntercept && hasSlope;
    return rescale;
}

Padding ReadPadding(Dicom_Msg& msg, PaddingSign sign, int absent) {
    const auto* const representation = Find<Dicom_US>(msg, tag::kPixelRepresentation);
    const bool pixelsAreSigned =
        representation != nullptr && static_cast<unsigned short>(*representation) != 0;
    const auto read = [&](unsigned tagNumber, int& padding) {
        const Dicom_Element* const element = msg.FindElement(Dicom_Tag(tagNumber, nullptr), 0);
        double number = 0.0;
        if (element == nullptr || !element->m_pValue->GetNumber(0, number)) return false;
        const int value = TruncToInt(number);
        if (sign == PaddingSign::kOfValue) {
            const char* const vr = element->m_pValue->m_VR;
            if (std::strcmp(vr, "US") != 0 && std::strcmp(vr, "SS") != 0) return false;
            padding = value;
        } else {
            const auto bits = static_cast<std::uint16_t>(value);
            padding = pixelsAreSigned ? static_cast<std::int16_t>(bits) : static_cast<int>(bits);
        }
        return true;
    };
    Padding padding;
    padding.value = absent;
    padding.present = read(tag::kPixelPaddingValue, padding.value);
    padding.limit = padding.value;
    read(tag::kPixelPaddingRangeLimit, padding.limit);
    return padding;
}

bool IsMonochrome1(const Dicom_CS& photometric) { return photometric == OBJ_Image::MONOCHROME1; }

bool IsMonochrome(const Dicom_CS& photometric) {
    return photometric == OBJ_Image::MONOCHROME2 || IsMonochrome1(photometric);
}

bool Equals(const Dicom_CS* value, const char* text) {
    return value != nullptr && *value == Dicom_CS(text, nullptr);
}

}  // namespace zev
