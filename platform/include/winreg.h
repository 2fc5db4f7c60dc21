// SPDX-License-Identifier: MIT
//
// The registry: an in-memory hive of this process. Names are compared ignoring the case of ASCII letters. Every opened
// key must be closed.
#ifndef LXPLATFORM_WINREG_H
#define LXPLATFORM_WINREG_H

#include <windef.h>

typedef LONG LSTATUS;
typedef DWORD REGSAM;
typedef struct _SECURITY_ATTRIBUTES SECURITY_ATTRIBUTES;

#define HKEY_CLASSES_ROOT ((HKEY)(ULONG_PTR)0x80000000U)
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)0x80000001U)
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)0x80000002U)

#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006
#define KEY_ALL_ACCESS 0xF003F
#define REG_OPTION_NON_VOLATILE 0
#define REG_CREATED_NEW_KEY 1
#define REG_OPENED_EXISTING_KEY 2
#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4

EXTERN_C LSTATUS WINAPI RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass, DWORD options,
                                        REGSAM access, SECURITY_ATTRIBUTES* security, PHKEY result,
                                        LPDWORD disposition);
EXTERN_C LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result);
EXTERN_C LSTATUS WINAPI RegCloseKey(HKEY key);
EXTERN_C LSTATUS WINAPI RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                                       DWORD size);
EXTERN_C LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                         LPDWORD size);
EXTERN_C LSTATUS WINAPI RegDeleteValueW(HKEY key, LPCWSTR name);
EXTERN_C LSTATUS WINAPI RegDeleteKeyW(HKEY key, LPCWSTR subKey);
EXTERN_C LSTATUS WINAPI RegDeleteTreeW(HKEY key, LPCWSTR subKey);
EXTERN_C LSTATUS WINAPI RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved,
                                      LPWSTR keyClass, LPDWORD classLength, PFILETIME lastWrite);

#endif
