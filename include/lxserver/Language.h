// SPDX-License-Identifier: MIT
//
// Checks the language version. The server kit's headers include it first, so that an older compiler mode gives one
// clear error.
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
