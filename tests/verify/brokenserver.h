// SPDX-License-Identifier: MIT
//
// A server that breaks its contract in one way: everything is passed on to the sample server, and a test changes what
// comes back on the way.
#ifndef BROKENSERVER_H
#define BROKENSERVER_H

#include "XServerVerifier.h"
#include "hostileserver.h"

/// What a server does otherwise than it should. All of it may be used from any thread once the verification runs.
struct Faults {
    /// Changes the answer of a method: its result, and what its out parameter points to.
    using Answer = std::function<HRESULT(std::string_view method, HRESULT result, void** out)>;

    Answer factory; ///< of the config factory
    Answer type;    ///< of types that GetType gives
    /// The same for GetProperty of such a type.
    std::function<HRESULT(int index, HRESULT result, VARIANT* value)> property;
    /// The bases come with a type whether they are asked for or not.
    std::optional<LONG> withBases;

    /// Changes a notification; false keeps it from the client.
    std::function<bool(LONG client, XLXText& dataId, ULONG& id)> notification;
    bool searchOnce = false;         ///< the second search finds nothing
    bool hideAnswers = false;        ///< of callbacks
    bool keepNoReference = false;    ///< to a callback
    bool releaseNoReference = false; ///< to a callback
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

/// Passes an enumeration on, with its own ways of moving in it.
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
