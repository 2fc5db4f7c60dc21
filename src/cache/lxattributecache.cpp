// SPDX-License-Identifier: MIT
#include "lxattributecache.h"

#include "XLXEnumWithDelete.h"

using XLXCFCDataTransfer::XILXConfigData;

namespace {
constexpr std::size_t MemberAttributeTypeName = 3;
constexpr ULONG AttributeTypeBatch = 100;

enum AttributeMember : std::size_t {
    ShowInBrowser = 7,
    ShowInEditor = 8,
    ShowInFinder = 9,
    GroupNumber = 17,
    InAVSet = 19,
    Printable = 28,
    NotInFinder = 32,
    Origin = 46
};

constexpr LONG OriginVendor = 0;

/// Supplies the server object of an attribute type whose record came without one, by asking the server's attribute.
class AttributeTypeSource final : public XServerSource {
public:
    AttributeTypeSource(XServerSourcePtr attribute, XLXTextView name)
        : m_attribute(std::move(attribute)), m_name(name) {}
    XLXComPtr<IUnknown> Ask() const override {
        const XLXComPtr<ILXAttribute> attribute = m_attribute->Ask().As<ILXAttribute>();
        return attribute ? XLXComPtr<IUnknown>(Find(*attribute)) : nullptr;
    }

private:
    XLXComPtr<ILXAttributeType> Find(ILXAttribute& attribute) const {
        return LXFindListed<AttributeTypeBatch, ILXAttributeType, ILXAttributeTypeEnum>(
            "ILXAttribute::GetAttributeTypeEnum", "ILXAttributeTypeEnum::RemNext",
            OLESTR("the server failed to give the object of an attribute type"),
            XCachedFacts::Attribute.At("GetAttributeTypeEnum"),
            [&](ILXAttributeTypeEnum** out) { return attribute.GetAttributeTypeEnum(out); },
            [&](ILXAttributeType& type) {
                XLXComVariant name;
                return LXAskProperty(type, MemberAttributeTypeName, name) == S_OK && name.AsText() == m_name;
            });
    }

    const XServerSourcePtr m_attribute;
    const XLXText m_name;
};
} // namespace

XLXAttributeCache::XLXAttributeCache(XLXComPtr<IUnknown> server, XClockPtr clock)
    : XLXFormatOwner(std::move(server), std::move(clock)),
      m_attributeTypes(nullptr, XStamp{}, TimeOf(XAspect::AttributeTypes)) {}

HRESULT XLXAttributeCache::AddAttributeType(ILXAttributeType** ppAttributeType) {
    return LXPassOn(
        TheClass.At("AddAttributeType"), "ILXAttribute::AddAttributeType", LXNoResult::PointerError,
        [&] { return Server(); }, &ILXAttribute::AddAttributeType, ppAttributeType);
}

HRESULT XLXAttributeCache::RemoveAttributeType(ILXAttributeType* pAttributeType, LONG* plResult) {
    return XLXError::Guarded(TheClass.At("RemoveAttributeType"), [&] {
        const auto server = Server();
        LXServerCall("ILXAttribute::RemoveAttributeType");
        return server->RemoveAttributeType(pAttributeType, plResult);
    });
}

HRESULT XLXAttributeCache::GetAttributeTypeEnum(ILXAttributeTypeEnum** ppEnum) {
    if (ppEnum == nullptr) { return E_POINTER; }
    return LXAnswer(TheClass.At("GetAttributeTypeEnum"), OLESTR("ppEnum"), ppEnum,
                    [&] { return LXHandOutAll<ILXAttributeType>(LoadAttributeTypes(), ppEnum); });
}

// ---- display facts

bool XDisplayFacts::AreIn(const XVariantRow& values) noexcept { return values.size() > Origin; }

