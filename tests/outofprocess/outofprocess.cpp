// SPDX-License-Identifier: MIT
#include "outofprocess.h"

#include "XToolOutput.h"

#include <algorithm>
#include <cstdio>
#include <thread>

namespace {
/// Everything in it ends when this program does, however that happens.
HANDLE Job() {
    static HANDLE const job = [] {
        HANDLE const made = CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof(limits));
        return made;
    }();
    return job;
}

std::wstring Folder() {
    wchar_t path[1024] = {};
    const DWORD length = GetModuleFileNameW(nullptr, path, 1024);
    const std::wstring program(path, length);
    return program.substr(0, program.find_last_of(OLESTR("/\\")) + 1);
}

/// Calls one of the registration functions of a module.
HRESULT CallModule(const OLECHAR* file, const char* function) {
    HMODULE const module = LoadLibraryW((Folder() + file).c_str());
    using Registration = HRESULT(STDMETHODCALLTYPE*)();
    const auto call = module != nullptr
                          ? reinterpret_cast<Registration>(reinterpret_cast<void*>(GetProcAddress(module, function)))
                          : nullptr;
    const HRESULT result = call != nullptr ? call() : E_NOTIMPL;
    FreeLibrary(module);
    return result;
}

constexpr const OLECHAR* Modules[] = {OLESTR("LXConfigFactoryCache32.dll"), OLESTR("LXConfigFactoryCachePS.dll"),
                                      OLESTR("LXSampleServerPS.dll"), OLESTR("LXCfgCacheCallback.dll")};
constexpr const OLECHAR* ServerProgram = OLESTR("lxsampleserver.exe");

DWORD RunServerProgram(const OLECHAR* option) {
    return Process(ServerProgram, option).Wait(30s).value_or(WAIT_TIMEOUT);
}

class Registered : public testing::Environment {
    void SetUp() override {
        ASSERT_GE(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        LXHoldIfAsked();
        for (const OLECHAR* const module : Modules) {
            ASSERT_EQ(CallModule(module, "DllRegisterServer"), S_OK) << LXToUtf8(module);
        }
        ASSERT_EQ(RunServerProgram(OLESTR("--register")), 0u);
    }
    void TearDown() override {
        EXPECT_EQ(RunServerProgram(OLESTR("--unregister")), 0u);
        for (const OLECHAR* const module : Modules) {
            EXPECT_EQ(CallModule(module, "DllUnregisterServer"), S_OK) << LXToUtf8(module);
        }
        CoUninitialize();
    }
};

testing::Environment* const g_registered = testing::AddGlobalTestEnvironment(new Registered);
} // namespace

std::string LXLabelEdit(const std::string& label) {
    return std::string(R"({"edit":"SetAttributeProperty","type":")") + EditedType + R"(","name":")" + EditedAttribute +
           R"(","index":)" + std::to_string(XProperty::Label) + R"(,"value":")" + label + R"("})";
}

bool LXSaysGone(HRESULT result) {
    constexpr ULONG codes[] = {0x800706BA, 0x800706BE, 0x800706BF, 0x80010108, 0x80010007, 0x80010012};
    return std::find(std::begin(codes), std::end(codes), static_cast<ULONG>(result)) != std::end(codes);
}

Process::Process(const OLECHAR* program, const std::wstring& arguments) {
    std::wstring command = OLESTR("\"") + Folder() + program + OLESTR("\" ") + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr, &startup,
                       &process)) {
        AssignProcessToJobObject(Job(), process.hProcess);
        ResumeThread(process.hThread);
        CloseHandle(process.hThread);
        m_handle = process.hProcess;
        m_id = process.dwProcessId;
    }
}

Process::~Process() {
    Kill();
    WaitForSingleObject(m_handle, 10000);
    CloseHandle(m_handle);
}

std::optional<DWORD> Process::Wait(std::chrono::milliseconds limit) const {
    DWORD code = 0;
    const bool ended = WaitForSingleObject(m_handle, static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0;
    return ended && GetExitCodeProcess(m_handle, &code) ? std::optional<DWORD>(code) : std::nullopt;
}

XLXComPtr<ILXSampleServer> LXConnect() {
    constexpr HRESULT NotExecuted = HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE);
    XLXComPtr<ILXSampleServer> control;
    HRESULT result = NotExecuted;
    // Wine keeps connections by the server's process id. One to an ended server of the same id fails once.
    for (int attempt = 0; attempt < 2 && result == NotExecuted; ++attempt) {
        result = CoCreateInstance(CLSID_LXSampleServer, nullptr, CLSCTX_LOCAL_SERVER, LXIid<ILXSampleServer>(),
                                  control.PutVoid());
    }
    EXPECT_EQ(result, S_OK) << LXResultName(result);
    return control;
}

