#pragma once

#include <DICOM/Dicom_Tag.h>
#include <HOST_Export.h>

/// What the dictionary knows of an attribute.
struct Dicom_DictionaryEntry {
    unsigned int m_Tag;
    /// The representation of the attribute's values; "US" where US and SS are both possible.
    char m_VR[3];
    /// US and SS are both possible: a signed image's values are SS.
    bool m_bEitherSign;
    /// The standard's keyword, or the constant's name for a private attribute.
    const char* m_Keyword;
};

/// The attributes with a fixed meaning here: our private ones as constants, and the public ones by number or
/// keyword.
///
/// The private attributes lie in one block of an odd group. In a message of this process the creator stands
/// at PRIVATE_CREATOR and the attributes at the constants' numbers (block 0x10). A file may hold the block at
/// another number: the element (PRIVATE_GROUP, 00bb) with the text PRIVATE_CREATOR_TEXT, bb from 10 to FF,
/// reserves the elements bb00 to bbFF; FromFileElement gives the constant's tag for one of these.
class HOST_API Dicom_Dictionary {
public:
    static constexpr unsigned int PRIVATE_GROUP = 0x7B21;
    static constexpr const char* PRIVATE_CREATOR_TEXT = "ZEV PRESENTATION 1";
    static const Dicom_Tag PRIVATE_CREATOR;

    /// CS: "Y" or "N", the window is inverted.
    static const Dicom_Tag ORNEL1_INVERSE_WINDOW;
    /// FL: gamma of the window.
    static const Dicom_Tag MIREL_GAMMA_WINDOWING_VALUE;
    /// CS: "INVERSE" or "IDENTITY".
    static const Dicom_Tag MIREL_PRESENTATION_LUT_SHAPE;
    /// LO: UID of the colour map.
    static const Dicom_Tag MIREL_COLOR_MAP_UID;
    /// DS: automatic centre in stored pixel values, before rescale.
    static const Dicom_Tag MIREL_AUTO_WIN_CENTER;
    /// DS: automatic width in stored pixel values, before rescale.
    static const Dicom_Tag MIREL_AUTO_WIN_WIDTH;
    /// LO: the selected windowing entry, function name and explanation.
    static const Dicom_Tag MIREL_SELECTED_WINDOWING;
    /// LO: name of the windowing preset.
    static const Dicom_Tag MIREL_WINDOWING_PRESET;
    /// CS: "Y" for a key image.
    static const Dicom_Tag MIREL_KEY_IMAGE;
    /// FL: brightness of a true-colour image.
    static const Dicom_Tag MIREL_BRIGHTNESS;
    /// FL: contrast of a true-colour image.
    static const Dicom_Tag MIREL_CONTRAST;

    /// Null for an attribute that is not listed.
    static const Dicom_DictionaryEntry* Find(const Dicom_Tag& tag);
    /// By keyword or constant name; null if there is none, or for null.
    static const Dicom_DictionaryEntry* Find(const char* keyword);
    /// The tag in this process of our private attribute that stands at `element` of PRIVATE_GROUP in a file
    /// whose creator element is number `block`; null unless the element lies in that block and is one of
    /// ours.
    static const Dicom_DictionaryEntry* FromFileElement(unsigned int block, unsigned int element);
};
