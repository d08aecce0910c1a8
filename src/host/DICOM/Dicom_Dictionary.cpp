#include <DICOM/Dicom_Dictionary.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

const unsigned int BLOCK = 0x10;

constexpr unsigned int PrivateTag(unsigned int element) {
    return (Dicom_Dictionary::PRIVATE_GROUP << 16) | (BLOCK << 8) | element;
}

/// In the order of the tags.
const Dicom_DictionaryEntry ENTRIES[] = {
    {0x00080005, "CS", false, "SpecificCharacterSet"},
    {0x00080008, "CS", false, "ImageType"},
    {0x00080016, "UI", false, "SOPClassUID"},
    {0x00080018, "UI", false, "SOPInstanceUID"},
    {0x00080020, "DA", false, "StudyDate"},
    {0x00080021, "DA", false, "SeriesDate"},
    {0x00080022, "DA", false, "AcquisitionDate"},
    {0x00080023, "DA", false, "ContentDate"},
    {0x0008002A, "DT", false, "AcquisitionDateTime"},
    {0x00080030, "TM", false, "StudyTime"},
    {0x00080031, "TM", false, "SeriesTime"},
    {0x00080032, "TM", false, "AcquisitionTime"},
    {0x00080033, "TM", false, "ContentTime"},
    {0x00080060, "CS", false, "Modality"},
    {0x00080068, "CS", false, "PresentationIntentType"},
    {0x00080070, "LO", false, "Manufacturer"},
    {0x00080100, "SH", false, "CodeValue"},
    {0x00080102, "SH", false, "CodingSchemeDesignator"},
    {0x00080104, "LO", false, "CodeMeaning"},
    {0x00080201, "SH", false, "TimezoneOffsetFromUTC"},
    {0x00081030, "LO", false, "StudyDescription"},
    {0x0008103E, "LO", false, "SeriesDescription"},
    {0x00089205, "CS", false, "PixelPresentation"},
    {0x00100010, "PN", false, "PatientName"},
    {0x00100020, "LO", false, "PatientID"},
    {0x00100040, "CS", false, "PatientSex"},
    {0x00101010, "AS", false, "PatientAge"},
    {0x00101020, "DS", false, "PatientSize"},
    {0x00101030, "DS", false, "PatientWeight"},
    {0x00180050, "DS", false, "SliceThickness"},
    {0x00181072, "TM", false, "RadiopharmaceuticalStartTime"},
    {0x00181074, "DS", false, "RadionuclideTotalDose"},
    {0x00181075, "DS", false, "RadionuclideHalfLife"},
    {0x00181078, "DT", false, "RadiopharmaceuticalStartDateTime"},
    {0x00181164, "DS", false, "ImagerPixelSpacing"},
    {0x00181242, "IS", false, "ActualFrameDuration"},
    {0x0020000D, "UI", false, "StudyInstanceUID"},
    {0x0020000E, "UI", false, "SeriesInstanceUID"},
    {0x00200013, "IS", false, "InstanceNumber"},
    {0x00280002, "US", false, "SamplesPerPixel"},
    {0x00280004, "CS", false, "PhotometricInterpretation"},
    {0x00280006, "US", false, "PlanarConfiguration"},
    {0x00280008, "IS", false, "NumberOfFrames"},
    {0x00280010, "US", false, "Rows"},
    {0x00280011, "US", false, "Columns"},
    {0x00280030, "DS", false, "PixelSpacing"},
    {0x00280034, "IS", false, "PixelAspectRatio"},
    {0x00280051, "CS", false, "CorrectedImage"},
    {0x00280100, "US", false, "BitsAllocated"},
    {0x00280101, "US", false, "BitsStored"},
    {0x00280102, "US", false, "HighBit"},
    {0x00280103, "US", false, "PixelRepresentation"},
    {0x00280106, "US", true, "SmallestImagePixelValue"},
    {0x00280107, "US", true, "LargestImagePixelValue"},
    {0x00280108, "US", true, "SmallestPixelValueInSeries"},
    {0x00280109, "US", true, "LargestPixelValueInSeries"},
    {0x00280120, "US", true, "PixelPaddingValue"},
    {0x00280121, "US", true, "PixelPaddingRangeLimit"},
    {0x00281040, "CS", false, "PixelIntensityRelationship"},
    {0x00281041, "SS", false, "PixelIntensityRelationshipSign"},
    {0x00281050, "DS", false, "WindowCenter"},
    {0x00281051, "DS", false, "WindowWidth"},
    {0x00281052, "DS", false, "RescaleIntercept"},
    {0x00281053, "DS", false, "RescaleSlope"},
    {0x00281054, "LO", false, "RescaleType"},
    {0x00281055, "LO", false, "WindowCenterWidthExplanation"},
    {0x00281056, "CS", false, "VOILUTFunction"},
    // Read as unsigned whatever the file says; the first mapped value keeps its bits.
    {0x00281101, "US", false, "RedPaletteColorLookupTableDescriptor"},
    {0x00281102, "US", false, "GreenPaletteColorLookupTableDescriptor"},
    {0x00281103, "US", false, "BluePaletteColorLookupTableDescriptor"},
    {0x00281199, "UI", false, "PaletteColorLookupTableUID"},
    {0x00281201, "OW", false, "RedPaletteColorLookupTableData"},
    {0x00281202, "OW", false, "GreenPaletteColorLookupTableData"},
    {0x00281203, "OW", false, "BluePaletteColorLookupTableData"},
    {0x00283000, "SQ", false, "ModalityLUTSequence"},
    {0x00283002, "US", true, "LUTDescriptor"},
    {0x00283003, "LO", false, "LUTExplanation"},
    {0x00283004, "LO", false, "ModalityLUTType"},
    {0x00283006, "OW", false, "LUTData"},
    {0x00283010, "SQ", false, "VOILUTSequence"},
    {0x004008EA, "SQ", false, "MeasurementUnitsCodeSequence"},
    {0x00409096, "SQ", false, "RealWorldValueMappingSequence"},
    {0x00409210, "SH", false, "LUTLabel"},
    {0x00409211, "US", true, "RealWorldValueLastValueMapped"},
    {0x00409212, "FD", false, "RealWorldValueLUTData"},
    {0x00409213, "FD", false, "DoubleFloatRealWorldValueLastValueMapped"},
    {0x00409214, "FD", false, "DoubleFloatRealWorldValueFirstValueMapped"},
    {0x00409216, "US", true, "RealWorldValueFirstValueMapped"},
    {0x00409224, "FD", false, "RealWorldValueIntercept"},
    {0x00409225, "FD", false, "RealWorldValueSlope"},
    {0x00540016, "SQ", false, "RadiopharmaceuticalInformationSequence"},
    {0x00541001, "CS", false, "Units"},
    {0x00541006, "CS", false, "SUVType"},
    {0x00541102, "CS", false, "DecayCorrection"},
    {0x00541300, "DS", false, "FrameReferenceTime"},
    {0x00541321, "DS", false, "DecayFactor"},
    {0x00700080, "CS", false, "ContentLabel"},
    {0x00700081, "LO", false, "ContentDescription"},
    {0x20500010, "SQ", false, "PresentationLUTSequence"},
    {0x20500020, "CS", false, "PresentationLUTShape"},
    {(Dicom_Dictionary::PRIVATE_GROUP << 16) | BLOCK, "LO", false, "PRIVATE_CREATOR"},
    {PrivateTag(0x01), "CS", false, "ORNEL1_INVERSE_WINDOW"},
    {PrivateTag(0x02), "FL", false, "MIREL_GAMMA_WINDOWING_VALUE"},
    {PrivateTag(0x03), "CS", false, "MIREL_PRESENTATION_LUT_SHAPE"},
    {PrivateTag(0x04), "LO", false, "MIREL_COLOR_MAP_UID"},
    {PrivateTag(0x05), "DS", false, "MIREL_AUTO_WIN_CENTER"},
    {PrivateTag(0x06), "DS", false, "MIREL_AUTO_WIN_WIDTH"},
    {PrivateTag(0x07), "LO", false, "MIREL_SELECTED_WINDOWING"},
    {PrivateTag(0x08), "LO", false, "MIREL_WINDOWING_PRESET"},
    {PrivateTag(0x09), "CS", false, "MIREL_KEY_IMAGE"},
    {PrivateTag(0x0A), "FL", false, "MIREL_BRIGHTNESS"},
    {PrivateTag(0x0B), "FL", false, "MIREL_CONTRAST"},
};

}  // namespace

