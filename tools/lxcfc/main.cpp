// SPDX-License-Identifier: MIT
//
// lxcfc: shows, compares and measures the configuration of a server, directly and through the cache.
//
// Exit status: 0 when all went well, 1 when a check found differences, 2 for errors and wrong options.
#include "XCommands.h"

#include <algorithm>
#include <cstdio>

#ifdef _WIN32
#include <shellapi.h>
#include <windows.h>
#endif

namespace {
/// The arguments as UTF-8, the last one first, as the parser takes them.
std::vector<std::string> Arguments(int argc, char** argv) {
    std::vector<std::string> arguments;
#ifdef _WIN32
    (void)argv;
    LPWSTR* const wide = CommandLineToArgvW(GetCommandLineW(), &argc);
    for (int i = argc - 1; i > 0; --i) {
        arguments.push_back(LXToUtf8(wide[i]));
    }
    LocalFree(wide);
#else
    for (int i = argc - 1; i > 0; --i) {
        arguments.emplace_back(argv[i]);
    }
#endif
    return arguments;
}

void DeclareCommon(CLI::App& app, XCommonOptions& options) {
    app.set_version_flag("--version", "lxcfc " LX_VERSION);
    app.add_option("--model", options.server.model,
                   "A model file for a server in this process; the shipped one by default");
    app.add_option("--generate", options.server.generated, "A generated model with that many types instead")
        ->check(CLI::Range(1, 100000));
    app.add_option("--server", options.server.progId, "The ProgID of a registered server instead (Windows)");
    app.add_option("--delay", options.server.delay, "Milliseconds that each call to the server takes")
        ->check(CLI::Range(0.0, 1000.0));
    app.add_flag("--json", options.json, "Answer in JSON, for programs");
    app.add_option("--colours", options.colours, "auto, always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}));
}

/// One line, whatever the text.
int Fail(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::fprintf(stderr, "lxcfc: %s\n", text.c_str());
    return ExitError;
}
} // namespace

int main(int argc, char** argv) {
    XCommonOptions options;
    CLI::App app("Shows, compares and measures the configuration of a server, directly and through the cache.",
                 "lxcfc");
    app.require_subcommand(0, 1);
    app.fallthrough();
    DeclareCommon(app, options);
    XCommands commands(app);
    LXAddTypeCommands(commands);
    LXAddRelationCommands(commands);
    LXAddGetCommand(commands);
    LXAddWatchCommand(commands);
    LXAddCheckCommand(commands);
    LXAddMeasureCommands(commands);
    LXAddGraphCommand(commands);
    LXAddVerifyCommand(commands);
    try {
        app.parse(Arguments(argc, argv));
        LXExpectThat(!app.get_subcommands().empty(), "a command is needed; lxcfc --help lists them");
        XToolOutput::Prepare();
        XRun run(options);
        return commands.Run(run);
    } catch (const CLI::ParseError& error) {
        return error.get_exit_code() == 0 ? app.exit(error) : Fail(error.what());
    } catch (const std::exception& error) { return Fail(error.what()); }
}
