// SPDX-License-Identifier: MIT
//
// The registries of the whole configuration, and what is asked of the inheritance of types. Not offered yet.
#include "lxconfigfactorycachemanager.h"

namespace
{
template <class T>
HRESULT NotOffered(T** out)
{
    if (out != nullptr)
    {
        *out = nullptr;
    }
    return E_NOTIMPL;
}
} // namespace

HRESULT XLXConfigFactoryCacheManager::GetBrowserIdEnum(ILXBrowserIdEnum** ppEnum)
{
    return NotOffered(ppEnum);
}

HRESULT
XLXConfigFactoryCacheManager::GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** ppEnum)
{
    return NotOffered(ppEnum);
}

HRESULT XLXConfigFactoryCacheManager::RemoveGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec*)
{
    return E_NOTIMPL;
}
HRESULT XLXConfigFactoryCacheManager::RemoveGlobalAttributeFormatSpecByID(BSTR)
{
    return E_NOTIMPL;
}
HRESULT XLXConfigFactoryCacheManager::IsPlantype(ILX_BaseDataObject*)
{
    return E_NOTIMPL;
}
HRESULT XLXConfigFactoryCacheManager::CheckTypeDerivesFrom(BSTR, LONG, BSTR*, LONG*)
{
    return E_NOTIMPL;
}
HRESULT XLXConfigFactoryCacheManager::GetAllDerivedTypes(BSTR, LONG*, BSTR**)
{
    return E_NOTIMPL;
}
HRESULT XLXConfigFactoryCacheManager::GetDerivedTypesForQuery(BSTR, LONG*, BSTR**)
{
    return E_NOTIMPL;
}
