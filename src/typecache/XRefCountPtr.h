// SPDX-License-Identifier: MIT
#ifndef XREFCOUNTPTR_H
#define XREFCOUNTPTR_H

#include <atomic>
#include <utility>

namespace XLXTypeCacheComp
{
/// Base of objects that are shared inside the component: the count starts at 0, the last release deletes.
class XRefCountedObject
{
public:
    XRefCountedObject() noexcept = default;
    XRefCountedObject(const XRefCountedObject&) = delete;
    XRefCountedObject& operator=(const XRefCountedObject&) = delete;
    virtual ~XRefCountedObject() = default;

    void AddRef() const noexcept { m_references.fetch_add(1, std::memory_order_relaxed); }
    void Release() const noexcept
    {
        if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        {
            delete this;
        }
    }

private:
    mutable std::atomic<int> m_references{0};
};

/// A shared pointer to a counted object. Assignment takes the new target before it lets go of the old one.
template <class T>
class XRefCountPtr
{
public:
    XRefCountPtr() noexcept = default;
    explicit XRefCountPtr(T* target) noexcept : m_target(target) { AddRef(); }
    XRefCountPtr(const XRefCountPtr& other) noexcept : m_target(other.m_target) { AddRef(); }
    XRefCountPtr(XRefCountPtr&& other) noexcept : m_target(std::exchange(other.m_target, nullptr)) {}
    ~XRefCountPtr()
    {
        if (m_target != nullptr)
        {
            m_target->Release();
        }
    }
    XRefCountPtr& operator=(XRefCountPtr other) noexcept
    {
        std::swap(m_target, other.m_target);
        return *this;
    }

    T* Get() const noexcept { return m_target; }
    T* operator->() const noexcept { return m_target; }
    T& operator*() const noexcept { return *m_target; }
    explicit operator bool() const noexcept { return m_target != nullptr; }

private:
    void AddRef() const noexcept
    {
        if (m_target != nullptr)
        {
            m_target->AddRef();
        }
    }

    T* m_target = nullptr;
};
} // namespace XLXTypeCacheComp

#endif
