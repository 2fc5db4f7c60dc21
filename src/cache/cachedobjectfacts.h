// SPDX-License-Identifier: MIT
//
// What differs between the classes of cached objects, side by side.
#ifndef CACHEDOBJECTFACTS_H
#define CACHEDOBJECTFACTS_H

#include "XAspect.h"
#include "XCfgPropertyConvert.h"

struct XCachedObjectFacts {
    const char* className;
    const char* source;          ///< source name in error locations
    const char* proxyScope;      ///< scope in error locations of the server proxy
    EConfigElementKind kind;     ///< whose property names Get and Set know
    XAspect values;              ///< what makes the values stale
    XAspect set;                 ///< of which set the object is part: orders the records that bring it
    bool readOnly;               ///< Set and SetProperty are refused
    const char* clientInfoClass; ///< the class that a failed GetClientInfo names
    std::size_t slots = 0;       ///< of values, there before the first ones come

    constexpr LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) const noexcept {
        return {source, className, method, line};
    }
};

#define LX_PROXY_SCOPE(Interface) "LXComInterfaceProxy::XLazyIProxy<struct " #Interface ">"

namespace XCachedFacts {
// clang-format off
inline constexpr XCachedObjectFacts Format{
    "XLXFormatCache", "lxformatcache", LX_PROXY_SCOPE(ILXFormat),
    EConfigElementKind::Attribute, XAspect::FormatValues, XAspect::FormatValues, false, "XLXFormatCache"};
inline constexpr XCachedObjectFacts Attribute{
    "XLXAttributeCache", "lxattributecache", LX_PROXY_SCOPE(ILXAttribute),
    EConfigElementKind::Attribute, XAspect::AttributeValues, XAspect::TypeAttributes, false, "XLXAttributeCache"};
inline constexpr XCachedObjectFacts AttributeType{
    "XLXAttributeTypeCache", "lxattributetypecache", LX_PROXY_SCOPE(ILXAttributeType),
    EConfigElementKind::AttributeType, XAspect::AttributeTypeValues, XAspect::AttributeTypes, false, "XLXAttributeTypeCache"};
// A failed GetClientInfo of a browser id names the attribute type's class; programs search logs for that text.
inline constexpr XCachedObjectFacts BrowserId{
    "XLXBrowserIdCache", "lxbrowseridcache", LX_PROXY_SCOPE(ILXBrowserId),
    EConfigElementKind::BrowserId, XAspect::BrowserIdValues, XAspect::BrowserIdValues, true, "XLXAttributeTypeCache"};
inline constexpr XCachedObjectFacts Editor{
    "XLXConfObjEditorCache", "lxconfobjeditorcache", LX_PROXY_SCOPE(ILXConfObjEditor),
    EConfigElementKind::Editor, XAspect::EditorValues, XAspect::TypeEditors, false, "XLXConfObjEditorCache"};
inline constexpr XCachedObjectFacts Group{
    "XLXGroupCache", "lxgroupcache", LX_PROXY_SCOPE(ILXGroup),
    EConfigElementKind::Group, XAspect::GroupValues, XAspect::TypeGroups, false, "XLXGroupCache"};
inline constexpr XCachedObjectFacts Page{
    "XLXPageCache", "lxpagecache", LX_PROXY_SCOPE(ILXPage),
    EConfigElementKind::Page, XAspect::PageValues, XAspect::TypePages, false, "XLXPageCache"};
inline constexpr XCachedObjectFacts GlobalFormatSpec{
    "XLXGlobalAttributeFormatSpecCache", "LXGlobalAttributeFormatSpecCache", LX_PROXY_SCOPE(ILXGlobalAttributeFormatSpec),
    EConfigElementKind::Attribute, XAspect::SpecValues, XAspect::Specs, false, "XLXGlobalAttributeFormatSpecCache"};
inline constexpr XCachedObjectFacts ParentChild{
    "XLXParentChildCache", "lxparentchildcache", LX_PROXY_SCOPE(ILXParentChild),
    EConfigElementKind::Relation, XAspect::RelationValues, XAspect::Relations, false, "XLXParentChildCache"};
inline constexpr XCachedObjectFacts PCInfo{
    "XLXPCInfoCache", "lxpcinfocache", LX_PROXY_SCOPE(ILXPCInfo),
    EConfigElementKind::PCInfo, XAspect::PCInfoValues, XAspect::PCInfos, false, "XLXPCInfoCache", 10};
inline constexpr XCachedObjectFacts Type{
    "XLXTypeCache", "lxtypecache", LX_PROXY_SCOPE(ILXType),
    EConfigElementKind::Type, XAspect::TypeValues, XAspect::TypeMap, false, "XLXTypeCache"};
// clang-format on
} // namespace XCachedFacts

#endif
