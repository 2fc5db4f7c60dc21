// SPDX-License-Identifier: MIT
//
// Clients in other processes, each called on its own thread; and the JSON texts that are exchanged.
#include "XServerTexts.h"
#include "servertest.h"

namespace {
using namespace std::chrono_literals;

class ServerClients : public testing::Test {
protected:
    ServerClients() { server->CallEachClientOnItsOwnThread(20s); }

    /// Destroys the server, which releases all callbacks.
    void End() {
        server.reset();
        for (const XRecordingClient* const client : {&quick, &other}) {
            EXPECT_EQ(client->references, 0u);
        }
    }

    XRecordingClient quick;
    XRecordingClient other;
    std::shared_ptr<XSampleServer> server = XSampleServer::Create(LXSmallModel());
};

class GoneClients : public ServerClients, public testing::WithParamInterface<ULONG> {};
} // namespace

INSTANTIATE_TEST_SUITE_P(Answers, GoneClients,
                         testing::Values(0x800706BA, 0x800706BE, 0x800706BF, 0x80010108, 0x80010007, 0x80010012,
                                         0x80010114, 0x800401FD));

TEST_P(GoneClients, AreForgottenByANotificationAndByACheck) {
    LXRegister(*server, quick);
    LXRegister(*server, other);
    EXPECT_EQ(server->SendNotification("a", "cfc_specific", 0, XNotify::OnThread).clients,
              0); // not known yet
    server->FlushNotifications();
    other.answer = static_cast<HRESULT>(GetParam());
    EXPECT_EQ(server->SendNotification("b").result, other.answer);
    ASSERT_EQ(server->Clients().size(), 1u);
    EXPECT_EQ(server->SendNotification("c").clients, 1);
    EXPECT_EQ(other.Take().size(), 2u);

    quick.answer = static_cast<HRESULT>(GetParam());
    server->CheckClients();
    server->FlushNotifications();
    EXPECT_TRUE(server->Clients().empty());
    EXPECT_EQ(quick.Take().size(), 3u);
    End();
}

TEST_F(ServerClients, OtherFailuresForgetNobody) {
    LXRegister(*server, other);
    for (const HRESULT answer : {E_FAIL, E_POINTER, E_OUTOFMEMORY, S_FALSE}) {
        other.answer = answer;
        EXPECT_EQ(server->SendNotification("a").result, answer);
    }
    server->CheckClients();
    server->FlushNotifications();
    EXPECT_EQ(server->Clients().size(), 1u);
    End();
}

TEST_F(ServerClients, ASlowOneGetsAllInOrderAndHoldsUpNobody) {
    constexpr ULONG Count = 5;
    other.slowness = 600ms;
    LXRegister(*server, quick);
    LXRegister(*server, other);
    EXPECT_EQ(server->SendNotification("0").clients, 2); // waited for this time
    const auto start = std::chrono::steady_clock::now();
    for (ULONG i = 1; i < Count; ++i) {
        EXPECT_EQ(server->SendNotification(std::to_string(i)).clients, 1);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, (Count - 1) * other.slowness / 2);
    EXPECT_EQ(quick.Take().size(), Count);
    server->FlushNotifications();
    EXPECT_EQ(other.Take(), (std::vector<std::string>{"0", "1", "2", "3", "4"}));
    End();
}

TEST_F(ServerClients, OneThatHangsIsNotWaitedForLongerThanTold) {
    server->CallEachClientOnItsOwnThread(100ms);
    other.slowness = 1500ms;
    LXRegister(*server, quick);
    const LONG id = LXRegister(*server, other);
    EXPECT_EQ(server->SendNotification("a").clients, 1);
    EXPECT_EQ(server->SendNotification("b").clients, 1);
    EXPECT_EQ(server->DataUpdate()->UnregisterCallback(id), S_OK); // while it is being called
    EXPECT_TRUE(other.Take().empty());
    End(); // waits for that call and makes no others
    EXPECT_EQ(other.Take(), std::vector<std::string>{"a"});
    EXPECT_EQ(quick.Take(), (std::vector<std::string>{"a", "b"}));
}

TEST_F(ServerClients, AreToldOfTheEnd) {
    LXRegister(*server, quick);
    LXRegister(*server, other);
    server->AnnounceTermination();
    EXPECT_TRUE(quick.terminating && other.terminating);
    End();
}

