// SPDX-License-Identifier: MIT
//
// The lazy server proxy. It queries the server object for its interface on first use. When the record brought no server
// object, the proxy first gets one from its source.
#ifndef LXCOMINTERFACEPROXY_H
#define LXCOMINTERFACEPROXY_H

#include "XClock.h"
#include "XLXComPtr.h"
#include "XLXError.h"
#include "XLeafMutex.h"
#include "XServerSource.h"

namespace LXComInterfaceProxy {
template <class I> class XLazyIProxy {
public:
    /// A server object, its interface, and the source of the object when the record did not bring it.
    struct Link {
        XLXComPtr<IUnknown> held;
        XLXComPtr<I> typed;
        XServerSourcePtr source; ///< a different instance for each record without an object
    };

    /// @param scope  class and operator for error locations, such as
    ///               "LXComInterfaceProxy::XLazyIProxy<struct ILXFormat>"
    explicit XLazyIProxy(const char* scope, XLXComPtr<IUnknown> held = {}) noexcept
        : m_scope(scope), m_link{std::move(held), {}, {}} {}

    /// The server object's interface. Raises when there is no server object or it lacks the interface. The query is
    /// made with no lock held. When two threads query at the same time, one answer is kept.
    XLXComPtr<I> operator*() const {
        XLXComPtr<IUnknown> held;
        XServerSourcePtr source;
        {
            const XLeafLock lock(m_mutex);
            if (m_link.typed) { return m_link.typed; }
            held = m_link.held;
            source = m_link.source;
        }
        if (!held && source) { held = source->Ask(); }
        XLXError::CheckPointer(held.Get(), OLESTR("server object"), At(68));
        XLXComPtr<I> typed;
        XLXError::RaiseIfFailed(LXQuery(*held, typed), OLESTR("DCOM Query Interface failed."), At(68));
        XLXError::CheckPointer(typed.Get(), OLESTR("server interface"), At(71));
        Publish(held, typed, source);
        return typed;
    }

    /// Whether there is a server object or a source for one.
    bool HasObject() const noexcept {
        const XLeafLock lock(m_mutex);
        return m_link.held || m_link.source;
    }

    /// Exchanges the server object and its source, unless the present ones came with a newer record. The caller
    /// releases the old ones with no lock held.
    /// @param record  stamp of the answer that brought the record
    bool Swap(Link& link, const XStamp& record) noexcept {
        const XLeafLock lock(m_mutex);
        if (record.IsOlderThan(m_record)) { return false; }
        m_record = record;
        std::swap(m_link, link);
        return true;
    }

private:
    LXErrorLocation At(int line) const noexcept { return {"LXComInterfaceProxy", m_scope, "operator *", line}; }

    /// Keeps an answer unless another record has replaced the source or the object in the meantime.
    void Publish(XLXComPtr<IUnknown> held, XLXComPtr<I> typed, const XServerSourcePtr& source) const noexcept {
        const IUnknown* const object = held.Get();
        const XLeafLock lock(m_mutex);
        if (!m_link.held && m_link.source && m_link.source == source) { m_link.held.Swap(held); }
        if (m_link.held.Get() == object && !m_link.typed) { m_link.typed.Swap(typed); }
    }

    const char* m_scope;
    mutable XLeafMutex m_mutex;               // held only to copy or exchange pointers
    XStamp m_record LX_GUARDED_BY(m_mutex){}; // of the newest record
    mutable Link m_link LX_GUARDED_BY(m_mutex);
};
} // namespace LXComInterfaceProxy

#endif
