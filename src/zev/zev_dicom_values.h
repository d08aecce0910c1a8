#pragma once

#include <COM/bstr.h>
#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_Msg.h>
#include <DICOM/Dicom_Tag.h>

#include <cstdint>

/// Reading single attributes. The casts are right because a message builds every value by the dictionary's
/// representation.
namespace zev {

namespace tag {
constexpr unsigned kImageType = 0x00080008;
constexpr unsigned kModality = 0x00080060;
constexpr unsigned kSamplesPerPixel = 0x00280002;
constexpr unsigned kPhotometricInterpretation = 0x00280004;
constexpr unsigned kPixelRepresentation = 0x00280103;
constexpr unsigned kPixelPaddingValue = 0x00280120;
constexpr unsigned kPixelPaddingRangeLimit = 0x00280121;
constexpr unsigned kWindowCenter = 0x00281050;
constexpr unsigned kWindowWidth = 0x00281051;
constexpr unsigned kRescaleIntercept = 0x00281052;
constexpr unsigned kRescaleSlope = 0x00281053;
constexpr unsigned kContentDescription = 0x00700081;
}  // namespace tag

/// The value, or null when the attribute is absent.
template <class Value>
const Value* Find(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    return static_cast<const Value*>(msg.Get(tag));
}
template <class Value>
const Value* Find(const Dicom_Msg& msg, unsigned tag) {
    return Find<Value>(msg, Dicom_Tag(tag, nullptr));
}

/// First value of a decimal string, truncated; 0 for null.
int FirstInt(const Dicom_Type* decimalString);

/// A double as a float, limited to the finite ends; NaN stays.
float NarrowToFloat(double value);

/// The value as text.
_bstr_t TextOf(const Dicom_Type& value);

/// RescaleIntercept truncated and RescaleSlope narrowed, 0 and 1.0 where they have no value. `complete`: both
/// have one.
struct Rescale {
    int intercept = 0;
    float slope = 1.0f;
    bool complete = false;
};
Rescale ReadRescale(const Dicom_Msg& msg);

/// PixelPaddingValue and PixelPaddingRangeLimit; the limit is the value's own number unless it has one.
struct Padding {
    bool present = false;  ///< there is a PixelPaddingValue
    int value = 0;
    int limit = 0;
};
/// How the 16 bits of a padding attribute are read. Opening an image and measuring its window differ.
enum class PaddingSign {
    kOfPixels,  ///< opening: the PixelRepresentation of the image
    kOfValue    ///< measuring: the attribute's own representation; any other than US and SS is left out
};
Padding ReadPadding(Dicom_Msg& msg, PaddingSign sign, int absent);

bool IsMonochrome1(const Dicom_CS& photometric);
bool IsMonochrome(const Dicom_CS& photometric);
/// Whether a code string is present and equals a text.
bool Equals(const Dicom_CS* value, const char* text);

}  // namespace zev
