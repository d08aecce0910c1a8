#include <ZEV/ZEV_ColorMap.h>

#include <refhost/Unicode.h>
#include <charconv>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "options.h"
#include "present/presentation.h"

namespace {

using Json = nlohmann::ordered_json;

/// The shortest number that reads back as this float, without the tail that widening would show.
double as_written(float value) {
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    double result = value;
    std::from_chars(text, end, result);
    return result;
}

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

Json describe(OpenedImage& image) {
    ZEV_Params& params = image.Params();
    const DicomFile& file = image.File();
    Json info;
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
    info["paddingValue"] = params.GetPixelPaddingValue();
    info["paddingLimit"] = params.GetPixelPaddingValueLimit();
    info["usePadding"] = params.GetUsePadding();
    info["minMaxScaleMode"] = params.GetMinMaxScaleMode();
    info["voiLutSelection"] = params.GetVoiLutSelection();
    info["voiLutEntries"] = entries(params);
    info["colorMap"] = colour_map(params);
    info["localizer"] = params.IsLocalizer();
    info["modality"] = refhost::ToUtf8(image.Modality().GetModalityName());
    info["bitsPerPixel"] = image.Raster().m_BitsPerPixel;
    info["signed"] = image.Raster().m_bSigned;
    info["rows"] = file.Rows();
    info["columns"] = file.Columns();
    info["frames"] = file.Frames();
    info["windowSource"] = image.WindowSource();
    info["windowUnits"] = image.InStoredValues() ? "stored" : "modality";
    if (image.InStoredValues()) {
        info["modalityCenter"] = image.ModalityCenter();
        info["modalityWidth"] = image.ModalityWidth();
    }
    info["preset"] = image.Preset() ? Json(*image.Preset()) : Json(nullptr);
    info["notes"] = image.Notes();
    return info;
}

void print_for_people(const Json& info, const std::string& path, bool isColour, std::ostream& out) {
    const auto text = [&](const char* key) {
        const Json& value = info[key];
        return value.is_string() ? value.get<std::string>() : value.dump();
    };
    const auto yes = [&](const char* key) { return info[key].get<bool>(); };
    out << path << "\n"
        << "  image     " << text("modality") << ", " << text("columns") << " x " << text("rows") << ", "
        << text("frames") << (info["frames"] == 1 ? " frame, " : " frames, ")
        << (isColour ? "colour, drawn as it is" : text("bitsPerPixel") + " bits, ");
    if (!isColour) out << (yes("signed") ? "signed" : "unsigned");
    out << (yes("localizer") ? ", localizer\n" : "\n") << "  window    centre " << text("center")
        << ", width " << text("width") << ", " << text("windowMin") << " to " << text("windowMax") << " ("
        << text("windowSource")
        << (info["preset"].is_null() ? "" : " '" + info["preset"].get<std::string>() + "'") << ")\n";
    if (info.contains("modalityCenter")) {
        out << "            in stored values; after rescale centre " << text("modalityCenter") << ", width "
            << text("modalityWidth") << "\n";
    }
    out << "  rescale   slope " << text("rescaleSlope") << ", intercept " << text("rescaleIntercept") << "\n"
        << "  gamma     " << text("gamma") << "\n"
        << "  inverse   " << (yes("inverse") ? "yes" : "no")
        << (yes("photometricInverse") ? ", MONOCHROME1\n" : "\n");
    if (yes("usePadding"))
        out << "  padding   " << text("paddingValue") << " to " << text("paddingLimit") << "\n";
    int index = 0;
    for (const Json& entry : info["voiLutEntries"]) {
        out << "  entry " << index << (index == info["voiLutSelection"] ? " * " : "   ")
            << entry["explanation"].get<std::string>() << ": " << entry["function"].get<std::string>()
            << ", centre " << entry["center"].dump() << ", width " << entry["width"].dump() << "\n";
        ++index;
    }
    if (!info["colorMap"].is_null())
        out << "  colours   " << info["colorMap"]["name"].get<std::string>() << "\n";
    for (const Json& note : info["notes"]) out << "  note      " << note.get<std::string>() << "\n";
}

}  // namespace

void AddInfoCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string input;
        bool json = false;
        PresentationOptions presentation;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("info", "Tell how one frame is presented");
    command->add_option("INPUT", options->input, "DICOM file")->required();
    command->add_flag("--json", options->json, "As one JSON object");
    AddPresentationOptions(*command, options->presentation);
    command->callback([options, &run] {
        run = [options] {
            LoadConfiguration(options->presentation.config);
            OpenedImage image(options->input, options->presentation);
            const Json info = describe(image);
            if (options->json) {
                std::cout << info.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
            } else {
                print_for_people(info, options->input, image.File().IsColour(), std::cout);
            }
        };
    });
}
