// SPDX-License-Identifier: MIT
//
// The SQLite server as a program that COM starts, and another process that edits its database.
#include "kitfixture.h"
#include "programs_windows.h"

#include <lxserver/Registration.h>

#include <filesystem>

namespace {
constexpr CLSID ServerClass = {0x29e8ff2c, 0xb82c, 0x46b7, {0x9a, 0x80, 0x5a, 0x07, 0x6e, 0x1a, 0xd6, 0xe6}};

constexpr const wchar_t* Proxies = L"LXConfigFactoryCachePS.dll";

/// Runs lxsqliteserver and returns its exit code; nullopt if it does not end.
std::optional<DWORD> RunProgram(const std::wstring& arguments) {
    return Process(L"lxsqliteserver.exe", arguments).Wait(60s);
}

/// A cache in this process, in front of a server in another one.
lxcfc::Cache Connect(lxcfc::Changed changed = {}) {
    lxcfc::Ptr<ILXConfigFactory> factory;
    lxcfc::Check(CoCreateInstance(ServerClass, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(ILXConfigFactory),
                                  reinterpret_cast<void**>(factory.Put())),
                 "CoCreateInstance");
    return lxcfc::Cache(factory, factory.As<ILXDataUpdate>(), std::move(changed), {factory.As<ILX_Query>()});
}
std::wstring UnitOf(const lxcfc::Cache& cache) { return cache.Type("Pump").Attribute("RatedFlow").Text(lx::Unit); }

/// Waits for the server's end.
bool Ends() {
    const std::wstring stop = L"lxserver-stop-" + lx::TextOf(ServerClass); // the event exists while a server runs
    const auto hasEnded = [&stop] {
        HANDLE const event = OpenEventW(SYNCHRONIZE, FALSE, stop.c_str());
        if (event != nullptr) { CloseHandle(event); }
        return event == nullptr;
    };
    return WaitFor(hasEnded, 60s);
}

class SqliteProgram : public WithComponent {
protected:
    SqliteProgram() : m_database(std::filesystem::temp_directory_path() / L"sqliteprogram.db") {
        EXPECT_EQ(CallModule(Proxies, "DllRegisterServer"), S_OK);
        std::filesystem::copy_file(LX_PLANT_DATABASE, m_database, std::filesystem::copy_options::overwrite_existing);
    }
    ~SqliteProgram() override { EXPECT_EQ(CallModule(Proxies, "DllUnregisterServer"), S_OK); }
    std::wstring Database() const { return m_database.wstring(); }

private:
    std::filesystem::path m_database;
};
} // namespace

TEST_F(SqliteProgram, ComStartsItEditsReachItsClientsAndItEnds) {
    const std::wstring onDatabase = L"--database \"" + Database() + L"\"";
    EXPECT_EQ(RunProgram(onDatabase + L" --register"), 0u);
    {
        std::atomic<bool> isCalled{false};
        const lxcfc::Cache cache = Connect([&](const lxcfc::Change&) { isCalled = true; });
        ASSERT_EQ(UnitOf(cache), L"m\u00B3/h");
        const std::wstring edit = L"UPDATE attribute SET unit = 'l/s' WHERE type = 'Pump' AND name = 'RatedFlow'";
        EXPECT_EQ(RunProgram(onDatabase + L" --sql \"" + edit + L"\""), 0u);
        EXPECT_TRUE(WaitFor([&] { return isCalled.load(); }));
        EXPECT_EQ(UnitOf(cache), L"l/s");
    }
    EXPECT_TRUE(Ends()) << "without a client it ends by itself";
    const lxcfc::Cache cache = Connect();
    EXPECT_EQ(UnitOf(cache), L"l/s");
    EXPECT_EQ(RunProgram(L"--stop"), 0u);
    EXPECT_TRUE(Ends());
    EXPECT_EQ(UnitOf(cache), L"l/s") << "the cache still answers";
    EXPECT_EQ(RunProgram(L"--unregister"), 0u);
}
