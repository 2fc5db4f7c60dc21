// SPDX-License-Identifier: MIT
//
// lxsampleserver: the sample server as a separate program, for clients in other processes.
//
//     lxsampleserver --register --model models/plant.json   lets COM start it on demand
//     lxsampleserver --model models/plant.json              serves until ILXSampleServer::Stop is called
//     lxsampleserver --generate 1000                        the same with a generated model of 1000 types
//     lxsampleserver --stop                                 stops the running one
//     lxsampleserver --unregister
//
// If COM started the program, it ends a few seconds after the last client has gone. Exit status: 0 on success, 1 on
// failure, other values for wrong options.
#include "XServerHost.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>

namespace {
struct Options {
    std::string model;
    int generated = 0;
    bool deliversComponentObjects = false;
    double delay = 0;
    std::string readyEvent;
    bool registers = false;
    bool unregisters = false;
    bool stops = false;
    XServerHost::Terms terms;
};

constexpr const OLECHAR* ProgId = OLESTR("LXSampleServer.Server");

std::chrono::microseconds DelayOf(const Options& options) {
    return std::chrono::microseconds(static_cast<long long>(options.delay * 1000));
}

XServerModel ModelOf(const Options& options) {
    if (options.generated > 0) {
        XGeneratorOptions generator;
        generator.types = options.generated;
        return LXGenerateModel(generator);
    }
    return options.model.empty() ? LXSmallModel() : LXReadModel(options.model);
}

/// The registration whose command starts the program with the same model and options, from any folder.
lx::ClassRegistration Registration(const Options& options) {
    std::wstring command = OLESTR("\"") + lx::ModulePath(nullptr) + OLESTR("\"");
    if (!options.model.empty()) {
        command += OLESTR(" --model \"") + std::filesystem::absolute(options.model).wstring() + OLESTR("\"");
    }
    if (options.generated > 0) { command += OLESTR(" --generate ") + std::to_wstring(options.generated); }
    if (options.deliversComponentObjects) { command += OLESTR(" --component-objects"); }
    if (options.delay > 0) { command += OLESTR(" --delay ") + std::to_wstring(options.delay); }
    return {CLSID_LXSampleServer,    ProgId,  OLESTR("Sample server of the configuration cache"),
            OLESTR("LocalServer32"), command, false};
}

void Check(HRESULT result, const char* what) {
    if (FAILED(result)) { throw std::runtime_error(std::string(what) + " failed"); }
}

/// Reports that clients can find the server now.
void SayReady(const Options& options) {
    std::puts("lxsampleserver: ready");
    std::fflush(stdout);
    if (!options.readyEvent.empty()) {
        SetEvent(CreateEventA(nullptr, TRUE, FALSE, options.readyEvent.c_str())); // never closed
    }
}

void Serve(const Options& options) {
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "initialising COM");
    {
        const lx::StubKeeper stubs({LXIid<ILXConfigFactory>(), LXIid<ILXSampleServer>()});
        XServerHost host(ModelOf(options));
        host.Server().Calls().SetDelay(DelayOf(options));
        host.Server().DeliverComponentObjects(options.deliversComponentObjects);
        std::printf("lxsampleserver: process %lu serves %zu types\n", GetCurrentProcessId(),
                    host.Server().Model().types.size());
        host.Serve(options.terms, [&options] { SayReady(options); });
    }
    CoUninitialize();
    std::puts("lxsampleserver: ended");
}

/// Stops the running program. If none is running, COM starts one, which is stopped at once.
void Stop() {
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "initialising COM");
    {
        XLXComPtr<ILXSampleServer> server;
        Check(CoCreateInstance(CLSID_LXSampleServer, nullptr, CLSCTX_LOCAL_SERVER, LXIid<ILXSampleServer>(),
                               server.PutVoid()),
              "finding the server");
        Check(server->Stop(), "stopping the server");
    }
    CoUninitialize();
}

int Run(const Options& options) {
    try {
        if (options.stops) {
            Stop();
        } else if (options.unregisters) {
            Check(lx::UnregisterClassKeys(Registration(options)), "unregistering");
        } else if (options.registers) {
            ModelOf(options); // report an unreadable model now, not when COM starts the program
            Check(lx::RegisterClassKeys(Registration(options)), "registering");
        } else {
            Serve(options);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lxsampleserver: %s\n", error.what());
        return 1;
    }
    return 0;
}

/// Removes the argument that COM adds, -Embedding, which does not have the form of the other options.
bool TakeEmbedding(std::vector<char*>& arguments) {
    return std::erase_if(arguments, [](const char* argument) {
               return std::string_view(argument) == "-Embedding" || std::string_view(argument) == "/Embedding";
           }) > 0;
}
} // namespace

int main(int argc, char** argv) {
    Options options;
    std::vector<char*> arguments(argv, argv + argc);
    options.terms.idleEnd = TakeEmbedding(arguments);

    CLI::App app("The sample server of the configuration cache, for clients in other processes.");
    auto* const model = app.add_option("--model", options.model, "Model file (default: a small built-in model)");
    app.add_option("--generate", options.generated, "Number of types of a generated model to use instead")
        ->check(CLI::Range(1, 100000))
        ->excludes(model);
    app.add_flag("--component-objects", options.deliversComponentObjects,
                 "Deliver the objects of types and their components with the values; otherwise clients ask for them");
    app.add_option("--delay", options.delay, "Minimum duration of each call in milliseconds")
        ->check(CLI::Range(0.0, 1000.0));
    app.add_option("--ready-event", options.readyEvent, "Name of an event to set when clients can find the server");
    app.add_flag("--single-use", options.terms.singleUse, "Serve only the first client that looks for the server");
    auto* const registers =
        app.add_flag("--register", options.registers, "Register the program, so that COM starts it on demand");
    auto* const unregisters = app.add_flag("--unregister", options.unregisters, "Undo --register")->excludes(registers);
    app.add_flag("--stop", options.stops, "End the running server")->excludes(registers)->excludes(unregisters);
    CLI11_PARSE(app, static_cast<int>(arguments.size()), arguments.data());
    return Run(options);
}
