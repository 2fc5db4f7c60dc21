// SPDX-License-Identifier: MIT
//
// A cache with a sample server, for tests that use the cache like an application.
#ifndef CACHEFIXTURE_H
#define CACHEFIXTURE_H

#include "asking.h"
#include "questions.h"
#include "testtexts.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

/// Creates a cache: from the registered module, or from the code linked into the test.
XLXComPtr<ILXConfigFactoryCache> LXMakeCache();

inline void PrintTo(const XLXText& text, std::ostream* os) { *os << LXNarrow(text); }

/// A property as text; "<empty>" for an empty value, "<0x...>" for a failure.
XLXText LXRead(ILXConfigObject* object, int member);

/// The object that a method returns through its last parameter. The call must succeed.
template <class Owner, class Method, class... Arguments>
auto LXGet(const XLXComPtr<Owner>& owner, Method method, Arguments... arguments) {
    auto object = LXOutOf(method);
    EXPECT_EQ(LXCall(*owner, method, arguments..., object.Put()), S_OK);
    return object;
}

/// The result of a method that returns an object through its last parameter. There must be one exactly after S_OK.
template <class Owner, class Method, class... Arguments>
HRESULT LXResult(const XLXComPtr<Owner>& owner, Method method, Arguments... arguments) {
    auto object = LXOutOf(method);
    const HRESULT result = LXCall(*owner, method, arguments..., object.Put());
    EXPECT_EQ(result == S_OK, static_cast<bool>(object)) << result;
    return result;
}

/// One property of all elements of the enumeration that a method returns, as texts. Unless the call returns S_OK, there
/// must be none.
template <class Owner, class Method, class... Arguments>
std::vector<std::string> LXList(int member, const XLXComPtr<Owner>& owner, Method method, Arguments... arguments) {
    auto elements = LXOutOf(method);
    const HRESULT result = LXCall(*owner, method, arguments..., elements.Put());
    EXPECT_EQ(result == S_OK, static_cast<bool>(elements)) << result;
    std::vector<std::string> texts;
    for (const auto& element : LXElements(elements)) {
        texts.push_back(LXNarrow(LXRead(element.Get(), member)));
    }
    return texts;
}

/// Whether the test program was started with --server-mode: the cache then runs in the server's process.
bool LXServerMode();

/// When LX_DISCARD is set, each test begins with Discard: "same" or "other". Each ends with Terminate.
class CacheTest : public testing::Test {
protected:
    explicit CacheTest(XServerModel model = LXTestModel());
    ~CacheTest() override;
    void TearDown() override;

    using Names = std::vector<std::string>;

    /// Sets when caches that are created from now on read stale values in bulk: "always" or "never"; with another text
    /// the cost of calls decides. The fixture sets "never" unless the environment variable LXREFILL has a value.
    static void SetRefill(const char* when);
    /// From now on, each call to the server delivers a notification that makes everything stale before it returns: on
    /// the calling thread, or on another thread, for which the call waits.
    void Discard(bool onOtherThread);
    /// Initialises the cache like an application.
    HRESULT Start(LONG transferMode = 15, bool noNotifications = false, bool separateCallback = false);
    /// Initialises the cache in server mode, like a server in its own process.
    HRESULT StartInServer();
    HRESULT Initialize(std::vector<XLXComVariant> values);
    std::vector<XLXComVariant> Arguments(LONG transferMode, bool noNotifications, bool separateCallback = false) {
        return LXArguments(*m_server, transferMode, noNotifications, separateCallback);
    }
    void Terminate();
    /// Loads a type by its name; by default with its bases.
    HRESULT LoadByName(std::string_view name, LONG withBases = 1);

    XLXComPtr<ILXType> Type(const char* name);
    XLXComPtr<ILXAttribute> Attribute(const char* type, const char* name);
    XLXComPtr<ILXGroup> Group(const char* type, int number);
    /// Whether a type has the attribute, itself or from its bases.
    static bool Has(const XLXComPtr<ILXType>& type, const std::string& attribute);
    Names TypeNames() { return LXList(XProperty::TypeName, Factory(), &ILXConfigFactory::GetTypeEnum, nullptr); }
    Names BrowserIds() { return LXList(0, Factory(), &ILXConfigFactory::GetBrowserIdEnum); }
    Names SpecIds() { return LXList(0, Factory(), &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs); }
    /// The cache's objects of the global specs.
    auto AllSpecs() { return LXElements(LXFind(Factory(), &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs)); }
    XCallMonitor& Calls() { return m_server->Calls(); }
    XServerEdits Edit() { return m_server->Edit(); }
    XLXComPtr<IDPFObject> Client() { return m_cache.As<IDPFObject>(); }
    XLXComPtr<ILXConfigFactory> Factory() { return m_cache.As<ILXConfigFactory>(); }

    /// Expects that work makes this many calls to the server. Not checked when LX_DISCARD is set.
    void ExpectCalls(unsigned long long expected, const std::function<void()>& work);

    /// Expects a call to fail with this code and description.
    static void ExpectRefusal(HRESULT actual, HRESULT expected, const std::string& description);
    /// Expects that a null pointer was refused at this location.
    static void ExpectNullRefused(HRESULT actual, XLXTextView source);

    std::shared_ptr<XSampleServer> m_server;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
};

#endif
