// SPDX-License-Identifier: MIT
//
// What the tests of servers and clients in processes of their own share. Every process that is started ends with the
// object that stands for it, at the latest with the test program.
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

/// The label of this attribute is what the tests edit; CentrifugalPump inherits it.
constexpr const char* EditedType = "Pump";
constexpr const char* EditedAttribute = "Power";
constexpr const char* DerivedType = "CentrifugalPump";

/// The edit that gives it that label.
std::string LXLabelEdit(const std::string& label);

/// Waits until a condition holds; false when it does not in time.
template <class Condition> bool LXWaitFor(Condition&& condition, std::chrono::milliseconds limit = 20s) {
    const auto until = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) { return false; }
        std::this_thread::sleep_for(20ms);
    }
    return true;
}

/// Whether a result says that the other process is no more.
bool LXSaysGone(HRESULT result);

/// A program beside this one, running.
class Process {
public:
    Process(const OLECHAR* program, const std::wstring& arguments);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    ULONG Id() const { return m_id; }
    void Kill() const { TerminateProcess(m_handle, 99); }
    /// The exit code; nothing when the process does not end in time.
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

/// The server's control object; null when there is none.
XLXComPtr<ILXSampleServer> LXConnect();

/// A server program that serves the small model.
class Server {
public:
    enum class Use {
        ByMany,
        ByOne ///< others do not find it. Wine goes on finding a class object after its process was killed.
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

/// A cache that was initialised with the services of the server.
class CacheClient {
public:
    explicit CacheClient(ILXSampleServer& server, bool separateCallback = false);

    HRESULT Terminate() { return m_cache.As<IDPFObject>()->Terminate(); }
    XLXComPtr<ILXConfigFactory> Factory() const { return m_cache.As<ILXConfigFactory>(); }
    const XLXComPtr<ILXConfigFactoryCache>& Cache() const { return m_cache; }
    XLXComPtr<ILXAttribute> Attribute(const char* type, const char* name) const;
    /// The label that the tests edit, as the cache has it.
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
