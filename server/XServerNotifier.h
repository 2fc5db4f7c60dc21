// SPDX-License-Identifier: MIT
//
// The clients of the sample server and the notifications that they get.
//
// Locks  m_mutex guards everything here; it is not held while a client's callback is called, copied or
//        released.
#ifndef XSERVERNOTIFIER_H
#define XSERVERNOTIFIER_H

#include "XSampleServer.h"

#include <deque>
#include <thread>

class XServerNotifier
{
public:
    XServerNotifier() = default;
    XServerNotifier(const XServerNotifier&) = delete;
    XServerNotifier& operator=(const XServerNotifier&) = delete;
    ~XServerNotifier() { Shutdown(); }

    /// Sends, or queues for the notifier thread. A client left out is the one whose own change it is.
    XNotification Send(const XText& dataId, const XText& dataType, ULONG id, XNotify notify,
                       LONG leaveOut = 0);
    ULONG LastId() const;
    void Flush(std::chrono::milliseconds limit);
    void AnnounceTermination();
    /// Ends the notifier thread and releases all callbacks.
    void Shutdown();

    LONG Register(XLXTextView computer, ULONG process, ILXCallbackUpdate* callback);
    bool Unregister(LONG client);
    /// Asks for the notifications of a data type, or asks no more; false for an unknown client.
    bool Enable(LONG client, XLXTextView dataType, bool enable, ULONG advices);
    std::vector<XRegisteredClient> Clients() const;

    void Forwarded(XForwardedNotification notification);
    std::vector<XForwardedNotification> ForwardedNotifications() const;

private:
    struct Client
    {
        XRegisteredClient facts;
        XLXComPtr<ILXCallbackUpdate> callback;
    };
    struct Job
    {
        XLXText dataId;
        XLXText dataType;
        ULONG id;
        LONG leaveOut;
    };

    XNotification Deliver(const Job& job);
    void RunThread();
    std::vector<Client> Receivers(const XLXText& dataType, LONG leaveOut) const;

    mutable std::mutex m_mutex;
    std::map<LONG, Client> m_clients;
    LONG m_lastClient = 0;
    ULONG m_lastId = 0;
    std::vector<XForwardedNotification> m_forwarded;
    std::deque<Job> m_queue;
    bool m_busy = false; // the thread is delivering
    bool m_end = false;
    std::condition_variable m_changed;
    std::thread m_thread; // started by the first queued notification
};

#endif
