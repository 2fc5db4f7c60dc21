// SPDX-License-Identifier: MIT
#include "XMapInheritedComp.h"

#include "lxtypecache.h"

#include <algorithm>

namespace XLXTypeCacheComp
{
namespace
{
/// Names the content of a map, in the whole process.
std::atomic<std::uint64_t> g_lastContent{0};
} // namespace

template <const auto& Kind>
XMapInheritedComp<Kind>::XMapInheritedComp(XLXTypeCache& owner) noexcept
    : m_owner(owner), m_clock(*owner.Clock()), m_ownersNumber(owner.Direct())
{}

// A map for which records wait is not current, so that nothing waits unseen.
template <const auto& Kind>
void XMapInheritedComp<Kind>::Deliver(XStampedRecords records, XRetired& retired)
{
    m_state.Write([&](State& state) {
        const XStamp& stamp = records.stamp;
        if (!stamp.IsNone() && !stamp.IsOlderThan(state.delivered.stamp) && !stamp.IsOlderThan(state.stamp))
        {
            std::swap(state.delivered, records);
        }
    });
    g_componentEpoch.fetch_add(1);
    retired.Take(std::move(records.array));
}

template <const auto& Kind>
bool XMapInheritedComp<Kind>::HasData() const
{
    return m_state.Read(
        [now = Note()](const State& state) { return state.delivered.stamp == now || state.stamp == now; });
}

/// The types whose maps are merged, with the owner as the last one.
template <const auto& Kind>
std::vector<XLXComPtr<XLXTypeCache>> XMapInheritedComp<Kind>::ChainFromTop() const
{
    std::vector<XLXComPtr<XLXTypeCache>> chain;
    for (XLXComPtr<XLXTypeCache> type(&m_owner); type; type = Kind.inherits ? type->BaseType() : nullptr)
    {
        chain.push_back(type);
    }
    std::reverse(chain.begin(), chain.end());
    return chain;
}

template <const auto& Kind>
std::uint64_t XMapInheritedComp<Kind>::Content() const
{
    return m_state.Read([](const State& state) { return state.content; });
}

/// Whether the map is fresh, with what a base of that content holds (0: without a base).
/// @param content  receives the content of the map
template <const auto& Kind>
bool XMapInheritedComp<Kind>::IsCurrent(std::uint64_t baseContent, std::uint64_t& content) const
{
    return m_state.Read([&, now = Note()](const State& state) {
        content = state.content;
        return state.stamp == now && state.delivered.stamp.IsNone() && state.baseContent == baseContent;
    });
}

// From the top of the chain downwards, so that a base is found current before what was merged from it is compared.
// What was found is remembered for as long as nothing changes, in a chain whose types share a clock.
template <const auto& Kind>
bool XMapInheritedComp<Kind>::IsComplete() const
{
    const std::uint64_t check = Check(); // before the maps are looked at
    bool sharesClock = true;
    std::uint64_t content = 0;
    for (const auto& type : ChainFromTop())
    {
        const XMapInheritedComp& map = type->template MapOf<Kind>();
        if (!map.IsCurrent(content, content))
        {
            return false;
        }
        sharesClock = sharesClock && &map.m_clock == &m_clock;
        if (sharesClock)
        {
            map.m_checkedAt.store(check);
        }
    }
    return true;
}

// One base after the other, not one inside the other: a chain of any length needs no more of the stack, and no thread
// waits for a type's fetch mutex while it holds another one. What a notification overtakes on the way is merged as it
// is, and found stale by the next query. A chain that is linked anew meanwhile is gone through again.
template <const auto& Kind>
void XMapInheritedComp<Kind>::CompleteChain()
{
    bool isLinkedAnew = true;
    for (int attempt = 0; attempt < MostAttempts && isLinkedAnew && !IsComplete(); ++attempt)
    {
        const XMapInheritedComp* above = nullptr;
        isLinkedAnew = false;
        for (const auto& type : ChainFromTop())
        {
            XMapInheritedComp& map = type->template MapOf<Kind>();
            isLinkedAnew = isLinkedAnew || !map.EnsureCurrent(above);
            above = &map;
        }
    }
}

/// False: the type has another base meanwhile.
template <const auto& Kind>
bool XMapInheritedComp<Kind>::EnsureCurrent(const XMapInheritedComp* base)
{
    const auto isCurrent = [&] {
        std::uint64_t content = 0;
        return IsCurrent(base != nullptr ? base->Content() : 0, content);
    };
    if (isCurrent())
    {
        return true;
    }
    const XFill fill(m_owner.m_fetch, this);
    // A server that asks back while it is being asked gets what is there.
    return fill.IsReentered() || isCurrent() || CompleteWith(base);
}

// The base type's definition of a component wins over that of a derived type, so its entries go in first. Without
// records of its own the type shares the base's map.
template <const auto& Kind>
bool XMapInheritedComp<Kind>::CompleteWith(const XMapInheritedComp* base)
{
    XRetired retired; // goes last
    MapPtr fresh(MapPtr(), &None);
    std::uint64_t baseContent = 0;
    if (base != nullptr)
    {
        base->m_state.Read([&](const State& state) {
            fresh = state.map;
            baseContent = state.content;
        });
    }
    XStampedRecords from = TakeRecords();
    if (from.array)
    {
        const auto merged = std::make_shared<Map>(*fresh);
        m_owner.template FillMap<Kind>(from, *Held(), *merged, retired);
        merged->Settle();
        fresh = merged;
    }
    // With the fetch mutex held: whoever completes the map with a newer base comes later.
    const auto linked = Kind.inherits ? m_owner.BaseType() : nullptr;
    if ((linked ? &linked->template MapOf<Kind>() : nullptr) != base)
    {
        return false;
    }
    Publish(std::move(fresh), base, baseContent, from);
    return true;
}

/// Whether the values of records that were delivered are still what the server has.
template <const auto& Kind>
bool XMapInheritedComp<Kind>::AreValuesFresh(const XMoment& moment) const noexcept
{
    bool fresh = !m_ownersNumber.IsNewerThan(moment);
    Kind.values.ForEach([&](XAspect aspect) { fresh = fresh && moment.At(aspect) == m_clock.Now(aspect); });
    return fresh;
}

// What waits is taken: it is no longer there for anybody else, so that a thread that could not wait asks the server
// itself. Records that a notification made stale while they waited are fetched again: one call instead of one for each
// component. Records that it makes stale while they are being fetched are taken all the same, since somebody waits for
// them; their stamps say what is stale.
template <const auto& Kind>
XStampedRecords XMapInheritedComp<Kind>::TakeRecords()
{
    XStampedRecords waiting =
        m_state.Write([](State& state) { return std::exchange(state.delivered, XStampedRecords{}); });
    if (waiting.stamp == Note() && (!waiting.array || AreValuesFresh(*waiting.moment)))
    {
        return waiting;
    }
    return m_owner.FetchTypeCacheComponents(Kind.mode);
}

template <const auto& Kind>
void XMapInheritedComp<Kind>::Publish(MapPtr fresh, const void* base, std::uint64_t baseContent,
                                      const XStampedRecords& from)
{
    m_state.Write([&](State& state) {
        const bool isBaseOlder = state.base == base && baseContent < state.baseContent;
        if (isBaseOlder || from.stamp.IsOlderThan(state.stamp))
        {
            return; // a thread that could not wait was later
        }
        AttachAll(*fresh, *from.moment);
        DetachReplaced(*state.map, *fresh, *from.moment);
        state.map.swap(fresh); // the former one goes after the lock
        state.content = g_lastContent.fetch_add(1) + 1;
        state.base = base;
        state.baseContent = baseContent;
        state.stamp = from.stamp;
    });
    g_componentEpoch.fetch_add(1);
}

/// The type passes a notification that comes straight to it on to the components in the map. Those that enter it
/// after one that came while they were on their way would miss it.
template <const auto& Kind>
void XMapInheritedComp<Kind>::AttachAll(const Map& fresh, const XMoment& moment) const
{
    for (const auto& [key, component] : fresh)
    {
        if (component.owner == &m_owner)
        {
            component.object->Attach();
            component.object->TakeOwnersNumber(m_ownersNumber, moment);
        }
    }
}

/// Detaches the type's own components that leave the map. One that takes the place of a component which was notified
/// itself while the records were on their way would miss that; the former one is detached before it is looked at, so
/// that it was notified either before, or advances the clock.
template <const auto& Kind>
void XMapInheritedComp<Kind>::DetachReplaced(const Map& former, const Map& fresh, const XMoment& moment) const
{
    for (const auto& [key, component] : former)
    {
        const auto found = fresh.find(key);
        const bool isThere = found != fresh.end() && found->second.object == component.object;
        if (isThere || component.owner != &m_owner)
        {
            continue;
        }
        component.object->Detach();
        if (found != fresh.end() && component.object->WasNotifiedSince(moment))
        {
            found->second.object->AdvanceAll();
        }
    }
}

// The receivers only advance counts, so they may be called under the lock.
template <const auto& Kind>
void XMapInheritedComp<Kind>::NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) const
{
    m_state.Read([&](const State& state) {
        for (const auto& [key, component] : *state.map)
        {
            if (component.owner == &m_owner)
            {
                component.object->NotifyDirectly(notification, touched);
            }
        }
    });
}

template <const auto& Kind>
void XMapInheritedComp<Kind>::Terminate()
{
    MapPtr dropped(MapPtr(), &None);
    XStampedRecords delivered;
    m_own.Advance();
    m_state.Write([&](State& state) {
        state.map.swap(dropped);
        state.content = g_lastContent.fetch_add(1) + 1;
        state.stamp = {};
        std::swap(state.delivered, delivered);
    });
    g_componentEpoch.fetch_add(1);
    for (const auto& [key, component] : *dropped)
    {
        if (component.owner == &m_owner)
        {
            component.object->Terminate();
        }
    }
}

template class XMapInheritedComp<Attributes>;
template class XMapInheritedComp<Pages>;
template class XMapInheritedComp<Groups>;
template class XMapInheritedComp<Editors>;
} // namespace XLXTypeCacheComp
