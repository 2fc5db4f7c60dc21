// SPDX-License-Identifier: MIT
//
// What the manager loads of the server as a whole, at first use.
//
// Threading  Any thread may call. The value never changes, and is replaced under the registry's lock; nothing is
//            asked, terminated or released under it.
#ifndef XREGISTRY_H
#define XREGISTRY_H

#include "XConnection.h"
#include "XLoaded.h"

template <class T> class XRegistry {
public:
    using Value = std::shared_ptr<const T>;

    /// @param owner   outlives the registry
    /// @param aspect  of the notifications that make the value stale; none: it is kept while the connection lasts
    XRegistry(const XConnectionOwner& owner, XLockLevel level, std::optional<XAspect> aspect = std::nullopt)
        : m_owner(owner), m_aspect(aspect), m_loaded(level) {}

    /// From now on answers of the connection with that clock are kept.
    void Begin(const XClockPtr& clock) { m_loaded.Begin({clock, m_aspect}); }
    /// Forgets what is of that connection, and keeps nothing more. Returns what was there.
    Value End(const XClockPtr& clock) { return m_loaded.End({clock, m_aspect}); }

protected:
    /// The value, fetched from the server unless it is fresh. Null: the thread is fetching it already.
    /// @param fetch    T fetch(connection); what it raises passes
    /// @param publish  as with XLoaded
    Value Load(const char* method, auto&& fetch, auto&&... publish) {
        if (Value fresh = m_loaded.Fresh()) { return fresh; }
        return LoadFrom(*m_owner.Access(method), fetch, publish...);
    }
    Value LoadFrom(const XConnection& connection, auto&& fetch, auto&&... publish) {
        return m_loaded.Load(
            {connection.clock, m_aspect}, [&] { return std::make_shared<const T>(fetch(connection)); }, publish...);
    }

    const XConnectionOwner& m_owner;
    const std::optional<XAspect> m_aspect;
    XSharedLoaded<T> m_loaded;
};

#endif
