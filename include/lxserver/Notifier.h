// SPDX-License-Identifier: MIT
//
// The clients of a server, and the notifications that they get: with rising ids, each client on a thread of its own.
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

class Notifier {
public:
    static constexpr std::chrono::milliseconds AnswerWait{2000}; ///< that a sender spends on clients at most
    static constexpr std::chrono::milliseconds HangLimit{
        60'000};                                              ///< that one call may take; then the client is dropped
    static constexpr std::chrono::milliseconds EndWait{5000}; ///< at the end, for calls under way
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
        DropLostClients();
        std::vector<ClientQueue::Answer> answers;
        ULONG id = 0;
        {
            const std::lock_guard lock(m_mutex); // so that each client gets them in the order of their ids
            id = ++m_lastId;
            const ClientQueue::Call everything = CallOf(OLESTR("objects//0/1"), CfcSpecific, id);
            for (const auto& [client, facts] : m_clients) {
                const auto& types = facts.dataTypes;
                if (client == leaveOut || std::find(types.begin(), types.end(), dataType) == types.end()) { continue; }
                const bool wait = facts.queue->IsReady();
                auto answer = facts.queue->Post(CallOf(dataId, dataType, id), everything);
                if (wait) { answers.push_back(std::move(answer)); }
            }
        }
        Await(answers);
        return id;
    }

    ULONG LastId() const {
        const std::lock_guard lock(m_mutex);
        return m_lastId;
    }
    std::size_t Clients() const {
        const std::lock_guard lock(m_mutex);
        return m_clients.size();
    }

    /// Tells every client that the server is about to end.
    void AnnounceTermination() {
        std::vector<ClientQueue::Answer> answers;
        for (const auto& [client, queue] : AllQueues()) {
            answers.push_back(queue->Post([](ILXCallbackUpdate& callback) { return callback.ServerIsTerminating(); }));
        }
        Await(answers);
    }
    /// Asks every client that has nothing to do whether it still lives, and drops those that do not.
    void CheckClients() {
        for (const auto& [client, queue] : AllQueues()) {
            if (queue->WaitUntilIdle({})) { // no second question before the first is answered
                queue->Post([](ILXCallbackUpdate& callback) { return callback.CheckCallbackValid(); });
            }
        }
        DropLostClients();
    }
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
    LONG Register(ILXCallbackUpdate* callback) {
        auto queue = ClientQueue::Create(callback);
        const std::lock_guard lock(m_mutex);
        m_clients[++m_lastClient].queue = std::move(queue);
        return m_lastClient;
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
    bool Enable(LONG client, TextView dataType, bool enable) {
        const std::lock_guard lock(m_mutex);
        const auto found = m_clients.find(client);
        if (found == m_clients.end()) { return false; }
        std::erase(found->second.dataTypes, dataType);
        if (enable) { found->second.dataTypes.emplace_back(dataType); }
        return true;
    }
    bool IsEnabled(LONG client, TextView dataType) const {
        const std::lock_guard lock(m_mutex);
        const auto found = m_clients.find(client);
        return found != m_clients.end() && std::find(found->second.dataTypes.begin(), found->second.dataTypes.end(),
                                                     dataType) != found->second.dataTypes.end();
    }

private:
    struct Client {
        std::vector<Text> dataTypes; // that it asked for
        std::shared_ptr<ClientQueue> queue;
    };

    static ClientQueue::Call CallOf(Text dataId, Text dataType, ULONG id) {
        return [dataId = std::move(dataId), dataType = std::move(dataType), id](ILXCallbackUpdate& callback) {
            return Guarded([&] {
                const std::unique_ptr<OLECHAR, void (*)(BSTR)> idText(NewBstr(dataId), FreeBstr);
                const std::unique_ptr<OLECHAR, void (*)(BSTR)> typeText(NewBstr(dataType), FreeBstr);
                return callback.DataObjectChanged(idText.get(), typeText.get(), AdvicesOfChanges, id, 0, nullptr);
            });
        };
    }
    static void FreeBstr(BSTR text) { SysFreeString(text); }
    static void Await(std::vector<ClientQueue::Answer>& answers) {
        const auto until = ClientQueue::Clock::now() + AnswerWait;
        for (ClientQueue::Answer& answer : answers) {
            answer.wait_until(until);
        }
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
        for (const auto& [id, queue] : AllQueues()) {
            if (queue->IsGone() || queue->IsHanging(m_hangLimit)) { Unregister(id); }
        }
    }

    std::atomic<std::chrono::milliseconds> m_hangLimit{HangLimit};
    mutable std::mutex m_mutex; // guards the following
    std::map<LONG, Client> m_clients;
    LONG m_lastClient = 0;
    ULONG m_lastId = 0;
    std::vector<std::shared_ptr<ClientQueue>> m_ended; // whose threads may still be in a call
};
} // namespace lx

#endif
