// SPDX-License-Identifier: MIT
//
// lxdemo: shows what the configuration cache does for an application.
//
//     lxdemo                   client mode, as in an application; the server runs in this process
//     lxdemo --server PROGID   client mode; the server runs in a separate process (Windows)
//     lxdemo --server-mode     server mode, as in the server's own process; it turns the component's locks off for
//                              the whole process, so it needs a separate run
//
// Exit status: 0 if everything was as expected, 1 if not, other values for invalid options.
#include "demo_sections.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace {
struct Options {
    bool serverMode = false;
    std::string model = "models/plant.json";
    std::string colours = "auto";
    std::string server; // its ProgID; empty: a server in this process
    std::optional<double> delay;
};

#ifdef _WIN32
constexpr const char* HowItCame = "the DLL that regsvr32 registered, from CoCreateInstance";
#else
constexpr const char* HowItCame = "the module beside this program, from CoCreateInstance";
#endif

/// The number of types that the cache lists; raises if they are not the types of the model.
std::size_t ListedTypes(const XDemoSession& session, const XServerModel& model) {
    const auto expected =
        std::count_if(model.types.begin(), model.types.end(), [](const auto& entry) { return entry.second->listed; });
    const std::size_t listed = LXList<ILXType, ILXTypeEnum>("GetTypeEnum", [&](auto** out) {
                                   return session.Factory()->GetTypeEnum(nullptr, out);
                               }).size();
    LXExpectThat(listed == static_cast<std::size_t>(expected), "the cache does not list all types of the model");
    return listed;
}

std::unique_ptr<XToolServer> ServerFor(const Options& options, const XServerModel& model) {
    return options.server.empty() ? LXLocalToolServer(model) : LXRegisteredToolServer(options.server);
}

/// The minimum duration of a server call in the comparison. Calls to another process need no artificial delay.
std::chrono::microseconds DelayOf(const Options& options) {
    const double milliseconds = options.delay.value_or(options.server.empty() ? 1 : 0);
    return std::chrono::microseconds(static_cast<long long>(milliseconds * 1000));
}

void RunAsClient(XToolOutput& output, const XToolComponent& component, const XServerModel& model,
                 const Options& options) {
    XDemoSession session(component, ServerFor(options, model));
    output.Section("Start-up in client mode");
    output.Line(std::string("The cache:  ") + HowItCame);
    output.Line(options.server.empty() ? "The server: in this process"
                                       : "The server: " + options.server + ", in a separate process");
    const XMeasured start = session.StartAsClient();
    LXExpectThat(start.calls.Of("ILXConfigFactoryEx::GetTypeArrayEx") == 1, "start-up made no bulk read");
    output.Line(std::to_string(model.types.size()) + " types with all their components, " +
                std::to_string(ListedTypes(session, model)) + " of them listed");
    LXPrintCalls(output, start);

    LXShowType(output, session);
    LXShowDisplays(output, session);
    LXShowEditors(output, session);
    LXShowChildGroups(output, session);
    LXShowFormat(output, session);
    LXShowEdit(output, session);
    LXShowRelations(output, session);
    session.Finish();
    output.Line();
    output.Line("Terminated; no reference to an object of the server is left.");
    if (!options.server.empty()) {
        XDemoSession separate(component, ServerFor(options, model));
        LXShowSeparateCallback(output, separate);
        separate.Finish();
    }
    LXCompare(output, component, ServerFor(options, model), DelayOf(options));
}

void RunInServer(XToolOutput& output, const XToolComponent& component, const XServerModel& model) {
    XDemoSession session(component, LXLocalToolServer(model));
    output.Section("Start-up in server mode");
    output.Line(HowItCame);
    const XMeasured start = session.StartInServer();
    LXExpectThat(start.calls.Of("ILXConfigFactoryEx::GetTypeArrayEx") == 0, "server mode made a bulk read");
    output.Line(std::to_string(ListedTypes(session, model)) +
                " types of the server wrapped; their components are fetched on demand");
    LXPrintCalls(output, start);

    LXShowType(output, session);
    LXShowEditors(output, session);
    LXShowFormat(output, session);
    LXShowEdit(output, session);
    session.Finish();
    output.Line();
    output.Line("Terminated; no reference to an object of the server is left.");
}

int Run(const Options& options) {
    XToolOutput output(options.colours == "always" || (options.colours == "auto" && XToolOutput::IsTerminal()));
    try {
        const XServerModel model = LXReadModel(options.model);
        const XToolComponent component;
        if (options.serverMode) {
            RunInServer(output, component, model);
        } else {
            RunAsClient(output, component, model, options);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "\nlxdemo: %s\n", error.what());
        return 1;
    }
    return 0;
}
} // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Shows what the configuration cache does for an application.");
    auto* const serverMode =
        app.add_flag("--server-mode", options.serverMode, "Run in server mode, as in the server's own process");
    app.add_option("--server", options.server, "ProgID of a server in a separate process")->excludes(serverMode);
    app.add_option("--model", options.model, "The sample server's model file")->capture_default_str();
    app.add_option("--colours", options.colours, "auto, always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->capture_default_str();
    app.add_option("--delay", options.delay,
                   "Minimum duration of a server call in the comparison, in milliseconds (default: 1 for a server in "
                   "this process, else 0)")
        ->check(CLI::Range(0.0, 1000.0));
    CLI11_PARSE(app, argc, argv);
    XToolOutput::Prepare();
    return Run(options);
}
