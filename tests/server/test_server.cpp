// SPDX-License-Identifier: MIT
//
// The input of the sample server: edits as text, and model files. "lxcfc verify-server" checks its answers, the
// tests of the server kit its notifications.
#include "XSampleServer.h"
#include "XServerTexts.h"
#include "lxtestrunner.h"

#include <gtest/gtest.h>

namespace {
// The second half of the edits removes what the first half adds.
TEST(ServerTexts, EveryEditCanBeGivenAsText) {
    const auto server = XSampleServer::Create(LXSmallModel());
    const auto before = LXFormatModel(server->Model());
    ULONG id = 0;
    for (const char* const edit :
         {R"({"edit":"AddType","name":"New","base":"Pump"})",
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
          R"({"edit":"AddPCInfo","parent":"New","child":"Pump","list":"nodes","browser":"Grid","new":true})",
          R"({"edit":"RemovePCInfo","parent":"New","child":"Pump","list":"nodes","browser":"Grid"})",
          R"({"edit":"RemoveRelation","parent":"New","child":"Pump","list":"nodes"})",
          R"({"edit":"RemoveGlobalSpecFormat","spec":"Mass","formatType":2})",
          R"({"edit":"RemoveGlobalSpec","spec":"Mass"})",
          R"({"edit":"RemoveBrowserId","name":"Grid"})",
          R"({"edit":"RemoveType","name":"New"})"}) {
        const auto former = LXFormatModel(server->Model());
        const XNotification sent = LXApplyEdit(server->Edit(), edit);
        EXPECT_GT(sent.id, id) << edit;
        EXPECT_NE(LXFormatModel(server->Model()), former) << edit;
        id = sent.id;
    }
    EXPECT_EQ(LXFormatModel(server->Model()), before);
}

TEST(ServerTexts, ImpossibleEditsAreRefusedWithAReason) {
    const struct {
        const char* json;
        const char* reason; // a part of it
    } table[] = {{"{", "parse"},
                 {"[]", "\"edit\""},
                 {R"({"edit":7})", "\"edit\""},
                 {R"({"edit":"Paint"})", "Paint"},
                 {R"({"edit":"AddType"})", "\"name\" is missing"},
                 {R"({"edit":"AddType","name":"A","colour":1})", "\"colour\""},
                 {R"({"edit":"AddType","name":1})", "\"name\" must be a text"},
                 {R"({"edit":"AddPage","type":"Pump","number":4294967296})", "\"number\" must be a whole number"},
                 {R"({"edit":"SetTypeProperty","type":"Pump","index":3,"value":[]})", "\"value\" must be"},
                 {R"({"edit":"SetTypeProperty","type":"Pump","index":999,"value":1})", "999"},
                 {R"({"edit":"RemoveType","name":"Unknown"})", "no such type"}};
    const auto server = XSampleServer::Create(LXSmallModel());
    const auto before = LXFormatModel(server->Model());
    for (const auto& test : table) {
        try {
            LXApplyEdit(server->Edit(), test.json);
            ADD_FAILURE() << test.json;
        } catch (const std::exception& refusal) {
            EXPECT_NE(std::string(refusal.what()).find(test.reason), std::string::npos)
                << test.json << ": " << refusal.what();
        }
    }
    EXPECT_EQ(LXFormatModel(server->Model()), before);
}

TEST(ModelFiles, SurviveARoundTripAndAreRefusedIfMalformed) {
    for (const XServerModel& model :
         {LXReadModel(LX_MODEL_FOLDER "/plant.json"), LXSmallModel(), LXGenerateModel({.types = 30})}) {
        const std::string text = LXFormatModel(model);
        EXPECT_EQ(LXFormatModel(LXParseModel(text)), text);
    }
    for (const char* const text :
         {"", "[", "[]", R"({"types": [{"name": "A", "bass": "B"}]})", R"({"types": [{"name": "A", "base": "B"}]})",
          R"({"types": [{"name": "A"}, {"name": "A"}]})", R"({"types": [{"name": ""}]})", R"({"types": [{}]})",
          R"({"types": [{"name": "A", "p28": 1}]})", R"({"types": [{"name": "A", "label": []}]})",
          R"({"types": [{"name": "A", "attributes": [{"name": "X"}, {"name": "X"}]}]})",
          R"({"relations": [{"parent": "A", "child": "B", "list": "nodes"}]})",
          R"({"objects": [{"id": "a", "children": {"nodes": ["b"]}}]})"}) {
        EXPECT_THROW(LXParseModel(text), std::invalid_argument) << text;
    }
    EXPECT_THROW(LXReadModel(LX_MODEL_FOLDER "/missing.json"), std::invalid_argument);
}
} // namespace
