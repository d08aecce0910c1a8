#include <iostream>
#include <memory>

#include "commands.h"
#include "io/printable.h"
#include "options.h"
#include "output.h"
#include "present/description.h"

namespace {

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
            const Json info = DescribeImage(image);
            if (options->json) {
                PrintJson(std::cout, info);
            } else {
                print_for_people(info, std::cout);
            }
        };
    });
}
