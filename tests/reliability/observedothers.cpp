// SPDX-License-Identifier: MIT
//
// Other observed kinds than types: format specs, browser ids, relations, plan types; and objects that the server
// recreates.
#include "observedparts.h"

using namespace LXObserving;

namespace {
// Reading a changed set of specs creates new objects, so held ones are not queried and none can be notified directly.
void AddSpecs(XObservedList& all) {
    const auto format = Below<ILXGlobalAttributeFormatSpec, ILXFormat>(
        Spec, [](ILXGlobalAttributeFormatSpec& of, ILXFormat** out) { return of.GetFormat(1, out); });
    Add(all, "spec values", [](Edits edit, int n, XNotify notify) {
        return edit.SetGlobalSpecProperty("Length", 5, Text(n), notify);
    }).Add(ValueOf("spec", Spec, 5, false));
    Add(all, "spec format values", [](Edits edit, int n, XNotify notify) {
        return edit.SetGlobalSpecFormatProperty("Length", 1, 5, Text(n), notify);
    }).Add(ValueOf("format", format, 5, false));
    Add(
        all, "formats of a spec",
        [](Edits edit, int n, XNotify notify) { return edit.AddGlobalSpecFormat("Length", FirstNumber + n, notify); },
        [](Edits edit, int n, XNotify notify) {
            return edit.RemoveGlobalSpecFormat("Length", FirstNumber + n, notify);
        })
        .Add(NotHeld(LookupOf<ILXGlobalAttributeFormatSpec, ILXFormat>(
            "found", Spec, [](ILXGlobalAttributeFormatSpec& of, int n, ILXFormat** out) {
                return of.GetFormat(FirstNumber + n, out);
            })));
    Add(
        all, "set of specs", [](Edits edit, int n, XNotify notify) { return edit.AddGlobalSpec(Named(n), notify); },
        [](Edits edit, int n, XNotify notify) { return edit.RemoveGlobalSpec(Named(n), notify); })
        .Add(ListedElements<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
            "listed", 0, [](ILXConfigFactoryCache& cache, ILXGlobalAttributeFormatSpecEnum** out) {
                return XCachePtr(&cache).As<ILXConfigFactory>()->GetAllGlobalAttributeFormatSpecs(out);
            }));
    Add(all, "browser id values",
        [](Edits edit, int n, XNotify notify) { return edit.SetBrowserIdProperty("Tree", 1, Text(n), notify); }, {},
        {BrowserId, "properties/x/1/8"})
        .Add(ValueOf("browser id", BrowserId, 1));
}

void AddRelations(XObservedList& all) {
    Add(all, "relation values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetRelationProperty("Equipment", "Pump", "parts", XProperty::NameShort, Text(n), notify);
        },
        {}, {Relation(), "pc/x/0/4"})
        .Add(ValueOf("relation", Relation(), XProperty::NameShort));
    Add(
        all, "set of relations",
        [](Edits edit, int n, XNotify notify) {
            return edit.AddRelation("Equipment", "Document", Named(n), 0, false, notify);
        },
        [](Edits edit, int n, XNotify notify) {
            return edit.RemoveRelation("Equipment", "Document", Named(n), notify);
        })
        .Add(ListedElements<ILXParentChild, ILXParentChildEnum>(
            "GetPCEnum2", XProperty::ChildList,
            [](ILXConfigFactoryCache& cache, ILXParentChildEnum** out) {
                return cache.GetPCEnum2(nullptr, B("Equipment").Get(), nullptr, 0, out);
            }))
        .Add(ListedElements<ILXParentChild, ILXParentChildEnum>(
            "GetPCEnumAll", XProperty::ChildList,
            [](ILXConfigFactoryCache& cache, ILXParentChildEnum** out) {
                return cache.GetPCEnumAll(nullptr, B("Pump").Get(), nullptr, 0, out);
            }))
        .Add(YesOrNo("GetSinglePCRelation", XShows::Lookup, [](const XAsked& asked) {
            XLXComPtr<ILXParentChild> relation;
            return Answer(asked.cache->GetSinglePCRelation(B("Equipment").Get(), B("Document").Get(), nullptr,
                                                           B(Named(asked.number)).Get(), relation.Put()));
        }));
}

