// SPDX-License-Identifier: MIT
//
// Edits of the model, their notifications, and the receivers of these.
#include "servertest.h"

#include "XCfgCacheCallback.h"
#include "XRandomEdits.h"

namespace {
class ServerEdits : public testing::Test {
protected:
    ServerEdits() { client_id = LXRegister(*server, client); }
    ~ServerEdits() override { server->DataUpdate()->UnregisterCallback(client_id); }

    std::shared_ptr<XSampleServer> server = XSampleServer::Create(LXSmallModel());
    XRecordingClient client;
    LONG client_id = 0;
};

using XEdit = XNotification (*)(XServerEdits);

struct XEditCase {
    const char* dataId;
    XEdit edit;
};

const XEditCase editCases[] = {
    {"objects/Valve/0/2", [](XServerEdits e) { return e.AddType("Valve", "Equipment"); }},
    {"objects/Hidden/0/2", [](XServerEdits e) { return e.RemoveType("Hidden"); }},
    {"objects/Hidden/0/2", [](XServerEdits e) { return e.SetTypeListed("Hidden", true); }},
    {"objects/Vessel/0/2", [](XServerEdits e) { return e.SetTypeProperty("Vessel", XProperty::BaseTypeName, ""); }},
    {"properties/Pump/1/2", [](XServerEdits e) { return e.SetTypeProperty("Pump", XProperty::TypeLabel, "P"); }},
    {"objects/Pump/0/512", [](XServerEdits e) { return e.AddAttribute("Pump", "Colour", 2); }},
    {"objects/Pump/0/512", [](XServerEdits e) { return e.RemoveAttribute("Pump", "Serial"); }},
    {"properties/Pump/17/512",
     [](XServerEdits e) { return e.SetAttributeProperty("Pump", "Power", XProperty::AttributeGroup, 1); }},
    {"objects/Pump/0/1024", [](XServerEdits e) { return e.AddAttributeType("Pump", "Power", "PS"); }},
    {"objects/Pump/0/1024", [](XServerEdits e) { return e.RemoveAttributeType("Pump", "Power", "hp"); }},
    {"properties/Pump/0/1024",
     [](XServerEdits e) { return e.SetAttributeTypeProperty("Pump", "Power", "kW", 0, "k"); }},
    {"objects/Pump/7/64", [](XServerEdits e) { return e.AddGroup("Pump", 7, 1); }},
    {"objects/Pump/2/64", [](XServerEdits e) { return e.RemoveGroup("Pump", 2); }},
    {"properties/Pump/2/64", [](XServerEdits e) { return e.SetGroupProperty("Pump", 2, XProperty::GroupPage, 2); }},
    {"objects/Pump/5/32", [](XServerEdits e) { return e.AddPage("Pump", 5); }},
    {"objects/Pump/2/32", [](XServerEdits e) { return e.RemovePage("Pump", 2); }},
    {"properties/Pump/1/32", [](XServerEdits e) { return e.SetPageProperty("Pump", 1, XProperty::PageLabel, "x"); }},
    {"objects/Pump/0/128", [](XServerEdits e) { return e.AddEditor("Pump", "Pump.New", "List"); }},
    {"objects/Pump/0/128", [](XServerEdits e) { return e.RemoveEditor("Pump", "Pump.Sheet"); }},
    {"properties/Pump/1/128",
     [](XServerEdits e) { return e.SetEditorProperty("Pump", "Pump.Sheet", XProperty::DefaultEditor, false); }},
    {"objects/Pump/3/2048", [](XServerEdits e) { return e.AddAttributeFormat("Pump", "Power", 3); }},
    {"objects/Equipment/1/2048", [](XServerEdits e) { return e.RemoveAttributeFormat("Equipment", "Weight", 1); }},
    {"properties/Equipment/1/2048",
     [](XServerEdits e) { return e.SetAttributeFormatProperty("Equipment", "Weight", 1, XProperty::Label, "0"); }},
    {"objects/Pump/1/4096", [](XServerEdits e) { return e.AddGroupFormat("Pump", 1); }},
    {"objects/Pump/3/4096", [](XServerEdits e) { return e.RemoveGroupFormat("Pump", 3); }},
    {"properties/Pump/3/4096",
     [](XServerEdits e) { return e.SetGroupFormatProperty("Pump", 3, XProperty::Label, "0"); }},
    {"objects/Mass/0/256", [](XServerEdits e) { return e.AddGlobalSpec("Mass"); }},
    {"objects/Length/0/256", [](XServerEdits e) { return e.RemoveGlobalSpec("Length"); }},
    {"properties/Length/2/256",
     [](XServerEdits e) { return e.SetGlobalSpecProperty("Length", XProperty::Label, "L"); }},
    {"objects/Length/4/256", [](XServerEdits e) { return e.AddGlobalSpecFormat("Length", 4); }},
    {"objects/Length/0/256", [](XServerEdits e) { return e.RemoveGlobalSpecFormat("Length", 0); }},
    {"properties/Length/0/256",
     [](XServerEdits e) { return e.SetGlobalSpecFormatProperty("Length", 0, XProperty::Label, "0"); }},
    {"objects/Map/0/8", [](XServerEdits e) { return e.AddBrowserId("Map"); }},
    {"objects/List/0/8", [](XServerEdits e) { return e.RemoveBrowserId("List"); }},
    {"properties/List/1/8", [](XServerEdits e) { return e.SetBrowserIdProperty("List", 1, "A list"); }},
    {"pc/Vessel/0/4", [](XServerEdits e) { return e.AddRelation("Vessel", "Document", "documents"); }},
    {"pc/Pump/0/4", [](XServerEdits e) { return e.RemoveRelation("Pump", "Vessel", "feeds"); }},
    {"pc/Pump/0/4", [](XServerEdits e) { return e.SetRelationProperty("Pump", "Vessel", "feeds", 20, 3); }},
    {"pc/Pump/0/4", [](XServerEdits e) { return e.AddPCInfo("Pump", "Vessel", "feeds", "Tree", true); }},
    {"pc/Object/0/4", [](XServerEdits e) { return e.RemovePCInfo("Object", "Equipment", "nodes", "List"); }},
    {"pc/Object/0/4", [](XServerEdits e) { return e.SetPCInfoProperty("Object", "Equipment", "nodes", "Tree", 6, 1); }},
};
} // namespace