XDisplayFacts::XDisplayFacts(const XVariantRow& values) {
    const auto flag = [&](std::size_t member) {
        const XLXVariantView value = values[member];
        return !value.Empty() && value.AsBool().value_or(false);
    };
    const auto number = [&](std::size_t member, LONG none) {
        const XLXVariantView value = values[member];
        return !value.Empty() ? value.AsLong().value_or(none) : none;
    };
    const auto bit = [](bool isSet, LXDisplay display) { return isSet ? static_cast<std::uint64_t>(display) : 0; };
    m_word = bit(flag(ShowInEditor), LXD_EDITOR) | bit(flag(ShowInFinder) && !flag(NotInFinder), LXD_FINDER) |
             bit(flag(ShowInBrowser), LXD_BROWSER) | bit(flag(Printable), LXD_PRINTABLE) |
             bit(number(Origin, OriginVendor - 1) == OriginVendor, LXD_VENDORDEFINED) |
             bit(flag(InAVSet), LXD_INAVSET) |
             (std::uint64_t{static_cast<std::uint32_t>(number(AttributeMember::GroupNumber, 0))} << 32);
}

// Called under the store's lock, so there is one writer at a time, and stamps never decrease.
void XLXAttributeCache::OnAssigned(const XVariantRow& values, const XStamp& stamp) noexcept {
    const bool areKnown = !stamp.IsNone() && XDisplayFacts::AreIn(values);
    m_facts.store(XDisplayFacts(values), std::memory_order_release);
    m_factsStamp.store(areKnown ? stamp.Sum() : 0, std::memory_order_release);
}

XDisplayFacts XLXAttributeCache::DisplayFacts() {
    if (auto known = FreshDisplayFacts(); known || (TryRefillWithOthers() && (known = FreshDisplayFacts()))) {
        return *known;
    }
    XDisplayFacts facts;
    const HRESULT result = Fetch([&](const XVariantRow& values) {
        if (!XDisplayFacts::AreIn(values)) { LXRaisePropertyIndex(Origin); }
        facts = XDisplayFacts(values);
    });
    XLXError::RaiseIfFailed(result, OLESTR("a display property of the attribute cannot be read"),
                            TheClass.At("DisplayFacts"));
    return facts;
}

// ---- attribute types

XLXAttributeCache::TypeMapPtr XLXAttributeCache::LoadAttributeTypes() {
    if (TypeMapPtr fresh = m_attributeTypes.Fresh()) { return fresh; }
    const XMoment moment = Moment();
    std::exception_ptr failure;
    TypeMapPtr types = m_attributeTypes.Load(
        TimeOf(XAspect::AttributeTypes),
        [&](const XStamp& stamp) {
            return FetchAttributeTypes({stamp, moment}, failure);
        },
        [&](const TypeMap& loaded, const TypeMapPtr& former) { OnAttributeTypes(loaded, former.get(), moment); });
    LXRaiseKept(failure); // the types read before the failure are cached, so it is raised only once
    return types;
}

// The fetched types replace the present ones with the same key; the others stay.
XLXAttributeCache::TypeMapPtr XLXAttributeCache::FetchAttributeTypes(const XRequestTime& requested,
                                                                     std::exception_ptr& failure) {
    TypeMap types = ReadAttributeTypes(requested, failure);
    if (const TypeMapPtr former = m_attributeTypes.Held()) { types.insert(former->begin(), former->end()); }
    return std::make_shared<const TypeMap>(std::move(types));
}

// If the server cannot enumerate the types, the result is empty and is cached like any other.
XLXAttributeCache::TypeMap XLXAttributeCache::ReadAttributeTypes(const XRequestTime& requested,
                                                                 std::exception_ptr& failure) const {
    const LXErrorLocation at = TheClass.At("LoadAttributeTypes");
    TypeMap fresh;
    XRetired retired;
    const auto server = Server();
    XLXComPtr<ILXAttributeTypeEnum> types;
    const HRESULT result = LXAsk("ILXAttribute::GetAttributeTypeEnum", types, LXNoResult::Nothing, {}, at,
                                 [&](ILXAttributeTypeEnum** out) { return server->GetAttributeTypeEnum(out); });
    if (FAILED(result) || !types) { return fresh; }
    LXKeepFailure(failure, [&] {
        LXForEachOf<AttributeTypeBatch, ILXAttributeType>(
            *types, "ILXAttributeTypeEnum::RemNext", at, [&](XLXComPtr<ILXAttributeType>&& element) {
                const auto wrapper = LXMakeOrRefresh<XLXAttributeTypeCache>(
                    nullptr, XLXComPtr<IUnknown>(std::move(element)), {}, requested, Clock(), retired, Refill());
                const auto name = wrapper->TryRead(int{MemberAttributeTypeName});
                auto key = name ? XCFGStringKey::Of(*name) : std::nullopt;
                if (key) { // a nameless type could never be found
                    fresh.insert_or_assign(std::move(*key), wrapper);
                }
            });
    });
    return fresh;
}

