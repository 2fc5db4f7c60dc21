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
//            map itself is never changed, only replaced: it is looked up without a lock, and walked with none held.
#ifndef XMAPINHERITEDCOMP_H
#define XMAPINHERITEDCOMP_H

#include "LXTypeCacheComp.h"

#include <algorithm>

namespace XLXTypeCacheComp {
/// Raised after every change but that of a clock that may make any map no longer current: so that a map which was
/// found current need not walk its chain of bases again until something changed somewhere.
inline std::atomic<std::uint64_t> g_componentEpoch{1};
/// Names the content of a map, in the whole process.
inline std::atomic<std::uint64_t> g_lastContent{0};

/// @tparam Owner  the type that has the map
template <const auto& Kind, class Owner> class XMapInheritedComp {
public:
    using Component = XComponent<Kind>;
    /// Attributes: with those of the bases.
    using Map = std::conditional_t<XKind<Kind>::HasNames, XNamedMap<Component>,
                                   XSortedMap<typename XKind<Kind>::Key, Component>>;
    using MapPtr = std::shared_ptr<const Map>;
    static constexpr const auto& TheKind = Kind;

    explicit XMapInheritedComp(Owner& owner) noexcept : m_owner(owner) {}

    /// What is noted before the type's server object is asked.
    XStamp Note() const noexcept { return {Now(), m_own.Now()}; }
    /// The stamp of what a bulk answer brought.
    XStamp StampFrom(const XMoment& moment) const noexcept {
        return LXStampFrom(moment, Kind.set, m_own, m_owner.Direct());
    }

    /// Takes the server's records of this kind, or none, for parsing on first use, unless newer ones are there. A map
    /// for which records wait is not current, so that nothing waits unseen.
    void Deliver(XStampedRecords records, XRetired& retired) {
        m_state.Write([&](State& state) {
            const XStamp& stamp = records.stamp;
            if (!stamp.IsNone() && !stamp.IsOlderThan(state.delivered.stamp) && !stamp.IsOlderThan(state.stamp)) {
                std::swap(state.delivered, records);
            }
        });
        g_componentEpoch.fetch_add(1);
        retired.Take(std::move(records.array));
    }

    /// Whether the server need not be asked: it has delivered, or the map holds what it has.
    bool HasData() const {
        return m_state.Read(
            [&, now = Note()](const State& state) { return IsUsable(state.delivered) || state.stamp == now; });
    }

    /// Brings the map up to date. Raises failures; the next query asks again then.
    void EnsureComplete() {
        if (m_checkedAt.load() != Check()) { CompleteChain(); }
    }
    /// The map, brought up to date.
    MapPtr Complete() {
        EnsureComplete();
        return Held();
    }
    /// The component under a key, or null, in the map as it is.
    XLXComPtr<typename XKind<Kind>::Cached> Find(const auto& key) const {
        return m_state.Read([&](const State& state) {
            const auto found = state.map->find(key);
            return found != state.map->end() ? found->second.object : nullptr;
        });
    }

    /// Gives the values of records to the type's own components that are there. Of a map that was not asked for yet
    /// the records wait, in the place of older ones.
    void Refill(XLXSafeArray records, const std::shared_ptr<const XMoment>& moment, XRetired& retired) {
        const MapPtr current = Held();
        if (current->empty() && m_state.Read([](const State& state) { return state.stamp.IsNone(); })) {
            Deliver({std::move(records), moment, StampFrom(*moment)}, retired);
            return;
        }
        for (auto& record : LXReadList<Kind>(std::move(records), m_owner.m_name)) {
            const auto key = LXKeyOf<Kind>(record.values);
            const auto found = key ? current->find(*key) : current->end();
            if (found != current->end() && found->second.owner == &m_owner) {
                auto& component = *found->second.object;
                component.RefillValues(std::move(record.values), *moment, retired);
                if constexpr (Kind.mode == LXTM_ATTRIBUTES) {
                    component.RefillAttributeTypes(std::move(record.types), *moment, retired);
                }
            }
            retired.Take(std::move(record.object));
        }
    }
    /// Whether one of the type's own components that are there has stale values.
    bool HasStaleValues() const {
        bool isStale = false;
        const MapPtr current = Held();
        ForEachOwn(*current, [&](const auto&, const auto& object) { isStale = isStale || !object.AreValuesFresh(); });
        return isStale;
    }

    /// Makes the map stale. Waits for nobody.
    void Advance() noexcept {
        m_own.Advance();
        g_componentEpoch.fetch_add(1);
    }

    /// Passes a notification on to the type's own components: those of the base are notified by the base. They only
    /// advance counts, so they may be called under the lock.
    void NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) const {
        m_state.Read([&](const State& state) {
            ForEachOwn(*state.map, [&](const auto&, auto& object) { object.NotifyDirectly(notification, touched); });
        });
    }

