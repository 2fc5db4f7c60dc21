// SPDX-License-Identifier: MIT
// A "window" that shows a value and refreshes when the server changes it. It stands for any event loop: the change
// function only marks the window as stale and wakes the loop, which then reads the value again.
#include "minimal_server.h"

#include <condition_variable>
#include <iostream>
#include <lxcfc.hpp>
#include <mutex>

class Window {
public:
    /// Called on the server's threads. (For a real window: PostMessage, unless a message is already queued.)
    void Invalidate() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isStale = true;
        m_wake.notify_one();
    }
    /// One turn of the loop: waits until the window is stale, then reads the value.
    void Show(const lxcfc::Attribute& attribute) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wake.wait(lock, [this] { return m_isStale; });
        m_isStale = false; // before reading: a change during the read causes another turn
        lock.unlock();
        std::cout << attribute.Text<std::string>(lx::Unit) << '\n';
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_isStale = true;
};

int main() {
    try {
        const lxcfc::Apartment apartment;
        lxcfc::Ptr<ILXConfigFactory> server;
        lxcfc::Ptr<ILXDataUpdate> update;
        lxcfc::Check(CreateMinimalServer(server.Put(), update.Put()), "CreateMinimalServer");

        Window window; // declared before the cache, so that the cache ends first
        const lxcfc::Cache cache(server, update, [&window](const lxcfc::Change& change) {
            if (change.Concerns(LXUM_TYPES | LXUM_ATTRIBUTES)) { window.Invalidate(); }
        });
        const lxcfc::Attribute shown = cache.Type(L"Pump").Attribute(L"RatedFlow"); // kept across changes
        window.Show(shown);
        // Change the configuration on the server.
        lxcfc::ConfigFactory(server).Type(L"Pump").Attribute(L"RatedFlow").Set(lx::Unit, L"l/s");
        window.Show(shown);
        return 0;
    } catch (const lxcfc::Error& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
