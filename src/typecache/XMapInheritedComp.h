// SPDX-License-Identifier: MIT
//
// One kind of a type's components: its pages, groups, attributes or editors.
//
// A map is empty, delivered (the server's records wait to be parsed) or complete (parsed and merged with the
// base type's map). These states hold for one generation of the map: a notification only raises the
// generation, waits for nobody, and the next query completes the map again. What the notification overtook is
// still given to the one who asked for it, and is just not kept as complete.
//
// Locks  Completion goes down the chain of bases from its top and runs under the fetch mutex of one type
//        after the other, however long the chain is. The server is asked with no lock held. The map's own
//        lock guards the map and the pending records; it is held briefly and nothing foreign is called under
//        it.
#ifndef XMAPINHERITEDCOMP_H
#define XMAPINHERITEDCOMP_H

#include "LXTypeCacheComp.h"
#include "XBasicCritSection.h"

namespace XLXTypeCacheComp
{
/// Binds each kind of map to its transfer-mode bit, its update-mode bit and the owner's parse operation.
template <class Map>
struct XInheritedCacheFillUpTraits;

/// Raised after every change that may make any complete map incomplete, so that a map found complete once
/// need not walk its chain of bases again until something changed somewhere.
inline std::atomic<std::uint64_t> g_componentEpoch{1};

/// What is noted before the server is asked, so that an answer which a notification overtook is told apart.
struct XComponentNote
{
    std::uint64_t generation;
    std::uint64_t values;
    std::uint64_t direct;
};

/// What a notification touches of a type: kept together, apart from the maps, since every notification comes
/// to every type.
struct XComponentCounts
{
    /// Of one kind of component.
    struct OfKind
    {
        std::atomic<std::uint64_t> generation{1};
        std::atomic<std::uint64_t> values{1};

        /// Makes the map incomplete. Waits for nobody.
        void Reset() noexcept
        {
            generation.fetch_add(1);
            values.fetch_add(1);
            g_componentEpoch.fetch_add(1);
        }
        /// Says that values of components of this kind changed: records that were delivered, or are on their
        /// way, are stale.
        void ValuesChanged() noexcept { values.fetch_add(1); }
    };
    /// Bits (LXTransferMode), set for good when the type first holds a component of that kind. As long as
    /// one is not, a notification need not look for components of the kind.
    std::atomic<LONG> held{0};
    OfKind attributes;
    OfKind pages;
    OfKind groups;
    OfKind editors;
};

template <class Map>
class XMapInheritedComp
{
    using Traits = XInheritedCacheFillUpTraits<Map>;
    using Lock = XCountedLock<XCritSectionTraits<XCriticalSectionEx>>;

public:
    using Note = XComponentNote;

    /// @param counts  the owner's, of which the map uses those of its own kind
    XMapInheritedComp(XLXFillCacheDef& owner, bool inherits, XComponentCounts& counts)
        : m_inherits(inherits), m_owner(owner), m_counts(Traits::CountsOf(counts)), m_held(counts.held)
    {}
    XMapInheritedComp(const XMapInheritedComp&) = delete;
    XMapInheritedComp& operator=(const XMapInheritedComp&) = delete;

    Note TakeNote() const noexcept
    {
        return {m_counts.generation.load(), m_counts.values.load(), XNotificationEpoch::NoteDirect()};
    }

    /// Takes the server's records of this kind, or none, for parsing on first use. Returns the records that
    /// they replace, to be destroyed with no lock held.
    [[nodiscard]] XLXSafeArray Deliver(XLXSafeArray array, LONG mode, const Note& note);

    /// Whether the server need not be asked: it has delivered, or the map is complete.
    bool HasData() const noexcept;
    bool IsComplete() const;

    /// Brings the map up to date. S_FALSE: it is empty, and nothing was delivered. Raises failures, which
    /// leave the map incomplete, so that the next query asks again.
    HRESULT EnsureComplete();

    /// Says that the owning type has another base type: what was merged from the old one is found out by its
    /// content.
    static void BaseChanged() noexcept { g_componentEpoch.fetch_add(1); }

    /// Calls reader(map) under the read lock; the reader calls nothing foreign.
    template <class Reader>
    decltype(auto) Read(Reader&& reader) const
    {
        const XSmartReadCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
        return reader(static_cast<const Map&>(m_map));
    }

    /// A copy of the map.
    Map Snapshot() const
    {
        return Read([](const Map& map) { return map; });
    }

    /// Empties the map; what it held is terminated and released with no lock held.
    void Terminate();

private:
    struct Pending
    {
        XLXSafeArray array;
        Note note{};
    };

    using Bases = std::vector<XLXComPtr<XLXTypeCache>>;

