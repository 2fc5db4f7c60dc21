// SPDX-License-Identifier: MIT
//
// Default implementations of all methods of a server's interfaces, for methods that a server does not support. Those
// that would change something return E_NOTIMPL, and look-ups find nothing (S_FALSE and null).
//
//     class MyType final : public lx::TypeRefusals<lx::ConfigObjectRefusals<lx::Object<ILXType>>> {
//         HRESULT STDMETHODCALLTYPE GetAttribute(BSTR name, ILXAttribute** out) override { ... }
//     };
//
// A Base needs the methods Refuse and Nothing of lx::Object.
//
// Ownership  None.
// Threading  Free-threaded.
// Errors     E_NOTIMPL; E_POINTER for a null out parameter.
#ifndef LXSERVER_REFUSALS_H
#define LXSERVER_REFUSALS_H

#include <lxserver/Object.h>

#define LX_REFUSE(Method, Parameters, ...)                                                                             \
    HRESULT STDMETHODCALLTYPE Method Parameters override { return this->Refuse(#Method __VA_OPT__(, ) __VA_ARGS__); }
#define LX_NOTHING(Method, Parameters, ...)                                                                            \
    HRESULT STDMETHODCALLTYPE Method Parameters override { return this->Nothing(#Method __VA_OPT__(, ) __VA_ARGS__); }

namespace lx {
template <class Base> class ConfigObjectRefusals : public Base {
public:
    using Base::Base;
    LX_REFUSE(Get, (BSTR, VARIANT* value), value)
    LX_REFUSE(Set, (BSTR, VARIANT))
    LX_REFUSE(Gets, (SAFEARRAY*, SAFEARRAY** values), values)
    LX_REFUSE(Sets, (SAFEARRAY*, SAFEARRAY** results), results)
    LX_REFUSE(GetProperty, (int, VARIANT* value), value)
    LX_REFUSE(SetProperty, (int, VARIANT))
    LX_REFUSE(GetProperties, (SAFEARRAY * *values), values)
    LX_REFUSE(SetProperties, (SAFEARRAY*, SAFEARRAY** results), results)
};

/// Pages, formats, attribute types, editors, PC infos and browser ids.
template <class Base> class PlainRefusals : public Base {
public:
    using Base::Base;
    LX_REFUSE(dummy, ())
};

template <class Base> class TypeRefusals : public Base {
public:
    using Base::Base;
    LX_REFUSE(AddPage, (ILXPage * *page), page)
    LX_REFUSE(RemovePage, (ILXPage*, LONG* result), result)
    LX_NOTHING(GetPageEnum, (ILXPageEnum * *pages), pages)
    LX_NOTHING(GetPage, (int, ILXPage** page), page)
    LX_REFUSE(AddGroup, (ILXGroup * *group), group)
    LX_REFUSE(RemoveGroup, (ILXGroup*, LONG* result), result)
    LX_NOTHING(GetGroupEnum, (ILXGroupEnum * *groups), groups)
    LX_NOTHING(GetToplevelGroupEnum, (ILXGroupEnum * *groups), groups)
    LX_NOTHING(GetPageGroupEnum, (int, ILXGroupEnum** groups), groups)
    LX_NOTHING(GetPageToplevelGroupEnum, (int, ILXGroupEnum** groups), groups)
    LX_NOTHING(GetGroup, (int, ILXGroup** group), group)
    LX_NOTHING(GetDisplayAttributeEnum, (LONG, ILXAttributeEnum** attributes), attributes)
    LX_NOTHING(GetDisplayGroupAttributeEnum, (LONG, int, ILXAttributeEnum** attributes), attributes)
    LX_REFUSE(AddAttribute, (ILXAttribute * *attribute), attribute)
    LX_REFUSE(RemoveAttribute, (ILXAttribute*, LONG* result), result)
    LX_NOTHING(GetAttributeEnum, (ILXAttributeEnum * *attributes), attributes)
    LX_NOTHING(GetGroupAttributeEnum, (int, ILXAttributeEnum** attributes), attributes)
    LX_NOTHING(GetAttribute, (BSTR, ILXAttribute** attribute), attribute)
    LX_REFUSE(AddConfObjEditor, (ILXConfObjEditor * *editor), editor)
    LX_REFUSE(RemoveConfObjEditor, (ILXConfObjEditor*, LONG* result), result)
    LX_NOTHING(GetConfObjEditorEnum, (ILXConfObjEditorEnum * *editors), editors)
    LX_NOTHING(GetConfObjEditor, (BSTR, BSTR, BSTR, ILXConfObjEditor** editor), editor)
    LX_NOTHING(GetDefaultEditor, (BSTR, ILXConfObjEditor** editor), editor)
    LX_REFUSE(Copy, (BSTR))
    LX_NOTHING(GetDefaultNewEditor, (BSTR, ILXConfObjEditor** editor), editor)
    LX_NOTHING(GetTypeComponentData, (LONG, SAFEARRAY** components), components)
};

template <class Base> class GroupRefusals : public Base {
public:
    using Base::Base;
    LX_REFUSE(dummy, ())
    LX_NOTHING(GetChildGroupEnum, (ILXGroupEnum * *groups), groups)
    LX_REFUSE(CreateFormat, (ILXFormat * *format), format)
    LX_NOTHING(GetFormat, (ILXFormat * *format), format)
    LX_REFUSE(DeleteFormat, ())
};

/// The format methods of attributes and global format specs.
template <class Base> class FormatRefusals : public Base {
public:
    using Base::Base;
    LX_REFUSE(CreateFormat, (int, ILXFormat** format), format)
    LX_NOTHING(GetFormat, (int, ILXFormat** format), format)
    LX_REFUSE(DeleteFormat, (int))
};

template <class Base> class AttributeRefusals : public FormatRefusals<Base> {
public:
    using FormatRefusals<Base>::FormatRefusals;
    LX_REFUSE(AddAttributeType, (ILXAttributeType * *type), type)
    LX_REFUSE(RemoveAttributeType, (ILXAttributeType*, LONG* result), result)
    LX_NOTHING(GetAttributeTypeEnum, (ILXAttributeTypeEnum * *types), types)
};

template <class Base> class RelationRefusals : public Base {
public:
    using Base::Base;
    LX_REFUSE(AddPCInfo, (ILXPCInfo * *info), info)
    LX_REFUSE(RemovePCInfo, (ILXPCInfo*, LONG* result), result)
    LX_NOTHING(GetPCInfoEnum, (ILXPCInfoEnum * *infos), infos)
    LX_NOTHING(GetPCInfo, (BSTR, ILXPCInfo** info), info)
};

/// ILXConfigFactory and ILXConfigFactoryEx.
template <class Base> class ConfigFactoryRefusals : public Base {
public:
    using Base::Base;
    LX_REFUSE(AddType, (ILXType * *type), type)
    LX_REFUSE(RemoveType, (ILXType*, LONG* result), result)
    LX_NOTHING(GetTypeEnum, (BSTR, ILXTypeEnum** types), types)
    LX_NOTHING(GetSearchableTypeEnum, (ILXTypeEnum * *types), types)
    LX_REFUSE(GetPlanTypeEnum, (BSTR, ILXTypeEnum** types), types)
    LX_NOTHING(GetType, (BSTR, BSTR, ILXType** type), type)
    LX_REFUSE(AddParentChild, (ILXParentChild * *relation), relation)
    LX_REFUSE(RemoveParentChild, (ILXParentChild*, LONG* result), result)
    LX_NOTHING(GetParentChildEnum, (BSTR, BSTR, ILXParentChildEnum** relations), relations)
    LX_REFUSE(AddBrowserId, (BSTR, ILXBrowserId** browserId), browserId)
    LX_REFUSE(RemoveBrowserId, (ILXBrowserId*, LONG* result), result)
    LX_NOTHING(GetBrowserIdEnum, (ILXBrowserIdEnum * *browserIds), browserIds)
    LX_REFUSE(DeleteDatabase, ())
    LX_NOTHING(GetTypeArray, (LONG, SAFEARRAY** types), types)
    LX_NOTHING(GetTypeArrayByTypeName, (BSTR, LONG, LONG, SAFEARRAY** types), types)
    LX_NOTHING(GetTypeArrayByTypeNameArray, (SAFEARRAY*, LONG, LONG, SAFEARRAY** types), types)
    LX_NOTHING(GetPCArray, (SAFEARRAY * *relations), relations)
    LX_REFUSE(GetVersion, (BSTR * version), version)
    LX_REFUSE(SetVersion, (BSTR))
    LX_REFUSE(CreateGlobalAttributeFormatSpec, (ILXGlobalAttributeFormatSpec * *spec), spec)
    LX_NOTHING(GetAllGlobalAttributeFormatSpecs, (ILXGlobalAttributeFormatSpecEnum * *specs), specs)
    LX_REFUSE(RemoveGlobalAttributeFormatSpec, (ILXGlobalAttributeFormatSpec*))
    LX_REFUSE(RemoveGlobalAttributeFormatSpecByID, (BSTR))
    LX_REFUSE(NotifyServerTermination, ())
    LX_NOTHING(GetTypeArrayEx, (LONG, SAFEARRAY** types), types)
    LX_NOTHING(GetTypeArrayByTypeNameEx, (BSTR, LONG, LONG, SAFEARRAY** types), types)
    LX_NOTHING(GetTypeArrayByTypeNameArrayEx, (SAFEARRAY*, LONG, LONG, SAFEARRAY** types), types)
};

template <class Base> class DataUpdateRefusals : public Base {
public:
    using Base::Base;
    LX_REFUSE(RegisterCallback, (BSTR, ULONG, ILXCallbackUpdate*, LONG* client), client)
    LX_REFUSE(UnregisterCallback, (LONG))
    LX_REFUSE(EnableAdvicesDataType, (LONG, BSTR, LONG, ULONG))
    LX_REFUSE(EnableAdvicesDataObject, (LONG, BSTR, BSTR, LONG, ULONG))
    LX_REFUSE(EnableAdvicesDataObjects, (LONG, ULONG, tagLXNotifications*))
    LX_REFUSE(DataObjectChanged, (LONG, BSTR, BSTR, ULONG, ULONG, tagLXUpdateInfo*))
    LX_REFUSE(DataObjectsChanged, (LONG, ULONG, tagLXDataUpdateChanges*))
    LX_REFUSE(IsNotificationRegisteredByClient, (LONG, BSTR, BSTR, ULONG))
};

/// A query that accepts criteria and resets, and finds nothing.
template <class Base> class QueryRefusals : public Base {
public:
    using Base::Base;
    LX_REFUSE(SetQueryMode, (tagSEARCHMODE))
    LX_REFUSE(EnableEnhancedQuery, (LONG))
    LX_REFUSE(SetSubQueryBackwards, (LONG))
    HRESULT STDMETHODCALLTYPE SetSearchTable(BSTR) override { return S_OK; }
    LX_REFUSE(SetSearchCatenation, (LONG))
    HRESULT STDMETHODCALLTYPE SetSearchAttribute(BSTR, LONG, VARIANT, LONG) override { return S_OK; }
    LX_REFUSE(GetSubQuery, (ILX_Query * *query), query)
    LX_REFUSE(SetSubQuery, (ILX_Query*))
    LX_NOTHING(GetSearchResult, (IEnumBaseDataObject * *objects), objects)
    LX_REFUSE(GetSearchResultAsIdList, (SAFEARRAY * *ids), ids)
    LX_REFUSE(GetSearchResultAsIdListWithRights, (LXRightType, SAFEARRAY** ids), ids)
    LX_REFUSE(GetSearchResultAttributes, (BSTR, LONG* count, BSTR** values), count, values)
    HRESULT STDMETHODCALLTYPE ResetSearch(LONG) override { return S_OK; }
    LX_REFUSE(SetOrderAttribute, (BSTR, LONG))
    LX_NOTHING(GetObjectById, (BSTR, ILX_BaseDataObject** object), object)
    LX_REFUSE(GetObjectsById, (SAFEARRAY*, IEnumBaseDataObject** objects), objects)
    LX_REFUSE(GetObjectByUUID, (BSTR, ILX_BaseDataObject** object), object)
    LX_REFUSE(FindInTrees, (IEnumBaseDataObject*, IEnumBaseDataObject** objects), objects)
    LX_REFUSE(GetFilteredSearchResultAsIdListWithRights, (BSTR, LXRightType, SAFEARRAY** ids), ids)
    LX_REFUSE(SearchInTheMainTableOnly, (LONG))
    LX_REFUSE(GetExtendedSearchResultAttributes, (SAFEARRAY*, SAFEARRAY** values), values)
};

template <class Base> class DataObjectRefusals : public Base {
public:
    using Base::Base;
    LX_REFUSE(GetTableName, (BSTR * table), table)
    LX_REFUSE(GetTypeName, (BSTR * name), name)
    LX_REFUSE(Save, ())
    LX_REFUSE(Delete, (LXDeleteOptions))
    LX_REFUSE(DeleteObjects, (IEnumBaseDataObject*, LXDeleteOptions))
    LX_REFUSE(Copy, (ILX_BaseDataObject * *copy), copy)
    LX_REFUSE(CopyObjects, (IEnumBaseDataObject*, IEnumBaseDataObject** copies), copies)
    LX_REFUSE(CopyObjects2, (IEnumBaseDataObject*, LONG, IEnumBaseDataObject** copies), copies)
    LX_REFUSE(CopyObjects3, (IEnumBaseDataObject*, LONG, BSTR, IEnumBaseDataObject** copies), copies)
    LX_REFUSE(FindUsage, (IEnumBaseDataObject * *objects), objects)
    LX_REFUSE(FindCoderuleUsage, (IEnumBaseDataObject * *objects), objects)
    LX_REFUSE(GetAttribute, (BSTR, VARIANT* value), value)
    LX_REFUSE(GetAttributes, (SAFEARRAY*, SAFEARRAY** values), values)
    LX_REFUSE(GetAttributesEx, (SAFEARRAY*, LONG, SAFEARRAY** values), values)
    LX_REFUSE(SetAttribute, (BSTR, VARIANT))
    LX_REFUSE(SetAttributes, (SAFEARRAY*))
    LX_REFUSE(AddChild, (BSTR, ILX_BaseDataObject*))
    LX_REFUSE(AddChildren, (BSTR, IEnumBaseDataObject*))
    LX_REFUSE(RemoveChild, (BSTR, ILX_BaseDataObject*))
    LX_REFUSE(RemoveChildren, (BSTR, IEnumBaseDataObject*))
    LX_NOTHING(GetChildren, (BSTR, IEnumBaseDataObject** children), children)
    LX_NOTHING(GetAllChildren, (IEnumBaseDataObject * *children), children)
    LX_REFUSE(GetChildrenSorted, (BSTR, BSTR, IEnumBaseDataObject** children), children)
    LX_REFUSE(GetChildrenWithinRange, (BSTR, LONG, LONG, IEnumBaseDataObject** children), children)
    LX_REFUSE(GetChildrenWithReadRights, (BSTR, IEnumBaseDataObject** children), children)
    LX_REFUSE(GetChild, (BSTR, BSTR, ILX_BaseDataObject** child), child)
    LX_REFUSE(NewChild, (BSTR, BSTR, ILX_BaseDataObject** child), child)
    LX_REFUSE(CanCreateChild, (BSTR, BSTR))
    LX_REFUSE(GetAllObjects, (IEnumBaseDataObject * *objects), objects)
    LX_REFUSE(GetType, (ILXType * *type), type)
    LX_REFUSE(GetListCount, (BSTR, LONG* count), count)
    LX_REFUSE(CanDrag, ())
    LX_REFUSE(CanDrop, (ILX_BaseDataObject*))
    LX_REFUSE(CanDropObjects, (IEnumBaseDataObject*))
    LX_REFUSE(GetId, (BSTR * id), id)
    LX_REFUSE(CommitTransaction, ())
    LX_REFUSE(RollbackTransaction, ())
    LX_REFUSE(GetClientId, (LONG * client), client)
    LX_REFUSE(IsDerivedFromClass, (BSTR))
    LX_REFUSE(IsDerivedFromClass2, (BSTR, LONG* derived), derived)
    LX_REFUSE(IsDerivedFromType, (BSTR))
    LX_REFUSE(IsDerivedFromType2, (BSTR, LONG* derived), derived)
    LX_REFUSE(ExecuteServerMethod, (BSTR, VARIANT, VARIANT* result), result)
    LX_REFUSE(ExecuteServerMethodEx, (BSTR, VARIANT, LONG, VARIANT* result), result)
    LX_REFUSE(GetObjectDependencies, (IEnumBaseDataObject * *objects), objects)
    LX_REFUSE(GetObjectsForExport, (IEnumBaseDataObject * *objects), objects)
    LX_REFUSE(GetDisplayChildren, (BSTR, IEnumBaseDataObject** children), children)
    LX_REFUSE(CreateSupplierProject, (BSTR, ILX_BaseDataObject** project), project)
    LX_REFUSE(MergeSupplierProject, (ILX_BaseDataObject*))
    LX_REFUSE(GetAttributeMultiLingual, (BSTR, LONG, VARIANT* value), value)
    LX_REFUSE(SetAttributeMultiLingual, (BSTR, LONG, VARIANT))
    LX_REFUSE(GetAttributesMultiLingual, (SAFEARRAY*, LONG, SAFEARRAY** values), values)
    LX_REFUSE(SetAttributesMultiLingual, (SAFEARRAY*, LONG))
};
} // namespace lx

#undef LX_REFUSE
#undef LX_NOTHING

#endif
