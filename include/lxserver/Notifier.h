// SPDX-License-Identifier: MIT
//
// The clients of a server and the delivery of notifications, with increasing ids. Each client is called on its own
// thread, or all clients on the sender's.
//
// Ownership  A client's callback is kept until the client unregisters, is gone or hangs, or until Shutdown.
// Threading  Thread-safe. Do not call Send while holding a lock that the server needs to answer clients: they may call
//            back meanwhile. m_mutex is not held while a callback is called, copied or released. The lock of a client's
//            queue is taken after m_mutex.
// Errors     std::bad_alloc.
#ifndef LXSERVER_NOTIFIER_H
#define LXSERVER_NOTIFIER_H

#include <lxserver/ClientQueue.h>

#include <map>
#include <vector>

namespace lx {
/// The data type of notifications about the configuration.
inline const Text CfcSpecific = OLESTR("cfc_specific");

/// The registration data of a client.
struct ClientFacts {
    LONG id = 0;
    Text computer;
    ULONG process = 0;
    std::map<Text, ULONG> advices; ///< enabled advices by data type
};

class Notifier {
public:
    struct Notification {
        Text dataId;
        Text dataType = CfcSpecific;
        LONG leaveOut = 0; ///< the client that made the change and is not notified; 0 for none
        ULONG id = 0;      ///< 0: the next id
    };
    /// How clients are called.
    enum class Way {
        Waiting, ///< each client on its thread; the sender waits for the answers
        Posted,  ///< each client on its thread; the sender does not wait
        Here     ///< all clients in turn on the calling thread
    };
    /// The result of sending a notification.
    struct Outcome {
        ULONG id = 0;
        int clients = 0;       ///< number of clients that answered
        HRESULT result = S_OK; ///< the first answer other than S_OK
    };