// Called under the lock when the types are published. They missed two kinds of direct notification that arrived after
// the moment: those to the attribute, which the owner's number reveals, and those to a type that is replaced. Replaced
// types are detached first: a notification arrives either before that, and is found here, or after it, and advances the
// clock.
void XLXAttributeCache::OnAttributeTypes(const TypeMap& types, const TypeMap* former, const XMoment& moment) const {
    LXReplaceMap(former, types);
    for (const auto& [key, type] : types) {
        type->TakeOwnersNumber(Direct(), moment);
        const auto replaced = LXFind(former, key);
        if (replaced && replaced != type && replaced->WasNotifiedSince(moment)) { type->AdvanceAll(); }
    }
}

void XLXAttributeCache::AddAttributeType(const TypeMapPtr& former, TypeMap& to, XILXConfigData&& type,
                                         const XRequestTime& requested, const std::function<XServerSourcePtr()>& source,
                                         XRetired& retired) const {
    if (type.values.empty()) {
        if (type.object) {
            XLXError::Raise(E_INVALIDARG, OLESTR("for an empty cached attribute type the interface ptr must be NULL"),
                            TheClass.At("CreateAttributeType", 301));
        }
        return;
    }
    // A nameless type could never be found.
    if (auto key = XCFGStringKey::Of(type.values[MemberAttributeTypeName])) {
        XServerSourcePtr own =
            type.object ? nullptr : std::make_shared<const AttributeTypeSource>(source(), key->Text());
        LXEnterRecord(former.get(), to, std::move(*key), std::move(type.object), std::move(type.values), requested,
                      Clock(), retired, Refill(), std::move(own));
    }
}

void XLXAttributeCache::RefillAttributeTypes(std::vector<XILXConfigData> types, const XMoment& moment,
                                             XRetired& retired) {
    const TypeMapPtr held = m_attributeTypes.Held();
    for (XILXConfigData& type : types) {
        const auto key = held ? XCFGStringKey::Of(type.values[MemberAttributeTypeName]) : std::nullopt;
        if (const auto found = key ? held->find(*key) : TypeMap::const_iterator(); key && found != held->end()) {
            found->second->RefillValues(std::move(type.values), moment, retired);
        }
        retired.Take(std::move(type.object));
    }
}

void XLXAttributeCache::AssignAttributeTypes(std::vector<XILXConfigData> types, const XMoment& moment,
                                             const std::function<XServerSourcePtr()>& source, XRetired& retired) {
    const XStamp stamp = LXStampFrom(moment, XAspect::AttributeTypes, m_attributeTypes.Own(), Direct());
    static const TypeMap none;
    TypeMapPtr fresh(TypeMapPtr(), &none); // most attributes have no types; their map needs no memory
    if (!types.empty()) {
        const TypeMapPtr former = m_attributeTypes.Held();
        TypeMap map;
        for (XILXConfigData& type : types) {
            AddAttributeType(former, map, std::move(type), {stamp, moment}, source, retired);
        }
        fresh = std::make_shared<const TypeMap>(std::move(map));
    }
    m_attributeTypes.Publish(
        TimeOf(XAspect::AttributeTypes), fresh, stamp,
        [&](const TypeMap& map, const TypeMapPtr& held) { OnAttributeTypes(map, held.get(), moment); });
}

// ---- notifications and termination

void XLXAttributeCache::AdvanceParts() noexcept {
    m_attributeTypes.Advance();
    XLXFormatOwner::AdvanceParts();
}

void XLXAttributeCache::OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched) {
    if (notification.relationsOnly) { return; }
    AdvanceIf(XAspect::AttributeTypes, notification.concerned, m_attributeTypes, touched);
    // The receivers only advance counts, so they may be called under the lock.
    m_attributeTypes.ReadHeld([&](const TypeMap* types) { LXNotifyDirectly(types, notification, touched); });
    XLXFormatOwner::OnDirectNotification(notification, touched);
}

void XLXAttributeCache::Terminate() noexcept {
    const auto former = m_attributeTypes.Clear();
    XLXFormatOwner::Terminate();
}
