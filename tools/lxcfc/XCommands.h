// SPDX-License-Identifier: MIT
//
// The commands: how each is declared, and what it is run with. A command's options live as long as the command.
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
    ExitError = 2 ///< a wrong command line too
};

/// What all commands have in common.
struct XCommonOptions {
    XServerChoice server;
    std::string names;  ///< a file with the names of properties; those of the shipped model where it is empty
    std::string manual; ///< which form of the manual to write instead of anything else
    bool json = false;
    std::string colours = "auto";
};

/// Whether the environment asks every program for text without colours.
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

    /// The server and the cache, made when first asked for.
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

    /// A command with options of its own, which Declare(CLI::App&) declares, and Run(XRun&).
    template <class Command> void Add(const char* name, const char* help) {
        const auto command = std::make_shared<Command>();
        CLI::App* const sub = m_app.add_subcommand(name, help);
        command->Declare(*sub);
        m_entries.push_back({sub, [command](XRun& run) { return command->Run(run); }});
    }

    /// Runs the command that was named.
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
