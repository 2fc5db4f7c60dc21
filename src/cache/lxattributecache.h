// SPDX-License-Identifier: MIT
#ifndef LXATTRIBUTECACHE_H
#define LXATTRIBUTECACHE_H

#include "XCFCDataTransfer.h"
#include "XCFGStringKey.h"
#include "XFillMutex.h"
#include "XFormatMap.h"
#include "XLXConfigObjectCache.h"
#include "XLazyPart.h"
#include "lxattributetypecache.h"

#include <vector>

/// An attribute of a type, with its attribute types and its formats.
class XLXAttributeCache final
    : public XLXConfigObjectCache<XLXAttributeCache, XCachedFacts::Attribute, ILXAttribute>
{
public:
    explicit XLXAttributeCache(XLXComPtr<IUnknown> server) : XLXConfigObjectCache(std::move(server)) {}

    // ILXAttribute
    HRESULT STDMETHODCALLTYPE AddAttributeType(ILXAttributeType** ppAttributeType) override;
    HRESULT STDMETHODCALLTYPE RemoveAttributeType(ILXAttributeType* pAttributeType, LONG* plResult) override;
    HRESULT STDMETHODCALLTYPE GetAttributeTypeEnum(ILXAttributeTypeEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE CreateFormat(int iFormatType, ILXFormat** ppFormat) override;
    HRESULT STDMETHODCALLTYPE GetFormat(int iFormatType, ILXFormat** ppFormat) override;
    HRESULT STDMETHODCALLTYPE DeleteFormat(int iFormatType) override;

    // For the owner

    /// Takes the attribute types that a bulk read delivered, possibly none; the server is not asked for them
    /// then.
    /// @param noted  what was noted before the bulk read (NoteAttributeTypes)
    void AssignAttributeTypes(std::vector<XLXCFCDataTransfer::XILXConfigData> types, std::uint64_t noted);
    std::uint64_t NoteAttributeTypes() const noexcept { return m_attributeTypesLoaded.Note(); }
    /// Makes the next request ask the server again.
    void InvalidateAttributeTypes() noexcept { m_attributeTypesLoaded.Invalidate(); }

    /// Empties both collections.
    HRESULT Terminate() noexcept;

private:
    friend XLXConfigObjectCache;
    using TypeMap = std::map<XCFGStringKey, XLXComPtr<XLXAttributeTypeCache>>;

    struct AttributeTypes
    {
        XFillMutex fill{XLockLevel::ObjectFill};
        XCritDataCFC<TypeMap> map{XLockLevel::ObjectMap};
    };

    HRESULT OnNotification(const XChangeNotification& notification);
    HRESULT ForwardToAttributeTypes(const XChangeNotification& notification);
    void LoadAttributeTypes();
    TypeMap FetchAttributeTypes();
    void MergeAttributeTypes(TypeMap&& fresh, std::uint64_t noted);
    static void AddAttributeType(TypeMap& to, XLXCFCDataTransfer::XILXConfigData&& type);

    // The loaded flag stands beside its collection, since most attributes have no attribute types at all.
    XFilledFlag m_attributeTypesLoaded;
    XLazyPart<AttributeTypes> m_attributeTypes;
    XLazyPart<XFormatMap> m_formats;
};

#endif