TEST(ServerEditTable, EachEditChangesTheModelAndSendsItsDataId) {
    for (const XEditCase& edit : editCases) {
        const auto server = XSampleServer::Create(LXSmallModel());
        XRecordingClient client;
        const LONG id = LXRegister(*server, client);
        const std::string before = LXFormatModel(server->Model());
        const XNotification sent = edit.edit(server->Edit());
        EXPECT_EQ(client.Take(), std::vector<std::string>{edit.dataId});
        EXPECT_NE(LXFormatModel(server->Model()), before) << edit.dataId;
        EXPECT_EQ(sent.id, 1u);
        EXPECT_EQ(sent.clients, 1);
        EXPECT_EQ(client.type, 256u);
        EXPECT_THROW((void)server->Edit().SetTypeProperty("NoSuchType", 1, "x"), std::invalid_argument);
        EXPECT_TRUE(client.Take().empty());
        EXPECT_EQ(server->DataUpdate()->UnregisterCallback(id), S_OK);
    }
}

TEST_F(ServerEdits, SearchableIsToldTwice) {
    server->Edit().SetTypeProperty("Pump", XProperty::Searchable, false);
    EXPECT_EQ(client.Take(), (std::vector<std::string>{"properties/Pump/14/2", "searchable/Pump/14/2"}));
    EXPECT_EQ(client.ids, (std::vector<ULONG>{1, 2}));
}

TEST_F(ServerEdits, RefusedEditsChangeAndSendNothing) {
    const std::string before = LXFormatModel(server->Model());
    const auto edit = server->Edit();
    auto edits = edit;
    EXPECT_THROW(edits.AddType("Pump"), std::invalid_argument);
    EXPECT_THROW(edits.AddAttribute("Pump", "Power"), std::invalid_argument);
    EXPECT_THROW(edits.RemoveAttribute("CentrifugalPump", "Power"), std::invalid_argument); // an attribute of its base
    EXPECT_THROW(edits.SetAttributeProperty("Pump", "Power", 60, 1), std::out_of_range);
    EXPECT_THROW(edits.SetAttributeProperty("Pump", "Power", XProperty::AttributeName, "P"), std::invalid_argument);
    EXPECT_THROW(edits.RemovePCInfo("Pump", "Vessel", "feeds", "Tree"), std::invalid_argument);
    EXPECT_THROW(edits.AddRelation("Pump", "Vessel", "feeds"), std::invalid_argument);
    EXPECT_EQ(LXFormatModel(server->Model()), before);
    EXPECT_TRUE(client.Take().empty());
}

TEST_F(ServerEdits, OnlyWhoAskedIsTold) {
    XRecordingClient other;
    const LONG otherId = LXRegister(*server, other, "cfc");
    EXPECT_EQ(server->Clients().size(), 2u);
    server->Edit().AddType("A");
    server->Edit().AddType("B", "", XNotify::No);
    server->SendNotification("general", "cfc", 77);
    EXPECT_EQ(client.Take(), std::vector<std::string>{"objects/A/0/2"});
    EXPECT_EQ(other.Take(), std::vector<std::string>{"general"});
    EXPECT_EQ(other.ids, std::vector<ULONG>{77});
    EXPECT_TRUE(LXTypeOf(*server, "B"));

    const auto update = server->DataUpdate();
    const XLXComBSTR specific(OLESTR("cfc_specific"));
    const XLXComBSTR dataId(OLESTR("pc/Pump/0/4"));
    EXPECT_EQ(update->EnableAdvicesDataType(otherId, specific.Get(), 1, 256), S_OK);
    EXPECT_EQ(update->DataObjectChanged(otherId, dataId.Get(), specific.Get(), 256, 0, nullptr), S_OK);
    EXPECT_EQ(client.Take().size(), 1u); // a client is not notified of its own change
    EXPECT_TRUE(other.Take().empty());
    EXPECT_EQ(update->EnableAdvicesDataType(otherId, specific.Get(), 0, 256), S_OK);
    EXPECT_EQ(update->IsNotificationRegisteredByClient(otherId, nullptr, specific.Get(), 256), S_FALSE);
    server->AnnounceTermination();
    EXPECT_TRUE(other.terminating);
    EXPECT_EQ(update->UnregisterCallback(otherId), S_OK);
    EXPECT_EQ(update->UnregisterCallback(otherId), E_INVALIDARG);
    EXPECT_EQ(other.references, 0u);
    EXPECT_EQ(update->EnableAdvicesDataType(otherId, specific.Get(), 1, 256), E_INVALIDARG);
}

