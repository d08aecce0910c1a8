#pragma once

#include <COM/bstr.h>

class HOST_API Locale_DecimalConvertUtils {
public:
    /// The decimal number that `text` begins with, to the nearest float: blanks, a sign, digits with a point
    /// as separator and an exponent. The machine's settings play no part. 0 when no number stands there (the
    /// texts "inf" and "nan" are none); a number beyond the largest float gives the largest.
    static float DefaultLocaleStrToFloat(const _bstr_t& text);
};
