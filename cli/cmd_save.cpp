#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "commands.h"
#include "io/atomic_file.h"
#include "io/present_error.h"
#include "options.h"
#include "present/ddp_file.h"
#include "present/dicom_copy.h"
#include "present/state_file.h"

namespace {

void say_what_others_miss(OpenedImage& image, const std::string& output) {
    std::string list;
    for (const std::string& what : OnlyShownByZev(image)) list += (list.empty() ? "" : ", ") + what;
    if (list.empty()) return;
    (output == "-" ? std::cerr : std::cout)
        << "only ZEV will show in this copy: " << list << " (kept in private attributes)\n";
}

struct SaveOptions {
    std::string input, output, parameters, state;
    StateTexts texts;
    bool inPlace = false;
    long mode = static_cast<long>(SaveMode::kPresent);
    PresentationOptions presentation;
    BrightnessOptions brightness;
    ViewOptions view;
};

/// What a presentation state cannot hold is lost only where --force is given.
void refuse_to_lose(OpenedImage& image, const SaveOptions& options) {
    const LostInState found = FindLostInState(image, options.presentation, options.view);
    std::string list;
    const auto add = [&list](const std::string& what) { list += (list.empty() ? "" : ", ") + what; };
    if (options.parameters.empty())
        std::for_each(found.keptInParameters.begin(), found.keptInParameters.end(), add);
    const bool couldKeep = !list.empty() && found.lost.empty();
    std::for_each(found.lost.begin(), found.lost.end(), add);
    if (options.brightness.brightness || options.brightness.contrast) add("brightness and contrast");
    if (list.empty() || options.presentation.force) return;
    throw UsageError(
        "--gsps-out: a presentation state cannot hold " + list +
        (couldKeep ? "; keep it with --ddp-out, or lose it with --force" : "; --force loses it"));
}

void save(SaveOptions options) {
    RefuseClashes(InputsOf(options.input, options.presentation, &options.view),
                  {options.output, options.parameters, options.state});
    const std::string output = options.inPlace ? options.input : options.output;
    LoadConfiguration(options.presentation.config);
    ReadStates(options.presentation);
    OpenedImage image(options.input, options.presentation);
    ZEV_RGBParams rgb;
    ReadBrightness(image, options.brightness, rgb);
    // All that may be refused comes before the first file.
    std::vector<std::pair<std::string, std::string>> files;
    if (!output.empty()) {
        files.emplace_back(output, EncodeCopy(image, options.presentation.frame, rgb, output));
    }
    std::vector<std::string> regions;
    if (!options.view.regions.empty() && options.parameters.empty() && options.state.empty())
        throw UsageError("--region is kept in a display-parameter file: give --ddp-out");
    if (const std::vector<RegionSpec> specs = AllRegions(image, options.view); !specs.empty()) {
        // Made once, so that a setting that does not hold is refused now.
        const RegionView trial(image, options.presentation, specs, PlaceImage(image, options.view));
        for (const RegionSpec& spec : specs) regions.push_back(spec.ToText());
    }
    if (!options.parameters.empty()) {
        auto mode = static_cast<SaveMode>(options.mode);
        // The state has the window itself.
        if (options.presentation.automatic && !options.state.empty() && mode == SaveMode::kPresent)
            mode = SaveMode::kMeasured;
        files.emplace_back(options.parameters,
                           EncodeDisplayParameters(image, mode, regions, options.parameters));
    }
    if (!options.state.empty()) {
        refuse_to_lose(image, options);
        files.emplace_back(options.state,
                           EncodePresentationState(image, options.view, options.texts, options.state));
    }
    WriteFilesAtomically(files);
    if (!output.empty()) say_what_others_miss(image, output);
}

}  // namespace

void AddSaveCommand(CLI::App& app, Run& run) {
    auto options = std::make_shared<SaveOptions>();
    CLI::App* command =
        app.add_subcommand("save", "Write the presentation into a copy, or into a file of its own");
    command->add_option("INPUT", options->input, "DICOM file")->required();
    CLI::Option* output =
        command->add_option("-o,--output", options->output, "Copy of the file with the presentation in it");
    CLI::Option* inPlace =
        command->add_flag("--in-place", options->inPlace, "Put the copy in the place of the file itself")
            ->excludes(output);
    CLI::Option* parameters = command->add_option("--ddp-out", options->parameters, "Display-parameter file");
    CLI::Option* state = command->add_option("--gsps-out", options->state, "Softcopy presentation state");
    command->add_option("--label", options->texts.label, "Label of the presentation state")->needs(state);
    command->add_option("--description", options->texts.description, "Description of the presentation state")
        ->needs(state);
    command
        ->add_option("--creator", options->texts.creator, "Who made the presentation state, as Family^Given")
        ->needs(state);
    command
        ->add_option(
            "--mode", options->mode,
            "Window in the display-parameter file: 1 as it was saved before, 2 the present one, 4 none")
        ->check(OneOf({"1", "2", "4"}))
        ->needs(parameters);
    AddPresentationOptions(*command, options->presentation);
    AddBrightnessOptions(*command, options->brightness);
    AddViewOptions(*command, options->view);
    command->callback([options, output, inPlace, parameters, state, &run] {
        if (output->empty() && inPlace->empty() && parameters->empty() && state->empty())
            throw UsageError(
                "save needs an output: -o, --in-place, --ddp-out or --gsps-out; see zev help save");
        run = [options] { save(*options); };
    });
}
