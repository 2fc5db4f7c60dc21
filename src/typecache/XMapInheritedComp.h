// SPDX-License-Identifier: MIT
//
// One kind of a type's components: its pages, groups, attributes or editors.
//
// The server's records are delivered, wait until the first query, and are then parsed and merged with the base type's
// map. Each published map has a new content number. Map, content number, the merged base's content number, stamp and
// waiting records are published together, under one lock. The map is current while its stamp equals the current one, no
// records wait, and the base's map is current and still has the merged content number.
//
// Locks      Completion walks the chain of bases from the top down and holds the fill mutex of one type at a time. It
//            asks the server and parses records with no map lock held. A published map is immutable and only replaced:
//            look-ups are lock-free reads, iteration runs on a counted reference without a lock.
#ifndef XMAPINHERITEDCOMP_H
#define XMAPINHERITEDCOMP_H

#include "LXTypeCacheComp.h"

#include <algorithm>

namespace XLXTypeCacheComp {
/// Incremented after every change, other than a clock's, that may make a map stale. While this number and the clock's
/// are unchanged, a map that was found current need not walk its chain of bases again.
inline std::atomic<std::uint64_t> g_componentEpoch{1};
/// The content number assigned last; content numbers are unique in the process.
inline std::atomic<std::uint64_t> g_lastContent{0};

/// @tparam Owner  class of the type that owns the map
template <const auto& Kind, class Owner> class XMapInheritedComp {
public:
    using Component = XComponent<Kind>;
    /// For attributes, includes those of the bases.
    using Map = std::conditional_t<XKind<Kind>::HasNames, XNamedMap<Component>,
                                   XSortedMap<typename XKind<Kind>::Key, Component>>;
    using MapPtr = std::shared_ptr<const Map>;
    static constexpr const auto& TheKind = Kind;

    explicit XMapInheritedComp(Owner& owner) noexcept : m_owner(owner) {}

    /// The current stamp, taken before the server is asked.
    XStamp CurrentStamp() const noexcept { return {Now(), m_own.Now()}; }
    /// The stamp of records from a bulk answer.
    XStamp StampFrom(const XMoment& moment) const noexcept {
        return LXStampFrom(moment, Kind.set, m_own, m_owner.Direct());
    }

    /// Keeps the server's records of this kind (or the answer "none") for parsing on first use, unless newer ones
    /// are present. A map with waiting records is not current, so the next query parses them.
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

    /// Whether fresh data is present, parsed or waiting, so that the server need not be asked.
    bool HasFreshRecords() const {
        return m_state.Read(
            [&, now = CurrentStamp()](const State& state) { return IsUsable(state.delivered) || state.stamp == now; });
    }

    /// Brings the map up to date. Raises failures; the next query asks again.
    void EnsureComplete() {
        if (m_checkedAt.load() != Check()) { CompleteChain(); }
    }
    /// Brings the map up to date and returns it.
    MapPtr Complete() {
        EnsureComplete();
        return Held();
    }
    /// The component with a key in the present map, or null. Does not check that the map is current.
    XLXComPtr<typename XKind<Kind>::Cached> Find(const auto& key) const {
        return m_state.Read([&](const State& state) {
            const auto found = state.map->find(key);
            return found != state.map->end() ? found->second.object : nullptr;
        });
    }

    /// Passes the values of records to the type's own existing components. If the map was never completed, the records
    /// are kept as waiting records instead.
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
    /// Whether any of the type's own existing components has stale values.
    bool HasStaleValues() const {
        bool isStale = false;
        const MapPtr current = Held();
        ForEachOwn(*current, [&](const auto&, const auto& object) { isStale = isStale || !object.AreValuesFresh(); });
        return isStale;
    }

    /// Makes the map stale. Takes no lock.
    void Advance() noexcept {
        m_own.Advance();
        g_componentEpoch.fetch_add(1);
    }

    /// Passes a notification on to the type's own components, but not to inherited ones. The components only advance
    /// counts, so they may be called under the map's lock.
    void NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) const {
        m_state.Read([&](const State& state) {
            ForEachOwn(*state.map, [&](const auto&, auto& object) { object.NotifyDirectly(notification, touched); });
        });
    }

