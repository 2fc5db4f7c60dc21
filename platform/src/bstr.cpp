// SPDX-License-Identifier: MIT
#include "allocation.h"

#include <oleauto.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace {
// The length in bytes directly precedes the first character. The other half of the prefix keeps the text aligned.
struct Prefix {
    DWORD unused;
    DWORD bytes;
};
static_assert(sizeof(Prefix) == 8);

constexpr UINT g_longest = std::numeric_limits<UINT>::max() - sizeof(Prefix) - sizeof(OLECHAR);

Prefix* PrefixOf(BSTR text) { return reinterpret_cast<Prefix*>(text) - 1; }

UINT Length(const OLECHAR* text) { return static_cast<UINT>(std::char_traits<OLECHAR>::length(text)); }

/// A string of this many bytes, followed by a terminating zero. Without a source it is filled with zeros.
BSTR Allocate(const void* source, UINT bytes) {
    if (bytes > g_longest) { return nullptr; }
    // An odd number of bytes is followed by three zero bytes, so that a whole zero character terminates it.
    const std::size_t room = sizeof(Prefix) + bytes + (bytes & 1) + sizeof(OLECHAR);
    void* const block = LXAllocate(1, room);
    if (block == nullptr) { return nullptr; }
    Prefix* const prefix = static_cast<Prefix*>(block);
    prefix->bytes = bytes;
    if (source != nullptr) { std::memcpy(prefix + 1, source, bytes); }
    return reinterpret_cast<BSTR>(prefix + 1);
}
} // namespace

BSTR SysAllocString(const OLECHAR* psz) { return psz == nullptr ? nullptr : SysAllocStringLen(psz, Length(psz)); }

BSTR SysAllocStringLen(const OLECHAR* pch, UINT cch) {
    return cch > g_longest / sizeof(OLECHAR) ? nullptr : Allocate(pch, cch * UINT{sizeof(OLECHAR)});
}

BSTR SysAllocStringByteLen(LPCSTR psz, UINT cb) { return Allocate(psz, cb); }

void SysFreeString(BSTR bstr) {
    if (bstr != nullptr) { std::free(PrefixOf(bstr)); }
}

UINT SysStringLen(BSTR bstr) { return SysStringByteLen(bstr) / UINT{sizeof(OLECHAR)}; }

UINT SysStringByteLen(BSTR bstr) { return bstr == nullptr ? 0 : PrefixOf(bstr)->bytes; }
