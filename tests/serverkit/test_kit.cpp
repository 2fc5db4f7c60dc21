// SPDX-License-Identifier: MIT
//
// The kit's implementation of a model, read directly and through the cache.
#include "kitfixture.h"

#include "minimal_server.h"

extern "C" HRESULT LXConnectServer(REFIID iid, void** object); // of minimal_server.cpp
extern "C" HRESULT LXEditServer(LONG number);

namespace {
/// A model with all kinds of elements, values of all types, and an attribute that two types define.
lx::Model EverythingModel() {
    lx::Model model;
    lx::TypeRecord& part = model.AddType(OLESTR("Part"));
    part.Set(1, OLESTR("Part")).Set(lx::Searchable, false);
    part.AddPage(1).Set(0, OLESTR("General"));
    part.AddPage(2);
    part.AddGroup(1).Set(lx::GroupPage, 1);
    part.AddGroup(2).Set(lx::ParentGroup, 1);
    part.groups[2].format.emplace().Set(2, OLESTR("two columns"));
    lx::AttributeRecord& weight = part.AddAttribute(OLESTR("Weight"));
    weight.Set(2, OLESTR("Weight")).Set(4, OLESTR("kg")).Set(13, 0.5).Set(lx::ShowInEditor, true);
    weight.AddType(OLESTR("net")).Set(0, OLESTR("Net weight"));
    weight.AddFormat(0).Set(2, OLESTR("0.0"));
    weight.AddFormat(2).Set(10, 12);
    lx::TypeRecord& pump = model.AddType(OLESTR("Pump"), OLESTR("Part"));
    pump.AddAttribute(OLESTR("Weight")).Set(4, OLESTR("t")); // the base type's attribute takes precedence
    pump.AddAttribute(OLESTR("RatedFlow")).Set(4, OLESTR("m3/h")).Set(lx::AttributeGroup, 2);
    pump.AddEditor(OLESTR("Pump.Editor")).Set(lx::EditorBrowserId, OLESTR("Tree"));
    model.AddType(OLESTR("Hidden"), OLESTR("NoSuchBase")).listed = false;
    model.AddBrowserId(OLESTR("Tree")).Set(1, OLESTR("Project tree"));
    model.AddRelation(OLESTR("Part"), OLESTR("Pump"), OLESTR("parts")).AddInfo(OLESTR("Tree")).Set(6, 1);
    model.AddRelation(OLESTR("Part"), OLESTR("Part"), OLESTR("parts")).Set(lx::PPRRelationType, 2);
    model.AddSpec(OLESTR("Format.kg")).AddFormat(0).Set(2, OLESTR("0.000"));
    return model;
}

/// The names of the records in a type array; empty if there is no array.
std::vector<std::string> RecordsOf(HRESULT result, SAFEARRAY*& types) {
    std::vector<std::string> names;
    EXPECT_EQ(result, types != nullptr ? S_OK : S_FALSE);
    VARIANT* values = nullptr;
    if (types == nullptr || FAILED(SafeArrayAccessData(types, reinterpret_cast<void**>(&values)))) { return names; }
    std::map<ULONG, std::string> byIndex;
    const ULONG count = V_UI4(&values[2]);
    for (ULONG i = 0; i < count; ++i) {
        for (const OLECHAR c : lx::ViewOf(V_BSTR(&values[4 + 2 * i]))) {
            byIndex[V_UI4(&values[5 + 2 * i])] += static_cast<char>(c);
        }
    }
    names.push_back(std::to_string(count) + " names, " + std::to_string(V_UI4(&values[3])) + " records");
    names.push_back("first " + byIndex[V_UI4(&values[4 + 2 * count])]);
    SafeArrayUnaccessData(types);
    SafeArrayDestroy(types);
    return names;
}

SAFEARRAY* NamesOf(std::initializer_list<const OLECHAR*> names) {
    SAFEARRAY* const array = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(names.size()));
    LONG i = 0;
    for (const OLECHAR* const name : names) {
        SafeArrayPutElement(array, &i, Name(name));
        ++i;
    }
    return array;
}
} // namespace

