#pragma once

#include <OBJ/OBJ_Msg.h>

#include <memory>
#include <string>

#include "io/dicom_elements.h"

/// The data set as a message. The attributes of our private block come under the numbers that they have in a
/// message, whatever block the file holds them in; those of another creator in that group stay out.
std::unique_ptr<OBJ_Msg> MakeMessage(const DicomDataSet& dataSet);

/// A value of a message as a file takes it. Throws PresentError, with `path` as the file that cannot be
/// written, when a text is longer than its representation allows.
DicomElement ToElement(std::uint32_t tag, const Dicom_Type& value, const std::string& path);

/// Puts the texts of an element and its items from one character set (PS3.3 C.12.1.1.2) into another, or into
/// UTF-8 where that is none. False if a text then is more than ASCII.
bool Recode(DicomElement& element, const std::string& from, const std::string& to);
/// Puts the texts of a data set into UTF-8, which it then declares if it needs to.
void PutInUtf8(DicomDataSet& set);
