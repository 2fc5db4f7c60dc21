// SPDX-License-Identifier: MIT
//
// Snapshot enumerators. Every collection that the component returns is one.
//
// Ownership  The enumerator owns a vector with one reference to each element. Callers get references of their own, so
//            elements may outlive the enumerator.
// Threading  Thread-safe: the vector is immutable and the cursor is one atomic. Threads that share an enumerator get
//            different elements.
// Errors     Null out pointers are refused with E_POINTER, except for the array when no elements are requested.
//            LXHandOutEnumerator may raise std::bad_alloc.
#ifndef XLXENUMWITHDELETE_H
#define XLXENUMWITHDELETE_H

#include "XLXComPtr.h"
#include "XLXError.h"
#include "XUnknown.h"

#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

/// Counts as a live object, so it keeps the module loaded, but it does not lock the module.
template <class IEnumX, class IX>
class XLXEnumWithDelete final : public XUnknown<XLXEnumWithDelete<IEnumX, IX>, IEnumX, ISupportErrorInfo> {
public:
    using Items = std::vector<XLXComPtr<IX>>;

    /// Takes ownership of the snapshot.
    explicit XLXEnumWithDelete(Items items) noexcept : m_items(std::move(items)) {}

    static HRESULT RefuseNullFace() noexcept {
        return XLXError::RefusePointer(OLESTR("ppvObject"), At("QueryInterface"));
    }

    STDMETHODIMP RemNext(ULONG cElems, IX** prgElems, ULONG* pcFetched) override {
        return XLXError::Guarded(At("RemNext"), [&] {
            XLXError::CheckPointer(pcFetched, OLESTR("pcFetched"), At("RemNext"));
            *pcFetched = 0;
            if (cElems != 0) { XLXError::CheckPointer(prgElems, OLESTR("prgElems"), At("RemNext")); }
            const Range range = Advance(cElems);
            if (range.begin == m_items.size()) { return S_FALSE; }
            for (size_t i = range.begin; i < range.end; ++i) {
                m_items[i].CopyTo(prgElems++);
            }
            *pcFetched = static_cast<ULONG>(range.end - range.begin);
            return *pcFetched == cElems ? S_OK : S_FALSE;
        });
    }

    STDMETHODIMP Skip(ULONG cElems) override {
        const Range range = Advance(cElems);
        return range.end - range.begin == cElems ? S_OK : S_FALSE;
    }

    STDMETHODIMP Reset() override {
        m_cursor.store(0, std::memory_order_relaxed);
        return S_OK;
    }

    STDMETHODIMP Clone(IEnumX** ppEnum) override { return LXNotOffered(ppEnum); }

    STDMETHODIMP GetSingleNext(IX** prgElem) override {
        return XLXError::Guarded(At("GetSingleNext"), [&] {
            LXCheckOut(prgElem, OLESTR("prgElem"), At("GetSingleNext"));
            const Range range = Advance(1);
            if (range.begin == m_items.size()) { return S_FALSE; }
            m_items[range.begin].CopyTo(prgElem);
            return S_OK;
        });
    }

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override { return iid == LXIid<IEnumX>() ? S_OK : S_FALSE; }

private:
    struct Range {
        size_t begin; // m_items.size() when no elements are left
        size_t end;
    };

    static LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) noexcept {
        return LXHere("XLXEnumWithDelete", "XLXEnumWithDelete", method, line);
    }

    /// Advances the cursor by at most count. The returned range belongs to the caller alone.
    Range Advance(size_t count) noexcept {
        const size_t size = m_items.size();
        size_t begin = m_cursor.load(std::memory_order_relaxed);
        size_t end = 0;
        do {
            end = begin + std::min(count, size - begin);
        } while (!m_cursor.compare_exchange_weak(begin, end, std::memory_order_relaxed));
        return {begin, end};
    }

    const Items m_items;
    std::atomic<size_t> m_cursor{0}; // never greater than the number of items
};

/// The end of every method that returns an enumerator: S_FALSE and null for no items, else an enumerator over them.
template <class IEnumX, class IX> HRESULT LXHandOutEnumerator(std::vector<XLXComPtr<IX>>&& items, IEnumX** out) {
    *out = nullptr;
    if (items.empty()) { return S_FALSE; }
    *out = XLXComPtr<IEnumX>(new XLXEnumWithDelete<IEnumX, IX>(std::move(items))).Detach();
    return S_OK;
}

#endif
