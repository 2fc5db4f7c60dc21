// SPDX-License-Identifier: MIT
#include "lxtypecache.h"

#include "XModuleState.h"

using namespace XLXTypeCacheComp;
using namespace XLXCFCDataTransfer;

namespace {
constexpr int MemberBaseType = 27;

XInstanceRegistry<ILXTypeCache>& LiveTypes() {
    static const XModuleState<XInstanceRegistry<ILXTypeCache>> registry;
    return *registry;
}

// Serialises links, which are rare, so that two concurrent ones cannot close a cycle together.
XLeafMutex g_linkMutex;
} // namespace

XLXTypeCache::XLXTypeCache(XLXComPtr<IUnknown> server, XClockPtr clock)
    : XLXConfigObjectCache(std::move(server), std::move(clock)),
      m_maps(*this, *this, *this, *this),
      m_selfLink(XWeakLink<XGroupOwner>::To(this)) {
    LiveTypes().Add(this);
}

XLXTypeCache::~XLXTypeCache() {
    LiveTypes().Remove(this);
    m_selfLink.Clear();
    ReleaseBase();
}

// A type may hold the last reference to its base, which may hold the last one to its own base, and so on. The chain is
// destroyed iteratively: a nested call passes its base to the thread's outermost call, which releases it.
void XLXTypeCache::ReleaseBase() noexcept {
    LX_THREAD_LOCAL XLXComPtr<XLXTypeCache>* t_left = nullptr;
    XLXComPtr<ILXTypeCache> face;
    XLXComPtr<XLXTypeCache> base;
    {
        const XLeafLock lock(m_baseMutex);
        base = m_pBase;
        face.Swap(m_pBaseFace);
    }
    if (!base) { return; }
    face.Reset();
    XLXError::LogFailure(OLESTR("releasing the base type failed"), TheClass.At("ReleaseBase"), [&] {
        XLXComVariant member;
        Store().WriteGrow(MemberBaseType, member);
    });
    if (t_left != nullptr) {
        t_left->Swap(base);
        return;
    }
    XLXComPtr<XLXTypeCache> left;
    t_left = &left;
    while (base) {
        base.Reset();
        base.Swap(left);
    }
    t_left = nullptr;
}

XLXComPtr<XLXTypeCache> XLXTypeCache::FromFace(ILXTypeCache* face) { return LiveTypes().Find<XLXTypeCache>(face); }

// A foreign base type is kept and returned as a value, but has no component maps to inherit from.
HRESULT XLXTypeCache::SetBaseType(ILXTypeCache* pBaseType) {
    return XLXError::Guarded(TheClass.At("SetBaseType"), [&] {
        XRetired retired;
        const XLXComPtr<XLXTypeCache> own = FromFace(pBaseType);
        XLXTypeCache* const base = own.Get() != this ? own.Get() : nullptr;
        if (!Link(own ? base : pBaseType, base, retired)) {
            XLXError::Raise(E_INVALIDARG, OLESTR("the base type derives from this type"), TheClass.At("SetBaseType"));
        }
        return S_OK;
    });
}

/// @param base  the same object as the face if it is of this class, otherwise null
bool XLXTypeCache::Link(ILXTypeCache* face, XLXTypeCache* base, XRetired& retired) {
    XLXComPtr<ILXTypeCache> former(face);
    {
        const XLeafLock linking(g_linkMutex);
        if (const XLeafLock lock(m_baseMutex); m_pBaseFace.Get() == face) { return true; }
        for (XLXComPtr<XLXTypeCache> above(base); above; above = above->BaseType()) {
            if (above.Get() == this) { return false; }
        }
        const XLeafLock lock(m_baseMutex);
        m_pBaseFace.Swap(former);
        m_pBase = base;
    }
    XLXComVariant member;
    Store().Change([&](XVariantRow& row) { // stores the current base, which a concurrent link may have set
        {
            const XLeafLock lock(m_baseMutex);
            if (m_pBaseFace) { member = XLXComVariant::FromUnknown(m_pBaseFace.Get()); }
        }
        row.Exchange(MemberBaseType, member);
    });
    g_componentEpoch.fetch_add(1); // a map merged from the former base is no longer current
    retired.objects.emplace_back(former);
    XLXVariantVector values;
    values.push_back(std::move(member));
    retired.values.emplace_back(std::move(values));
    return true;
}

XLXComPtr<XLXTypeCache> XLXTypeCache::BaseType() const noexcept {
    const XLeafLock lock(m_baseMutex);
    return m_pBase;
}

// While the type has a base, its base-type member is that base, whatever the server's values contain.
XLXComPtr<IUnknown> XLXTypeCache::AmendValues(XVariantRow& values) {
    XLXComPtr<ILXTypeCache> base;
    {
        const XLeafLock lock(m_baseMutex);
        base = m_pBaseFace;
    }
    if (!base) { return {}; }
    XLXComVariant member = XLXComVariant::FromUnknown(base.Get());
    values.Exchange(MemberBaseType, member);
    return member.AsUnknown();
}

XILXTypeComp XLXTypeCache::AskForComponents(LONG mode, const LXErrorLocation& at) const {
    const auto server = Server();
    XLXSafeArray array;
    const HRESULT result =
        LXAsk("ILXType::GetTypeComponentData", array, LXNoResult::PointerError, OLESTR("type component data"), at,
              [&](SAFEARRAY** out) { return server->GetTypeComponentData(mode, out); });
    XLXError::RaiseIfFailed(result, OLESTR("the server failed to deliver the type's components"), at);
    return result != S_FALSE ? GetWrapperFromArray(std::move(array), m_name) : XILXTypeComp();
}

