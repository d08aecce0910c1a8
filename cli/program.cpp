#include "program.h"

#include <COM/com_error.h>
#include <ZEV/ZEV_Version.h>
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <iostream>
#include <new>

#include "commands.h"
#include "io/present_error.h"
#include "options.h"
#include "output.h"
#include "present/catalogue.h"
#include "shell_help.h"

namespace {

constexpr int kDone = 0;
constexpr int kCannotPresent = 1;
constexpr int kWrongUsage = 2;

int fail(int status, std::string text) {
    const std::size_t lineEnd = text.find_first_of("\r\n");
    if (lineEnd != std::string::npos) text.resize(lineEnd);
    std::cerr << "zev: " << Printable(text) << "\n";
    return status;
}

/// The next file to be opened would take the number of a stream that is closed. Writing to it stays an error.
void open_standard_streams() {
    int file = 0;
    while ((file = open("/dev/null", O_RDONLY)) >= 0 && file <= STDERR_FILENO) continue;
    if (file >= 0) close(file);
}

CLI::App* command_of(CLI::App& app, const std::string& name) {
    std::vector<std::string> names;
    for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (command->get_name() == name) return command;
        names.push_back(command->get_name());
    }
    throw UsageError("there is no command '" + name + "'" + Suggestion(name, names, "see zev help"));
}

/// The line that prints the help of a command, or of the program.
std::string help_for(const CLI::App& about) {
    return "zev help" + (about.get_parent() == nullptr ? "" : " " + about.get_name());
}

/// Names an option that the command does not have, before anything else is found wrong with the line.
void refuse_unknown_options(CLI::App& command, const std::vector<std::string>& arguments) {
    std::vector<std::string> known;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") return;
        const bool isLong = argument.size() > 2 && argument.compare(0, 2, "--") == 0;
        const bool isShort = !isLong && argument.size() > 1 && argument[0] == '-' &&
                             std::isalpha(static_cast<unsigned char>(argument[1])) != 0;
        if (!isLong && !isShort) continue;
        const std::size_t equals = argument.find('=');
        const std::string name = isLong ? argument.substr(0, equals) : argument.substr(0, 2);
        const CLI::Option* option = command.get_option_no_throw(name);
        if (option == nullptr) {
            throw UsageError(command.get_name() + " has no option '" + name + "'" +
                             Suggestion(name, known, "see " + help_for(command)));
        }
        // What follows is its value, whatever it looks like.
        const bool hasValueBehind = isLong ? equals == std::string::npos : argument.size() == 2;
        if (hasValueBehind && option->get_items_expected_min() > 0) ++i;
    }
}

void print_help(const CLI::App& about) {
    std::cout << Wrapped(about.help(about.get_parent() == nullptr ? "" : "zev"), TerminalColumns());
}

void add_commands(CLI::App& app, Run& run) {
    AddRenderCommand(app, run);
    AddInfoCommand(app, run);
    AddExplainCommand(app, run);
    AddTableCommand(app, run);
    AddAutoCommand(app, run);
    AddPresetsCommand(app, run);
    AddColorMapsCommand(app, run);
    AddSaveCommand(app, run);
    AddSampleCommand(app, run);
    AddDemoCommand(app, run);
    AddViewCommand(app, run);
}

int run_line(const std::vector<std::string>& arguments) {
    CLI::App app(
        "Works out how a medical image is displayed (window, VOI LUT, gamma, inversion, padding, colour map) "
        "and draws it.",
        "zev");
    app.set_version_flag("--version", "zev " ZEV_VERSION_STRING);
    app.require_subcommand(1);
    app.get_formatter()->column_width(26);
    Run run;
    add_commands(app, run);
    std::string topic;
    CLI::App* help = app.add_subcommand("help", "Show help for the program, or for one command");
    help->add_option("COMMAND", topic, "Which command");
    // For the build; in no group, and so not shown.
    bool asManual = false;
    std::string shell;
    help->add_flag("--man", asManual)->group("");
    help->add_option("--completion", shell)->check(OneOf({"bash", "zsh", "fish"}))->group("");
    help->callback([&] {
        run = [&] {
            const CLI::App& about = topic.empty() ? app : *command_of(app, topic);
            if (!shell.empty()) {
                std::cout << Completion(app, shell);
            } else if (asManual && &about != &app) {
                std::cout << ManualPage(about, ZEV_VERSION_STRING);
            } else {
                // The help of an app is that of the command on its line.
                app.clear();
                print_help(about);
            }
        };
    });

    if (arguments.empty()) {
        print_help(app);
        return kDone;
    }
    const auto command = std::find_if(arguments.begin(), arguments.end(),
                                      [](const std::string& text) { return text[0] != '-'; });
    refuse_unknown_options(app, {arguments.begin(), command});
    if (command != arguments.end())
        refuse_unknown_options(*command_of(app, *command), {command + 1, arguments.end()});
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        print_help(app.get_subcommands().empty() ? app : *app.get_subcommands().front());
        return kDone;
    } catch (const CLI::ParseError& error) {
        // The version comes as an error of status 0.
        if (error.get_exit_code() == 0) return app.exit(error, std::cout, std::cerr);
        const CLI::App& about = app.get_subcommands().empty() ? app : *app.get_subcommands().front();
        throw UsageError(std::string(error.what()) + "; see " + help_for(about));
    }
    try {
        run();
    } catch (const ExitStatus& end) {
        return end.status;
    }
    return kDone;
}

}  // namespace

int RunProgram(int argc, const char* const* argv) try {
    open_standard_streams();
    // A file that grows beyond a limit becomes a failed write, so that it can be removed again.
    std::signal(SIGXFSZ, SIG_IGN);
    const int status = run_line(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
    std::cout.flush();
    return std::cout ? status : fail(kCannotPresent, "standard output cannot be written");
} catch (const UsageError& error) {
    return fail(kWrongUsage, error.what());
} catch (const PresentError& error) {
    return fail(kCannotPresent, error.what());
} catch (const std::bad_alloc&) {
    // Without an allocation of its own.
    std::fputs("zev: not enough memory\n", stderr);
    return kCannotPresent;
} catch (const _com_error& error) {
    if (error.Error() == E_OUTOFMEMORY) return std::fputs("zev: not enough memory\n", stderr), kCannotPresent;
    return fail(kWrongUsage, "the configuration cannot be read");
} catch (const std::exception& error) {
    return fail(kCannotPresent, error.what());
}
