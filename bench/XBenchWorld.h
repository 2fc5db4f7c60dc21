// SPDX-License-Identifier: MIT
//
// What is measured: a generated configuration, a sample server over it, and the component's module in front.
#ifndef XBENCHWORLD_H
#define XBENCHWORLD_H

#include "XBenchFactory.h"
#include "XLXComVariant.h"
#include "XSampleServer.h"
#include "modulefile.h"

/// Everything that the transfer mode can deliver with the types.
constexpr LONG LXBenchMode = 15;
/// Types in a chain of bases: five bases above the last one.
constexpr int LXBenchDepth = 6;
/// Attributes of "Wide5", of which each of its chain of six types owns a part.
constexpr int LXWideAttributes = 500;

std::string LXBenchTypeName(int number);

/// A configuration of so many types: attributes of 60 values, ten for each type on average, groups, pages, editors,
/// chains of bases, and one relation for each type. Beside them stand the types "Wide0" to "Wide5".
XServerModel LXBenchModel(int types);

/// How often which size occurs in a model, as lines of text.
std::string LXHistogram(const XServerModel& model);

/// A server and a cache in front of it.
class XBenchWorld {
public:
    explicit XBenchWorld(int types) : XBenchWorld(LXBenchModel(types)) { m_types = types; }
    explicit XBenchWorld(XServerModel model);
    ~XBenchWorld();
    XBenchWorld(const XBenchWorld&) = delete;
    XBenchWorld& operator=(const XBenchWorld&) = delete;

    /// Makes a cache that gets its types from the sample server.
    void Start() { StartWith(m_server->ConfigFactory()); }
    /// Makes a cache that gets them from arrays made beforehand (Factory().Prepare).
    void StartPrepared();
    /// Ends the cache and lets go of it.
    void Stop();

    int Types() const noexcept { return m_types; }
    XSampleServer& Server() const noexcept { return *m_server; }
    XBenchFactory& Factory() const noexcept { return *m_factory; }
    ILXConfigFactoryCache& Cache() const noexcept { return *m_cache.Get(); }
    XLXComPtr<ILXType> Type(const std::string& name) const;
    XLXComPtr<ILXAttribute> Attribute(const std::string& type, const std::string& name) const;
    /// Every type's attributes, groups, pages and editors, so that all records are parsed.
    void CompleteAllTypes() const;
    /// Every relation of the server's, by its three names.
    void AskForAllRelations() const;
    /// A change notification of everything, as the server sends it.
    void NotifyOfEverything() const;
    /// An id that no notification of this world had.
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

/// A data object that knows its type's name and nothing else, so that asking it costs next to nothing.
XLXComPtr<ILX_BaseDataObject> LXMakeBenchObject(const std::string& typeName);

/// Raises what a call answered when that is not S_OK.
void LXExpectOk(HRESULT result, const char* what);

#endif
