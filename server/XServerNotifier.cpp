// SPDX-License-Identifier: MIT
#include "XServerNotifier.h"

#include "XLXComBSTR.h"

#include <algorithm>
#include <stdexcept>

namespace
{
constexpr ULONG AdvicesOfChanges = 0x100;
const HRESULT ServerUnavailable = static_cast<HRESULT>(0x800706BA); // the client's process is gone
} // namespace

XNotification XServerNotifier::Send(const XText& dataId, const XText& dataType, ULONG id, XNotify notify,
                                    LONG leaveOut)
{
    if (notify == XNotify::No)
    {
        return {};
    }
    std::unique_lock lock(m_mutex);
    m_lastId = id != 0 ? id : m_lastId + 1;
    Job job{dataId, dataType, m_lastId, leaveOut};
    if (notify == XNotify::Here)
    {
        lock.unlock();
        return Deliver(job);
    }
    if (!m_thread.joinable() && !m_end)
    {
        m_thread = std::thread([this] { RunThread(); });
    }
    m_queue.push_back(std::move(job));
    m_changed.notify_all();
    return {m_lastId, 0, S_OK};
}

std::vector<XServerNotifier::Client> XServerNotifier::Receivers(const XLXText& dataType, LONG leaveOut) const
{
    std::vector<Client> receivers;
    const std::lock_guard lock(m_mutex);
    for (const auto& [id, client] : m_clients)
    {
        const auto& types = client.facts.dataTypes;
        if (id != leaveOut && std::find(types.begin(), types.end(), dataType) != types.end())
        {
            receivers.push_back(client);
        }
    }
    return receivers;
}

XNotification XServerNotifier::Deliver(const Job& job)
{
    XNotification sent{job.id, 0, S_OK};
    const XLXComBSTR dataId(job.dataId);
    const XLXComBSTR dataType(job.dataType);
    for (const Client& client : Receivers(job.dataType, job.leaveOut))
    {
        const HRESULT result = client.callback->DataObjectChanged(dataId.Get(), dataType.Get(),
                                                                  AdvicesOfChanges, job.id, 0, nullptr);
        ++sent.clients;
        if (sent.result == S_OK)
        {
            sent.result = result;
        }
        if (result == ServerUnavailable)
        {
            Unregister(client.facts.id);
        }
    }
    return sent;
}

void XServerNotifier::RunThread()
{
    std::unique_lock lock(m_mutex);
    for (;;)
    {
        m_changed.wait(lock, [this] { return m_end || !m_queue.empty(); });
        if (m_end)
        {
            return;
        }
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

void XServerNotifier::Flush(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_for(lock, limit, [this] { return m_queue.empty() && !m_busy; }))
    {
        throw std::runtime_error("the notifier thread makes no end");
    }
}

ULONG XServerNotifier::LastId() const
{
    const std::lock_guard lock(m_mutex);
    return m_lastId;
}

void XServerNotifier::AnnounceTermination()
{
    std::vector<Client> clients;
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& [id, client] : m_clients)
        {
            clients.push_back(client);
        }
    }
    for (const Client& client : clients)
    {
        client.callback->ServerIsTerminating();
    }
}

void XServerNotifier::Shutdown()
{
    std::map<LONG, Client> clients; // released with no lock held
    {
        const std::lock_guard lock(m_mutex);
        m_end = true;
        m_queue.clear();
        m_clients.swap(clients);
        m_changed.notify_all();
    }
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

LONG XServerNotifier::Register(XLXTextView computer, ULONG process, ILXCallbackUpdate* callback)
{
    Client client;
    client.callback = callback;
    client.facts.computer = computer;
    client.facts.process = process;
    const std::lock_guard lock(m_mutex);
    client.facts.id = ++m_lastClient;
    m_clients.emplace(m_lastClient, std::move(client));
    return m_lastClient;
}

bool XServerNotifier::Unregister(LONG client)
{
    Client removed; // released with no lock held
    const std::lock_guard lock(m_mutex);
    const auto found = m_clients.find(client);
    if (found == m_clients.end())
    {
        return false;
    }
    std::swap(removed, found->second);
    m_clients.erase(found);
    return true;
}

bool XServerNotifier::Enable(LONG client, XLXTextView dataType, bool enable, ULONG advices)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_clients.find(client);
    if (found == m_clients.end())
    {
        return false;
    }
    XRegisteredClient& facts = found->second.facts;
    std::erase(facts.dataTypes, dataType);
    facts.advices.erase(XLXText(dataType));
    if (enable)
    {
        facts.dataTypes.emplace_back(dataType);
        facts.advices.emplace(dataType, advices);
    }
    return true;
}

std::vector<XRegisteredClient> XServerNotifier::Clients() const
{
    std::vector<XRegisteredClient> clients;
    const std::lock_guard lock(m_mutex);
    for (const auto& [id, client] : m_clients)
    {
        clients.push_back(client.facts);
    }
    return clients;
}

void XServerNotifier::Forwarded(XForwardedNotification notification)
{
    const std::lock_guard lock(m_mutex);
    m_forwarded.push_back(std::move(notification));
}

std::vector<XForwardedNotification> XServerNotifier::ForwardedNotifications() const
{
    const std::lock_guard lock(m_mutex);
    return m_forwarded;
}