// The stamps and the moment are taken before the server object: what a former server object delivers is then stale.
XStampedRecords XLXTypeCache::FetchTypeCacheComponents(LONG mode) {
    const LXErrorLocation at = TheClass.At("FetchTypeCacheComponents");
    const LONG wanted = ModeToFetch(mode);
    std::vector<XStamp> stamps; // in the order of the maps
    ForEachMap([&](const auto& map) { stamps.push_back(map.CurrentStamp()); });
    const auto moment = std::make_shared<const XMoment>(Moment());
    XILXTypeComp components = AskForComponents(wanted, at);
    XRetired retired;
    XStampedRecords requested;
    auto stamp = stamps.begin();
    ForEachMap([&](auto& map) {
        XStampedRecords records{std::move(components.*map.TheKind.records), moment, *stamp++};
        if (mode == map.TheKind.mode) {
            requested = std::move(records);
        } else if ((wanted & map.TheKind.mode) != 0) {
            map.Deliver(std::move(records), retired);
        }
    });
    return requested;
}

/// The requested kind, and those that the data transfer mode includes and the type lacks.
LONG XLXTypeCache::ModeToFetch(LONG requested) {
    const LONG mode = DefaultMode() | requested;
    if (mode == LXTM_UNSET) {
        XLXError::Raise(E_INVALIDARG, XLXFormat() << "invalid data transfer mode: " << requested,
                        TheClass.At("FetchTypeCacheComponents"));
    }
    LONG there = 0;
    ForEachMap([&](const auto& map) { there |= map.HasFreshRecords() ? LONG{map.TheKind.mode} : 0; });
    return (mode & ~there) | requested;
}

bool XLXTypeCache::TakeTypeRecord(XLXComPtr<IUnknown> server, XServerSourcePtr source, XVariantRow values,
                                  XILXTypeComp components, LONG mode, const XStamp& stamp,
                                  const std::shared_ptr<const XMoment>& moment, XRetired& retired) {
    const bool isTaken = TakeRecord(std::move(server), std::move(values), {stamp, *moment}, retired, std::move(source));
    ForEachMap([&](auto& map) {
        XLXSafeArray& records = components.*map.TheKind.records;
        if (isTaken && mode != 0 && (records || (mode & map.TheKind.mode) != 0)) {
            map.Deliver({std::move(records), moment, map.StampFrom(*moment)}, retired);
        } else {
            retired.Take(std::move(records));
        }
    });
    return isTaken;
}

// ---- refills

/// The kinds that the data transfer mode includes; 0 while it is unset.
LONG XLXTypeCache::DefaultMode() const noexcept {
    const LONG mode = m_modeSupplier != nullptr ? m_modeSupplier->Get() : LONG{LXTM_UNSET};
    return mode == LXTM_UNSET ? 0 : mode;
}

void XLXTypeCache::SetRefills(const XRefillPtr& refill) {
    if (!refill) { return; }
    SetRefill(refill);
    XAspectSet values; // of the kinds that a bulk read includes
    ForEachMap([&](const auto& map) {
        if ((DefaultMode() & map.TheKind.mode) != 0) {
            map.TheKind.values.ForEach([&](XAspect aspect) { values.Add(aspect); });
        }
    });
    m_componentRefill = std::make_shared<XRefill>(Clock(), values, refill->Costs(), [refill, type = m_selfLink] {
        if (refill->OnStale(XAspect::TypeValues)) { return; }
        if (const auto self = type.Lock()) { self->RefillComponents(); }
    });
}

void XLXTypeCache::RefillComponents() {
    LONG mode = 0;
    ForEachMap([&](const auto& map) { mode |= map.HasStaleValues() ? LONG{map.TheKind.mode} : 0; });
    mode &= DefaultMode();
    if (mode == 0) { return; }
    const auto moment = std::make_shared<const XMoment>(Moment());
    XILXTypeComp components = AskForComponents(mode, TheClass.At("RefillComponents"));
    XRetired retired;
    TakeValues({}, std::move(components), mode, moment, retired);
}

bool XLXTypeCache::TryRefillAllTypes() { return Refill() && Refill()->OnStale(XAspect::TypeValues); }

void XLXTypeCache::TakeValues(XVariantRow values, XILXTypeComp components, LONG mode,
                              const std::shared_ptr<const XMoment>& moment, XRetired& retired) {
    RefillValues(std::move(values), *moment, retired);
    ForEachMap([&](auto& map) {
        XLXSafeArray& records = components.*map.TheKind.records;
        if (records && (mode & map.TheKind.mode) != 0) {
            map.Refill(std::move(records), moment, retired);
        } else {
            retired.Take(std::move(records));
        }
    });
}

// ---- notifications and termination

void XLXTypeCache::AdvanceParts() noexcept {
    ForEachMap([](auto& map) { map.Advance(); });
}

void XLXTypeCache::OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched) {
    if (notification.relationsOnly) { return; }
    ForEachMap([&](auto& map) { AdvanceIf(map.TheKind.set, notification.concerned, map, touched); });
    ForEachMap([&](auto& map) { map.NotifyDirectly(notification, touched); });
    if (m_componentRefill) { m_componentRefill->Restart(); }
}

void XLXTypeCache::Terminate() noexcept {
    ForEachMap([](auto& map) {
        XLXError::LogFailure(map.TheKind.emptyingFailed, TheClass.At("Terminate"), [&] { map.Terminate(); });
    });
}
