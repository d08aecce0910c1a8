#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_US.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Presets.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "atomic_file.h"
#include "brightness.h"
#include "commands.h"
#include "ddp_file.h"
#include "dicom_editor.h"
#include "message_elements.h"
#include "present_error.h"
#include "region_view.h"

namespace {

constexpr std::uint32_t kSopClass = DicomTag(0x0008, 0x0016);
constexpr std::uint32_t kPixelPresentation = DicomTag(0x0008, 0x9205);
constexpr std::uint32_t kImageType = DicomTag(0x0008, 0x0008);
constexpr std::uint32_t kDerivation = DicomTag(0x0008, 0x2111);
constexpr std::uint32_t kIntercept = DicomTag(0x0028, 0x1052);
constexpr std::uint32_t kSlope = DicomTag(0x0028, 0x1053);
constexpr std::uint32_t kPaletteDescriptor = DicomTag(0x0028, 0x1101);
constexpr std::uint32_t kPaletteData = DicomTag(0x0028, 0x1201);
constexpr std::uint32_t kSegmentedPaletteData = DicomTag(0x0028, 0x1221);
constexpr std::uint32_t kWindow[] = {DicomTag(0x0028, 0x1050), DicomTag(0x0028, 0x1051),
                                     DicomTag(0x0028, 0x1055), DicomTag(0x0028, 0x1056),
                                     DicomTag(0x0028, 0x3010)};
constexpr std::uint32_t kFrameVoiLut = DicomTag(0x0028, 0x9132);
constexpr std::uint32_t kPresentationLutShape = DicomTag(0x2050, 0x0020);
constexpr std::uint32_t kSharedGroups = DicomTag(0x5200, 0x9229);
constexpr std::uint32_t kFrameGroups = DicomTag(0x5200, 0x9230);

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
        if (set.Text(kSopClass) == name) return true;
    }
    return false;
}

