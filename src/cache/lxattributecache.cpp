// SPDX-License-Identifier: MIT
#include "lxattributecache.h"

#include "XLXEnumWithDelete.h"

using XLXCFCDataTransfer::XILXConfigData;

namespace
{
constexpr int MemberAttributeTypeName = 3;
constexpr ULONG AttributeTypeBatch = 100;
} // namespace

HRESULT XLXAttributeCache::AddAttributeType(ILXAttributeType** ppAttributeType)
{
    return XLXError::Guarded(TheFacts.At("AddAttributeType"), [&] {
        const auto server = Server();
        LXServerCall("ILXAttribute::AddAttributeType");
        return LXPassedOn(server->AddAttributeType(ppAttributeType), ppAttributeType,
                          TheFacts.At("AddAttributeType"));
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
    return XLXError::Guarded(TheFacts.At("GetAttributeTypeEnum"), [&]() -> HRESULT {
        *ppEnum = nullptr;
        LoadAttributeTypes();
        std::vector<XLXComPtr<ILXAttributeType>> items;
        if (AttributeTypes* const types = m_attributeTypes.Find(); types != nullptr)
        {
            const XCritReadProxy<TypeMap> map(types->map);
            items.reserve(map->size());
            for (const auto& [key, type] : *map)
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
        XLXError::CheckPointer(ppFormat, OLESTR("ppFormat"), TheFacts.At("CreateFormat", 498));
        const auto ask = [&](ILXFormat** format) {
            const auto server = Server();
            LXServerCall("ILXAttribute::CreateFormat");
            return server->CreateFormat(iFormatType, format);
        };
        return m_formats.Make().Create(iFormatType, ppFormat, ask, TheFacts.At("CreateFormat", 530));
    });
}

HRESULT XLXAttributeCache::GetFormat(int iFormatType, ILXFormat** ppFormat)
{
    return XLXError::Guarded(TheFacts.At("GetFormat"), [&] {
        XLXError::CheckPointer(ppFormat, OLESTR("ppFormat"), TheFacts.At("GetFormat", 552));
        const auto ask = [&](ILXFormat** format) {
            const auto server = Server();
            LXServerCall("ILXAttribute::GetFormat");
            return server->GetFormat(iFormatType, format);
        };
        return m_formats.Make().Get(iFormatType, ppFormat, ask, TheFacts.At("GetFormat", 610));
    });
}

HRESULT XLXAttributeCache::DeleteFormat(int iFormatType)
{
    return XLXError::Guarded(TheFacts.At("DeleteFormat"), [&] {
        const auto server = Server();
        LXServerCall("ILXAttribute::DeleteFormat");
        const HRESULT result = server->DeleteFormat(iFormatType);
        if (XFormatMap* const formats = m_formats.Find(); SUCCEEDED(result) && formats != nullptr)
        {
            formats->Erase(iFormatType);
        }
        return result;
    });
}

void XLXAttributeCache::LoadAttributeTypes()
{
    if (m_attributeTypesLoaded.IsFilled())
    {
        return;
    }
    const XFillGuard fill(m_attributeTypes.Make().fill);
    if (fill.Reentered() || m_attributeTypesLoaded.IsFilled())
    {
        return;
    }
    const std::uint64_t noted = m_attributeTypesLoaded.Note();
    MergeAttributeTypes(FetchAttributeTypes(), noted);
}

// A server that cannot enumerate counts as having said all it has, until a notification says otherwise.
XLXAttributeCache::TypeMap XLXAttributeCache::FetchAttributeTypes()
{
    TypeMap fresh;
    const auto server = Server();
    XLXComPtr<ILXAttributeTypeEnum> types;
    LXServerCall("ILXAttribute::GetAttributeTypeEnum");
    const HRESULT result = server->GetAttributeTypeEnum(types.Put());
    if (FAILED(result))
    {
        (void)types.Detach();
        return fresh;
    }
    if (types)
    {
        const LXErrorLocation at = TheFacts.At("LoadAttributeTypes");
        LXForEachOf<AttributeTypeBatch, ILXAttributeType>(
            *types.Get(), "ILXAttributeTypeEnum::RemNext", at, [&](XLXComPtr<ILXAttributeType>&& element) {
                const auto wrapper = LXCFCTOOLS::Make<XLXAttributeTypeCache>(std::move(element), at);
                const auto name = wrapper->TryRead(MemberAttributeTypeName);
                auto key = name ? XCFGStringKey::Of(*name) : std::nullopt;
                if (key) // without a name there is no key to find it by
                {
                    fresh.insert_or_assign(std::move(*key), wrapper);
                }
            });
    }
    return fresh;
}

// Entries are replaced key by key; those whose key did not come again stay.
void XLXAttributeCache::MergeAttributeTypes(TypeMap&& fresh, std::uint64_t noted)
{
    if (!fresh.empty())
    {
        const XCritProxy<TypeMap> map(m_attributeTypes.Make().map);
        for (auto& [key, type] : fresh)
        {
            (*map)[key].Swap(type); // the replaced wrapper leaves in the parameter
        }
    }
    m_attributeTypesLoaded.SetFilled(noted);
}

void XLXAttributeCache::AddAttributeType(TypeMap& to, XILXConfigData&& type)
{
    if (type.values.empty())
    {
        if (type.object)
        {
            XLXError::Raise(E_INVALIDARG,
                            OLESTR("for an empty cached attribute type the interface ptr must be NULL"),
                            TheFacts.At("CreateAttributeType", 301));
        }
        return;
    }
    auto key = type.values.size() > MemberAttributeTypeName
                   ? XCFGStringKey::Of(type.values[MemberAttributeTypeName])
                   : std::nullopt;
    if (!key)
    {
        return; // without a name there is no key to find it by
    }
    const auto wrapper = LXCFCTOOLS::Make<XLXAttributeTypeCache>(std::move(type.object),
                                                                 TheFacts.At("CreateAttributeType", 308));
    wrapper->AssignProperties(std::move(type.values), wrapper->NoteStore());
    to.insert_or_assign(std::move(*key), wrapper);
}

void XLXAttributeCache::AssignAttributeTypes(std::vector<XILXConfigData> types, std::uint64_t noted)
{
    TypeMap fresh;
    for (XILXConfigData& type : types)
    {
        AddAttributeType(fresh, std::move(type));
    }
    MergeAttributeTypes(std::move(fresh), noted);
}

HRESULT XLXAttributeCache::OnNotification(const XChangeNotification& notification)
{
    const XDataId& id = notification.id;
    if (id.kind == LXDataIdKind::ParentChild)
    {
        return S_OK;
    }
    InvalidateStoreFor(id);
    if (id.kind == LXDataIdKind::Objects)
    {
        if (LXModeConcerns(id.mode, LXUM_EVERYTHING | LXUM_TYPES | LXUM_ATTRIBUTES | LXUM_ATTRIBUTETYPES))
        {
            m_attributeTypesLoaded.Invalidate();
            XInvalidationLog::Add(TheFacts.className, "attribute types");
        }
        if (XFormatMap* const formats = m_formats.Find();
            formats != nullptr && LXModeConcerns(id.mode, TheFacts.formatBits))
        {
            formats->Invalidate();
            XInvalidationLog::Add(TheFacts.className, "formats");
        }
    }
    const HRESULT result = ForwardToAttributeTypes(notification);
    XFormatMap* const formats = m_formats.Find();
    return result == S_OK && formats != nullptr ? formats->Forward(notification) : result;
}

HRESULT XLXAttributeCache::ForwardToAttributeTypes(const XChangeNotification& notification)
{
    AttributeTypes* const types = m_attributeTypes.Find();
    if (types == nullptr)
    {
        return S_OK;
    }
    // The receivers only clear flags, so they may be called under the lock.
    const XCritReadProxy<TypeMap> map(types->map);
    for (const auto& [key, type] : *map)
    {
        const HRESULT result = type->Notify(notification);
        if (result != S_OK)
        {
            return result;
        }
    }
    return S_OK;
}

HRESULT XLXAttributeCache::Terminate() noexcept
{
    m_attributeTypesLoaded.Invalidate();
    if (AttributeTypes* const types = m_attributeTypes.Find(); types != nullptr)
    {
        TypeMap dropped;
        const XCritProxy<TypeMap> map(types->map);
        map->swap(dropped);
    }
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_mapFormatCache failed"),
                         TheFacts.At("Terminate", 93), [&] {
                             if (XFormatMap* const formats = m_formats.Find(); formats != nullptr)
                             {
                                 formats->Terminate();
                             }
                         });
    return S_OK;
}
