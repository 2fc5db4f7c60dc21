// SPDX-License-Identifier: MIT
//
// Helpers of the tests of the sample server, to call its objects and to read their answers.
#ifndef SERVERTEST_H
#define SERVERTEST_H

#include "XSampleServer.h"

#include "XLXComBSTR.h"
#include "XLXSafeArray.h"

#include <gtest/gtest.h>

#include <thread>

/// The elements of an enumerator, fetched in batches that do not divide their number.
template <class IEnumX, class IX> std::vector<XLXComPtr<IX>> LXFetch(IEnumX* enumerator) {
    std::vector<XLXComPtr<IX>> elements;
    for (HRESULT result = S_OK; enumerator != nullptr && result == S_OK;) {
        IX* batch[3] = {};
        ULONG fetched = 0;
        result = enumerator->RemNext(3, batch, &fetched);
        for (ULONG i = 0; i < fetched; ++i) {
            elements.push_back(LXAttach(batch[i]));
        }
    }
    return elements;
}

/// A property of a configuration object as text, "-" for an empty one.
template <class I> std::string LXTextOf(const XLXComPtr<I>& object, int index) {
    XLXComVariant value;
    if (!object || object->GetProperty(index, value.Put()) != S_OK) { return "-"; }
    return LXToUtf8(value.AsText().value_or(OLESTR("?")));
}

/// One property of all elements of an enumerator, separated by blanks; S_FALSE gives "none".
template <class IX, class IEnumX, class F> std::string LXNames(F&& get, int index) {
    XLXComPtr<IEnumX> enumerator;
    const HRESULT result = get(enumerator.Put());
    if (result != S_OK) { return result == S_FALSE && !enumerator ? "none" : "failed"; }
    std::string names;
    for (const auto& element : LXFetch<IEnumX, IX>(enumerator.Get())) {
        names += (names.empty() ? "" : " ") + LXTextOf(element, index);
    }
    return names;
}

inline XLXComPtr<ILXType> LXTypeOf(const XSampleServer& server, const XText& name) {
    XLXComPtr<ILXType> type;
    server.ConfigFactory()->GetType(XLXComBSTR(name.Get()).Get(), nullptr, type.Put());
    return type;
}

inline XLXComPtr<ILXAttribute> LXAttributeOf(const XSampleServer& server, const XText& type, const XText& name) {
    XLXComPtr<ILXAttribute> attribute;
    LXTypeOf(server, type)->GetAttribute(XLXComBSTR(name.Get()).Get(), attribute.Put());
    return attribute;
}

/// A client that records its notifications.
class XRecordingClient final : public ILXCallbackUpdate {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        const bool known = iid == IID_IUnknown || iid == LXIid<ILXCallback>() || iid == LXIid<ILXCallbackUpdate>();
        *out = known ? this : nullptr;
        return known ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; } // on the test's stack

    STDMETHODIMP CheckCallbackValid() override { return answer; }
    STDMETHODIMP ServerIsTerminating() override {
        terminating = true;
        return S_OK;
    }
    STDMETHODIMP SetCallbackId(LONG) override { return S_OK; }
    STDMETHODIMP GetClientInfo(tagLXClientInfo*) override { return E_NOTIMPL; }
    STDMETHODIMP DataObjectChanged(BSTR bstrDataID, BSTR bstrDataTyp, ULONG ulNotificationType, ULONG ulNotificationId,
                                   ULONG ulCount, tagLXUpdateInfo* pLXUpdateInfo) override {
        std::this_thread::sleep_for(slowness);
        EXPECT_EQ(ulCount, 0u);
        EXPECT_EQ(pLXUpdateInfo, nullptr);
        const std::lock_guard lock(mutex);
        dataIds.push_back(LXToUtf8(LXBstrView(bstrDataID)));
        dataTypes.push_back(LXToUtf8(LXBstrView(bstrDataTyp)));
        ids.push_back(ulNotificationId);
        type = ulNotificationType;
        return answer;
    }

    /// The data ids of notifications since the last call.
    std::vector<std::string> Take() {
        const std::lock_guard lock(mutex);
        return std::exchange(dataIds, {});
    }

    std::atomic<ULONG> references{0};
    std::atomic<bool> terminating{false};
    std::atomic<HRESULT> answer{S_OK};
    std::chrono::milliseconds slowness{0};
    std::mutex mutex; // guards the members below
    std::vector<std::string> dataIds;
    std::vector<std::string> dataTypes;
    std::vector<ULONG> ids;
    ULONG type = 0;
};

/// Registers a client and subscribes to the notifications of a data type.
inline LONG LXRegister(const XSampleServer& server, ILXCallbackUpdate& client, const XText& dataType = "cfc_specific") {
    LONG id = 0;
    const auto update = server.DataUpdate();
    EXPECT_EQ(update->RegisterCallback(XLXComBSTR(OLESTR("machine")).Get(), 7, &client, &id), S_OK);
    EXPECT_EQ(update->EnableAdvicesDataType(id, XLXComBSTR(dataType.Get()).Get(), 1, 256), S_OK);
    return id;
}

#endif
