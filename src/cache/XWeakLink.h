// SPDX-License-Identifier: MIT
//
// A link to a counted object that does not keep it alive, and that may outlive it.
#ifndef XWEAKLINK_H
#define XWEAKLINK_H

#include "XLeafMutex.h"

#include <memory>
#include <mutex>
#include <utility>

/// A reference that XWeakLink::Lock took; gives it back when it goes.
template <class T>
class XLockedLink
{
public:
    explicit XLockedLink(T* target) noexcept : m_target(target) {}
    XLockedLink(XLockedLink&& other) noexcept : m_target(std::exchange(other.m_target, nullptr)) {}
    XLockedLink& operator=(XLockedLink&&) = delete;
    ~XLockedLink()
    {
        if (m_target != nullptr)
        {
            m_target->Release();
        }
    }
    explicit operator bool() const noexcept { return m_target != nullptr; }
    T* operator->() const noexcept { return m_target; }

private:
    T* m_target;
};

/// @tparam T  has bool TryAddRef() noexcept, which fails once the last reference is gone, and Release()
template <class T>
class XWeakLink
{
    struct Block
    {
        XLeafMutex mutex; // guards target
        T* target;
    };

public:
    XWeakLink() noexcept = default;

    /// A link for an object to hand out; the object calls Clear in its destructor.
    static XWeakLink To(T* target)
    {
        XWeakLink link;
        link.m_block = std::make_shared<Block>();
        link.m_block->target = target;
        return link;
    }

    /// A counted reference to the object; none once it has begun to go.
    XLockedLink<T> Lock() const noexcept
    {
        if (m_block == nullptr)
        {
            return XLockedLink<T>(nullptr);
        }
        const std::lock_guard<XLeafMutex> lock(m_block->mutex);
        T* const target = m_block->target;
        return XLockedLink<T>(target != nullptr && target->TryAddRef() ? target : nullptr);
    }

    void Clear() noexcept
    {
        if (m_block != nullptr)
        {
            const std::lock_guard<XLeafMutex> lock(m_block->mutex);
            m_block->target = nullptr;
        }
    }

private:
    std::shared_ptr<Block> m_block;
};

#endif
