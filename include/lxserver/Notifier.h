// SPDX-License-Identifier: MIT
//
// The clients of a server, and the notifications that they get: with rising ids, each client on a thread of its own, or
// all on the sender's.
//
// Ownership  A client's callback is kept until the client unregisters, is gone, hangs, or the notifier is shut down.
// Threading  Everything may be called from any thread. Send must not be called with a lock held that answers to the
//            client's questions need. m_mutex guards everything; it is not held while a callback is called, copied or
//            released. A client's queue has a lock of its own, taken after m_mutex.
// Errors     std::bad_alloc.
#ifndef LXSERVER_NOTIFIER_H
#define LXSERVER_NOTIFIER_H

#include <lxserver/ClientQueue.h>

#include <map>
#include <vector>

namespace lx {
/// The data type of notifications about the configuration.
inline const Text CfcSpecific = OLESTR("cfc_specific");

/// A client, as it registered.
struct ClientFacts {
    LONG id = 0;
    Text computer;
    ULONG process = 0;
    std::map<Text, ULONG> advices; ///< what it asked for, by data type
};

class Notifier {
public:
    struct Notification {
        Text dataId;
        Text dataType = CfcSpecific;
        LONG leaveOut = 0; ///< the client whose own change it is; 0 for none
        ULONG id = 0;      ///< 0: the next one
    };
    /// How clients are called.
    enum class Way {
        Waiting, ///< each on its thread; the answers are waited for
        Posted,  ///< each on its thread
        Here     ///< one after the other on the calling thread
    };
    /// What came of a notification.
    struct Outcome {
        ULONG id = 0;
        int clients = 0;       ///< that have answered
        HRESULT result = S_OK; ///< the first answer other than S_OK
    };

    static constexpr std::chrono::milliseconds AnswerWait{2000};  ///< that a sender spends on clients at most
    static constexpr std::chrono::milliseconds HangLimit{60'000}; ///< for one call; then the client is dropped
    static constexpr std::chrono::milliseconds EndWait{5000};     ///< at the end, for calls under way
    static constexpr ULONG AdvicesOfChanges = 0x100;

    Notifier() = default;
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;
    ~Notifier() { Shutdown(); }

    /// Sends a notification to every client that asked for its data type. Waits for the answers, but not longer than
    /// AnswerWait, and not at all for a client that is busy or was slow the last time.
    /// @param leaveOut  the client whose own change it is; 0 for none
    /// @return          the notification's id
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
            const std::lock_guard lock(m_mutex); // so that each client gets them in the order of their ids
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

    /// The clients that are not gone.
    std::vector<ClientFacts> ListClients() const {
        std::vector<ClientFacts> clients;
        const std::lock_guard lock(m_mutex);
        for (const auto& [id, client] : m_clients) {
            if (!client.queue->IsGone()) { clients.push_back(client.facts); }
        }
        return clients;
    }

    /// Tells every client that the server is about to end.
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
    /// Asks every client that has nothing to do whether it still lives, and drops those that do not.
    void CheckClients(Way way = Way::Posted) {
        for (const auto& [client, queue] : AllQueues()) {
            const auto call = [](ILXCallbackUpdate& callback) { return callback.CheckCallbackValid(); };
            if (way == Way::Here) {
                queue->CallHere(call);
            } else if (queue->WaitUntilIdle({})) { // no second question before the first is answered
                queue->Post(call);
            }
        }
        DropLostClients();
    }
    /// Waits until nothing is under way or waits for any client; false when it does not come to that in time.
    bool WaitUntilIdle(ClientQueue::Clock::time_point until) const {
        const auto queues = AllQueues();
        return std::all_of(queues.begin(), queues.end(),
                           [until](const auto& entry) { return entry.second->WaitUntilIdle(until); });
    }
    /// How long a sender waits for clients at most; AnswerWait at first.
    void SetAnswerWait(std::chrono::milliseconds wait) noexcept { m_answerWait = wait; }
    /// How long one call may take before its client is dropped.
    void SetHangLimit(std::chrono::milliseconds limit) noexcept { m_hangLimit = limit; }
    /// Releases all callbacks. Nobody is called any more; a client that never answers is left in its call.
    void Shutdown() {
        std::map<LONG, Client> clients; // released with no lock held
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

    /// @return  the client's id
    LONG Register(ILXCallbackUpdate* callback, TextView computer = {}, ULONG process = 0) {
        auto queue = ClientQueue::Create(callback);
        const std::lock_guard lock(m_mutex);
        const LONG id = ++m_lastClient;
        m_clients.emplace(id, Client{{id, Text(computer), process, {}}, std::move(queue)});
        return id;
    }
    /// False for a client that there is not.
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
    /// Asks for the notifications of a data type, or asks no more; false for a client that there is not.
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
        const auto texts = std::make_shared<const std::pair<Text, Text>>(dataId, dataType); // for all clients
        return [texts, id](ILXCallbackUpdate& callback) {
            return Guarded([&] {
                const std::unique_ptr<OLECHAR, void (*)(BSTR)> idText(NewBstr(texts->first), FreeBstr);
                const std::unique_ptr<OLECHAR, void (*)(BSTR)> typeText(NewBstr(texts->second), FreeBstr);
                return callback.DataObjectChanged(idText.get(), typeText.get(), AdvicesOfChanges, id, 0, nullptr);
            });
        };
    }
    static void FreeBstr(BSTR text) { SysFreeString(text); }

    /// Called under the lock, as is PostToEach.
    std::vector<std::shared_ptr<ClientQueue>> Receivers(const Notification& notification) const {
        std::vector<std::shared_ptr<ClientQueue>> receivers;
        for (const auto& [id, client] : m_clients) {
            if (id != notification.leaveOut && client.facts.advices.contains(notification.dataType)) {
                receivers.push_back(client.queue);
            }
        }
        return receivers;
    }
    /// The answers are those of the clients that are worth waiting for.
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
    mutable std::mutex m_mutex; // guards the following
    std::map<LONG, Client> m_clients;
    LONG m_lastClient = 0;
    ULONG m_lastId = 0;
    std::vector<std::shared_ptr<ClientQueue>> m_ended; // whose threads may still be in a call
};
} // namespace lx

#endif