TEST(Kit, TheCacheShowsWhatTheServerHas) {
    const auto server = std::make_shared<lx::ModelServer>(EverythingModel());
    const std::string expected = Dump(*lx::Connect(server));
    for (const char* const part :
         {"attribute 0='Weight'", "4='kg'", "13=0.5r", "format 2", "attribute type 0='Net", "editor 0='Tree'",
          "info 1='Tree'", "spec 0='Format.kg'", "14=false", "two columns"}) {
        EXPECT_NE(expected.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(expected.find("4='t'"), std::string::npos) << "the attribute of the base wins";
    EXPECT_EQ(expected.find("Hidden"), std::string::npos);
    for (const bool withObjects : {true, false}) {
        for (const LONG mode : {1, 15}) {
            server->DeliverComponentObjects(withObjects);
            const KitCache cache(server, mode);
            EXPECT_EQ(Difference(Dump(cache.Factory()), expected), "")
                << "mode " << mode << ", objects " << withObjects;
        }
    }
}

TEST(Kit, NamedTypesComeInBulk) {
    const auto connection = lx::Connect(std::make_shared<lx::ModelServer>(EverythingModel()));
    using Names = std::vector<std::string>;
    SAFEARRAY* types = nullptr;
    EXPECT_EQ(RecordsOf(connection->GetTypeArrayEx(0, &types), types), (Names{"3 names, 3 records", "first Hidden"}));
    EXPECT_EQ(RecordsOf(connection->GetTypeArrayByTypeNameEx(Name(OLESTR("Pump")), 0, 0, &types), types),
              (Names{"2 names, 1 records", "first Pump"}));
    SAFEARRAY* const names = NamesOf({OLESTR("Pump"), OLESTR("NoSuchType"), OLESTR("Pump")});
    EXPECT_EQ(RecordsOf(connection->GetTypeArrayByTypeNameArrayEx(names, 1, 0, &types), types),
              (Names{"2 names, 2 records", "first Part"}));
    SAFEARRAY* const unknown = NamesOf({OLESTR("NoSuchType")});
    EXPECT_EQ(RecordsOf(connection->GetTypeArrayByTypeNameArrayEx(unknown, 1, 15, &types), types), Names());
    SAFEARRAY* const noNames = SafeArrayCreateVector(VT_I4, 0, 1);
    EXPECT_EQ(connection->GetTypeArrayByTypeNameArrayEx(noNames, 1, 15, &types), E_INVALIDARG);
    EXPECT_EQ(connection->GetTypeArrayEx(15, nullptr), E_POINTER);
    for (SAFEARRAY* const array : {names, unknown, noNames}) {
        SafeArrayDestroy(array);
    }
}

// Many clients that start at the same time share one array. An array of an older state is not delivered.
TEST(Kit, AnArrayIsBuiltOnceForAState) {
    lx::BulkStore<int, int> store;
    std::atomic<int> built{0};
    std::atomic<int> state{1};
    const auto ask = [&](int now) {
        SAFEARRAY* const copy = store.CopyOf(7, now, [&] {
            ++built;
            const int its = state;
            std::this_thread::sleep_for(50ms);
            SAFEARRAY* const array = SafeArrayCreateVector(VT_I4, 0, 1);
            LONG index = 0;
            int value = its;
            SafeArrayPutElement(array, &index, &value);
            return std::pair(its, array);
        });
        LONG index = 0;
        int value = 0;
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

TEST(Kit, HeldObjectsShowEditsAndOutliveTheirElements) {
    const auto server = std::make_shared<lx::ModelServer>(EverythingModel());
    const KitCache cache(server);
    const auto ofServer = AttributeOf(*lx::Connect(server), OLESTR("Pump"), OLESTR("RatedFlow"));
    const auto ofCache = AttributeOf(cache.Factory(), OLESTR("Pump"), OLESTR("RatedFlow"));
    EXPECT_EQ(ValueOf(*ofCache, 4), "'m3/h'");
    VARIANT unit = {};
    V_VT(&unit) = VT_BSTR;
    V_BSTR(&unit) = SysAllocString(OLESTR("l/s"));
    EXPECT_EQ(ofServer->SetProperty(4, unit), S_OK);
    EXPECT_EQ(ofServer->SetProperty(lx::AttributeName, unit), E_INVALIDARG) << "it is found by that";
    EXPECT_EQ(ofServer->SetProperty(60, unit), E_INVALIDARG);
    VariantClear(&unit);
    EXPECT_EQ(ValueOf(*ofServer, 4), "'l/s'");
    EXPECT_EQ(ValueOf(*ofCache, 4), "'l/s'");
    server->Edit([](lx::Model& model) {
        model.types[OLESTR("Pump")].attributes.erase(OLESTR("RatedFlow"));
        return std::vector{lx::SetChanged(lx::Key::OfAttribute(OLESTR("Pump"), OLESTR("RatedFlow")))};
    });
    EXPECT_EQ(ValueOf(*ofServer, 4), "'m3/h'") << "the value when it was handed out";
    EXPECT_FALSE(AttributeOf(cache.Factory(), OLESTR("Pump"), OLESTR("RatedFlow")));
}

TEST(Kit, TheMinimalServerOffersWhatTheGuideLists) {
    ILXConfigFactory* factory = nullptr;
    ILXDataUpdate* update = nullptr;
    ASSERT_EQ(CreateMinimalServer(&factory, &update), S_OK);
    {
        const KitCache cache(factory, nullptr, update);
        EXPECT_EQ(Difference(Dump(cache.Factory()), Dump(*factory)), "");
        BSTR names[] = {SysAllocString(OLESTR("Pump"))};
        EXPECT_EQ(cache.Cache().LoadTypesByTypeNames(1, names, 1), S_OK);
        SysFreeString(names[0]);
    }
    factory->Release();
    update->Release();
}

TEST(Kit, AnEditOfALibraryNeedsAClientThatSeesIt) {
    lxcfc::Ptr<IErrorInfo> info;
    lxcfc::Bstr text;
    EXPECT_EQ(LXEditServer(1), E_FAIL);
    ASSERT_EQ(GetErrorInfo(0, info.Put()), S_OK);
    EXPECT_EQ(info->GetDescription(text.Put()), S_OK);
    EXPECT_EQ(lx::ToUtf8(text.View()), "no client is connected, so there is no server to edit");

    lxcfc::Ptr<ILXConfigFactory> factory;
    ASSERT_EQ(LXConnectServer(__uuidof(ILXConfigFactory), reinterpret_cast<void**>(factory.Put())), S_OK);
    EXPECT_EQ(LXEditServer(1), S_OK);
    EXPECT_EQ(ValueOf(*AttributeOf(*factory.Get(), OLESTR("Pump"), OLESTR("RatedFlow")), lx::Unit), "'l/s'");
}
