// SPDX-License-Identifier: MIT
//
// The registries of data that belongs to no type: browser ids, PC infos and global format specs.
#include "lxconfigfactorycachemanager.h"

HRESULT XLXConfigFactoryCacheManager::GetBrowserIdEnum(ILXBrowserIdEnum** ppEnum) {
    return LXAnswer(LXManagerAt("GetBrowserIdEnum"), OLESTR("ppEnum"), ppEnum,
                    [&] { return LXHandOutAll<ILXBrowserId>(m_browsers.Load(), ppEnum); });
}

HRESULT XLXConfigFactoryCacheManager::InternalGetPCInfoEnum(ILXPCInfoEnum** ppEnum, bool newRelations) {
    return LXHandOutAll<ILXPCInfo>(PCInfos(newRelations).Load(), ppEnum);
}

HRESULT XLXConfigFactoryCacheManager::InternalGetPCInfo(XLXTextView browserId, ILXPCInfo** ppPCInfo,
                                                        bool newRelations) {
    return LXHandOut(LXFind(PCInfos(newRelations).Load().get(), browserId), ppPCInfo);
}

HRESULT
XLXConfigFactoryCacheManager::GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** ppEnum) {
    return LXAnswer(LXManagerAt("GetAllGlobalAttributeFormatSpecs"), OLESTR("ppEnum"), ppEnum, [&] {
        std::vector<XLXComPtr<ILXGlobalAttributeFormatSpec>> items;
        if (const auto specs = m_globalSpecs.InternalFillGlobalFormatSpecCache()) {
            items.assign(specs->begin(), specs->end());
        }
        return LXHandOutEnumerator(std::move(items), ppEnum);
    });
}

HRESULT
XLXConfigFactoryCacheManager::RemoveGlobalAttributeFormatSpec(
    ILXGlobalAttributeFormatSpec* piGlobalAttributeFormatSpec) {
    const LXErrorLocation at = LXManagerAt("RemoveGlobalAttributeFormatSpec");
    return XLXError::Guarded(at, [&] {
        XLXError::CheckPointer(piGlobalAttributeFormatSpec, OLESTR("piGlobalAttributeFormatSpec"), at);
        const auto factory = ConfigFactory("RemoveGlobalAttributeFormatSpec");
        const auto spec = XLXGlobalAttributeFormatSpecCache::FromFace(piGlobalAttributeFormatSpec);
        if (!spec) {
            XLXError::Raise(E_INVALIDARG,
                            OLESTR("Only instances refered by a cache ILXGlobalAttributeFormatSpec interface "
                                   "ptr can be removed by the CFC method RemoveGlobalAttributeFormatSpec()."),
                            at);
        }
        XLXComVariant id;
        XLXError::RaiseIfFailed(spec->ReadProperty(XGlobalSpecs::MemberPropertyId, id),
                                OLESTR("the property id cannot be read"), at);
        return m_globalSpecs.Remove(*factory, spec.Get(), id.AsText().value_or(XLXText()), at);
    });
}

HRESULT XLXConfigFactoryCacheManager::RemoveGlobalAttributeFormatSpecByID(BSTR bstrAttributeProperyID) {
    const LXErrorLocation at = LXManagerAt("RemoveGlobalAttributeFormatSpecByID");
    return XLXError::Guarded(at, [&] {
        const auto factory = ConfigFactory("RemoveGlobalAttributeFormatSpecByID");
        const HRESULT result = m_globalSpecs.Remove(*factory, nullptr, LXBstrView(bstrAttributeProperyID), at);
        return FAILED(result) ? result : S_OK;
    });
}
