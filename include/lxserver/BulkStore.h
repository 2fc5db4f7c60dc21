// SPDX-License-Identifier: MIT
//
// A store that builds each bulk array once per state of the configuration and returns copies. So an array is built once
// for many clients that start at the same time or re-read after a notification.
//
// Ownership  The store owns its arrays; the caller owns the copies.
// Threading  Thread-safe. A caller waits only while the array that it requests is being built. No lock is held while an
//            array is copied.
// Errors     std::bad_alloc, and exceptions of the build function.
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
/// Only for arrays without interface pointers: the store would keep the objects alive, and all copies would share them.
/// @tparam State  identifies a state of the configuration; two equal values mean that nothing changed in between
/// @tparam Key    identifies an array; needs operator <
template <class State, class Key> class BulkStore {
public:
    static constexpr std::size_t MostKept = 256; ///< limit on stored arrays; reaching it drops all of them

    /// A copy of the array for a key; null if build returned null.
    /// @param now    the state that the array must have; a newer one is accepted too
    /// @param build  std::pair<State, SAFEARRAY*> build(): the array, and the state that it was built from
    template <class Build> SAFEARRAY* CopyOf(const Key& key, const State& now, Build&& build) {
        const std::shared_ptr<Entry> entry = EntryOf(key, now);
        std::shared_ptr<SAFEARRAY> array;
        {
            const std::lock_guard building(entry->mutex);
            if (!entry->isBuilt) {
                auto [state, built] = build();
                entry->array = std::shared_ptr<SAFEARRAY>(built, Destroy);
                entry->isBuilt = state == now; // an array of a newer state is returned, but rebuilt for the next caller
            }
            array = entry->array;
        }
        SAFEARRAY* copy = nullptr;
        if (array != nullptr && FAILED(SafeArrayCopy(array.get(), &copy))) { throw std::bad_alloc(); }
        return copy;
    }

private:
    struct Entry {
        std::mutex mutex; // guards the members below; held while the array is built
        bool isBuilt = false;
        std::shared_ptr<SAFEARRAY> array;
    };
    static void Destroy(SAFEARRAY* array) {
        if (array != nullptr) { SafeArrayDestroy(array); }
    }

    std::shared_ptr<Entry> EntryOf(const Key& key, const State& now) {
        std::map<Key, std::shared_ptr<Entry>> dropped; // destroyed after unlocking, like the former state
        State state = now;
        const std::lock_guard lock(m_mutex);
        if (!(m_state == state) || m_entries.size() >= MostKept) { m_entries.swap(dropped); }
        std::swap(m_state, state);
        std::shared_ptr<Entry>& entry = m_entries[key];
        if (entry == nullptr) { entry = std::make_shared<Entry>(); }
        return entry;
    }

    std::mutex m_mutex; // guards the members below
    State m_state{};
    std::map<Key, std::shared_ptr<Entry>> m_entries;
};
} // namespace lx

#endif