ReadyEvent::ReadyEvent()
    : m_name(OLESTR("lx-ready-") + std::to_wstring(GetCurrentProcessId()) + OLESTR("-") +
             std::to_wstring(reinterpret_cast<std::uintptr_t>(this)) + OLESTR("-") + std::to_wstring(GetTickCount64())),
      m_handle(CreateEventW(nullptr, TRUE, FALSE, m_name.c_str())) {}

// Who asks before the program is ready would have COM start a second one.
Server::Server(Use use)
    : m_process(ServerProgram, OLESTR("--ready-event ") + m_ready.Name() +
                                   (use == Use::ByOne ? OLESTR(" --single-use") : OLESTR(""))) {
    m_control = m_ready.Wait() ? LXConnect() : nullptr;
    LXExpectThat(static_cast<bool>(m_control), "the server program cannot be reached");
}

Server::~Server() {
    m_control->Stop(); // a failure is that of a server that is gone already
    m_process.Wait(20s);
}

XServerStatus Server::Status() const {
    XLXComBSTR status;
    LXExpect(m_control->GetStatus(status.Put()), "GetStatus");
    return LXParseStatus(LXToUtf8(status.View()));
}

bool Server::HasClient(ULONG process) const {
    const XServerStatus status = Status();
    return std::any_of(status.clients.begin(), status.clients.end(),
                       [process](const auto& client) { return client.process == process; });
}

XNotification Server::Edit(const std::string& json) const {
    XLXComBSTR outcome;
    LXExpect(m_control->Edit(LXBstr(json).Get(), outcome.Put()), "Edit");
    return LXParseNotification(LXToUtf8(outcome.View()));
}

CacheClient::CacheClient(ILXSampleServer& server, bool separateCallback) {
    XLXComPtr<ILXConfigFactory> factory;
    XLXComPtr<ILX_Query> query;
    XLXComPtr<ILXDataUpdate> update;
    LXExpect(server.GetServices(factory.Put(), query.Put(), update.Put()), "GetServices");
    LXExpect(CoCreateInstance(CLSID_LXConfigFactoryCache, nullptr, CLSCTX_INPROC_SERVER, LXIid<ILXConfigFactoryCache>(),
                              m_cache.PutVoid()),
             "CoCreateInstance(CLSID_LXConfigFactoryCache)");
    XLXVariantVector values;
    values.push_back(XLXComVariant::FromUnknown(factory.Get()));
    values.push_back(XLXComVariant::FromUnknown(query.Get()));
    values.push_back(XLXComVariant::FromUnknown(update.Get()));
    values.push_back(XLXComVariant::FromBool(false));
    values.push_back(XLXComVariant::FromBool(separateCallback));
    values.push_back(XLXComVariant::FromI4(15));
    LXExpect(m_cache.As<IDPFObject>()->Initialize(6, &values[0].Get()), "IDPFObject::Initialize");
}

XLXComPtr<ILXAttribute> CacheClient::Attribute(const char* type, const char* name) const {
    XLXComPtr<ILXType> found;
    LXExpect(Factory()->GetType(LXBstr(type).Get(), nullptr, found.Put()), "GetType");
    XLXComPtr<ILXAttribute> attribute;
    LXExpect(found->GetAttribute(LXBstr(name).Get(), attribute.Put()), "GetAttribute");
    return attribute;
}

std::string CacheClient::Label() const { return LXTextOf(*Attribute(DerivedType, EditedAttribute), XProperty::Label); }

ClientProcess::ClientProcess()
    : m_process(OLESTR("test_outofprocess.exe"), OLESTR("--hold ") + m_ready.Name() + OLESTR(" --gtest_brief=1")) {}

void LXHoldIfAsked() {
    if (__argc < 3 || std::string_view(__argv[1]) != "--hold") { return; }
    const std::string_view name = __argv[2];
    try {
        const CacheClient client(*LXConnect());
        HANDLE const ready = OpenEventW(EVENT_MODIFY_STATE, FALSE, std::wstring(name.begin(), name.end()).c_str());
        SetEvent(ready);
        CloseHandle(ready);
        std::this_thread::sleep_for(60s);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "client %lu: %s\n", GetCurrentProcessId(), error.what());
    }
    TerminateProcess(GetCurrentProcess(), 1); // nobody killed it
}
