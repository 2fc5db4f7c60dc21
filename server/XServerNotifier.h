// SPDX-License-Identifier: MIT
//
// The clients of the sample server and their notifications: the kit's notifier, which can also send on the thread of a
// test.
//
// Threading  Thread-safe.
#ifndef XSERVERNOTIFIER_H
#define XSERVERNOTIFIER_H

#include "XSampleServer.h"

class XServerNotifier : public lx::Notifier {
public:
    /// Sends a notification, or queues it for the clients' threads.
    /// @param leaveOut  the client that made the change, which is not notified; 0: none
    XNotification Send(const XText& dataId, const XText& dataType, ULONG id, XNotify notify, LONG leaveOut = 0) {
        if (notify == XNotify::No) { return {}; }
        return lx::Notifier::Send({dataId, dataType, leaveOut, id},
                                  notify == XNotify::Here ? m_way.load() : Way::Posted);
    }
    void Flush(std::chrono::milliseconds limit) const {
        const bool idle = WaitUntilIdle(lx::ClientQueue::Clock::now() + limit);
        if (!idle) { throw std::runtime_error("the notifier threads are still sending after the limit"); }
    }
    void AnnounceTermination() { lx::Notifier::AnnounceTermination(m_way); }
    void CheckClients() { lx::Notifier::CheckClients(m_way); }

    /// From now on, no client is called on the sender's thread. The sender waits at most this long for the answers.
    void CallEachClientOnItsOwnThread(std::chrono::milliseconds wait) {
        SetAnswerWait(wait);
        m_way = Way::Waiting;
    }

    void Forwarded(XForwardedNotification notification) {
        const std::lock_guard lock(m_mutex);
        m_forwarded.push_back(std::move(notification));
    }
    std::vector<XForwardedNotification> ForwardedNotifications() const {
        const std::lock_guard lock(m_mutex);
        return m_forwarded;
    }

private:
    std::atomic<Way> m_way{Way::Here};
    mutable std::mutex m_mutex;
    std::vector<XForwardedNotification> m_forwarded; // guarded by m_mutex
};

#endif
