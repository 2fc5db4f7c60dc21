// SPDX-License-Identifier: MIT
//
// The two modes of the manager, as strategies. The first initialisation installs one. No other code of the manager
// depends on the mode.
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

    /// Reads all types of the server. Returns the map to answer from; null if the server has nothing.
    virtual XTypeMapPtr FillTypeCache() = 0;
    /// Fetches one type; null if the server has no such type.
    virtual XLXComPtr<XLXTypeCache> FetchType(XLXTextView name) = 0;
    /// Reads the values of all types of the connection with that clock, and of their components, with one call. Raises
    /// a failure of the server.
    virtual void RefillTypes(const XClockPtr& clock) = 0;
    /// The data transfer mode for a bulk read of named types.
    virtual LONG NamedLoadMode(bool includeTypeAttributes) const = 0;
    /// Translates the update mode of a notification before it is handled.
    virtual LONG TranslateUpdateFlags(XLXTextView kind, LONG mode) const noexcept = 0;

protected:
    XLXConfigFactoryCacheManager& m_manager;
};

/// Server mode: wraps the server's own types. The host serialises all calls.
class XLXCFCMngImplServer final : public XLXCFCMngImpl {
public:
    using XLXCFCMngImpl::XLXCFCMngImpl;

    XTypeMapPtr FillTypeCache() override;
    XLXComPtr<XLXTypeCache> FetchType(XLXTextView name) override;
    void RefillTypes(const XClockPtr&) override {} // there are no bulk reads
    LONG NamedLoadMode(bool includeTypeAttributes) const override;
    LONG TranslateUpdateFlags(XLXTextView, LONG mode) const noexcept override { return mode; }
};

/// Client mode: reads types in bulk.
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
