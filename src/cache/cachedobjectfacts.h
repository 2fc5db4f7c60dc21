// SPDX-License-Identifier: MIT
//
// What differs between the classes of cached objects, side by side.
#ifndef CACHEDOBJECTFACTS_H
#define CACHEDOBJECTFACTS_H

#include "XCfgPropertyConvert.h"
#include "XDataId.h"

/// How a class takes a notification of a kind that is neither "objects" nor "pc".
enum class XOtherKinds
{
    PropertiesOnly, ///< only "properties" is looked at
    AsProperties    ///< every other kind counts as "properties"
};

struct XCachedObjectFacts
{
    const char* className;
    const char* source;      ///< source name in error locations
    const char* proxyScope;  ///< scope in error locations of the server proxy
    EConfigElementKind kind; ///< whose property names Get and Set know
    LONG propertyBits;       ///< modes with which "properties" invalidates the store
    LONG formatBits;         ///< modes with which "objects" empties the format map; 0: has none
    XOtherKinds otherKinds;
    bool invalidatedByPC;        ///< "pc" invalidates the store; otherwise it is ignored
    bool readOnly;               ///< Set and SetProperty are refused
    const char* clientInfoClass; ///< the class that a failed GetClientInfo names

    constexpr LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) const noexcept
    {
        return {source, className, method, line};
    }

    /// Whether a notification makes the values of an object of this class stale.
    constexpr bool Invalidates(LXDataIdKind idKind, LONG mode) const noexcept
    {
        switch (idKind)
        {
        case LXDataIdKind::ParentChild:
            return invalidatedByPC;
        case LXDataIdKind::Objects:
            return true;
        case LXDataIdKind::Properties:
            return LXModeConcerns(mode, propertyBits);
        default:
            return otherKinds == XOtherKinds::AsProperties && LXModeConcerns(mode, propertyBits);
        }
    }
};

#define LX_PROXY_SCOPE(Interface) "LXComInterfaceProxy::XLazyIProxy<struct " #Interface ">"

namespace XCachedFacts
{
using enum XOtherKinds;

// clang-format off
inline constexpr XCachedObjectFacts Format{
    "XLXFormatCache", "lxformatcache", LX_PROXY_SCOPE(ILXFormat), EConfigElementKind::Attribute,
    LXUM_EVERYTHING | LXUM_FORMATS | LXUM_GLOBALFORMATSPECS | LXUM_ATTRIBUTEFORMATS | LXUM_GROUPFORMATS,
    0, PropertiesOnly, false, false, "XLXFormatCache"};
inline constexpr XCachedObjectFacts Attribute{
    "XLXAttributeCache", "lxattributecache", LX_PROXY_SCOPE(ILXAttribute), EConfigElementKind::Attribute,
    LXUM_EVERYTHING | LXUM_ATTRIBUTES,
    LXUM_EVERYTHING | LXUM_TYPES | LXUM_ATTRIBUTES | LXUM_ATTRIBUTEFORMATS, AsProperties, false, false, "XLXAttributeCache"};
inline constexpr XCachedObjectFacts AttributeType{
    "XLXAttributeTypeCache", "lxattributetypecache", LX_PROXY_SCOPE(ILXAttributeType), EConfigElementKind::AttributeType,
    LXUM_EVERYTHING | LXUM_ATTRIBUTES | LXUM_ATTRIBUTETYPES,
    0, AsProperties, false, false, "XLXAttributeTypeCache"};
// A failed GetClientInfo of a browser id names the attribute type's class; programs search logs for that text.
inline constexpr XCachedObjectFacts BrowserId{
    "XLXBrowserIdCache", "lxbrowseridcache", LX_PROXY_SCOPE(ILXBrowserId), EConfigElementKind::BrowserId,
    LXUM_EVERYTHING | LXUM_BROWSERIDS,
    0, PropertiesOnly, true, true, "XLXAttributeTypeCache"};
inline constexpr XCachedObjectFacts Editor{
    "XLXConfObjEditorCache", "lxconfobjeditorcache", LX_PROXY_SCOPE(ILXConfObjEditor), EConfigElementKind::Editor,
    LXUM_EVERYTHING | LXUM_BROWSERIDS | LXUM_EDITORS,
    0, PropertiesOnly, false, false, "XLXConfObjEditorCache"};
inline constexpr XCachedObjectFacts Group{
    "XLXGroupCache", "lxgroupcache", LX_PROXY_SCOPE(ILXGroup), EConfigElementKind::Group,
    LXUM_EVERYTHING | LXUM_GROUPS,
    LXUM_EVERYTHING | LXUM_TYPES | LXUM_GROUPS | LXUM_GROUPFORMATS, PropertiesOnly, false, false, "XLXGroupCache"};
inline constexpr XCachedObjectFacts Page{
    "XLXPageCache", "lxpagecache", LX_PROXY_SCOPE(ILXPage), EConfigElementKind::Page,
    LXUM_EVERYTHING | LXUM_PAGES,
    0, PropertiesOnly, false, false, "XLXPageCache"};
inline constexpr XCachedObjectFacts GlobalFormatSpec{
    "XLXGlobalAttributeFormatSpecCache", "LXGlobalAttributeFormatSpecCache", LX_PROXY_SCOPE(ILXGlobalAttributeFormatSpec),
    EConfigElementKind::Attribute, LXUM_EVERYTHING | LXUM_GLOBALFORMATSPECS,
    LXUM_EVERYTHING | LXUM_GLOBALFORMATSPECS, PropertiesOnly, false, false, "XLXGlobalAttributeFormatSpecCache"};
inline constexpr XCachedObjectFacts ParentChild{
    "XLXParentChildCache", "lxparentchildcache", LX_PROXY_SCOPE(ILXParentChild), EConfigElementKind::Relation,
    LXUM_EVERYTHING | LXUM_PARENTCHILD,
    0, PropertiesOnly, true, false, "XLXParentChildCache"};
inline constexpr XCachedObjectFacts PCInfo{
    "XLXPCInfoCache", "lxpcinfocache", LX_PROXY_SCOPE(ILXPCInfo), EConfigElementKind::PCInfo,
    LXUM_EVERYTHING | LXUM_PARENTCHILD | LXUM_BROWSERIDS,
    0, PropertiesOnly, true, false, "XLXPCInfoCache"};
// An "objects" notification reaches a type's own values only with these bits: see XLXTypeCache.
inline constexpr XCachedObjectFacts Type{
    "XLXTypeCache", "lxtypecache", LX_PROXY_SCOPE(ILXType), EConfigElementKind::Type,
    LXUM_EVERYTHING | LXUM_TYPES,
    0, PropertiesOnly, false, false, "XLXTypeCache"};
// clang-format on
} // namespace XCachedFacts

#endif
