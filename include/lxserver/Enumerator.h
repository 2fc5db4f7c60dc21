// SPDX-License-Identifier: MIT
//
// The enumerators: one template, with a snapshot of objects and a cursor.
//
// Ownership  An enumerator owns a reference to each of its objects.
// Threading  Thread-safe. If threads share an enumerator, each object goes to one of them.
// Errors     See Object.h. Clone returns E_NOTIMPL.
#ifndef LXSERVER_ENUMERATOR_H
#define LXSERVER_ENUMERATOR_H

#include <lxserver/Object.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace lx {
/// @tparam Base   lx::Object of the enumerator's interface, or another base with the methods Call and Refuse
/// @tparam IX     the interface of the objects
/// @tparam Owner  the smart pointer that holds an object
template <class Base, class IEnumX, class IX, class Owner = Ref<IX>> class EnumeratorOn final : public Base {
public:
    /// @param rest  arguments of Base's constructor
    template <class... Rest>
    explicit EnumeratorOn(std::vector<Owner> items, Rest&&... rest)
        : Base(std::forward<Rest>(rest)...), m_items(std::move(items)) {}

    HRESULT STDMETHODCALLTYPE RemNext(ULONG count, IX** objects, ULONG* fetched) override {
        return this->Call(
            "RemNext",
            [&]() -> HRESULT {
                if (objects == nullptr) { return E_POINTER; }
                const std::lock_guard lock(m_mutex);
                *fetched = static_cast<ULONG>(std::min<std::size_t>(count, m_items.size() - m_next));
                for (ULONG i = 0; i < *fetched; ++i) {
                    objects[i] = Owner(m_items[m_next++]).Detach();
                }
                return *fetched == count ? S_OK : S_FALSE;
            },
            fetched);
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        return this->Call("Skip", [&] {
            const std::lock_guard lock(m_mutex);
            const std::size_t passed = std::min<std::size_t>(count, m_items.size() - m_next);
            m_next += passed;
            return passed == count ? S_OK : S_FALSE;
        });
    }
    HRESULT STDMETHODCALLTYPE Reset() override {
        return this->Call("Reset", [&] {
            const std::lock_guard lock(m_mutex);
            m_next = 0;
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE Clone(IEnumX** out) override { return this->Refuse("Clone", out); }
    HRESULT STDMETHODCALLTYPE GetSingleNext(IX** object) override {
        return this->Call(
            "GetSingleNext",
            [&] {
                const std::lock_guard lock(m_mutex);
                if (m_next == m_items.size()) { return S_FALSE; }
                *object = Owner(m_items[m_next++]).Detach();
                return S_OK;
            },
            object);
    }

private:
    const std::vector<Owner> m_items;
    std::mutex m_mutex; // guards m_next
    std::size_t m_next = 0;
};

/// Returns an enumerator; S_FALSE without one if there are no items.
template <class IEnumX, class IX> HRESULT HandOut(std::vector<Ref<IX>> items, IEnumX** out) {
    if (items.empty()) { return S_FALSE; }
    *out = Make<EnumeratorOn<Object<IEnumX>, IEnumX, IX>>(std::move(items)).Detach();
    return S_OK;
}
} // namespace lx

#endif
