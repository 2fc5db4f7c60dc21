// SPDX-License-Identifier: MIT
//
// The binary contract, as C sees it: slot numbers of every method, counted from QueryInterface at 0, the number of
// slots of every interface, and the layout of the records. What compiles holds.
#define CINTERFACE
#include "LXConfigFactoryCache.h"

#include <assert.h>
#include <stddef.h>

#define SLOT(type, number, method)                                                                                     \
    static_assert(offsetof(type##Vtbl, method) == (number) * sizeof(void*),                                            \
                  #type "::" #method " must be in slot " #number)
#define SLOTS1(type, number, a) SLOT(type, number, a)
#define SLOTS2(type, number, a, b)                                                                                     \
    SLOT(type, number, a);                                                                                             \
    SLOT(type, (number) + 1, b)
#define SLOTS3(type, number, a, b, c)                                                                                  \
    SLOTS2(type, number, a, b);                                                                                        \
    SLOT(type, (number) + 2, c)
#define SLOTS4(type, number, a, b, c, d)                                                                               \
    SLOTS3(type, number, a, b, c);                                                                                     \
    SLOT(type, (number) + 3, d)

#define INTERFACE(type, slots)                                                                                         \
    SLOTS3(type, 0, QueryInterface, AddRef, Release);                                                                  \
    static_assert(sizeof(type##Vtbl) == (slots) * sizeof(void*), #type " must have that many slots")
#define CONFIG_OBJECT(type, slots)                                                                                     \
    INTERFACE(type, slots);                                                                                            \
    SLOTS4(type, 3, Get, Set, Gets, Sets);                                                                             \
    SLOTS4(type, 7, GetProperty, SetProperty, GetProperties, SetProperties)
#define ENUMERATOR(type)                                                                                               \
    INTERFACE(type, 8);                                                                                                \
    SLOTS4(type, 3, RemNext, Skip, Reset, Clone);                                                                      \
    SLOTS1(type, 7, GetSingleNext)

/* Configuration objects: eight methods in common. */
CONFIG_OBJECT(ILXConfigObject, 11);
CONFIG_OBJECT(ILXType, 37);
SLOTS4(ILXType, 11, AddPage, RemovePage, GetPageEnum, GetPage);
SLOTS4(ILXType, 15, AddGroup, RemoveGroup, GetGroupEnum, GetToplevelGroupEnum);
SLOTS4(ILXType, 19, GetPageGroupEnum, GetPageToplevelGroupEnum, GetGroup, GetDisplayAttributeEnum);
SLOTS4(ILXType, 23, GetDisplayGroupAttributeEnum, AddAttribute, RemoveAttribute, GetAttributeEnum);
SLOTS4(ILXType, 27, GetGroupAttributeEnum, GetAttribute, AddConfObjEditor, RemoveConfObjEditor);
SLOTS4(ILXType, 31, GetConfObjEditorEnum, GetConfObjEditor, GetDefaultEditor, Copy);
SLOTS2(ILXType, 35, GetDefaultNewEditor, GetTypeComponentData);
CONFIG_OBJECT(ILXPage, 12);
SLOTS1(ILXPage, 11, dummy);
CONFIG_OBJECT(ILXGroup, 16);
SLOTS4(ILXGroup, 11, dummy, GetChildGroupEnum, CreateFormat, GetFormat);
SLOTS1(ILXGroup, 15, DeleteFormat);
CONFIG_OBJECT(ILXFormat, 12);
SLOTS1(ILXFormat, 11, dummy);
CONFIG_OBJECT(ILXAttribute, 17);
SLOTS4(ILXAttribute, 11, AddAttributeType, RemoveAttributeType, GetAttributeTypeEnum, CreateFormat);
SLOTS2(ILXAttribute, 15, GetFormat, DeleteFormat);
CONFIG_OBJECT(ILXAttributeType, 12);
SLOTS1(ILXAttributeType, 11, dummy);
CONFIG_OBJECT(ILXConfObjEditor, 12);
SLOTS1(ILXConfObjEditor, 11, dummy);
CONFIG_OBJECT(ILXParentChild, 15);
SLOTS4(ILXParentChild, 11, AddPCInfo, RemovePCInfo, GetPCInfoEnum, GetPCInfo);
CONFIG_OBJECT(ILXPCInfo, 12);
SLOTS1(ILXPCInfo, 11, dummy);
CONFIG_OBJECT(ILXBrowserId, 12);
SLOTS1(ILXBrowserId, 11, dummy);
CONFIG_OBJECT(ILXGlobalAttributeFormatSpec, 14);
SLOTS3(ILXGlobalAttributeFormatSpec, 11, CreateFormat, GetFormat, DeleteFormat);

/* Enumerators: five methods each. */
ENUMERATOR(ILXTypeEnum);
ENUMERATOR(ILXPageEnum);
ENUMERATOR(ILXGroupEnum);
ENUMERATOR(ILXAttributeEnum);
ENUMERATOR(ILXAttributeTypeEnum);
ENUMERATOR(ILXConfObjEditorEnum);
ENUMERATOR(ILXParentChildEnum);
ENUMERATOR(ILXPCInfoEnum);
ENUMERATOR(ILXBrowserIdEnum);
ENUMERATOR(ILXGlobalAttributeFormatSpecEnum);
ENUMERATOR(IEnumBaseDataObject);

/* The component and its callbacks. */
INTERFACE(ILXConfigFactoryCache, 31);
SLOTS4(ILXConfigFactoryCache, 3, Initialize, GetRealConfigFactory, GetCachedType, GetTransientAttribute);
SLOTS4(ILXConfigFactoryCache, 7, IsPlantype, GetCachedPCEnum, GetPCEnum, GetPPRRelationsEnum);
SLOTS4(ILXConfigFactoryCache, 11, GetPPRRelationsEnumByDO, GetPossiblePPRRelations, GetPossiblePPRRelationsByDO,
       PPRRelationExists);
SLOTS4(ILXConfigFactoryCache, 15, PPRRelationExistsByDO, GetPCRelation, GetSinglePCRelation,
       GetThisBrowserParentChildEnum);
SLOTS4(ILXConfigFactoryCache, 19, GetSinglePCRelationByDO, GetPCEnum2, GetPossiblePPRRelations2, CheckTypeDerivesFrom);
SLOTS4(ILXConfigFactoryCache, 23, GetAllDerivedTypes, GetDerivedTypesForQuery, LoadTypesByTypeNames, SetInvalid);
SLOTS4(ILXConfigFactoryCache, 27, IsValid, SetCFCDataTransferMode, GetCFCDataTransferMode, GetPCEnumAll);
INTERFACE(ILXConfigFactory, 27);
SLOTS4(ILXConfigFactory, 3, AddType, RemoveType, GetTypeEnum, GetSearchableTypeEnum);
SLOTS4(ILXConfigFactory, 7, GetPlanTypeEnum, GetType, AddParentChild, RemoveParentChild);
SLOTS4(ILXConfigFactory, 11, GetParentChildEnum, AddBrowserId, RemoveBrowserId, GetBrowserIdEnum);
SLOTS4(ILXConfigFactory, 15, DeleteDatabase, GetTypeArray, GetTypeArrayByTypeName, GetTypeArrayByTypeNameArray);
SLOTS4(ILXConfigFactory, 19, GetPCArray, GetVersion, SetVersion, CreateGlobalAttributeFormatSpec);
SLOTS4(ILXConfigFactory, 23, GetAllGlobalAttributeFormatSpecs, RemoveGlobalAttributeFormatSpec,
       RemoveGlobalAttributeFormatSpecByID, NotifyServerTermination);
INTERFACE(IDPFObject, 9);
SLOTS4(IDPFObject, 3, Initialize, Terminate, AttachHostObjects, NotifyHostObject);
SLOTS2(IDPFObject, 7, NotifyHostObjectPair, NotifyHostObjectLong);
INTERFACE(ILXServerEntryPoint, 10);
SLOTS4(ILXServerEntryPoint, 3, GetEntryFlags, SetEntryLong, GetEntryObject, GetEntryObjectByLong);
SLOTS3(ILXServerEntryPoint, 7, SetEntryObject, ReleaseEntry, InitializeNamed);
INTERFACE(ILXCallback, 7);
SLOTS4(ILXCallback, 3, CheckCallbackValid, ServerIsTerminating, SetCallbackId, GetClientInfo);
INTERFACE(ILXCallbackUpdate, 8);
SLOTS4(ILXCallbackUpdate, 3, CheckCallbackValid, ServerIsTerminating, SetCallbackId, GetClientInfo);
SLOTS1(ILXCallbackUpdate, 7, DataObjectChanged);
INTERFACE(IXCfgCacheCallback, 4);
SLOTS1(IXCfgCacheCallback, 3, Initialize);

/* What the component uses of the server. */
INTERFACE(ILXConfigFactoryEx, 6);
SLOTS3(ILXConfigFactoryEx, 3, GetTypeArrayEx, GetTypeArrayByTypeNameEx, GetTypeArrayByTypeNameArrayEx);
INTERFACE(ILX_Query, 24);
SLOTS4(ILX_Query, 3, SetQueryMode, EnableEnhancedQuery, SetSubQueryBackwards, SetSearchTable);
SLOTS4(ILX_Query, 7, SetSearchCatenation, SetSearchAttribute, GetSubQuery, SetSubQuery);
SLOTS4(ILX_Query, 11, GetSearchResult, GetSearchResultAsIdList, GetSearchResultAsIdListWithRights,
       GetSearchResultAttributes);
SLOTS4(ILX_Query, 15, ResetSearch, SetOrderAttribute, GetObjectById, GetObjectsById);
SLOTS4(ILX_Query, 19, GetObjectByUUID, FindInTrees, GetFilteredSearchResultAsIdListWithRights,
       SearchInTheMainTableOnly);
SLOTS1(ILX_Query, 23, GetExtendedSearchResultAttributes);
INTERFACE(ILX_BaseDataObject, 56);
SLOTS4(ILX_BaseDataObject, 3, GetTableName, GetTypeName, Save, Delete);
SLOTS4(ILX_BaseDataObject, 7, DeleteObjects, Copy, CopyObjects, CopyObjects2);
SLOTS4(ILX_BaseDataObject, 11, CopyObjects3, FindUsage, FindCoderuleUsage, GetAttribute);
SLOTS4(ILX_BaseDataObject, 15, GetAttributes, GetAttributesEx, SetAttribute, SetAttributes);
SLOTS4(ILX_BaseDataObject, 19, AddChild, AddChildren, RemoveChild, RemoveChildren);
SLOTS4(ILX_BaseDataObject, 23, GetChildren, GetAllChildren, GetChildrenSorted, GetChildrenWithinRange);
SLOTS4(ILX_BaseDataObject, 27, GetChildrenWithReadRights, GetChild, NewChild, CanCreateChild);
SLOTS4(ILX_BaseDataObject, 31, GetAllObjects, GetType, GetListCount, CanDrag);
SLOTS4(ILX_BaseDataObject, 35, CanDrop, CanDropObjects, GetId, CommitTransaction);
SLOTS4(ILX_BaseDataObject, 39, RollbackTransaction, GetClientId, IsDerivedFromClass, IsDerivedFromClass2);
SLOTS4(ILX_BaseDataObject, 43, IsDerivedFromType, IsDerivedFromType2, ExecuteServerMethod, ExecuteServerMethodEx);
SLOTS4(ILX_BaseDataObject, 47, GetObjectDependencies, GetObjectsForExport, GetDisplayChildren, CreateSupplierProject);
SLOTS4(ILX_BaseDataObject, 51, MergeSupplierProject, GetAttributeMultiLingual, SetAttributeMultiLingual,
       GetAttributesMultiLingual);
SLOTS1(ILX_BaseDataObject, 55, SetAttributesMultiLingual);
INTERFACE(ILXDataUpdate, 11);
SLOTS4(ILXDataUpdate, 3, UnregisterCallback, EnableAdvicesDataObject, EnableAdvicesDataObjects, EnableAdvicesDataType);
SLOTS4(ILXDataUpdate, 7, DataObjectChanged, DataObjectsChanged, RegisterCallback, IsNotificationRegisteredByClient);
INTERFACE(ILXRelation, 4);
SLOTS1(ILXRelation, 3, GetRelatedObject);

/* Between the component's own objects. */
INTERFACE(ILXTypeCache, 8);
SLOTS4(ILXTypeCache, 3, Reserved3, Reserved4, SetBaseType, GetServerType);
SLOTS1(ILXTypeCache, 7, Reserved7);
INTERFACE(ILXTypeInheritance, 16);
SLOTS4(ILXTypeInheritance, 3, GetAttributeEnum, Reserved4, Reserved5, Reserved6);
SLOTS4(ILXTypeInheritance, 7, Reserved7, Reserved8, Reserved9, Reserved10);
SLOTS4(ILXTypeInheritance, 11, Reserved11, Reserved12, Reserved13, Reserved14);
SLOTS1(ILXTypeInheritance, 15, Reserved15);

/* Where the fields of the records lie. */
#define FIELD(record, offset, field) static_assert(offsetof(record, field) == (offset), #record "." #field)
#define SIZE(record, size) static_assert(sizeof(record) == (size), #record)

FIELD(tagLXNotifications, 0, bstrObjectId);
FIELD(tagLXNotifications, 8, bstrObjectType);
FIELD(tagLXNotifications, 16, ulNotificationsDesired);
SIZE(tagLXNotifications, 24);

FIELD(tagLXUpdateInfo, 0, bstrObjectId);
FIELD(tagLXUpdateInfo, 8, bstrObjectType);
SIZE(tagLXUpdateInfo, 16);

FIELD(tagLXDataUpdateChanges, 0, bstrObjectId);
FIELD(tagLXDataUpdateChanges, 8, bstrObjectType);
FIELD(tagLXDataUpdateChanges, 16, ulNotificationId);
FIELD(tagLXDataUpdateChanges, 20, ulChangeType);
FIELD(tagLXDataUpdateChanges, 24, ulCount);
FIELD(tagLXDataUpdateChanges, 32, pUpdateInfo);
SIZE(tagLXDataUpdateChanges, 40);

FIELD(tagLXClientInfo, 0, ulProcessID);
FIELD(tagLXClientInfo, 4, ulLanguageID);
FIELD(tagLXClientInfo, 8, bSuperUserTask);
FIELD(tagLXClientInfo, 16, bstrTransactionName);
FIELD(tagLXClientInfo, 24, bstrComputerName);
FIELD(tagLXClientInfo, 32, bstrUserName);
FIELD(tagLXClientInfo, 40, bstrPWD);
FIELD(tagLXClientInfo, 48, pInterface);
SIZE(tagLXClientInfo, 56);

FIELD(tagLXNamedValue, 0, bstrName);
FIELD(tagLXNamedValue, 8, varValue);
SIZE(tagLXNamedValue, 32);

SIZE(VARIANT, 24);
SIZE(LONG, 4);
SIZE(LXRightType, 4);
