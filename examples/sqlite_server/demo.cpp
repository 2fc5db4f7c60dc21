// SPDX-License-Identifier: MIT
//
// lxsqlitedemo DATABASE [SQL]: two servers over one database, each with a cache in front of it. Prints an attribute's
// unit from both caches, waits until another program sets it to l/s, and prints it again. If a statement is given, it
// is run on a separate connection to make that edit.
#include "SqliteServer.h"

#include <cstdio>
#include <olectl.h>

namespace {
constexpr std::chrono::seconds EditWait{60};

void Check(HRESULT result, const char* what) {
    if (result != S_OK) { throw std::runtime_error(std::string(what) + " did not answer S_OK"); }
}

/// A server with an application's cache in front of it.
class Side {
public:
    explicit Side(const std::string& path) : m_server(OpenSqliteServer(path)) {
        const auto connection = lx::Connect(m_server);
        Check(CoCreateInstance(CLSID_LXConfigFactoryCache, nullptr, CLSCTX_INPROC_SERVER,
                               __uuidof(ILXConfigFactoryCache), reinterpret_cast<void**>(&m_cache)),
              "CoCreateInstance");
        Check(m_cache->QueryInterface(__uuidof(ILXConfigFactory), reinterpret_cast<void**>(&m_types)),
              "QueryInterface");
        Check(m_cache->QueryInterface(__uuidof(IDPFObject), reinterpret_cast<void**>(&m_lifetime)), "QueryInterface");
        VARIANT values[4] = {}; // value 1, the server's query object, may be empty
        V_VT(&values[0]) = V_VT(&values[2]) = VT_UNKNOWN;
        V_UNKNOWN(&values[0]) = lx::Ref<ILXConfigFactory>(connection).Get();
        V_UNKNOWN(&values[2]) = lx::Ref<ILXDataUpdate>(connection).Get();
        V_VT(&values[3]) = VT_BOOL;
        Check(m_lifetime->Initialize(4, values), "Initialize");
    }
    ~Side() {
        m_lifetime->Terminate();
        m_lifetime->Release();
        m_types->Release();
        m_cache->Release();
    }
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;

    /// The unit of Pump/RatedFlow, read from the cache.
    lx::Text Unit() const;

private:
    lx::ServerPtr m_server;
    ILXConfigFactoryCache* m_cache = nullptr;
    ILXConfigFactory* m_types = nullptr;
    IDPFObject* m_lifetime = nullptr;
};

lx::Text Side::Unit() const {
    ILXType* pump = nullptr;
    ILXAttribute* flow = nullptr;
    BSTR pumpName = SysAllocString(OLESTR("Pump")), flowName = SysAllocString(OLESTR("RatedFlow"));
    VARIANT value = {};
    Check(m_types->GetType(pumpName, nullptr, &pump), "GetType");
    Check(pump->GetAttribute(flowName, &flow), "GetAttribute");
    Check(flow->GetProperty(4, &value), "GetProperty");
    const lx::Text unit(lx::ViewOf(V_BSTR(&value)));
    VariantClear(&value);
    SysFreeString(pumpName);
    SysFreeString(flowName);
    flow->Release();
    pump->Release();
    return unit;
}

void Show(const std::string& database, const char* sql) {
    const Side first(database);
    const Side second(database);
    std::puts("Two servers over one database; the caches of both have RatedFlow in cubic metres per hour.");
    std::fflush(stdout);
    if (sql != nullptr) { Database(database).Run(sql); }
    const lx::Text edited = OLESTR("l/s");
    const auto start = std::chrono::steady_clock::now();
    while (first.Unit() != edited || second.Unit() != edited) {
        if (std::chrono::steady_clock::now() - start > EditWait) { throw std::runtime_error("nobody edited it"); }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    std::puts("Somebody else ran an UPDATE: the caches of both have it in l/s.");
}
} // namespace

int main(int argc, char** argv) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
#ifndef _WIN32
    DllRegisterServer(); // for this process; on Windows regsvr32 has done it
#endif
    try {
        Show(argc > 1 ? argv[1] : "", argc > 2 ? argv[2] : nullptr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lxsqlitedemo: %s\n", error.what());
        return 1;
    }
    CoUninitialize();
    return 0;
}
