// SPDX-License-Identifier: MIT
//
// A link to a counted object that does not keep it alive, and that may outlive it.
#ifndef XWEAKLINK_H
#define XWEAKLINK_H

#include "XLXComPtr.h"
#include "XLeafMutex.h"

#include <memory>
#include <mutex>

/// @tparam T  has bool TryAddRef() noexcept, which fails once the last reference is gone, and Release()
template <class T> class XWeakLink {
    struct Block {
        XLeafMutex mutex; // guards target
        T* target;
    };

public:
    XWeakLink() noexcept = default;

    /// A link for an object to hand out; the object calls Clear in its destructor.
    static XWeakLink To(T* target) {
        XWeakLink link;
        link.m_block = std::make_shared<Block>();
        link.m_block->target = target;
        return link;
    }

    /// A counted reference to the object; none once it has begun to go.
    XLXComPtr<T> Lock() const noexcept {
        if (m_block == nullptr) { return {}; }
        const std::lock_guard<XLeafMutex> lock(m_block->mutex);
        T* const target = m_block->target;
        return LXAttach(target != nullptr && target->TryAddRef() ? target : nullptr);
    }

    void Clear() noexcept {
        if (m_block != nullptr) {
            const std::lock_guard<XLeafMutex> lock(m_block->mutex);
            m_block->target = nullptr;
        }
    }

private:
    std::shared_ptr<Block> m_block;
};

#endif
