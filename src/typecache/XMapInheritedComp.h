// SPDX-License-Identifier: MIT
//
// One kind of a type's components: its pages, groups, attributes or editors.
//
// The server's records are delivered, wait until somebody asks, and are parsed and merged with the base type's map
// then. The map, the number of its content, the number of the base's content that was merged, their stamp and the
// records that wait are published together, under one lock. The map is current while its stamp is what would be noted
// now, and the base's map is current with the content that was merged.
//
// Locks      Completion goes down the chain of bases from its top and takes the fetch mutex of one type after the
//            other, however long the chain is. The server is asked, and records are parsed, with no lock held. The
//            map's own lock is held briefly and nothing foreign is called under it.
#ifndef XMAPINHERITEDCOMP_H
#define XMAPINHERITEDCOMP_H

#include "LXTypeCacheComp.h"
#include "XBasicCritSection.h"

namespace XLXTypeCacheComp
{
/// Binds each kind of map to its transfer-mode bit, its aspects and the owner's parse operation.
template <class Map>
struct XInheritedCacheFillUpTraits;

/// Raised after every change but that of a clock that may make any map no longer current: so that a map which was
/// found current need not walk its chain of bases again until something changed somewhere.
inline std::atomic<std::uint64_t> g_componentEpoch{1};

template <class Map>
class XMapInheritedComp
{
    using Traits = XInheritedCacheFillUpTraits<Map>;
    using Lock = XCountedLock<XCritSectionTraits<XCriticalSectionEx>>;

public:
    XMapInheritedComp(XLXFillCacheDef& owner, bool inherits) : m_inherits(inherits), m_owner(owner) {}
    XMapInheritedComp(const XMapInheritedComp&) = delete;
    XMapInheritedComp& operator=(const XMapInheritedComp&) = delete;

    /// What is noted before the type's server object is asked.
    XStamp Note() const noexcept { return {Now(), m_own.Now()}; }
    /// The stamp of what a bulk answer brought.
    XStamp StampFrom(const XMoment& moment) const noexcept
    {
        return LXStampFrom(moment, Traits::Set, m_own, m_owner.DirectOfType());
    }

    /// Takes the server's records of this kind, or none, for parsing on first use, unless newer ones are there.
    void Deliver(XDeliveredRecords records, const XStamp& stamp, XRetired& retired);

    /// Whether the server need not be asked: it has delivered, or the map holds what it has.
    bool HasData() const;

    /// Brings the map up to date. S_FALSE: it is empty, and nothing was delivered. Raises failures; the next query
    /// asks again then.
    HRESULT EnsureComplete();

    /// Makes the map stale. Waits for nobody.
    void Advance() noexcept
    {
        m_own.Advance();
        g_componentEpoch.fetch_add(1);
    }
    /// Says that a type has another base type: what was merged from the old one has another content.
    static void BaseChanged() noexcept { g_componentEpoch.fetch_add(1); }

    /// Passes a notification on to the type's own components: those of the base are notified by the base.
    void NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) const;

    /// Calls reader(map) under the read lock; the reader calls nothing foreign.
    template <class Reader>
    decltype(auto) Read(Reader&& reader) const
    {
        const XSmartReadCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
        return reader(static_cast<const Map&>(m_state.map));
    }

    /// A copy of the map.
    Map Snapshot() const
    {
        return Read([](const Map& map) { return map; });
    }

    /// Empties the map; what it held is terminated and released with no lock held.
    void Terminate();

private:
    struct State
    {
        Map map;
        std::uint64_t content = 0;     ///< changes whenever the map is replaced
        const void* base = nullptr;    ///< whose map was merged; compared only
        std::uint64_t baseContent = 0; ///< what its content was then
        XStamp stamp;                  ///< of the map
        XStampedRecords delivered;     ///< no stamp: nothing was delivered
    };
    using Bases = std::vector<XLXComPtr<XLXTypeCache>>;
    static constexpr int MostAttempts = 3; // while types are linked anew

    std::uint64_t Now() const noexcept { return m_owner.ClockOfType()->Now(Traits::Set); }
    std::uint64_t Check() const noexcept { return g_componentEpoch.load() + Now(); }
    Bases BasesNearestFirst() const;
    std::uint64_t Content() const;
    bool IsCurrent(std::uint64_t baseContent, std::uint64_t& content) const;
    bool IsComplete() const;
    std::optional<HRESULT> EnsureCurrent(const XMapInheritedComp* base);
    std::optional<HRESULT> Complete(const XMapInheritedComp* base);
    XStampedRecords TakeRecords();
    XStampedRecords TakeDelivered();
    bool AreValuesFresh(const XMoment& moment) const noexcept;
    void Publish(Map fresh, const void* base, std::uint64_t baseContent, const XStampedRecords& from);
    void AttachAll(const Map& fresh, const XMoment& moment) const;
    void DetachReplaced(const Map& fresh, const XMoment& moment) const;

    const bool m_inherits;
    XLXFillCacheDef& m_owner;
    XOwnCount m_own;
    mutable std::atomic<std::uint64_t> m_checkedAt{0}; // Check() when the map was last found complete
    mutable Lock m_lock{XLockLevel::ComponentMap};
    State m_state; // guarded by m_lock
};

template <>
struct XInheritedCacheFillUpTraits<XPageMap>
{
    static constexpr LONG ModeBit = LXTM_PAGES;
    static constexpr XAspect Set = XAspect::TypePages;
    static constexpr XAspectSet Values{XAspect::PageValues};
    static constexpr auto Fill = &XLXFillCacheDef::FillPageMap;
    static XMapInheritedComp<XPageMap>& Of(XLXTypeCache& type);
};

template <>
struct XInheritedCacheFillUpTraits<XGroupMap>
{
    static constexpr LONG ModeBit = LXTM_GROUPS;
    static constexpr XAspect Set = XAspect::TypeGroups;
    static constexpr XAspectSet Values{XAspect::GroupValues};
    static constexpr auto Fill = &XLXFillCacheDef::FillGroupMap;
    static XMapInheritedComp<XGroupMap>& Of(XLXTypeCache& type);
};

template <>
struct XInheritedCacheFillUpTraits<XAttributeMap>
{
    static constexpr LONG ModeBit = LXTM_ATTRIBUTES;
    static constexpr XAspect Set = XAspect::TypeAttributes;
    static constexpr XAspectSet Values{XAspect::AttributeValues, XAspect::AttributeTypes, XAspect::AttributeTypeValues};
    static constexpr auto Fill = &XLXFillCacheDef::FillAttributeMapFromSafeArray;
    static XMapInheritedComp<XAttributeMap>& Of(XLXTypeCache& type);
};

template <>
struct XInheritedCacheFillUpTraits<XEditorMap>
{
    static constexpr LONG ModeBit = LXTM_EDITORS;
    static constexpr XAspect Set = XAspect::TypeEditors;
    static constexpr XAspectSet Values{XAspect::EditorValues};
    static constexpr auto Fill = &XLXFillCacheDef::FillEditorMap;
    static XMapInheritedComp<XEditorMap>& Of(XLXTypeCache& type);
};

extern template class XMapInheritedComp<XPageMap>;
extern template class XMapInheritedComp<XGroupMap>;
extern template class XMapInheritedComp<XAttributeMap>;
extern template class XMapInheritedComp<XEditorMap>;
} // namespace XLXTypeCacheComp

#endif
