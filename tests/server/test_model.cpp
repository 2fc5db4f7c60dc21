// SPDX-License-Identifier: MIT
//
// Model files, the shipped model, generated models.
#include "servertest.h"

#include "XCfgCacheCallback.h"
#include "lxtestrunner.h"

#include <set>

namespace {
const LXLiveCounter serverObjects("objects of the sample server",
                                  [] { return XSampleServer::LiveObjectsOfAllServers(); });
const LXLiveCounter callbacks("separate callback objects",
                              [] { return static_cast<long>(XCfgCacheCallback::Alive()); });

const std::string PlantFile = LX_MODEL_FOLDER "/plant.json";

size_t OwnAttributes(const XServerModel& model) {
    size_t count = 0;
    for (const auto& [name, type] : model.types) {
        count += type->attributes.size();
    }
    return count;
}

size_t Depth(const XServerModel& model) {
    size_t depth = 0;
    for (const auto& [name, type] : model.types) {
        depth = std::max(depth, model.BaseChain(name).size());
    }
    return depth;
}
} // namespace

TEST(Model, ShippedPlantIsAsLargeAsPromised) {
    const XServerModel plant = LXReadModel(PlantFile);
    EXPECT_GE(plant.types.size(), 60u);
    EXPECT_GE(OwnAttributes(plant), 1500u);
    EXPECT_EQ(Depth(plant), 5u);
    EXPECT_GE(plant.browserIds.size(), 4u);
    EXPECT_GE(plant.relations.size(), 80u);
    EXPECT_FALSE(plant.specs.empty());
    size_t withInfos = 0;
    size_t ppr = 0;
    for (const auto& relation : plant.relations) {
        withInfos += relation->infos.empty() ? 0 : 1;
        ppr += relation->Number(XProperty::PPRRelationType) != 0 ? 1 : 0;
    }
    EXPECT_GE(withInfos, 80u);
    EXPECT_GE(ppr, 10u);
}

TEST(Model, ShippedPlantKeepsTheRulesOfAServer) {
    const XServerModel plant = LXReadModel(PlantFile);
    std::set<XLXText> overridden;
    for (const auto& [name, type] : plant.types) {
        std::set<XLXText> progIds;
        std::set<std::int32_t> numbers;
        for (const auto& editor : type->editors) {
            EXPECT_TRUE(progIds.insert(editor->Text(XProperty::ProgId)).second) << LXToUtf8(name);
        }
        for (const auto& group : type->groups) {
            const std::int32_t parent = group->Number(XProperty::ParentGroup);
            EXPECT_TRUE(numbers.insert(group->Number(XProperty::GroupNumber)).second) << LXToUtf8(name);
            EXPECT_TRUE(parent == 0 || type->FindGroup(parent) != nullptr) << LXToUtf8(name);
            EXPECT_NE(type->FindPage(group->Number(XProperty::GroupPage)), nullptr) << LXToUtf8(name);
        }
        for (const auto& attribute : type->attributes) {
            const XLXText& text = attribute->Text(XProperty::AttributeName);
            for (const XModelType* base : plant.BaseChain(type->Base())) {
                if (base->FindAttribute(text) != nullptr) { overridden.insert(text); }
            }
        }
    }
    EXPECT_EQ(overridden, std::set<XLXText>{OLESTR("DesignCode")}); // shows which definition wins
}

TEST(Model, FileSurvivesReadingAndWriting) {
    for (const XServerModel& model : {LXReadModel(PlantFile), LXSmallModel(), LXGenerateModel({.types = 30})}) {
        const std::string text = LXFormatModel(model);
        const XServerModel again = LXParseModel(text);
        EXPECT_EQ(LXFormatModel(again), text);
        EXPECT_EQ(OwnAttributes(again), OwnAttributes(model));
        EXPECT_EQ(again.objects.size(), model.objects.size());
    }
}

TEST(Model, BadFilesAreRefused) {
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

TEST(Model, ACopySharesNothing) {
    const XServerModel original = LXSmallModel();
    XServerModel copy = original;
    (*copy.FindType(OLESTR("Pump")))->FindAttribute(OLESTR("Power"))->Share()->properties.Set(XProperty::Label, "new");
    (*copy.FindType(OLESTR("Pump")))->AddPage(9);
    EXPECT_EQ((*original.FindType(OLESTR("Pump")))->FindPage(9), nullptr);
    EXPECT_EQ((*(*original.FindType(OLESTR("Pump")))->FindAttribute(OLESTR("Power")))->Text(XProperty::Label),
              XLXText());
}

TEST(Model, GeneratedModelsHaveTheAskedSizeAndAreRepeatable) {
    const XGeneratorOptions options{.types = 300, .attributesPerType = 30, .depth = 7, .seed = 5};
    const XServerModel model = LXGenerateModel(options);
    EXPECT_EQ(model.types.size(), 300u);
    EXPECT_EQ(Depth(model), 7u);
    EXPECT_EQ(model.relations.size(), 900u);
    EXPECT_NEAR(static_cast<double>(OwnAttributes(model)), 300 * 30, 300 * 30 * 0.25);
    EXPECT_EQ(LXFormatModel(LXGenerateModel(options)), LXFormatModel(model));
    XGeneratorOptions other = options;
    other.seed = 6;
    EXPECT_NE(LXFormatModel(LXGenerateModel(other)), LXFormatModel(model));
}

TEST(Model, TextsGoBothWays) {
    const XLXText wide = OLESTR("A\u00e9\u20ac\U0001f600\xd800Z"); // one to four bytes, and a lone surrogate
    const std::string narrow = "A\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\xed\xa0\x80Z";
    EXPECT_EQ(LXToUtf8(wide), narrow);
    EXPECT_EQ(LXFromUtf8(narrow), wide);
    for (const char* const bad : {"\x80", "\xc3", "\xc3Z", "\xf0\x9f\x98", "\xff"}) {
        EXPECT_THROW(LXFromUtf8(bad), std::invalid_argument);
    }
}

TEST(Model, BaseChainsThatGoRoundOrLeadNowhereEnd) {
    XServerModel model;
    model.AddType("Self", "Self").AddAttribute("A");
    model.AddType("Left", "Right").AddAttribute("B");
    model.AddType("Right", "Left").AddAttribute("C");
    model.AddType("Orphan", "Nobody");
    EXPECT_EQ(model.BaseChain(OLESTR("Self")).size(), 1u);
    EXPECT_EQ(model.AllAttributes(OLESTR("Left")).size(), 2u);
    EXPECT_EQ(model.BaseChain(OLESTR("Orphan")).size(), 1u);
    EXPECT_FALSE(model.Derives(OLESTR("Orphan"), OLESTR("Nobody")));
}
