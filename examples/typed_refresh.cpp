// SPDX-License-Identifier: MIT
// A "window" that shows a value and is refreshed when the server changes it. It stands for any loop of events: the
// function that is told of changes only marks the window as stale and wakes the loop, which reads again.
#include "minimal_server.h"

#include <condition_variable>
#include <iostream>
#include <lxcfc.hpp>
#include <mutex>

class Window {
public:
    /// Comes on the server's threads. (With a real window: PostMessage, unless one is on its way already.)
    void Invalidate() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isStale = true;
        m_wake.notify_one();
    }
    /// The next turn of the loop: waits until there is something to show, and reads it.
    void Show(const lxcfc::Attribute& attribute) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wake.wait(lock, [this] { return m_isStale; });
        m_isStale = false; // before it reads: what changes meanwhile is shown in the next turn
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

        Window window; // before the cache, which ends first
        const lxcfc::Cache cache(server, update, [&window](const lxcfc::Change& change) {
            if (change.Concerns(LXUM_TYPES | LXUM_ATTRIBUTES)) { window.Invalidate(); }
        });
        const lxcfc::Attribute shown = cache.Type(L"Pump").Attribute(L"RatedFlow"); // held all along
        window.Show(shown);
        // Somebody changes the configuration.
        lxcfc::ConfigFactory(server).Type(L"Pump").Attribute(L"RatedFlow").Set(lx::Unit, L"l/s");
        window.Show(shown);
        return 0;
    } catch (const lxcfc::Error& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
