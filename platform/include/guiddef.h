// SPDX-License-Identifier: MIT
//
// GUIDs: 16 bytes, compared bytewise.
#ifndef LXPLATFORM_GUIDDEF_H
#define LXPLATFORM_GUIDDEF_H

#include <stdint.h>
#include <string.h>

typedef struct _GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} GUID;
typedef GUID IID;
typedef GUID CLSID;
typedef GUID* LPGUID;
typedef IID* LPIID;
typedef CLSID* LPCLSID;

#ifdef __cplusplus
#define EXTERN_C extern "C"
#define REFGUID const GUID&
#define REFIID const IID&
#define REFCLSID const CLSID&
#else
#define EXTERN_C extern
#define REFGUID const GUID*
#define REFIID const IID*
#define REFCLSID const CLSID*
#endif

#define DECLSPEC_SELECTANY

#ifdef __cplusplus
inline bool IsEqualGUID(REFGUID left, REFGUID right) { return memcmp(&left, &right, sizeof(GUID)) == 0; }
inline bool operator==(REFGUID left, REFGUID right) { return IsEqualGUID(left, right); }
inline bool operator!=(REFGUID left, REFGUID right) { return !IsEqualGUID(left, right); }
#else
#define IsEqualGUID(left, right) (!memcmp(left, right, sizeof(GUID)))
#endif
#define IsEqualIID(left, right) IsEqualGUID(left, right)
#define IsEqualCLSID(left, right) IsEqualGUID(left, right)

EXTERN_C const GUID GUID_NULL;
#define IID_NULL GUID_NULL
#define CLSID_NULL GUID_NULL

#endif /* LXPLATFORM_GUIDDEF_H */

/* Outside the include guard: a file may include <initguid.h> after this header, to define GUIDs from there on. */
#undef DEFINE_GUID
#ifdef INITGUID
#ifdef __cplusplus
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                                                   \
    EXTERN_C const GUID name;                                                                                          \
    const GUID name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}
#else
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                                                   \
    const GUID name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}
#endif
#else
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) EXTERN_C const GUID name
#endif
