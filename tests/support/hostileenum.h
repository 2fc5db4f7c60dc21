// SPDX-License-Identifier: MIT
#ifndef HOSTILEENUM_H
#define HOSTILEENUM_H

#include <lxserver/Object.h>

#include <functional>

/// An enumerator whose elements come from a function of the test.
template <class IEnumX, class IX> class HostileEnum final : public lx::Object<IEnumX> {
public:
    using Next = std::function<HRESULT(ULONG asked, IX** elements, ULONG* fetched)>;

    explicit HostileEnum(Next next) : m_next(std::move(next)) {}
    HRESULT STDMETHODCALLTYPE RemNext(ULONG asked, IX** elements, ULONG* fetched) override {
        return m_next(asked, elements, fetched);
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumX**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSingleNext(IX**) override { return E_NOTIMPL; }

private:
    const Next m_next;
};

#endif
