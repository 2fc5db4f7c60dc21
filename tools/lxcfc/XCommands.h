// SPDX-License-Identifier: MIT
//
// The declaration of commands, and the context of their runs. A command object holds its options.
#ifndef XCOMMANDS_H
#define XCOMMANDS_H

#include "XCfcSession.h"
#include "XDocumentPrinter.h"
#include "XPropertyNames.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <functional>
#include <optional>

/// Exit statuses, for scripts.
enum XExit : int {
    ExitOk = 0,
    ExitDifferences = 1,
    ExitError = 2 ///< also for an invalid command line
};

/// The options of all commands.
struct XCommonOptions {
    XServerChoice server;
    std::string names;  ///< a file with the names of properties; empty: those of the shipped model
    std::string manual; ///< the form of the manual to write instead of running a command
    bool json = false;
    std::string colours = "auto";
};

/// Whether the environment requests output without colours.
inline bool LXWantsNoColour() {
    const char* const wish = std::getenv("NO_COLOR");
    return wish != nullptr && *wish != '\0';
}

/// A run of one command.
class XRun {
public:
    explicit XRun(const XCommonOptions& options)
        : m_options(options),
          m_printer(options.json,
                    options.colours == "always" ||
                        (options.colours == "auto" && XToolOutput::IsTerminal() && !LXWantsNoColour()),
                    [](const std::string& key, long long number) { return XPropertyNames::The().Word(key, number); }) {
        if (!options.names.empty()) { XPropertyNames::The().Read(options.names); }
    }

    /// The server and the cache, created on first use.
    XCfcSession& Session() { return m_session ? *m_session : m_session.emplace(m_options.server); }
    const XCommonOptions& Options() const { return m_options; }
    XDocumentPrinter& Printer() { return m_printer; }
    /// Prints the command's answer.
    int Answer(const XJson& document) {
        m_printer.Print(document);
        return ExitOk;
    }

private:
    const XCommonOptions& m_options;
    XDocumentPrinter m_printer;
    std::optional<XCfcSession> m_session;
};

class XCommands {
public:
    explicit XCommands(CLI::App& app) : m_app(app) {}

    /// Adds a command, a class with Declare(CLI::App&) for its options, and Run(XRun&).
    template <class Command> void Add(const char* name, const char* help) {
        const auto command = std::make_shared<Command>();
        CLI::App* const sub = m_app.add_subcommand(name, help);
        command->Declare(*sub);
        m_entries.push_back({sub, [command](XRun& run) { return command->Run(run); }});
    }

    /// Runs the selected command.
    int Run(XRun& run) const {
        for (const Entry& entry : m_entries) {
            if (entry.app->parsed()) { return entry.run(run); }
        }
        return ExitError;
    }

private:
    struct Entry {
        CLI::App* app;
        std::function<int(XRun&)> run;
    };

    CLI::App& m_app;
    std::vector<Entry> m_entries;
};

void LXAddTypeCommands(XCommands& commands);     // types, type, attributes, derived
void LXAddRelationCommands(XCommands& commands); // relations, browsers, formats
void LXAddGetCommand(XCommands& commands);
void LXAddWatchCommand(XCommands& commands);
void LXAddCheckCommand(XCommands& commands);
void LXAddMeasureCommands(XCommands& commands); // stats, bench
void LXAddGraphCommand(XCommands& commands);
void LXAddVerifyCommand(XCommands& commands);
void LXAddDoctorCommand(XCommands& commands);
void LXAddDiffCommand(XCommands& commands);

#endif
