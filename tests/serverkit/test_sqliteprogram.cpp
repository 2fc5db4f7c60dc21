// SPDX-License-Identifier: MIT
//
// The SQLite server as a program: two server processes over one database with a client each, and a third process that
// edits the database.
#include "kitfixture.h"

#include <lxserver/Registration.h>

#include <filesystem>

namespace {
constexpr CLSID ServerClass = {0x29e8ff2c, 0xb82c, 0x46b7, {0x9a, 0x80, 0x5a, 0x07, 0x6e, 0x1a, 0xd6, 0xe6}};
constexpr DWORD ProcessLimit = 60'000; // milliseconds

std::wstring Beside(const wchar_t* file) {
    const std::wstring program = lx::ModulePath(nullptr);
    return program.substr(0, program.find_last_of(L"/\\") + 1) + file;
}

/// A running lxsqliteserver. The destructor kills it if it still runs.
class Program {
public:
    explicit Program(const std::wstring& arguments) {
        std::wstring command = L"\"" + Beside(L"lxsqliteserver.exe") + L"\" " + arguments;
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        EXPECT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                                   &m_process));
        CloseHandle(m_process.hThread);
    }
    ~Program() {
        TerminateProcess(m_process.hProcess, 99);
        CloseHandle(m_process.hProcess);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Waits for its end and returns its exit code; 98 on timeout.
    DWORD Wait() const {
        DWORD code = 98;
        if (WaitForSingleObject(m_process.hProcess, ProcessLimit) == WAIT_OBJECT_0) {
            GetExitCodeProcess(m_process.hProcess, &code);
        }
        return code;
    }

private:
    PROCESS_INFORMATION m_process = {};
};

HRESULT CallProxies(const char* function) {
    HMODULE const module = LoadLibraryW(Beside(L"LXConfigFactoryCachePS.dll").c_str());
    using Registration = HRESULT(STDMETHODCALLTYPE*)();
    const auto call = reinterpret_cast<Registration>(reinterpret_cast<void*>(GetProcAddress(module, function)));
    return call != nullptr ? call() : E_NOTIMPL;
}

template <class I> lx::Ref<I> As(IUnknown& object) {
    return Got<I>([&](auto** out) { return object.QueryInterface(__uuidof(I), reinterpret_cast<void**>(out)); });
}

/// A cache in this process, in front of a server in another one.
struct Client {
    Client()
        : factory(Got<ILXConfigFactory>([](auto** out) {
              return CoCreateInstance(ServerClass, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(ILXConfigFactory),
                                      reinterpret_cast<void**>(out));
          })),
          cache(factory.Get(), As<ILX_Query>(*factory).Get(), As<ILXDataUpdate>(*factory).Get()) {}
    std::string Unit() const { return ValueOf(*AttributeOf(cache.Factory(), OLESTR("Pump"), OLESTR("RatedFlow")), 4); }

    lx::Ref<ILXConfigFactory> factory;
    KitCache cache;
};

/// A server process to which one client can connect.
struct Server {
    explicit Server(const std::wstring& database, const wchar_t* eventName)
        : ready(CreateEventW(nullptr, TRUE, FALSE, eventName)),
          program(L"--database \"" + database + L"\" --single-use --ready-event " + eventName) {
        EXPECT_EQ(WaitForSingleObject(ready, ProcessLimit), DWORD{WAIT_OBJECT_0});
    }
    ~Server() { CloseHandle(ready); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    HANDLE ready;
    Program program;
};

class SqliteProgram : public testing::Test {
protected:
    SqliteProgram() : m_database(std::filesystem::temp_directory_path() / L"sqliteprogram.db") {
        EXPECT_GE(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        EXPECT_EQ(CallProxies("DllRegisterServer"), S_OK);
        std::filesystem::copy_file(LX_PLANT_DATABASE, m_database, std::filesystem::copy_options::overwrite_existing);
    }
    ~SqliteProgram() override {
        EXPECT_EQ(CallProxies("DllUnregisterServer"), S_OK);
        CoUninitialize();
    }
    std::wstring Database() const { return m_database.wstring(); }

private:
    std::filesystem::path m_database;
};
} // namespace

TEST_F(SqliteProgram, AnEditByAnotherProcessReachesTheClientsOfTwoServers) {
    const Server first(Database(), L"lx-sqlite-first");
    const auto ofFirst = std::make_unique<Client>();
    const Server second(Database(), L"lx-sqlite-second");
    const auto ofSecond = std::make_unique<Client>();
    ASSERT_EQ(ofFirst->Unit(), "'m?/h'");
    ASSERT_EQ(ofSecond->Unit(), "'m?/h'");
    const std::wstring edit = L"UPDATE attribute SET unit = 'l/s' WHERE type = 'Pump' AND name = 'RatedFlow'";
    EXPECT_EQ(Program(L"--database \"" + Database() + L"\" --sql \"" + edit + L"\"").Wait(), 0u);
    EXPECT_TRUE(WaitFor([&] { return ofFirst->Unit() == "'l/s'"; }));
    EXPECT_TRUE(WaitFor([&] { return ofSecond->Unit() == "'l/s'"; }));
    EXPECT_EQ(Program(L"--stop").Wait(), 0u);
    EXPECT_EQ(first.program.Wait(), 0u);
    EXPECT_EQ(second.program.Wait(), 0u);
    EXPECT_EQ(ofFirst->Unit(), "'l/s'") << "the cache still answers";
}

TEST_F(SqliteProgram, ComStartsItAndItEndsByItself) {
    EXPECT_EQ(Program(L"--register --database \"" + Database() + L"\"").Wait(), 0u);
    EXPECT_EQ(Client().Unit(), "'m?/h'");
    const std::wstring stop = L"lxserver-stop-" + lx::TextOf(ServerClass); // the event exists while a server runs
    EXPECT_TRUE(WaitFor(
        [&] {
            HANDLE const event = OpenEventW(SYNCHRONIZE, FALSE, stop.c_str());
            if (event != nullptr) { CloseHandle(event); }
            return event == nullptr;
        },
        60s));
    EXPECT_EQ(Program(L"--unregister").Wait(), 0u);
}
