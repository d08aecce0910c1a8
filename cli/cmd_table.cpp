#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "commands.h"
#include "io/atomic_file.h"
#include "io/present_error.h"
#include "options.h"
#include "output.h"
#include "present/renderer.h"

void AddTableCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string input, output;
        std::string target = "truecolor";
        int depth = 8;
        PresentationOptions presentation;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("table", "Write the lookup table of one frame");
    command->add_option("INPUT", options->input, "DICOM file")->required();
    command->add_option("-o,--output", options->output, "Raw little-endian entries, in storage order")
        ->required();
    command->add_option("--target", options->target, "What the table is for: truecolor, levels or palette")
        ->check(OneOf({"truecolor", "levels", "palette"}));
    command->add_option("--out-depth", options->depth, "Bits per entry: 8, 16 or 32")
        ->check(OneOf({"8", "16", "32"}));
    AddPresentationOptions(*command, options->presentation);
    command->callback([options, &run] {
        run = [options] {
            RefuseClashes(InputsOf(options->input, options->presentation), {options->output});
            LoadConfiguration(options->presentation.config);
            ReadStates(options->presentation);
            OpenedImage image(options->input, options->presentation);
            const TableTarget::Mode mode = options->target == "levels"    ? TableTarget::kLevels
                                           : options->target == "palette" ? TableTarget::kPalette
                                                                          : TableTarget::kTrueColour;
            const int depth = options->depth;
            const std::unique_ptr<ZEV_AbstractWindowingTable> table = BuildTable(image, {mode, depth});
            const std::vector<std::uint8_t> bytes = TableBytes(*table, image.Raster(), depth);
            if (bytes.empty()) throw PresentError(options->input, "no table can be made for its pixels");
            WriteFileAtomically(options->output, bytes.data(), bytes.size());
            Json line;
            line["inputDepth"] = image.Raster().m_BitsPerPixel;
            line["outputDepth"] = depth;
            line["signed"] = image.Raster().m_bSigned;
            line["size"] = table->GetSize();
            line["tableSize"] = 1 << image.Raster().m_BitsPerPixel;
            line["file"] = options->output;
            // Standard output holds nothing but the entries when they go there.
            PrintJson(options->output == "-" ? std::cerr : std::cout, line, -1);
        };
    });
}
