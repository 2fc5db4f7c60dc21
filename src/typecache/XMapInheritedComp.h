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
//            map itself is never changed, only replaced: it is looked up without a lock, and walked with none.
#ifndef XMAPINHERITEDCOMP_H
#define XMAPINHERITEDCOMP_H

#include "LXTypeCacheComp.h"

namespace XLXTypeCacheComp
{
/// Raised after every change but that of a clock that may make any map no longer current: so that a map which was
/// found current need not walk its chain of bases again until something changed somewhere.
inline std::atomic<std::uint64_t> g_componentEpoch{1};

template <const auto& Kind>
class XMapInheritedComp
{
public:
    using Map = XComponents<Kind>;
    using MapPtr = std::shared_ptr<const Map>;
    static constexpr const auto& TheKind = Kind;

    explicit XMapInheritedComp(XLXTypeCache& owner) noexcept;
    XMapInheritedComp(const XMapInheritedComp&) = delete;
    XMapInheritedComp& operator=(const XMapInheritedComp&) = delete;

    /// What is noted before the type's server object is asked.
    XStamp Note() const noexcept { return {Now(), m_own.Now()}; }
    /// The stamp of what a bulk answer brought.
    XStamp StampFrom(const XMoment& moment) const noexcept
    {
        return LXStampFrom(moment, Kind.set, m_own, m_ownersNumber);
    }

    /// Takes the server's records of this kind, or none, for parsing on first use, unless newer ones are there.
    void Deliver(XStampedRecords records, XRetired& retired);

    /// Whether the server need not be asked: it has delivered, or the map holds what it has.
    bool HasData() const;

    /// Brings the map up to date. Raises failures; the next query asks again then.
    void EnsureComplete()
    {
        if (m_checkedAt.load() != Check())
        {
            CompleteChain();
        }
    }
    /// The map as it is.
    MapPtr Held() const
    {
        return m_state.Read([](const State& state) { return state.map; });
    }
    /// The map, brought up to date.
    MapPtr Complete()
    {
        EnsureComplete();
        return Held();
    }
    /// The component under a key, or null, in the map as it is.
    template <class Key>
    XLXComPtr<typename XKind<Kind>::Cached> Find(const Key& key) const
    {
        return m_state.Read([&](const State& state) {
            const auto found = state.map->find(key);
            return found != state.map->end() ? found->second.object : nullptr;
        });
    }

    /// Makes the map stale. Waits for nobody.
    void Advance() noexcept
    {
        m_own.Advance();
        g_componentEpoch.fetch_add(1);
    }

    /// Passes a notification on to the type's own components: those of the base are notified by the base.
    void NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) const;

    /// Empties the map; what it held is terminated and released with no lock held.
    void Terminate();

private:
    static inline const Map None{};
    struct State
    {
        MapPtr map{MapPtr(), &None};
        std::uint64_t content = 0;     ///< changes whenever the map is replaced
        const void* base = nullptr;    ///< whose map was merged; compared only
        std::uint64_t baseContent = 0; ///< what its content was then
        XStamp stamp;                  ///< of the map
        XStampedRecords delivered;     ///< no stamp: nothing was delivered
    };
    static constexpr int MostAttempts = 3; // while types are linked anew

    std::uint64_t Now() const noexcept { return m_clock.Now(Kind.set); }
    std::uint64_t Check() const noexcept { return g_componentEpoch.load() + Now(); }
    std::vector<XLXComPtr<XLXTypeCache>> ChainFromTop() const;
    std::uint64_t Content() const;
    bool IsCurrent(std::uint64_t baseContent, std::uint64_t& content) const;
    bool IsComplete() const;
    void CompleteChain();
    bool EnsureCurrent(const XMapInheritedComp* base);
    bool CompleteWith(const XMapInheritedComp* base);
    XStampedRecords TakeRecords();
    bool AreValuesFresh(const XMoment& moment) const noexcept;
    void Publish(MapPtr fresh, const void* base, std::uint64_t baseContent, const XStampedRecords& from);
    void AttachAll(const Map& fresh, const XMoment& moment) const;
    void DetachReplaced(const Map& former, const Map& fresh, const XMoment& moment) const;

    XLXTypeCache& m_owner;
    const XClock& m_clock;               // the owner's
    const XDirectNumber& m_ownersNumber; // of the last notification that came straight to it
    XOwnCount m_own;
    mutable std::atomic<std::uint64_t> m_checkedAt{0}; // Check() when the map was last found complete
    XSharedGuarded<State> m_state{XLockLevel::ComponentMap};
};
} // namespace XLXTypeCacheComp

#endif
