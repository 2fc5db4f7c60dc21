// SPDX-License-Identifier: MIT
//
// Other observed kinds than types: format specs, browser ids, relations, plan types; and objects that the server
// recreates.
#include "observedparts.h"

using namespace LXObserving;

namespace {
using Cache = ILXConfigFactoryCache;

// Reading a changed set of specs creates new objects, so held ones are not queried and none can be notified directly.
void AddSpecs(XObservedList& all) {
    Add(all, "spec values", Calling(&Edits::SetGlobalSpecProperty, "Length", 5, Text))
        .Add(ValueOf("spec", Spec, 5, false));
    Add(all, "spec format values", Calling(&Edits::SetGlobalSpecFormatProperty, "Length", 1, 5, Text))
        .Add(ValueOf("format", Part(Spec, &ILXGlobalAttributeFormatSpec::GetFormat, 1), 5, false));
    Add(all, "formats of a spec", Calling(&Edits::AddGlobalSpecFormat, "Length", Numbered),
        Calling(&Edits::RemoveGlobalSpecFormat, "Length", Numbered))
        .Add(NotHeld(LookupOf("found", Spec, &ILXGlobalAttributeFormatSpec::GetFormat, Numbered)));
    Add(all, "set of specs", Calling(&Edits::AddGlobalSpec, Named), Calling(&Edits::RemoveGlobalSpec, Named))
        .Add(ElementsOf("listed", nullptr, 0, &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs));
    Add(all, "browser id values", Calling(&Edits::SetBrowserIdProperty, "Tree", 1, Text), {},
        {BrowserId, "properties/x/1/8"})
        .Add(ValueOf("browser id", BrowserId, 1));
}

void AddRelations(XObservedList& all) {
    Add(all, "relation values",
        Calling(&Edits::SetRelationProperty, "Equipment", "Pump", "parts", XProperty::NameShort, Text), {},
        {Relation, "pc/x/0/4"})
        .Add(ValueOf("relation", Relation, XProperty::NameShort));
    Add(all, "set of relations", Calling(&Edits::AddRelation, "Equipment", "Document", Named, 0, false),
        Calling(&Edits::RemoveRelation, "Equipment", "Document", Named))
        .Add(ElementsOf("GetPCEnum2", nullptr, XProperty::ChildList, &Cache::GetPCEnum2, nullptr, "Equipment", nullptr,
                        0))
        .Add(ElementsOf("GetPCEnumAll", nullptr, XProperty::ChildList, &Cache::GetPCEnumAll, nullptr, "Pump", nullptr,
                        0))
        .Add(LookupOf("GetSinglePCRelation", nullptr, &Cache::GetSinglePCRelation, "Equipment", "Document", nullptr,
                      Named));
}

void AddPCInfos(XObservedList& all) {
    const XFind tree = Part(Relation, &ILXParentChild::GetPCInfo, "Tree");
    Add(all, "PC info values",
        Calling(&Edits::SetPCInfoProperty, "Equipment", "Pump", "parts", "Tree", XProperty::PCInfoLabel, Text), {},
        {Relation, "pc/x/0/4"})
        .Add(ValueOf("PC info", tree, XProperty::PCInfoLabel));
    Add(all, "set of PC infos", Calling(&Edits::AddPCInfo, "Equipment", "Pump", "parts", Named, false),
        Calling(&Edits::RemovePCInfo, "Equipment", "Pump", "parts", Named), {Relation, "pc/x/0/4"})
        .Add(ElementsOf("listed", Relation, XProperty::PCInfoBrowser, &ILXParentChild::GetPCInfoEnum))
        .Add(LookupOf("found", Relation, &ILXParentChild::GetPCInfo, Named))
        .Add(LookupOf("GetPCEnum2", nullptr, &Cache::GetPCEnum2, nullptr, "Equipment", Named, 0));
}

void AddPlanTypes(XObservedList& all) {
    const auto change = [](int n) {
        return [n](XServerModel& model) {
            model.objects.at(OLESTR("plan"))->attributes[OLESTR("configtypename")] =
                Value(IsOdd(n) ? "Pump" : "Document");
        };
    };
    const auto isPlan = [](const XAsked& asked) {
        return asked.cache->IsPlantype(asked.server.DataObject("Pump").Get());
    };
    Add(all, "plan types", Calling(&Edits::Change, change, "pc/lumbrixtypeset/0/4"))
        .Add(YesOrNo("IsPlantype", XShows::Parity, isPlan));
}

// An object that the server recreates under the same name has a new server object: nothing that was loaded through the
// former one may stay. A held object may still ask the former one.
/// An edit that changes the model by the number.
template <class Remake> XObserved::Edit Remaking(const char* dataId, Remake remake) {
    return [=](Edits edit, int n, XNotify notify) {
        return edit.Change([&](XServerModel& model) { remake(model, n); }, dataId, notify);
    };
}

void AddRemadeComponents(XObservedList& all) {
    const XFind attribute = Attribute("Pump", "Remade");
    const auto remake = [](XServerModel& model, int n) {
        XModelType& pump = *model.types.at(OLESTR("Pump"));
        std::erase_if(pump.attributes,
                      [](const auto& of) { return of->Text(XProperty::AttributeName) == OLESTR("Remade"); });
        XModelAttribute& made = pump.AddAttribute("Remade", 3);
        made.properties.Set(XProperty::Label, Text(n));
        made.AddType("Feet").properties.Set(XProperty::AttributeTypeLabel, Text(n));
        made.AddFormat(1).properties.Set(5, Text(n));
    };
    Add(all, "attribute made anew", Remaking("objects/Pump/0/512", remake))
        .Add(ValueOf("attribute", attribute, XProperty::Label, false))
        .Add(ValueBelow("its attribute type", attribute, FeetOf, XProperty::AttributeTypeLabel, false))
        .Add(ValueBelow("the same inherited", Attribute("Sealed", "Remade"), FeetOf, XProperty::AttributeTypeLabel,
                        false))
        .Add(ValueOf("its format", Part(attribute, &ILXAttribute::GetFormat, 1), 5, false));
    const auto remakeGroup = [](XServerModel& model, int n) {
        XModelType& pump = *model.types.at(OLESTR("Pump"));
        std::erase_if(pump.groups, [](const auto& of) { return of->Number(XProperty::GroupNumber) == 9; });
        XModelGroup& made = pump.AddGroup(9, 1);
        made.properties.Set(XProperty::GroupLabel, Text(n));
        made.formats.emplace(0, XModelRef<XModelFormat>());
        made.formats.at(0)->properties.Set(5, Text(n));
    };
    Add(all, "group made anew", Remaking("objects/Pump/9/64", remakeGroup))
        .Add(ValueOf("group", Group(9), XProperty::GroupLabel, false))
        .Add(ValueOf("its format", Part(Group(9), &ILXGroup::GetFormat), 5, false));
}

void AddRemadeType(XObservedList& all) {
    const auto remake = [](XServerModel& model, int n) {
        model.types.erase(OLESTR("Remade"));
        XModelType& made = model.AddType("Remade", "Equipment");
        made.properties.Set(XProperty::TypeLabel, Text(n));
        made.AddAttribute("Own", 1).properties.Set(XProperty::Label, Text(n));
        made.AddPage(1).properties.Set(XProperty::PageLabel, Text(n));
    };
    Add(all, "type made anew", Remaking("objects/Remade/0/2", remake), {}, {}, 4)
        .Add(ValueOf("type", Type("Remade"), XProperty::TypeLabel, false))
        .Add(ValueOf("its attribute", Attribute("Remade", "Own"), XProperty::Label, false))
        .Add(ValueOf("its page", Page("Remade"), XProperty::PageLabel, false));
}

void AddRemadeRelation(XObservedList& all) {
    const auto remake = [](XServerModel& model, int n) {
        std::erase_if(model.relations,
                      [](const auto& of) { return of->Text(XProperty::ChildList) == OLESTR("remade"); });
        XModelRelation& made = model.AddRelation("Equipment", "Document", "remade");
        made.properties.Set(XProperty::NameShort, Text(n));
        made.AddPCInfo("Tree").properties.Set(XProperty::PCInfoLabel, Text(n));
    };
    const auto relation = [](const XCachePtr& cache) { return Plain(RelationOf(cache, "Document", "remade")); };
    Add(all, "relation made anew", Remaking("pc/Equipment/0/4", remake))
        .Add(ValueOf("relation", relation, XProperty::NameShort, false))
        .Add(ValueBelow("its PC info", relation, TreeOf, XProperty::PCInfoLabel, false));
}
} // namespace

XObservedList LXEveryKind() {
    XObservedList all;
    LXAddKindsOfTypes(all);
    AddSpecs(all);
    AddRelations(all);
    AddPCInfos(all);
    AddPlanTypes(all);
    AddRemadeComponents(all);
    AddRemadeType(all);
    AddRemadeRelation(all);
    return all;
}

XServerModel LXObservedModel() {
    XServerModel model = LXLifeModel();
    for (int i = 1; i <= 20; ++i) {
        model.types.at(OLESTR("Item"))->AddAttribute("Base" + std::to_string(i), 1);
    }
    model.types.at(OLESTR("Pump"))->AddGroup(8, 1);
    model.AddType("Centrifugal", "Pump").AddAttribute("Stages", 3);
    model.AddType("Sealed", "Centrifugal").AddAttribute("Seal", 3);
    model.AddType("Loose", "Item");
    return model;
}