    /// Empties the map. Its components are terminated and released with no lock held.
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
        const void* base = nullptr;    ///< the base's map that was merged; compared only
        std::uint64_t baseContent = 0; ///< content number of that map when it was merged
        XStamp stamp;                  ///< of the map
        XStampedRecords delivered;     ///< waiting records; no stamp: none wait
    };
    static constexpr int MaxAttempts = 3; // if bases change during completion

    std::uint64_t Now() const noexcept { return m_owner.Clock()->Now(Kind.set); }
    std::uint64_t Check() const noexcept { return g_componentEpoch.load() + Now(); }
    MapPtr Held() const {
        return m_state.Read([](const State& state) { return state.map; });
    }
    std::uint64_t Content() const {
        return m_state.Read([](const State& state) { return state.content; });
    }

    /// Calls visit(key, cached object) for the components that are not inherited.
    void ForEachOwn(const Map& map, auto&& visit) const {
        for (const auto& [key, component] : map) {
            if (component.owner == &m_owner) { visit(key, *component.object); }
        }
    }

    /// The content number if the map is fresh and was merged with that content of the base (0: without a base).
    std::optional<std::uint64_t> ContentIfCurrent(std::uint64_t baseContent) const {
        return m_state.Read([&, now = CurrentStamp()](const State& state) {
            const bool isFresh = state.stamp == now && state.delivered.stamp.IsNone();
            return isFresh && state.baseContent == baseContent ? std::optional(state.content) : std::nullopt;
        });
    }

    /// The types whose maps are merged, from the topmost base down to the owner.
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

    // Walks from the top down, because a map is current only if the base is current with the content that was merged.
    // The result is remembered until something changes, but only in a chain whose types share a clock.
    bool IsComplete() const {
        const std::uint64_t check = Check(); // before the maps are read
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

    // Iterative: stack use does not depend on the length of the chain, and no thread waits for a type's fill mutex
    // while it holds another one. Data that a notification overtakes meanwhile is merged all the same; the next query
    // finds it stale. If a type gets another base meanwhile, the chain is walked again.
    void CompleteChain() {
        bool isLinkedAnew = true;
        for (int attempt = 0; attempt < MaxAttempts && isLinkedAnew && !IsComplete(); ++attempt) {
            const XMapInheritedComp* above = nullptr;
            isLinkedAnew = false;
            const auto chain = ChainFromTop();
            std::vector<std::uint32_t> begun;
            begun.reserve(chain.size());
            for (const auto& type : chain) {
                begun.push_back(MapOf(*type).m_fills.Begun());
            }
            for (std::size_t i = 0; i < chain.size() && !isLinkedAnew; ++i) {
                isLinkedAnew = !MapOf(*chain[i]).EnsureCurrent(above, begun[i]);
                above = &MapOf(*chain[i]);
            }
        }
    }

    /// Completes this map; that of the base is complete.
    /// @param begun  number of fills that had begun when the query arrived
    /// @return false: the type got another base meanwhile
    bool EnsureCurrent(const XMapInheritedComp* base, std::uint32_t begun) {
        const auto contentOfBase = [&] { return base != nullptr ? base->Content() : 0; };
        const std::uint64_t leastContent = contentOfBase();
        if (ContentIfCurrent(leastContent)) { return true; }
        const XFill fill(m_owner.m_fetch, this);
        // A server that calls back during the fetch gets the present data.
        if (fill.IsReentered() || ContentIfCurrent(contentOfBase())) { return true; }
        if (m_fills.IsServed(begun) && HasMerged(base, leastContent)) { return true; }
        bool isLinked = false;
        m_fills.Run(fill, [&] { return isLinked = CompleteWith(base); });
        return isLinked;
    }
    /// Whether the map was completed with this base, with at least that content number.
    bool HasMerged(const XMapInheritedComp* base, std::uint64_t content) const {
        return m_state.Read([&](const State& state) {
            return !state.stamp.IsNone() && state.base == base && state.baseContent >= content;
        });
    }

    // The base's definition of a component wins over the derived type's, so the base's entries come first. A type
    // without records of its own shares the base's map.
    bool CompleteWith(const XMapInheritedComp* base) {
        XRetired retired; // destroyed last
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
        // Checked with the fill mutex held: a completion with a newer base can only follow this one.
        const auto linked = BaseOf(m_owner);
        if ((linked ? &MapOf(*linked) : nullptr) != base) { return false; }
        Publish(fresh, *records.moment);
        return true;
    }

    // Takes the waiting records, or fetches them. Waiting records are moved out, so a thread that completes the map in
    // parallel (because it could not wait) asks the server itself. Waiting records that became stale are fetched again,
    // by the refill of all types or with one call for this type. Records overtaken during their own fetch are used all
    // the same, because a caller waits for them; their stamps mark what is stale.
    XStampedRecords TakeRecords() {
        XStampedRecords waiting = TakeWaiting();
        if (!IsUsable(waiting) && waiting.stamp == CurrentStamp() && m_owner.TryRefillAllTypes()) {
            waiting = TakeWaiting();
        }
        return IsUsable(waiting) ? std::move(waiting) : m_owner.FetchTypeCacheComponents(Kind.mode);
    }
    XStampedRecords TakeWaiting() {
        return m_state.Write([](State& state) { return std::exchange(state.delivered, XStampedRecords{}); });
    }
    /// Whether both the set of components and their values in the records are fresh.
    bool IsUsable(const XStampedRecords& records) const noexcept {
        return records.stamp == CurrentStamp() && (!records.array || AreValuesFresh(*records.moment));
    }
    /// Whether the values of records from that moment are fresh.
    bool AreValuesFresh(const XMoment& moment) const noexcept {
        bool fresh = !m_owner.Direct().IsNewerThan(moment);
        Kind.values.ForEach(
            [&](XAspect aspect) { fresh = fresh && moment.At(aspect) == m_owner.Clock()->Now(aspect); });
        return fresh;
    }

    /// Parses records and merges their components with the base's map. Keys that the base has are skipped.
    MapPtr Merge(const Map& ofBase, XStampedRecords& records, XRetired& retired) {
        const auto merged = std::make_shared<Map>();
        const MapPtr current = Held();
        auto list = LXReadList<Kind>(std::move(records.array), m_owner.m_name);
        merged->Reserve(ofBase.size() + list.size());
        merged->Add(ofBase);
        for (auto& record : list) {
            auto key = LXKeyOf<Kind>(record.values);
            if (!key || ofBase.find(*key) != ofBase.end()) { continue; }
            Component component = Refresh(*current, *key, record, records, retired);
            merged->Add(std::move(*key), std::move(component));
        }
        merged->Settle();
        return merged;
    }

    /// The source of a component's server object.
    XServerSourcePtr SourceOf(const typename XKind<Kind>::Key& key) const {
        return std::make_shared<const XComponentSource<Kind>>(m_owner.m_selfLink, key);
    }

    /// The type's own component with a key, refreshed in place, because clients may hold it; or a new one.
    Component Refresh(const Map& current, const typename XKind<Kind>::Key& key, auto& record,
                      const XStampedRecords& records, XRetired& retired) {
        Component component;
        if (const auto found = current.find(key); found != current.end() && found->second.owner == &m_owner) {
            component = found->second;
        } else {
            component = {LXCFCTOOLS::Make<typename XKind<Kind>::Cached>(nullptr, m_owner.Clock()), &m_owner};
            component.object->SetRefill(m_owner.m_componentRefill);
            if constexpr (Kind.mode == LXTM_GROUPS) { component.object->SetOwner(m_owner.m_selfLink); }
        }
        const XMoment& moment = *records.moment;
        XServerSourcePtr source = record.object ? nullptr : SourceOf(key);
        const bool isTaken = component.object->TakeRecord(std::move(record.object), std::move(record.values),
                                                          {records.stamp, moment}, retired, std::move(source));
        if constexpr (Kind.mode == LXTM_ATTRIBUTES) {
            if (isTaken) {
                component.object->AssignAttributeTypes(
                    std::move(record.types), moment, [&] { return SourceOf(key); }, retired);
            }
        }
        return component;
    }

    /// @param fresh  receives the former state, so that it is destroyed after the lock
    void Publish(State& fresh, const XMoment& moment) {
        m_state.Write([&](State& state) {
            const bool isBaseOlder = state.base == fresh.base && fresh.baseContent < state.baseContent;
            if (isBaseOlder || fresh.stamp.IsOlderThan(state.stamp)) {
                return; // a parallel completion has published something newer
            }
            Attach(*fresh.map, moment);
            DetachReplaced(*state.map, *fresh.map, moment);
            fresh.content = g_lastContent.fetch_add(1) + 1;
            std::swap(fresh.delivered, state.delivered); // waiting records stay in the published state
            std::swap(fresh, state);
        });
        g_componentEpoch.fetch_add(1);
    }

    /// Attaches the components that enter the map. They missed a direct notification to the type that arrived after the
    /// moment of their records; taking over the owner's number makes up for that.
    void Attach(const Map& fresh, const XMoment& moment) const {
        ForEachOwn(fresh, [&](const auto&, auto& object) {
            object.Attach();
            object.TakeOwnersNumber(m_owner.Direct(), moment);
        });
    }

    /// Detaches the type's own components that leave the map. If one was notified directly after the moment of the
    /// records, its successor missed that and is made stale. The order matters: a notification arrives either before
    /// Detach, and is found here, or after it, and advances the clock.
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
