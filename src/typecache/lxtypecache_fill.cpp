// SPDX-License-Identifier: MIT
//
// How a type's component maps get their components: fetched from the server, delivered, parsed.
#include "lxtypecache.h"

using namespace XLXTypeCacheComp;
using namespace XLXCFCDataTransfer;

namespace
{
/// The key of a component with these values; none when it has no key, and so cannot be found.
template <const auto& Kind>
std::optional<typename XKind<Kind>::Key> KeyOf(const XVariantRow& values)
{
    constexpr auto index = static_cast<std::size_t>(Kind.keyMember);
    if (index >= values.size() || values[index].Empty())
    {
        return std::nullopt;
    }
    if constexpr (std::is_same_v<typename XKind<Kind>::Key, LONG>)
    {
        return values[index].AsLong();
    }
    else
    {
        return XCFGStringKey::Of(values[index]);
    }
}

/// Asks for the memory that the records will be looked at in. Most of it was written long ago: asked for at once, it
/// is waited for once.
void Prefetch(const std::vector<XILXAttributeData>& records) noexcept
{
    for (const XILXAttributeData& record : records)
    {
        if (const XLXComVariant& name = record.values[Attributes.keyMember]; name.Type() == VT_BSTR)
        {
            LX_PREFETCH(V_BSTR(&name.Get()));
        }
        XDisplayFacts::Prefetch(record.values);
    }
}

/// The records of a list.
/// @param type  whose they are, for the logbook
template <const auto& Kind>
auto ReadList(XLXSafeArray array, XLXTextView type)
{
    if constexpr (Kind.mode == LXTM_ATTRIBUTES)
    {
        auto records = ReadAttributeList(std::move(array), type);
        Prefetch(records);
        return records;
    }
    else
    {
        return GetSingleTypedVecFromArray(std::move(array), {Kind.section, type});
    }
}

/// Asks the server's type for a component whose record came without an object. A type that is gone, or that does not
/// have the component either, leaves it without one: its values are there, and what needs the server fails.
template <const auto& Kind>
class ComponentSource final : public XServerSource
{
public:
    using Key = typename XKind<Kind>::Key;

    ComponentSource(const XWeakLink<XGroupOwner>& type, Key key) : m_type(type), m_key(std::move(key)) {}
    XLXComPtr<IUnknown> Ask() const override
    {
        const LXErrorLocation at = XCachedFacts::Type.At(Kind.getOne + std::char_traits<char>::length("ILXType::"));
        const auto type = m_type.Lock();
        const XLXComPtr<ILXType> server = type ? type->ServerType() : nullptr;
        if (!server)
        {
            return nullptr;
        }
        XLXComPtr<typename XKind<Kind>::Interface> component;
        const HRESULT result = LXAsk(Kind.getOne, component, LXNoResult::Nothing, {}, at,
                                     [&](auto** out) { return AskFor(*server, m_key, out); });
        XLXError::RaiseIfFailed(result, OLESTR("the server failed to give the object of a type's component"), at);
        return result == S_OK ? XLXComPtr<IUnknown>(component) : nullptr;
    }

private:
    template <class Out>
    static HRESULT AskFor(ILXType& server, LONG number, Out out)
    {
        return (server.*XKind<Kind>::Get)(number, out);
    }
    template <class Out>
    static HRESULT AskFor(ILXType& server, const XCFGStringKey& name, Out out)
    {
        return (server.*XKind<Kind>::Get)(XLXComBSTR(name.Text()).Get(), out);
    }

    const XWeakLink<XGroupOwner> m_type;
    const Key m_key;
};
} // namespace

// The stamps are noted before the server object is taken, and the whole clock before it is asked.
XStampedRecords XLXTypeCache::FetchTypeCacheComponents(LONG mode)
{
    const LXErrorLocation at = TheFacts.At("FetchTypeCacheComponents");
    const LONG wanted = ModeToFetch(mode);
    std::vector<XStamp> noted; // in the order of the maps
    ForEachMap([&](const auto& map) { noted.push_back(map.Note()); });
    const auto moment = std::make_shared<const XMoment>(Moment());
    const auto server = Server();
    XLXSafeArray array;
    const HRESULT result =
        LXAsk("ILXType::GetTypeComponentData", array, LXNoResult::PointerError, OLESTR("type component data"), at,
              [&](SAFEARRAY** out) { return server->GetTypeComponentData(wanted, out); });
    XLXError::RaiseIfFailed(result, OLESTR("the server failed to deliver the type's components"), at);
    XILXTypeComp components;
    if (result != S_FALSE)
    {
        components = GetWrapperFromArray(std::move(array), m_name);
    }
    XRetired retired;
    XStampedRecords requested;
    auto stamp = noted.begin();
    ForEachMap([&](auto& map) {
        XStampedRecords records{std::move(components.*map.TheKind.records), moment, *stamp++};
        if (mode == map.TheKind.mode)
        {
            requested = std::move(records);
        }
        else if ((wanted & map.TheKind.mode) != 0)
        {
            map.Deliver(std::move(records), retired);
        }
    });
    return requested;
}

