// SPDX-License-Identifier: MIT
//
// What the component maps of a type hold, and what a map asks of the type that owns it.
#ifndef LXTYPECACHECOMP_H
#define LXTYPECACHECOMP_H

#include "XFillMutex.h"
#include "XLXSafeArray.h"
#include "XRefCountPtr.h"
#include "XSortedMap.h"
#include "lxattributecache.h"
#include "lxconfobjeditorcache.h"
#include "lxgroupcache.h"
#include "lxpagecache.h"

class XLXTypeCache;

/// What a type's components are delivered by, in bulk reads and by the data transfer mode.
enum LXTransferMode : LONG
{
    LXTM_ATTRIBUTES = 1,
    LXTM_GROUPS = 2,
    LXTM_PAGES = 4,
    LXTM_EDITORS = 8,
    LXTM_UNSET = -1
};

namespace XLXTypeCacheComp
{
/// One component of a type: the cached object, and the type that it was made for.
template <class Cached>
class XRCComponent : public XRefCountedObject
{
public:
    using CachedClass = Cached;

    XRCComponent(XLXComPtr<Cached> object, const XLXTypeCache* owner) noexcept
        : m_object(std::move(object)), m_owner(owner)
    {}
    const XLXComPtr<Cached>& Object() const noexcept { return m_object; }
    /// Whether the component is that type's own, not merged in from a base.
    bool IsOwn(const XLXTypeCache* type) const noexcept { return m_owner == type; }

private:
    const XLXComPtr<Cached> m_object;
    const XLXTypeCache* const m_owner; // compared only
};

using XRCPageCache = XRCComponent<XLXPageCache>;
using XRCGroupCache = XRCComponent<XLXGroupCache>;
using XRCConfigEditorCache = XRCComponent<XLXConfObjEditorCache>;

/// What decides in which displays an attribute is shown.
struct XDisplayFacts
{
    bool inBrowser = false;
    bool inEditor = false;
    bool inFinder = false;
    bool printable = false;
    bool inAVSet = false;
    bool vendorDefined = false;
    LONG groupNumber = 0;
};

/// An attribute with its display facts, kept so that display enumerations need not ask the attribute again.
/// They hold for one generation of the attribute's property store: an invalidation of the store makes them
/// unknown.
class XRCComplexAttribute : public XRCComponent<XLXAttributeCache>
{
public:
    using XRCComponent::XRCComponent;

    /// The facts, when they are known.
    bool KnownFacts(XDisplayFacts& facts) const noexcept;
    /// Keeps facts that were read at a generation of the store.
    void KeepFacts(const XDisplayFacts& facts, std::uint64_t generation) noexcept;
    /// The facts; read through the attribute when they are not known. A failed read is raised.
    XDisplayFacts Facts();

    /// The facts in values that a bulk read delivered.
    static XDisplayFacts FactsOf(const XVariantRow& values);
    /// Asks for the memory that FactsOf looks at.
    static void PrefetchFacts(const XVariantRow& values) noexcept;

private:
    XLeafMutex m_mutex; // one writer of the two words at a time
    std::atomic<std::uint64_t> m_generation{0};
    std::atomic<std::uint64_t> m_packed{0};
};

using XPageMap = XSortedMap<LONG, XRefCountPtr<XRCPageCache>>;
using XGroupMap = XSortedMap<LONG, XRefCountPtr<XRCGroupCache>>;
using XAttributeMap = XSortedMap<XCFGStringKey, XRefCountPtr<XRCComplexAttribute>>;
using XEditorMap = XSortedMap<XCFGStringKey, XRefCountPtr<XRCConfigEditorCache>>;

template <class Map>
class XMapInheritedComp;

/// What the component maps ask of the type that owns them. Called with the type's fetch mutex held and no
/// lock.
class XLXFillCacheDef
{
public:
    /// Parse one component's records and add them to the fresh map, which has the base type's. A component
    /// that the type had already under the same key is refreshed in place and taken from the current map. An
    /// attribute that the base type has too is left out.
    virtual void FillAttributeMapFromSafeArray(XLXSafeArray array, const XAttributeMap& current,
                                               XAttributeMap& fresh) = 0;
    virtual void FillEditorMap(XLXSafeArray array, const XEditorMap& current, XEditorMap& fresh) = 0;
    virtual void FillPageMap(XLXSafeArray array, const XPageMap& current, XPageMap& fresh) = 0;
    virtual void FillGroupMap(XLXSafeArray array, const XGroupMap& current, XGroupMap& fresh) = 0;
    /// Fetches components from the server and delivers them to the maps.
    virtual void FetchTypeCacheComponents(LONG mode) = 0;

    /// Taken before any fetch or completion; derived type before base type. Held across calls to the server.
    virtual XFillMutex& FetchMutex() noexcept = 0;
    /// The base type, or null.
    virtual XLXComPtr<XLXTypeCache> BaseType() const noexcept = 0;
    /// The map of the same kind of a base type.
    virtual const XLXTypeCache* Self() const noexcept = 0;

protected:
    ~XLXFillCacheDef() = default;
};
} // namespace XLXTypeCacheComp

#endif
