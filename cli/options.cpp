#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <limits>
#include <optional>

#include "io/number.h"

namespace {

constexpr const char* kOneOf = "one-of";
constexpr int kMostBrightness = 100;
constexpr int kMostInt = std::numeric_limits<int>::max();

std::string text_of(double number) {
    char text[40];
    std::snprintf(text, sizeof text, "%.10g", number);
    return text;
}

CLI::Validator between(double low, double high, bool isWhole) {
    const auto check = [=](std::string& text) -> std::string {
        const std::optional<double> value = ParseNumber(text);
        // Only digits make a whole number: 1e3 is one, but not one that the option is converted from.
        const bool isGood = value && *value >= low && *value <= high &&
                            (!isWhole || text.find_first_of(".eE") == std::string::npos);
        if (isGood) return "";
        return std::string("must be a ") + (isWhole ? "whole " : "") + "number " +
               (high < kMostInt ? "from " + text_of(low) + " to " + text_of(high)
                                : "of " + text_of(low) + " or more") +
               ", not '" + text + "'";
    };
    CLI::Validator validator(check, "");
    return validator;
}

void add_partial_option(CLI::App& command, PresentationOptions& options) {
    command.add_flag("--partial", options.partial, "Draw a file that is cut short as far as it goes");
}

}  // namespace

CLI::Validator NumberFrom(double low, double high) { return between(low, high, false); }
CLI::Validator WholeNumberFrom(int low, int high) { return between(low, high, true); }

CLI::Validator OneOf(std::vector<std::string> words) {
    // The name carries the words to WordsOf; nothing shows it.
    std::string name = kOneOf;
    for (const std::string& word : words) name += " " + word;
    const auto check = [words = std::move(words)](std::string& text) -> std::string {
        if (std::find(words.begin(), words.end(), text) != words.end()) return "";
        std::string list;
        for (std::size_t i = 0; i < words.size(); ++i)
            list += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
        return "must be " + list + ", not '" + text + "'";
    };
    return CLI::Validator(check, "", name);
}

std::vector<std::string> WordsOf(const CLI::Option& option) {
    try {
        const std::string name = const_cast<CLI::Option&>(option).get_validator(0)->get_name();
        std::vector<std::string> words = CLI::detail::split(name, ' ');
        if (words.front() != kOneOf) return {};
        words.erase(words.begin());
        return words;
    } catch (const CLI::OptionNotFound&) {
        return {};
    }
}

std::vector<std::string> InputsOf(const std::string& image, const PresentationOptions& options,
                                  const ViewOptions* view) {
    std::vector<std::string> inputs = {image, options.displayParameters, options.statesPath, options.config};
    if (view == nullptr) return inputs;
    for (const std::string& region : view->regions) {
        const std::string mask = "mask:";
        if (region.rfind(mask, 0) == 0)
            inputs.push_back(region.substr(mask.size(), region.find(';') - mask.size()));
    }
    return inputs;
}

void AddFrameOption(CLI::App& command, PresentationOptions& options) {
    command.add_option("--frame", options.frame, "Frame, from 0")->check(WholeNumberFrom(0, kMostInt));
    add_partial_option(command, options);
}

void AddConfigOption(CLI::App& command, std::string& config) {
    command.add_option("--config", config, "Configuration in place of the built-in one");
}

void AddPresentationOptions(CLI::App& command, PresentationOptions& options, std::string* frames) {
    CLI::Option* center = command
                              .add_option("--center,--centre", options.center,
                                          "Window centre in modality units, that is after rescale")
                              ->check(NumberFrom(-2147483648.0, 2147483646.0));
    CLI::Option* width = command.add_option("--width", options.width, "Window width in modality units")
                             ->check(NumberFrom(0.0, kMostInt));
    center->needs(width);
    width->needs(center);
    CLI::Option* automatic =
        command.add_flag("--auto", options.automatic, "Measure the window from the pixels");
    automatic->excludes(center);
    command
        .add_option("--preset", options.preset,
                    "Windowing preset by name, see zev presets; CT/Lung for one of another modality")
        ->excludes(center)
        ->excludes(automatic);
    command.add_option("--colormap", options.colourMap, "Colour map by UID or name, see zev colormaps");
    command.add_option("--gamma", options.gamma, "Gamma, 0.1 to 5")->check(NumberFrom(0.1, 5.0));
    command.add_flag("--invert", options.invert, "Invert the grey levels");
    command.add_option("--voi", options.voi, "Windowing entry of the image, from 0")
        ->check(WholeNumberFrom(0, kMostInt));
    if (frames == nullptr) {
        AddFrameOption(command, options);
    } else {
        command.add_option("--frame", *frames, "Frame, from 0; FIRST-LAST; or all");
        add_partial_option(command, options);
    }
    command.add_option("--ddp", options.displayParameters,
                       "Display-parameter file to lay over the image first");
    command.add_option("--gsps", options.statesPath,
                       "Softcopy presentation state to apply before that; of a folder the newest one for the "
                       "image");
    command.add_flag("--force", options.force,
                     "Accept a display-parameter file or presentation state of another image");
    AddConfigOption(command, options.config);
}

void AddBrightnessOptions(CLI::App& command, BrightnessOptions& options) {
    command
        .add_option("--brightness", options.brightness,
                    "Brightness of an image in colour, -100 to 100; needs a contrast")
        ->check(WholeNumberFrom(-kMostBrightness, kMostBrightness));
    command
        .add_option("--contrast", options.contrast,
                    "Contrast of an image in colour, -100 to 100; needs a brightness")
        ->check(WholeNumberFrom(-kMostBrightness, kMostBrightness));
}

void AddRegionOption(CLI::App& command, ViewOptions& options) {
    command
        .add_option(
            "--region", options.regions,
            "SHAPE;SETTINGS: a region with a windowing of its own; may be repeated, the later on top. "
            "Shapes: polygon:x,y x,y x,y; rect:x0,y0,x1,y1; ellipse:x,y,rx,ry; mask:FILE.png. "
            "Settings: center=C;width=W, preset=NAME, colormap=UID, gamma=G, invert, negate, inactive")
        ->expected(1)
        ->take_all()
        ->allow_extra_args(false);
}

void AddViewOptions(CLI::App& command, ViewOptions& options) {
    AddRegionOption(command, options);
    command.add_option("--zoom", options.zoom, "Screen pixels per image pixel")
        ->check(NumberFrom(0.001, 1000.0));
    command.add_option("--pan", options.pan, "X,Y: moves the image, in screen pixels")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(NumberFrom(-1e6, 1e6))
        ->expected(2);
    command.add_option("--rotate", options.rotate, "Degrees clockwise")->check(NumberFrom(-36000.0, 36000.0));
    command.add_option("--flip", options.flip, "h, v or hv")->check(OneOf({"h", "v", "hv"}));
    command.add_option("--size", options.size, "WxH: size of the screen; by default that of what is shown");
    command.add_flag("--smooth", options.smooth, "Interpolate between pixels");
    command.add_flag("--pixels", options.pixels,
                     "One screen pixel per image pixel, also where these are not square");
    command
        .add_option("--dpi", options.resolution,
                    "Screen pixels per inch, for a presentation state in true size; 96 by default")
        ->check(NumberFrom(1.0, 10000.0));
}

void AddOverlayOptions(CLI::App& command, DrawingOptions& options) {
    command.add_flag("!--no-overlays", options.overlays, "Leave the overlay planes of the image out");
    command.add_option("--overlay-color", options.overlayColour,
                       "Colour of overlay planes: #RRGGBB or a name; white by default");
}