/// The kind that is requested, and those that the data transfer mode brings and that are not there.
LONG XLXTypeCache::ModeToFetch(LONG requested)
{
    const LONG byDefault = m_modeSupplier != nullptr ? m_modeSupplier->Get() : 0;
    const LONG mode = (byDefault == LXTM_UNSET ? 0 : byDefault) | requested;
    if (mode == LXTM_UNSET)
    {
        XLXError::Raise(E_INVALIDARG, LXFormatText(OLESTR("invalid data transfer mode: %d"), {LXDecimal(requested)}),
                        TheFacts.At("FetchTypeCacheComponents"));
    }
    LONG there = 0;
    ForEachMap([&](const auto& map) { there |= map.HasData() ? map.TheKind.mode : 0; });
    return (mode & ~there) | requested;
}

bool XLXTypeCache::TakeTypeRecord(XLXComPtr<IUnknown> server, XVariantRow values, XILXTypeComp components, LONG mode,
                                  const std::shared_ptr<const XMoment>& moment, XRetired& retired)
{
    const bool isTaken = TakeRecord(std::move(server), std::move(values), *moment, retired);
    ForEachMap([&](auto& map) {
        XLXSafeArray& records = components.*map.TheKind.records;
        if (isTaken && mode != 0 && (records || (mode & map.TheKind.mode) != 0))
        {
            map.Deliver({std::move(records), moment, map.StampFrom(*moment)}, retired);
        }
        else
        {
            retired.Take(std::move(records));
        }
    });
    return isTaken;
}

/// The type's own component under a key, refreshed in place, so that whoever holds it goes on being notified; or a new
/// one.
template <const auto& Kind>
XLXComPtr<typename XKind<Kind>::Cached>
XLXTypeCache::Refresh(const XComponents<Kind>& current, const typename XKind<Kind>::Key& key, XILXConfigData& record,
                      const XMoment& moment, XRetired& retired)
{
    XServerSourcePtr source;
    if constexpr (XKind<Kind>::Get != nullptr)
    {
        source = record.object ? nullptr : std::make_shared<const ComponentSource<Kind>>(m_selfLink, key);
    }
    if (const auto found = current.find(key); found != current.end() && found->second.owner == this)
    {
        found->second.object->TakeRecord(std::move(record.object), std::move(record.values), moment, retired,
                                         std::move(source));
        return found->second.object;
    }
    const auto made =
        LXCFCTOOLS::Make<typename XKind<Kind>::Cached>(std::move(record.object), Clock(), TheFacts.At("Refresh"));
    if (source)
    {
        made->SetSource(std::move(source));
    }
    if constexpr (Kind.mode == LXTM_GROUPS)
    {
        made->SetOwner(m_selfLink);
    }
    made->AssignProperties(std::move(record.values), moment);
    return made;
}

template <const auto& Kind>
void XLXTypeCache::FillMap(XStampedRecords& records, const XComponents<Kind>& current, XComponents<Kind>& fresh,
                           XRetired& retired)
{
    for (auto& record : ReadList<Kind>(std::move(records.array), m_name))
    {
        auto key = KeyOf<Kind>(record.values);
        if (!key || fresh.find(*key) != fresh.end()) // of the base's; what is added here is not found yet
        {
            continue;
        }
        auto component = Refresh<Kind>(current, *key, record, *records.moment, retired);
        if constexpr (Kind.mode == LXTM_ATTRIBUTES)
        {
            component->AssignAttributeTypes(std::move(record.types), *records.moment, retired);
        }
        fresh.Add(std::move(*key), {std::move(component), this});
    }
}

template void XLXTypeCache::FillMap<Attributes>(XStampedRecords&, const XComponents<Attributes>&,
                                                XComponents<Attributes>&, XRetired&);
template void XLXTypeCache::FillMap<Pages>(XStampedRecords&, const XComponents<Pages>&, XComponents<Pages>&, XRetired&);
template void XLXTypeCache::FillMap<Groups>(XStampedRecords&, const XComponents<Groups>&, XComponents<Groups>&,
                                            XRetired&);
template void XLXTypeCache::FillMap<Editors>(XStampedRecords&, const XComponents<Editors>&, XComponents<Editors>&,
                                             XRetired&);
