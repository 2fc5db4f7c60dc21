// SPDX-License-Identifier: MIT
//
// A weak link to a counted object. It may outlive the object.
#ifndef XWEAKLINK_H
#define XWEAKLINK_H

#include "XLXComPtr.h"
#include "XLeafMutex.h"

#include <memory>

/// @tparam T  has Release() and bool TryAddRef() noexcept, which fails once the last reference is gone
template <class T> class XWeakLink {
    struct Block {
        explicit Block(T* object) noexcept : target(object) {}
        XLeafMutex mutex;
        T* target LX_GUARDED_BY(mutex);
    };

public:
    XWeakLink() noexcept = default;

    /// The link that an object hands out. The object calls Clear in its destructor.
    static XWeakLink To(T* target) {
        XWeakLink link;
        link.m_block = std::make_shared<Block>(target);
        return link;
    }

    /// A counted reference to the object; null once its last reference is gone.
    XLXComPtr<T> Lock() const noexcept {
        if (m_block == nullptr) { return {}; }
        const XLeafLock lock(m_block->mutex);
        T* const target = m_block->target;
        return LXAttach(target != nullptr && target->TryAddRef() ? target : nullptr);
    }

    void Clear() noexcept {
        if (m_block != nullptr) {
            const XLeafLock lock(m_block->mutex);
            m_block->target = nullptr;
        }
    }

private:
    std::shared_ptr<Block> m_block;
};

#endif
