#include <ZEV/ZEV_ColorMap.h>

#include <refhost/Unicode.h>
#include <cstdio>
#include <iostream>
#include <memory>

#include "commands.h"
#include "io/dicom_tags.h"
#include "io/number.h"
#include "io/printable.h"
#include "io/real_world_values.h"
#include "options.h"
#include "output.h"
#include "present/presentation.h"

namespace {

/// The shortest number that reads back as this float, without the tail that widening would show.
double as_written(float value) { return ParseNumber(NumberText(value)).value_or(static_cast<double>(value)); }

const char* function_name(int code) {
    switch (code) {
        case Mapper_WindowingEntry::FUNCTION_SIGMOID:
            return "sigmoid";
        case Mapper_WindowingEntry::FUNCTION_TABLE:
            return "table";
        default:
            return "linear";
    }
}

Json entries(ZEV_Params& params) {
    Json list = Json::array();
    Mapper_WindowingManager* manager = params.GetVoiLutManager();
    if (manager == nullptr) return list;
    for (const Mapper_WindowingEntry* entry : manager->m_Entries) {
        const Dicom_LO explanation = entry->GetWindowingExplanation();
        list.push_back({{"function", function_name(entry->m_FunctionCode)},
                        {"explanation", refhost::ToUtf8(explanation.GetText(0).c_str())},
                        {"center", entry->GetCenter()},
                        {"width", entry->GetWidth()}});
    }
    return list;
}

Json colour_map(ZEV_Params& params) {
    const ZEV_ColorMap* map = params.GetColorMap();
    if (map == nullptr) return nullptr;
    const _bstr_t uid = map->GetUID();
    return {{"name", refhost::ToUtf8(map->GetName())},
            {"uid", refhost::ToUtf8(static_cast<const wchar_t*>(uid))},
            {"dummy", map->IsDummy()}};
}

Json number_or_null(bool exists, int value) { return exists ? Json(value) : Json(nullptr); }

Json text_or_null(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

Json spacing(const DicomDataSet& set) {
    for (const std::uint32_t tag : {tag::kPixelSpacing, tag::kImagerPixelSpacing}) {
        const std::string text = set.Text(tag);
        const std::size_t separator = text.find('\\');
        if (separator == std::string::npos) continue;
        const auto row = ParseNumber(Trimmed(text.substr(0, separator)));
        const auto column = ParseNumber(Trimmed(text.substr(separator + 1)));
        if (row && column) return {*row, *column};
    }
    return nullptr;
}

bool has_overlays(const DicomDataSet& set) {
    for (unsigned group = 0x6000; group <= 0x601E; group += 2) {
        if (set.Has(DicomTag(group, 0x0010))) return true;
    }
    return false;
}

Json real_world_values(const DicomDataSet& set) {
    Json list = Json::array();
    for (const RealWorldMapping& mapping : ReadRealWorldMappings(set)) {
        const bool isLinear = mapping.table.empty();
        list.push_back({{"label", text_or_null(mapping.label)},
                        {"explanation", text_or_null(mapping.explanation)},
                        {"units", text_or_null(mapping.unitsCode)},
                        {"unitsMeaning", text_or_null(mapping.unitsMeaning)},
                        {"first", mapping.first},
                        {"last", mapping.last},
                        {"slope", isLinear ? Json(mapping.slope) : Json(nullptr)},
                        {"intercept", isLinear ? Json(mapping.intercept) : Json(nullptr)}});
    }
    return list;
}

Json overlay_planes(const DicomFile& file) {
    Json list = Json::array();
    for (const OverlayPlane& plane : file.Overlays()) {
        char group[8];
        std::snprintf(group, sizeof group, "%04X", plane.group);
        list.push_back({{"group", group},
                        {"rows", plane.rows},
                        {"columns", plane.columns},
                        {"origin", {plane.top + 1, plane.left + 1}},
                        {"type", text_or_null(plane.type)},
                        {"label", text_or_null(plane.label)},
                        {"description", text_or_null(plane.description)},
                        {"embedded", plane.isEmbedded}});
    }
    return list;
}

Json applied_state(const OpenedImage& image) {
    const PresentationState* const state = image.State();
    if (state == nullptr) return nullptr;
    return {{"file", state->path},
            {"sopInstanceUid", text_or_null(state->set.Text(tag::kSopInstance))},
            {"label", text_or_null(state->Label())},
            {"description", text_or_null(state->set.Text(tag::kContentDescription))},
            {"created", text_or_null(state->Created())}};
}

void describe_file(const OpenedImage& image, int frame, Json& info) {
    const DicomFile& file = image.File();
    const DicomDataSet& set = file.DataSet();
    info["file"] = file.Path();
    info["sopInstanceUid"] = text_or_null(set.Text(tag::kSopInstance));
    info["transferSyntax"] = file.TransferSyntax();
    info["photometricInterpretation"] = text_or_null(set.Text(tag::kPhotometricInterpretation));
    info["colour"] = file.IsColour();
    info["rows"] = file.Rows();
    info["columns"] = file.Columns();
    info["frames"] = file.Frames();
    info["frame"] = frame;
    info["pixelSpacing"] = spacing(set);
    info["overlays"] = has_overlays(set);
    info["presentationStates"] = set.Has(tag::kReferencedPresentationStates);
    info["palettes"] = set.Has(tag::kPaletteDescriptor);
    info["supplementalPalette"] = file.Supplement().has_value();
    info["overlayPlanes"] = overlay_planes(file);
    info["realWorldValues"] = real_world_values(file.OwnDataSet());
    info["presentationState"] = applied_state(image);
}

void describe_window(OpenedImage& image, Json& info) {
    ZEV_Params& params = image.Params();
    info["center"] = params.GetCenter();
    info["width"] = params.GetWidth();
    info["windowMin"] = params.GetWindowMin();
    info["windowMax"] = params.GetWindowMax();
    info["windowMinScale"] = params.GetWindowMinScale();
    info["windowMaxScale"] = params.GetWindowMaxScale();
    info["gamma"] = as_written(params.GetGamma());
    info["inverse"] = params.IsInverse();
    info["visibleInverse"] = params.GetVisibleInverse();
    info["photometricInverse"] = params.GetPhotometricInverse();
    info["rescaleSlope"] = as_written(params.GetRescaleSlope());
    info["rescaleIntercept"] = params.GetRescaleIntercept();
    info["units"] = text_or_null(image.UnitsText());
    const bool hasPadding = params.GetPixelPaddingValue() != ZEV_Params::kNoPadding;
    info["paddingValue"] = number_or_null(hasPadding, params.GetPixelPaddingValue());
    info["paddingLimit"] = number_or_null(hasPadding, params.GetPixelPaddingValueLimit());
    info["usePadding"] = params.GetUsePadding();
    info["minMaxScaleMode"] = params.GetMinMaxScaleMode();
    info["voiLutSelection"] = number_or_null(params.GetVoiLutSelection() >= 0, params.GetVoiLutSelection());
    info["voiLutEntries"] = entries(params);
    info["colorMap"] = colour_map(params);
    info["localizer"] = params.IsLocalizer();
    info["bitsPerPixel"] = image.Raster().m_BitsPerPixel;
    info["signed"] = image.Raster().m_bSigned;
    info["storedRange"] = RangeOf(image.File().StoredRange());
    info["modalityRange"] = RangeOf(image.ModalityRange());
    info["windowSource"] = NameOf(image.GetWindowSource());
    info["windowUnits"] = image.InStoredValues() ? "stored" : "modality";
    if (image.InStoredValues()) {
        info["modalityCenter"] = image.ModalityCenter();
        info["modalityWidth"] = image.ModalityWidth();
    }
    info["preset"] = image.Preset() ? Json(*image.Preset()) : Json(nullptr);
}

Json describe(OpenedImage& image, int frame) {
    Json info;
    describe_file(image, frame, info);
    info["modality"] = refhost::ToUtf8(image.Modality().GetModalityName());
    if (!image.File().IsColour()) describe_window(image, info);
    info["notes"] = Json::array();
    for (const Note& note : image.Notes())
        info["notes"].push_back({{"code", note.code}, {"text", note.text}});
    return info;
}

/// A value of the description as a person reads it.
std::string text_of(const Json& value) {
    return Printable(value.is_string() ? value.get<std::string>() : value.dump());
}

void print_window(const Json& info, std::ostream& out) {
    const auto text = [&](const char* key) { return text_of(info[key]); };
    const auto yes = [&](const char* key) { return info[key].get<bool>(); };
    out << "  window    centre " << text("center") << ", width " << text("width") << ", " << text("windowMin")
        << " to " << text("windowMax") << " (" << text("windowSource")
        << (info["preset"].is_null() ? "" : " '" + text("preset") + "'") << ")\n";
    if (info.contains("modalityCenter")) {
        out << "            in stored values; after rescale centre " << text("modalityCenter") << ", width "
            << text("modalityWidth") << "\n";
    }
    out << "  rescale   slope " << text("rescaleSlope") << ", intercept " << text("rescaleIntercept")
        << (info["units"].is_null() ? "" : ", in " + text("units")) << "\n"
        << "  gamma     " << text("gamma") << "\n"
        << "  inverse   " << (yes("inverse") ? "yes" : "no")
        << (yes("photometricInverse") ? ", MONOCHROME1\n" : "\n");
    if (yes("usePadding"))
        out << "  padding   " << text("paddingValue") << " to " << text("paddingLimit") << "\n";
    int index = 0;
    for (const Json& entry : info["voiLutEntries"]) {
        out << "  entry " << index << (Json(index) == info["voiLutSelection"] ? " * " : "   ")
            << text_of(entry["explanation"]) << ": " << text_of(entry["function"]) << ", centre "
            << text_of(entry["center"]) << ", width " << text_of(entry["width"]) << "\n";
        ++index;
    }
    if (!info["colorMap"].is_null()) out << "  colours   " << text_of(info["colorMap"]["name"]) << "\n";
}

void print_for_people(const Json& info, std::ostream& out) {
    const auto text = [&](const char* key) { return text_of(info[key]); };
    const bool isColour = info["colour"].get<bool>();
    out << text("file") << "\n"
        << "  image     " << text("modality") << ", " << text("columns") << " x " << text("rows") << ", "
        << text("frames") << (info["frames"] == 1 ? " frame, " : " frames, ");
    if (isColour) {
        out << "in colour, drawn as it is\n";
    } else {
        out << text("bitsPerPixel") << " bits, " << (info["signed"].get<bool>() ? "signed" : "unsigned")
            << (info["localizer"].get<bool>() ? ", localizer\n" : "\n");
        print_window(info, out);
    }
    for (const Json& plane : info["overlayPlanes"]) {
        out << "  overlay   " << text_of(plane["group"]) << ", " << text_of(plane["columns"]) << " x "
            << text_of(plane["rows"]) << " at row " << text_of(plane["origin"][0]) << ", column "
            << text_of(plane["origin"][1]) << (plane["label"].is_null() ? "" : ": " + text_of(plane["label"]))
            << "\n";
    }
    for (const Json& mapping : info["realWorldValues"]) {
        out << "  real      " << (mapping["label"].is_null() ? "" : text_of(mapping["label"]) + ": ")
            << "stored " << text_of(mapping["first"]) << " to " << text_of(mapping["last"]) << " x "
            << text_of(mapping["slope"]) << " + " << text_of(mapping["intercept"])
            << (mapping["units"].is_null() ? "" : " " + text_of(mapping["units"])) << "\n";
    }
    if (!info["presentationState"].is_null()) {
        const Json& state = info["presentationState"];
        out << "  state     " << text_of(state["file"]) << ", " << text_of(state["label"]) << ", "
            << text_of(state["created"]) << "\n";
    }
    for (const Json& note : info["notes"]) out << "  note      " << text_of(note["text"]) << "\n";
}

}  // namespace

void AddInfoCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string input;
        bool json = false;
        PresentationOptions presentation;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("info", "Show how one frame is presented");
    command->add_option("INPUT", options->input, "DICOM file")->required();
    command->add_flag("--json", options->json, "As one JSON object");
    AddPresentationOptions(*command, options->presentation);
    command->callback([options, &run] {
        run = [options] {
            LoadConfiguration(options->presentation.config);
            ReadStates(options->presentation);
            OpenedImage image(options->input, options->presentation);
            const Json info = describe(image, options->presentation.frame);
            if (options->json) {
                PrintJson(std::cout, info);
            } else {
                print_for_people(info, std::cout);
            }
        };
    });
}
