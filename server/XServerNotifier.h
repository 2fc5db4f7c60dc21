// SPDX-License-Identifier: MIT
//
// The clients of the sample server and the notifications that they get.
//
// Locks      m_mutex guards everything here; it is not held while a client's callback is called, copied or released.
//            A client's queue has a lock of its own, taken after m_mutex.
#ifndef XSERVERNOTIFIER_H
#define XSERVERNOTIFIER_H

#include "XSampleServer.h"

#include <lxserver/ClientQueue.h>

#include <deque>
#include <thread>

class XServerNotifier {
public:
    XServerNotifier() = default;
    XServerNotifier(const XServerNotifier&) = delete;
    XServerNotifier& operator=(const XServerNotifier&) = delete;
    ~XServerNotifier() { Shutdown(); }

    /// Sends, or queues for the notifier thread. A client left out is the one whose own change it is.
    XNotification Send(const XText& dataId, const XText& dataType, ULONG id, XNotify notify, LONG leaveOut = 0);
    ULONG LastId() const;
    void Flush(std::chrono::milliseconds limit);
    void AnnounceTermination();
    /// Asks every client that has nothing to do whether it still lives, and forgets those that do not.
    void CheckClients();
    /// Ends the notifier thread and releases all callbacks.
    void Shutdown();

    /// From now on each client that registers is called on a thread of its own. Who sends a notification waits for
    /// the answers no longer than that, and not at all for a client that was busy already or slow the last time.
    void CallEachClientOnItsOwnThread(std::chrono::milliseconds wait);

    LONG Register(XLXTextView computer, ULONG process, ILXCallbackUpdate* callback);
    bool Unregister(LONG client);
    /// Asks for the notifications of a data type, or asks no more; false for an unknown client.
    bool Enable(LONG client, XLXTextView dataType, bool enable, ULONG advices);
    std::vector<XRegisteredClient> Clients() const;

    void Forwarded(XForwardedNotification notification);
    std::vector<XForwardedNotification> ForwardedNotifications() const;

private:
    struct Client {
        XRegisteredClient facts;
        XLXComPtr<ILXCallbackUpdate> callback;
        std::shared_ptr<lx::ClientQueue> queue; // of a client that is called on its own thread
    };
    struct Job {
        XLXText dataId;
        XLXText dataType;
        ULONG id;
        LONG leaveOut;
    };

    using Answers = std::vector<lx::ClientQueue::Answer>;

    XNotification Deliver(const Job& job);
    void RunThread();
    std::vector<Client> Receivers(const Job& job) const;
    std::vector<Client> AllClients() const;
    Answers PostToEach(const std::vector<Client>& clients, const lx::ClientQueue::Call& call) const;
    XNotification Await(ULONG id, Answers answers) const;
    void ForgetClientsThatAreGone();

    mutable std::mutex m_mutex;
    std::map<LONG, Client> m_clients;
    LONG m_lastClient = 0;
    ULONG m_lastId = 0;
    std::vector<XForwardedNotification> m_forwarded;
    std::deque<Job> m_queue;
    std::optional<std::chrono::milliseconds> m_wait;       // set: each client on its own thread
    std::vector<std::shared_ptr<lx::ClientQueue>> m_ended; // whose threads may still be in a call
    bool m_busy = false;                                   // the thread is delivering
    bool m_end = false;
    std::condition_variable m_changed;
    std::thread m_thread; // started by the first queued notification
};

#endif