void AddPCInfos(XObservedList& all) {
    const auto tree = Below<ILXParentChild, ILXPCInfo>(
        Relation(), [](ILXParentChild& of, ILXPCInfo** out) { return of.GetPCInfo(B("Tree").Get(), out); });
    Add(all, "PC info values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetPCInfoProperty("Equipment", "Pump", "parts", "Tree", XProperty::PCInfoLabel, Text(n),
                                          notify);
        },
        {}, {Relation(), "pc/x/0/4"})
        .Add(ValueOf("PC info", tree, XProperty::PCInfoLabel));
    Add(
        all, "set of PC infos",
        [](Edits edit, int n, XNotify notify) {
            return edit.AddPCInfo("Equipment", "Pump", "parts", Named(n), false, notify);
        },
        [](Edits edit, int n, XNotify notify) {
            return edit.RemovePCInfo("Equipment", "Pump", "parts", Named(n), notify);
        },
        {Relation(), "pc/x/0/4"})
        .Add(ElementsOf<ILXParentChild, ILXPCInfo, ILXPCInfoEnum>(
            "listed", Relation(), XProperty::PCInfoBrowser,
            [](ILXParentChild& of, ILXPCInfoEnum** out) { return of.GetPCInfoEnum(out); }))
        .Add(LookupOf<ILXParentChild, ILXPCInfo>(
            "found", Relation(),
            [](ILXParentChild& of, int n, ILXPCInfo** out) { return of.GetPCInfo(B(Named(n)).Get(), out); }))
        .Add(YesOrNo("GetPCEnum2", XShows::Lookup, [](const XAsked& asked) {
            XLXComPtr<ILXParentChildEnum> relations;
            return Answer(asked.cache->GetPCEnum2(nullptr, B("Equipment").Get(), B(Named(asked.number)).Get(), 0,
                                                  relations.Put()));
        }));
}

void AddPlanTypes(XObservedList& all) {
    Add(all, "plan types", [](Edits edit, int n, XNotify notify) {
        return edit.Change(
            [n](XServerModel& model) {
                model.objects.at(OLESTR("plan"))->attributes[OLESTR("configtypename")] =
                    Value(n % 2 == 1 ? "Pump" : "Document");
            },
            "pc/lumbrixtypeset/0/4", notify);
    }).Add(YesOrNo("IsPlantype", XShows::Parity, [](const XAsked& asked) {
        return Answer(asked.cache->IsPlantype(asked.server.DataObject("Pump").Get()));
    }));
}
// An object that the server recreates under the same name has another server object: nothing loaded through the former
// one may stay. A held object may still ask the former one.
template <class List, class Is> void Forget(List& list, Is is) {
    std::erase_if(list, [&](const auto& element) { return is(*element); });
}

void AddRemadeAttribute(XObservedList& all) {
    const XFind attribute = Attribute("Pump", "Remade");
    const auto remake = [](XServerModel& model, int n) {
        XModelType& pump = *model.types.at(OLESTR("Pump"));
        Forget(pump.attributes, [](const auto& of) { return of.Text(XProperty::AttributeName) == OLESTR("Remade"); });
        XModelAttribute& made = pump.AddAttribute("Remade", 3);
        made.properties.Set(XProperty::Label, Text(n));
        made.AddType("Feet").properties.Set(XProperty::AttributeTypeLabel, Text(n));
        made.AddFormat(1).properties.Set(5, Text(n));
    };
    const auto format = Below<ILXAttribute, ILXFormat>(
        attribute, [](ILXAttribute& of, ILXFormat** out) { return of.GetFormat(1, out); });
    const auto inherited = Attribute("Sealed", "Remade");
    Add(all, "attribute made anew",
        [remake](Edits edit, int n, XNotify notify) {
            return edit.Change([&](XServerModel& model) { remake(model, n); }, "objects/Pump/0/512", notify);
        })
        .Add(ValueOf("attribute", attribute, XProperty::Label, false))
        .Add({"its attribute type", XShows::Value, attribute, TypeFeet, false})
        .Add({"the same inherited", XShows::Value, inherited, TypeFeet, false})
        .Add(ValueOf("its format", format, 5, false));
}

