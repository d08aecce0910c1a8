#include "program.h"

#include <COM/com_error.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>
#include <new>

#include "commands.h"
#include "io/present_error.h"

namespace {

constexpr int kDone = 0;
constexpr int kCannotPresent = 1;
constexpr int kWrongUsage = 2;

int fail(int status, std::string text) {
    const std::size_t lineEnd = text.find_first_of("\r\n");
    if (lineEnd != std::string::npos) text.resize(lineEnd);
    std::cerr << "zev: " << text << "\n";
    return status;
}

}  // namespace

int RunProgram(int argc, const char* const* argv) try {
    // A file that grows beyond a limit is told as a failed write, so that it can be taken away again.
    std::signal(SIGXFSZ, SIG_IGN);
    CLI::App app("Shows how a medical image is to be presented: window, VOI LUT, gamma, inversion, padding.",
                 "zev");
    app.set_version_flag("--version", "zev " ZEV_VERSION);
    app.require_subcommand(1);
    Run run;
    AddRenderCommand(app, run);
    AddInfoCommand(app, run);
    AddTableCommand(app, run);
    AddAutoCommand(app, run);
    AddPresetsCommand(app, run);
    AddColorMapsCommand(app, run);
    AddSaveCommand(app, run);
    AddSampleCommand(app, run);
    AddDemoCommand(app, run);
    std::string topic;
    CLI::App* help = app.add_subcommand("help", "Tell about the program, or about one command");
    help->add_option("COMMAND", topic, "Which command");
    help->callback([&] {
        run = [&] {
            const CLI::App* about = topic.empty() ? &app : nullptr;
            for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
                if (command->get_name() == topic) about = command;
            }
            if (about == nullptr) throw UsageError("no command " + topic);
            std::cout << about->help(topic.empty() ? "" : "zev");
        };
    });

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and version come as errors of status 0.
        if (error.get_exit_code() == 0) return app.exit(error, std::cout, std::cerr);
        return fail(kWrongUsage, error.what() + std::string("; see zev help"));
    }
    run();
    std::cout.flush();
    return std::cout ? kDone : fail(kCannotPresent, "standard output cannot be written");
} catch (const UsageError& error) {
    return fail(kWrongUsage, error.what());
} catch (const PresentError& error) {
    return fail(kCannotPresent, error.what());
} catch (const std::bad_alloc&) {
    return fail(kCannotPresent, "not enough memory");
} catch (const _com_error&) {
    return fail(kWrongUsage, "the configuration cannot be read");
} catch (const std::exception& error) {
    return fail(kCannotPresent, error.what());
}
