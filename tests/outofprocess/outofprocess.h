// SPDX-License-Identifier: MIT
//
// The common part of the tests with servers and clients in separate processes. Every started process ends with the
// object that represents it, at the latest with the test program.
#ifndef OUTOFPROCESS_H
#define OUTOFPROCESS_H

#include "LXSampleServer.h"
#include "XServerTexts.h"
#include "XToolCom.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <optional>
#include <thread>

using namespace std::chrono_literals;

/// The tests edit the label of this attribute, which CentrifugalPump inherits.
constexpr const char* EditedType = "Pump";
constexpr const char* EditedAttribute = "Power";
constexpr const char* DerivedType = "CentrifugalPump";

/// The edit that sets that label.
std::string LXLabelEdit(const std::string& label);

/// Waits until a condition holds; false if it does not in time.
template <class Condition> bool LXWaitFor(Condition&& condition, std::chrono::milliseconds limit = 20s) {
    const auto until = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) { return false; }
        std::this_thread::sleep_for(20ms);
    }
    return true;
}

/// Whether a result means that the other process has ended.
bool LXSaysGone(HRESULT result);

/// A running program from this program's folder.
class Process {
public:
    Process(const OLECHAR* program, const std::wstring& arguments);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    ULONG Id() const { return m_id; }
    void Kill() const { TerminateProcess(m_handle, 99); }
    /// The exit code; nullopt if the process does not end in time.
    std::optional<DWORD> Wait(std::chrono::milliseconds limit) const;

private:
    HANDLE m_handle = nullptr;
    ULONG m_id = 0;
};

/// An event that another process sets when it is ready.
class ReadyEvent {
public:
    ReadyEvent();
    ~ReadyEvent() { CloseHandle(m_handle); }
    ReadyEvent(const ReadyEvent&) = delete;
    ReadyEvent& operator=(const ReadyEvent&) = delete;

    const std::wstring& Name() const { return m_name; }
    bool Wait() const { return WaitForSingleObject(m_handle, 30000) == WAIT_OBJECT_0; }

private:
    std::wstring m_name;
    HANDLE m_handle;
};

/// The server's control object; null if there is none.
XLXComPtr<ILXSampleServer> LXConnect();

/// A server program that serves the small model.
class Server {
public:
    enum class Use {
        ByMany,
        ByOne ///< other clients do not find it: Wine still finds class objects of killed processes
    };

    explicit Server(Use use = Use::ByMany);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    ILXSampleServer& Control() const { return *m_control; }
    const Process& Program() const { return m_process; }
    XServerStatus Status() const;
    bool HasClient(ULONG process) const;
    XNotification Edit(const std::string& json) const;

private:
    ReadyEvent m_ready;
    Process m_process;
    XLXComPtr<ILXSampleServer> m_control;
};

/// A cache initialised with the services of the server.
class CacheClient {
public:
    explicit CacheClient(ILXSampleServer& server, bool separateCallback = false);

    HRESULT Terminate() { return m_cache.As<IDPFObject>()->Terminate(); }
    XLXComPtr<ILXConfigFactory> Factory() const { return m_cache.As<ILXConfigFactory>(); }
    const XLXComPtr<ILXConfigFactoryCache>& Cache() const { return m_cache; }
    XLXComPtr<ILXAttribute> Attribute(const char* type, const char* name) const;
    /// The edited label, read from the cache.
    std::string Label() const;

private:
    XLXComPtr<ILXConfigFactoryCache> m_cache;
};

/// A client in a process of its own: this program, started again. It initialises a cache and waits to be killed.
class ClientProcess {
public:
    ClientProcess();

    /// Whether the cache has been initialised.
    bool IsReady() const { return m_ready.Wait(); }
    const Process& Program() const { return m_process; }

private:
    ReadyEvent m_ready;
    Process m_process;
};

/// Plays that client and ends the process when the command line asks for it.
void LXHoldIfAsked();

#endif
