// SPDX-License-Identifier: MIT
//
// Questions for types.
#include "XLXEnumWithDelete.h"
#include "lxconfigfactorycachemanager.h"

HRESULT XLXConfigFactoryCacheManager::GetCachedType(ILX_BaseDataObject* pObject, BSTR, ILXType** ppType)
{
    return XLXError::Guarded(LXManagerAt("GetCachedType"), [&]() -> HRESULT {
        XLXError::CheckPointer(ppType, OLESTR("ppType"), LXManagerAt("GetCachedType"));
        *ppType = nullptr;
        XLXError::CheckPointer(pObject, OLESTR("pObject"), LXManagerAt("GetCachedType"));
        XLXComBSTR name;
        LXServerCall("ILX_BaseDataObject::GetTypeName");
        const HRESULT result = pObject->GetTypeName(name.Put());
        return FAILED(result) ? result : InternalLoadType(name.View(), ppType);
    });
}

HRESULT XLXConfigFactoryCacheManager::GetType(BSTR bstrTypename, BSTR, ILXType** ppType)
{
    return XLXError::Guarded(LXManagerAt("GetType"),
                             [&] { return InternalLoadType(LXBstrView(bstrTypename), ppType); });
}

HRESULT XLXConfigFactoryCacheManager::InternalLoadType(XLXTextView name, ILXType** ppType)
{
    if (ppType != nullptr)
    {
        *ppType = nullptr;
    }
    if (name.empty())
    {
        return S_FALSE;
    }
    XLXError::CheckPointer(ppType, OLESTR("ppType"), LXManagerAt("InternalLoadType"));
    XLXError::RaiseIfFailed(InternalFillTypeMap(), OLESTR("the types cannot be loaded"),
                            LXManagerAt("InternalLoadType"));
    XLXComPtr<XLXTypeCache> type;
    if (m_types.Find(name, type) == XTypeMap::Found::Nothing)
    {
        XLXCFCMngImpl* const impl = m_pImpl.load();
        XLXError::CheckPointer(impl, OLESTR("m_pImpl"), LXManagerAt("FetchType"));
        impl->FetchType(name, type);
    }
    *ppType = type.Detach();
    return *ppType != nullptr ? S_OK : S_FALSE;
}

HRESULT XLXConfigFactoryCacheManager::InternalFillTypeMap()
{
    if (m_types.Filled().IsFilled())
    {
        return S_OK;
    }
    XLXCFCMngImpl* const impl = m_pImpl.load();
    XLXError::CheckPointer(impl, OLESTR("m_pImpl"), LXManagerAt("InternalFillTypeMap"));
    const XFillGuard fill(m_types.FillMutex());
    if (fill.Reentered() || m_types.Filled().IsFilled())
    {
        return S_OK; // a server that asks back while it is being asked gets what is there
    }
    return impl->FillTypeCache() ? S_OK : S_FALSE;
}

HRESULT XLXConfigFactoryCacheManager::GetTypeEnum(BSTR, ILXTypeEnum** ppEnum)
{
    return EnumerateTypes("GetTypeEnum", false, ppEnum);
}

HRESULT XLXConfigFactoryCacheManager::GetSearchableTypeEnum(ILXTypeEnum** ppEnum)
{
    return EnumerateTypes("GetSearchableTypeEnum", true, ppEnum);
}

HRESULT XLXConfigFactoryCacheManager::EnumerateTypes(const char* method, bool searchableOnly,
                                                     ILXTypeEnum** ppEnum)
{
    return XLXError::Guarded(LXManagerAt(method), [&] {
        XLXError::CheckPointer(ppEnum, OLESTR("ppEnum"), LXManagerAt(method));
        *ppEnum = nullptr;
        XLXError::RaiseIfFailed(InternalFillTypeMap(), OLESTR("the types cannot be loaded"),
                                LXManagerAt(method));
        std::vector<XLXComPtr<ILXType>> items;
        for (const XTypeMap::Entry& entry : m_types.Types())
        {
            if (entry.type->IsListed() && (!searchableOnly || entry.type->IsSearchable()))
            {
                items.emplace_back(entry.type);
            }
        }
        return LXHandOutEnumerator(std::move(items), ppEnum);
    });
}

