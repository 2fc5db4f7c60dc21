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
    Client,     ///< initialised as an application does it
    Silent,     ///< the same, without notifications
    Server,     ///< initialised inside the server's process
    Terminated, ///< terminated, while objects are still held
    ServerTerminated
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
    void Initialize(XStage stage);
    void MakeObjects();
    void MakeRelationObjects();
    void MakeEnumerators();
    template <class I> void Add(const char* kind, const XLXComPtr<I>& object);
    template <class I> XLXComPtr<I> Of(const char* kind) const { return Object(kind).As<I>(); }

    std::shared_ptr<XSampleServer> m_server;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
    std::shared_ptr<void> m_uncounted; // objects that are not reference counted
    Objects m_objects;
};

#endif
