// SPDX-License-Identifier: MIT
#ifndef LXPCPARTCACHEMNG_H
#define LXPCPARTCACHEMNG_H

#include "lxpcbasemng.h"

class XLXConfigFactoryCacheManager;

/// The relation manager. It loads no relations yet: every question is answered as if there were none.
class XLXPCPartCacheMng final : public XLXPCBaseMng
{
public:
    explicit XLXPCPartCacheMng(XLXConfigFactoryCacheManager&) {}

    HRESULT GetParentChildEnum(BSTR, ILXParentChildEnum** ppEnum) override { return Nothing(ppEnum); }
    HRESULT GetPPRRelationsEnum(BSTR, ILXParentChildEnum** ppEnum) override { return Nothing(ppEnum); }
    HRESULT GetPPRRelationsEnumByDO(ILX_BaseDataObject*, ILXParentChildEnum** ppEnum) override { return Nothing(ppEnum); }
    HRESULT GetPossiblePPRRelations(BSTR, BSTR, ILXParentChildEnum** ppEnum) override { return Nothing(ppEnum); }
    HRESULT GetPossiblePPRRelationsByDO(ILX_BaseDataObject*, ILX_BaseDataObject*, ILXParentChildEnum** ppEnum) override
    {
        return Nothing(ppEnum);
    }
    HRESULT PPRRelationExists(BSTR, BSTR, bool) override { return S_FALSE; }
    HRESULT PPRRelationExistsByDO(ILX_BaseDataObject*, ILX_BaseDataObject*, bool) override { return S_FALSE; }
    HRESULT GetPCRelation(BSTR, BSTR, ILXParentChild** ppPC) override { return Nothing(ppPC); }
    HRESULT GetSinglePCRelation(BSTR, BSTR, BSTR, ILXParentChild** ppPC) override { return Nothing(ppPC); }
    HRESULT GetSinglePCRelationByDO(ILX_BaseDataObject*, ILX_BaseDataObject*, ILXParentChild** ppPC) override
    {
        return Nothing(ppPC);
    }
    HRESULT GetCachedPCEnum(ILX_BaseDataObject*, ILX_BaseDataObject*, BSTR, bool, ILXParentChildEnum** ppEnum) override
    {
        return Nothing(ppEnum);
    }
    HRESULT GetPCEnum(ILX_BaseDataObject*, BSTR, BSTR, bool, ILXParentChildEnum** ppEnum) override { return Nothing(ppEnum); }
    HRESULT GetPCEnum2(ILX_BaseDataObject*, BSTR, BSTR, LONG, ILXParentChildEnum** ppEnum) override { return Nothing(ppEnum); }
    HRESULT GetPossiblePPRRelations2(BSTR, BSTR, BSTR, LONG, ILXParentChildEnum** ppEnum) override { return Nothing(ppEnum); }
    HRESULT GetThisBrowserPCEnum(BSTR, BSTR, ILXParentChildEnum** ppEnum) override { return Nothing(ppEnum); }
    HRESULT GetPCEnumAll(ILX_BaseDataObject*, BSTR, BSTR, LONG, ILXParentChildEnum** ppEnum) override { return Nothing(ppEnum); }
    HRESULT DataObjectChanged(const XChangeNotification&) override { return S_OK; }
    HRESULT InternalFillParentChildMap() override { return S_FALSE; }

private:
    template <class T>
    static HRESULT Nothing(T** out)
    {
        XLXError::CheckPointer(out, OLESTR("out pointer"), LXHere("lxpcpartcachemng", "XLXPCPartCacheMng", "Nothing"));
        *out = nullptr;
        return S_FALSE;
    }
};

#endif
