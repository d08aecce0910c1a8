#include "shell_help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <vector>

#include "options.h"

namespace {

std::vector<CLI::App*> commands_of(const CLI::App& app) {
    return const_cast<CLI::App&>(app).get_subcommands([](const CLI::App*) { return true; });
}

/// Those that help shows, in its order.
std::vector<CLI::Option*> options_of(const CLI::App& command) {
    return const_cast<CLI::App&>(command).get_options(
        [](const CLI::Option* option) { return option->nonpositional() && !option->get_group().empty(); });
}

std::vector<CLI::Option*> positionals_of(const CLI::App& command) {
    return const_cast<CLI::App&>(command).get_options(
        [](const CLI::Option* option) { return option->get_positional(); });
}

bool takes_value(const CLI::Option& option) { return option.get_items_expected_min() > 0; }

std::vector<std::string> names_of(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
    return names;
}

std::string replaced(const std::string& text, const std::string& characters, const std::string& before) {
    std::string result;
    for (const char c : text) {
        if (characters.find(c) != std::string::npos) result += before;
        result += c;
    }
    return result;
}

std::string joined(const std::vector<std::string>& texts, const std::string& between) {
    std::string result;
    for (const std::string& text : texts) result += (result.empty() ? "" : between) + text;
    return result;
}

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

/// Between single quotes of a shell.
std::string quoted(std::string text) {
    for (std::size_t at = 0; (at = text.find('\'', at)) != std::string::npos; at += 4)
        text.replace(at, 1, "'\\''");
    return "'" + text + "'";
}

/// The part of a description that fits beside an option.
std::string brief(const CLI::Option& option) {
    const std::string& text = option.get_description();
    return text.substr(0, std::min({text.find(';'), text.find(". "), text.find(", see ")}));
}

/// A line that begins with a dot or an apostrophe would be a request.
std::string roff(const std::string& text) {
    const std::string safe = replaced(replaced(text, "\\", "\\"), "-", "\\");
    return (!safe.empty() && (safe[0] == '.' || safe[0] == '\'') ? "\\&" : "") + safe;
}

std::string value_of(const CLI::Option& option) {
    if (!takes_value(option)) return "";
    const std::vector<std::string> words = WordsOf(option);
    return words.empty() ? " \\fI" + roff(option.get_type_name()) + "\\fR" : " " + roff(joined(words, "|"));
}

std::string bash_completion(const CLI::App& app) {
    std::string commands, values, options;
    for (const CLI::App* command : commands_of(app)) {
        const std::string& name = command->get_name();
        commands += name + " ";
        std::vector<std::string> all;
        for (const CLI::Option* option : options_of(*command)) {
            const std::vector<std::string> names = names_of(*option);
            all.insert(all.end(), names.begin(), names.end());
            const std::vector<std::string> words = WordsOf(*option);
            if (words.empty()) continue;
            for (const std::string& shown : names)
                values.append(values.empty() || values.back() == '\n' ? "        \"" : " | \"")
                    .append(name)
                    .append(" ")
                    .append(shown)
                    .append("\"");
            values.append(") mapfile -t COMPREPLY < <(compgen -W \"").append(joined(words, " "));
            values += "\" -- \"$word\"); return ;;\n";
        }
        options += "        " + name + ") options=\"" + joined(all, " ") + "\" ;;\n";
    }
    return R"(# Completion of zev for bash, made by: zev help --completion bash
_zev() {
    local word="${COMP_WORDS[COMP_CWORD]}" before="${COMP_WORDS[COMP_CWORD - 1]}" options=""
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W ")" +
           commands + R"(--version --help" -- "$word")
        return
    fi
    case "${COMP_WORDS[1]} $before" in
        "help help") mapfile -t COMPREPLY < <(compgen -W ")" +
           commands + "\" -- \"$word\"); return ;;\n" + values + R"(    esac
    case "${COMP_WORDS[1]}" in
)" + options +
           R"(    esac
    case "$word" in
        @*) mapfile -t COMPREPLY < <(compgen -P @ -f -- "${word#@}") ;;
        -*) mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word") ;;
        *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    esac
}
complete -o filenames -F _zev zev
)";
}

std::string zsh_option(const std::string& name, const std::string& about, const std::string& value) {
    return "*" + name + "[" + about + "]" + value;
}

