// SPDX-License-Identifier: MIT
//
// The macros and types that generated interface headers use. There is no remoting here.
#ifndef LXPLATFORM_RPCNDR_H
#define LXPLATFORM_RPCNDR_H

#include <windef.h>

#define interface struct
typedef LONGLONG hyper;
#define __RPC_USER
#define __RPC_STUB
#define __RPC_FAR
#define BEGIN_INTERFACE
#define END_INTERFACE
#ifdef CONST_VTABLE
#define CONST_VTBL const
#else
#define CONST_VTBL
#endif
#define DECLSPEC_NOVTABLE
#define DECLSPEC_UUID(text)
#define MIDL_INTERFACE(text) struct DECLSPEC_UUID(text) DECLSPEC_NOVTABLE

#ifdef __cplusplus
/* __uuidof(T) and __uuidof(T*): a template with one specialisation for each interface and class. */
template <typename T> struct LXUuidOf;
template <typename T> struct LXUuidOf<T*> : LXUuidOf<T> {};
template <typename T> struct LXUuidOf<const T> : LXUuidOf<T> {};
#define __CRT_UUID_DECL(type, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                                               \
    extern "C++" {                                                                                                     \
    template <> struct LXUuidOf<type> { static constexpr IID value = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}; }; \
    }
#define __uuidof(type) (LXUuidOf<type>::value)
#endif

#endif
