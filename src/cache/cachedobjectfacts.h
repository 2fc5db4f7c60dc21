// SPDX-License-Identifier: MIT
//
// The table of differences between the classes of cached objects.
#ifndef CACHEDOBJECTFACTS_H
#define CACHEDOBJECTFACTS_H

#include "XAspect.h"
#include "XCfgPropertyConvert.h"

struct XCachedObjectFacts {
    const char* className;
    const char* source;      ///< source name in error locations
    const char* proxyScope;  ///< scope in error locations of the server proxy
    EConfigElementKind kind; ///< the property names that Get and Set accept
    XAspect values;          ///< what makes the values stale
    std::size_t slots = 0;   ///< value slots to allocate before the first values arrive
    bool readOnly = false;   ///< refuses Set and SetProperty

    constexpr LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) const noexcept {
        return {source, className, method, line};
    }
};

#define LX_PROXY_SCOPE(Interface) "LXComInterfaceProxy::XLazyIProxy<struct " #Interface ">"

namespace XCachedFacts {
using enum XAspect;
using Kind = EConfigElementKind;
using Row = XCachedObjectFacts;

// clang-format off
inline constexpr Row Format{"XLXFormatCache", "lxformatcache", LX_PROXY_SCOPE(ILXFormat),
    Kind::Attribute, FormatValues};
inline constexpr Row Attribute{"XLXAttributeCache", "lxattributecache", LX_PROXY_SCOPE(ILXAttribute),
    Kind::Attribute, AttributeValues};
inline constexpr Row AttributeType{"XLXAttributeTypeCache", "lxattributetypecache", LX_PROXY_SCOPE(ILXAttributeType),
    Kind::AttributeType, AttributeTypeValues};
inline constexpr Row BrowserId{"XLXBrowserIdCache", "lxbrowseridcache", LX_PROXY_SCOPE(ILXBrowserId),
    Kind::BrowserId, BrowserIdValues, 0, true};
inline constexpr Row Editor{"XLXConfObjEditorCache", "lxconfobjeditorcache", LX_PROXY_SCOPE(ILXConfObjEditor),
    Kind::Editor, EditorValues};
inline constexpr Row Group{"XLXGroupCache", "lxgroupcache", LX_PROXY_SCOPE(ILXGroup),
    Kind::Group, GroupValues};
inline constexpr Row Page{"XLXPageCache", "lxpagecache", LX_PROXY_SCOPE(ILXPage),
    Kind::Page, PageValues};
inline constexpr Row GlobalFormatSpec{"XLXGlobalAttributeFormatSpecCache", "LXGlobalAttributeFormatSpecCache",
    LX_PROXY_SCOPE(ILXGlobalAttributeFormatSpec), Kind::Attribute, SpecValues};
inline constexpr Row ParentChild{"XLXParentChildCache", "lxparentchildcache", LX_PROXY_SCOPE(ILXParentChild),
    Kind::Relation, RelationValues};
inline constexpr Row PCInfo{"XLXPCInfoCache", "lxpcinfocache", LX_PROXY_SCOPE(ILXPCInfo),
    Kind::PCInfo, PCInfoValues, 10};
inline constexpr Row Type{"XLXTypeCache", "lxtypecache", LX_PROXY_SCOPE(ILXType),
    Kind::Type, TypeValues};
// clang-format on
} // namespace XCachedFacts

#endif
