// SPDX-License-Identifier: MIT
//
// Questions about relations: each goes to the relation manager, without the configuration name.
#include "lxconfigfactorycachemanager.h"

std::shared_ptr<XLXPCBaseMng> XLXConfigFactoryCacheManager::RelationManager() const
{
    const std::lock_guard<XLeafMutex> lock(m_mutex);
    return m_connection ? m_connection->relations : nullptr;
}

template <class Question>
HRESULT XLXConfigFactoryCacheManager::AskRelations(const char* method, Question&& question)
{
    return XLXError::Guarded(LXManagerAt(method), [&]() -> HRESULT {
        const auto relations = RelationManager();
        XLXError::CheckPointer(relations.get(), OLESTR("m_pPCPartCacheMng"), LXManagerAt(method));
        return question(*relations);
    });
}

template <class T, class Question>
HRESULT XLXConfigFactoryCacheManager::AskRelations(const char* method, T** out, Question&& question)
{
    LXEmptyOut(out); // there may be nobody to ask
    return AskRelations(method, std::forward<Question>(question));
}

HRESULT XLXConfigFactoryCacheManager::GetParentChildEnum(BSTR bstrTypename, BSTR, ILXParentChildEnum** ppEnum)
{
    return AskRelations("GetParentChildEnum", ppEnum,
                        [&](auto& r) { return r.GetParentChildEnum(bstrTypename, ppEnum); });
}

HRESULT XLXConfigFactoryCacheManager::GetPPRRelationsEnum(BSTR bstrTypenameParent, BSTR, ILXParentChildEnum** ppPCEnum)
{
    return AskRelations("GetPPRRelationsEnum", ppPCEnum,
                        [&](auto& r) { return r.GetPPRRelationsEnum(bstrTypenameParent, ppPCEnum); });
}

HRESULT XLXConfigFactoryCacheManager::GetPPRRelationsEnumByDO(ILX_BaseDataObject* pObjectParent, BSTR,
                                                              ILXParentChildEnum** ppPCEnum)
{
    return AskRelations("GetPPRRelationsEnumByDO", ppPCEnum,
                        [&](auto& r) { return r.GetPPRRelationsEnumByDO(pObjectParent, ppPCEnum); });
}

HRESULT XLXConfigFactoryCacheManager::GetPossiblePPRRelations(BSTR bstrTypenameParent, BSTR bstrTypenameChild, BSTR,
                                                              ILXParentChildEnum** ppPCEnum)
{
    return AskRelations("GetPossiblePPRRelations", ppPCEnum, [&](auto& r) {
        return r.GetPossiblePPRRelations(bstrTypenameParent, bstrTypenameChild, ppPCEnum);
    });
}

HRESULT XLXConfigFactoryCacheManager::GetPossiblePPRRelationsByDO(ILX_BaseDataObject* pObjectParent,
                                                                  ILX_BaseDataObject* pObjectChild, BSTR,
                                                                  ILXParentChildEnum** ppPCEnum)
{
    return AskRelations("GetPossiblePPRRelationsByDO", ppPCEnum,
                        [&](auto& r) { return r.GetPossiblePPRRelationsByDO(pObjectParent, pObjectChild, ppPCEnum); });
}

HRESULT XLXConfigFactoryCacheManager::PPRRelationExists(BSTR bstrTypenameParent, BSTR bstrTypenameChild, BSTR,
                                                        LONG bInternal)
{
    return AskRelations("PPRRelationExists", [&](auto& r) {
        return r.PPRRelationExists(bstrTypenameParent, bstrTypenameChild, bInternal != 0);
    });
}

HRESULT XLXConfigFactoryCacheManager::PPRRelationExistsByDO(ILX_BaseDataObject* pObjectParent,
                                                            ILX_BaseDataObject* pObjectChild, BSTR, LONG bInternal)
{
    return AskRelations("PPRRelationExistsByDO",
                        [&](auto& r) { return r.PPRRelationExistsByDO(pObjectParent, pObjectChild, bInternal != 0); });
}

HRESULT XLXConfigFactoryCacheManager::GetPCRelation(BSTR bstrTypenameParent, BSTR, BSTR bstrChildListName,
                                                    ILXParentChild** pLXParentChild)
{
    return AskRelations("GetPCRelation", pLXParentChild, [&](auto& r) {
        return r.GetPCRelation(bstrTypenameParent, bstrChildListName, pLXParentChild);
    });
}

