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
    Terminated, ///< what was handed out is still held
    ServerTerminated
};

class XObjectWorld {
public:
    explicit XObjectWorld(XStage stage);
    ~XObjectWorld();
    XObjectWorld(const XObjectWorld&) = delete;
    XObjectWorld& operator=(const XObjectWorld&) = delete;

    /// The kinds of objects by name, in a fixed order.
    static const std::vector<const char*>& Kinds();
    /// Whether objects of a kind come from a manager that was initialised.
    static bool NeedsManager(const std::string& kind);
    /// An object of a kind; null when it needs an initialised manager and there never was one.
    XLXComPtr<IUnknown> Object(const std::string& kind) const;
    /// Something that answers an interface: the server's object where the server has one, else the component's.
    XLXComPtr<IUnknown> Provider(REFIID iid) const;

    /// All objects, the manager among them; the world is over afterwards.
    std::vector<XLXComPtr<IUnknown>> GiveAway();

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
    std::shared_ptr<void> m_uncounted; // objects whose references nobody counts
    std::vector<std::pair<std::string, XLXComPtr<IUnknown>>> m_objects;
};

#endif
