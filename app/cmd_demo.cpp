#include <unistd.h>

#include <iostream>
#include <memory>

#include "commands.h"
#include "contact_sheet.h"
#include "png_file.h"
#include "renderer.h"
#include "samples.h"

namespace {

struct View {
    const char* sample;
    const char* picture;
    const char* caption;
    PresentationOptions options;
};

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

/// Every sample as it opens, and once as a user might change it.
std::vector<View> views() {
    return {{"ct", "ct", "CT as opened 40/400", {}},
            {"mr", "mr", "MR as opened: entry 0", {}},
            {"cr", "cr", "CR as opened: mono1", {}},
            {"ct", "ct-lung", "CT lung -600/1600", windowed(-600, 1600)},
            {"mr", "mr-entry-1", "MR entry 1: lesion", entry(1)},
            {"cr", "cr-inverted", "CR inverted", inverted()},
            {"mg", "mg", "MG as opened: padding", {}},
            {"nm", "nm", "NM as opened 64/128", {}},
            {"xa", "xa", "XA as opened: sigmoid", {}},
            {"mg", "mg-gamma", "MG gamma 0.6", with_gamma(0.6F)},
            {"nm", "nm-inverted", "NM inverted", inverted()},
            {"xa", "xa-linear", "XA linear 1800/1600", windowed(1800, 1600)}};
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
            const std::vector<View> all = views();
            const bool onTerminal = isatty(STDERR_FILENO) != 0;
            std::vector<CaptionedPicture> drawn;
            for (const View& view : all) {
                if (onTerminal)
                    std::cerr << "\rdrawing " << drawn.size() + 1 << " of " << all.size() << std::flush;
                const std::string base = *directory + "/";
                OpenedImage image(base + view.sample + ".dcm", view.options);
                drawn.push_back({view.caption, Render(image)});
                WritePng(base + view.picture + ".png", drawn.back().picture);
            }
            if (onTerminal) std::cerr << "\r\033[K";
            WritePng(*directory + "/contact.png", MakeContactSheet(drawn, 3));
            std::cout << samples.size() << " sample images, " << drawn.size()
                      << " pictures and contact.png are in " << *directory << "\n";
        };
    });
}
