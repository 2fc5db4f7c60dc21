// SPDX-License-Identifier: MIT
//
// LXError32: error information of the calling thread, and the logbook.
//
// Ownership  The caller keeps ownership of all texts and structures that it passes; they are read during the call only.
// Threading  Every function may be called from any thread. A sink is called on the thread that writes the entry, while
//            the component holds no lock. So the sink may call anything but LXErrorSetLogSink.
// Errors     No function throws. Failures of the logbook itself are ignored, because reporting an error must not cause
//            another one.
#ifndef LXERROR32_H
#define LXERROR32_H

#include "LXCompiler.h"
#include "LXConfigFactoryCache.h"

#ifdef LXERROR32_BUILD
#define LXERROR_API EXTERN_C LX_EXPORT
#else
#define LXERROR_API EXTERN_C LX_IMPORT
#endif

/* Where an error was detected. All texts are static; scope may be null. Error information shows the function as
 * "scope::method", or as the method alone if there is no scope. */
typedef struct LXErrorLocation {
    const char* source; /* source name without extension */
    const char* scope;
    const char* method;
    int line;
} LXErrorLocation;

typedef enum LXLogCategory {
    LX_LOG_ERROR = 0,     /* errors that did not stop the operation */
    LX_LOG_UPDATE = 1,    /* "CFC_Update": each change notification */
    LX_LOG_SERVER = 2,    /* "CFC_Server": each call to the server, with its method */
    LX_LOG_INVALIDATE = 3 /* "CFC_Invalidate": data that a notification made stale */
} LXLogCategory;

/* One entry of the logbook. */
typedef struct LXLogEntry {
    ULONGLONG ullTime; /* milliseconds since 1970-01-01 00:00 UTC */
    LXLogCategory eCategory;
    const char* pszCategory; /* the category's name, such as "CFC_Update" */
    LONG lSeverity;          /* a larger number is worse; 0 for traces */
    HRESULT hrCode;          /* S_OK for traces */
    const OLECHAR* pszTitle;
    const OLECHAR* pszText;
    LXErrorLocation location;
} LXLogEntry;

typedef void(STDMETHODCALLTYPE* LXLogSink)(const LXLogEntry* pEntry, void* pContext);

/* Replaces the sink of the logbook.
 * pSink         receives every entry of the enabled categories; null restores the default (debugger output on Windows;
 *               elsewhere standard error if the environment variable LXLOGBOOK is set)
 * pContext      passed to the sink unchanged
 * ulCategories  the enabled categories, one bit each (1u << LX_LOG_UPDATE, ...). The tracing categories LX_LOG_SERVER
 *               and LX_LOG_INVALIDATE cost nothing while they are disabled.
 * When the function returns, no thread is inside the replaced sink. Must not be called from a sink. */
LXERROR_API void STDMETHODCALLTYPE LXErrorSetLogSink(LXLogSink pSink, void* pContext, ULONG ulCategories);

/* Writes an entry if its category is enabled. The function fills in ullTime and pszCategory. */
LXERROR_API void STDMETHODCALLTYPE LXErrorWriteLog(const LXLogEntry* pEntry);

/* The address of the set of enabled categories, so that testing it costs only one relaxed atomic load. */
LXERROR_API const LONG* STDMETHODCALLTYPE LXErrorWantedCategories(void);

/* Sets the calling thread's error information: pszMessage as the description, "scope::method (source, line n)" as the
 * source. Returns hrCode. */
LXERROR_API HRESULT STDMETHODCALLTYPE LXErrorSetInfo(HRESULT hrCode, const OLECHAR* pszMessage,
                                                     const LXErrorLocation* pLocation);

#endif /* LXERROR32_H */
