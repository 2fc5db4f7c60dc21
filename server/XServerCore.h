// SPDX-License-Identifier: MIT
//
// The state that all objects of one sample server share: the model, the monitor, the clients and the live objects.
//
// Locks      m_modelMutex guards the model (shared for reads), m_tableMutex the table of objects that exist once per
//            key. The notifier and the kept arrays have their own locks. None is held while foreign code is called.
//            Lock order: kept array, model, table.
#ifndef XSERVERCORE_H
#define XSERVERCORE_H

#include "XCallMonitor.h"
#include "XServerNotifier.h"

#include <lxserver/BulkStore.h>

#include <atomic>
#include <shared_mutex>
#include <unordered_map>

class XServerCore;
using XServerCorePtr = std::shared_ptr<XServerCore>;

/// Identifies a bulk array: the components of a type, the relations, the named types, or all types.
struct XBulkKey {
    const void* of = nullptr;                  ///< the type, or the model's relations
    std::optional<std::vector<XLXText>> names; ///< of types
    bool withBases = false;
    LONG mode = 0;

    bool operator<(const XBulkKey& other) const {
        return std::tie(of, names, withBases, mode) < std::tie(other.of, other.names, other.withBases, other.mode);
    }
};

class XServerCore : public std::enable_shared_from_this<XServerCore> {
public:
    explicit XServerCore(XServerModel model) : m_model(std::move(model)) {}

    /// Reads the model. The result of the function must not refer to the model, except to shared elements.
    template <class F> auto Read(F&& read) const {
        const std::shared_lock lock(m_modelMutex);
        return read(m_model);
    }

    template <class F> auto Change(F&& change) {
        const std::unique_lock lock(m_modelMutex);
        ++m_changes;
        return change(m_model);
    }

    /// The number of changes of the model. Inside Read it belongs to the model that is read.
    std::uint64_t Changes() const noexcept { return m_changes; }
    /// Bulk arrays without objects, for a number of changes. Call its methods without the model's lock.
    lx::BulkStore<std::uint64_t, XBulkKey>& KeptArrays() noexcept { return m_keptArrays; }

    XCallMonitor& Monitor() noexcept { return m_monitor; }
    XServerNotifier& Notifier() noexcept { return m_notifier; }

    /// The live object for a key, created if there is none. The key is an address in the model or in the server.
    template <class T, class F> XLXComPtr<T> ObjectFor(const void* key, F&& make) {
        const std::lock_guard lock(m_tableMutex);
        if (const auto found = m_objects.find(key); found != m_objects.end()) {
            if (auto* const object = static_cast<T*>(found->second); object->AddRefIfAlive()) {
                return LXAttach(object);
            }
        }
        XLXComPtr<T> object = make();
        m_objects[key] = object.Get();
        return object;
    }

    /// Called by such an object's destructor.
    void Forget(const void* key, const void* object) {
        const std::lock_guard lock(m_tableMutex);
        if (const auto found = m_objects.find(key); found != m_objects.end() && found->second == object) {
            m_objects.erase(found);
        }
    }

    // Their addresses are the keys of the two services.
    const char factoryKey = 0;
    const char dataUpdateKey = 0;

    std::atomic<bool> acceptsForwarded{false};
    std::atomic<bool> refusesBulkReads{false};
    std::atomic<bool> deliversComponentObjects{true};
    std::atomic<int> terminations{0};
    std::atomic<LONG> liveObjects{0};
    std::atomic<LONG> references{0};
    static std::atomic<LONG> liveObjectsOfAll;

private:
    XCallMonitor m_monitor;
    XServerNotifier m_notifier;
    mutable std::shared_mutex m_modelMutex;
    XServerModel m_model;                    // guarded by m_modelMutex
    std::atomic<std::uint64_t> m_changes{1}; // incremented under m_modelMutex
    lx::BulkStore<std::uint64_t, XBulkKey> m_keptArrays;
    std::mutex m_tableMutex;
    std::unordered_map<const void*, void*> m_objects; // guarded by m_tableMutex; without references
};

#endif
