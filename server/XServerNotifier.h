// SPDX-License-Identifier: MIT
//
// The clients of the sample server and the notifications that they get: the kit's, which a test may have sent on its own
// thread.
//
// Threading  Everything may be called from any thread. m_mutex guards what was forwarded.
#ifndef XSERVERNOTIFIER_H
#define XSERVERNOTIFIER_H

#include "XSampleServer.h"

class XServerNotifier : public lx::Notifier {
public:
    /// Sends, or queues for the clients' threads. A client left out is the one whose own change it is.
    XNotification Send(const XText& dataId, const XText& dataType, ULONG id, XNotify notify, LONG leaveOut = 0) {
        if (notify == XNotify::No) { return {}; }
        return lx::Notifier::Send({dataId, dataType, leaveOut, id},
                                  notify == XNotify::Here ? m_way.load() : Way::Posted);
    }
    void Flush(std::chrono::milliseconds limit) const {
        const bool idle = WaitUntilIdle(lx::ClientQueue::Clock::now() + limit);
        if (!idle) { throw std::runtime_error("the notifier threads make no end"); }
    }
    void AnnounceTermination() { lx::Notifier::AnnounceTermination(m_way); }
    void CheckClients() { lx::Notifier::CheckClients(m_way); }

    /// From now on no client is called on the thread of who sends, who waits for the answers no longer than that.
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
