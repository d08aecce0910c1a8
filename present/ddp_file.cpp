#include "ddp_file.h"

#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <KIT/KIT_DDPInfo.h>
#include <ZEV/ZEV_Params.h>

#include <refhost/Unicode.h>

#include <algorithm>
#include <cstring>

#include "identification.h"
#include "io/dicom_editor.h"
#include "io/dicom_reader.h"
#include "io/dicom_tags.h"
#include "io/dicom_writer.h"
#include "io/present_error.h"
#include "message_elements.h"
#include "presentation.h"

namespace {

// In the private block as this program writes it; no other attribute of the block has these numbers.
constexpr std::uint32_t kCreator = DicomTag(Dicom_Dictionary::PRIVATE_GROUP, 0x0010);
constexpr std::uint32_t kRegions = DicomTag(Dicom_Dictionary::PRIVATE_GROUP, 0x1020);
constexpr std::uint32_t kRegionText = DicomTag(Dicom_Dictionary::PRIVATE_GROUP, 0x1021);
constexpr const char* kCreatorText = Dicom_Dictionary::PRIVATE_CREATOR_TEXT;

constexpr const char* kRawDataStorage = "1.2.840.10008.5.1.4.1.1.66";
/// Stands for this layout of the file, as Raw Data Storage wants of each creator.
constexpr const char* kCreatorVersion = "2.25.188219420938301724419380142385027312";

/// The attribute that an entry of the record belongs to.
std::uint32_t tag_of(const RWWString& name) {
    if (name == L"WINDOW_CENTER") return tag::kWindowCenter;
    if (name == L"WINDOW_WIDTH") return tag::kWindowWidth;
    std::string keyword;
    for (const wchar_t* sign = name.data(); *sign != 0; ++sign) keyword += static_cast<char>(*sign & 0x7F);
    const Dicom_DictionaryEntry* entry = Dicom_Dictionary::Find(keyword.c_str());
    return entry == nullptr ? 0 : entry->m_Tag;
}

OBJ_Msg make_record(OpenedImage& image, SaveMode mode) {
    DDPInfoVector record;
    const SaveMode recorded = mode == SaveMode::kMeasured ? SaveMode::kPresent : mode;
    static_cast<KIT_BaseParams&>(image.Params()).RecordDDPInfo(record, static_cast<long>(recorded));
    OBJ_Msg msg;
    // First, since the texts that follow are written in it.
    if (const DicomElement* set = image.File().DataSet().Find(tag::kSpecificCharacterSet))
        msg.PutBytes(Dicom_Tag(tag::kSpecificCharacterSet), "CS", set->bytes.data(), set->bytes.size());
    // So that the block is there, whatever the record holds.
    msg.PutBytes(Dicom_Dictionary::PRIVATE_CREATOR, "LO", Dicom_Dictionary::PRIVATE_CREATOR_TEXT,
                 std::strlen(Dicom_Dictionary::PRIVATE_CREATOR_TEXT));
    const auto& entries = record.GetParamsValues();
    int status = 0;
    for (std::size_t i = 0; i < entries.entries(); ++i) {
        if (const std::uint32_t tag = tag_of(entries[i]->m_TagName))
            msg.Put(Dicom_Tag(tag), Dicom_LO(entries[i]->m_Value.data(), &status));
    }

    // The record has whole numbers in the units of the window, and the direction of the table
    // there.
    if (recorded == SaveMode::kPresent && image.InStoredValues()) {
        const bool inverse = image.ModalityInverse() != image.Params().GetPhotometricInverse();
        msg.SetWindowCenter(Dicom_DS(image.ModalityCenter()));
        msg.SetWindowWidth(Dicom_DS(image.ModalityWidth()));
        msg.SetInverseWindow(Dicom_CS(inverse ? "Y" : "N", &status));
    } else if (mode == SaveMode::kAsSaved && image.SavedWindow()) {
        msg.SetWindowCenter(Dicom_DS(image.SavedWindow()->center));
        msg.SetWindowWidth(Dicom_DS(image.SavedWindow()->width));
    }
    if (mode == SaveMode::kMeasured) {
        msg.SetWindowCenter(Dicom_DS(0.0));
        msg.SetWindowWidth(Dicom_DS(0.0));
    }
    // A preset in SUV or per cent means another window on another frame or image; PT and NM are reopened with
    // it.
    const SPC_Modality::MODALITY modality = image.Modality().GetModality();
    if (mode == SaveMode::kPresent && image.GetWindowSource() == WindowSource::kPreset &&
        (modality == SPC_Modality::MODALITY_PT || modality == SPC_Modality::MODALITY_NM)) {
        msg.Put(Dicom_Dictionary::MIREL_WINDOWING_PRESET,
                Dicom_LO(refhost::FromUtf8(*image.Preset()).c_str(), &status));
    }
    if (image.HasNaturalGammaInstead()) {
        msg.Put(Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE, Dicom_FL(image.Params().GetGamma()));
    }
    return msg;
}

/// The regions in our private block, one item each with the block's creator of its own.
DicomElement region_sequence(const std::vector<std::string>& regions) {
    DicomElement sequence{"SQ", "", {}};
    for (const std::string& region : regions) {
        DicomDataSet item;
        item.PutText(kCreator, "LO", kCreatorText);
        item.PutText(kRegionText, "UT", region);
        sequence.items.push_back(std::move(item));
    }
    return sequence;
}

std::vector<std::string> saved_regions(const DicomDataSet& set) {
    std::vector<std::string> regions;
    const DicomElement* sequence = set.Find(kRegions);
    if (sequence == nullptr) return regions;
    for (const DicomDataSet& item : sequence->items) {
        const std::string text = item.Text(kRegionText);
        if (!text.empty()) regions.push_back(text);
    }
    return regions;
}

}  // namespace

