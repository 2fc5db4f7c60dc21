// SPDX-License-Identifier: MIT
//
// The error library's own module. It exports plain functions only, so each user may have its own C++ runtime.
#include "LXError32.h"

#include "XLXComPtr.h"
#include "XLXText.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <thread>

namespace {
constexpr ULONG TraceCategories = (1u << LX_LOG_SERVER) | (1u << LX_LOG_INVALIDATE);
constexpr ULONG DefaultCategories = (1u << LX_LOG_ERROR) | (1u << LX_LOG_UPDATE);
static_assert((TraceCategories & DefaultCategories) == 0, "tracing is off unless a sink asks for it");

constexpr const char* CategoryNames[] = {"CFC_Error", "CFC_Update", "CFC_Server", "CFC_Invalidate"};

struct Sink {
    LXLogSink call;
    void* context;
    ULONG categories;
};

struct Logbook {
    std::mutex mutex; // guards sink; a leaf: nothing is called while it is held
    std::shared_ptr<const Sink> sink;
    std::atomic<LONG> wanted{static_cast<LONG>(DefaultCategories)};
};

/// Never destroyed, because other threads may still log during process exit. The destructor only drops the sink.
union ImmortalLogbook {
    Logbook logbook;
    ImmortalLogbook() : logbook{} {}
    ~ImmortalLogbook() {
        // A thread that was terminated may have held the mutex.
        if (const std::unique_lock<std::mutex> lock(logbook.mutex, std::try_to_lock); lock.owns_lock()) {
            logbook.sink.reset();
            logbook.wanted.store(static_cast<LONG>(DefaultCategories), std::memory_order_relaxed);
        }
    }
};

Logbook& TheLogbook() {
    static ImmortalLogbook immortal;
    return immortal.logbook;
}

std::string Narrow(const OLECHAR* text) {
    std::string narrow;
    for (; text != nullptr && *text != 0; ++text) {
        narrow.push_back(*text < 0x80 ? static_cast<char>(*text) : '?');
    }
    return narrow;
}

std::string FunctionText(const LXErrorLocation& at) {
    std::string text = at.scope != nullptr ? std::string(at.scope) + "::" : std::string();
    return text + (at.method != nullptr ? at.method : "");
}

void DefaultSink(const LXLogEntry& entry) {
#ifndef _WIN32
    static const bool enabled = std::getenv("LXLOGBOOK") != nullptr;
    if (!enabled) { return; }
#endif
    const std::string title = Narrow(entry.pszTitle);
    const std::string line = std::string(entry.pszCategory) + ": " + title + (title.empty() ? "" : ": ") +
                             Narrow(entry.pszText) + " [" + FunctionText(entry.location) + "]\n";
#ifdef _WIN32
    OutputDebugStringA(line.c_str());
#else
    std::fputs(line.c_str(), stderr);
#endif
}

ULONGLONG Now() {
    using namespace std::chrono;
    return static_cast<ULONGLONG>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}
} // namespace

extern "C" {

void STDMETHODCALLTYPE LXErrorSetLogSink(LXLogSink pSink, void* pContext, ULONG ulCategories) try {
    Logbook& logbook = TheLogbook();
    auto next = pSink != nullptr ? std::make_shared<const Sink>(Sink{pSink, pContext, ulCategories}) : nullptr;
    std::weak_ptr<const Sink> previous;
    {
        const std::lock_guard<std::mutex> lock(logbook.mutex);
        previous = logbook.sink;
        logbook.sink.swap(next);
        logbook.wanted.store(static_cast<LONG>(pSink != nullptr ? ulCategories : DefaultCategories),
                             std::memory_order_relaxed);
    }
    next.reset();
    while (!previous.expired()) // a writer inside the replaced sink holds a reference to it
    {
        std::this_thread::yield();
    }
} catch (...) {
    // Out of memory: keep the previous sink.
}

void STDMETHODCALLTYPE LXErrorWriteLog(const LXLogEntry* pEntry) try {
    Logbook& logbook = TheLogbook();
    const auto category = static_cast<unsigned>(pEntry->eCategory);
    if (category >= std::size(CategoryNames)) { return; }
    LXLogEntry entry = *pEntry;
    entry.ullTime = Now();
    entry.pszCategory = CategoryNames[category];
    std::shared_ptr<const Sink> sink;
    {
        const std::lock_guard<std::mutex> lock(logbook.mutex);
        sink = logbook.sink;
    }
    if (((sink != nullptr ? sink->categories : DefaultCategories) & (1u << category)) == 0) { return; }
    if (sink != nullptr) {
        sink->call(&entry, sink->context);
    } else {
        DefaultSink(entry);
    }
} catch (...) {
    // Reporting an error must not raise another.
}

const LONG* STDMETHODCALLTYPE LXErrorWantedCategories(void) {
    static_assert(sizeof(std::atomic<LONG>) == sizeof(LONG) && std::atomic<LONG>::is_always_lock_free);
    return reinterpret_cast<const LONG*>(&TheLogbook().wanted);
}

HRESULT STDMETHODCALLTYPE LXErrorSetInfo(HRESULT hrCode, const OLECHAR* pszMessage,
                                         const LXErrorLocation* pLocation) try {
    XLXComPtr<ICreateErrorInfo> creator;
    if (FAILED(CreateErrorInfo(creator.Put()))) { return hrCode; }
    const std::string narrow = FunctionText(*pLocation) + " (" +
                               (pLocation->source != nullptr ? pLocation->source : "") + ", line " +
                               std::to_string(pLocation->line) + ")";
    XLXText source(narrow.begin(), narrow.end());
    XLXText description(pszMessage != nullptr ? pszMessage : OLESTR(""));
    creator->SetSource(source.data());
    creator->SetDescription(description.data());
    if (const auto info = creator.As<IErrorInfo>()) { SetErrorInfo(0, info.Get()); }
    return hrCode;
} catch (...) { return hrCode; }

} // extern "C"
