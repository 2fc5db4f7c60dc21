// SPDX-License-Identifier: MIT
#ifndef LXGROUPCACHE_H
#define LXGROUPCACHE_H

#include "XLXFormatOwner.h"
#include "XWeakLink.h"

/// What components want of the type that owns them.
class XGroupOwner {
public:
    virtual HRESULT GetChildGroupEnum(LONG iGroupNumber, ILXGroupEnum** ppEnum) = 0;
    /// The server's type; null when there is none.
    virtual XLXComPtr<ILXType> ServerType() const = 0;
    /// Reads the values of all components that are stale, with one call. Raises a failure of the server.
    virtual void RefillComponents() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
    /// Adds a reference unless the last one is gone already.
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

    /// Says whose group this is; called once, before the group is handed out. The link keeps nothing alive.
    void SetOwner(XWeakLink<XGroupOwner> owner) noexcept { m_owner = std::move(owner); }

private:
    LONG OwnNumber();

    XWeakLink<XGroupOwner> m_owner;
};

#endif
