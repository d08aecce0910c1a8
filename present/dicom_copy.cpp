#include "dicom_copy.h"

#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_US.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Presets.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "applied_state.h"
#include "io/dicom_editor.h"
#include "io/dicom_tags.h"
#include "io/present_error.h"
#include "message_elements.h"

namespace {

constexpr std::uint32_t kWindow[] = {tag::kWindowCenter, tag::kWindowWidth, tag::kWindowExplanation,
                                     tag::kVoiLutFunction, tag::kVoiLutSequence};

constexpr const char* kDerivationText = "presentation saved by zev";
constexpr std::size_t kLongestDerivation = 1024;

bool is_window(std::uint32_t tag) {
    return std::find(std::begin(kWindow), std::end(kWindow), tag) != std::end(kWindow);
}

/// Gives attributes of `msg` back the values that they have in `original`, or their absence.
void take_back(OBJ_Msg& msg, const OBJ_Msg& original, std::initializer_list<std::uint32_t> tags) {
    for (const std::uint32_t tag : tags) {
        if (const Dicom_Type* value = original.Get(Dicom_Tag(tag))) {
            msg.Put(Dicom_Tag(tag), *value);
        } else {
            msg.Remove(Dicom_Tag(tag));
        }
    }
}

/// Enhanced CT, MR and PET: their type "derived" forbids attributes that tell of the acquisition, and their
/// palettes have 16 bits.
bool is_enhanced(const DicomDataSet& set) {
    for (const char* name :
         {"1.2.840.10008.5.1.4.1.1.2.1", "1.2.840.10008.5.1.4.1.1.4.1", "1.2.840.10008.5.1.4.1.1.130"}) {
        if (set.Text(tag::kSopClass) == name) return true;
    }
    return false;
}

/// The palette of a new map. It means something to others only where the pixels are to be seen in colour
/// (PS3.3 C.7.6.19).
void declare_palette(OBJ_Msg& msg, bool isEnhanced) {
    int status = 0;
    msg.Put(Dicom_Tag(tag::kPixelPresentation), Dicom_CS("COLOR", &status));
    for (unsigned c = 0; c < 3; ++c) {
        msg.Remove(Dicom_Tag(tag::kSegmentedPaletteData + c));
        const Dicom_Type* data = msg.Get(Dicom_Tag(tag::kPaletteData + c));
        if (!isEnhanced || data == nullptr) continue;
        std::vector<unsigned char> bytes(data->GetDumpLen().GetDumpLen());
        data->Dump(bytes.data());
        std::vector<unsigned char> words;
        for (const unsigned char byte : bytes) words.insert(words.end(), 2, byte);
        const auto count = static_cast<unsigned short>(bytes.size());
        msg.Put(Dicom_Tag(tag::kPaletteDescriptor + c), Dicom_US(count) | Dicom_US(0) | Dicom_US(16));
        msg.Put(Dicom_Tag(tag::kPaletteData + c),
                Dicom_OW(words.data(), static_cast<unsigned>(words.size()), 1, &status, false));
    }
}

/// A palette stays as the file has it unless the user chose another map, and with it the shapes, which are
/// read together with the map's UID.
void settle_colour_map(OpenedImage& image, const OBJ_Msg& original, OBJ_Msg& msg) {
    const Dicom_Tag& uidTag = Dicom_Dictionary::MIREL_COLOR_MAP_UID;
    const std::uint32_t privateShape = Dicom_Dictionary::MIREL_PRESENTATION_LUT_SHAPE.GetTag();
    const ZEV_ColorMap* map = image.Params().GetColorMap();
    const bool isOurs = original.Get(uidTag) != nullptr;
    int status = 0;
    if (map == image.AsOpened().colourMap && image.State() == nullptr) {
        for (unsigned c = 0; c < 3; ++c)
            take_back(msg, original, {tag::kPaletteDescriptor + c, tag::kPaletteData + c});
        if (!isOurs) take_back(msg, original, {uidTag.GetTag(), tag::kPresentationLutShape, privateShape});
        return;
    }
    const _bstr_t uid = map == nullptr ? _bstr_t(L"") : map->GetUID();
    // A dummy map, which brings no palette, is known by its UID all the same.
    msg.Put(uidTag, Dicom_LO(uid, &status));
    if (map != nullptr && !map->IsDummy()) {
        declare_palette(msg, is_enhanced(image.File().DataSet()));
    } else if (isOurs) {
        // The palette of an earlier choice.
        msg.Remove(Dicom_Tag(tag::kPixelPresentation));
        for (unsigned c = 0; c < 3; ++c) {
            msg.Remove(Dicom_Tag(tag::kPaletteDescriptor + c));
            msg.Remove(Dicom_Tag(tag::kPaletteData + c));
        }
    }
    // Shapes that an earlier inverse grey map left would turn this one round.
    if (uid != ZEV_Presets::GetInverseGrayscaleColormapUID() && msg.Remove(Dicom_Tag(privateShape))) {
        const bool isInverse = image.Params().GetPhotometricInverse();
        msg.Put(Dicom_Tag(tag::kPresentationLutShape), Dicom_CS(isInverse ? "INVERSE" : "IDENTITY", &status));
    }
}

/// The image's message with the presentation in it, ready to be held against `original`.
OBJ_Msg present(OpenedImage& image, const OBJ_Msg& original) {
    OBJ_Msg msg(original);
    ZEV_Params& params = image.Params();
    ZEV_Dicom().UpdateTheDicom(&msg, &params);
    ZEV_Dicom().UpdateDicomWithVoiLut(&msg, &params);
    // The library knows a rescale with a whole intercept and a float slope; the file's own stays.
    take_back(msg, original, {tag::kRescaleIntercept, tag::kRescaleSlope});
    if (image.WindowIsAsInFile()) {
        for (const std::uint32_t tag : kWindow) take_back(msg, original, {tag});
    } else if (image.InStoredValues()) {
        msg.SetWindowCenter(Dicom_DS(image.ModalityCenter()));
        msg.SetWindowWidth(Dicom_DS(image.ModalityWidth()));
    }
    // LINEAR is defined for widths of 1 and above (PS3.3 C.11.2.1.2).
    if (msg.GetDouble(Dicom_Tag(tag::kWindowWidth), 1.0) < 1.0 && !image.WindowIsAsInFile()) {
        int status = 0;
        msg.Put(Dicom_Tag(tag::kVoiLutFunction), Dicom_CS("LINEAR_EXACT", &status));
    }
    if (image.HasNaturalGammaInstead()) {
        msg.Put(Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE, Dicom_FL(params.GetGamma()));
    }
    int status = 0;
    msg.SetInverseWindow(Dicom_CS(image.ModalityInverse() ? "Y" : "N", &status));
    settle_colour_map(image, original, msg);
    return msg;
}

/// Where the file has the window of the frame. A file of functional groups without a window gets one for all
/// frames (PS3.3 C.7.6.16.2.10); `isNew` is then set.
DicomEditor::Place window_place(const DicomDataSet& set, int frame, bool& isNew) {
    const auto index = static_cast<std::size_t>(frame);
    const auto has = [](const DicomDataSet& item) {
        const DicomElement* voi = item.Find(tag::kFrameVoiLutSequence);
        return voi != nullptr && !voi->items.empty();
    };
    isNew = false;
    const bool isAtTop =
        std::any_of(std::begin(kWindow), std::end(kWindow), [&](std::uint32_t tag) { return set.Has(tag); });
    const DicomElement* frames = set.Find(tag::kPerFrameFunctionalGroups);
    const bool hasFrame = frames != nullptr && index < frames->items.size();
    if (hasFrame && has(frames->items[index]))
        return {{tag::kPerFrameFunctionalGroups, index}, {tag::kFrameVoiLutSequence, 0}};
    const DicomDataSet* shared = set.FirstItem(tag::kSharedFunctionalGroups);
    if (shared != nullptr && (has(*shared) || !isAtTop)) {
        isNew = !has(*shared);
        return {{tag::kSharedFunctionalGroups, 0}, {tag::kFrameVoiLutSequence, 0}};
    }
    isNew = hasFrame && !isAtTop;
    return isNew ? DicomEditor::Place{{tag::kPerFrameFunctionalGroups, index}, {tag::kFrameVoiLutSequence, 0}}
                 : DicomEditor::Place();
}

/// Puts what differs between the two messages into the copy.
class Differences {
public:
    Differences(const OpenedImage& image, int frame, DicomEditor& copy, const std::string& path)
        : m_Copy(copy), m_Path(path) {
        m_WindowPlace = window_place(image.File().DataSet(), frame, m_bNewWindowPlace);
    }

