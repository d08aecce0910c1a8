#include <memory>

#include "commands.h"
#include "io/atomic_file.h"
#include "io/png_file.h"
#include "options.h"
#include "present/brightness.h"
#include "present/region_view.h"
#include "present/renderer.h"

void AddRenderCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string input, output;
        PresentationOptions presentation;
        BrightnessOptions brightness;
        ViewOptions view;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("render", "Draw one frame");
    command->add_option("INPUT", options->input, "DICOM file")->required();
    command->add_option("-o,--output", options->output, "PNG file")->required();
    AddPresentationOptions(*command, options->presentation);
    AddBrightnessOptions(*command, options->brightness);
    AddViewOptions(*command, options->view);
    command->callback([options, &run] {
        run = [options] {
            RefuseClashes(InputsOf(options->input, options->presentation, &options->view), {options->output});
            LoadConfiguration(options->presentation.config);
            OpenedImage image(options->input, options->presentation);
            ZEV_RGBParams rgb;
            ReadBrightness(image, options->brightness, rgb);
            BurnBrightness(image, rgb);
            const std::vector<RegionSpec> regions = AllRegions(image, options->view);
            const Picture picture =
                regions.empty() && !options->view.IsView()
                    ? Render(image)
                    : RegionView(image, options->presentation, regions, options->view).Draw();
            WritePng(options->output, picture);
        };
    });
}
