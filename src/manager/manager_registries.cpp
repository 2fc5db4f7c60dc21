// SPDX-License-Identifier: MIT
//
// The registries of the whole configuration: browser ids and global format specs.
#include "XLXEnumWithDelete.h"
#include "lxconfigfactorycachemanager.h"

namespace {
constexpr int MemberPropertyId = 0;

void CheckSpecId(XLXTextView id, const LXErrorLocation& at) {
    if (id.empty()) {
        XLXError::Raise(E_INVALIDARG,
                        OLESTR("For removing ILXGlobalAttributeFormatSpec instances the property id "
                               "'LXCFGAFS_attributepropertyid' must not be empty."),
                        at);
    }
}

HRESULT RemoveOnServer(ILXConfigFactory& factory, XLXTextView id) {
    LXServerCall("ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID");
    return factory.RemoveGlobalAttributeFormatSpecByID(XLXComBSTR(id).Get());
}
} // namespace

HRESULT XLXConfigFactoryCacheManager::GetBrowserIdEnum(ILXBrowserIdEnum** ppEnum) {
    return XLXError::Guarded(LXManagerAt("GetBrowserIdEnum"), [&] {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), LXManagerAt("GetBrowserIdEnum"));
        return LXHandOutEnumerator(LXObjectsOf<ILXBrowserId>(m_browsers.Load().get()), ppEnum);
    });
}

HRESULT
XLXConfigFactoryCacheManager::GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** ppEnum) {
    const LXErrorLocation at = LXManagerAt("GetAllGlobalAttributeFormatSpecs");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), at);
        std::vector<XLXComPtr<ILXGlobalAttributeFormatSpec>> items;
        for (const auto& spec : m_globalSpecs.InternalFillGlobalFormatSpecCache()) {
            items.emplace_back(spec);
        }
        return LXHandOutEnumerator(std::move(items), ppEnum);
    });
}

HRESULT
XLXConfigFactoryCacheManager::RemoveGlobalAttributeFormatSpec(
    ILXGlobalAttributeFormatSpec* piGlobalAttributeFormatSpec) {
    const LXErrorLocation at = LXManagerAt("RemoveGlobalAttributeFormatSpec");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        XLXError::CheckPointer(piGlobalAttributeFormatSpec, OLESTR("piGlobalAttributeFormatSpec"), at);
        const auto factory = ConfigFactory("RemoveGlobalAttributeFormatSpec");
        const auto spec = XLXGlobalAttributeFormatSpecCache::FromFace(piGlobalAttributeFormatSpec);
        if (!spec) {
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
        if (SUCCEEDED(result)) {
            m_globalSpecs.Drop(spec.Get(), id);
            spec->Terminate();
        }
        return result;
    });
}

HRESULT XLXConfigFactoryCacheManager::RemoveGlobalAttributeFormatSpecByID(BSTR bstrAttributeProperyID) {
    const LXErrorLocation at = LXManagerAt("RemoveGlobalAttributeFormatSpecByID");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        const auto factory = ConfigFactory("RemoveGlobalAttributeFormatSpecByID");
        const XLXTextView id = LXBstrView(bstrAttributeProperyID);
        CheckSpecId(id, at);
        const HRESULT result = RemoveOnServer(*factory, id);
        if (FAILED(result)) { return result; }
        m_globalSpecs.Drop(nullptr, id);
        return S_OK;
    });
}