    /// Empties the map; what it held is terminated and released with no lock held.
    void Terminate() {
        State dropped;
        m_own.Advance();
        m_state.Write([&](State& state) {
            state.map.swap(dropped.map);
            state.content = g_lastContent.fetch_add(1) + 1;
            state.stamp = {};
            std::swap(state.delivered, dropped.delivered);
        });
        g_componentEpoch.fetch_add(1);
        ForEachOwn(*dropped.map, [](const auto&, auto& object) { object.Terminate(); });
    }

private:
    static inline const Map None{};
    struct State {
        MapPtr map{MapPtr(), &None};
        std::uint64_t content = 0;     ///< changes whenever the map is replaced
        const void* base = nullptr;    ///< whose map was merged; compared only
        std::uint64_t baseContent = 0; ///< what its content was then
        XStamp stamp;                  ///< of the map
        XStampedRecords delivered;     ///< no stamp: nothing was delivered
    };
    static constexpr int MostAttempts = 3; // while types are linked anew

    std::uint64_t Now() const noexcept { return m_owner.Clock()->Now(Kind.set); }
    std::uint64_t Check() const noexcept { return g_componentEpoch.load() + Now(); }
    MapPtr Held() const {
        return m_state.Read([](const State& state) { return state.map; });
    }
    std::uint64_t Content() const {
        return m_state.Read([](const State& state) { return state.content; });
    }

    /// Calls visit(key, cached object) for the components that the type does not have from a base.
    void ForEachOwn(const Map& map, auto&& visit) const {
        for (const auto& [key, component] : map) {
            if (component.owner == &m_owner) { visit(key, *component.object); }
        }
    }

    /// The content of the map when it is fresh, with what a base of that content holds (0: without a base).
    std::optional<std::uint64_t> ContentIfCurrent(std::uint64_t baseContent) const {
        return m_state.Read([&, now = Note()](const State& state) {
            const bool isFresh = state.stamp == now && state.delivered.stamp.IsNone();
            return isFresh && state.baseContent == baseContent ? std::optional(state.content) : std::nullopt;
        });
    }

    /// The types whose maps are merged; the owner is the last one.
    std::vector<XLXComPtr<Owner>> ChainFromTop() const {
        std::vector<XLXComPtr<Owner>> chain;
        for (XLXComPtr<Owner> type(&m_owner); type; type = BaseOf(*type)) {
            chain.push_back(type);
        }
        std::reverse(chain.begin(), chain.end());
        return chain;
    }
    static XLXComPtr<Owner> BaseOf(const Owner& type) noexcept { return Kind.inherits ? type.BaseType() : nullptr; }
    static XMapInheritedComp& MapOf(Owner& type) noexcept { return type.template MapOf<Kind>(); }

    // From the top of the chain downwards, so that a base is found current before what was merged from it is compared.
    // What was found is remembered for as long as nothing changes, in a chain whose types share a clock.
    bool IsComplete() const {
        const std::uint64_t check = Check(); // before the maps are looked at
        bool sharesClock = true;
        std::optional<std::uint64_t> content = 0;
        for (const auto& type : ChainFromTop()) {
            const XMapInheritedComp& map = MapOf(*type);
            content = map.ContentIfCurrent(*content);
            if (!content) { return false; }
            sharesClock = sharesClock && type->Clock() == m_owner.Clock();
            if (sharesClock) { map.m_checkedAt.store(check); }
        }
        return true;
    }