HRESULT XLXConfigFactoryCacheManager::GetSinglePCRelation(BSTR bstrTypenameParent, BSTR bstrTypenameChild, BSTR,
                                                          BSTR bstrChildListName, ILXParentChild** pLXParentChild)
{
    return AskRelations("GetSinglePCRelation", pLXParentChild, [&](auto& r) {
        return r.GetSinglePCRelation(bstrTypenameParent, bstrTypenameChild, bstrChildListName, pLXParentChild);
    });
}

HRESULT XLXConfigFactoryCacheManager::GetThisBrowserParentChildEnum(BSTR bstrTypename, BSTR, BSTR bstrBrowserId,
                                                                    ILXParentChildEnum** ppILXParentChildEnum)
{
    return AskRelations("GetThisBrowserParentChildEnum", ppILXParentChildEnum, [&](auto& r) {
        return r.GetThisBrowserPCEnum(bstrTypename, bstrBrowserId, ppILXParentChildEnum);
    });
}

HRESULT XLXConfigFactoryCacheManager::GetSinglePCRelationByDO(ILX_BaseDataObject* pObjectParent,
                                                              ILX_BaseDataObject* pObjectRelationship,
                                                              ILXParentChild** pLXParentChild)
{
    return AskRelations("GetSinglePCRelationByDO", pLXParentChild, [&](auto& r) {
        return r.GetSinglePCRelationByDO(pObjectParent, pObjectRelationship, pLXParentChild);
    });
}

HRESULT XLXConfigFactoryCacheManager::GetCachedPCEnum(ILX_BaseDataObject* pObjectParent,
                                                      ILX_BaseDataObject* pObjectChild, BSTR, BSTR bstrBrowserId,
                                                      LONG newOnly, ILXParentChildEnum** ppPCEnum)
{
    return AskRelations("GetCachedPCEnum", ppPCEnum, [&](auto& r) {
        return r.GetCachedPCEnum(pObjectParent, pObjectChild, bstrBrowserId, newOnly != 0, ppPCEnum);
    });
}

HRESULT XLXConfigFactoryCacheManager::GetPCEnum(ILX_BaseDataObject* pObject, BSTR bstrTypename, BSTR,
                                                BSTR bstrBrowserId, LONG bWithPlantypes, ILXParentChildEnum** ppPCEnum)
{
    return AskRelations("GetPCEnum", ppPCEnum, [&](auto& r) {
        return r.GetPCEnum(pObject, bstrTypename, bstrBrowserId, bWithPlantypes != 0, ppPCEnum);
    });
}

HRESULT XLXConfigFactoryCacheManager::GetPCEnum2(ILX_BaseDataObject* pObject, BSTR bstrTypename, BSTR bstrBrowserId,
                                                 LONG lngFilter, ILXParentChildEnum** ppPCEnum)
{
    return AskRelations("GetPCEnum2", ppPCEnum, [&](auto& r) {
        return r.GetPCEnum2(pObject, bstrTypename, bstrBrowserId, lngFilter, ppPCEnum);
    });
}

HRESULT XLXConfigFactoryCacheManager::GetPossiblePPRRelations2(BSTR bstrTypenameParent, BSTR bstrTypenameChild,
                                                               BSTR bstrBrowserId, LONG lngFilter,
                                                               ILXParentChildEnum** ppPCEnum)
{
    return AskRelations("GetPossiblePPRRelations2", ppPCEnum, [&](auto& r) {
        return r.GetPossiblePPRRelations2(bstrTypenameParent, bstrTypenameChild, bstrBrowserId, lngFilter, ppPCEnum);
    });
}

HRESULT XLXConfigFactoryCacheManager::GetPCEnumAll(ILX_BaseDataObject* pObject, BSTR bstrTypename, BSTR bstrBrowserId,
                                                   LONG lngFilter, ILXParentChildEnum** ppPCEnum)
{
    return AskRelations("GetPCEnumAll", ppPCEnum, [&](auto& r) {
        return r.GetPCEnumAll(pObject, bstrTypename, bstrBrowserId, lngFilter, ppPCEnum);
    });
}