    void Put(const OBJ_Msg& original, const OBJ_Msg& msg) {
        for (const auto& [tag, element] : msg.GetElements()) {
            const Dicom_Type* before = original.Get(Dicom_Tag(tag));
            if (before == nullptr || *before != *element.m_pValue)
                change(tag, ToElement(tag, *element.m_pValue, m_Path));
        }
        for (const auto& [tag, element] : original.GetElements()) {
            if (msg.Get(Dicom_Tag(tag)) == nullptr) change(tag, std::nullopt);
        }
        if (!m_NewWindow.elements.empty()) {
            const std::uint32_t sequence = m_WindowPlace.back().first;
            m_WindowPlace.pop_back();
            m_Copy.Put(sequence, DicomElement{"SQ", "", {m_NewWindow}}, m_WindowPlace);
        }
    }

private:
    void change(std::uint32_t tag, const std::optional<DicomElement>& element) {
        DicomEditor::Place place;
        if (tag == Dicom_Dictionary::PRIVATE_CREATOR.GetTag()) return;
        if (is_window(tag)) {
            place = m_WindowPlace;
            if (m_bNewWindowPlace) {
                if (element) m_NewWindow.elements[tag] = *element;
                return;
            }
        } else if (tag >> 16 == Dicom_Dictionary::PRIVATE_GROUP) {
            const unsigned block =
                m_Copy.PrivateBlock(Dicom_Dictionary::PRIVATE_GROUP, Dicom_Dictionary::PRIVATE_CREATOR_TEXT);
            tag = DicomTag(Dicom_Dictionary::PRIVATE_GROUP, (block << 8) | (tag & 0xFF));
        }
        if (element) {
            m_Copy.Put(tag, *element, place);
        } else {
            m_Copy.Remove(tag, place);
        }
    }

