#pragma once

#include <HOST_Export.h>

/// The length in bytes of an attribute's value.
class HOST_API Dicom_DumpLen {
public:
    explicit Dicom_DumpLen(unsigned int length = 0) : m_Length(length) {}

    unsigned int GetDumpLen() const { return m_Length; }

private:
    unsigned int m_Length;
};
