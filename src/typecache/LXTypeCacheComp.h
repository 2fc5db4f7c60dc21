// SPDX-License-Identifier: MIT
//
// What the component maps of a type hold, and what a map asks of the type that owns it.
#ifndef LXTYPECACHECOMP_H
#define LXTYPECACHECOMP_H

#include "XFill.h"
#include "XRefCountPtr.h"
#include "XRetired.h"
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
using XRCComplexAttribute = XRCComponent<XLXAttributeCache>;
using XRCConfigEditorCache = XRCComponent<XLXConfObjEditorCache>;

using XPageMap = XSortedMap<LONG, XRefCountPtr<XRCPageCache>>;
using XGroupMap = XSortedMap<LONG, XRefCountPtr<XRCGroupCache>>;
using XAttributeMap = XSortedMap<XCFGStringKey, XRefCountPtr<XRCComplexAttribute>>;
using XEditorMap = XSortedMap<XCFGStringKey, XRefCountPtr<XRCConfigEditorCache>>;

/// A type's records of one kind, as the server delivered them.
struct XDeliveredRecords
{
    XLXSafeArray array;                    ///< null: the server has none
    std::shared_ptr<const XMoment> moment; ///< taken before the server was asked
};

template <class Map>
class XMapInheritedComp;

/// Records with the stamp that they give the map.
struct XStampedRecords
{
    XDeliveredRecords records;
    XStamp stamp; ///< none: there are no records, not even the answer that the server has none
};

/// What the component maps ask of the type that owns them. Called with no lock held.
class XLXFillCacheDef
{
public:
    /// Parse one component's records and add them to the fresh map, which has the base type's. A component that the
    /// type had already under the same key is refreshed in place and taken from the current map. An attribute that
    /// the base type has too is left out.
    virtual void FillAttributeMapFromSafeArray(XDeliveredRecords records, const XAttributeMap& current,
                                               XAttributeMap& fresh, XRetired& retired) = 0;
    virtual void FillEditorMap(XDeliveredRecords records, const XEditorMap& current, XEditorMap& fresh,
                               XRetired& retired) = 0;
    virtual void FillPageMap(XDeliveredRecords records, const XPageMap& current, XPageMap& fresh,
                             XRetired& retired) = 0;
    virtual void FillGroupMap(XDeliveredRecords records, const XGroupMap& current, XGroupMap& fresh,
                              XRetired& retired) = 0;
    /// Fetches components of one kind from the server, and returns them: whoever asks gets the answer to that
    /// question, whatever arrives by other ways. Those that the data transfer mode brings and that are not there come
    /// with them, and are delivered to their maps.
    virtual XStampedRecords FetchTypeCacheComponents(LONG mode) = 0;

    /// Of whoever fetches or completes components of the type.
    virtual XFillMutex& FetchMutex() noexcept = 0;
    /// The base type, or null.
    virtual XLXComPtr<XLXTypeCache> BaseType() const noexcept = 0;
    virtual const XLXTypeCache* Self() const noexcept = 0;
    virtual const XClockPtr& ClockOfType() const noexcept = 0;
    virtual const XDirectNumber& DirectOfType() const noexcept = 0;

protected:
    ~XLXFillCacheDef() = default;
};
} // namespace XLXTypeCacheComp

#endif
