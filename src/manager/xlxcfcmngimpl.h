// SPDX-License-Identifier: MIT
//
// The two modes of the manager. It never asks which mode it is in; it calls the strategy that the first
// initialisation installed.
#ifndef XLXCFCMNGIMPL_H
#define XLXCFCMNGIMPL_H

#include "XTypeMap.h"

class XLXConfigFactoryCacheManager;

class XLXCFCMngImpl {
public:
    /// @param manager  outlives the strategy
    explicit XLXCFCMngImpl(XLXConfigFactoryCacheManager& manager) noexcept : m_manager(manager) {}
    XLXCFCMngImpl(const XLXCFCMngImpl&) = delete;
    XLXCFCMngImpl& operator=(const XLXCFCMngImpl&) = delete;
    virtual ~XLXCFCMngImpl() = default;

    /// Reads all types of the server. Returns the map to answer from; null when the server has nothing.
    virtual XTypeMapPtr FillTypeCache() = 0;
    /// Fetches one type; null when the server has no such type.
    virtual XLXComPtr<XLXTypeCache> FetchType(XLXTextView name) = 0;
    /// Reads the values of all types and their components of the connection with that clock, with one call. Raises a
    /// failure of the server.
    virtual void RefillTypes(const XClockPtr& clock) = 0;
    /// The data transfer mode of a bulk read of named types.
    virtual LONG NamedLoadMode(bool includeTypeAttributes) const = 0;
    /// Adjusts a notification before it is handled. Returns the update mode to handle it with.
    virtual LONG TranslateUpdateFlags(XLXTextView kind, LONG mode) const noexcept = 0;

protected:
    XLXConfigFactoryCacheManager& m_manager;
};

/// Inside the server's process: the server's own types are wrapped. Reading, linking and fetching are serialised by
/// the host.
class XLXCFCMngImplServer final : public XLXCFCMngImpl {
public:
    using XLXCFCMngImpl::XLXCFCMngImpl;

    XTypeMapPtr FillTypeCache() override;
    XLXComPtr<XLXTypeCache> FetchType(XLXTextView name) override;
    void RefillTypes(const XClockPtr&) override {} // there are no bulk reads
    LONG NamedLoadMode(bool includeTypeAttributes) const override;
    LONG TranslateUpdateFlags(XLXTextView, LONG mode) const noexcept override { return mode; }
};

/// Inside an application: types arrive in bulk.
class XLXCFCMngImplClient final : public XLXCFCMngImpl {
public:
    explicit XLXCFCMngImplClient(XLXConfigFactoryCacheManager& manager);

    XTypeMapPtr FillTypeCache() override;
    XLXComPtr<XLXTypeCache> FetchType(XLXTextView name) override;
    void RefillTypes(const XClockPtr& clock) override;
    LONG NamedLoadMode(bool includeTypeAttributes) const override;
    LONG TranslateUpdateFlags(XLXTextView kind, LONG mode) const noexcept override;

private:
    static constexpr LONG DefaultTransferMode = LXTM_ATTRIBUTES;
    LONG BulkMode() const noexcept;
    static std::optional<XTypeRecords> LoadAllTypes(ILXConfigFactoryEx& factory, LONG mode);
    XTypeRecords LoadTypeByName(ILXConfigFactoryEx& factory, XLXTextView name, bool withBases) const;
};

#endif