    DicomEditor& m_Copy;
    const std::string& m_Path;
    DicomEditor::Place m_WindowPlace;
    bool m_bNewWindowPlace = false;
    DicomDataSet m_NewWindow;
};

/// A copy is an object of its own and says that it was derived (PS3.3 C.7.6.1.1.2, C.12.4.1.2).
void put_identity(DicomEditor& copy, bool isEnhanced) {
    copy.PutInstance(MakeUid());
    std::string type = copy.Value(tag::kImageType).value_or("");
    const std::size_t end = std::min(type.find('\\'), type.size());
    const std::string derived = isEnhanced && type.rfind("DERIVED", 0) != 0 ? "MIXED" : "DERIVED";
    type = derived + (end == type.size() ? "\\SECONDARY" : type.substr(end));
    copy.Put(tag::kImageType, DicomElement{"CS", type, {}});

    std::string derivation = copy.Value(tag::kDerivationDescription).value_or("");
    derivation.resize(derivation.find_last_not_of(std::string(" \0", 2)) + 1);
    if (derivation.find(kDerivationText) != std::string::npos) return;
    if (!derivation.empty()) derivation += "; ";
    derivation += kDerivationText;
    if (derivation.size() <= kLongestDerivation)
        copy.Put(tag::kDerivationDescription, DicomElement{"ST", derivation, {}});
}

}  // namespace

std::vector<std::string> OnlyShownByZev(OpenedImage& image) {
    std::vector<std::string> what;
    ZEV_Params& params = image.Params();
    if (image.File().IsColour()) return what;
    if (image.ModalityInverse() != params.GetPhotometricInverse()) what.push_back("the inversion");
    if (params.GammaExistAndNotNaturalValue()) what.push_back("the gamma");
    const ZEV_ColorMap* map = params.GetColorMap();
    if (map != nullptr && map != image.AsOpened().colourMap) what.push_back("the colour map");
    return what;
}

std::string EncodeCopy(OpenedImage& image, int frame, ZEV_RGBParams& rgb, const std::string& path) {
    DicomEditor copy(image.File().Path());
    const PresentationState* const state = image.State();
    DicomDataSet shown = state == nullptr ? image.File().DataSet() : image.File().OwnDataSet();
    const std::unique_ptr<OBJ_Msg> original = MakeMessage(shown);
    if (state != nullptr) {
        for (const auto& [tag, element] : ChangesBy(*state, shown, frame)) {
            element ? void(shown.elements[tag] = *element) : shown.Remove(tag);
        }
    }
    OBJ_Msg msg(*MakeMessage(shown));
    if (state != nullptr) {
        for (const std::uint32_t tag : PrivatePresentation()) msg.Remove(Dicom_Tag(tag));
    }
    if (image.File().IsColour()) {
        rgb.UpdateTheDicom(&msg);
    } else {
        msg = present(image, msg);
    }
    Differences(image, frame, copy, path).Put(*original, msg);
    put_identity(copy, is_enhanced(image.File().DataSet()));
    return copy.Encode();
}
