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

XLXTypeCache::XLXTypeCache(XLXComPtr<IUnknown> server)
    : XLXConfigObjectCache(std::move(server)),
      m_attributes(*this, true, m_counts),
      m_pages(*this, false, m_counts),
      m_groups(*this, false, m_counts),
      m_editors(*this, false, m_counts),
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

// A type may hold the last reference to its base, and that to its own base, and so on. They go one after the
// other, not one inside the other: a dying type leaves its base to the thread's first one, if there is one.
void XLXTypeCache::ReleaseBase() noexcept
{
    thread_local XLXComPtr<XLXTypeCache>* t_left = nullptr;
    if (!m_pBase)
    {
        return;
    }
    m_pBaseFace.Reset();
    XLXComVariant member;
    LXWithoutRaising([&] {
        Store().WriteGrow(MemberBaseType, member);
        return S_OK;
    });
    (void)VariantClear(&member.Get());
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

XLXTypeCache::Notes XLXTypeCache::TakeNotes() const noexcept
{
    return {NoteStore(), m_attributes.TakeNote(), m_pages.TakeNote(), m_groups.TakeNote(),
            m_editors.TakeNote()};
}

void* XLXTypeCache::FindFace(REFIID iid) noexcept
{
    if (IsEqualIID(iid, LXIid<ILXTypeCache>()) || IsEqualIID(iid, IID_IUnknown))
    {
        return static_cast<ILXTypeCache*>(this);
    }
    if (IsEqualIID(iid, LXIid<ILXTypeInheritance>()))
    {
        return static_cast<ILXTypeInheritance*>(this);
    }
    return XLXConfigObjectCache::FindFace(iid);
}

XLXComPtr<XLXTypeCache> XLXTypeCache::FromFace(ILXTypeCache* face)
{
    XLXComPtr<ILXTypeCache> own = XLXComPtr<ILXTypeCache>(face).As<ILXTypeCache>();
    return own && LiveTypes().Contains(own.Get())
               ? XLXComPtr<XLXTypeCache>(static_cast<XLXTypeCache*>(own.Get()))
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
    m_attributes.BaseChanged();
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
void XLXTypeCache::AmendValues(XVariantRow& values)
{
    XLXComPtr<ILXTypeCache> base;
    {
        const std::lock_guard<XLeafMutex> lock(m_baseMutex);
        base = m_pBaseFace;
    }
    if (base)
    {
        if (values.size() <= MemberBaseType)
        {
            values.Grow(MemberBaseType + 1);
        }
        values[MemberBaseType] = XLXComVariant::FromUnknown(base.Get());
    }
}

HRESULT XLXTypeCache::GetServerType(ILXType** ppType)
{
    return XLXError::Guarded(TheFacts.At("GetServerType"), [&]() -> HRESULT {
        XLXError::CheckPointer(ppType, OLESTR("ppType"), TheFacts.At("GetServerType"));
        *ppType = nullptr;
        *ppType = Server().Detach();
        return S_OK;
    });
}

void XLXTypeCache::SetTypeProperties(XLXComPtr<IUnknown> server, XVariantRow values, const Notes* noted,
                                     XRetired& retired)
{
    XLXComPtr<ILXType> typed;
    SwapServer(server, typed);
    if (server)
    {
        retired.objects.emplace_back(std::move(server));
    }
    if (typed)
    {
        retired.objects.emplace_back(std::move(typed));
    }
    if (values.empty() || noted == nullptr)
    {
        Store().Invalidate();
    }
    if (!values.empty())
    {
        AmendValues(values);
        Store().Assign(values, noted != nullptr ? noted->store : 0);
        retired.values.push_back(std::move(values));
    }
}

HRESULT XLXTypeCache::OnNotification(const XChangeNotification& notification)
{
    const XDataId& id = notification.id;
    if (id.kind == LXDataIdKind::ParentChild)
    {
        return S_OK;
    }
    const bool wholeType = (id.kind == LXDataIdKind::Objects || id.kind == LXDataIdKind::Properties) &&
                           LXModeConcerns(id.mode, TheFacts.propertyBits);
    if (wholeType)
    {
        InvalidateStore();
    }
    InvalidateMap<XAttributeMap>(id);
    InvalidateMap<XGroupMap>(id);
    InvalidateMap<XPageMap>(id);
    InvalidateMap<XEditorMap>(id);

    HRESULT result = ForwardToOwn(m_attributes, notification);
    result = result == S_OK ? ForwardToOwn(m_pages, notification) : result;
    result = result == S_OK ? ForwardToOwn(m_groups, notification) : result;
    return result == S_OK ? ForwardToOwn(m_editors, notification) : result;
}

template <class Map>
void XLXTypeCache::InvalidateMap(const XDataId& id)
{
    using Traits = XInheritedCacheFillUpTraits<Map>;
    if (id.kind == LXDataIdKind::Objects &&
        LXModeConcerns(id.mode, LXUM_EVERYTHING | LXUM_TYPES | Traits::UpdateBit))
    {
        Traits::CountsOf(m_counts).Reset();
        XInvalidationLog::Add(TheFacts.className, Traits::Name);
    }
    else if (Traits::ConcernsValues(id.kind, id.mode))
    {
        Traits::CountsOf(m_counts).ValuesChanged();
    }
}

// The receivers only clear flags, so they may be called under the map's lock. Components of the base are
// notified by the base.
template <class Map>
HRESULT XLXTypeCache::ForwardToOwn(const XMapInheritedComp<Map>& map, const XChangeNotification& notification)
{
    if ((m_counts.held.load() & XInheritedCacheFillUpTraits<Map>::ModeBit) == 0)
    {
        return S_OK;
    }
    return map.Read([&](const Map& components) -> HRESULT {
        for (const auto& [key, component] : components)
        {
            const HRESULT result = component->IsOwn(this) ? component->Object()->Notify(notification) : S_OK;
            if (result != S_OK)
            {
                return result;
            }
        }
        return S_OK;
    });
}

void XLXTypeCache::InvalidateAll() noexcept
{
    InvalidateStore();
    m_counts.attributes.Reset();
    m_counts.groups.Reset();
    m_counts.pages.Reset();
    m_counts.editors.Reset();
}

HRESULT XLXTypeCache::Terminate() noexcept
{
    const LXErrorLocation at = TheFacts.At("Terminate");
    XLXError::LogFailure(OLESTR("emptying the attributes failed"), at, [&] { m_attributes.Terminate(); });
    XLXError::LogFailure(OLESTR("emptying the pages failed"), at, [&] { m_pages.Terminate(); });
    XLXError::LogFailure(OLESTR("emptying the groups failed"), at, [&] { m_groups.Terminate(); });
    XLXError::LogFailure(OLESTR("emptying the editors failed"), at, [&] { m_editors.Terminate(); });
    return S_OK;
}
