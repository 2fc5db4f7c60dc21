// SPDX-License-Identifier: MIT
//
// The lazy server proxy: a server object, asked for its interface when it is first needed.
#ifndef LXCOMINTERFACEPROXY_H
#define LXCOMINTERFACEPROXY_H

#include "XLXComPtr.h"
#include "XLXError.h"
#include "XLeafMutex.h"

#include <cstdint>
#include <mutex>

namespace LXComInterfaceProxy
{
template <class I>
class XLazyIProxy
{
public:
    /// @param scope  class and operator for error locations, such as "LXComInterfaceProxy::XLazyIProxy<struct
    /// ILXFormat>"
    explicit XLazyIProxy(const char* scope, XLXComPtr<IUnknown> held = {}) noexcept
        : m_scope(scope), m_held(std::move(held))
    {}

    /// The server object's interface. Raises when there is no server object, or it lacks the interface. The
    /// server object is asked with no lock held; two threads may both ask, and one answer is kept.
    XLXComPtr<I> operator*() const
    {
        XLXComPtr<IUnknown> held;
        {
            const std::lock_guard<XLeafMutex> lock(m_mutex);
            if (m_typed)
            {
                return m_typed;
            }
            held = m_held;
        }
        if (!held)
        {
            XLXError::CheckPointer(nullptr, OLESTR("server object"), At(68));
        }
        XLXComPtr<I> typed;
        const HRESULT result = held->QueryInterface(LXIid<I>(), typed.PutVoid());
        if (FAILED(result))
        {
            (void)typed.Detach(); // a failing query leaves nothing to release
            XLXError::Raise(result, OLESTR("DCOM Query Interface failed."), At(68));
        }
        XLXError::CheckPointer(typed.Get(), OLESTR("server interface"), At(71));
        Publish(held, typed);
        return typed;
    }

    /// Whether there is a server object.
    bool HasObject() const noexcept
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        return static_cast<bool>(m_held);
    }

    /// Exchanges the server object, unless a later record brought the one that is there; the caller releases the old one
    /// with no lock held.
    /// @param record  orders the records
    bool Swap(XLXComPtr<IUnknown>& held, XLXComPtr<I>& typed, std::uint64_t record) noexcept
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        if (record < m_record)
        {
            return false;
        }
        m_record = record;
        m_held.Swap(held);
        m_typed.Swap(typed);
        return true;
    }

private:
    LXErrorLocation At(int line) const noexcept
    {
        return {"LXComInterfaceProxy", m_scope, "operator *", line};
    }

    void Publish(const XLXComPtr<IUnknown>& held, XLXComPtr<I> typed) const noexcept
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        if (m_held == held && !m_typed)
        {
            m_typed.Swap(typed);
        }
    }

    const char* m_scope;
    mutable XLeafMutex m_mutex; // guards what follows; nothing foreign is called while it is held
    std::uint64_t m_record = 0; // the newest one that brought a server object
    XLXComPtr<IUnknown> m_held;
    mutable XLXComPtr<I> m_typed;
};
} // namespace LXComInterfaceProxy

#endif
