// SPDX-License-Identifier: MIT
#ifndef LXGROUPCACHE_H
#define LXGROUPCACHE_H

#include "XFormatMap.h"
#include "XLXConfigObjectCache.h"
#include "XLazyPart.h"
#include "XWeakLink.h"

/// What a group, and whatever asks for a component's server object, wants of the type that owns it.
class XGroupOwner
{
public:
    virtual HRESULT GetChildGroupEnum(LONG iGroupNumber, ILXGroupEnum** ppEnum) = 0;
    /// The server's type; null when there is none.
    virtual XLXComPtr<ILXType> ServerType() const = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
    /// Adds a reference unless the last one is gone already.
    virtual bool TryAddRef() noexcept = 0;

protected:
    ~XGroupOwner() = default;
};

/// A group of attributes of a type, with its format.
class XLXGroupCache final : public XLXConfigObjectCache<XLXGroupCache, XCachedFacts::Group, ILXGroup>
{
public:
    using XLXConfigObjectCache::XLXConfigObjectCache;

    // ILXGroup
    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetChildGroupEnum(ILXGroupEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE CreateFormat(ILXFormat** ppFormat) override;
    HRESULT STDMETHODCALLTYPE GetFormat(ILXFormat** ppFormat) override;
    HRESULT STDMETHODCALLTYPE DeleteFormat() override;

    // For the owner

    /// Says whose group this is; called once, before the group is handed out. The link keeps nothing alive.
    void SetOwner(XWeakLink<XGroupOwner> owner) noexcept { m_owner = std::move(owner); }

    HRESULT Terminate() noexcept;

private:
    friend XLXConfigObjectCache;
    void AdvanceParts() noexcept;
    void OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched);
    LONG OwnNumber();

    XWeakLink<XGroupOwner> m_owner;
    XLazyPart<XFormatMap> m_formats;
};

#endif
