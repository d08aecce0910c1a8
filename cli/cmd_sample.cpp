#include <iostream>
#include <memory>

#include "commands.h"
#include "samples.h"

void AddSampleCommand(CLI::App& app, Run& run) {
    auto directory = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("sample", "Write the built-in sample images, synthetic phantoms");
    command->add_option("DIR", *directory, "Where to; made if need be")->required();
    command->callback([directory, &run] {
        run = [directory] {
            for (const std::string& path : WriteSamples(*directory)) std::cout << path << "\n";
            std::cout << WriteSampleState(*directory) << "\n";
        };
    });
}
