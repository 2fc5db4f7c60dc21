// SPDX-License-Identifier: MIT
#include "lxtypecache.h"

#include "XModuleState.h"

#include <new>

using namespace XLXTypeCacheComp;

namespace
{
constexpr int MemberBaseType = 27;

XInstanceRegistry<ILXTypeCache>& LiveTypes()
{
    static const XModuleState<XInstanceRegistry<ILXTypeCache>> registry;
    return *registry;
}

// Linking is rare; one link at a time, so that two of them cannot close a cycle together.
XLeafMutex g_linkMutex;
} // namespace

XLXTypeCache::XLXTypeCache(XLXComPtr<IUnknown> server, XClockPtr clock)
    : XLXConfigObjectCache(std::move(server), std::move(clock)),
      m_maps(*this, *this, *this, *this),
      m_selfLink(XWeakLink<XGroupOwner>::To(this))
{
    LiveTypes().Add(this);
}

XLXTypeCache::~XLXTypeCache()
{
    LiveTypes().Remove(this);
    m_selfLink.Clear();
    ReleaseBase();
}

// A type may hold the last reference to its base, and that to its own base, and so on. They go one after the other,
// not one inside the other: a dying type leaves its base to the thread's first one, if there is one.
void XLXTypeCache::ReleaseBase() noexcept
{
    thread_local XLXComPtr<XLXTypeCache>* t_left = nullptr;
    if (!m_pBase)
    {
        return;
    }
    m_pBaseFace.Reset();
    XLXComVariant member;
    XLXError::LogFailure(OLESTR("releasing the base type failed"), TheFacts.At("ReleaseBase"),
                         [&] { Store().WriteGrow(MemberBaseType, member); });
    member = XLXComVariant();
    XLXComPtr<XLXTypeCache> base = std::move(m_pBase);
    if (t_left != nullptr)
    {
        t_left->Swap(base);
        return;
    }
    XLXComPtr<XLXTypeCache> left;
    t_left = &left;
    while (base)
    {
        base.Reset();
        base.Swap(left);
    }
    t_left = nullptr;
}

XLXComPtr<XLXTypeCache> XLXTypeCache::FromFace(ILXTypeCache* face)
{
    XLXComPtr<ILXTypeCache> own = XLXComPtr<ILXTypeCache>(face).As<ILXTypeCache>();
    return own && LiveTypes().Contains(own.Get()) ? XLXComPtr<XLXTypeCache>(static_cast<XLXTypeCache*>(own.Get()))
                                                  : nullptr;
}

HRESULT XLXTypeCache::SetBaseType(ILXTypeCache* pBaseType)
{
    return XLXError::Guarded(TheFacts.At("SetBaseType"), [&]() -> HRESULT {
        XRetired retired;
        const XLXComPtr<XLXTypeCache> base = FromFace(pBaseType);
        if (pBaseType == nullptr || base || pBaseType == static_cast<ILXTypeCache*>(this))
        {
            if (!LinkBase(base.Get() != this ? base.Get() : nullptr, retired))
            {
                XLXError::Raise(E_INVALIDARG, OLESTR("the base type derives from this type"),
                                TheFacts.At("SetBaseType"));
            }
            return S_OK;
        }
        // Somebody else's type: it is kept and shown, but there are no component maps to inherit from.
        (void)LinkBase(nullptr, retired);
        XLXComVariant member = XLXComVariant::FromUnknown(pBaseType);
        {
            const std::lock_guard<XLeafMutex> lock(m_baseMutex);
            retired.objects.emplace_back(m_pBaseFace);
            m_pBaseFace = pBaseType;
        }
        Store().WriteGrow(MemberBaseType, member);
        return S_OK;
    });
}

bool XLXTypeCache::LinkBase(XLXTypeCache* base, XRetired& retired)
{
    XLXComPtr<ILXTypeCache> face(base);
    XLXComPtr<XLXTypeCache> link(base);
    {
        const std::lock_guard<XLeafMutex> linking(g_linkMutex);
        if (HasBase(base))
        {
            return true;
        }
        for (XLXComPtr<XLXTypeCache> above(base); above; above = above->BaseType())
        {
            if (above.Get() == this)
            {
                return false;
            }
        }
        const std::lock_guard<XLeafMutex> lock(m_baseMutex);
        m_pBaseFace.Swap(face);
        m_pBase.Swap(link);
    }
    XLXComVariant member;
    if (base != nullptr)
    {
        member = XLXComVariant::FromUnknown(static_cast<ILXTypeCache*>(base));
    }
    Store().WriteGrow(MemberBaseType, member);
    g_componentEpoch.fetch_add(1); // what was merged from the former base has another content
    retired.objects.emplace_back(face);
    XLXVariantVector former;
    former.push_back(std::move(member));
    retired.values.emplace_back(std::move(former));
    return true;
}

bool XLXTypeCache::HasBase(const ILXTypeCache* base) const noexcept
{
    const std::lock_guard<XLeafMutex> lock(m_baseMutex);
    return m_pBaseFace.Get() == base;
}

XLXComPtr<XLXTypeCache> XLXTypeCache::BaseType() const noexcept
{
    const std::lock_guard<XLeafMutex> lock(m_baseMutex);
    return m_pBase;
}

// While the type has a base, its base-type member shows that, whatever the server's values say.
XLXComPtr<IUnknown> XLXTypeCache::AmendValues(XVariantRow& values)
{
    XLXComPtr<ILXTypeCache> base;
    {
        const std::lock_guard<XLeafMutex> lock(m_baseMutex);
        base = m_pBaseFace;
    }
    if (!base)
    {
        return {};
    }
    if (values.size() <= MemberBaseType)
    {
        values.Grow(MemberBaseType + 1);
    }
    XLXComVariant member = XLXComVariant::FromUnknown(base.Get());
    std::swap(member, values[MemberBaseType]);
    return member.AsUnknown();
}

HRESULT XLXTypeCache::GetServerType(ILXType** ppType)
{
    return XLXError::Guarded(TheFacts.At("GetServerType"), [&]() -> HRESULT {
        LXCheckOut(ppType, OLESTR("ppType"), TheFacts.At("GetServerType"));
        *ppType = Server().Detach();
        return S_OK;
    });
}

void XLXTypeCache::AdvanceParts() noexcept
{
    ForEachMap([](auto& map) { map.Advance(); });
}

void XLXTypeCache::OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched)
{
    if (notification.relationsOnly)
    {
        return;
    }
    ForEachMap([&](auto& map) { AdvanceIf(map.TheKind.set, notification.concerned, map, touched); });
    ForEachMap([&](auto& map) { map.NotifyDirectly(notification, touched); });
}

HRESULT XLXTypeCache::Terminate() noexcept
{
    ForEachMap([](auto& map) {
        XLXError::LogFailure(map.TheKind.emptyingFailed, TheFacts.At("Terminate"), [&] { map.Terminate(); });
    });
    return S_OK;
}