std::string zsh_completion(const CLI::App& app) {
    std::string commands, cases;
    for (const CLI::App* command : commands_of(app)) {
        const std::string& name = command->get_name();
        commands +=
            "        " + quoted(name + ":" + replaced(command->get_description(), ":\\", "\\")) + "\n";
        cases += "    " + name + ") _arguments -S";
        for (const CLI::Option* option : options_of(*command)) {
            const std::vector<std::string> words = WordsOf(*option);
            const std::string value = !takes_value(*option) ? ""
                                      : words.empty()       ? ":value:_files"
                                                            : ":value:(" + joined(words, " ") + ")";
            const std::string about = replaced(brief(*option), "[]\\", "\\");
            for (const std::string& shown : names_of(*option))
                cases.append(" \\\n        ").append(quoted(zsh_option(shown, about, value)));
        }
        cases += " \\\n        " +
                 std::string(name == "help" ? "'1:command:(${(j: :)${commands%%:*}})'" : "'*:file:_files'") +
                 " ;;\n";
    }
    return "#compdef zev\n# Completion of zev for zsh, made by: zev help --completion zsh\n_zev() {\n"
           "    local -a commands=(\n" +
           commands + R"(    )
    if (( CURRENT == 2 )); then
        _describe command commands
        return
    fi
    shift words
    (( CURRENT-- ))
    case $words[1] in
)" + cases +
           "    esac\n}\n_zev \"$@\"\n";
}

std::string fish_completion(const CLI::App& app) {
    std::string text = "# Completion of zev for fish, made by: zev help --completion fish\n", names;
    for (const CLI::App* command : commands_of(app)) {
        const std::string& name = command->get_name();
        names += (names.empty() ? "" : " ") + name;
        text += "complete -c zev -n __fish_use_subcommand -f -a " + name + " -d " +
                quoted(command->get_description()) + "\n";
        for (const CLI::Option* option : options_of(*command)) {
            text += "complete -c zev -n '__fish_seen_subcommand_from " + name + "'";
            for (const std::string& sname : option->get_snames()) text += " -s " + sname;
            for (const std::string& lname : option->get_lnames()) text += " -l " + lname;
            const std::vector<std::string> words = WordsOf(*option);
            if (!words.empty()) {
                text += " -x -a " + quoted(joined(words, " "));
            } else if (takes_value(*option)) {
                text += " -r";
            }
            text += " -d " + quoted(replaced(brief(*option), "\\", "\\")) + "\n";
        }
    }
    return text + "complete -c zev -n '__fish_seen_subcommand_from help' -f -a " + quoted(names) + "\n";
}

}  // namespace

std::string ManualPage(const CLI::App& command, const std::string& version) {
    const std::string& name = command.get_name();
    std::string text = ".TH " + upper("zev-" + name) + " 1 \"\" \"zev " + version +
                       "\" \"User Commands\"\n.SH NAME\nzev\\-" + name + " \\- " +
                       roff(command.get_description()) + "\n.SH SYNOPSIS\n.B zev " + name + "\n";
    if (!options_of(command).empty()) text += ".RI [ OPTION ...]\n";
    for (const CLI::Option* option : positionals_of(command)) {
        const std::string shown = "\\fI" + roff(option->get_name(true)) + "\\fR" +
                                  (option->get_items_expected_max() > 1 ? "..." : "");
        text += (option->get_required() ? shown : "[" + shown + "]") + "\n";
    }
    text += ".SH OPTIONS\n";
    for (const CLI::Option* option : positionals_of(command))
        text +=
            ".TP\n\\fI" + roff(option->get_name(true)) + "\\fR\n" + roff(option->get_description()) + "\n";
    for (const CLI::Option* option : options_of(command)) {
        std::vector<std::string> names;
        for (const std::string& shown : names_of(*option)) names.push_back("\\fB" + roff(shown) + "\\fR");
        text +=
            ".TP\n" + joined(names, ", ") + value_of(*option) + "\n" + roff(option->get_description()) + "\n";
    }
    return text + ".SH SEE ALSO\n.BR zev (1)\n";
}

std::string Completion(const CLI::App& app, const std::string& shell) {
    return shell == "bash"  ? bash_completion(app)
           : shell == "zsh" ? zsh_completion(app)
                            : fish_completion(app);
}