TEST(ServerTexts, EveryEditCanBeSaidAsText) {
    const auto server = XSampleServer::Create(LXSmallModel());
    const auto before = LXFormatModel(server->Model());
    const char* const edits[] = {
        R"({"edit":"AddType","name":"New","base":"Pump"})",
        R"({"edit":"SetTypeListed","type":"New","listed":false})",
        R"({"edit":"SetTypeProperty","type":"New","index":14,"value":false})",
        R"({"edit":"AddPage","type":"New","number":7})",
        R"({"edit":"AddGroup","type":"New","number":8,"page":7,"parentGroup":1})",
        R"({"edit":"AddGroupFormat","type":"New","number":8})",
        R"({"edit":"AddAttribute","type":"New","name":"A","group":8})",
        R"({"edit":"SetAttributeProperty","type":"New","name":"A","index":2,"value":"a label"})",
        R"({"edit":"AddAttributeType","type":"New","attribute":"A","name":"kg"})",
        R"({"edit":"AddAttributeFormat","type":"New","attribute":"A","formatType":3})",
        R"({"edit":"AddEditor","type":"New","progId":"E","browser":"Tree","default":true,"defaultNew":true})",
        R"({"edit":"AddBrowserId","name":"Grid"})",
        R"({"edit":"AddGlobalSpec","spec":"Mass"})",
        R"({"edit":"AddGlobalSpecFormat","spec":"Mass","formatType":2})",
        R"({"edit":"AddRelation","parent":"New","child":"Pump","list":"nodes","ppr":1,"internal":true})",
        R"({"edit":"AddPCInfo","parent":"New","child":"Pump","list":"nodes","browser":"Grid","new":true})"};
    ULONG id = 0;
    for (const char* const edit : edits) {
        const XNotification sent = LXApplyEdit(server->Edit(), edit);
        EXPECT_GT(sent.id, id) << edit;
        id = sent.id;
    }
    const XServerModel model = server->Model();
    const auto& added = **model.FindType(OLESTR("New"));
    EXPECT_EQ(LXToUtf8(added.Base()), "Pump");
    EXPECT_FALSE(added.listed || added.Value(XProperty::Searchable).AsBool());
    const auto& group = **added.FindGroup(8);
    EXPECT_EQ(group.Number(XProperty::GroupPage), 7);
    EXPECT_EQ(group.formats.size(), 1u);
    const auto& attribute = **added.FindAttribute(OLESTR("A"));
    EXPECT_EQ(LXToUtf8(attribute.Text(XProperty::Label)), "a label");
    EXPECT_TRUE(attribute.formats.contains(3) && attribute.types.size() == 1);
    EXPECT_TRUE(added.FindEditor(OLESTR("E")) != nullptr && added.FindPage(7) != nullptr);
    const auto* const relation = model.FindRelation(OLESTR("New"), OLESTR("Pump"), OLESTR("nodes"));
    ASSERT_NE(relation, nullptr);
    EXPECT_EQ((*relation)->infos.size(), 1u);

    const char* const backwards[] = {
        R"({"edit":"RemovePCInfo","parent":"New","child":"Pump","list":"nodes","browser":"Grid"})",
        R"({"edit":"RemoveRelation","parent":"New","child":"Pump","list":"nodes"})",
        R"({"edit":"RemoveGlobalSpecFormat","spec":"Mass","formatType":2})",
        R"({"edit":"RemoveGlobalSpec","spec":"Mass"})",
        R"({"edit":"RemoveBrowserId","name":"Grid"})",
        R"({"edit":"RemoveType","name":"New"})"};
    for (const char* const edit : backwards) {
        LXApplyEdit(server->Edit(), edit);
    }
    EXPECT_EQ(LXFormatModel(server->Model()), before);
}

TEST(ServerTexts, WhatWasSaidIsUnderstood) {
    const XNotification sent = LXParseNotification(LXFormatNotification({7, 2, E_FAIL}));
    EXPECT_TRUE(sent.id == 7 && sent.clients == 2 && sent.result == E_FAIL);
    EXPECT_THROW(LXParseNotification(LXFormatRefusal("why")), std::invalid_argument);
    EXPECT_THROW(LXParseNotification("{}"), std::invalid_argument);

    XRecordingClient client; // the server holds it until its own end
    const auto server = XSampleServer::Create(LXSmallModel());
    const auto type = LXTypeOf(*server, "Pump");
    const LONG id = LXRegister(*server, client);
    EXPECT_EQ(LXParseCounts(LXFormatCounts(server->Calls().Counts())).byName, server->Calls().Counts().byName);
    const XServerStatus status = LXParseStatus(LXFormatStatus(*server));
    EXPECT_EQ(status.process, GetCurrentProcessId());
    ASSERT_EQ(status.clients.size(), 1u);
    EXPECT_TRUE(status.clients[0].id == id && status.clients[0].computer == "machine" &&
                status.clients[0].process == 7);
    EXPECT_EQ(status.live.objects, 1);
    EXPECT_EQ(status.live.references, 1);
}
