// SPDX-License-Identifier: MIT
//
// The language that the server kit needs: included first by its headers, so that an older one is refused in one line.
#ifndef LXSERVER_LANGUAGE_H
#define LXSERVER_LANGUAGE_H

#ifdef _MSVC_LANG
#define LXSERVER_LANGUAGE _MSVC_LANG
#else
#define LXSERVER_LANGUAGE __cplusplus
#endif
#if LXSERVER_LANGUAGE < 202002L
#error                                                                                                                 \
    "The server kit (lxserver/) needs C++20: -std=c++20, /std:c++20, or the CMake target LXConfigFactoryCache::ServerKit"
#endif
#undef LXSERVER_LANGUAGE

#endif
