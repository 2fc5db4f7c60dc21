// SPDX-License-Identifier: MIT
#include "XServerNotifier.h"

#include "XLXComBSTR.h"

#include <algorithm>
#include <stdexcept>

namespace {
constexpr ULONG AdvicesOfChanges = 0x100;
constexpr std::chrono::seconds LimitOfEnd{5}; // for clients that are still in a call at the end

HRESULT Notify(ILXCallbackUpdate& callback, const XLXText& dataId, const XLXText& dataType, ULONG id) {
    return callback.DataObjectChanged(XLXComBSTR(dataId).Get(), XLXComBSTR(dataType).Get(), AdvicesOfChanges, id, 0,
                                      nullptr);
}
} // namespace

XNotification XServerNotifier::Send(const XText& dataId, const XText& dataType, ULONG id, XNotify notify,
                                    LONG leaveOut) {
    if (notify == XNotify::No) { return {}; }
    ForgetClientsThatAreGone();
    std::unique_lock lock(m_mutex);
    m_lastId = id != 0 ? id : m_lastId + 1;
    Job job{dataId, dataType, m_lastId, leaveOut};
    if (m_wait) {
        // Under the lock, so that each client gets the notifications in the order of their ids.
        Answers answers = PostToEach(Receivers(job), [job](ILXCallbackUpdate& callback) {
            return Notify(callback, job.dataId, job.dataType, job.id);
        });
        lock.unlock();
        return notify == XNotify::Here ? Await(job.id, std::move(answers)) : XNotification{job.id, 0, S_OK};
    }
    if (notify == XNotify::Here) {
        lock.unlock();
        return Deliver(job);
    }
    if (!m_thread.joinable() && !m_end) {
        m_thread = std::thread([this] { RunThread(); });
    }
    m_queue.push_back(std::move(job));
    m_changed.notify_all();
    return {m_lastId, 0, S_OK};
}

/// Who asked for that data type; called under the lock.
std::vector<XServerNotifier::Client> XServerNotifier::Receivers(const Job& job) const {
    std::vector<Client> receivers;
    for (const auto& [id, client] : m_clients) {
        const auto& types = client.facts.dataTypes;
        if (id != job.leaveOut && std::find(types.begin(), types.end(), job.dataType) != types.end()) {
            receivers.push_back(client);
        }
    }
    return receivers;
}

std::vector<XServerNotifier::Client> XServerNotifier::AllClients() const {
    std::vector<Client> clients;
    const std::lock_guard lock(m_mutex);
    for (const auto& [id, client] : m_clients) {
        clients.push_back(client);
    }
    return clients;
}

/// Gives a call to every client's thread. The answers are those of the clients that are worth waiting for.
XServerNotifier::Answers XServerNotifier::PostToEach(const std::vector<Client>& clients,
                                                     const lx::ClientQueue::Call& call) const {
    Answers answers;
    for (const Client& client : clients) {
        const bool wait = client.queue->IsReady();
        lx::ClientQueue::Answer answer = client.queue->Post(call);
        if (wait) { answers.push_back(std::move(answer)); }
    }
    return answers;
}

XNotification XServerNotifier::Await(ULONG id, Answers answers) const {
    XNotification sent{id, 0, S_OK};
    const auto until = std::chrono::steady_clock::now() + *m_wait;
    for (lx::ClientQueue::Answer& answer : answers) {
        if (answer.wait_until(until) != std::future_status::ready) { continue; }
        if (const std::optional<HRESULT> result = answer.get()) {
            ++sent.clients;
            sent.result = sent.result == S_OK ? *result : sent.result;
        }
    }
    return sent;
}

XNotification XServerNotifier::Deliver(const Job& job) {
    std::unique_lock lock(m_mutex);
    const std::vector<Client> receivers = Receivers(job);
    lock.unlock();
    XNotification sent{job.id, 0, S_OK};
    for (const Client& client : receivers) {
        const HRESULT result = Notify(*client.callback, job.dataId, job.dataType, job.id);
        ++sent.clients;
        if (sent.result == S_OK) { sent.result = result; }
        if (lx::IsGone(result)) { Unregister(client.facts.id); }
    }
    return sent;
}

void XServerNotifier::RunThread() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_end || !m_queue.empty(); });
        if (m_end) { return; }
        const Job job = std::move(m_queue.front());
        m_queue.pop_front();
        m_busy = true;
        lock.unlock();
        Deliver(job);
        lock.lock();
        m_busy = false;
        m_changed.notify_all();
    }
}

