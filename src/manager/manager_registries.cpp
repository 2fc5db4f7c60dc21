// SPDX-License-Identifier: MIT
//
// The registries of the whole configuration: browser ids, PC infos, plan types and global format specs.
#include "XLXEnumWithDelete.h"
#include "lxconfigfactorycachemanager.h"

namespace
{
constexpr int MemberPropertyId = 0;

void CheckSpecId(XLXTextView id, const LXErrorLocation& at)
{
    if (id.empty())
    {
        XLXError::Raise(E_INVALIDARG,
                        OLESTR("For removing ILXGlobalAttributeFormatSpec instances the property id "
                               "'LXCFGAFS_attributepropertyid' must not be empty."),
                        at);
    }
}

HRESULT RemoveOnServer(ILXConfigFactory& factory, XLXTextView id)
{
    LXServerCall("ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID");
    return factory.RemoveGlobalAttributeFormatSpecByID(XLXComBSTR(id).Get());
}
} // namespace

HRESULT XLXConfigFactoryCacheManager::GetBrowserIdEnum(ILXBrowserIdEnum** ppEnum)
{
    return XLXError::Guarded(LXManagerAt("GetBrowserIdEnum"), [&] {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), LXManagerAt("GetBrowserIdEnum"));
        return LXHandOutEnumerator(m_browsers.BrowserIds(), ppEnum);
    });
}

HRESULT XLXConfigFactoryCacheManager::InternalGetPCInfoEnum(ILXPCInfoEnum** ppEnum, bool newRelations)
{
    LXCheckOut(ppEnum, OLESTR("ppEnum"), LXManagerAt("InternalGetPCInfoEnum"));
    return LXHandOutEnumerator(m_browsers.PCInfos(newRelations), ppEnum);
}

HRESULT XLXConfigFactoryCacheManager::InternalGetPCInfo(XLXTextView browserId, ILXPCInfo** ppPCInfo, bool newRelations)
{
    LXCheckOut(ppPCInfo, OLESTR("ppPCInfo"), LXManagerAt("InternalGetPCInfo"));
    *ppPCInfo = m_browsers.PCInfo(browserId, newRelations).Detach();
    return *ppPCInfo != nullptr ? S_OK : S_FALSE;
}

HRESULT XLXConfigFactoryCacheManager::IsPlantype(ILX_BaseDataObject* pObject)
{
    return XLXError::Guarded(LXManagerAt("IsPlantype"), [&]() -> HRESULT {
        XLXError::CheckPointer(pObject, OLESTR("pObject"), LXManagerAt("IsPlantype"));
        XLXComBSTR name;
        const HRESULT result = LXAskText("ILX_BaseDataObject::GetTypeName", name, LXManagerAt("IsPlantype"),
                                         [&](BSTR* out) { return pObject->GetTypeName(out); });
        if (FAILED(result))
        {
            return result;
        }
        return m_planTypes.IsPlanType(name.View()) ? S_OK : S_FALSE;
    });
}

std::vector<XRelationHost::PlanTypeRelation>
XLXConfigFactoryCacheManager::InternalGetPlantypeRelations(XLXTextView parentType)
{
    return m_planTypes.RelationsOf(parentType);
}

HRESULT
XLXConfigFactoryCacheManager::GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** ppEnum)
{
    const LXErrorLocation at = LXManagerAt("GetAllGlobalAttributeFormatSpecs");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), at);
        std::vector<XLXComPtr<ILXGlobalAttributeFormatSpec>> items;
        for (const auto& spec : m_globalSpecs.InternalFillGlobalFormatSpecCache())
        {
            items.emplace_back(spec);
        }
        return LXHandOutEnumerator(std::move(items), ppEnum);
    });
}

HRESULT
XLXConfigFactoryCacheManager::RemoveGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec* piGlobalAttributeFormatSpec)
{
    const LXErrorLocation at = LXManagerAt("RemoveGlobalAttributeFormatSpec");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        XLXError::CheckPointer(piGlobalAttributeFormatSpec, OLESTR("piGlobalAttributeFormatSpec"), at);
        const auto factory = ConfigFactory("RemoveGlobalAttributeFormatSpec");
        const auto spec = XLXGlobalAttributeFormatSpecCache::FromFace(piGlobalAttributeFormatSpec);
        if (!spec)
        {
            XLXError::Raise(E_INVALIDARG,
                            OLESTR("Only instances refered by a cache ILXGlobalAttributeFormatSpec interface "
                                   "ptr can be removed by the CFC method RemoveGlobalAttributeFormatSpec()."),
                            at);
        }
        XLXComVariant value;
        XLXError::RaiseIfFailed(spec->ReadProperty(MemberPropertyId, value), OLESTR("the property id cannot be read"),
                                at);
        const XLXText id = value.AsText().value_or(XLXText());
        CheckSpecId(id, at);
        const HRESULT result = RemoveOnServer(*factory, id);
        if (SUCCEEDED(result))
        {
            m_globalSpecs.Drop(spec.Get(), id);
            spec->Terminate();
        }
        return result;
    });
}

HRESULT XLXConfigFactoryCacheManager::RemoveGlobalAttributeFormatSpecByID(BSTR bstrAttributeProperyID)
{
    const LXErrorLocation at = LXManagerAt("RemoveGlobalAttributeFormatSpecByID");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        const auto factory = ConfigFactory("RemoveGlobalAttributeFormatSpecByID");
        const XLXTextView id = LXBstrView(bstrAttributeProperyID);
        CheckSpecId(id, at);
        const HRESULT result = RemoveOnServer(*factory, id);
        if (FAILED(result))
        {
            return result;
        }
        m_globalSpecs.Drop(nullptr, id);
        return S_OK;
    });
}
