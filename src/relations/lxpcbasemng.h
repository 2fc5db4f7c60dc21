// SPDX-License-Identifier: MIT
//
// The manager's parent-child knowledge, behind one object: every question about relations goes to it.
#ifndef LXPCBASEMNG_H
#define LXPCBASEMNG_H

#include "lxcfctools.h"

class XLXPCBaseMng
{
public:
    XLXPCBaseMng() = default;
    XLXPCBaseMng(const XLXPCBaseMng&) = delete;
    XLXPCBaseMng& operator=(const XLXPCBaseMng&) = delete;
    virtual ~XLXPCBaseMng() = default;

    virtual HRESULT GetParentChildEnum(BSTR typeName, ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetPPRRelationsEnum(BSTR parentType, ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetPPRRelationsEnumByDO(ILX_BaseDataObject* parent, ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetPossiblePPRRelations(BSTR parentType, BSTR childType, ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetPossiblePPRRelationsByDO(ILX_BaseDataObject* parent, ILX_BaseDataObject* child,
                                                ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT PPRRelationExists(BSTR parentType, BSTR childType, bool internal) = 0;
    virtual HRESULT PPRRelationExistsByDO(ILX_BaseDataObject* parent, ILX_BaseDataObject* child, bool internal) = 0;
    virtual HRESULT GetPCRelation(BSTR parentType, BSTR childList, ILXParentChild** ppPC) = 0;
    virtual HRESULT GetSinglePCRelation(BSTR parentType, BSTR childType, BSTR childList, ILXParentChild** ppPC) = 0;
    virtual HRESULT GetSinglePCRelationByDO(ILX_BaseDataObject* parent, ILX_BaseDataObject* relationship,
                                            ILXParentChild** ppPC) = 0;
    virtual HRESULT GetCachedPCEnum(ILX_BaseDataObject* parent, ILX_BaseDataObject* child, BSTR browserId, bool newOnly,
                                    ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetPCEnum(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, bool withPlantypes,
                              ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetPCEnum2(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, LONG filter,
                               ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetPossiblePPRRelations2(BSTR parentType, BSTR childType, BSTR browserId, LONG filter,
                                             ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetThisBrowserPCEnum(BSTR typeName, BSTR browserId, ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetPCEnumAll(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, LONG filter,
                                 ILXParentChildEnum** ppEnum) = 0;
    /// Takes a change notification: clears flags and raises generations, and waits for nobody.
    virtual HRESULT DataObjectChanged(const XChangeNotification& notification) = 0;
    /// Loads the relations unless they are loaded.
    virtual HRESULT InternalFillParentChildMap() = 0;
};

#endif