void XServerNotifier::Flush(std::chrono::milliseconds limit) {
    const auto until = std::chrono::steady_clock::now() + limit;
    std::unique_lock lock(m_mutex);
    bool idle = m_changed.wait_until(lock, until, [this] { return m_queue.empty() && !m_busy; });
    lock.unlock();
    for (const Client& client : AllClients()) {
        idle = (client.queue == nullptr || client.queue->WaitUntilIdle(until)) && idle;
    }
    if (!idle) { throw std::runtime_error("the notifier thread makes no end"); }
}

ULONG XServerNotifier::LastId() const {
    const std::lock_guard lock(m_mutex);
    return m_lastId;
}

void XServerNotifier::AnnounceTermination() {
    const std::vector<Client> clients = AllClients();
    if (m_wait) {
        Await(0, PostToEach(clients, [](ILXCallbackUpdate& callback) { return callback.ServerIsTerminating(); }));
        return;
    }
    for (const Client& client : clients) {
        client.callback->ServerIsTerminating();
    }
}

void XServerNotifier::CheckClients() {
    const auto check = [](ILXCallbackUpdate& callback) { return callback.CheckCallbackValid(); };
    for (const Client& client : AllClients()) {
        if (client.queue == nullptr) {
            if (lx::IsGone(check(*client.callback))) { Unregister(client.facts.id); }
        } else if (client.queue->WaitUntilIdle({})) // no second question before the first is answered
        {
            client.queue->Post(check);
        }
    }
    ForgetClientsThatAreGone();
}

void XServerNotifier::ForgetClientsThatAreGone() {
    for (const Client& client : AllClients()) {
        if (client.queue != nullptr && client.queue->IsGone()) { Unregister(client.facts.id); }
    }
}

void XServerNotifier::CallEachClientOnItsOwnThread(std::chrono::milliseconds wait) {
    const std::lock_guard lock(m_mutex);
    m_wait = wait;
}

void XServerNotifier::Shutdown() {
    std::map<LONG, Client> clients; // released with no lock held
    std::vector<std::shared_ptr<lx::ClientQueue>> queues;
    {
        const std::lock_guard lock(m_mutex);
        m_end = true;
        m_queue.clear();
        m_clients.swap(clients);
        m_ended.swap(queues);
        m_changed.notify_all();
    }
    if (m_thread.joinable()) { m_thread.join(); }
    for (const auto& [id, client] : clients) {
        if (client.queue != nullptr) {
            client.queue->End();
            queues.push_back(client.queue);
        }
    }
    const auto until = std::chrono::steady_clock::now() + LimitOfEnd;
    for (const auto& queue : queues) {
        queue->WaitUntilEnded(until); // a client that never answers is left in its call
    }
}

LONG XServerNotifier::Register(XLXTextView computer, ULONG process, ILXCallbackUpdate* callback) {
    Client client;
    client.facts.computer = computer;
    client.facts.process = process;
    const std::lock_guard lock(m_mutex);
    if (m_wait) {
        client.queue = lx::ClientQueue::Create(callback);
    } else {
        client.callback = callback;
    }
    client.facts.id = ++m_lastClient;
    m_clients.emplace(m_lastClient, std::move(client));
    return m_lastClient;
}

bool XServerNotifier::Unregister(LONG client) {
    Client removed; // released with no lock held
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_clients.find(client);
        if (found == m_clients.end()) { return false; }
        std::swap(removed, found->second);
        m_clients.erase(found);
        std::erase_if(m_ended, [](const auto& queue) { return queue->WaitUntilEnded({}); });
        if (removed.queue != nullptr) { m_ended.push_back(removed.queue); }
    }
    if (removed.queue != nullptr) { removed.queue->End(); }
    return true;
}

bool XServerNotifier::Enable(LONG client, XLXTextView dataType, bool enable, ULONG advices) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_clients.find(client);
    if (found == m_clients.end()) { return false; }
    XRegisteredClient& facts = found->second.facts;
    std::erase(facts.dataTypes, dataType);
    facts.advices.erase(XLXText(dataType));
    if (enable) {
        facts.dataTypes.emplace_back(dataType);
        facts.advices.emplace(dataType, advices);
    }
    return true;
}

std::vector<XRegisteredClient> XServerNotifier::Clients() const {
    std::vector<XRegisteredClient> clients;
    const std::lock_guard lock(m_mutex);
    for (const auto& [id, client] : m_clients) {
        if (client.queue == nullptr || !client.queue->IsGone()) { clients.push_back(client.facts); }
    }
    return clients;
}

void XServerNotifier::Forwarded(XForwardedNotification notification) {
    const std::lock_guard lock(m_mutex);
    m_forwarded.push_back(std::move(notification));
}

std::vector<XForwardedNotification> XServerNotifier::ForwardedNotifications() const {
    const std::lock_guard lock(m_mutex);
    return m_forwarded;
}
