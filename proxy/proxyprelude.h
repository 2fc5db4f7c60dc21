/* SPDX-License-Identifier: MIT */
/* Included ahead of the generated proxy sources: the platform's headers declare these three for C++ only. */
#ifndef PROXYPRELUDE_H
#define PROXYPRELUDE_H

#include <objbase.h>

HRESULT STDMETHODCALLTYPE IUnknown_QueryInterface_Proxy(IUnknown* This, REFIID riid, void** ppvObject);
ULONG STDMETHODCALLTYPE IUnknown_AddRef_Proxy(IUnknown* This);
ULONG STDMETHODCALLTYPE IUnknown_Release_Proxy(IUnknown* This);

#endif
