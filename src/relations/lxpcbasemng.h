// SPDX-License-Identifier: MIT
//
// The manager's parent-child knowledge, behind one object: every question about relations goes to it.
//
// Errors     Null pointers raise E_POINTER, missing names E_INVALIDARG; whoever asks stands at a boundary.
//            Enumerations of nothing are S_FALSE and null.
#ifndef LXPCBASEMNG_H
#define LXPCBASEMNG_H

#include "XRelationHost.h"

/// Which relations an enumeration is to hold.
enum LXPCFilter : LONG
{
    LXPCF_NONE = 0,
    LXPCF_NEWONLY = 1,           ///< only those with a PC info, of the browser when one is given
    LXPCF_WITHPLANTYPES = 2,     ///< those that plan types allow too
    LXPCF_PPRONLY = 4,           ///< only PPR relations
    LXPCF_NOPPR = 8,             ///< no PPR relations
    LXPCF_NOSYSTEMINTERNAL = 16, ///< none that are internal to the system
};

class XLXPCBaseMng
{
public:
    using Relations = std::vector<XLXComPtr<ILXParentChild>>;

    /// @param host  outlives every question
    explicit XLXPCBaseMng(XRelationHost& host) noexcept : m_host(host) {}
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
    /// The relations between the types of two objects.
    virtual HRESULT GetCachedPCEnum(ILX_BaseDataObject* parent, ILX_BaseDataObject* child, BSTR browserId, bool newOnly,
                                    ILXParentChildEnum** ppEnum);
    virtual HRESULT GetPCEnum(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, bool withPlantypes,
                              ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetPCEnum2(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, LONG filter,
                               ILXParentChildEnum** ppEnum) = 0;
    virtual HRESULT GetPossiblePPRRelations2(BSTR parentType, BSTR childType, BSTR browserId, LONG filter,
                                             ILXParentChildEnum** ppEnum) = 0;
    /// The relations of a type as parent; an answer of the collecting operation other than S_OK is returned.
    virtual HRESULT GetThisBrowserPCEnum(BSTR typeName, BSTR browserId, ILXParentChildEnum** ppEnum);
    virtual HRESULT GetPCEnumAll(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, LONG filter,
                                 ILXParentChildEnum** ppEnum) = 0;
    /// Loads the relations unless they are loaded. A failure is raised once, and there are no relations then until a
    /// notification says that they changed.
    virtual HRESULT InternalFillParentChildMap() = 0;

protected:
    /// Finds the type names of the objects that are given, and collects by them.
    virtual HRESULT CollectPCRelationsByDO(XLXText& parentType, XLXText& childType, ILX_BaseDataObject* parent,
                                           ILX_BaseDataObject* child, XLXTextView browserId, LONG filter,
                                           Relations& result) = 0;
    /// The relations from a parent type to a child type (empty: to any) that a browser shows (empty: all) and a
    /// filter (LXPCFilter) lets through.
    virtual HRESULT CollectPCRelations(XLXTextView parentType, XLXTextView childType, XLXTextView browserId,
                                       LONG filter, Relations& result) = 0;

    XRelationHost& Host() const noexcept { return m_host; }

private:
    XRelationHost& m_host;
};

#endif
