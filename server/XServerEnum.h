// SPDX-License-Identifier: MIT
//
// The server's enumerators, one template for all: a snapshot of objects and a cursor.
#ifndef XSERVERENUM_H
#define XSERVERENUM_H

#include "XServerObject.h"

#include <algorithm>

template <class IEnumX, class IX> class XServerEnum final : public XServerObject<IEnumX> {
public:
    using Items = std::vector<XLXComPtr<IX>>;

    XServerEnum(XServerCorePtr core, Items items) noexcept
        : XServerObject<IEnumX>(std::move(core)), m_items(std::move(items)) {}

    STDMETHODIMP RemNext(ULONG cElems, IX** prgElems, ULONG* pcFetched) override {
        return this->Call(
            "RemNext",
            [&]() -> HRESULT {
                if (prgElems == nullptr) { return E_POINTER; }
                const std::lock_guard lock(m_mutex);
                const size_t count = std::min<size_t>(cElems, m_items.size() - m_cursor);
                for (size_t i = 0; i < count; ++i) {
                    m_items[m_cursor++].CopyTo(prgElems++);
                }
                *pcFetched = static_cast<ULONG>(count);
                return count == cElems ? S_OK : S_FALSE;
            },
            pcFetched);
    }

    STDMETHODIMP Skip(ULONG cElems) override {
        return this->Call("Skip", [&] {
            const std::lock_guard lock(m_mutex);
            const size_t count = std::min<size_t>(cElems, m_items.size() - m_cursor);
            m_cursor += count;
            return count == cElems ? S_OK : S_FALSE;
        });
    }

    STDMETHODIMP Reset() override {
        return this->Call("Reset", [&] {
            const std::lock_guard lock(m_mutex);
            m_cursor = 0;
            return S_OK;
        });
    }

    STDMETHODIMP Clone(IEnumX** ppEnum) override { return this->Refuse("Clone", ppEnum); }

    STDMETHODIMP GetSingleNext(IX** prgElem) override {
        return this->Call(
            "GetSingleNext",
            [&] {
                const std::lock_guard lock(m_mutex);
                if (m_cursor == m_items.size()) { return S_FALSE; }
                m_items[m_cursor++].CopyTo(prgElem);
                return S_OK;
            },
            prgElem);
    }

private:
    const Items m_items;
    std::mutex m_mutex; // guards the cursor
    size_t m_cursor = 0;
};

/// Hands out an enumerator, or S_FALSE and null when there is nothing to enumerate.
template <class IEnumX, class IX>
HRESULT LXHandOut(const XServerCorePtr& core, std::vector<XLXComPtr<IX>> items, IEnumX** out) {
    if (items.empty()) { return S_FALSE; }
    *out = LXMake<XServerEnum<IEnumX, IX>>(core, std::move(items)).Detach();
    return S_OK;
}

#endif