const Dicom_Tag Dicom_Dictionary::PRIVATE_CREATOR((PRIVATE_GROUP << 16) | BLOCK);
const Dicom_Tag Dicom_Dictionary::ORNEL1_INVERSE_WINDOW(PrivateTag(0x01));
const Dicom_Tag Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE(PrivateTag(0x02));
const Dicom_Tag Dicom_Dictionary::MIREL_PRESENTATION_LUT_SHAPE(PrivateTag(0x03));
const Dicom_Tag Dicom_Dictionary::MIREL_COLOR_MAP_UID(PrivateTag(0x04));
const Dicom_Tag Dicom_Dictionary::MIREL_AUTO_WIN_CENTER(PrivateTag(0x05));
const Dicom_Tag Dicom_Dictionary::MIREL_AUTO_WIN_WIDTH(PrivateTag(0x06));
const Dicom_Tag Dicom_Dictionary::MIREL_SELECTED_WINDOWING(PrivateTag(0x07));
const Dicom_Tag Dicom_Dictionary::MIREL_WINDOWING_PRESET(PrivateTag(0x08));
const Dicom_Tag Dicom_Dictionary::MIREL_KEY_IMAGE(PrivateTag(0x09));
const Dicom_Tag Dicom_Dictionary::MIREL_BRIGHTNESS(PrivateTag(0x0A));
const Dicom_Tag Dicom_Dictionary::MIREL_CONTRAST(PrivateTag(0x0B));

const Dicom_DictionaryEntry* Dicom_Dictionary::Find(const Dicom_Tag& tag) {
    const Dicom_DictionaryEntry* const found = std::lower_bound(
        std::begin(ENTRIES), std::end(ENTRIES), tag.GetTag(),
        [](const Dicom_DictionaryEntry& entry, unsigned int number) { return entry.m_Tag < number; });
    return found == std::end(ENTRIES) || found->m_Tag != tag.GetTag() ? nullptr : found;
}

const Dicom_DictionaryEntry* Dicom_Dictionary::Find(const char* keyword) {
    if (keyword == nullptr) return nullptr;
    const Dicom_DictionaryEntry* const found = std::find_if(
        std::begin(ENTRIES), std::end(ENTRIES),
        [keyword](const Dicom_DictionaryEntry& entry) { return std::strcmp(entry.m_Keyword, keyword) == 0; });
    return found == std::end(ENTRIES) ? nullptr : found;
}

const Dicom_DictionaryEntry* Dicom_Dictionary::FromFileElement(unsigned int block, unsigned int element) {
    const bool inBlock = block >= 0x10 && block <= 0xFF && element >> 8 == block;
    return inBlock ? Find(Dicom_Tag(PrivateTag(element & 0xFF))) : nullptr;
}
