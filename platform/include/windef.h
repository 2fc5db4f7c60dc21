// SPDX-License-Identifier: MIT
//
// The base types, with the widths that they have on Windows: LONG has 32 bits, characters have 16.
#ifndef LXPLATFORM_WINDEF_H
#define LXPLATFORM_WINDEF_H

#include <stddef.h>
#include <stdint.h>
#ifndef __cplusplus
#include <uchar.h>
#endif

#include <guiddef.h>

typedef void VOID;
typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef char CHAR;
typedef uint8_t BYTE;
typedef uint8_t UCHAR;
typedef BYTE* PBYTE;
typedef BYTE* LPBYTE;
typedef int16_t SHORT;
typedef uint16_t USHORT;
typedef uint16_t WORD;
typedef int INT;
typedef unsigned int UINT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef LONG* PLONG;
typedef ULONG* PULONG;
typedef DWORD* PDWORD;
typedef DWORD* LPDWORD;
typedef long long LONGLONG;
typedef unsigned long long ULONGLONG;
typedef unsigned long long DWORD64;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef uintptr_t DWORD_PTR;
typedef size_t SIZE_T;
typedef float FLOAT;
typedef double DOUBLE;
typedef int BOOL;
typedef UCHAR BOOLEAN;

typedef char16_t WCHAR;
typedef WCHAR OLECHAR;
typedef WCHAR* PWSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* PCWSTR;
typedef const WCHAR* LPCWSTR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;
typedef char* LPSTR;
typedef const char* LPCSTR;
#define OLESTR(text) u##text

typedef LONG HRESULT;
typedef LONG SCODE;
typedef ULONG LCID;
typedef WORD LANGID;

typedef void* HANDLE;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
typedef struct HKEY__* HKEY;
typedef HKEY* PHKEY;
typedef INT_PTR (*FARPROC)(void);

typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

typedef union _LARGE_INTEGER {
    LONGLONG QuadPart;
} LARGE_INTEGER;

#ifndef FALSE
#define FALSE 0
#endif
#ifndef TRUE
#define TRUE 1
#endif
#define MAX_PATH 260
#define INFINITE 0xFFFFFFFF

#define WINAPI
#define APIENTRY WINAPI
#define CALLBACK
#define STDAPICALLTYPE
#define STDMETHODCALLTYPE
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE
#define STDAPI EXTERN_C HRESULT STDAPICALLTYPE
#define STDAPI_(type) EXTERN_C type STDAPICALLTYPE
#define CONST const
#define FORCEINLINE inline
#define UNREFERENCED_PARAMETER(parameter) ((void)(parameter))

#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1

#endif