/// The palette of a new map. It means something to others only where the pixels are to be seen in colour
/// (PS3.3 C.7.6.19).
void declare_palette(OBJ_Msg& msg, bool isEnhanced) {
    int status = 0;
    msg.Put(Dicom_Tag(kPixelPresentation), Dicom_CS("COLOR", &status));
    for (unsigned c = 0; c < 3; ++c) {
        msg.Remove(Dicom_Tag(kSegmentedPaletteData + c));
        const Dicom_Type* data = msg.Get(Dicom_Tag(kPaletteData + c));
        if (!isEnhanced || data == nullptr) continue;
        std::vector<unsigned char> bytes(data->GetDumpLen().GetDumpLen());
        data->Dump(bytes.data());
        std::vector<unsigned char> words;
        for (const unsigned char byte : bytes) words.insert(words.end(), 2, byte);
        const auto count = static_cast<unsigned short>(bytes.size());
        msg.Put(Dicom_Tag(kPaletteDescriptor + c), Dicom_US(count) | Dicom_US(0) | Dicom_US(16));
        msg.Put(Dicom_Tag(kPaletteData + c),
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
    if (map == image.AsOpened().colourMap) {
        for (unsigned c = 0; c < 3; ++c) take_back(msg, original, {kPaletteDescriptor + c, kPaletteData + c});
        if (!isOurs) take_back(msg, original, {uidTag.GetTag(), kPresentationLutShape, privateShape});
        return;
    }
    const _bstr_t uid = map == nullptr ? _bstr_t(L"") : map->GetUID();
    // A dummy map, which brings no palette, is known by its UID all the same.
    msg.Put(uidTag, Dicom_LO(uid, &status));
    if (map != nullptr && !map->IsDummy()) {
        declare_palette(msg, is_enhanced(image.File().DataSet()));
    } else if (isOurs) {
        // The palette of an earlier choice.
        msg.Remove(Dicom_Tag(kPixelPresentation));
        for (unsigned c = 0; c < 3; ++c) {
            msg.Remove(Dicom_Tag(kPaletteDescriptor + c));
            msg.Remove(Dicom_Tag(kPaletteData + c));
        }
    }
    // Shapes that an earlier inverse grey map left would turn this one round.
    if (uid != ZEV_Presets::GetInverseGrayscaleColormapUID() && msg.Remove(Dicom_Tag(privateShape))) {
        const bool isInverse = image.Params().GetPhotometricInverse();
        msg.Put(Dicom_Tag(kPresentationLutShape), Dicom_CS(isInverse ? "INVERSE" : "IDENTITY", &status));
    }
}

/// The image's message with the presentation in it, ready to be held against `original`.
OBJ_Msg present(OpenedImage& image, const OBJ_Msg& original) {
    OBJ_Msg msg(original);
    ZEV_Params& params = image.Params();
    ZEV_Dicom().UpdateTheDicom(&msg, &params);
    ZEV_Dicom().UpdateDicomWithVoiLut(&msg, &params);
    // The library knows a rescale with a whole intercept and a float slope; the file's own stays.
    take_back(msg, original, {kIntercept, kSlope});
    if (image.WindowIsAsInFile()) {
        for (const std::uint32_t tag : kWindow) take_back(msg, original, {tag});
    } else if (image.InStoredValues()) {
        msg.SetWindowCenter(Dicom_DS(image.ModalityCenter()));
        msg.SetWindowWidth(Dicom_DS(image.ModalityWidth()));
    }
    if (image.HasNaturalGammaInstead()) {
        msg.Put(Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE, Dicom_FL(params.GetGamma()));
    }
    int status = 0;
    msg.SetInverseWindow(Dicom_CS(image.ModalityInverse() ? "Y" : "N", &status));
    settle_colour_map(image, original, msg);
    return msg;
}

/// Where the file has the window of the frame. A file of functional groups without a window gets one for all frames (PS3.3
/// C.7.6.16.2.10); `isNew` is then set.
DicomEditor::Place window_place(const DicomDataSet& set, int frame, bool& isNew) {
    const auto index = static_cast<std::size_t>(frame);
    const auto has = [](const DicomDataSet& item) {
        const DicomElement* voi = item.Find(kFrameVoiLut);
        return voi != nullptr && !voi->items.empty();
    };
    isNew = false;
    const bool isAtTop =
        std::any_of(std::begin(kWindow), std::end(kWindow), [&](std::uint32_t tag) { return set.Has(tag); });
    const DicomElement* frames = set.Find(kFrameGroups);
    const bool hasFrame = frames != nullptr && index < frames->items.size();
    if (hasFrame && has(frames->items[index])) return {{kFrameGroups, index}, {kFrameVoiLut, 0}};
    const DicomDataSet* shared = set.FirstItem(kSharedGroups);
    if (shared != nullptr && (has(*shared) || !isAtTop)) {
        isNew = !has(*shared);
        return {{kSharedGroups, 0}, {kFrameVoiLut, 0}};
    }
    isNew = hasFrame && !isAtTop;
    return isNew ? DicomEditor::Place{{kFrameGroups, index}, {kFrameVoiLut, 0}} : DicomEditor::Place();
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
    std::string type = copy.Value(kImageType).value_or("");
    const std::size_t end = std::min(type.find('\\'), type.size());
    const std::string derived = isEnhanced && type.rfind("DERIVED", 0) != 0 ? "MIXED" : "DERIVED";
    type = derived + (end == type.size() ? "\\SECONDARY" : type.substr(end));
    copy.Put(kImageType, DicomElement{"CS", type, {}});

    std::string derivation = copy.Value(kDerivation).value_or("");
    derivation.resize(derivation.find_last_not_of(std::string(" \0", 2)) + 1);
    if (derivation.find(kDerivationText) != std::string::npos) return;
    if (!derivation.empty()) derivation += "; ";
    derivation += kDerivationText;
    if (derivation.size() <= kLongestDerivation) copy.Put(kDerivation, DicomElement{"ST", derivation, {}});
}

std::string encode_copy(OpenedImage& image, int frame, ZEV_RGBParams& rgb, const std::string& path) {
    DicomEditor copy(image.File().Path());
    const std::unique_ptr<OBJ_Msg> original = image.File().MakeMessage();
    OBJ_Msg msg(*original);
    if (image.File().IsColour()) {
        rgb.UpdateTheDicom(&msg);
    } else {
        msg = present(image, *original);
    }
    Differences(image, frame, copy, path).Put(*original, msg);
    put_identity(copy, is_enhanced(image.File().DataSet()));
    return copy.Encode();
}

}  // namespace

void AddSaveCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string input, output, parameters;
        long mode = static_cast<long>(SaveMode::kPresent);
        PresentationOptions presentation;
        BrightnessOptions brightness;
        ViewOptions view;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("save", "Write the presentation into a copy, or into a file of its own");
    command->add_option("INPUT", options->input, "DICOM file")->required();
    CLI::Option* output =
        command->add_option("-o,--output", options->output, "Copy of the file with the presentation in it");
    CLI::Option* parameters = command->add_option("--ddp-out", options->parameters, "Display-parameter file");
    command
        ->add_option(
            "--mode", options->mode,
            "Window in the display-parameter file: 1 as it was saved before, 2 the present one, 4 none")
        ->check(CLI::IsMember({1, 2, 4}).description(""))
        ->needs(parameters);
    AddPresentationOptions(*command, options->presentation);
    AddBrightnessOptions(*command, options->brightness);
    AddRegionOption(*command, options->view);
    command->callback([options, output, parameters, &run] {
        if (output->empty() && parameters->empty()) throw CLI::RequiredError("save: one of -o and --ddp-out");
        run = [options] {
            if (options->output == options->parameters)
                throw UsageError("-o and --ddp-out name the same file");
            LoadConfiguration(options->presentation.config);
            OpenedImage image(options->input, options->presentation);
            ZEV_RGBParams rgb;
            ReadBrightness(image, options->brightness, rgb);
            // All that may be refused comes before the first file.
            std::vector<std::pair<std::string, std::string>> files;
            if (!options->output.empty()) {
                files.emplace_back(options->output,
                                   encode_copy(image, options->presentation.frame, rgb, options->output));
            }
            std::vector<std::string> regions;
            if (!options->view.regions.empty() && options->parameters.empty())
                throw UsageError("--region is kept in a display-parameter file: give --ddp-out");
            if (const std::vector<RegionSpec> specs = AllRegions(image, options->view); !specs.empty()) {
                // Made once, so that a setting that does not hold is refused now.
                RegionView(image, options->presentation, specs, ViewOptions());
                for (const RegionSpec& spec : specs) regions.push_back(spec.ToText());
            }
            if (!options->parameters.empty()) {
                files.emplace_back(options->parameters,
                                   EncodeDisplayParameters(image, static_cast<SaveMode>(options->mode),
                                                           regions, options->parameters));
            }
            for (const auto& [path, bytes] : files) WriteFileAtomically(path, bytes.data(), bytes.size());
        };
    });
}
