// SPDX-License-Identifier: MIT
//
// The common part of the fuzz targets for the whole cache: a cache in front of a sample server. Both must give the same
// answers.
#ifndef CACHETARGETS_H
#define CACHETARGETS_H

#include "fuzztargets.h"
#include "lxconfigfactorycachemanager.h"
#include "questions.h"

/// A cache in client mode with its own sample server.
class FuzzCache {
public:
    FuzzCache() = default;
    ~FuzzCache() { Terminate(); }
    FuzzCache(const FuzzCache&) = delete;
    FuzzCache& operator=(const FuzzCache&) = delete;

    void Start(LONG transferMode) {
        auto values = LXArguments(*m_server, transferMode);
        LXRequire(m_cache.As<IDPFObject>()->Initialize(6, &values[0].Get()) == S_OK, "Initialize succeeds");
    }

    void Terminate() { LXRequire(m_cache.As<IDPFObject>()->Terminate() == S_OK, "Terminate succeeds"); }

    XSampleServer& Server() const { return *m_server; }
    XLXComPtr<ILXConfigFactory> Cache() const { return m_cache.As<ILXConfigFactory>(); }
    XLXComPtr<ILXType> Type(XLXTextView name) const {
        XLXComPtr<ILXType> type;
        Cache()->GetType(XLXComBSTR(name).Get(), nullptr, type.Put());
        return type;
    }

    /// Requires that cache and server give the same answer.
    void Compare(const XInquiry& inquiry) const {
        const std::string difference = LXDifference(*Cache().Get(), *m_server->ConfigFactory().Get(), inquiry);
        LXRequire(difference.empty(), difference);
    }

private:
    static const XServerModel& Model() {
        static const XServerModel model = LXLifeModel();
        return model;
    }

    const std::shared_ptr<XSampleServer> m_server = XSampleServer::Create(Model());
    const XLXComPtr<ILXConfigFactoryCache> m_cache{new XLXConfigFactoryCacheManager};
};

#endif
