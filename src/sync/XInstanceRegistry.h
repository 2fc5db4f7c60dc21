// SPDX-License-Identifier: MIT
#ifndef XINSTANCEREGISTRY_H
#define XINSTANCEREGISTRY_H

#include "XLeafMutex.h"

#include <unordered_set>

/// The live instances of a class. It tells whether a pointer from outside is one of them without dereferencing it.
template <class T> class XInstanceRegistry {
public:
    void Add(const T* instance) {
        const XLeafLock lock(m_mutex);
        m_instances.insert(instance);
    }
    void Remove(const T* instance) noexcept {
        const XLeafLock lock(m_mutex);
        m_instances.erase(instance);
    }
    bool Contains(const T* instance) const noexcept {
        const XLeafLock lock(m_mutex);
        return m_instances.count(instance) != 0;
    }

private:
    mutable XLeafMutex m_mutex;
    std::unordered_set<const T*> m_instances LX_GUARDED_BY(m_mutex);
};

#endif