    // One base after the other, not one inside the other: a chain of any length needs no more of the stack, and no
    // thread waits for a type's fetch mutex while it holds another one. What a notification overtakes on the way is
    // merged as it is, and found stale by the next query. A chain that is linked anew meanwhile is gone through again.
    void CompleteChain() {
        bool isLinkedAnew = true;
        for (int attempt = 0; attempt < MostAttempts && isLinkedAnew && !IsComplete(); ++attempt) {
            const XMapInheritedComp* above = nullptr;
            isLinkedAnew = false;
            const auto chain = ChainFromTop();
            std::vector<std::uint32_t> begun;
            for (const auto& type : chain) {
                begun.push_back(MapOf(*type).m_fills.Begun());
            }
            for (std::size_t i = 0; i < chain.size() && !isLinkedAnew; ++i) {
                isLinkedAnew = !MapOf(*chain[i]).EnsureCurrent(above, begun[i]);
                above = &MapOf(*chain[i]);
            }
        }
    }

    /// @param begun  the fills that had begun when the question came
    /// @return false: the type has another base meanwhile
    bool EnsureCurrent(const XMapInheritedComp* base, std::uint32_t begun) {
        const auto contentOfBase = [&] { return base != nullptr ? base->Content() : 0; };
        const std::uint64_t leastContent = contentOfBase();
        if (ContentIfCurrent(leastContent)) { return true; }
        const XFill fill(m_owner.m_fetch, this);
        // A server that asks back while it is being asked gets what is there.
        if (fill.IsReentered() || ContentIfCurrent(contentOfBase())) { return true; }
        if (m_fills.IsServed(begun) && HasMerged(base, leastContent)) { return true; }
        bool isLinked = false;
        m_fills.Run(fill, [&] { return isLinked = CompleteWith(base); });
        return isLinked;
    }
    /// Whether the map was completed, with a base's map of at least that content.
    bool HasMerged(const XMapInheritedComp* base, std::uint64_t content) const {
        return m_state.Read([&](const State& state) {
            return !state.stamp.IsNone() && state.base == base && state.baseContent >= content;
        });
    }

    // The base type's definition of a component wins over that of a derived type, so its entries go in first. Without
    // records of its own the type shares the base's map.
    bool CompleteWith(const XMapInheritedComp* base) {
        XRetired retired; // goes last
        State fresh;
        if (base != nullptr) {
            base->m_state.Read([&](const State& state) {
                fresh.map = state.map;
                fresh.baseContent = state.content;
            });
        }
        fresh.base = base;
        XStampedRecords records = TakeRecords();
        fresh.stamp = records.stamp;
        if (records.array) { fresh.map = Merge(*fresh.map, records, retired); }
        // With the fetch mutex held: whoever completes the map with a newer base comes later.
        const auto linked = BaseOf(m_owner);
        if ((linked ? &MapOf(*linked) : nullptr) != base) { return false; }
        Publish(fresh, *records.moment);
        return true;
    }

    // What waits is taken: it is no longer there for anybody else, so that a thread that could not wait asks the server
    // itself. Records that a notification made stale while they waited are fetched again, with those of many types or
    // with one call for the type. Records that it makes stale while they are being fetched are taken all the same,
    // since somebody waits for them; their stamps say what is stale.
    XStampedRecords TakeRecords() {
        XStampedRecords waiting = TakeWaiting();
        if (!IsUsable(waiting) && waiting.stamp == Note() && m_owner.IsReadWithAll()) { waiting = TakeWaiting(); }
        return IsUsable(waiting) ? std::move(waiting) : m_owner.FetchTypeCacheComponents(Kind.mode);
    }
    XStampedRecords TakeWaiting() {
        return m_state.Write([](State& state) { return std::exchange(state.delivered, XStampedRecords{}); });
    }
    /// Whether records say which components there are, and what their values are.
    bool IsUsable(const XStampedRecords& records) const noexcept {
        return records.stamp == Note() && (!records.array || AreValuesFresh(*records.moment));
    }
    /// Whether the values of records that were delivered are still what the server has.
    bool AreValuesFresh(const XMoment& moment) const noexcept {
        bool fresh = !m_owner.Direct().IsNewerThan(moment);
        Kind.values.ForEach(
            [&](XAspect aspect) { fresh = fresh && moment.At(aspect) == m_owner.Clock()->Now(aspect); });
        return fresh;
    }

