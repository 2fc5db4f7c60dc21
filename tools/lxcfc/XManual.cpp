// SPDX-License-Identifier: MIT
#include "XManual.h"

#include "XToolOutput.h"

namespace {
std::vector<const CLI::App*> CommandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

/// The visible options, positional ones first.
std::vector<const CLI::Option*> OptionsOf(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return !option->get_group().empty(); });
}

/// Escapes a text for troff.
std::string Troff(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
    }
    return escaped.starts_with('.') || escaped.starts_with('\'') ? "\\&" + escaped : escaped;
}

std::string ManualOf(const CLI::Option& option) {
    const std::string value = option.get_items_expected_max() > 0 && !option.get_lnames().empty()
                                  ? " \\fI" + Troff(option.get_type_name()) + "\\fR"
                                  : "";
    return ".TP\n\\fB" + Troff(option.get_name(false, true)) + "\\fR" + value + "\n" + Troff(option.get_description()) +
           "\n";
}

std::string Manual(const CLI::App& app) {
    std::string page = ".TH LXCFC 1\n.SH NAME\nlxcfc \\- " + Troff(app.get_description()) +
                       "\n.SH SYNOPSIS\n\\fBlxcfc\\fR [options] \\fIcommand\\fR ...\n.SH OPTIONS\n";
    for (const CLI::Option* const option : OptionsOf(app)) {
        page += ManualOf(*option);
    }
    page += ".SH COMMANDS\n";
    for (const CLI::App* const command : CommandsOf(app)) {
        page += ".SS " + Troff(command->get_name()) + "\n" + Troff(command->get_description()) + "\n";
        for (const CLI::Option* const option : OptionsOf(*command)) {
            page += option->get_lnames() == std::vector<std::string>{"help"} ? "" : ManualOf(*option);
        }
    }
    return page + ".SH EXIT STATUS\n0 on success, 1 if a command found differences or faults, 2 for errors and "
                  "invalid options.\n";
}

std::vector<std::string> LongNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : OptionsOf(app)) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::string Completion(const CLI::App& app) {
    std::string cases;
    std::vector<std::string> commands;
    for (const CLI::App* const command : CommandsOf(app)) {
        commands.push_back(command->get_name());
        cases += "        " + command->get_name() + ") words=\"" + LXJoined(LongNames(*command), " ") + "\" ;;\n";
    }
    return "# bash completion for lxcfc\n"
           "_lxcfc() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command= words= i\n"
           "    case $before in\n"
           "        --model | --names | --output | --server) mapfile -t COMPREPLY < <(compgen -f -- \"$word\") && "
           "return ;;\n"
           "    esac\n"
           "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
           "        case \" " +
           LXJoined(commands, " ") +
           " \" in *\" ${COMP_WORDS[i]} \"*) command=${COMP_WORDS[i]} ;; esac\n"
           "    done\n"
           "    case $command in\n" +
           cases + "        '') words=\"" + LXJoined(commands, " ") +
           "\" ;;\n"
           "    esac\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words " +
           LXJoined(LongNames(app), " ") +
           "\" -- \"$word\")\n"
           "}\n"
           "complete -F _lxcfc lxcfc\n";
}
} // namespace

std::string LXManual(const CLI::App& app, const std::string& form) {
    return form == "man" ? Manual(app) : Completion(app);
}
