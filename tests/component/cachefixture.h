// SPDX-License-Identifier: MIT
//
// A cache with a sample server, for tests that use the cache like an application.
#ifndef CACHEFIXTURE_H
#define CACHEFIXTURE_H

#include "questions.h"
#include "testtexts.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

/// Creates a cache: with the registered module, or from the code linked into the test.
XLXComPtr<ILXConfigFactoryCache> LXMakeCache();

inline void PrintTo(const XLXText& text, std::ostream* os) { *os << LXNarrow(text); }

/// A property as text; "<empty>" for an empty value, "<0x...>" for a failure.
XLXText LXRead(ILXConfigObject* object, int member);

/// One property of all elements of an enumeration, as texts; empty for a null pointer.
template <class Element, class Enumerator>
std::vector<std::string> LXReadAll(const XLXComPtr<Enumerator>& elements, int member) {
    std::vector<std::string> texts;
    XLXComPtr<Element> element;
    while (elements && elements->GetSingleNext(element.Put()) == S_OK) {
        texts.push_back(LXNarrow(LXRead(element.Get(), member)));
    }
    return texts;
}

/// The same for what a call enumerates; a call that does not answer S_OK must give nothing.
template <class Element, class Enumerator, class Ask> std::vector<std::string> LXList(int member, Ask&& ask) {
    XLXComPtr<Enumerator> elements;
    const HRESULT result = ask(elements.Put());
    EXPECT_EQ(result == S_OK, static_cast<bool>(elements)) << result;
    return LXReadAll<Element>(elements, member);
}

template <class Element, class Owner, class Enumerator>
std::vector<std::string> LXList(int member, const XLXComPtr<Owner>& owner,
                                HRESULT (STDMETHODCALLTYPE Owner::*list)(Enumerator**)) {
    return LXList<Element, Enumerator>(member, [&](Enumerator** out) { return (*owner.*list)(out); });
}

/// When LX_DISCARD is set, each test begins with Discard: "same" or "other".
class CacheTest : public testing::Test {
protected:
    explicit CacheTest(XServerModel model = LXTestModel());
    ~CacheTest() override;

    /// Says when a cache created from now on reads stale values together: "always" or "never", whatever calls cost on
    /// this machine. Never, unless the environment variable LXREFILL says otherwise.
    static void SetRefill(const char* when);
    /// From now on every call to the server delivers a notification that makes everything stale before it returns: on
    /// the calling thread, or on another thread that the call waits for.
    void Discard(bool onOtherThread);
    /// Initialises the cache like an application.
    HRESULT Start(LONG transferMode = 15, bool noNotifications = false, bool separateCallback = false);
    HRESULT Initialize(std::vector<XLXComVariant> values);
    std::vector<XLXComVariant> Arguments(LONG transferMode, bool noNotifications, bool separateCallback = false) {
        return LXArguments(*m_server, transferMode, noNotifications, separateCallback);
    }
    void Terminate();

    XLXComPtr<ILXType> Type(const char* name);
    XLXComPtr<ILXAttribute> Attribute(const char* type, const char* name);
    XLXComPtr<ILXGroup> Group(const char* type, int number);
    XCallMonitor& Calls() { return m_server->Calls(); }
    XServerEdits Edit() { return m_server->Edit(); }
    XLXComPtr<IDPFObject> Client() { return m_cache.As<IDPFObject>(); }
    XLXComPtr<ILXConfigFactory> Factory() { return m_cache.As<ILXConfigFactory>(); }

    /// Expects the work to make this many calls to the server. Not checked when LX_DISCARD is set.
    void ExpectCalls(unsigned long long expected, const std::function<void()>& work);

    std::shared_ptr<XSampleServer> m_server;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
};

#endif
