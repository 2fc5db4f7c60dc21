// SPDX-License-Identifier: MIT
//
// LXError32: error information of the calling thread, and the logbook.
//
// Ownership  Every text and structure handed in stays the caller's; it is read during the call only.
// Threading  Every function may be called from any thread. A sink is called on the thread that writes the entry,
//            never while the component holds a lock of its own, so it may call anything but LXErrorSetLogSink.
// Errors     No function raises. Failures of the logbook itself are ignored: reporting an error must not make
//            another.
#ifndef LXERROR32_H
#define LXERROR32_H

#include "LXCompiler.h"
#include "LXConfigFactoryCache.h"

#ifdef LXERROR32_BUILD
#define LXERROR_API EXTERN_C LX_EXPORT
#else
#define LXERROR_API EXTERN_C LX_IMPORT
#endif

/* Where an error was noticed. All texts are static; scope may be null. The function text that error
 * information shows is "scope::method", or just the method when there is no scope. */
typedef struct LXErrorLocation {
    const char* source; /* source name without extension */
    const char* scope;
    const char* method;
    int line;
} LXErrorLocation;

typedef enum LXLogCategory {
    LX_LOG_ERROR = 0,     /* what went wrong without stopping the operation */
    LX_LOG_UPDATE = 1,    /* "CFC_Update": each change notification */
    LX_LOG_SERVER = 2,    /* "CFC_Server": each call to the server, with its method */
    LX_LOG_INVALIDATE = 3 /* "CFC_Invalidate": what a notification invalidated */
} LXLogCategory;

/* One entry of the logbook. */
typedef struct LXLogEntry {
    ULONGLONG ullTime; /* milliseconds since 1970-01-01 00:00 UTC */
    LXLogCategory eCategory;
    const char* pszCategory; /* the category's name, such as "CFC_Update" */
    LONG lSeverity;          /* larger is worse; traces have 0 */
    HRESULT hrCode;          /* S_OK for traces */
    const OLECHAR* pszTitle;
    const OLECHAR* pszText;
    LXErrorLocation location;
} LXLogEntry;

typedef void(STDMETHODCALLTYPE* LXLogSink)(const LXLogEntry* pEntry, void* pContext);

/* Replaces the sink of the logbook.
 * pSink       receives every entry of the wanted categories; null restores the default (the debugger's
 *             output on Windows, standard error elsewhere when the variable LXLOGBOOK is set).
 * pContext    handed to the sink as it is.
 * ulCategories  one bit per LXLogCategory value (1u << LX_LOG_UPDATE, ...). The two tracing categories
 *             LX_LOG_SERVER and LX_LOG_INVALIDATE cost nothing unless asked for here.
 * When the function returns, no thread is inside the sink that was replaced. Not to be called from a sink. */
LXERROR_API void STDMETHODCALLTYPE LXErrorSetLogSink(LXLogSink pSink, void* pContext, ULONG ulCategories);

/* Writes an entry when its category is wanted. ullTime and pszCategory are filled in. */
LXERROR_API void STDMETHODCALLTYPE LXErrorWriteLog(const LXLogEntry* pEntry);

/* The address of the set of wanted categories, for a test that costs one relaxed atomic load. */
LXERROR_API const LONG* STDMETHODCALLTYPE LXErrorWantedCategories(void);

/* Sets the calling thread's error information: the message as its description, and
 * "scope::method (source, line n)" as its source. Returns hrCode. */
LXERROR_API HRESULT STDMETHODCALLTYPE LXErrorSetInfo(HRESULT hrCode, const OLECHAR* pszMessage,
                                                     const LXErrorLocation* pLocation);

#endif /* LXERROR32_H */
