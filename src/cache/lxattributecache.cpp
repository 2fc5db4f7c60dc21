// SPDX-License-Identifier: MIT
#include "lxattributecache.h"

#include "XLXEnumWithDelete.h"

using XLXCFCDataTransfer::XILXConfigData;

namespace
{
constexpr int MemberAttributeTypeName = 3;
constexpr ULONG AttributeTypeBatch = 100;
} // namespace

XLXAttributeCache::XLXAttributeCache(XLXComPtr<IUnknown> server, XClockPtr clock)
    : XLXConfigObjectCache(std::move(server), std::move(clock)),
      m_attributeTypes(nullptr, XStamp{}, TimeOf(XAspect::AttributeTypes), true)
{}

HRESULT XLXAttributeCache::AddAttributeType(ILXAttributeType** ppAttributeType)
{
    LXEmptyOut(ppAttributeType);
    return XLXError::Guarded(TheFacts.At("AddAttributeType"), [&] {
        const auto server = Server();
        return LXPassOn("ILXAttribute::AddAttributeType", ppAttributeType, LXNoResult::PointerError,
                        TheFacts.At("AddAttributeType"),
                        [&](ILXAttributeType** out) { return server->AddAttributeType(out); });
    });
}

HRESULT XLXAttributeCache::RemoveAttributeType(ILXAttributeType* pAttributeType, LONG* plResult)
{
    return XLXError::Guarded(TheFacts.At("RemoveAttributeType"), [&] {
        const auto server = Server();
        LXServerCall("ILXAttribute::RemoveAttributeType");
        return server->RemoveAttributeType(pAttributeType, plResult);
    });
}

HRESULT XLXAttributeCache::GetAttributeTypeEnum(ILXAttributeTypeEnum** ppEnum)
{
    if (ppEnum == nullptr)
    {
        return E_POINTER;
    }
    *ppEnum = nullptr;
    return XLXError::Guarded(TheFacts.At("GetAttributeTypeEnum"), [&]() -> HRESULT {
        std::vector<XLXComPtr<ILXAttributeType>> items;
        if (const TypeMapPtr types = LoadAttributeTypes())
        {
            items.reserve(types->size());
            for (const auto& [key, type] : *types)
            {
                items.emplace_back(type);
            }
        }
        return LXHandOutEnumerator(std::move(items), ppEnum);
    });
}

HRESULT XLXAttributeCache::CreateFormat(int iFormatType, ILXFormat** ppFormat)
{
    return XLXError::Guarded(TheFacts.At("CreateFormat"), [&] {
        LXCheckOut(ppFormat, OLESTR("ppFormat"), TheFacts.At("CreateFormat", 498));
        const auto ask = [&](ILXFormat** format) { return Server()->CreateFormat(iFormatType, format); };
        return m_formats.Make().Create(TimeOf(XAspect::AttributeFormats), iFormatType, ppFormat,
                                       "ILXAttribute::CreateFormat", ask, TheFacts.At("CreateFormat", 530));
    });
}

HRESULT XLXAttributeCache::GetFormat(int iFormatType, ILXFormat** ppFormat)
{
    return XLXError::Guarded(TheFacts.At("GetFormat"), [&] {
        LXCheckOut(ppFormat, OLESTR("ppFormat"), TheFacts.At("GetFormat", 552));
        const auto ask = [&](ILXFormat** format) { return Server()->GetFormat(iFormatType, format); };
        return m_formats.Make().Get(TimeOf(XAspect::AttributeFormats), iFormatType, ppFormat, "ILXAttribute::GetFormat",
                                    ask, TheFacts.At("GetFormat", 610));
    });
}

HRESULT XLXAttributeCache::DeleteFormat(int iFormatType)
{
    return XLXError::Guarded(TheFacts.At("DeleteFormat"), [&] {
        const auto server = Server();
        LXServerCall("ILXAttribute::DeleteFormat");
        const HRESULT result = server->DeleteFormat(iFormatType);
        if (SUCCEEDED(result))
        {
            m_formats.Make().Erase(TimeOf(XAspect::AttributeFormats), iFormatType);
        }
        return result;
    });
}