TEST_F(ServerEdits, TheNotifierThreadSendsInOrder) {
    for (int i = 0; i < 20; ++i) {
        server->Edit().AddType(std::to_string(i), "", XNotify::OnThread);
    }
    server->FlushNotifications();
    EXPECT_EQ(client.Take().size(), 20u);
    EXPECT_TRUE(std::is_sorted(client.ids.begin(), client.ids.end()));
    EXPECT_EQ(server->LastNotificationId(), 20u);
}

TEST_F(ServerEdits, AnswersOfClientsAreReportedAndDeadOnesForgotten) {
    client.answer = E_FAIL;
    EXPECT_EQ(server->SendNotification("a").result, E_FAIL);
    client.answer = static_cast<HRESULT>(0x800706BA);
    server->SendNotification("b");
    EXPECT_TRUE(server->Clients().empty());
    EXPECT_EQ(server->SendNotification("c").clients, 0);
}

TEST_F(ServerEdits, HoldersOfRemovedObjectsMayGoOn) {
    const auto serial = LXAttributeOf(*server, "Pump", "Serial");
    const auto pump = LXTypeOf(*server, "Pump");
    server->Edit().RemoveAttribute("Pump", "Serial");
    server->Edit().RemoveType("Pump");
    EXPECT_EQ(LXTextOf(serial, 0), "Serial");
    EXPECT_EQ(LXTextOf(pump, 0), "Pump");
    EXPECT_FALSE(LXTypeOf(*server, "Pump"));
}

TEST(ServerCallback, TheSeparateCallbackObjectPassesCallsOn) {
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
    {
        const XCfgCacheCallbackRegistration registration;
        XLXComPtr<IXCfgCacheCallback> callback;
        ASSERT_EQ(CoCreateInstance(CLSID_XCfgCacheCallback, nullptr, CLSCTX_ALL, LXIid<IXCfgCacheCallback>(),
                                   callback.PutVoid()),
                  S_OK);
        const auto update = callback.As<ILXCallbackUpdate>();
        EXPECT_EQ(update->CheckCallbackValid(), E_POINTER); // no target callback
        XRecordingClient client;
        EXPECT_EQ(callback->Initialize(&client), S_OK);
        const auto server = XSampleServer::Create(LXSmallModel());
        const LONG id = LXRegister(*server, *update.Get());
        server->Edit().AddPage("Vessel", 1);
        EXPECT_EQ(client.Take(), std::vector<std::string>{"objects/Vessel/1/32"});
        EXPECT_EQ(server->DataUpdate()->UnregisterCallback(id), S_OK);
        EXPECT_EQ(callback->Initialize(nullptr), S_OK);
        EXPECT_EQ(client.references, 0u);
    }
    XLXComPtr<IUnknown> other; // from a registered module, if any
    CoCreateInstance(CLSID_XCfgCacheCallback, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, other.PutVoid());
    EXPECT_EQ(XCfgCacheCallback::Alive(), 0);
    other.Reset();
    CoUninitialize();
}

// Makes edits of every kind (at most 40); the model can then be written and read again.
TEST(RandomEdits, AreOfEveryKindAndTheSameForTheSameSeed) {
    XGeneratorOptions options;
    options.types = 40;
    options.attributesPerType = 8;
    const auto run = [&](unsigned seed, std::map<std::string, unsigned>& made) {
        const auto server = XSampleServer::Create(LXGenerateModel(options));
        XRecordingClient client;
        const LONG id = LXRegister(*server, client);
        made = LXRandomEdits(*server, seed, 2000);
        EXPECT_GE(client.Take().size(), 2000u); // an edit of "searchable" sends two
        server->DataUpdate()->UnregisterCallback(id);
        return LXFormatModel(server->Model());
    };
    std::map<std::string, unsigned> made;
    std::map<std::string, unsigned> other;
    const std::string first = run(7, made);
    EXPECT_EQ(first, run(7, other));
    EXPECT_EQ(made, other);
    EXPECT_NE(first, run(8, other));
    EXPECT_EQ(made.size(), 37u);
    EXPECT_EQ(LXFormatModel(LXParseModel(first)), first);
}
