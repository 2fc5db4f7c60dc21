// SPDX-License-Identifier: MIT
//
// The binary contract, as C sees it: slot numbers of every method, counted from QueryInterface at 0, the number of
// slots of every interface, and the layout of the records. What compiles holds.
#define CINTERFACE
#include "LXConfigFactoryCache.h"

#include <assert.h>
#include <stddef.h>

// clang-format off
// SLOTS checks the slots of up to 16 methods, RECORD a record's size and up to 8 fields with their offsets: the macros
// with a number take the first one off and pass the others on.
#define SLOTS1(type, at, method) static_assert(offsetof(type##Vtbl, method) == (at) * sizeof(void*), #type "::" #method)
#define SLOTS2(type, at, method, ...) SLOTS1(type, at, method); SLOTS1(type, (at) + 1, __VA_ARGS__)
#define SLOTS3(type, at, method, ...) SLOTS1(type, at, method); SLOTS2(type, (at) + 1, __VA_ARGS__)
#define SLOTS4(type, at, method, ...) SLOTS1(type, at, method); SLOTS3(type, (at) + 1, __VA_ARGS__)
#define SLOTS5(type, at, method, ...) SLOTS1(type, at, method); SLOTS4(type, (at) + 1, __VA_ARGS__)
#define SLOTS6(type, at, method, ...) SLOTS1(type, at, method); SLOTS5(type, (at) + 1, __VA_ARGS__)
#define SLOTS7(type, at, method, ...) SLOTS1(type, at, method); SLOTS6(type, (at) + 1, __VA_ARGS__)
#define SLOTS8(type, at, method, ...) SLOTS1(type, at, method); SLOTS7(type, (at) + 1, __VA_ARGS__)
#define SLOTS9(type, at, method, ...) SLOTS1(type, at, method); SLOTS8(type, (at) + 1, __VA_ARGS__)
#define SLOTS10(type, at, method, ...) SLOTS1(type, at, method); SLOTS9(type, (at) + 1, __VA_ARGS__)
#define SLOTS11(type, at, method, ...) SLOTS1(type, at, method); SLOTS10(type, (at) + 1, __VA_ARGS__)
#define SLOTS12(type, at, method, ...) SLOTS1(type, at, method); SLOTS11(type, (at) + 1, __VA_ARGS__)
#define SLOTS13(type, at, method, ...) SLOTS1(type, at, method); SLOTS12(type, (at) + 1, __VA_ARGS__)
#define SLOTS14(type, at, method, ...) SLOTS1(type, at, method); SLOTS13(type, (at) + 1, __VA_ARGS__)
#define SLOTS15(type, at, method, ...) SLOTS1(type, at, method); SLOTS14(type, (at) + 1, __VA_ARGS__)
#define SLOTS16(type, at, method, ...) SLOTS1(type, at, method); SLOTS15(type, (at) + 1, __VA_ARGS__)
#define NTH(a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14, a15, a16, found, ...) found
#define SLOTS(type, at, ...) CALL(NTH(__VA_ARGS__, SLOTS16, SLOTS15, SLOTS14, SLOTS13, SLOTS12, SLOTS11, SLOTS10, SLOTS9, SLOTS8, SLOTS7, SLOTS6, SLOTS5, SLOTS4, SLOTS3, SLOTS2, SLOTS1, 0), (type, at, __VA_ARGS__))
#define CALL(macro, arguments) macro arguments

#define SIZE(record, size) static_assert(sizeof(record) == (size), #record)
#define FIELDS2(record, offset, field) static_assert(offsetof(record, field) == (offset), #record "." #field)
#define FIELDS4(record, offset, field, ...) FIELDS2(record, offset, field); FIELDS2(record, __VA_ARGS__)
#define FIELDS6(record, offset, field, ...) FIELDS2(record, offset, field); FIELDS4(record, __VA_ARGS__)
#define FIELDS8(record, offset, field, ...) FIELDS2(record, offset, field); FIELDS6(record, __VA_ARGS__)
#define FIELDS10(record, offset, field, ...) FIELDS2(record, offset, field); FIELDS8(record, __VA_ARGS__)
#define FIELDS12(record, offset, field, ...) FIELDS2(record, offset, field); FIELDS10(record, __VA_ARGS__)
#define FIELDS14(record, offset, field, ...) FIELDS2(record, offset, field); FIELDS12(record, __VA_ARGS__)
#define FIELDS16(record, offset, field, ...) FIELDS2(record, offset, field); FIELDS14(record, __VA_ARGS__)
#define RECORD(record, size, ...) SIZE(record, size); CALL(NTH(__VA_ARGS__, FIELDS16, 0, FIELDS14, 0, FIELDS12, 0, FIELDS10, 0, FIELDS8, 0, FIELDS6, 0, FIELDS4, 0, FIELDS2, 0, 0), (record, __VA_ARGS__))

// The number of slots, and the first methods after those of IUnknown
#define INTERFACE(type, slots, ...) SIZE(type##Vtbl, (slots) * sizeof(void*)); SLOTS(type, 0, QueryInterface, AddRef, Release); SLOTS(type, 3, __VA_ARGS__)
#define PROPERTIES Get, Set, Gets, Sets, GetProperty, SetProperty, GetProperties, SetProperties
// Configuration objects have eight methods in common, enumerators have five.
#define CONFIG_OBJECT(type, slots, ...) INTERFACE(type, slots, PROPERTIES); SLOTS(type, 11, __VA_ARGS__)
#define ENUMERATOR(type) INTERFACE(type, 8, RemNext, Skip, Reset, Clone, GetSingleNext)
// clang-format on

