// SPDX-License-Identifier: MIT
//
// The binary contract, as C sees it: slot numbers of every method, counted from QueryInterface at 0, the number of
// slots of every interface, and the layout of the records with pointers of 32 and 64 bits. All checks are static
// assertions. tests/headers compiles them for 32 bits.
#define CINTERFACE
#include "LXConfigFactoryCache.h"

#include <assert.h>
#include <stddef.h>

// clang-format off
// SLOTS and FIELDS check the first method or field of a list, which ends with a comma, and call themselves for the rest.
// EXPAND scans its arguments as often as that needs.
#define EXPAND(...) EXPAND3(EXPAND3(EXPAND3(EXPAND3(__VA_ARGS__))))
#define EXPAND3(...) EXPAND2(EXPAND2(EXPAND2(EXPAND2(__VA_ARGS__))))
#define EXPAND2(...) EXPAND1(EXPAND1(EXPAND1(EXPAND1(__VA_ARGS__))))
#define EXPAND1(...) __VA_ARGS__
#define PARENTHESES ()

#define SLOTS(type, at, method, ...)                                                                                   \
    static_assert(offsetof(type##Vtbl, method) == (at) * sizeof(void*), #type "::" #method)                            \
        __VA_OPT__(; SLOTS_AGAIN PARENTHESES(type, (at) + 1, __VA_ARGS__))
#define SLOTS_AGAIN() SLOTS
#define FIELDS(record, offset, field, ...)                                                                             \
    static_assert(offsetof(record, field) == (offset), #record "." #field)                                             \
        __VA_OPT__(; FIELDS_AGAIN PARENTHESES(record, __VA_ARGS__))
#define FIELDS_AGAIN() FIELDS
#define SIZE(record, size) static_assert(sizeof(record) == (size), #record)
#define RECORD(record, size, ...) SIZE(record, size); EXPAND(FIELDS(record, __VA_ARGS__, ))

// The number of slots, and the methods in their order.
#define INTERFACE(type, slots, ...)                                                                                    \
    SIZE(type##Vtbl, (slots) * sizeof(void*)); EXPAND(SLOTS(type, 0, QueryInterface, AddRef, Release, __VA_ARGS__, ))
// Configuration objects have eight methods in common, enumerators have five.
#define CONFIG_OBJECT(type, slots, ...) INTERFACE(type, slots, PROPERTIES, __VA_ARGS__)
#define PROPERTIES Get, Set, Gets, Sets, GetProperty, SetProperty, GetProperties, SetProperties
#define ENUMERATOR(type) INTERFACE(type, 8, RemNext, Skip, Reset, Clone, GetSingleNext)
// clang-format on

// Configuration objects.
INTERFACE(ILXConfigObject, 11, PROPERTIES);
CONFIG_OBJECT(ILXType, 37, AddPage, RemovePage, GetPageEnum, GetPage, AddGroup, RemoveGroup, GetGroupEnum,
              GetToplevelGroupEnum, GetPageGroupEnum, GetPageToplevelGroupEnum, GetGroup, GetDisplayAttributeEnum,
              GetDisplayGroupAttributeEnum, AddAttribute, RemoveAttribute, GetAttributeEnum, GetGroupAttributeEnum,
              GetAttribute, AddConfObjEditor, RemoveConfObjEditor, GetConfObjEditorEnum, GetConfObjEditor,
              GetDefaultEditor, Copy, GetDefaultNewEditor, GetTypeComponentData);
CONFIG_OBJECT(ILXPage, 12, dummy);
CONFIG_OBJECT(ILXGroup, 16, dummy, GetChildGroupEnum, CreateFormat, GetFormat, DeleteFormat);
CONFIG_OBJECT(ILXFormat, 12, dummy);
CONFIG_OBJECT(ILXAttribute, 17, AddAttributeType, RemoveAttributeType, GetAttributeTypeEnum, CreateFormat, GetFormat,
              DeleteFormat);
CONFIG_OBJECT(ILXAttributeType, 12, dummy);
CONFIG_OBJECT(ILXConfObjEditor, 12, dummy);
CONFIG_OBJECT(ILXParentChild, 15, AddPCInfo, RemovePCInfo, GetPCInfoEnum, GetPCInfo);
CONFIG_OBJECT(ILXPCInfo, 12, dummy);
CONFIG_OBJECT(ILXBrowserId, 12, dummy);
CONFIG_OBJECT(ILXGlobalAttributeFormatSpec, 14, CreateFormat, GetFormat, DeleteFormat);

// Enumerators.
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

// The component and its callbacks.
INTERFACE(ILXConfigFactoryCache, 31, Initialize, GetRealConfigFactory, GetCachedType, GetTransientAttribute, IsPlantype,
          GetCachedPCEnum, GetPCEnum, GetPPRRelationsEnum, GetPPRRelationsEnumByDO, GetPossiblePPRRelations,
          GetPossiblePPRRelationsByDO, PPRRelationExists, PPRRelationExistsByDO, GetPCRelation, GetSinglePCRelation,
          GetThisBrowserParentChildEnum, GetSinglePCRelationByDO, GetPCEnum2, GetPossiblePPRRelations2,
          CheckTypeDerivesFrom, GetAllDerivedTypes, GetDerivedTypesForQuery, LoadTypesByTypeNames, SetInvalid, IsValid,
          SetCFCDataTransferMode, GetCFCDataTransferMode, GetPCEnumAll);
INTERFACE(ILXConfigFactory, 27, AddType, RemoveType, GetTypeEnum, GetSearchableTypeEnum, GetPlanTypeEnum, GetType,
          AddParentChild, RemoveParentChild, GetParentChildEnum, AddBrowserId, RemoveBrowserId, GetBrowserIdEnum,
          DeleteDatabase, GetTypeArray, GetTypeArrayByTypeName, GetTypeArrayByTypeNameArray, GetPCArray, GetVersion,
          SetVersion, CreateGlobalAttributeFormatSpec, GetAllGlobalAttributeFormatSpecs,
          RemoveGlobalAttributeFormatSpec, RemoveGlobalAttributeFormatSpecByID, NotifyServerTermination);
INTERFACE(IDPFObject, 9, Initialize, Terminate, AttachHostObjects, NotifyHostObject, NotifyHostObjectPair,
          NotifyHostObjectLong);
INTERFACE(ILXServerEntryPoint, 10, GetEntryFlags, SetEntryLong, GetEntryObject, GetEntryObjectByLong, SetEntryObject,
          ReleaseEntry, InitializeNamed);
INTERFACE(ILXCallback, 7, CheckCallbackValid, ServerIsTerminating, SetCallbackId, GetClientInfo);
INTERFACE(ILXCallbackUpdate, 8, CheckCallbackValid, ServerIsTerminating, SetCallbackId, GetClientInfo,
          DataObjectChanged);
INTERFACE(IXCfgCacheCallback, 4, Initialize);

// What the component uses of the server.
INTERFACE(ILXConfigFactoryEx, 6, GetTypeArrayEx, GetTypeArrayByTypeNameEx, GetTypeArrayByTypeNameArrayEx);
INTERFACE(ILX_Query, 24, SetQueryMode, EnableEnhancedQuery, SetSubQueryBackwards, SetSearchTable, SetSearchCatenation,
          SetSearchAttribute, GetSubQuery, SetSubQuery, GetSearchResult, GetSearchResultAsIdList,
          GetSearchResultAsIdListWithRights, GetSearchResultAttributes, ResetSearch, SetOrderAttribute, GetObjectById,
          GetObjectsById, GetObjectByUUID, FindInTrees, GetFilteredSearchResultAsIdListWithRights,
          SearchInTheMainTableOnly, GetExtendedSearchResultAttributes);
INTERFACE(ILX_BaseDataObject, 56, GetTableName, GetTypeName, Save, Delete, DeleteObjects, Copy, CopyObjects,
          CopyObjects2, CopyObjects3, FindUsage, FindCoderuleUsage, GetAttribute, GetAttributes, GetAttributesEx,
          SetAttribute, SetAttributes, AddChild, AddChildren, RemoveChild, RemoveChildren, GetChildren, GetAllChildren,
          GetChildrenSorted, GetChildrenWithinRange, GetChildrenWithReadRights, GetChild, NewChild, CanCreateChild,
          GetAllObjects, GetType, GetListCount, CanDrag, CanDrop, CanDropObjects, GetId, CommitTransaction,
          RollbackTransaction, GetClientId, IsDerivedFromClass, IsDerivedFromClass2, IsDerivedFromType,
          IsDerivedFromType2, ExecuteServerMethod, ExecuteServerMethodEx, GetObjectDependencies, GetObjectsForExport,
          GetDisplayChildren, CreateSupplierProject, MergeSupplierProject, GetAttributeMultiLingual,
          SetAttributeMultiLingual, GetAttributesMultiLingual, SetAttributesMultiLingual);
INTERFACE(ILXDataUpdate, 11, UnregisterCallback, EnableAdvicesDataObject, EnableAdvicesDataObjects,
          EnableAdvicesDataType, DataObjectChanged, DataObjectsChanged, RegisterCallback,
          IsNotificationRegisteredByClient);
INTERFACE(ILXRelation, 4, GetRelatedObject);

// Between the component's own objects.
INTERFACE(ILXTypeCache, 8, Reserved3, Reserved4, SetBaseType, GetServerType, Reserved7);
INTERFACE(ILXTypeInheritance, 16, GetAttributeEnum, Reserved4, Reserved5, Reserved6, Reserved7, Reserved8, Reserved9,
          Reserved10, Reserved11, Reserved12, Reserved13, Reserved14, Reserved15);

// The layout of the records, by the size of a pointer.
#define P sizeof(void*)
RECORD(tagLXNotifications, 3 * P, 0, bstrObjectId, P, bstrObjectType, 2 * P, ulNotificationsDesired);
RECORD(tagLXUpdateInfo, 2 * P, 0, bstrObjectId, P, bstrObjectType);
RECORD(tagLXDataUpdateChanges, 4 * P + 8, 0, bstrObjectId, P, bstrObjectType, 2 * P, ulNotificationId, 2 * P + 4,
       ulChangeType, 2 * P + 8, ulCount, 3 * P + 8, pUpdateInfo);
RECORD(tagLXClientInfo, 6 * P + 8, 0, ulProcessID, 4, ulLanguageID, 8, bSuperUserTask, P + 8, bstrTransactionName,
       2 * P + 8, bstrComputerName, 3 * P + 8, bstrUserName, 4 * P + 8, bstrPWD, 5 * P + 8, pInterface);
RECORD(tagLXNamedValue, 2 * P + 16, 0, bstrName, 8, varValue);
SIZE(VARIANT, 2 * P + 8);
SIZE(LONG, 4);
SIZE(LXRightType, 4);
