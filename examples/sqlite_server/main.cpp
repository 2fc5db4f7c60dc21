// SPDX-License-Identifier: MIT
//
// lxsqliteserver: the SQLite server as a program, for clients in other processes (Windows).
//
//     lxsqliteserver --database plant.db --register   COM starts it when a client asks for LXSqliteServer.Server
//     lxsqliteserver --database plant.db              serves until it is stopped
//     lxsqliteserver --database plant.db --sql "UPDATE attribute SET unit = 'l/s' WHERE name = 'RatedFlow'"
//     lxsqliteserver --stop                           ends all running servers
//     lxsqliteserver --unregister
//
// If COM started the program, it ends a few seconds after the last client has gone. Exit status: 0 on success, 1 on
// failure, other values for invalid options.
#include "SqliteServer.h"

#include <lxserver/LocalServer.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>

namespace {
constexpr CLSID ServerClass = {0x29e8ff2c, 0xb82c, 0x46b7, {0x9a, 0x80, 0x5a, 0x07, 0x6e, 0x1a, 0xd6, 0xe6}};

struct Options {
    std::string database;
    std::string sql;
    std::string readyEvent;
    bool registers = false;
    bool unregisters = false;
    bool stops = false;
    lx::LocalServer::Terms terms;
};

/// The registry entries with which COM starts the program. Paths are absolute, because COM may use any working folder.
lx::ClassRegistration Registration(const Options& options) {
    std::filesystem::path database = options.database;
    if (!database.empty()) { database = std::filesystem::absolute(database); }
    return {ServerClass,
            OLESTR("LXSqliteServer.Server"),
            OLESTR("Configuration server over a SQLite database"),
            OLESTR("LocalServer32"),
            OLESTR("\"") + lx::ModulePath(nullptr) + OLESTR("\" --database \"") + database.wstring() + OLESTR("\""),
            false};
}

void Check(HRESULT result, const char* what) {
    if (FAILED(result)) { throw std::runtime_error(std::string(what) + " failed"); }
}

void Serve(const Options& options) {
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "initialising COM");
    {
        const auto server = OpenSqliteServer(options.database);
        std::printf("lxsqliteserver: process %lu serves %zu types\n", GetCurrentProcessId(),
                    server->Snapshot()->types.size());
        lx::ServeConfiguration(server, ServerClass, options.terms, [&options] {
            std::puts("lxsqliteserver: ready");
            std::fflush(stdout);
            if (!options.readyEvent.empty()) { // the handle stays open until the program ends
                SetEvent(CreateEventA(nullptr, TRUE, FALSE, options.readyEvent.c_str()));
            }
        });
    }
    CoUninitialize();
    std::puts("lxsqliteserver: ended");
}

void Run(const Options& options) {
    if (options.stops) {
        if (!lx::LocalServer::StopAll(ServerClass)) { throw std::runtime_error("none runs"); }
    } else if (options.unregisters) {
        Check(lx::UnregisterClassKeys(Registration(options)), "unregistering");
    } else if (!options.sql.empty()) {
        Database(options.database).Run(options.sql);
    } else if (options.registers) {
        OpenSqliteServer(options.database); // report an unreadable database now, not when COM starts the program
        Check(lx::RegisterClassKeys(Registration(options)), "registering");
    } else {
        Serve(options);
    }
}
} // namespace

int main(int argc, char** argv) {
    Options options;
    std::vector<char*> arguments(argv, argv + argc);
    options.terms.idleEnd =
        std::erase_if(arguments, [](const char* argument) { // COM's option, which the parser below does not accept
            return std::string_view(argument) == "-Embedding" || std::string_view(argument) == "/Embedding";
        }) > 0;

    CLI::App app("A configuration server over a SQLite database, for clients in other processes.");
    auto* const stops = app.add_flag("--stop", options.stops, "End all running servers");
    auto* const unregisters = app.add_flag("--unregister", options.unregisters, "Undo --register");
    app.add_option("--database", options.database, "The database, made with make_database.py")
        ->check(CLI::ExistingFile)
        ->excludes(stops);
    app.add_option("--sql", options.sql, "Run a statement on the database, as any other program might do, and exit");
    app.add_option("--ready-event", options.readyEvent, "Name of an event to set when clients can find the server");
    app.add_flag("--single-use", options.terms.singleUse, "Serve only the first client that looks for the server");
    app.add_flag("--register", options.registers, "Register the program, so that COM starts it on demand")
        ->excludes(unregisters)
        ->excludes(stops);
    CLI11_PARSE(app, static_cast<int>(arguments.size()), arguments.data());
    try {
        Run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lxsqliteserver: %s\n", error.what());
        return 1;
    }
    return 0;
}
