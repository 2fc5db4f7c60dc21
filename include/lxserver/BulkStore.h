// SPDX-License-Identifier: MIT
//
// Bulk arrays that are built once for a state of the configuration, and copies of them for who asks: many clients that
// start at once, or read again what a notification made stale, cost one array.
//
// Ownership  A store owns its arrays. Copies are the caller's.
// Threading  Everything may be called from any thread. Who asks for what is just being built waits for it; nobody else
//            does. No lock is held while an array is copied, which only reads it.
// Errors     std::bad_alloc, and what a build raises.
#ifndef LXSERVER_BULKSTORE_H
#define LXSERVER_BULKSTORE_H

#include <lxserver/Language.h>

#include <LXConfigFactoryCache.h>

#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

namespace lx {
/// Only for arrays without objects: a copy has the same ones, and who owns the store would keep them.
/// @tparam State  of the configuration; equal as long as nothing changed
/// @tparam Key    which array; with operator <
template <class State, class Key> class BulkStore {
public:
    static constexpr std::size_t MostKept = 256; ///< arrays; with more all are dropped

    /// A copy of the array of that key; null when there is nothing to deliver.
    /// @param now    the state that the array must have, or a newer one
    /// @param build  std::pair<State, SAFEARRAY*> build(): the array, and the state that it is of
    template <class Build> SAFEARRAY* CopyOf(const Key& key, const State& now, Build&& build) {
        const std::shared_ptr<Entry> entry = EntryOf(key, now);
        std::shared_ptr<SAFEARRAY> array;
        {
            const std::lock_guard building(entry->mutex);
            if (!entry->isBuilt) {
                auto [state, built] = build();
                entry->array = std::shared_ptr<SAFEARRAY>(built, Destroy);
                entry->isBuilt = state == now; // one of a newer state is for who asks now
            }
            array = entry->array;
        }
        SAFEARRAY* copy = nullptr;
        if (array != nullptr && FAILED(SafeArrayCopy(array.get(), &copy))) { throw std::bad_alloc(); }
        return copy;
    }

private:
    struct Entry {
        std::mutex mutex; // guards the rest; held while the array is built
        bool isBuilt = false;
        std::shared_ptr<SAFEARRAY> array;
    };
    static void Destroy(SAFEARRAY* array) {
        if (array != nullptr) { SafeArrayDestroy(array); }
    }

    std::shared_ptr<Entry> EntryOf(const Key& key, const State& now) {
        std::map<Key, std::shared_ptr<Entry>> dropped; // with no lock held
        const std::lock_guard lock(m_mutex);
        if (!(m_state == now) || m_entries.size() >= MostKept) { m_entries.swap(dropped); }
        m_state = now;
        std::shared_ptr<Entry>& entry = m_entries[key];
        if (entry == nullptr) { entry = std::make_shared<Entry>(); }
        return entry;
    }

    std::mutex m_mutex; // guards the following
    State m_state{};
    std::map<Key, std::shared_ptr<Entry>> m_entries;
};
} // namespace lx

#endif
