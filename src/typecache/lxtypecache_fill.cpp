// SPDX-License-Identifier: MIT
//
// How a type's component maps get their components: fetched from the server, delivered, parsed.
#include "lxtypecache.h"

using namespace XLXTypeCacheComp;
using namespace XLXCFCDataTransfer;

namespace
{
constexpr int MemberPageNumber = 6;
constexpr int MemberGroupNumber = 2;
constexpr int MemberEditorProgId = 3;
constexpr int MemberAttributeName = 0;

const XLXComVariant* ValueAt(const XVariantRow& values, int member)
{
    const auto index = static_cast<std::size_t>(member);
    return index < values.size() && !values[index].Empty() ? &values[index] : nullptr;
}

std::optional<LONG> NumberAt(const XVariantRow& values, int member)
{
    const XLXComVariant* const value = ValueAt(values, member);
    return value != nullptr ? value->AsLong() : std::nullopt;
}

std::optional<XCFGStringKey> NameAt(const XVariantRow& values, int member)
{
    const XLXComVariant* const value = ValueAt(values, member);
    return value != nullptr ? XCFGStringKey::Of(*value) : std::nullopt;
}

/// Asks for the memory that the records will be looked at in. Most of it was written long ago: asked for at
/// once, it is waited for once.
void Prefetch(const std::vector<XILXAttributeData>& records) noexcept
{
    for (const XILXAttributeData& record : records)
    {
        if (const XLXComVariant& name = record.values[MemberAttributeName]; name.Type() == VT_BSTR)
        {
            LX_PREFETCH(V_BSTR(&name.Get()));
        }
        XDisplayFacts::Prefetch(record.values);
    }
}

/// The type's own component under a key, when the current map has one: it is refreshed in place, so that
/// whoever holds it goes on being notified.
template <class Map>
typename Map::mapped_type OwnComponent(const Map& current, const typename Map::key_type& key,
                                       const XLXTypeCache* type)
{
    const auto found = current.find(key);
    return found != current.end() && found->second->IsOwn(type) ? found->second : typename Map::mapped_type();
}
} // namespace

// The stamps are noted before the server object is taken, and the whole clock before it is asked.
XStampedRecords XLXTypeCache::FetchTypeCacheComponents(LONG mode)
{
    const LXErrorLocation at = TheFacts.At("FetchTypeCacheComponents");
    const LONG wanted = ModeToFetch(mode);
    const XStamp attributes = m_attributes.Note();
    const XStamp pages = m_pages.Note();
    const XStamp groups = m_groups.Note();
    const XStamp editors = m_editors.Note();
    const auto moment = std::make_shared<const XMoment>(Moment());
    const auto server = Server();
    XLXSafeArray array;
    const HRESULT result = LXAsk("ILXType::GetTypeComponentData", array, LXNoResult::PointerError,
                                 OLESTR("type component data"), at,
                                 [&](SAFEARRAY** out) { return server->GetTypeComponentData(wanted, out); });
    XLXError::RaiseIfFailed(result, OLESTR("the server failed to deliver the type's components"), at);
    XILXTypeComp components;
    if (result != S_FALSE)
    {
        components = GetWrapperFromArray(std::move(array));
    }
    XRetired retired;
    XStampedRecords requested;
    const auto deliver = [&](auto& map, XLXSafeArray& records, const XStamp& stamp, LONG bit) {
        if (mode == bit)
        {
            requested = {{std::move(records), moment}, stamp};
        }
        else if ((wanted & bit) != 0)
        {
            map.Deliver({std::move(records), moment}, stamp, retired);
        }
    };
    deliver(m_attributes, components.attributes, attributes, LXTM_ATTRIBUTES);
    deliver(m_pages, components.pages, pages, LXTM_PAGES);
    deliver(m_groups, components.groups, groups, LXTM_GROUPS);
    deliver(m_editors, components.editors, editors, LXTM_EDITORS);
    return requested;
}

/// The kinds that are requested, and those that the data transfer mode brings and that are not there.
LONG XLXTypeCache::ModeToFetch(LONG requested) const
{
    const LONG byDefault = m_modeSupplier != nullptr ? m_modeSupplier->Get() : 0;
    const LONG mode = (byDefault == LXTM_UNSET ? 0 : byDefault) | requested;
    if (mode == 0 || mode == LXTM_UNSET)
    {
        XLXError::Raise(E_INVALIDARG,
                        LXFormatText(OLESTR("invalid data transfer mode: %d"), {LXDecimal(requested)}),
                        TheFacts.At("FetchTypeCacheComponents"));
    }
    LONG there = 0;
    const auto addIf = [&](bool has, LONG bit) { there |= has ? bit : 0; };
    addIf(m_attributes.HasData(), LXTM_ATTRIBUTES);
    addIf(m_editors.HasData(), LXTM_EDITORS);
    addIf(m_pages.HasData(), LXTM_PAGES);
    addIf(m_groups.HasData(), LXTM_GROUPS);
    return (mode & ~there) | requested;
}

void XLXTypeCache::DeliverComponents(XILXTypeComp components, LONG mode,
                                     const std::shared_ptr<const XMoment>& moment, XRetired& retired)
{
    const auto deliver = [&](auto& map, XLXSafeArray& records, LONG bit) {
        if ((mode & bit) != 0 || records)
        {
            map.Deliver({std::move(records), moment}, map.StampFrom(*moment), retired);
        }
    };
    deliver(m_attributes, components.attributes, LXTM_ATTRIBUTES);
    deliver(m_pages, components.pages, LXTM_PAGES);
    deliver(m_groups, components.groups, LXTM_GROUPS);
    deliver(m_editors, components.editors, LXTM_EDITORS);
}

