// SPDX-License-Identifier: MIT
//
// A configuration server as a separate program, for clients in other processes (Windows).
//
//     server_program --register     as administrator; COM then starts it when a client asks for Example.Server
//     server_program                serves until it is stopped
//     server_program --unregister
#include <lxserver/LocalServer.h>

#include <cstdio>

namespace {
// A class id of your own: make a new one (uuidgen) for each server.
constexpr CLSID ServerClass = {0x6d0f8a51, 0x3c27, 0x4e0b, {0x9b, 0x16, 0x52, 0xd4, 0xe7, 0x0c, 0x83, 0xaf}};

lx::Model Describe() {
    lx::Model model;
    model.AddType(OLESTR("Pump")).AddAttribute(OLESTR("RatedFlow")).Set(lx::Unit, OLESTR("m3/h"));
    return model;
}

lx::ClassRegistration Registration() {
    const std::wstring program = OLESTR("\"") + lx::ModulePath(nullptr) + OLESTR("\"");
    return {ServerClass, OLESTR("Example.Server"), OLESTR("Example server"), OLESTR("LocalServer32"), program, false};
}

void Check(HRESULT result, const char* what) {
    if (FAILED(result)) { throw std::runtime_error(std::string(what) + " failed"); }
}

void Serve(bool startedByCom) {
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "initialising COM");
    lx::LocalServer::Terms terms;
    terms.idleEnd = startedByCom; // ends a few seconds after the last client has gone
    lx::ServeConfiguration(std::make_shared<lx::ModelServer>(Describe()), ServerClass, terms,
                           [] { std::puts("ready"); });
    CoUninitialize();
}
} // namespace

int main(int argc, char** argv) {
    const std::string_view option = argc > 1 ? argv[1] : "";
    try {
        if (option == "--register") {
            Check(lx::RegisterClassKeys(Registration()), "registering (as administrator?)");
        } else if (option == "--unregister") {
            Check(lx::UnregisterClassKeys(Registration()), "unregistering (as administrator?)");
        } else {
            Serve(option == "-Embedding" || option == "/Embedding"); // COM adds it
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
