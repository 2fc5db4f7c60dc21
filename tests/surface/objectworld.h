// SPDX-License-Identifier: MIT
//
// A cache in front of a small server, and one object of each kind that the component has.
#ifndef OBJECTWORLD_H
#define OBJECTWORLD_H

#include "cachefixture.h"
#include "surface.h"

#include <memory>

enum class XStage {
    Created,
    Initialised, ///< as an application does it, or inside the server's process in server mode
    Silent,      ///< initialised without notifications
    Terminated   ///< terminated, while objects are still held
};

class XObjectWorld {
public:
    explicit XObjectWorld(XStage stage);
    ~XObjectWorld();
    XObjectWorld(const XObjectWorld&) = delete;
    XObjectWorld& operator=(const XObjectWorld&) = delete;

    /// One object of each kind that exists at the stage, with the kind's name.
    using Objects = std::vector<std::pair<std::string, XLXComPtr<IUnknown>>>;
    const Objects& All() const { return m_objects; }
    XLXComPtr<IUnknown> Object(const std::string& kind) const;
    /// An object with an interface: the server's if it has one, otherwise the component's.
    XLXComPtr<IUnknown> Provider(REFIID iid) const;

    /// Hands over all objects, including the manager, and keeps only the server.
    Objects GiveAway() {
        m_cache.Reset();
        return std::exchange(m_objects, {});
    }

    XSampleServer& Server() const { return *m_server; }
    ILXConfigFactoryCache& Cache() const { return *m_cache; }

private:
    void Initialize(bool silent);
    void MakeObjects();
    void MakeRelationObjects();
    template <class I> void Add(const char* kind, const XLXComPtr<I>& object);
    /// Adds the first element of an enumerator, and the enumerator.
    template <class I> void AddEnumerated(const char* kind, const XLXComPtr<I>& elements);

    std::shared_ptr<XSampleServer> m_server;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
    std::shared_ptr<void> m_uncounted; // objects that are not reference counted
    Objects m_objects;
};

#endif
