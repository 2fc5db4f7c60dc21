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
        XRCComplexAttribute::PrefetchFacts(record.values);
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

void XLXTypeCache::FetchTypeCacheComponents(LONG mode)
{
    const LXErrorLocation at = TheFacts.At("FetchTypeCacheComponents");
    const LONG wanted = ModeToFetch(mode);
    if (wanted == 0)
    {
        return;
    }
    const Notes notes = TakeNotes();
    const auto deliver = [&](XILXTypeComp& components, LONG to) {
        const auto give = [&](auto& map, XLXSafeArray& array, const auto& note, LONG bit) {
            if ((to & bit) != 0)
            {
                const XLXSafeArray replaced = map.Deliver(std::move(array), to, note);
            }
        };
        give(m_attributes, components.attributes, notes.attributes, LXTM_ATTRIBUTES);
        give(m_pages, components.pages, notes.pages, LXTM_PAGES);
        give(m_groups, components.groups, notes.groups, LXTM_GROUPS);
        give(m_editors, components.editors, notes.editors, LXTM_EDITORS);
    };
    const auto server = Server();
    XLXSafeArray array;
    LXServerCall("ILXType::GetTypeComponentData");
    const HRESULT result = server->GetTypeComponentData(wanted, array.Put());
    XLXError::RaiseIfFailed(result, OLESTR("the server failed to deliver the type's components"), at);
    XILXTypeComp components;
    if (result != S_FALSE)
    {
        XLXError::CheckPointer(array.Get(), OLESTR("type component data"), at);
        components = GetWrapperFromArray(std::move(array));
    }
    deliver(components, wanted);
}

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
    return mode & ~there;
}

void XLXTypeCache::DeliverComponents(XILXTypeComp components, LONG mode, const Notes& noted,
                                     XRetired& retired)
{
    const auto give = [&](auto& map, XLXSafeArray& array, const XComponentNote& note) {
        retired.arrays.push_back(map.Deliver(std::move(array), mode, note));
    };
    give(m_attributes, components.attributes, noted.attributes);
    give(m_pages, components.pages, noted.pages);
    give(m_groups, components.groups, noted.groups);
    give(m_editors, components.editors, noted.editors);
}

/// The type's own component under a key, refreshed in place, or a new one. Returns it with what was noted of
/// its store before its values were put there.
template <class Map>
std::pair<typename Map::mapped_type, std::uint64_t>
XLXTypeCache::Refresh(const Map& current, const typename Map::key_type& key, XLXComPtr<IUnknown> server,
                      XVariantRow values)
{
    using Component = std::remove_reference_t<decltype(*std::declval<typename Map::mapped_type>())>;
    using Cached = typename Component::CachedClass;
    auto component = OwnComponent(current, key, this);
    if (component)
    {
        component->Object()->ReplaceServer(std::move(server));
    }
    else
    {
        const auto made = LXCFCTOOLS::Make<Cached>(std::move(server), TheFacts.At("Refresh"));
        if constexpr (std::is_same_v<Cached, XLXGroupCache>)
        {
            made->SetOwner(m_selfLink);
        }
        component = typename Map::mapped_type(new Component(made, this));
    }
    const std::uint64_t noted = component->Object()->NoteStore();
    component->Object()->AssignProperties(std::move(values), noted);
    return {std::move(component), noted};
}

template <class Map, class KeyOf, class ServerOf>
void XLXTypeCache::FillRecordMap(XLXSafeArray array, const Map& current, Map& fresh, KeyOf&& keyOf,
                                 ServerOf&& serverOf)
{
    for (XILXConfigData& record : GetSingleTypedVecFromArray(std::move(array)))
    {
        const auto key = keyOf(record.values);
        if (!key)
        {
            continue; // without its key a component cannot be found
        }
        XLXComPtr<IUnknown> server = record.object ? std::move(record.object) : serverOf(*key);
        fresh.Add(*key, Refresh(current, *key, std::move(server), std::move(record.values)).first);
    }
}

void XLXTypeCache::FillPageMap(XLXSafeArray array, const XPageMap& current, XPageMap& fresh)
{
    FillRecordMap(
        std::move(array), current, fresh,
        [](const auto& values) { return NumberAt(values, MemberPageNumber); },
        [this](LONG number) { return GetServerPageInterface(number); });
}

void XLXTypeCache::FillGroupMap(XLXSafeArray array, const XGroupMap& current, XGroupMap& fresh)
{
    FillRecordMap(
        std::move(array), current, fresh,
        [](const auto& values) { return NumberAt(values, MemberGroupNumber); },
        [this](LONG number) { return GetServerGroupInterface(number); });
}

void XLXTypeCache::FillEditorMap(XLXSafeArray array, const XEditorMap& current, XEditorMap& fresh)
{
    FillRecordMap(
        std::move(array), current, fresh,
        [](const auto& values) { return NameAt(values, MemberEditorProgId); },
        [](const XCFGStringKey&) { return XLXComPtr<IUnknown>(); });
}

void XLXTypeCache::FillAttributeMapFromSafeArray(XLXSafeArray array, const XAttributeMap& current,
                                                 XAttributeMap& fresh)
{
    std::vector<XILXAttributeData> records = ReadAttributeList(std::move(array));
    Prefetch(records);
    for (XILXAttributeData& record : records)
    {
        const auto key = NameAt(record.values, MemberAttributeName);
        if (!key || fresh.find(*key) != fresh.end()) // what is added here is not found yet
        {
            continue;
        }
        XLXComPtr<IUnknown> server =
            record.object ? std::move(record.object) : GetServerAttributeInterface(key->Text());
        const XDisplayFacts facts = XRCComplexAttribute::FactsOf(record.values);
        auto [component, noted] = Refresh(current, *key, std::move(server), std::move(record.values));
        component->KeepFacts(facts, noted);
        XLXAttributeCache& attribute = *component->Object();
        attribute.AssignAttributeTypes(std::move(record.types), attribute.NoteAttributeTypes());
        fresh.Add(*key, std::move(component));
    }
}

// A component whose record carries no server object is asked for from the server's type. A server that does
// not have it either leaves the component without one: its values are there, and what needs the server fails.
XLXComPtr<IUnknown> XLXTypeCache::GetServerAttributeInterface(XLXTextView name)
{
    const XLXComBSTR text(name);
    XLXComPtr<ILXAttribute> attribute;
    if (!HasServer())
    {
        return nullptr;
    }
    LXServerCall("ILXType::GetAttribute");
    return Server()->GetAttribute(text.Get(), attribute.Put()) == S_OK ? XLXComPtr<IUnknown>(attribute)
                                                                       : nullptr;
}

XLXComPtr<IUnknown> XLXTypeCache::GetServerGroupInterface(LONG number)
{
    XLXComPtr<ILXGroup> group;
    if (!HasServer())
    {
        return nullptr;
    }
    LXServerCall("ILXType::GetGroup");
    return Server()->GetGroup(number, group.Put()) == S_OK ? XLXComPtr<IUnknown>(group) : nullptr;
}

XLXComPtr<IUnknown> XLXTypeCache::GetServerPageInterface(LONG number)
{
    XLXComPtr<ILXPage> page;
    if (!HasServer())
    {
        return nullptr;
    }
    LXServerCall("ILXType::GetPage");
    return Server()->GetPage(number, page.Put()) == S_OK ? XLXComPtr<IUnknown>(page) : nullptr;
}