std::string EncodeDisplayParameters(OpenedImage& image, SaveMode mode,
                                    const std::vector<std::string>& regions, const std::string& path) {
    if (image.File().IsColour()) {
        throw PresentError(image.File().Path(),
                           "is in colour and has no display parameters; a copy (-o) takes brightness and "
                           "contrast");
    }
    const DicomDataSet& source = image.File().DataSet();
    DicomDataSet reference;
    reference.PutText(tag::kReferencedSopClass, "UI", source.Text(tag::kSopClass));
    reference.PutText(tag::kReferencedSopInstance, "UI", source.Text(tag::kSopInstance));
    if (source.Text(tag::kSopInstance).empty()) {
        throw PresentError(image.File().Path(),
                           "has no SOP Instance UID, by which a display-parameter file would find it");
    }

    DicomDataSet set = IdentificationOf(source);
    PutNow(set, DicomTag(0x0008, 0x0023), DicomTag(0x0008, 0x0033));
    set.PutText(tag::kSopClass, "UI", kRawDataStorage);
    set.PutText(tag::kSopInstance, "UI", MakeUid());
    set.PutText(tag::kModality, "CS", "OT");
    set.PutText(DicomTag(0x0008, 0x103E), "LO", "Display parameters");
    set.PutText(DicomTag(0x0008, 0x9123), "UI", kCreatorVersion);
    set.PutText(DicomTag(0x0020, 0x000E), "UI", MakeUid());
    set.PutText(DicomTag(0x0020, 0x0011), "IS", "");
    set.PutText(DicomTag(0x0020, 0x0013), "IS", "1");
    set.PutText(DicomTag(0x0020, 0x0060), "CS", "");
    set.elements[DicomTag(0x0040, 0x0555)] = DicomElement{"SQ", "", {}};
    set.elements[tag::kReferencedImages] = DicomElement{"SQ", "", {reference}};
    const OBJ_Msg record = make_record(image, mode);
    for (const auto& [tag, element] : record.GetElements())
        set.elements[tag] = ToElement(tag, *element.m_pValue, path);
    if (!regions.empty()) set.elements[kRegions] = region_sequence(regions);
    return EncodeDicomFile(set);
}

SavedPresentation ReadDisplayParameters(const std::string& path, const std::string& instance, bool force) {
    const DicomDataSet set = ReadDicomDataSet(path);
    const DicomElement* images = set.Find(tag::kReferencedImages);
    if (set.Text(tag::kSopClass) != kRawDataStorage || set.Text(kCreator) != kCreatorText ||
        images == nullptr || images->items.empty())
        throw PresentError(path, "is not a display-parameter file");
    const bool isOurs =
        std::any_of(images->items.begin(), images->items.end(), [&](const DicomDataSet& item) {
            return !instance.empty() && item.Text(tag::kReferencedSopInstance) == instance;
        });
    if (!isOurs && !force) {
        throw PresentError(path, "belongs to another image, " +
                                     images->items.front().Text(tag::kReferencedSopInstance) +
                                     "; --force takes it all the same");
    }
    return {MakeMessage(set), saved_regions(set)};
}
