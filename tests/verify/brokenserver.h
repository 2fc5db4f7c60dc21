// SPDX-License-Identifier: MIT
//
// A server that breaks its contract in one way. It forwards all calls to the sample server, and a test modifies the
// results.
#ifndef BROKENSERVER_H
#define BROKENSERVER_H

#include "XServerVerifier.h"
#include "hostileserver.h"

/// The faults of a server. They are used from any thread once the verification runs.
struct Faults {
    /// Changes the result of a method, and the target of its out parameter.
    using Answer = std::function<HRESULT(std::string_view method, HRESULT result, void** out)>;

    Answer factory; ///< for methods of the config factory
    Answer type;    ///< for methods of types from GetType
    /// The same for GetProperty of these types.
    std::function<HRESULT(int index, HRESULT result, VARIANT* value)> property;
    /// Replaces the argument that requests base types.
    std::optional<LONG> withBases;

    /// Changes a notification; false suppresses it.
    std::function<bool(LONG client, XLXText& dataId, ULONG& id)> notification;
    bool searchOnce = false;         ///< the second search finds nothing
    bool hideAnswers = false;        ///< ignore the results of callbacks
    bool keepNoReference = false;    ///< keep no reference to a callback
    bool releaseNoReference = false; ///< do not release the reference to a callback
    bool unregisterNobody = false;
    bool knowEveryClient = false;
    std::atomic<bool> notifying{false};
};
using FaultsPtr = std::shared_ptr<Faults>;

XLXComPtr<ILXConfigFactory> BrokenFactory(const std::shared_ptr<XSampleServer>& server, const FaultsPtr& faults);
XLXComPtr<ILX_Query> BrokenQuery(const std::shared_ptr<XSampleServer>& server, const FaultsPtr& faults);
XLXComPtr<ILXDataUpdate> BrokenUpdate(const std::shared_ptr<XSampleServer>& server, const FaultsPtr& faults);

/// The elements of an array.
std::span<VARIANT> ElementsOf(SAFEARRAY* array);
void Replace(VARIANT& element, XLXComVariant value);

/// Forwards to an enumerator, but may replace Reset, Skip and Clone.
template <class E, class I> class OddEnumeration final : public HostileObject<E> {
public:
    using Copy = std::function<HRESULT(E**)>;

    OddEnumeration(XLXComPtr<E> inner, Copy copy) : m_inner(std::move(inner)), m_copy(std::move(copy)) {}
    HRESULT STDMETHODCALLTYPE RemNext(ULONG asked, I** elements, ULONG* fetched) override {
        return m_inner->RemNext(asked, elements, fetched);
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Reset() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Clone(E** out) override { return m_copy(out); }
    HRESULT STDMETHODCALLTYPE GetSingleNext(I** element) override { return m_inner->GetSingleNext(element); }

private:
    const XLXComPtr<E> m_inner;
    const Copy m_copy;
};

#endif
