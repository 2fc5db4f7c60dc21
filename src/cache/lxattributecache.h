// SPDX-License-Identifier: MIT
#ifndef LXATTRIBUTECACHE_H
#define LXATTRIBUTECACHE_H

#include "XCFCDataTransfer.h"
#include "XCFGStringKey.h"
#include "XDisplayFacts.h"
#include "XFormatMap.h"
#include "XLXConfigObjectCache.h"
#include "XLazyPart.h"
#include "lxattributetypecache.h"

#include <exception>
#include <vector>

/// An attribute of a type, with its attribute types and its formats.
class XLXAttributeCache final : public XLXConfigObjectCache<XLXAttributeCache, XCachedFacts::Attribute, ILXAttribute>
{
public:
    XLXAttributeCache(XLXComPtr<IUnknown> server, XClockPtr clock);

    // ILXAttribute
    HRESULT STDMETHODCALLTYPE AddAttributeType(ILXAttributeType** ppAttributeType) override;
    HRESULT STDMETHODCALLTYPE RemoveAttributeType(ILXAttributeType* pAttributeType, LONG* plResult) override;
    HRESULT STDMETHODCALLTYPE GetAttributeTypeEnum(ILXAttributeTypeEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE CreateFormat(int iFormatType, ILXFormat** ppFormat) override;
    HRESULT STDMETHODCALLTYPE GetFormat(int iFormatType, ILXFormat** ppFormat) override;
    HRESULT STDMETHODCALLTYPE DeleteFormat(int iFormatType) override;

    // For the owner

    /// Takes the attribute types that a bulk read delivered, possibly none: they replace those that are there, and
    /// the server is not asked for them.
    void AssignAttributeTypes(std::vector<XLXCFCDataTransfer::XILXConfigData> types, const XMoment& moment,
                              XRetired& retired);

    /// What decides in which displays the attribute is shown, when that is known.
    std::optional<XDisplayFacts> KnownFacts() const noexcept { return m_facts.Fresh({Now(), Store().Own().Now()}); }
    /// The same; read from the server when it is not known. Raises a failing read.
    XDisplayFacts Facts();

    /// Empties both collections.
    HRESULT Terminate() noexcept;

private:
    friend XLXConfigObjectCache;
    using TypeMap = XNameMap<XLXComPtr<XLXAttributeTypeCache>>;
    using TypeMapPtr = std::shared_ptr<const TypeMap>;

    void OnAssigned(const XVariantRow& values, const XStamp& stamp) noexcept;
    void AdvanceParts() noexcept;
    void OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched);

    TypeMapPtr LoadAttributeTypes();
    TypeMapPtr FetchAttributeTypes(std::exception_ptr& failure);
    TypeMap ReadAttributeTypes(std::exception_ptr& failure) const;
    void OnAttributeTypes(const TypeMap& types, const TypeMap* former, const XMoment& moment) const;
    void AddAttributeType(const TypeMapPtr& former, TypeMap& to, XLXCFCDataTransfer::XILXConfigData&& type,
                          const XMoment& moment, XRetired& retired) const;

    XKeptDisplayFacts m_facts;
    XLoaded<TypeMap> m_attributeTypes;
    XLazyPart<XFormatMap> m_formats; // most attributes have none asked for
};

#endif
