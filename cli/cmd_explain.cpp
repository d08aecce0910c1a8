#include <cmath>
#include <iostream>
#include <memory>

#include "commands.h"
#include "io/number.h"
#include "io/present_error.h"
#include "io/printable.h"
#include "options.h"
#include "output.h"
#include "present/description.h"

namespace {

ImagePoint point_of(const std::string& text) {
    const std::size_t comma = text.find(',');
    const auto number = [&](const std::string& part) { return ParseNumber(part).value_or(-1.0); };
    const double x = number(text.substr(0, comma)),
                 y = comma == std::string::npos ? -1.0 : number(text.substr(comma + 1));
    constexpr double kMost = 65535;
    if (x < 0 || y < 0 || x > kMost || y > kMost || x != std::floor(x) || y != std::floor(y))
        throw UsageError("--at: '" + text + "' is not COLUMN,ROW, both from 0");
    return {static_cast<int>(x), static_cast<int>(y)};
}

void print_for_people(const Explanation& explanation, std::ostream& out) {
    for (const ExplainedStep& step : explanation.steps) {
        std::string line = "  " + NameColumn(step.name) + Printable(step.text);
        for (std::size_t i = 0; i < step.attributes.size(); ++i)
            line += (i == 0 ? "  [" : ", ") + Printable(step.attributes[i]);
        out << line << (step.attributes.empty() ? "\n" : "]\n");
    }
}

}  // namespace

void AddExplainCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string input;
        std::vector<std::string> points;
        bool json = false;
        DrawingOptions drawing;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("explain", "Tell why a pixel looks as it does, step by step");
    command->add_option("INPUT", options->input, "DICOM file")->required();
    command
        ->add_option(
            "--at", options->points,
            "X,Y: column and row of the image, from 0; may be repeated. Without it the image as a whole")
        ->expected(1)
        ->take_all()
        ->allow_extra_args(false);
    command->add_flag("--json", options->json, "As one JSON object");
    AddPresentationOptions(*command, options->drawing.presentation);
    AddViewOptions(*command, options->drawing.view);
    AddOverlayOptions(*command, options->drawing);
    command->callback([options, &run] {
        run = [options] {
            PresentationOptions& presentation = options->drawing.presentation;
            LoadConfiguration(presentation.config);
            ReadStates(presentation);
            std::vector<ImagePoint> points;
            for (const std::string& text : options->points) points.push_back(point_of(text));
            OpenedImage image(options->input, presentation);
            const std::vector<Explanation> explanations = Explain(image, options->drawing, points);
            if (options->json) {
                Json result = {{"file", options->input}, {"frame", presentation.frame}};
                result.update(DescribeExplanations(explanations));
                PrintJson(std::cout, result);
                return;
            }
            std::cout << Printable(options->input) << ", frame " << presentation.frame << "\n";
            if (points.empty()) print_for_people(explanations.front(), std::cout);
            for (std::size_t i = 1; i < explanations.size(); ++i) {
                std::cout << "pixel " << explanations[i].point.x << "," << explanations[i].point.y << "\n";
                print_for_people(explanations[i], std::cout);
            }
        };
    });
}