    /// Parses records and adds their components to those of the base. One that the base has, too, is left out.
    MapPtr Merge(const Map& ofBase, XStampedRecords& records, XRetired& retired) {
        const auto merged = std::make_shared<Map>(ofBase);
        const MapPtr current = Held();
        auto list = LXReadList<Kind>(std::move(records.array), m_owner.m_name);
        merged->Reserve(ofBase.size() + list.size());
        for (auto& record : list) {
            auto key = LXKeyOf<Kind>(record.values);
            if (!key || ofBase.find(*key) != ofBase.end()) { continue; }
            Component component = Refresh(*current, *key, record, *records.moment, retired);
            if constexpr (Kind.mode == LXTM_ATTRIBUTES) {
                component.object->AssignAttributeTypes(
                    std::move(record.types), *records.moment, [&] { return SourceOf(*key); }, retired);
            }
            merged->Add(std::move(*key), std::move(component));
        }
        merged->Settle();
        return merged;
    }

    /// Where the server object of a component is asked for.
    XServerSourcePtr SourceOf(const typename XKind<Kind>::Key& key) const {
        return std::make_shared<const XComponentSource<Kind>>(m_owner.m_selfLink, key);
    }

    /// The type's own component under a key, refreshed in place, so that whoever holds it goes on being notified; or a
    /// new one.
    Component Refresh(const Map& current, const typename XKind<Kind>::Key& key,
                      XLXCFCDataTransfer::XILXConfigData& record, const XMoment& moment, XRetired& retired) {
        XServerSourcePtr source = record.object ? nullptr : SourceOf(key);
        if (const auto found = current.find(key); found != current.end() && found->second.owner == &m_owner) {
            found->second.object->TakeRecord(std::move(record.object), std::move(record.values), moment, retired,
                                             std::move(source));
            return found->second;
        }
        const auto made = LXCFCTOOLS::Make<typename XKind<Kind>::Cached>(std::move(record.object), m_owner.Clock());
        made->SetRefill(m_owner.m_componentRefill);
        if (source) { made->SetSource(std::move(source)); }
        if constexpr (Kind.mode == LXTM_GROUPS) { made->SetOwner(m_owner.m_selfLink); }
        made->AssignProperties(std::move(record.values), moment);
        return {made, &m_owner};
    }

    /// @param fresh  leaves with the former map, which goes after the lock
    void Publish(State& fresh, const XMoment& moment) {
        m_state.Write([&](State& state) {
            const bool isBaseOlder = state.base == fresh.base && fresh.baseContent < state.baseContent;
            if (isBaseOlder || fresh.stamp.IsOlderThan(state.stamp)) {
                return; // a thread that could not wait was later
            }
            Attach(*fresh.map, moment);
            DetachReplaced(*state.map, *fresh.map, moment);
            fresh.content = g_lastContent.fetch_add(1) + 1;
            std::swap(fresh.delivered, state.delivered); // those stay
            std::swap(fresh, state);
        });
        g_componentEpoch.fetch_add(1);
    }

    /// The type passes a notification that comes straight to it on to the components in the map. Those that enter it
    /// after one that came while they were on their way would miss it.
    void Attach(const Map& fresh, const XMoment& moment) const {
        ForEachOwn(fresh, [&](const auto&, auto& object) {
            object.Attach();
            object.TakeOwnersNumber(m_owner.Direct(), moment);
        });
    }

    /// Detaches the type's own components that leave the map. One that takes the place of a component which was
    /// notified itself while the records were on their way would miss that; the former one is detached before it is
    /// looked at, so that it was notified either before, or advances the clock.
    void DetachReplaced(const Map& former, const Map& fresh, const XMoment& moment) const {
        ForEachOwn(former, [&](const auto& key, auto& object) {
            const auto found = fresh.find(key);
            auto* const now = found != fresh.end() ? found->second.object.Get() : nullptr;
            if (now == &object) { return; }
            object.Detach();
            if (now != nullptr && object.WasNotifiedSince(moment)) { now->AdvanceAll(); }
        });
    }

    Owner& m_owner;
    XOwnCount m_own;
    XFillCount m_fills;
    mutable std::atomic<std::uint64_t> m_checkedAt{0}; // Check() when the map was last found complete
    XSharedGuarded<State> m_state{XLockLevel::ComponentMap};
};
} // namespace XLXTypeCacheComp

#endif