// Configuration objects.
INTERFACE(ILXConfigObject, 11, PROPERTIES);
CONFIG_OBJECT(ILXType, 37, AddPage, RemovePage, GetPageEnum, GetPage, AddGroup, RemoveGroup, GetGroupEnum,
              GetToplevelGroupEnum, GetPageGroupEnum, GetPageToplevelGroupEnum, GetGroup, GetDisplayAttributeEnum,
              GetDisplayGroupAttributeEnum, AddAttribute, RemoveAttribute, GetAttributeEnum);
SLOTS(ILXType, 27, GetGroupAttributeEnum, GetAttribute, AddConfObjEditor, RemoveConfObjEditor, GetConfObjEditorEnum,
      GetConfObjEditor, GetDefaultEditor, Copy, GetDefaultNewEditor, GetTypeComponentData);
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
          GetThisBrowserParentChildEnum);
SLOTS(ILXConfigFactoryCache, 19, GetSinglePCRelationByDO, GetPCEnum2, GetPossiblePPRRelations2, CheckTypeDerivesFrom,
      GetAllDerivedTypes, GetDerivedTypesForQuery, LoadTypesByTypeNames, SetInvalid, IsValid, SetCFCDataTransferMode,
      GetCFCDataTransferMode, GetPCEnumAll);
INTERFACE(ILXConfigFactory, 27, AddType, RemoveType, GetTypeEnum, GetSearchableTypeEnum, GetPlanTypeEnum, GetType,
          AddParentChild, RemoveParentChild, GetParentChildEnum, AddBrowserId, RemoveBrowserId, GetBrowserIdEnum,
          DeleteDatabase, GetTypeArray, GetTypeArrayByTypeName, GetTypeArrayByTypeNameArray);
SLOTS(ILXConfigFactory, 19, GetPCArray, GetVersion, SetVersion, CreateGlobalAttributeFormatSpec,
      GetAllGlobalAttributeFormatSpecs, RemoveGlobalAttributeFormatSpec, RemoveGlobalAttributeFormatSpecByID,
      NotifyServerTermination);
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
          GetObjectsById);
SLOTS(ILX_Query, 19, GetObjectByUUID, FindInTrees, GetFilteredSearchResultAsIdListWithRights, SearchInTheMainTableOnly,
      GetExtendedSearchResultAttributes);
INTERFACE(ILX_BaseDataObject, 56, GetTableName, GetTypeName, Save, Delete, DeleteObjects, Copy, CopyObjects,
          CopyObjects2, CopyObjects3, FindUsage, FindCoderuleUsage, GetAttribute, GetAttributes, GetAttributesEx,
          SetAttribute, SetAttributes);
SLOTS(ILX_BaseDataObject, 19, AddChild, AddChildren, RemoveChild, RemoveChildren, GetChildren, GetAllChildren,
      GetChildrenSorted, GetChildrenWithinRange, GetChildrenWithReadRights, GetChild, NewChild, CanCreateChild,
      GetAllObjects, GetType, GetListCount, CanDrag);
SLOTS(ILX_BaseDataObject, 35, CanDrop, CanDropObjects, GetId, CommitTransaction, RollbackTransaction, GetClientId,
      IsDerivedFromClass, IsDerivedFromClass2, IsDerivedFromType, IsDerivedFromType2, ExecuteServerMethod,
      ExecuteServerMethodEx, GetObjectDependencies, GetObjectsForExport, GetDisplayChildren, CreateSupplierProject);
SLOTS(ILX_BaseDataObject, 51, MergeSupplierProject, GetAttributeMultiLingual, SetAttributeMultiLingual,
      GetAttributesMultiLingual, SetAttributesMultiLingual);
INTERFACE(ILXDataUpdate, 11, UnregisterCallback, EnableAdvicesDataObject, EnableAdvicesDataObjects,
          EnableAdvicesDataType, DataObjectChanged, DataObjectsChanged, RegisterCallback,
          IsNotificationRegisteredByClient);
INTERFACE(ILXRelation, 4, GetRelatedObject);

// Between the component's own objects.
INTERFACE(ILXTypeCache, 8, Reserved3, Reserved4, SetBaseType, GetServerType, Reserved7);
INTERFACE(ILXTypeInheritance, 16, GetAttributeEnum, Reserved4, Reserved5, Reserved6, Reserved7, Reserved8, Reserved9,
          Reserved10, Reserved11, Reserved12, Reserved13, Reserved14, Reserved15);

// The layout of the records.
RECORD(tagLXNotifications, 24, 0, bstrObjectId, 8, bstrObjectType, 16, ulNotificationsDesired);
RECORD(tagLXUpdateInfo, 16, 0, bstrObjectId, 8, bstrObjectType);
RECORD(tagLXDataUpdateChanges, 40, 0, bstrObjectId, 8, bstrObjectType, 16, ulNotificationId, 20, ulChangeType, 24,
       ulCount, 32, pUpdateInfo);
RECORD(tagLXClientInfo, 56, 0, ulProcessID, 4, ulLanguageID, 8, bSuperUserTask, 16, bstrTransactionName, 24,
       bstrComputerName, 32, bstrUserName, 40, bstrPWD, 48, pInterface);
RECORD(tagLXNamedValue, 32, 0, bstrName, 8, varValue);
SIZE(VARIANT, 24);
SIZE(LONG, 4);
SIZE(LXRightType, 4);
