#include <unistd.h>

#include <iostream>
#include <memory>
#include <utility>

#include "commands.h"
#include "contact_sheet.h"
#include "io/png_file.h"
#include "present/drawing.h"
#include "present/explanation.h"
#include "samples.h"

namespace {

struct View {
    const char* sample;
    const char* picture;
    const char* caption;
    PresentationOptions options;
    ViewOptions view = {};
    /// With the sample's presentation state.
    bool withState = false;
};

ViewOptions regions(std::vector<std::string> texts, double zoom = 1.0, double degrees = 0.0) {
    ViewOptions view;
    view.regions = std::move(texts);
    view.zoom = zoom;
    view.rotate = degrees;
    view.smooth = zoom != 1.0;
    return view;
}

PresentationOptions windowed(int center, int width) {
    PresentationOptions options;
    options.center = center;
    options.width = width;
    return options;
}

PresentationOptions with_gamma(float gamma) {
    PresentationOptions options;
    options.gamma = gamma;
    return options;
}

PresentationOptions inverted() {
    PresentationOptions options;
    options.invert = true;
    return options;
}

PresentationOptions entry(int voi) {
    PresentationOptions options;
    options.voi = voi;
    return options;
}

PresentationOptions preset(const char* name) {
    PresentationOptions options;
    options.preset = name;
    return options;
}

PresentationOptions coloured(const char* map) {
    PresentationOptions options;
    options.colourMap = map;
    return options;
}

/// As most readers look at PT.
PresentationOptions suv_in_grey() {
    PresentationOptions options = coloured("Inverted grayscale");
    options.preset = "SUV 0-5";
    return options;
}

/// Every sample as it opens, once as a user might change it, and some with regions.
std::vector<View> views() {
    return {{"ct", "ct", "CT as opened 40/400", {}},
            {"mr", "mr", "MR as opened: entry 0", {}},
            {"cr", "cr", "CR as opened: mono1", {}},
            {"pt", "pt", "PT as opened: SUV 0-10", {}},
            {"ct", "ct-lung", "CT preset Lung", preset("Lung")},
            {"mr", "mr-entry-1", "MR entry 1: lesion", entry(1)},
            {"cr", "cr-inverted", "CR inverted", inverted()},
            {"pt", "pt-steps", "PT map PET 20 Step", coloured("PET 20 Step")},
            {"mg", "mg", "MG as opened: padding", {}},
            {"nm", "nm", "NM as opened 64/128", {}},
            {"xa", "xa", "XA as opened: sigmoid", {}},
            {"us", "us", "US: its own palette", {}},
            {"mg", "mg-gamma", "MG gamma 0.6", with_gamma(0.6F)},
            {"nm", "nm-grey", "NM in grey, inverted", coloured("Inverted grayscale")},
            {"xa", "xa-linear", "XA linear 1800/1600", windowed(1800, 1600)},
            {"pt", "pt-grey", "PT SUV 0-5, inverted", suv_in_grey()},
            {"ct",
             "ct-regions",
             "CT lungs in two polygons",
             {},
             regions({"polygon:95,230 130,150 240,140 250,330 160,375 95,330;preset=Lung",
                      "polygon:285,140 360,150 415,230 415,330 350,375 285,330;preset=Lung"})},
            {"mr",
             "mr-region",
             "MR lesion, zoomed",
             {},
             regions({"ellipse:168,94,18,18;center=1700;width=1200;invert"}, 1.8)},
            {"pt",
             "pt-region",
             "PT outside an ellipse",
             {},
             regions({"ellipse:100,120,62,70;negate;colormap=Hot Iron"}, 1.5, 20)},
            {"cr",
             "cr-region",
             "CR wrist, turned",
             {},
             regions({"rect:120,330,330,450;center=2600;width=1800"}, 1.4, -30)},
            {"ct", "ct-state", "CT presentation state", {}, {}, true},
            {"mr-overlay", "mr-overlay", "MR overlay plane", {}},
            {"adc", "adc", "ADC map 0-0.002 mm2/s", {}},
            {"adc", "adc-hot", "ADC map in Hot Iron", coloured("Hot Iron")}};
}

/// Why one pixel of a sample looks as it does.
std::vector<std::string> explanation_of(const std::string& path) {
    OpenedImage image(path, {});
    std::vector<std::string> lines = {"zev explain ct.dcm --at 256,160"};
    const std::vector<Explanation> explanations = Explain(image, {}, {{256, 160}});
    for (const ExplainedStep& step : explanations.back().steps)
        lines.push_back("    " + step.name + ": " + step.text);
    return lines;
}

}  // namespace

void AddDemoCommand(CLI::App& app, Run& run) {
    auto directory = std::make_shared<std::string>();
    CLI::App* command =
        app.add_subcommand("demo", "Write the sample images and draw them, with a contact sheet");
    command->add_option("DIR", *directory, "Where to; made if need be")->required();
    command->callback([directory, &run] {
        run = [directory] {
            LoadConfiguration("");
            const std::vector<std::string> samples = WriteSamples(*directory);
            const auto states = std::make_shared<PresentationStates>(WriteSampleState(*directory));
            const std::vector<View> all = views();
            const bool onTerminal = isatty(STDERR_FILENO) != 0;
            std::vector<CaptionedPicture> drawn;
            for (const View& view : all) {
                if (onTerminal)
                    std::cerr << "\rdrawing " << drawn.size() + 1 << " of " << all.size() << std::flush;
                const std::string base = *directory + "/";
                DrawingOptions drawing;
                drawing.presentation = view.options;
                drawing.view = view.view;
                if (view.withState) drawing.presentation.states = states;
                drawn.push_back({view.caption, DrawFrame(base + view.sample + ".dcm", drawing, 0).picture});
                WritePng(base + view.picture + ".png", drawn.back().picture);
            }
            if (onTerminal) std::cerr << "\r\033[K";
            WritePng(*directory + "/contact.png",
                     MakeContactSheet(drawn, 4, explanation_of(samples.front())));
            std::cout << samples.size() << " sample images, " << drawn.size()
                      << " pictures and contact.png are in " << *directory << "\n";
        };
    });
}
