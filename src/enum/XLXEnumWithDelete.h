// SPDX-License-Identifier: MIT
//
// Snapshot enumerators: every collection that the component hands out is one of these.
//
// Ownership  The enumerator owns its vector, and the vector a reference to each element. Who receives an element gets
//            a reference of its own, so it may outlive the enumerator.
// Threading  Any thread may call at any time: the vector never changes, and the cursor is one atomic, so two threads
//            that share an enumerator get different elements.
// Errors     Null out pointers are refused with E_POINTER, but for the array of no elements. LXHandOutEnumerator may
//            raise std::bad_alloc.
#ifndef XLXENUMWITHDELETE_H
#define XLXENUMWITHDELETE_H

#include "XLXComPtr.h"
#include "XLXError.h"
#include "XUnknown.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

/// It counts as a live object, so that the module stays while somebody holds it, but it does not lock the module.
template <class IEnumX, class IX>
class XLXEnumWithDelete final : public XUnknown<XLXEnumWithDelete<IEnumX, IX>, IEnumX, ISupportErrorInfo>
{
public:
    using Items = std::vector<XLXComPtr<IX>>;

    static HRESULT RefuseNullFace() noexcept
    {
        return XLXError::RefusePointer(OLESTR("ppvObject"), At("QueryInterface"));
    }

    /// Takes the snapshot over; to be called once, before anybody else has the enumerator.
    HRESULT Initialize(std::unique_ptr<const Items> items) noexcept
    {
        m_items = std::move(items);
        return S_OK;
    }

    STDMETHODIMP RemNext(ULONG cElems, IX** prgElems, ULONG* pcFetched) override
    {
        return XLXError::Guarded(At("RemNext"), [&] {
            XLXError::CheckPointer(pcFetched, OLESTR("pcFetched"), At("RemNext"));
            *pcFetched = 0;
            if (cElems != 0)
            {
                XLXError::CheckPointer(prgElems, OLESTR("prgElems"), At("RemNext"));
            }
            const Range range = Advance(cElems);
            if (range.atEnd)
            {
                return S_FALSE;
            }
            for (size_t i = range.begin; i < range.end; ++i)
            {
                (*m_items)[i].CopyTo(prgElems++);
            }
            *pcFetched = static_cast<ULONG>(range.end - range.begin);
            return *pcFetched == cElems ? S_OK : S_FALSE;
        });
    }

    STDMETHODIMP Skip(ULONG cElems) override
    {
        if (m_items == nullptr)
        {
            return S_FALSE;
        }
        const Range range = Advance(cElems);
        return range.end - range.begin == cElems ? S_OK : S_FALSE;
    }

    STDMETHODIMP Reset() override
    {
        m_cursor.store(0, std::memory_order_relaxed);
        return m_items != nullptr ? S_OK : S_FALSE;
    }

    STDMETHODIMP Clone(IEnumX** ppEnum) override { return LXNotOffered(ppEnum); }

    STDMETHODIMP GetSingleNext(IX** prgElem) override
    {
        return XLXError::Guarded(At("GetSingleNext"), [&] {
            LXCheckOut(prgElem, OLESTR("prgElem"), At("GetSingleNext"));
            const Range range = Advance(1);
            if (range.atEnd)
            {
                return S_FALSE;
            }
            (*m_items)[range.begin].CopyTo(prgElem);
            return S_OK;
        });
    }

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override { return iid == LXIid<IEnumX>() ? S_OK : S_FALSE; }

private:
    struct Range
    {
        size_t begin;
        size_t end;
        bool atEnd; // nothing was left
    };

    static LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) noexcept
    {
        return LXHere("XLXEnumWithDelete", "XLXEnumWithDelete", method, line);
    }

    /// Moves the cursor by up to that many places, and gives those places to the caller alone.
    Range Advance(size_t count) noexcept
    {
        const size_t size = m_items != nullptr ? m_items->size() : 0;
        size_t begin = m_cursor.load(std::memory_order_relaxed);
        size_t end = 0;
        do
        {
            end = begin + std::min(count, size - begin);
        } while (!m_cursor.compare_exchange_weak(begin, end, std::memory_order_relaxed));
        return {begin, end, begin == size};
    }

    std::unique_ptr<const Items> m_items; // constant once initialised
    std::atomic<size_t> m_cursor{0};      // never beyond the number of items
};

/// What every method that returns an enumerator ends with: S_FALSE and null when nothing was collected, else an
/// enumerator over the items.
template <class IEnumX, class IX>
HRESULT LXHandOutEnumerator(std::vector<XLXComPtr<IX>>&& items, IEnumX** out)
{
    using Enumerator = XLXEnumWithDelete<IEnumX, IX>;
    *out = nullptr;
    if (items.empty())
    {
        return S_FALSE;
    }
    const XLXComPtr<Enumerator> enumerator(new Enumerator);
    enumerator->Initialize(std::make_unique<const typename Enumerator::Items>(std::move(items)));
    return enumerator->QueryInterface(LXIid<IEnumX>(), reinterpret_cast<void**>(out));
}

#endif