void AddRemadeGroup(XObservedList& all) {
    const auto remake = [](XServerModel& model, int n) {
        XModelType& pump = *model.types.at(OLESTR("Pump"));
        Forget(pump.groups, [](const auto& of) { return of.Number(XProperty::GroupNumber) == 9; });
        XModelGroup& made = pump.AddGroup(9, 1);
        made.properties.Set(XProperty::GroupLabel, Text(n));
        made.formats.emplace(0, XModelRef<XModelFormat>());
        made.formats.at(0)->properties.Set(5, Text(n));
    };
    const auto format =
        Below<ILXGroup, ILXFormat>(Group(9), [](ILXGroup& of, ILXFormat** out) { return of.GetFormat(out); });
    Add(all, "group made anew",
        [remake](Edits edit, int n, XNotify notify) {
            return edit.Change([&](XServerModel& model) { remake(model, n); }, "objects/Pump/9/64", notify);
        })
        .Add(ValueOf("group", Group(9), XProperty::GroupLabel, false))
        .Add(ValueOf("its format", format, 5, false));
}

void AddRemadeType(XObservedList& all) {
    const auto remake = [](XServerModel& model, int n) {
        model.types.erase(OLESTR("Remade"));
        XModelType& made = model.AddType("Remade", "Equipment");
        made.properties.Set(XProperty::TypeLabel, Text(n));
        made.AddAttribute("Own", 1).properties.Set(XProperty::Label, Text(n));
        made.AddPage(1).properties.Set(XProperty::PageLabel, Text(n));
    };
    const auto page =
        Below<ILXType, ILXPage>(Type("Remade"), [](ILXType& of, ILXPage** out) { return of.GetPage(1, out); });
    Add(
        all, "type made anew",
        [remake](Edits edit, int n, XNotify notify) {
            return edit.Change([&](XServerModel& model) { remake(model, n); }, "objects/Remade/0/2", notify);
        },
        {}, {}, 4)
        .Add(ValueOf("type", Type("Remade"), XProperty::TypeLabel, false))
        .Add(ValueOf("its attribute", Attribute("Remade", "Own"), XProperty::Label, false))
        .Add(ValueOf("its page", page, XProperty::PageLabel, false));
}

void AddRemadeRelation(XObservedList& all) {
    const auto remake = [](XServerModel& model, int n) {
        Forget(model.relations, [](const auto& of) { return of.Text(XProperty::ChildList) == OLESTR("remade"); });
        XModelRelation& made = model.AddRelation("Equipment", "Document", "remade");
        made.properties.Set(XProperty::NameShort, Text(n));
        made.AddPCInfo("Tree").properties.Set(XProperty::PCInfoLabel, Text(n));
    };
    const auto relation = [](const XCachePtr& cache) { return Plain(RelationOf(cache, "Document", "remade")); };
    Add(all, "relation made anew",
        [remake](Edits edit, int n, XNotify notify) {
            return edit.Change([&](XServerModel& model) { remake(model, n); }, "pc/Equipment/0/4", notify);
        })
        .Add(ValueOf("relation", relation, XProperty::NameShort, false))
        .Add({"its PC info", XShows::Value, relation, InfoTree, false});
}
} // namespace

XObservedList LXEveryKind() {
    XObservedList all;
    LXAddKindsOfTypes(all);
    AddSpecs(all);
    AddRelations(all);
    AddPCInfos(all);
    AddPlanTypes(all);
    AddRemadeAttribute(all);
    AddRemadeGroup(all);
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
