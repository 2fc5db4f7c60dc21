// SPDX-License-Identifier: MIT
#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {
struct Watched {
    bool on = false;
    bool heeded = true;
    std::size_t failing = 0;
    std::size_t count = 0;
    std::size_t bytes = 0;
};

thread_local Watched g_watched;
bool (*g_exempt)() = nullptr;
} // namespace

XAllocationWatch::XAllocationWatch(std::size_t failing) { g_watched = {true, true, failing, 0, 0}; }
XAllocationWatch::~XAllocationWatch() { g_watched = {}; }
void XAllocationWatch::Heed(bool heed) { g_watched.heeded = heed; }
void XAllocationWatch::ExceptWhile(bool (*exempt)()) { g_exempt = exempt; }
bool XAllocationWatch::Allow(std::size_t size) {
    if (!g_watched.on || !g_watched.heeded || (g_exempt != nullptr && g_exempt())) { return true; }
    g_watched.bytes += size;
    return ++g_watched.count != g_watched.failing;
}

std::size_t XAllocationWatch::Count() const { return g_watched.count; }
std::size_t XAllocationWatch::Bytes() const { return g_watched.bytes; }

void* operator new(std::size_t size) {
    void* const memory = XAllocationWatch::Allow(size) ? std::malloc(size != 0 ? size : 1) : nullptr;
    if (memory == nullptr) { throw std::bad_alloc(); }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return XAllocationWatch::Allow(size) ? std::malloc(size != 0 ? size : 1) : nullptr;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
