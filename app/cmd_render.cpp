#include <memory>

#include "commands.h"
#include "png_file.h"
#include "renderer.h"

void AddRenderCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string input, output;
        PresentationOptions presentation;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("render", "Draw one frame");
    command->add_option("INPUT", options->input, "DICOM file")->required();
    command->add_option("-o,--output", options->output, "PNG file")->required();
    AddPresentationOptions(*command, options->presentation);
    command->callback([options, &run] {
        run = [options] {
            LoadConfiguration(options->presentation.config);
            OpenedImage image(options->input, options->presentation);
            WritePng(options->output, Render(image));
        };
    });
}
