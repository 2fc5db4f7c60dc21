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

/// Asks for the memory that the records will be looked at in. Most of it was written long ago: asked for at once, it
/// is waited for once.
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

/// The type's own component under a key, when the current map has one: it is refreshed in place, so that whoever
/// holds it goes on being notified.
template <class Map>
typename Map::mapped_type OwnComponent(const Map& current, const typename Map::key_type& key, const XLXTypeCache* type)
{
    const auto found = current.find(key);
    return found != current.end() && found->second->IsOwn(type) ? found->second : typename Map::mapped_type();
}

/// Asks the server's type for a component whose record came without an object. A type that is gone, or that does not
/// have the component either, leaves it without one: its values are there, and what needs the server fails.
template <class Component, class Call>
class ComponentSource final : public XServerSource
{
public:
    ComponentSource(const char* method, XWeakLink<XGroupOwner> type, Call call)
        : m_method(method), m_type(std::move(type)), m_call(std::move(call))
    {}
    XLXComPtr<IUnknown> Ask() const override
    {
        const LXErrorLocation at = XCachedFacts::Type.At(m_method);
        const auto type = m_type.Lock();
        const XLXComPtr<ILXType> server = type ? type->ServerType() : nullptr;
        if (!server)
        {
            return nullptr;
        }
        XLXComPtr<Component> component;
        const std::string method = std::string("ILXType::") + m_method;
        const HRESULT result = LXAsk(method.c_str(), component, LXNoResult::Nothing, {}, at,
                                     [&](Component** out) { return m_call(*server, out); });
        XLXError::RaiseIfFailed(result, OLESTR("the server failed to give the object of a type's component"), at);
        return result == S_OK ? XLXComPtr<IUnknown>(component) : nullptr;
    }

private:
    const char* const m_method;
    const XWeakLink<XGroupOwner> m_type;
    const Call m_call;
};

template <class Component, class Call>
XServerSourcePtr MakeSource(const char* method, const XWeakLink<XGroupOwner>& type, Call call)
{
    return std::make_shared<const ComponentSource<Component, Call>>(method, type, std::move(call));
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
        XLXError::Raise(E_INVALIDARG, LXFormatText(OLESTR("invalid data transfer mode: %d"), {LXDecimal(requested)}),
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

void XLXTypeCache::DeliverComponents(XILXTypeComp components, LONG mode, const std::shared_ptr<const XMoment>& moment,
                                     XRetired& retired)
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
                                                XLXComPtr<IUnknown> server, XServerSourcePtr source, XVariantRow values,
                                                const XMoment& moment, XRetired& retired)
{
    using Component = std::remove_reference_t<decltype(*std::declval<typename Map::mapped_type>())>;
    using Cached = typename Component::CachedClass;
    if (auto component = OwnComponent(current, key, this))
    {
        component->Object()->TakeRecord(std::move(server), std::move(values), moment, retired, std::move(source));
        return component;
    }
    const auto made = LXCFCTOOLS::Make<Cached>(std::move(server), Clock(), TheFacts.At("Refresh"));
    if (source)
    {
        made->SetSource(std::move(source));
    }
    if constexpr (std::is_same_v<Cached, XLXGroupCache>)
    {
        made->SetOwner(m_selfLink);
    }
    made->AssignProperties(std::move(values), moment);
    return typename Map::mapped_type(new Component(made, this));
}

template <class Map, class KeyOf, class SourceOf>
void XLXTypeCache::FillRecordMap(const char* section, XDeliveredRecords records, const Map& current, Map& fresh,
                                 XRetired& retired, KeyOf&& keyOf, SourceOf&& sourceOf)
{
    for (XILXConfigData& record : GetSingleTypedVecFromArray(std::move(records.array), {section, m_name}))
    {
        const auto key = keyOf(record.values);
        if (!key)
        {
            continue; // without its key a component cannot be found
        }
        XServerSourcePtr source = record.object ? nullptr : sourceOf(*key);
        fresh.Add(*key, Refresh(current, *key, std::move(record.object), std::move(source), std::move(record.values),
                                *records.moment, retired));
    }
}

void XLXTypeCache::FillPageMap(XDeliveredRecords records, const XPageMap& current, XPageMap& fresh, XRetired& retired)
{
    FillRecordMap(
        "pages", std::move(records), current, fresh, retired,
        [](const auto& values) { return NumberAt(values, MemberPageNumber); },
        [this](LONG number) { return GetServerPageInterface(number); });
}

void XLXTypeCache::FillGroupMap(XDeliveredRecords records, const XGroupMap& current, XGroupMap& fresh,
                                XRetired& retired)
{
    FillRecordMap(
        "groups", std::move(records), current, fresh, retired,
        [](const auto& values) { return NumberAt(values, MemberGroupNumber); },
        [this](LONG number) { return GetServerGroupInterface(number); });
}

void XLXTypeCache::FillEditorMap(XDeliveredRecords records, const XEditorMap& current, XEditorMap& fresh,
                                 XRetired& retired)
{
    FillRecordMap(
        "editors", std::move(records), current, fresh, retired,
        [](const auto& values) { return NameAt(values, MemberEditorProgId); },
        [](const XCFGStringKey&) { return XServerSourcePtr(); });
}

void XLXTypeCache::FillAttributeMapFromSafeArray(XDeliveredRecords records, const XAttributeMap& current,
                                                 XAttributeMap& fresh, XRetired& retired)
{
    std::vector<XILXAttributeData> list = ReadAttributeList(std::move(records.array), m_name);
    Prefetch(list);
    for (XILXAttributeData& record : list)
    {
        const auto key = NameAt(record.values, MemberAttributeName);
        if (!key || fresh.find(*key) != fresh.end()) // what is added here is not found yet
        {
            continue;
        }
        XServerSourcePtr source = record.object ? nullptr : GetServerAttributeInterface(key->Text());
        auto component = Refresh(current, *key, std::move(record.object), std::move(source), std::move(record.values),
                                 *records.moment, retired);
        component->Object()->AssignAttributeTypes(std::move(record.types), *records.moment, retired);
        fresh.Add(*key, std::move(component));
    }
}

XServerSourcePtr XLXTypeCache::GetServerAttributeInterface(XLXTextView name) const
{
    return MakeSource<ILXAttribute>(
        "GetAttribute", m_selfLink,
        [text = XLXComBSTR(name)](ILXType& type, ILXAttribute** out) { return type.GetAttribute(text.Get(), out); });
}

XServerSourcePtr XLXTypeCache::GetServerGroupInterface(LONG number) const
{
    return MakeSource<ILXGroup>("GetGroup", m_selfLink,
                                [number](ILXType& type, ILXGroup** out) { return type.GetGroup(number, out); });
}

XServerSourcePtr XLXTypeCache::GetServerPageInterface(LONG number) const
{
    return MakeSource<ILXPage>("GetPage", m_selfLink,
                               [number](ILXType& type, ILXPage** out) { return type.GetPage(number, out); });
}
