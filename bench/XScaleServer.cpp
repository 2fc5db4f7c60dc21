// SPDX-License-Identifier: MIT
#include "XScaleServer.h"

#include "LXCompiler.h"
#include "XLXComVariant.h"
#include "XServerTexts.h"
#include "XToolCom.h"

#include <cstdio>
#include <ctime>

namespace {
using namespace std::chrono_literals;

constexpr auto WaitForClients = 10s; // limit of an edit's wait for the notified clients

std::string Numbered(const char* prefix, int number) {
    char text[24];
    std::snprintf(text, sizeof text, "%s%05d", prefix, number);
    return text;
}

XServerModel ModelOf(int types) {
    XGeneratorOptions options;
    options.types = types;
    return LXGenerateModel(options);
}

/// The processor time of the calling thread.
double ThreadSeconds() {
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// The server's time is that of its methods on the clients' threads, without the clients' callbacks.
class LocalServer final : public XScaleServer {
public:
    LocalServer(int types, bool withObjects) : m_server(XSampleServer::Create(ModelOf(types))) {
        m_server->DeliverComponentObjects(withObjects);
        m_server->CallEachClientOnItsOwnThread(WaitForClients);
        m_server->Calls().SetStandingHook([this](const XServerCall& call) {
            LX_THREAD_LOCAL double arrived = 0;
            if (call.point == XCallPoint::Arrival) {
                arrived = ThreadSeconds();
            } else {
                m_nanoseconds += static_cast<long long>((ThreadSeconds() - arrived) * 1e9);
            }
        });
    }
    XLXComPtr<ILXConfigFactory> ConfigFactory() override { return m_server->ConfigFactory(); }
    XLXComPtr<ILX_Query> Query() override { return m_server->Query(); }
    XLXComPtr<ILXDataUpdate> DataUpdate() override { return m_server->DataUpdate(); }
    void Edit(int type, const std::string& label) override {
        m_server->Edit().SetAttributeProperty(LXScaleTypeName(type), LXScaleAttributeName(type), XProperty::Label,
                                              label);
    }
    double ProcessorSeconds() override { return static_cast<double>(m_nanoseconds) / 1e9; }

private:
    std::atomic<long long> m_nanoseconds{0};
    const std::shared_ptr<XSampleServer> m_server;
};

#ifdef _WIN32
constexpr const char* ProgId = "LXSampleServer.Server";

std::string LabelEdit(int type, const std::string& label) {
    return R"({"edit":"SetAttributeProperty","type":")" + LXScaleTypeName(type) + R"(","name":")" +
           LXScaleAttributeName(type) + R"(","index":)" + std::to_string(XProperty::Label) + R"(,"value":")" + label +
           R"("})";
}

class RunningServer : public XScaleServer {
public:
    XLXComPtr<ILXConfigFactory> ConfigFactory() override { return m_server->ConfigFactory(); }
    XLXComPtr<ILX_Query> Query() override { return m_server->Query(); }
    XLXComPtr<ILXDataUpdate> DataUpdate() override { return m_server->DataUpdate(); }
    void Edit(int type, const std::string& label) override { m_server->Edit(LabelEdit(type, label)); }
    double ProcessorSeconds() override { return 0; } // measured by the owner of the server's process

private:
    const std::unique_ptr<XToolServer> m_server = LXRegisteredToolServer(ProgId);
};

/// Starts and ends the server program in this program's folder.
class ServerProgram {
public:
    explicit ServerProgram(const std::string& options) {
        HANDLE const ready = CreateEventA(nullptr, TRUE, FALSE, "lx-scale-ready");
        std::string command = "lxsampleserver.exe --ready-event lx-scale-ready " + options;
        STARTUPINFOA startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process = {};
        const bool runs = CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                         &startup, &process) != FALSE;
        LXExpectThat(runs && WaitForSingleObject(ready, 120000) == WAIT_OBJECT_0, "lxsampleserver cannot be started");
        CloseHandle(ready);
        CloseHandle(process.hThread);
        m_process = process.hProcess;
    }
    ~ServerProgram() {
        TerminateProcess(m_process, 0);
        CloseHandle(m_process);
    }
    ServerProgram(const ServerProgram&) = delete;
    ServerProgram& operator=(const ServerProgram&) = delete;

    double ProcessorSeconds() const {
        FILETIME made, ended, kernel, user;
        GetProcessTimes(m_process, &made, &ended, &kernel, &user);
        const auto seconds = [](const FILETIME& time) {
            return (static_cast<double>(time.dwHighDateTime) * 4294967296.0 + time.dwLowDateTime) / 1e7;
        };
        return seconds(kernel) + seconds(user);
    }

private:
    HANDLE m_process = nullptr;
};

class ProgramServer final : public XScaleServer {
public:
    ProgramServer(int types, bool withObjects)
        : m_program("--generate " + std::to_string(types) + (withObjects ? " --component-objects" : "")) {}

    XLXComPtr<ILXConfigFactory> ConfigFactory() override { return m_running.ConfigFactory(); }
    XLXComPtr<ILX_Query> Query() override { return m_running.Query(); }
    XLXComPtr<ILXDataUpdate> DataUpdate() override { return m_running.DataUpdate(); }
    void Edit(int type, const std::string& label) override { m_running.Edit(type, label); }
    double ProcessorSeconds() override { return m_program.ProcessorSeconds(); }

private:
    const ServerProgram m_program;
    RunningServer m_running;
};
#endif
} // namespace

void LXStartCache(XScaleServer& server, ILXConfigFactoryCache& cache) {
    XLXComVariant values[6];
    values[0] = XLXComVariant::FromUnknown(server.ConfigFactory().Get());
    values[1] = XLXComVariant::FromUnknown(server.Query().Get());
    values[2] = XLXComVariant::FromUnknown(server.DataUpdate().Get());
    values[3] = XLXComVariant::FromBool(false);
    values[4] = XLXComVariant::FromBool(false);
    values[5] = XLXComVariant::FromI4(LXScaleMode);
    LXExpect(XLXComPtr<ILXConfigFactoryCache>(&cache).As<IDPFObject>()->Initialize(6, &values[0].Get()), "Initialize");
}

std::string LXScaleLabel(int round) { return "round " + std::to_string(round); }
std::string LXScaleTypeName(int type) { return Numbered("Type", type); }
std::string LXScaleAttributeName(int type) { return Numbered("T", type) + Numbered("A", 0); }

std::unique_ptr<XScaleServer> LXScaleServer(int types, bool inItsOwnProcess, bool withObjects) {
#ifdef _WIN32
    if (inItsOwnProcess) { return std::make_unique<ProgramServer>(types, withObjects); }
#else
    LXExpectThat(!inItsOwnProcess, "separate processes are supported on Windows only");
#endif
    return std::make_unique<LocalServer>(types, withObjects);
}

#ifdef _WIN32
std::unique_ptr<XScaleServer> LXRunningScaleServer() { return std::make_unique<RunningServer>(); }
#endif
