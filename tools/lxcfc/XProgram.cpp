// SPDX-License-Identifier: MIT
#include "XProgram.h"

#include "XCommands.h"
#include "XManual.h"
#include "XSuggestion.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace {
void DeclareCommon(CLI::App& app, XCommonOptions& options) {
    app.set_version_flag("--version", "lxcfc " LX_VERSION);
    auto* const model = app.add_option("--model", options.server.model,
                                       "Model file of a sample server in this process (default: the shipped model)");
    auto* const generated =
        app.add_option("--generate", options.server.generated, "Use a generated model with this many types instead")
            ->check(CLI::Range(1, 100000))
            ->excludes(model);
    app.add_option("--server", options.server.name,
                   "Use another server: the file of its library (.so, .dll), or its ProgID or {CLSID}")
        ->excludes(model)
        ->excludes(generated);
    app.add_option("--names", options.names, "File with the names of the server's properties, like properties.json");
    app.add_option("--delay", options.server.delay,
                   "Minimum duration of each call to the sample server in milliseconds")
        ->check(CLI::Range(0.0, 1000.0));
    app.add_option("--manual", options.manual)->check(CLI::IsMember({"man", "bash"}))->group(""); // for the build
    app.add_flag("--json", options.json, "Print JSON, for programs");
    app.add_option("--colours", options.colours, "auto, always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}));
}

/// Prints an error as one line.
int Fail(const std::string& text) {
    std::fprintf(stderr, "lxcfc: %s\n", LXShown(text).c_str());
    return ExitError;
}

/// Reports unknown arguments in their order.
int FailExtras(const CLI::App& app) {
    const std::vector<std::string> extras = app.remaining(true);
    std::vector<std::string> commands;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        commands.push_back(command->get_name());
    }
    return Fail("unknown arguments: " + LXJoined(extras, " ") +
                (app.get_subcommands().empty() && !extras.empty() ? LXDidYouMean(extras.front(), commands) : ""));
}

/// Fails if the output could not be written. A pipe that its reader has closed is not an error.
int Finish(int status) {
    std::cout.flush();
    const bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good();
    return isWritten || XToolOutput::IsPipe() ? status : Fail("standard output cannot be written to");
}

void DeclareCommands(XCommands& commands) {
    LXAddTypeCommands(commands);
    LXAddRelationCommands(commands);
    LXAddGetCommand(commands);
    LXAddWatchCommand(commands);
    LXAddCheckCommand(commands);
    LXAddMeasureCommands(commands);
    LXAddGraphCommand(commands);
    LXAddVerifyCommand(commands);
    LXAddDoctorCommand(commands);
    LXAddDiffCommand(commands);
}
} // namespace

int LXRunProgram(std::vector<std::string> arguments) {
    XCommonOptions options;
    CLI::App app("Shows, compares and measures the configuration of a server, directly and through the cache.",
                 "lxcfc");
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.allow_windows_style_options(false); // one syntax on both platforms: /a/path is not an option
    DeclareCommon(app, options);
    XCommands commands(app);
    DeclareCommands(commands);
    std::reverse(arguments.begin(), arguments.end()); // the parser expects them in reverse
    try {
        app.parse(std::move(arguments));
        if (!options.manual.empty()) {
            std::fputs(LXManual(app, options.manual).c_str(), stdout);
            return Finish(ExitOk);
        }
        LXExpectThat(!app.get_subcommands().empty(), "a command is needed; lxcfc --help lists the commands");
        XToolOutput::Prepare();
        XRun run(options);
        return Finish(commands.Run(run));
    } catch (const CLI::ExtrasError&) { return FailExtras(app); } catch (const CLI::ParseError& error) {
        std::string text = error.what();
        std::replace(text.begin(), text.end(), '\n', ' ');
        return error.get_exit_code() == 0 ? Finish(app.exit(error)) : Fail(text);
    } catch (const std::exception& error) { return Fail(error.what()); }
}