// ---- display facts

void XLXAttributeCache::OnAssigned(const XVariantRow& values, const XStamp& stamp) noexcept
{
    m_facts.Keep(XDisplayFacts::Of(values), stamp);
}

XDisplayFacts XLXAttributeCache::Facts()
{
    if (const auto known = KnownFacts())
    {
        return *known;
    }
    XDisplayFacts facts;
    bool isWhole = false;
    const HRESULT result = Fetch([&](const XVariantRow& values) {
        facts = XDisplayFacts::Of(values);
        isWhole = values.size() > XDisplayFacts::LastMember;
    });
    XLXError::RaiseIfFailed(result, OLESTR("a display property of the attribute cannot be read"), TheFacts.At("Facts"));
    if (result == S_OK && !isWhole)
    {
        LXRaisePropertyIndex(XDisplayFacts::LastMember);
    }
    return facts;
}

// ---- attribute types

XLXAttributeCache::TypeMapPtr XLXAttributeCache::LoadAttributeTypes()
{
    if (TypeMapPtr fresh = m_attributeTypes.Fresh())
    {
        return fresh;
    }
    const XMoment moment = Moment();
    std::exception_ptr failure;
    TypeMapPtr types = m_attributeTypes.Load(
        TimeOf(XAspect::AttributeTypes), [&] { return FetchAttributeTypes(failure); },
        [&](const TypeMap& loaded, const TypeMapPtr& former) { OnAttributeTypes(loaded, former.get(), moment); });
    if (failure)
    {
        std::rethrow_exception(failure); // once: what came before it is kept
    }
    return types;
}

// What is loaded one by one replaces key by key what is there; what does not come again stays.
XLXAttributeCache::TypeMapPtr XLXAttributeCache::FetchAttributeTypes(std::exception_ptr& failure)
{
    TypeMap types = ReadAttributeTypes(failure);
    if (const TypeMapPtr former = m_attributeTypes.Held())
    {
        types.insert(former->begin(), former->end());
    }
    return std::make_shared<const TypeMap>(std::move(types));
}

// A server that cannot enumerate counts as having said all it has, until a notification says otherwise.
XLXAttributeCache::TypeMap XLXAttributeCache::ReadAttributeTypes(std::exception_ptr& failure) const
{
    const LXErrorLocation at = TheFacts.At("LoadAttributeTypes");
    TypeMap fresh;
    const auto server = Server();
    XLXComPtr<ILXAttributeTypeEnum> types;
    const HRESULT result = LXAsk("ILXAttribute::GetAttributeTypeEnum", types, LXNoResult::Nothing, {}, at,
                                 [&](ILXAttributeTypeEnum** out) { return server->GetAttributeTypeEnum(out); });
    if (FAILED(result) || !types)
    {
        return fresh;
    }
    try
    {
        LXForEachOf<AttributeTypeBatch, ILXAttributeType>(
            *types, "ILXAttributeTypeEnum::RemNext", at, [&](XLXComPtr<ILXAttributeType>&& element) {
                const auto wrapper = LXCFCTOOLS::Make<XLXAttributeTypeCache>(std::move(element), Clock(), at);
                const auto name = wrapper->TryRead(MemberAttributeTypeName);
                auto key = name ? XCFGStringKey::Of(*name) : std::nullopt;
                if (key) // without a name there is no key to find it by
                {
                    fresh.insert_or_assign(std::move(*key), wrapper);
                }
            });
    }
    catch (const XLXException&)
    {
        failure = std::current_exception();
    }
    return fresh;
}