HRESULT XLXConfigFactoryCacheManager::LoadTypesByTypeNames(LONG lCountNames, BSTR* bstrTypename,
                                                           LONG bIncludeTypeAttributes)
{
    return XLXError::Guarded(LXManagerAt("LoadTypesByTypeNames"), [&]() -> HRESULT {
        if (lCountNames == 0)
        {
            return S_OK;
        }
        if (lCountNames < 0)
        {
            XLXError::Raise(E_INVALIDARG, OLESTR("the number of type names is negative"),
                            LXManagerAt("LoadTypesByTypeNames"));
        }
        XLXError::CheckPointer(bstrTypename, OLESTR("bstrTypename"), LXManagerAt("LoadTypesByTypeNames"));
        XLXCFCMngImpl* const impl = m_pImpl.load();
        XLXError::CheckPointer(impl, OLESTR("m_pImpl"), LXManagerAt("LoadTypesByTypeNames"));
        std::vector<XLXText> names;
        for (LONG i = 0; i < lCountNames; ++i)
        {
            names.emplace_back(LXBstrView(bstrTypename[i]));
        }
        return LoadTypesByNames(names, impl->NamedLoadMode(bIncludeTypeAttributes != 0));
    });
}

namespace
{
XLXSafeArray NameArray(const std::vector<XLXText>& names, const LXErrorLocation& at)
{
    XLXSafeArray array(SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(names.size())));
    if (!array)
    {
        throw std::bad_alloc();
    }
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        auto index = static_cast<LONG>(i);
        XLXError::RaiseIfFailed(SafeArrayPutElement(array.Get(), &index, XLXComBSTR(names[i]).Get()),
                                OLESTR("SafeArrayPutElement failed"), at);
    }
    return array;
}
} // namespace

HRESULT XLXConfigFactoryCacheManager::LoadTypesByNames(const std::vector<XLXText>& names, LONG mode)
{
    const LXErrorLocation at = LXManagerAt("LoadTypesByNames");
    const XLXSafeArray wanted = NameArray(names, at);
    const auto factory = ConfigFactoryEx("LoadTypesByNames");
    const std::uint64_t noted = m_epoch.Note();
    XLXSafeArray array;
    LXServerCall("ILXConfigFactoryEx::GetTypeArrayByTypeNameArrayEx");
    const HRESULT result = factory->GetTypeArrayByTypeNameArrayEx(wanted.Get(), 1, mode, array.Put());
    XLXError::RaiseIfFailed(result, OLESTR("the types cannot be loaded by name"), at);
    if (result == S_OK)
    {
        XLXError::CheckPointer(array.Get(), OLESTR("type array"), at);
        m_types.Enter(LXDecodeTypes(std::move(array), mode), noted, std::nullopt);
    }
    for (const XLXText& name : names)
    {
        if (!name.empty())
        {
            m_types.EnterNegative(name, noted); // for those that did not come
        }
    }
    return result == S_OK ? S_OK : S_FALSE;
}

// The new type is wrapped and handed out; it enters the map when the server reports it.
HRESULT XLXConfigFactoryCacheManager::AddType(ILXType** ppType)
{
    return XLXError::Guarded(LXManagerAt("AddType"), [&]() -> HRESULT {
        XLXError::CheckPointer(ppType, OLESTR("ppType"), LXManagerAt("AddType"));
        *ppType = nullptr;
        const auto factory = ConfigFactory("AddType");
        XLXComPtr<ILXType> server;
        LXServerCall("ILXConfigFactory::AddType");
        const HRESULT result = factory->AddType(server.Put());
        if (FAILED(result))
        {
            (void)server.Detach();
            return result;
        }
        XLXError::CheckPointer(server.Get(), OLESTR("object of the server"), LXManagerAt("AddType"));
        const auto type = LXCFCTOOLS::Make<XLXTypeCache>(server, LXManagerAt("AddType"));
        type->SetModeSupplier(m_transferMode);
        *ppType = type.Get();
        (*ppType)->AddRef();
        return result;
    });
}
