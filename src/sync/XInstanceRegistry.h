// SPDX-License-Identifier: MIT
#ifndef XINSTANCEREGISTRY_H
#define XINSTANCEREGISTRY_H

#include "XLXComPtr.h"
#include "XLeafMutex.h"

#include <unordered_set>

/// The live instances of a class, by one of its interfaces.
template <class Interface> class XInstanceRegistry {
public:
    void Add(const Interface* instance) {
        const XLeafLock lock(m_mutex);
        m_instances.insert(instance);
    }
    void Remove(const Interface* instance) noexcept {
        const XLeafLock lock(m_mutex);
        m_instances.erase(instance);
    }
    /// The instance that an interface pointer from outside refers to; null if it is none of these.
    template <class Class> XLXComPtr<Class> Find(Interface* face) const {
        const auto own = XLXComPtr<Interface>(face).template As<Interface>();
        return Contains(own.Get()) ? XLXComPtr<Class>(static_cast<Class*>(own.Get())) : nullptr;
    }

private:
    // Compares addresses, because a foreign object must not be taken for an instance.
    bool Contains(const Interface* instance) const noexcept {
        const XLeafLock lock(m_mutex);
        return m_instances.count(instance) != 0;
    }

    mutable XLeafMutex m_mutex;
    std::unordered_set<const Interface*> m_instances LX_GUARDED_BY(m_mutex);
};

#endif
