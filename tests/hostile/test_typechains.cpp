// SPDX-License-Identifier: MIT
//
// Unusual chains of base types: very long ones, cyclic ones, ones with a missing base, and wrong server objects.
#include "hostileserver.h"

#ifndef _WIN32
#include <pthread.h>
#endif

namespace {
/// Runs work on a thread whose stack is too small for recursion along a long chain; on Windows the thread has a usual
/// stack.
void WithSmallStack(std::function<void()> work) {
#ifdef _WIN32
    std::thread(work).join();
#else
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 512 * 1024);
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
#endif
}

XLXText Number(int number) {
    std::string text = std::to_string(number);
    return LXFromUtf8("T" + std::string(6 - text.size(), '0') + text);
}

/// A base type of another component, which runs work when it gets its second reference from now on.
class ForeignBase final : public HostileObject<ILXTypeCache> {
public:
    std::function<void()> work;
    ULONG STDMETHODCALLTYPE AddRef() override {
        if (work && ++m_taken == 2) { std::exchange(work, nullptr)(); }
        return HostileObject<ILXTypeCache>::AddRef();
    }
    HRESULT STDMETHODCALLTYPE Reserved3() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved4() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetBaseType(ILXTypeCache*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetServerType(ILXType**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved7() override { return E_NOTIMPL; }

private:
    int m_taken = 0;
};

using TypeChains = HostileTest;

TEST_F(TypeChains, LongOnesAreInheritedAndReleasedWithoutRecursion) {
    // Types are linked in the order of their names: from the root or from the leaf.
    const auto live = [this](int last, bool rootFirst) {
        const auto name = [=](int depth) { return Number(rootFirst ? depth : last - depth); };
        ServeTypes([&] {
            std::vector<HostileType> types;
            for (int depth = 0; depth <= last; ++depth) {
                types.push_back({name(depth), depth > 0 ? name(depth - 1) : XLXText(), {}});
            }
            types[0].attributes = {OLESTR("OfRoot")};
            types[static_cast<std::size_t>(last)].attributes = {OLESTR("OfLeaf")};
            return HostileTypeArray(types);
        });
        ASSERT_EQ(StartHostile(), S_OK);
        XLXComPtr<ILXType> leaf = Named(name(last));
        EXPECT_TRUE(AttributeOf(leaf, OLESTR("OfRoot")));
        EXPECT_TRUE(AttributeOf(leaf, OLESTR("OfLeaf")));
        EXPECT_FALSE(AttributeOf(Named(name(last - 1)), OLESTR("OfLeaf")));
        for (int depth = 0; depth <= last; ++depth) { // every name is found in the index that grew with them
            ASSERT_EQ(LXRead(Named(name(depth)).Get(), 0), name(depth));
        }
        const XBstrArgument leafName = LXArgument(name(last));
        const XBstrArgument rootName = LXArgument(name(0));
        BSTR names[] = {rootName, leafName};
        LONG derives[2] = {};
        EXPECT_EQ(m_cache->CheckTypeDerivesFrom(leafName, 2, names, derives), S_OK);
        EXPECT_EQ(derives[0] + derives[1], 2);
        EXPECT_EQ(m_cache->CheckTypeDerivesFrom(rootName, 2, names, derives), S_OK);
        EXPECT_EQ(derives[0] * 2 + derives[1], 2);
        Terminate();
        m_cache.Reset();
        leaf.Reset(); // held its whole chain of bases
    };
    WithSmallStack([&] { live(4999, false); });
    WithSmallStack([&] { live(999, true); });
}

TEST_F(TypeChains, CyclesOfBasesAreBroken) {
    std::vector<HostileType> types = {{OLESTR("Self"), OLESTR("Self"), {OLESTR("a")}},
                                      {OLESTR("Orphan"), OLESTR("Nowhere"), {OLESTR("a")}},
                                      {OLESTR("Nameless"), XLXText(1, OLECHAR{0}), {OLESTR("a")}}};
    constexpr int circle = 60;
    for (int i = 0; i < circle; ++i) {
        types.push_back({Number(i), Number((i + 1) % circle), {OLESTR("own") + Number(i)}});
    }
    ServeTypes([&] { return HostileTypeArray(types); });
    ASSERT_EQ(StartHostile(), S_OK);
    for (int round = 0; round < 2; ++round) {
        int inherited = 0;
        for (const HostileType& type : types) {
            EXPECT_TRUE(AttributeOf(Named(type.name), type.attributes.front())) << LXNarrow(type.name);
            LONG count = 0;
            BSTR* derived = nullptr;
            const HRESULT result = m_cache->GetDerivedTypesForQuery(LXArgument(type.name), &count, &derived);
            EXPECT_EQ(result, S_OK);
            EXPECT_LE(count, circle);
            LXTake(count, derived);
            inherited += AttributeOf(Named(type.name), OLESTR("own") + Number(circle - 1)) ? 1 : 0;
        }
        EXPECT_GE(inherited, 1);
        const XBstrArgument nowhere = LXArgument("Nowhere");
        BSTR bases[] = {nowhere};
        LONG derives = 0; // a base that is not a type counts by its name
        EXPECT_EQ(LXCall(*m_cache, &ILXConfigFactoryCache::CheckTypeDerivesFrom, "Orphan", 1, bases, &derives), S_OK);
        EXPECT_EQ(derives, 1);
        m_server->SendNotification("objects/x/0/1"); // reloads and relinks all types
    }
}

TEST_F(TypeChains, ServerObjectsWithoutTheirInterfaceFailOnlyWhenTheyAreNeeded) {
    ServeTypes([&] {
        return HostileTypeArray({{OLESTR("Pump"), OLESTR(""), {OLESTR("Head")}}}, [] { return new Opaque; });
    });
    ASSERT_EQ(StartHostile(), S_OK);
    const auto head = AttributeOf(Named(OLESTR("Pump")), OLESTR("Head"));
    ASSERT_TRUE(head);
    EXPECT_EQ(LXRead(head.Get(), 0), OLESTR("Head"));
    XLXComVariant value;
    const auto refused = [&](HRESULT result, const char* what) {
        EXPECT_EQ(result, E_NOINTERFACE) << what;
        EXPECT_TRUE(LXErrorInformation::Take().present) << what;
    };
    refused(head->GetProperty(5, value.Put()), "a value that was delivered empty");
    refused(LXResult(head, &ILXAttribute::GetFormat, 1), "format");
    m_server->SendNotification("properties/Pump/0/512");
    refused(head->GetProperty(0, value.Put()), "a value after a notification");
    m_server->SendNotification("objects/Pump/0/1024");
    EXPECT_NE(LXResult(head, &ILXAttribute::GetAttributeTypeEnum), S_OK);
}

TEST_F(TypeChains, ATypeThatGetsABaseLaterHasTheAttributesOfBoth) {
    ASSERT_EQ(Start(), S_OK);
    const auto document = Type("Document");
    EXPECT_TRUE(AttributeOf(document, OLESTR("Title"))); // complete from here on
    EXPECT_FALSE(AttributeOf(document, OLESTR("Weight")));
    ASSERT_EQ(document.As<ILXTypeCache>()->SetBaseType(Type("Item").As<ILXTypeCache>().Get()), S_OK);
    EXPECT_TRUE(AttributeOf(document, OLESTR("Title")));
    EXPECT_TRUE(AttributeOf(document, OLESTR("Weight")));
    ExpectRefusal(Type("Item").As<ILXTypeCache>()->SetBaseType(document.As<ILXTypeCache>().Get()), E_INVALIDARG,
                  "the base type derives from this type");
    EXPECT_EQ(document.As<ILXTypeCache>()->SetBaseType(nullptr), S_OK);
    EXPECT_FALSE(AttributeOf(document, OLESTR("Weight")));
    EXPECT_EQ(Type("Item").As<ILXTypeCache>()->SetBaseType(document.As<ILXTypeCache>().Get()), S_OK);
}

// The values are fetched, and contain the former base, when the type gets another one.
TEST_F(TypeChains, ABaseThatIsLinkedDuringAFetchStays) {
    ASSERT_EQ(Start(), S_OK);
    const auto pump = Type("Pump");
    const auto item = Type("Item").As<ILXTypeCache>();
    const XLXComPtr<ForeignBase> former(new ForeignBase);
    const auto link = [&](ILXTypeCache* base) { EXPECT_EQ(pump.As<ILXTypeCache>()->SetBaseType(base), S_OK); };
    const auto base = [&] {
        XLXComVariant value;
        EXPECT_EQ(pump->GetProperty(27, value.Put()), S_OK);
        return XLXComPtr<IUnknown>(value.AsUnknown());
    };
    link(former.Get());
    EXPECT_EQ(base(), former.As<IUnknown>());
    m_server->SendNotification("properties/Pump/0/1");
    former->work = [&] { link(item.Get()); };
    base();
    EXPECT_FALSE(former->work) << "the base was not changed";
    EXPECT_EQ(base(), item.As<IUnknown>());
}
} // namespace
