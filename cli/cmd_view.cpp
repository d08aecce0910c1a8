#include <filesystem>
#include <iostream>
#include <memory>

#include "batch_inputs.h"
#include "commands.h"
#include "io/present_error.h"
#include "options.h"
#include "output.h"
#include "web/server.h"

void AddViewCommand(CLI::App& app, Run& run) {
    struct Options {
        std::vector<std::string> inputs;
        ServerOptions server;
        ViewServiceOptions service;
        bool noBrowser = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("view", "Look through images in the browser, on this machine alone");
    command->add_option("PATH", options->inputs, "DICOM files, folders, DICOMDIR, @LIST")->required();
    command->add_option("--port", options->server.port, "Port of 127.0.0.1; a free one by default")
        ->check(WholeNumberFrom(0, 65535));
    command->add_flag("--no-browser", options->noBrowser, "Print the address, and open no browser");
    command->add_option("--save-dir", options->service.saveFolder, "Folder into which the page may save");
    command->add_option("--gsps", options->service.presentation.statesPath,
                        "Presentation state to apply, or a folder of them");
    AddConfigOption(*command, options->service.presentation.config);
    command->callback([options, &run] {
        run = [options] {
            PresentationOptions& presentation = options->service.presentation;
            LoadConfiguration(presentation.config);
            ReadStates(presentation);
            std::error_code failed;
            if (!options->service.saveFolder.empty() &&
                !std::filesystem::is_directory(options->service.saveFolder, failed))
                throw UsageError("--save-dir: " + options->service.saveFolder + " is not a folder");
            for (const std::string& input : options->inputs) {
                if (input == "-") throw UsageError("view takes no image from standard input");
            }
            std::vector<ViewInput> inputs;
            for (const BatchInput& input : FindInputs(options->inputs, "").files)
                inputs.push_back({input.path, input.name, input.isFound});
            if (inputs.empty()) throw PresentError(options->inputs.front(), "holds no image");
            options->server.opensBrowser = !options->noBrowser;
            ViewService service(std::move(inputs), options->service);
            ServePage(service, options->server,
                      [](const std::string& address) { std::cout << address << std::endl; });
            std::cout << "\nended" << std::endl;
        };
    });
}
