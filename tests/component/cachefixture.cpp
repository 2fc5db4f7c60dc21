// SPDX-License-Identifier: MIT
#include "cachefixture.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <future>

XLXText LXRead(ILXConfigObject* object, int member) {
    XLXComVariant value;
    const HRESULT result = object->GetProperty(member, value.Put());
    if (FAILED(result)) {
        char code[32];
        std::snprintf(code, sizeof(code), "<0x%08lX>", static_cast<unsigned long>(result) & 0xFFFFFFFFUL);
        return XLXFormat() << code;
    }
    return result == S_FALSE ? XLXText(OLESTR("<empty>")) : value.AsText().value_or(OLESTR("<no text>"));
}

bool LXServerMode() {
    const auto arguments = testing::internal::GetArgvs();
    return std::find(arguments.begin(), arguments.end(), "--server-mode") != arguments.end();
}

CacheTest::CacheTest(XServerModel model) : m_server(XSampleServer::Create(std::move(model))) {
    SetErrorInfo(0, nullptr); // clear what earlier tests left
    static const char* const given = std::getenv("LXREFILL");
    static const std::string refill = given != nullptr ? given : "never";
    SetRefill(refill.c_str());
    if (const char* const thread = std::getenv("LX_DISCARD"); thread != nullptr) {
        Discard(std::string_view(thread) == "other");
    }
}

void CacheTest::Discard(bool onOtherThread) {
    Calls().SetStandingHook([server = m_server.get(), onOtherThread](const XServerCall& call) {
        if (call.point != XCallPoint::Answer || call.name == "ILXDataUpdate::UnregisterCallback") { return; }
        const auto discard = [server] { server->SendNotification("objects/everything/0/1"); };
        onOtherThread ? std::async(std::launch::async, discard).get() : discard();
    });
}

void CacheTest::SetRefill(const char* when) {
#ifdef _WIN32
    _putenv_s("LXREFILL", when);
#else
    setenv("LXREFILL", when, 1);
#endif
}

void CacheTest::TearDown() {
    Calls().SetHook({});
    Calls().StopFailing();
    if (m_cache) { Terminate(); }
}

CacheTest::~CacheTest() {
    Calls().SetStandingHook({});
    m_cache.Reset();
    EXPECT_TRUE(Calls().Problems().empty());
}

HRESULT CacheTest::Initialize(std::vector<XLXComVariant> values) {
    if (!m_cache) { m_cache = LXMakeCache(); }
    return Client()->Initialize(static_cast<ULONG>(values.size()), values.empty() ? nullptr : &values.front().Get());
}

HRESULT CacheTest::StartInServer() {
    if (!m_cache) { m_cache = LXMakeCache(); }
    return m_cache->Initialize(m_server->ConfigFactory().Get(), m_server->Query().Get(), m_server->DataUpdate().Get());
}

HRESULT CacheTest::Start(LONG transferMode, bool noNotifications, bool separateCallback) {
    return Initialize(Arguments(transferMode, noNotifications, separateCallback));
}

void CacheTest::Terminate() { EXPECT_EQ(Client()->Terminate(), S_OK); }

HRESULT CacheTest::LoadByName(std::string_view name, LONG withBases) {
    const XBstrArgument text = LXArgument(name);
    BSTR names[] = {text};
    return m_cache->LoadTypesByTypeNames(1, names, withBases);
}

XLXComPtr<ILXType> CacheTest::Type(const char* name) {
    SCOPED_TRACE(name);
    return LXGet(m_cache, &ILXConfigFactoryCache::GetCachedType, m_server->DataObject(name).Get(), nullptr);
}

XLXComPtr<ILXAttribute> CacheTest::Attribute(const char* type, const char* name) {
    SCOPED_TRACE(name);
    return LXGet(Type(type), &ILXType::GetAttribute, name);
}

XLXComPtr<ILXGroup> CacheTest::Group(const char* type, int number) {
    SCOPED_TRACE(number);
    return LXGet(Type(type), &ILXType::GetGroup, number);
}

bool CacheTest::Has(const XLXComPtr<ILXType>& type, const std::string& attribute) {
    return static_cast<bool>(LXFind(type, &ILXType::GetAttribute, attribute));
}

void CacheTest::ExpectCalls(unsigned long long expected, const std::function<void()>& work) {
    const XCallCounts before = Calls().Counts();
    work();
    const XCallCounts made = Calls().Counts().Since(before);
    if (std::getenv("LX_DISCARD") == nullptr) {
        EXPECT_EQ(made.Total() - made.Of("ILX_BaseDataObject::GetTypeName"), expected) << made.Text();
    }
}

void CacheTest::ExpectRefusal(HRESULT actual, HRESULT expected, const std::string& description) {
    EXPECT_EQ(actual, expected) << description;
    EXPECT_EQ(LXNarrow(LXErrorInformation::Take().description), description);
}

void CacheTest::ExpectNullRefused(HRESULT actual, XLXTextView source) {
    EXPECT_EQ(actual, E_POINTER);
    EXPECT_NE(LXErrorInformation::Take().source.find(source), XLXText::npos) << LXNarrow(source);
}
