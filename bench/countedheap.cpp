// SPDX-License-Identifier: MIT
#include "countedheap.h"

#include <atomic>
#include <cerrno>
#include <malloc.h>

// The C library's own functions, under the names that it provides for replacements.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {
constexpr std::size_t HeaderBytes = sizeof(std::size_t);
std::atomic<std::size_t> g_inUse{0};
std::atomic<std::size_t> g_peak{0};

void* Count(void* block) noexcept {
    if (block != nullptr) {
        const std::size_t bytes = malloc_usable_size(block) + HeaderBytes;
        const std::size_t now = g_inUse.fetch_add(bytes, std::memory_order_relaxed) + bytes;
        std::size_t peak = g_peak.load(std::memory_order_relaxed);
        while (now > peak && !g_peak.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {}
    }
    return block;
}

void Discount(void* block) noexcept {
    if (block != nullptr) { g_inUse.fetch_sub(malloc_usable_size(block) + HeaderBytes, std::memory_order_relaxed); }
}
} // namespace

extern "C" {
void* malloc(std::size_t size) noexcept { return Count(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) noexcept { return Count(__libc_calloc(count, size)); }
void* realloc(void* block, std::size_t size) noexcept {
    Discount(block);
    return Count(__libc_realloc(block, size));
}
void* memalign(std::size_t alignment, std::size_t size) noexcept { return Count(__libc_memalign(alignment, size)); }
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return Count(__libc_memalign(alignment, size));
}
int posix_memalign(void** out, std::size_t alignment, std::size_t size) noexcept {
    *out = Count(__libc_memalign(alignment, size));
    return *out != nullptr ? 0 : ENOMEM;
}
void free(void* block) noexcept {
    Discount(block);
    __libc_free(block);
}
}

std::size_t LXHeapInUse() noexcept { return g_inUse.load(); }
std::size_t LXHeapPeak() noexcept { return g_peak.load(); }
void LXResetHeapPeak() noexcept { g_peak.store(g_inUse.load()); }