// The attribute passes a notification that comes straight to it on to the types in the map. Types that are published
// after one that came while they were on their way would miss it; so would those that take the place of a type which
// was notified itself. That is detached before it is looked at: either it was notified before, or it advances the
// clock.
void XLXAttributeCache::OnAttributeTypes(const TypeMap& types, const TypeMap* former, const XMoment& moment) const
{
    LXReplaceMap(former, types);
    for (const auto& [key, type] : types)
    {
        type->TakeOwnersNumber(Direct(), moment);
        const auto replaced = former != nullptr ? former->find(key) : TypeMap::const_iterator();
        const bool isReplaced = former != nullptr && replaced != former->end() && replaced->second != type;
        if (isReplaced && replaced->second->WasNotifiedSince(moment))
        {
            type->AdvanceAll();
        }
    }
}

void XLXAttributeCache::AddAttributeType(const TypeMapPtr& former, TypeMap& to, XILXConfigData&& type,
                                         const XMoment& moment, XRetired& retired) const
{
    if (type.values.empty())
    {
        if (type.object)
        {
            XLXError::Raise(E_INVALIDARG, OLESTR("for an empty cached attribute type the interface ptr must be NULL"),
                            TheFacts.At("CreateAttributeType", 301));
        }
        return;
    }
    auto key = type.values.size() > MemberAttributeTypeName ? XCFGStringKey::Of(type.values[MemberAttributeTypeName])
                                                            : std::nullopt;
    if (!key)
    {
        return; // without a name there is no key to find it by
    }
    if (former)
    {
        if (const auto known = former->find(*key); known != former->end())
        {
            known->second->TakeRecord(std::move(type.object), std::move(type.values), moment, retired);
            to.insert_or_assign(std::move(*key), known->second);
            return;
        }
    }
    const auto wrapper = LXCFCTOOLS::Make<XLXAttributeTypeCache>(std::move(type.object), Clock(),
                                                                 TheFacts.At("CreateAttributeType", 308));
    wrapper->AssignProperties(std::move(type.values), moment);
    to.insert_or_assign(std::move(*key), wrapper);
}

void XLXAttributeCache::AssignAttributeTypes(std::vector<XILXConfigData> types, const XMoment& moment,
                                             XRetired& retired)
{
    const XStamp stamp = LXStampFrom(moment, XAspect::AttributeTypes, m_attributeTypes.Own(), Direct());
    static const TypeMap none;
    TypeMapPtr fresh(TypeMapPtr(), &none); // most attributes have none: that needs no memory
    if (!types.empty())
    {
        const TypeMapPtr former = m_attributeTypes.Held();
        TypeMap map;
        for (XILXConfigData& type : types)
        {
            AddAttributeType(former, map, std::move(type), moment, retired);
        }
        fresh = std::make_shared<const TypeMap>(std::move(map));
    }
    m_attributeTypes.Publish(
        TimeOf(XAspect::AttributeTypes), fresh, stamp,
        [&](const TypeMap& map, const TypeMapPtr& held) { OnAttributeTypes(map, held.get(), moment); });
}

// ---- notifications and the end

void XLXAttributeCache::AdvanceParts() noexcept
{
    m_attributeTypes.Advance();
    if (XFormatMap* const formats = m_formats.Find(); formats != nullptr)
    {
        formats->Advance();
    }
}

void XLXAttributeCache::OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched)
{
    if (notification.relationsOnly)
    {
        return;
    }
    AdvanceIf(XAspect::AttributeTypes, notification.concerned, m_attributeTypes, touched);
    // The receivers only advance counts, so they may be called under the lock.
    m_attributeTypes.ReadHeld([&](const TypeMap* types) { LXNotifyDirectly(types, notification, touched); });
    if (XFormatMap* const formats = m_formats.Find(); formats != nullptr)
    {
        AdvanceIf(XAspect::AttributeFormats, notification.concerned, *formats, touched);
        formats->NotifyDirectly(notification, touched);
    }
}

HRESULT XLXAttributeCache::Terminate() noexcept
{
    const auto former = m_attributeTypes.Clear();
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_mapFormatCache failed"), TheFacts.At("Terminate", 93),
                         [&] {
                             if (XFormatMap* const formats = m_formats.Find(); formats != nullptr)
                             {
                                 formats->Terminate();
                             }
                         });
    return S_OK;
}
