// SPDX-License-Identifier: MIT
//
// Windows: a program that serves clients in other processes. It registers a class object; COM starts the program on
// demand if the class is in the registry (Registration.h). The program ends when it is stopped, and optionally when no
// client has held an object for some seconds.
//
//     lx::ServeConfiguration(server, clsid, {.idleEnd = startedByCom}, [] { std::puts("ready"); });
//
// Ownership  A LocalServer owns its class object. COM references it while it is registered.
// Threading  Call Serve on a thread of the multithreaded apartment; it blocks until the server ends. Stop may be called
//            from any thread.
// Errors     std::runtime_error if the class object cannot be registered.
#ifndef LXSERVER_LOCALSERVER_H
#define LXSERVER_LOCALSERVER_H

#ifdef _WIN32
#include <lxserver/Connection.h>
#include <lxserver/Registration.h>
#include <lxserver/StubKeeper.h>

namespace lx {
class LocalServer {
public:
    struct Terms {
        bool idleEnd = false;   ///< end when no client has held an object for some seconds
        bool singleUse = false; ///< REGCLS_SINGLEUSE: only one client can connect
    };
    /// Creates the object for a client: HRESULT connect(REFIID, void** out).
    using Connector = std::function<HRESULT(REFIID, void**)>;

    static constexpr std::chrono::milliseconds TimeBetweenChecks{1000}; ///< between checks for dead clients
    static constexpr int ChecksUntilIdleEnd = 5;                        ///< checks without a client before an idle end
    static constexpr DWORD TimeForLastAnswer = 200; ///< milliseconds; lets the call that stopped the server return

    /// @param inUse  whether a client holds an object; locks of the class object are counted separately
    /// @param check  called about once a second; drops clients that are gone
    LocalServer(REFCLSID clsid, Connector connect, std::function<bool()> inUse, std::function<void()> check)
        : m_clsid(clsid),
          m_connect(std::move(connect)),
          m_inUse(std::move(inUse)),
          m_check(std::move(check)),
          m_stops{CreateEventW(nullptr, TRUE, FALSE, nullptr),
                  CreateEventW(nullptr, TRUE, FALSE, NameOf(clsid).c_str())} {}
    ~LocalServer() {
        CloseHandle(m_stops[0]);
        CloseHandle(m_stops[1]);
    }
    LocalServer(const LocalServer&) = delete;
    LocalServer& operator=(const LocalServer&) = delete;

    /// Serves clients until it is stopped or has been idle long enough.
    /// @param whenReady  called once the class object is registered
    void Serve(Terms terms, const std::function<void()>& whenReady) {
        DWORD cookie = Register(terms);
        whenReady();
        for (int idle = 0; !WaitForStop();) {
            m_check();
            idle = IsInUse() ? 0 : idle + 1;
            if (!terms.idleEnd || idle < ChecksUntilIdleEnd) { continue; }
            CoRevokeClassObject(cookie);
            if (!IsInUse()) { return; } // no client connected before the revocation
            cookie = Register(terms);
            idle = 0;
        }
        Sleep(TimeForLastAnswer);
        CoRevokeClassObject(cookie);
    }
    void Stop() { SetEvent(m_stops[0]); }
    /// Stops all programs of this session that serve a class. Returns false if there is none.
    static bool StopAll(REFCLSID clsid) {
        HANDLE const stop = OpenEventW(EVENT_MODIFY_STATE, FALSE, NameOf(clsid).c_str());
        if (stop == nullptr) { return false; }
        SetEvent(stop);
        CloseHandle(stop);
        return true;
    }

private:
    /// A separate COM object, so that COM's references to the registration do not count as client references.
    class ClassObject final : public IClassFactory {
    public:
        explicit ClassObject(LocalServer& server) noexcept : m_server(server) {}
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
            if (out == nullptr) { return E_POINTER; }
            const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
            *out = known ? this : nullptr;
            return known ? S_OK : E_NOINTERFACE;
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return 2; } // lives as long as the server
        ULONG STDMETHODCALLTYPE Release() override { return 1; }
        HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
            if (out == nullptr) { return E_POINTER; }
            *out = nullptr;
            return outer != nullptr ? CLASS_E_NOAGGREGATION : Guarded([&] { return m_server.m_connect(iid, out); });
        }
        HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
            m_server.m_locks += lock ? 1 : -1;
            return S_OK;
        }

    private:
        LocalServer& m_server;
    };

    static std::wstring NameOf(REFCLSID clsid) { return OLESTR("lxserver-stop-") + TextOf(clsid); }
    DWORD Register(Terms terms) {
        DWORD cookie = 0;
        const HRESULT result = CoRegisterClassObject(m_clsid, &m_classObject, CLSCTX_LOCAL_SERVER,
                                                     terms.singleUse ? REGCLS_SINGLEUSE : REGCLS_MULTIPLEUSE, &cookie);
        if (FAILED(result)) { throw std::runtime_error("the server's class object cannot be registered"); }
        return cookie;
    }
    bool IsInUse() const { return m_locks > 0 || m_inUse(); }
    bool WaitForStop() const {
        return WaitForMultipleObjects(2, m_stops, FALSE, static_cast<DWORD>(TimeBetweenChecks.count())) != WAIT_TIMEOUT;
    }

    const CLSID m_clsid;
    const Connector m_connect;
    const std::function<bool()> m_inUse;
    const std::function<void()> m_check;
    HANDLE const m_stops[2]; // events: stop this server; stop all servers of the class
    std::atomic<long> m_locks{0};
    ClassObject m_classObject{*this};
};

/// Serves a configuration to other processes until it is stopped or idle, then notifies the clients of the termination.
/// Each client gets a Connection. COM must be initialised on the calling thread.
inline void ServeConfiguration(const ServerPtr& server, REFCLSID clsid, LocalServer::Terms terms,
                               const std::function<void()>& whenReady) {
    const StubKeeper stubs;
    server->DeliverComponentObjects(false);
    LocalServer local(
        clsid, [&server](REFIID iid, void** out) { return Connect(server)->QueryInterface(iid, out); },
        [&server] { return liveObjects > 0 || server->Clients().Clients() > 0; },
        [&server] { server->Clients().CheckClients(); });
    local.Serve(terms, whenReady);
    server->Clients().AnnounceTermination();
}
} // namespace lx
#endif

#endif
