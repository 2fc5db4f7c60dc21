// SPDX-License-Identifier: MIT
#ifndef XSHAREDTEXT_H
#define XSHAREDTEXT_H

#include "XLXComPtr.h"
#include "XLXText.h"

#include <atomic>
#include <cstdint>
#include <limits>
#include <new>

/// An immutable text that copies share. Reference counted; thread-safe. Its units follow the object in memory.
class XSharedText {
public:
    /// Raises std::bad_alloc.
    static XLXComPtr<XSharedText> Create(XLXTextView text) {
        if (text.size() > std::numeric_limits<std::uint32_t>::max() / sizeof(OLECHAR)) { throw std::bad_alloc(); }
        void* const place = ::operator new(sizeof(XSharedText) + text.size() * sizeof(OLECHAR));
        auto* const created = new (place) XSharedText(static_cast<std::uint32_t>(text.size()));
        text.copy(reinterpret_cast<OLECHAR*>(created + 1), text.size());
        return LXAttach(created);
    }
    XSharedText(const XSharedText&) = delete;
    XSharedText& operator=(const XSharedText&) = delete;

    XLXTextView View() const noexcept { return {reinterpret_cast<const OLECHAR*>(this + 1), m_size}; }

    void AddRef() noexcept { m_references.fetch_add(1, std::memory_order_relaxed); }
    void Release() noexcept {
        if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            this->~XSharedText();
            ::operator delete(this);
        }
    }

private:
    explicit XSharedText(std::uint32_t size) noexcept : m_size(size) {}
    ~XSharedText() = default;

    std::atomic<std::uint32_t> m_references{1};
    const std::uint32_t m_size; ///< number of units
};

#endif
