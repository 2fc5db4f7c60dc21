// SPDX-License-Identifier: MIT
//
// Data that the manager loads from the server as a whole, on first use.
//
// Threading  Thread-safe. The value is immutable and is replaced under the registry's lock. No call to the server, no
//            Terminate and no Release happens under that lock.
#ifndef XREGISTRY_H
#define XREGISTRY_H

#include "XConnection.h"
#include "XLoaded.h"

template <class T> class XRegistry {
public:
    using Value = std::shared_ptr<const T>;

    /// @param owner   must outlive the registry
    /// @param aspect  the aspect that makes the value stale; none: the value is kept for the connection
    XRegistry(const XConnectionOwner& owner, XLockLevel level, std::optional<XAspect> aspect = std::nullopt)
        : m_owner(owner), m_aspect(aspect), m_loaded(level) {}

    /// Accepts answers of the connection with this clock from now on.
    void Begin(const XClockPtr& clock) { m_loaded.Begin({clock, m_aspect}); }
    /// Drops the value of that connection and accepts no more answers. Returns the dropped value.
    Value End(const XClockPtr& clock) { return m_loaded.End({clock, m_aspect}); }

protected:
    /// The value, loaded unless it is fresh. If the thread is already loading it: the former value, or null.
    /// @param fetch    T fetch(connection); exceptions pass through
    /// @param publish  as in XLoaded
    Value Load(const char* method, auto&& fetch, auto&&... publish) {
        if (Value fresh = m_loaded.Fresh()) { return fresh; }
        return LoadFrom(*m_owner.Access(method), fetch, publish...);
    }
    Value LoadFrom(const XConnection& connection, auto&& fetch, auto&&... publish) {
        return m_loaded.Load(
            {connection.clock, m_aspect}, [&](const XStamp&) { return std::make_shared<const T>(fetch(connection)); },
            publish...);
    }

    const XConnectionOwner& m_owner;
    const std::optional<XAspect> m_aspect;
    XSharedLoaded<T> m_loaded;
};

#endif
