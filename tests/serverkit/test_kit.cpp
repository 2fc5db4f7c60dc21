// SPDX-License-Identifier: MIT
//
// The kit's implementation of a model. tests/typed checks that the cache shows all of it, and
// tests/lxcfc/test_verify.py that servers on the kit keep the contract.
#include "kitfixture.h"

extern "C" HRESULT LXEditServer(LONG number); // of minimal_server.cpp

namespace {
using Kit = WithComponent;

/// How many names and records a type array has; releases it.
std::pair<ULONG, ULONG> SizeOf(SAFEARRAY* types) {
    VARIANT* values = nullptr;
    EXPECT_EQ(SafeArrayAccessData(types, reinterpret_cast<void**>(&values)), S_OK);
    const std::pair size(V_UI4(&values[2]), V_UI4(&values[3]));
    SafeArrayUnaccessData(types);
    SafeArrayDestroy(types);
    return size;
}
} // namespace

TEST_F(Kit, NamedTypesAreReturnedOnceWithTheirBases) {
    const auto connection = lx::Connect(MakeServer());
    const auto ask = [&](std::initializer_list<const OLECHAR*> names, SAFEARRAY** types) {
        SAFEARRAY* const array = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(names.size()));
        LONG i = 0;
        for (const OLECHAR* const name : names) {
            SafeArrayPutElement(array, &i, lxcfc::Bstr(name).Get());
            ++i;
        }
        const HRESULT result = connection->GetTypeArrayByTypeNameArrayEx(array, 1, 0, types);
        SafeArrayDestroy(array);
        return result;
    };
    SAFEARRAY* types = nullptr;
    ASSERT_EQ(ask({OLESTR("Pump"), OLESTR("NoSuchType"), OLESTR("Pump")}, &types), S_OK);
    EXPECT_EQ(SizeOf(types), std::pair(ULONG{2}, ULONG{2}));
    EXPECT_EQ(ask({OLESTR("NoSuchType")}, &types), S_FALSE);
    EXPECT_EQ(types, nullptr);
    EXPECT_EQ(connection->GetTypeArrayEx(15, nullptr), E_POINTER);
    SAFEARRAY* const noNames = SafeArrayCreateVector(VT_I4, 0, 1);
    EXPECT_EQ(connection->GetTypeArrayByTypeNameArrayEx(noNames, 1, 15, &types), E_INVALIDARG);
    SafeArrayDestroy(noNames);
}

TEST(KitModel, ACycleOfBasesIsListedOnce) {
    lx::Model model;
    model.AddType(OLESTR("Leaf"), OLESTR("A"));
    model.AddType(OLESTR("A"), OLESTR("B"));
    model.AddType(OLESTR("B"), OLESTR("A"));
    EXPECT_EQ(model.BaseChain(OLESTR("Leaf")).size(), 3u);
    EXPECT_EQ(model.BaseChain(OLESTR("A")).size(), 2u);
}

// Many clients that start at the same time share one array. An array of an older state is not delivered.
TEST_F(Kit, AnArrayIsBuiltOncePerState) {
    lx::BulkStore<int, int> store;
    std::atomic<int> built{0};
    std::atomic<int> state{1};
    const auto ask = [&](int now) {
        LONG index = 0;
        int value = 0;
        SAFEARRAY* const copy = store.CopyOf(7, now, [&] {
            ++built;
            int its = state;
            std::this_thread::sleep_for(50ms);
            SAFEARRAY* const array = SafeArrayCreateVector(VT_I4, 0, 1);
            SafeArrayPutElement(array, &index, &its);
            return std::pair(its, array);
        });
        EXPECT_EQ(SafeArrayGetElement(copy, &index, &value), S_OK);
        EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
        return value;
    };
    std::vector<std::thread> clients;
    for (int i = 0; i < 8; ++i) {
        clients.emplace_back([&] { EXPECT_EQ(ask(1), 1); });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_EQ(built, 1);
    state = 2;
    EXPECT_EQ(ask(2), 2);
    EXPECT_EQ(ask(2), 2);
    EXPECT_EQ(built, 2);
    state = 4; // the state changes during the read
    EXPECT_EQ(ask(3), 4);
    EXPECT_EQ(ask(4), 4);
}

TEST_F(Kit, HeldObjectsShowEditsAndOutliveTheirElements) {
    const auto server = MakeServer();
    const lxcfc::Cache cache = CacheOf(server);
    const lxcfc::Attribute ofServer = FlowOf(lxcfc::ConfigFactory(FactoryOf(server)));
    const lxcfc::Attribute ofCache = FlowOf(cache);
    EXPECT_EQ(ofCache.Text(lx::Unit), OLESTR("m\u00B3/h"));
    ofServer.Set(lx::Unit, OLESTR("l/s"));
    for (const int refused : {static_cast<int>(lx::AttributeName), 60}) { // the name identifies the attribute
        EXPECT_EQ(ofServer.Raw().SetProperty(refused, *lxcfc::Value(OLESTR("l/s"))), E_INVALIDARG) << refused;
    }
    EXPECT_EQ(ofServer.Text(lx::Unit), OLESTR("l/s"));
    EXPECT_EQ(ofCache.Text(lx::Unit), OLESTR("l/s"));
    server->Edit([](lx::Model& model) {
        model.types[OLESTR("Pump")].attributes.erase(OLESTR("RatedFlow"));
        return std::vector{lx::SetChanged(lx::Key::OfAttribute(OLESTR("Pump"), OLESTR("RatedFlow")))};
    });
    EXPECT_EQ(ofServer.Text(lx::Unit), OLESTR("m\u00B3/h")) << "the value at the time it was returned";
    EXPECT_FALSE(FlowOf(cache));
}

TEST_F(Kit, ALibraryEditNeedsAConnectedClient) {
    lxcfc::Ptr<IErrorInfo> info;
    lxcfc::Bstr text;
    EXPECT_EQ(LXEditServer(1), E_FAIL);
    ASSERT_EQ(GetErrorInfo(0, info.Put()), S_OK);
    EXPECT_EQ(info->GetDescription(text.Put()), S_OK);
    EXPECT_EQ(lx::ToUtf8(text.View()), "no client is connected, so there is no server to edit");
}
