// SPDX-License-Identifier: MIT
//
// Questions for types.
#include "XLXEnumWithDelete.h"
#include "lxconfigfactorycachemanager.h"

HRESULT XLXConfigFactoryCacheManager::GetCachedType(ILX_BaseDataObject* pObject, BSTR, ILXType** ppType)
{
    return XLXError::Guarded(LXManagerAt("GetCachedType"), [&]() -> HRESULT {
        LXCheckOut(ppType, OLESTR("ppType"), LXManagerAt("GetCachedType"));
        XLXError::CheckPointer(pObject, OLESTR("pObject"), LXManagerAt("GetCachedType"));
        XLXComBSTR name;
        const HRESULT result = LXAskText("ILX_BaseDataObject::GetTypeName", name, LXManagerAt("GetCachedType"),
                                         [&](BSTR* out) { return pObject->GetTypeName(out); });
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
    LXEmptyOut(ppType);
    if (name.empty())
    {
        return S_FALSE;
    }
    XLXError::CheckPointer(ppType, OLESTR("ppType"), LXManagerAt("InternalLoadType"));
    XTypeMap::Answer answer = m_types.Find(name);
    if (!answer.isFresh)
    {
        XTypeMapPtr types;
        XLXError::RaiseIfFailed(InternalFillTypeMap(types), OLESTR("the types cannot be loaded"),
                                LXManagerAt("InternalLoadType"));
        answer = types->Find(name);
    }
    if (answer.found == XTypeMap::Found::Nothing)
    {
        XLXCFCMngImpl* const impl = m_pImpl.load();
        XLXError::CheckPointer(impl, OLESTR("m_pImpl"), LXManagerAt("FetchType"));
        impl->FetchType(name, answer.type);
    }
    *ppType = answer.type.Detach();
    return *ppType != nullptr ? S_OK : S_FALSE;
}

HRESULT XLXConfigFactoryCacheManager::InternalFillTypeMap(XTypeMapPtr& types)
{
    types = XTypeMapPtr(XTypeMapPtr(), &m_types);
    if (m_types.IsFresh())
    {
        return S_OK;
    }
    XLXCFCMngImpl* const impl = m_pImpl.load();
    XLXError::CheckPointer(impl, OLESTR("m_pImpl"), LXManagerAt("InternalFillTypeMap"));
    const XFill fill(m_types.FillMutex(), &m_types);
    if (fill.IsReentered() || m_types.IsFresh())
    {
        return S_OK; // a server that asks back while it is being asked gets what is there
    }
    const XTypeMapPtr filled = impl->FillTypeCache();
    types = filled ? filled : types;
    return filled ? S_OK : S_FALSE;
}

// An answer that arrives after its connection is over is given to whoever asked, and entered nowhere.
XTypeMapPtr XLXConfigFactoryCacheManager::EnterTypes(std::vector<XTypeLoad>& loads, const XTypeMap::Note& noted,
                                                     bool isWhole)
{
    if (m_types.Enter(loads, noted, isWhole))
    {
        return XTypeMapPtr(XTypeMapPtr(), &m_types);
    }
    const auto apart = std::make_shared<XTypeMap>(m_transferMode);
    apart->Begin(noted.clock);
    apart->Enter(loads, noted, isWhole);
    return apart;
}

HRESULT XLXConfigFactoryCacheManager::GetTypeEnum(BSTR, ILXTypeEnum** ppEnum)
{
    return EnumerateTypes("GetTypeEnum", false, ppEnum);
}

HRESULT XLXConfigFactoryCacheManager::GetSearchableTypeEnum(ILXTypeEnum** ppEnum)
{
    return EnumerateTypes("GetSearchableTypeEnum", true, ppEnum);
}

HRESULT XLXConfigFactoryCacheManager::EnumerateTypes(const char* method, bool searchableOnly, ILXTypeEnum** ppEnum)
{
    return XLXError::Guarded(LXManagerAt(method), [&] {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), LXManagerAt(method));
        XTypeMapPtr types;
        XLXError::RaiseIfFailed(InternalFillTypeMap(types), OLESTR("the types cannot be loaded"), LXManagerAt(method));
        std::vector<XLXComPtr<ILXType>> items;
        for (const XTypeMap::Entry& entry : types->Types())
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
    const XServerAccess server = Access("LoadTypesByNames");
    const auto factory = server.Bulk("LoadTypesByNames");
    const XTypeMap::Note noted = m_types.TakeNote(server.clock);
    XLXSafeArray array;
    const HRESULT result =
        LXAsk("ILXConfigFactoryEx::GetTypeArrayByTypeNameArrayEx", array, LXNoResult::Nothing, {}, at,
              [&](SAFEARRAY** out) { return factory->GetTypeArrayByTypeNameArrayEx(wanted.Get(), 1, mode, out); });
    XLXError::RaiseIfFailed(result, OLESTR("the types cannot be loaded by name"), at);
    if (result == S_OK)
    {
        auto loads = LXDecodeTypes(std::move(array), mode);
        EnterTypes(loads, noted, false);
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
        LXCheckOut(ppType, OLESTR("ppType"), LXManagerAt("AddType"));
        const XServerAccess access = Access("AddType");
        XLXComPtr<ILXType> server;
        const HRESULT result =
            LXAsk("ILXConfigFactory::AddType", server, LXNoResult::PointerError, OLESTR("object of the server"),
                  LXManagerAt("AddType"), [&](ILXType** out) { return access.configFactory->AddType(out); });
        if (FAILED(result))
        {
            return result;
        }
        XLXError::CheckPointer(server.Get(), OLESTR("object of the server"), LXManagerAt("AddType"));
        const auto type = LXCFCTOOLS::Make<XLXTypeCache>(server, access.clock, LXManagerAt("AddType"));
        type->SetModeSupplier(m_transferMode);
        *ppType = type.Get();
        (*ppType)->AddRef();
        return result;
    });
}