/// The type's own component under a key, refreshed in place, or a new one.
template <class Map>
typename Map::mapped_type XLXTypeCache::Refresh(const Map& current, const typename Map::key_type& key,
                                                XLXComPtr<IUnknown> server, XVariantRow values,
                                                const XMoment& moment, XRetired& retired)
{
    using Component = std::remove_reference_t<decltype(*std::declval<typename Map::mapped_type>())>;
    using Cached = typename Component::CachedClass;
    if (auto component = OwnComponent(current, key, this))
    {
        component->Object()->TakeRecord(std::move(server), std::move(values), moment, retired);
        return component;
    }
    const auto made = LXCFCTOOLS::Make<Cached>(std::move(server), Clock(), TheFacts.At("Refresh"));
    if constexpr (std::is_same_v<Cached, XLXGroupCache>)
    {
        made->SetOwner(m_selfLink);
    }
    made->AssignProperties(std::move(values), moment);
    return typename Map::mapped_type(new Component(made, this));
}

template <class Map, class KeyOf, class ServerOf>
void XLXTypeCache::FillRecordMap(XDeliveredRecords records, const Map& current, Map& fresh, XRetired& retired,
                                 KeyOf&& keyOf, ServerOf&& serverOf)
{
    for (XILXConfigData& record : GetSingleTypedVecFromArray(std::move(records.array)))
    {
        const auto key = keyOf(record.values);
        if (!key)
        {
            continue; // without its key a component cannot be found
        }
        XLXComPtr<IUnknown> server = record.object ? std::move(record.object) : serverOf(*key);
        fresh.Add(*key, Refresh(current, *key, std::move(server), std::move(record.values), *records.moment, retired));
    }
}

void XLXTypeCache::FillPageMap(XDeliveredRecords records, const XPageMap& current, XPageMap& fresh,
                               XRetired& retired)
{
    FillRecordMap(
        std::move(records), current, fresh, retired,
        [](const auto& values) { return NumberAt(values, MemberPageNumber); },
        [this](LONG number) { return GetServerPageInterface(number); });
}

void XLXTypeCache::FillGroupMap(XDeliveredRecords records, const XGroupMap& current, XGroupMap& fresh,
                                XRetired& retired)
{
    FillRecordMap(
        std::move(records), current, fresh, retired,
        [](const auto& values) { return NumberAt(values, MemberGroupNumber); },
        [this](LONG number) { return GetServerGroupInterface(number); });
}

void XLXTypeCache::FillEditorMap(XDeliveredRecords records, const XEditorMap& current, XEditorMap& fresh,
                                 XRetired& retired)
{
    FillRecordMap(
        std::move(records), current, fresh, retired,
        [](const auto& values) { return NameAt(values, MemberEditorProgId); },
        [](const XCFGStringKey&) { return XLXComPtr<IUnknown>(); });
}

void XLXTypeCache::FillAttributeMapFromSafeArray(XDeliveredRecords records, const XAttributeMap& current,
                                                 XAttributeMap& fresh, XRetired& retired)
{
    std::vector<XILXAttributeData> list = ReadAttributeList(std::move(records.array));
    Prefetch(list);
    for (XILXAttributeData& record : list)
    {
        const auto key = NameAt(record.values, MemberAttributeName);
        if (!key || fresh.find(*key) != fresh.end()) // what is added here is not found yet
        {
            continue;
        }
        XLXComPtr<IUnknown> server =
            record.object ? std::move(record.object) : GetServerAttributeInterface(key->Text());
        auto component =
            Refresh(current, *key, std::move(server), std::move(record.values), *records.moment, retired);
        component->Object()->AssignAttributeTypes(std::move(record.types), *records.moment, retired);
        fresh.Add(*key, std::move(component));
    }
}

// A component whose record carries no server object is asked for from the server's type. A server that does
// not have it either leaves the component without one: its values are there, and what needs the server fails.
template <class Component, class Call>
XLXComPtr<IUnknown> XLXTypeCache::AskForComponent(const char* method, Call&& call)
{
    if (!HasServer())
    {
        return nullptr;
    }
    const auto server = Server();
    XLXComPtr<Component> component;
    const HRESULT result = LXAsk(method, component, LXNoResult::Nothing, {}, TheFacts.At(method),
                                 [&](Component** out) { return call(*server, out); });
    return result == S_OK ? XLXComPtr<IUnknown>(component) : nullptr;
}

XLXComPtr<IUnknown> XLXTypeCache::GetServerAttributeInterface(XLXTextView name)
{
    const XLXComBSTR text(name);
    return AskForComponent<ILXAttribute>("ILXType::GetAttribute", [&](ILXType& type, ILXAttribute** out) {
        return type.GetAttribute(text.Get(), out);
    });
}

XLXComPtr<IUnknown> XLXTypeCache::GetServerGroupInterface(LONG number)
{
    return AskForComponent<ILXGroup>("ILXType::GetGroup",
                                     [&](ILXType& type, ILXGroup** out) { return type.GetGroup(number, out); });
}

XLXComPtr<IUnknown> XLXTypeCache::GetServerPageInterface(LONG number)
{
    return AskForComponent<ILXPage>("ILXType::GetPage",
                                    [&](ILXType& type, ILXPage** out) { return type.GetPage(number, out); });
}