    static constexpr std::chrono::milliseconds AnswerWait{2000};  ///< longest wait of a sender for all answers
    static constexpr std::chrono::milliseconds HangLimit{60'000}; ///< longest call; then the client is dropped
    static constexpr std::chrono::milliseconds EndWait{5000};     ///< longest wait of Shutdown for calls in progress
    static constexpr ULONG AdvicesOfChanges = 0x100;

    Notifier() = default;
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;
    ~Notifier() { Shutdown(); }

    /// Sends a notification to each client that has enabled its data type. Waits for the answers, but not
    /// longer than SetAnswerWait allows, and not for a client that is busy or whose last answer was slow.
    /// @param leaveOut  the client that made the change and is not notified; 0 for none
    /// @return          the id of the notification
    ULONG Send(const Text& dataId, const Text& dataType = CfcSpecific, LONG leaveOut = 0) {
        return Send({dataId, dataType, leaveOut}, Way::Waiting).id;
    }
    Outcome Send(const Notification& notification, Way way) {
        DropLostClients();
        Outcome outcome;
        std::vector<ClientQueue::Answer> answers;
        std::vector<std::shared_ptr<ClientQueue>> receivers;
        ClientQueue::Call call;
        {
            const std::lock_guard lock(m_mutex); // posting under the lock keeps the order of the ids
            outcome.id = m_lastId = notification.id != 0 ? notification.id : m_lastId + 1;
            call = CallOf(notification.dataId, notification.dataType, outcome.id);
            receivers = Receivers(notification);
            if (way != Way::Here) { answers = PostToEach(receivers, call, outcome.id); }
        }
        if (way == Way::Here) {
            CallEach(receivers, call, outcome);
        } else if (way == Way::Waiting) {
            Await(answers, outcome);
        }
        return outcome;
    }

    ULONG LastId() const {
        const std::lock_guard lock(m_mutex);
        return m_lastId;
    }
    std::size_t Clients() const {
        const std::lock_guard lock(m_mutex);
        return m_clients.size();
    }

    /// The registered clients, except those known to be gone.
    std::vector<ClientFacts> ListClients() const {
        std::vector<ClientFacts> clients;
        const std::lock_guard lock(m_mutex);
        for (const auto& [id, client] : m_clients) {
            if (!client.queue->IsGone()) { clients.push_back(client.facts); }
        }
        return clients;
    }

    /// Calls ServerIsTerminating on each client.
    void AnnounceTermination(Way way = Way::Waiting) {
        std::vector<ClientQueue::Answer> answers;
        for (const auto& [client, queue] : AllQueues()) {
            const auto call = [](ILXCallbackUpdate& callback) { return callback.ServerIsTerminating(); };
            if (way == Way::Here) {
                queue->CallHere(call);
            } else {
                answers.push_back(queue->Post(call));
            }
        }
        Outcome outcome;
        if (way == Way::Waiting) { Await(answers, outcome); }
    }
    /// Calls CheckCallbackValid on each idle client, and drops clients that are gone or hang.
    void CheckClients(Way way = Way::Posted) {
        for (const auto& [client, queue] : AllQueues()) {
            const auto call = [](ILXCallbackUpdate& callback) { return callback.CheckCallbackValid(); };
            if (way == Way::Here) {
                queue->CallHere(call);
            } else if (queue->WaitUntilIdle({})) { // idle: the previous check has been answered
                queue->Post(call);
            }
        }
        DropLostClients();
    }
    /// Waits until no call to a client is queued or in progress. Returns false on timeout.
    bool WaitUntilIdle(ClientQueue::Clock::time_point until) const {
        const auto queues = AllQueues();
        return std::all_of(queues.begin(), queues.end(),
                           [until](const auto& entry) { return entry.second->WaitUntilIdle(until); });
    }
    /// Sets the longest wait of a sender for all answers; the default is AnswerWait.
    void SetAnswerWait(std::chrono::milliseconds wait) noexcept { m_answerWait = wait; }
    /// Sets the longest call before a client is dropped; the default is HangLimit.
    void SetHangLimit(std::chrono::milliseconds limit) noexcept { m_hangLimit = limit; }
    /// Drops all clients and releases their callbacks. Waits up to EndWait for calls in progress; a call that hangs
    /// longer is abandoned on its thread.
    void Shutdown() {
        std::map<LONG, Client> clients; // released after unlocking
        std::vector<std::shared_ptr<ClientQueue>> queues;
        {
            const std::lock_guard lock(m_mutex);
            m_clients.swap(clients);
            m_ended.swap(queues);
        }
        for (const auto& [id, client] : clients) {
            client.queue->End();
            queues.push_back(client.queue);
        }
        const auto until = ClientQueue::Clock::now() + EndWait;
        for (const auto& queue : queues) {
            queue->WaitUntilEnded(until);
        }
    }

    /// Adds a client.
    /// @return  the client's id
    LONG Register(ILXCallbackUpdate* callback, TextView computer = {}, ULONG process = 0) {
        auto queue = ClientQueue::Create(callback);
        const std::lock_guard lock(m_mutex);
        const LONG id = ++m_lastClient;
        m_clients.emplace(id, Client{{id, Text(computer), process, {}}, std::move(queue)});
        return id;
    }
    /// Removes a client and releases its callback. Returns false for an unknown id.
    bool Unregister(LONG client) {
        std::shared_ptr<ClientQueue> queue;
        {
            const std::lock_guard lock(m_mutex);
            const auto found = m_clients.find(client);
            if (found == m_clients.end()) { return false; }
            queue = found->second.queue;
            m_clients.erase(found);
            std::erase_if(m_ended, [](const auto& ended) { return ended->WaitUntilEnded({}); });
            m_ended.push_back(queue);
        }
        queue->End();
        return true;
    }
    /// Enables or disables the notifications of a data type for a client. Returns false for an unknown id.
    bool Enable(LONG client, TextView dataType, bool enable, ULONG advices = AdvicesOfChanges) {
        const std::lock_guard lock(m_mutex);
        const auto found = m_clients.find(client);
        if (found == m_clients.end()) { return false; }
        auto& asked = found->second.facts.advices;
        asked.erase(Text(dataType));
        if (enable) { asked.emplace(dataType, advices); }
        return true;
    }
    bool IsEnabled(LONG client, TextView dataType) const {
        const std::lock_guard lock(m_mutex);
        const auto found = m_clients.find(client);
        return found != m_clients.end() && found->second.facts.advices.contains(Text(dataType));
    }

private:
    struct Client {
        ClientFacts facts;
        std::shared_ptr<ClientQueue> queue;
    };

    static ClientQueue::Call CallOf(const Text& dataId, const Text& dataType, ULONG id) {
        const auto texts = std::make_shared<const std::pair<Text, Text>>(dataId, dataType); // shared by all clients
        return [texts, id](ILXCallbackUpdate& callback) {
            return Guarded([&] {
                const std::unique_ptr<OLECHAR, void (*)(BSTR)> idText(NewBstr(texts->first), FreeBstr);
                const std::unique_ptr<OLECHAR, void (*)(BSTR)> typeText(NewBstr(texts->second), FreeBstr);
                return callback.DataObjectChanged(idText.get(), typeText.get(), AdvicesOfChanges, id, 0, nullptr);
            });
        };
    }
    static void FreeBstr(BSTR text) { SysFreeString(text); }

    /// Call with m_mutex held.
    std::vector<std::shared_ptr<ClientQueue>> Receivers(const Notification& notification) const {
        std::vector<std::shared_ptr<ClientQueue>> receivers;
        for (const auto& [id, client] : m_clients) {
            if (id != notification.leaveOut && client.facts.advices.contains(notification.dataType)) {
                receivers.push_back(client.queue);
            }
        }
        return receivers;
    }
    /// Queues a call for each receiver and returns the answers of those that were ready. Call with m_mutex held.
    static std::vector<ClientQueue::Answer> PostToEach(const std::vector<std::shared_ptr<ClientQueue>>& receivers,
                                                       const ClientQueue::Call& call, ULONG id) {
        const auto everything = [id] { return CallOf(OLESTR("objects//0/1"), CfcSpecific, id); };
        std::vector<ClientQueue::Answer> answers;
        for (const auto& queue : receivers) {
            const bool wait = queue->IsReady();
            ClientQueue::Answer answer = queue->Post(call, everything);
            if (wait) { answers.push_back(std::move(answer)); }
        }
        return answers;
    }
    void CallEach(const std::vector<std::shared_ptr<ClientQueue>>& receivers, const ClientQueue::Call& call,
                  Outcome& outcome) {
        for (const auto& queue : receivers) {
            Note(queue->CallHere(call), outcome);
        }
        DropLostClients();
    }
    void Await(std::vector<ClientQueue::Answer>& answers, Outcome& outcome) const {
        const auto until = ClientQueue::Clock::now() + m_answerWait.load();
        for (ClientQueue::Answer& answer : answers) {
            if (answer.wait_until(until) == std::future_status::ready) { Note(answer.get(), outcome); }
        }
    }
    static void Note(const std::optional<HRESULT>& answer, Outcome& outcome) {
        outcome.clients += answer ? 1 : 0;
        if (answer && outcome.result == S_OK) { outcome.result = *answer; }
    }
    std::map<LONG, std::shared_ptr<ClientQueue>> AllQueues() const {
        std::map<LONG, std::shared_ptr<ClientQueue>> queues;
        const std::lock_guard lock(m_mutex);
        for (const auto& [id, client] : m_clients) {
            queues.emplace(id, client.queue);
        }
        return queues;
    }
    void DropLostClients() {
        std::vector<LONG> lost;
        {
            const std::lock_guard lock(m_mutex);
            for (const auto& [id, client] : m_clients) {
                if (client.queue->IsGone() || client.queue->IsHanging(m_hangLimit)) { lost.push_back(id); }
            }
        }
        for (const LONG id : lost) {
            Unregister(id);
        }
    }

    std::atomic<std::chrono::milliseconds> m_hangLimit{HangLimit};
    std::atomic<std::chrono::milliseconds> m_answerWait{AnswerWait};
    mutable std::mutex m_mutex; // guards the members below
    std::map<LONG, Client> m_clients;
    LONG m_lastClient = 0;
    ULONG m_lastId = 0;
    std::vector<std::shared_ptr<ClientQueue>> m_ended; // unregistered; their threads may still be in a call
};
} // namespace lx

#endif