    Bases BasesNearestFirst() const;
    bool IsCurrent(const XMapInheritedComp* base) const noexcept;
    bool AreValuesCurrent(const Note& note) const noexcept;
    HRESULT EnsureCurrent(const XMapInheritedComp* base);
    HRESULT Complete(const XMapInheritedComp* base);
    Map MergeFrom(const XMapInheritedComp* base);
    Pending TakeFreshPending();
    Pending TakePending();
    void Publish(Map&& fresh, const Note& note, std::uint64_t completedAt, bool parsed);
    void ForgetDelivered();

    const bool m_inherits;
    XLXFillCacheDef& m_owner;
    XComponentCounts::OfKind& m_counts;
    std::atomic<LONG>& m_held;
    std::atomic<std::uint64_t> m_completedAt{0}; // complete while it equals the generation
    std::atomic<std::uint64_t> m_deliveredAt{0}; // delivered while it equals the generation
    std::atomic<std::uint64_t> m_content{0};     // changes whenever the map is replaced
    std::atomic<std::uint64_t> m_baseContent{0}; // what the base's content was when it was merged
    mutable std::atomic<std::uint64_t> m_checkedAt{
        0}; // component epoch at which the map was last found complete
    mutable Lock m_lock{XLockLevel::ComponentMap};
    Map m_map;         // guarded by m_lock
    Pending m_pending; // guarded by m_lock
};

template <>
struct XInheritedCacheFillUpTraits<XPageMap>
{
    static constexpr LONG ModeBit = LXTM_PAGES;
    static constexpr LONG UpdateBit = LXUM_PAGES;
    static constexpr const char* Name = "pages";
    static XComponentCounts::OfKind& CountsOf(XComponentCounts& counts) noexcept { return counts.pages; }
    static bool ConcernsValues(LXDataIdKind kind, LONG mode)
    {
        return XCachedFacts::Page.Invalidates(kind, mode);
    }
    static void Fill(XLXFillCacheDef& owner, XLXSafeArray array, const XPageMap& current, XPageMap& fresh)
    {
        owner.FillPageMap(std::move(array), current, fresh);
    }
    static XMapInheritedComp<XPageMap>& Of(XLXTypeCache& type);
};

template <>
struct XInheritedCacheFillUpTraits<XGroupMap>
{
    static constexpr LONG ModeBit = LXTM_GROUPS;
    static constexpr LONG UpdateBit = LXUM_GROUPS;
    static constexpr const char* Name = "groups";
    static XComponentCounts::OfKind& CountsOf(XComponentCounts& counts) noexcept { return counts.groups; }
    static bool ConcernsValues(LXDataIdKind kind, LONG mode)
    {
        return XCachedFacts::Group.Invalidates(kind, mode);
    }
    static void Fill(XLXFillCacheDef& owner, XLXSafeArray array, const XGroupMap& current, XGroupMap& fresh)
    {
        owner.FillGroupMap(std::move(array), current, fresh);
    }
    static XMapInheritedComp<XGroupMap>& Of(XLXTypeCache& type);
};

template <>
struct XInheritedCacheFillUpTraits<XAttributeMap>
{
    static constexpr LONG ModeBit = LXTM_ATTRIBUTES;
    static constexpr LONG UpdateBit = LXUM_ATTRIBUTES;
    static constexpr const char* Name = "attributes";
    static XComponentCounts::OfKind& CountsOf(XComponentCounts& counts) noexcept { return counts.attributes; }
    static bool ConcernsValues(LXDataIdKind kind, LONG mode)
    {
        return XCachedFacts::Attribute.Invalidates(kind, mode) ||
               XCachedFacts::AttributeType.Invalidates(kind, mode);
    }
    static void Fill(XLXFillCacheDef& owner, XLXSafeArray array, const XAttributeMap& current,
                     XAttributeMap& fresh)
    {
        owner.FillAttributeMapFromSafeArray(std::move(array), current, fresh);
    }
    static XMapInheritedComp<XAttributeMap>& Of(XLXTypeCache& type);
};

template <>
struct XInheritedCacheFillUpTraits<XEditorMap>
{
    static constexpr LONG ModeBit = LXTM_EDITORS;
    static constexpr LONG UpdateBit = LXUM_EDITORS;
    static constexpr const char* Name = "editors";
    static XComponentCounts::OfKind& CountsOf(XComponentCounts& counts) noexcept { return counts.editors; }
    static bool ConcernsValues(LXDataIdKind kind, LONG mode)
    {
        return XCachedFacts::Editor.Invalidates(kind, mode);
    }
    static void Fill(XLXFillCacheDef& owner, XLXSafeArray array, const XEditorMap& current, XEditorMap& fresh)
    {
        owner.FillEditorMap(std::move(array), current, fresh);
    }
    static XMapInheritedComp<XEditorMap>& Of(XLXTypeCache& type);
};

extern template class XMapInheritedComp<XPageMap>;
extern template class XMapInheritedComp<XGroupMap>;
extern template class XMapInheritedComp<XAttributeMap>;
extern template class XMapInheritedComp<XEditorMap>;
} // namespace XLXTypeCacheComp

#endif
