// SPDX-License-Identifier: MIT
//
// The measured system: a generated configuration, a sample server, and the component's module in front of it.
#ifndef XBENCHWORLD_H
#define XBENCHWORLD_H

#include "XBenchFactory.h"
#include "XLXComVariant.h"
#include "XSampleServer.h"
#include "modulefile.h"

/// Everything that the transfer mode can deliver with the types.
constexpr LONG LXBenchMode = 15;
/// The number of types in a chain of bases: the last one has five bases.
constexpr int LXBenchDepth = 6;
/// The number of attributes of "Wide5"; each of the six types in its chain defines a part of them.
constexpr int LXWideAttributes = 500;

std::string LXBenchTypeName(int number);

/// A configuration with `types` types: attributes with 60 values, ten per type on average, groups, pages, editors,
/// chains of bases, and one relation per type; in addition the types "Wide0" to "Wide5".
XServerModel LXBenchModel(int types);

/// The distribution of sizes in a model, as lines of text.
std::string LXHistogram(const XServerModel& model);

/// A server and a cache in front of it.
class XBenchWorld {
public:
    explicit XBenchWorld(int types) : XBenchWorld(LXBenchModel(types)) { m_types = types; }
    explicit XBenchWorld(XServerModel model);
    ~XBenchWorld();
    XBenchWorld(const XBenchWorld&) = delete;
    XBenchWorld& operator=(const XBenchWorld&) = delete;

    /// Creates a cache that reads its types from the sample server.
    void Start() { StartWith(m_server->ConfigFactory()); }
    /// Creates a cache that gets its types from prepared arrays (Factory().Prepare).
    void StartPrepared();
    /// Terminates and releases the cache.
    void Stop();

    int Types() const noexcept { return m_types; }
    XSampleServer& Server() const noexcept { return *m_server; }
    XBenchFactory& Factory() const noexcept { return *m_factory; }
    ILXConfigFactoryCache& Cache() const noexcept { return *m_cache.Get(); }
    XLXComPtr<ILXType> Type(const std::string& name) const;
    XLXComPtr<ILXAttribute> Attribute(const std::string& type, const std::string& name) const;
    /// Completes every type's attributes, groups, pages and editors, so that all records are parsed.
    void CompleteAllTypes() const;
    /// Looks up every relation of the server by its three names.
    void AskForAllRelations() const;
    /// Sends a change notification of everything, like the server.
    void NotifyOfEverything() const;
    /// A new notification id.
    ULONG NextNotificationId() const noexcept { return ++m_notificationId; }

private:
    void StartWith(XLXComPtr<ILXConfigFactory> factory);

    int m_types = 0; ///< generated ones
    const ModuleFile m_module;
    std::shared_ptr<XSampleServer> m_server;
    XLXComPtr<XBenchFactory> m_factory;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
    mutable ULONG m_notificationId = 0;
};

/// A data object that only knows its type's name, so that calls to it cost almost nothing.
XLXComPtr<ILX_BaseDataObject> LXMakeBenchObject(const std::string& typeName);

/// Raises if the result of a call is not S_OK.
void LXExpectOk(HRESULT result, const char* what);

#endif
