// SPDX-License-Identifier: MIT
#ifndef LXGROUPCACHE_H
#define LXGROUPCACHE_H

#include "XLXFormatOwner.h"
#include "XWeakLink.h"

/// The services that components need from the type that owns them.
class XGroupOwner {
public:
    virtual HRESULT GetChildGroupEnum(LONG iGroupNumber, ILXGroupEnum** ppEnum) = 0;
    /// The server's type; null if there is none.
    virtual XLXComPtr<ILXType> ServerType() const = 0;
    /// Reads the values of all stale components with one call. Raises a failure of the server.
    virtual void RefillComponents() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
    /// Adds a reference unless the count has reached 0.
    virtual bool TryAddRef() noexcept = 0;

protected:
    ~XGroupOwner() = default;
};

/// A group of attributes of a type, with its format.
class XLXGroupCache final
    : public XLXFormatOwner<XLXGroupCache, XCachedFacts::Group, XOwnedFormats::OfGroup, ILXGroup> {
public:
    using XLXFormatOwner::XLXFormatOwner;

    // ILXGroup
    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetChildGroupEnum(ILXGroupEnum** ppEnum) override;

    // For the owner

    /// Sets the weak link to the group's type. Called once, before the group is handed out.
    void SetOwner(XWeakLink<XGroupOwner> owner) noexcept { m_owner = std::move(owner); }

private:
    LONG OwnNumber();

    XWeakLink<XGroupOwner> m_owner;
};

#endif
