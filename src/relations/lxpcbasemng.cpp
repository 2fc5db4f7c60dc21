// SPDX-License-Identifier: MIT
#include "lxpcbasemng.h"

#include "XLXEnumWithDelete.h"

namespace
{
constexpr LXErrorLocation At(const char* method, int line)
{
    return LXHere("lxpcbasemng", "XLXPCBaseMng", method, line);
}
} // namespace

HRESULT XLXPCBaseMng::GetCachedPCEnum(ILX_BaseDataObject* parent, ILX_BaseDataObject* child, BSTR browserId,
                                      bool newOnly, ILXParentChildEnum** ppEnum)
{
    const LXErrorLocation at = At("GetCachedPCEnum", 38);
    LXEmptyOut(ppEnum);
    XLXError::CheckPointer(parent, OLESTR("pObjectParent"), at);
    XLXError::CheckPointer(child, OLESTR("pObjectChild"), at);
    XLXError::CheckPointer(ppEnum, OLESTR("ppPCEnum"), at);
    XLXText parentType;
    XLXText childType;
    Relations result;
    const HRESULT collected = CollectPCRelationsByDO(parentType, childType, parent, child, LXBstrView(browserId),
                                                     newOnly ? LXPCF_NEWONLY : LXPCF_NONE, result);
    return FAILED(collected) ? collected : LXHandOutEnumerator(std::move(result), ppEnum);
}

HRESULT XLXPCBaseMng::GetThisBrowserPCEnum(BSTR typeName, BSTR browserId, ILXParentChildEnum** ppEnum)
{
    LXCheckOut(ppEnum, OLESTR("ppILXParentChildEnum"), At("GetThisBrowserPCEnum", 91));
    XLXText parentType(LXBstrView(typeName));
    XLXText childType;
    Relations result;
    const HRESULT collected =
        CollectPCRelationsByDO(parentType, childType, nullptr, nullptr, LXBstrView(browserId), LXPCF_NONE, result);
    return collected != S_OK ? collected : LXHandOutEnumerator(std::move(result), ppEnum);
}
