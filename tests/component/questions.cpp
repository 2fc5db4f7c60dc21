// SPDX-License-Identifier: MIT
#include "questions.h"

#include <algorithm>

XServerModel LXTestModel() {
    XServerModel model;
    XModelType& item = model.AddType("Item");
    item.AddPage(1, "General");
    item.AddPage(2, "Details");
    item.AddGroup(1, 1, 0, "Main");
    item.AddGroup(2, 1, 1, "Inner");
    item.AddGroup(3, 2, 0, "More");
    item.AddAttribute("Name", 1).properties.Set(XProperty::Label, "Name of the item");
    item.AddAttribute("Weight", 2);
    XModelType& equipment = model.AddType("Equipment", "Item");
    equipment.AddAttribute("Power", 2);
    equipment.AddAttribute("Name", 3).properties.Set(XProperty::Label, "Name of the equipment");
    XModelType& pump = model.AddType("Pump", "Equipment");
    XModelAttribute& head = pump.AddAttribute("Head", 3);
    head.AddFormat(1);
    head.AddFormat(2);
    head.AddType("Metres");
    head.AddType("Feet");
    pump.AddGroup(7, 1, 0, "Pump").formats.emplace(0, XModelRef<XModelFormat>());
    pump.AddEditor("E.Pump", "Tree", true);
    pump.AddEditor("E.PumpNew", "tree", false, true);
    model.AddType("Document").AddAttribute("Title", 1);
    model.AddBrowserId("Tree");
    return model;
}

XServerModel LXLifeModel() {
    XServerModel model = LXTestModel();
    model.AddRelation("Item", "Pump", "nodes").AddPCInfo("Tree");
    model.AddRelation("Equipment", "Pump", "parts", 1).AddPCInfo("Tree", true);
    model.AddRelation("Pump", "Document", "parts_reverse", 1);
    model.AddGlobalSpec("Length").formats.emplace(1, XModelRef<XModelFormat>());
    model.AddGlobalSpec("Area");
    model.AddObject("set", "PlanSet", "lumbrixtypeset").attributes = {{OLESTR("master"), 1}};
    model.AddObject("plan", "Entry").attributes = {{OLESTR("configtypename"), "Pump"},
                                                   {OLESTR("nameshort"), "pl"},
                                                   {OLESTR("recursiv"), 1},
                                                   {OLESTR("wscparent"), 0}};
    model.AddChild("set", "lumbrixtype", "plan");
    model.AddObject("e", "Equipment");
    model.AddObject("p", "Pump");
    model.AddObject("d", "Document");
    model.AddRelationship("rel", "parts", "e", "p");
    return model;
}

std::vector<XLXComVariant> LXArguments(const XSampleServer& server, LONG transferMode, bool noNotifications,
                                       bool separateCallback) {
    std::vector<XLXComVariant> values;
    values.push_back(XLXComVariant::FromUnknown(server.ConfigFactory().Get()));
    values.push_back(XLXComVariant::FromUnknown(server.Query().Get()));
    values.push_back(XLXComVariant::FromUnknown(server.DataUpdate().Get()));
    values.push_back(XLXComVariant::FromBool(noNotifications));
    values.push_back(XLXComVariant::FromBool(separateCallback));
    values.push_back(XLXComVariant::FromI4(transferMode));
    return values;
}

namespace {
using Lines = std::vector<std::string>;

std::string Value(ILXConfigObject* object, int member) {
    XLXComVariant value;
    const HRESULT result = object->GetProperty(member, value.Put());
    return FAILED(result)      ? "<failed>|"
           : result == S_FALSE ? "|"
                               : LXToUtf8(value.AsText().value_or(OLESTR("<no text>"))) + "|";
}

/// The first members of an object.
std::string Row(ILXConfigObject* object, int members) {
    std::string row;
    for (int member = 0; member < members; ++member) {
        row += Value(object, member);
    }
    return row;
}

/// The object that a call returns, as a row.
template <class I, class Ask> std::string One(int members, Ask&& ask) {
    XLXComPtr<I> object;
    const HRESULT result = ask(object.Put());
    return FAILED(result) ? "<failed>" : object ? Row(object.Get(), members) : "<none>";
}

/// The elements that a call enumerates, each as tell gives it.
template <class Element, class Enumerator, class Ask, class Tell> Lines All(Ask&& ask, Tell&& tell) {
    XLXComPtr<Enumerator> elements;
    if (FAILED(ask(elements.Put()))) { return {"<failed>"}; }
    Lines lines;
    XLXComPtr<Element> element;
    while (elements && elements->GetSingleNext(element.Put()) == S_OK) {
        lines.push_back(tell(*element.Get()));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

template <class Element, class Enumerator, class Ask> Lines Rows(int members, Ask&& ask) {
    return All<Element, Enumerator>(ask, [=](Element& element) { return Row(&element, members); });
}

std::string Joined(const Lines& lines) {
    std::string all;
    for (const std::string& line : lines) {
        all += line + ";";
    }
    return all;
}

Lines OfAttribute(ILXType& type, const XInquiry& inquiry) {
    XLXComPtr<ILXAttribute> attribute;
    const XLXComBSTR name(inquiry.name);
    const auto values = One<ILXAttribute>(60, [&](auto out) {
        const HRESULT result = type.GetAttribute(name.Get(), out);
        attribute = XLXComPtr<ILXAttribute>(*out);
        return result;
    });
    if (!attribute || inquiry.topic == XTopic::AttributeValues) { return {values}; }
    if (inquiry.topic == XTopic::AttributeFormats) {
        return {One<ILXFormat>(5, [&](auto out) { return attribute->GetFormat(inquiry.number, out); })};
    }
    return Rows<ILXAttributeType, ILXAttributeTypeEnum>(5,
                                                        [&](auto out) { return attribute->GetAttributeTypeEnum(out); });
}

Lines OfGroups(ILXType& type) {
    return All<ILXGroup, ILXGroupEnum>(
        [&](auto out) { return type.GetGroupEnum(out); },
        [](ILXGroup& group) {
            return Row(&group, 16) +
                   Joined(Rows<ILXGroup, ILXGroupEnum>(3, [&](auto out) { return group.GetChildGroupEnum(out); })) +
                   One<ILXFormat>(5, [&](auto out) { return group.GetFormat(out); });
        });
}

Lines OfType(ILXType& type, const XInquiry& inquiry) {
    const XLXComBSTR browser(inquiry.name);
    switch (inquiry.topic) {
    case XTopic::TypeValues: return {Row(&type, 27)}; // the last member, the base's object, is only the cache's
    case XTopic::Pages: return Rows<ILXPage, ILXPageEnum>(7, [&](auto out) { return type.GetPageEnum(out); });
    case XTopic::Editors:
        return Rows<ILXConfObjEditor, ILXConfObjEditorEnum>(5,
                                                            [&](auto out) { return type.GetConfObjEditorEnum(out); });
    case XTopic::DefaultEditors:
        return {One<ILXConfObjEditor>(5, [&](auto out) { return type.GetDefaultEditor(browser.Get(), out); }),
                One<ILXConfObjEditor>(5, [&](auto out) { return type.GetDefaultNewEditor(browser.Get(), out); })};
    case XTopic::Groups: return OfGroups(type);
    case XTopic::PageGroups:
        return {Joined(Rows<ILXGroup, ILXGroupEnum>(
                    3, [&](auto out) { return type.GetPageGroupEnum(inquiry.number, out); })),
                Joined(Rows<ILXGroup, ILXGroupEnum>(
                    3, [&](auto out) { return type.GetPageToplevelGroupEnum(inquiry.number, out); }))};
    case XTopic::ShownAttributes:
        return Rows<ILXAttribute, ILXAttributeEnum>(
            1, [&](auto out) { return type.GetDisplayAttributeEnum(inquiry.number, out); });
    case XTopic::GroupAttributes:
        return Rows<ILXAttribute, ILXAttributeEnum>(
            1, [&](auto out) { return type.GetDisplayGroupAttributeEnum(1, inquiry.number, out); });
    default: return OfAttribute(type, inquiry);
    }
}

Lines OfSpecs(ILXConfigFactory& factory) {
    return All<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
        [&](auto out) { return factory.GetAllGlobalAttributeFormatSpecs(out); },
        [](auto& spec) { return Row(&spec, 5) + One<ILXFormat>(5, [&](auto out) { return spec.GetFormat(1, out); }); });
}

Lines OfRelations(ILXConfigFactory& factory, XTopic topic) {
    const XLXComBSTR all(OLESTR(""));
    return All<ILXParentChild, ILXParentChildEnum>(
        [&](auto out) { return factory.GetParentChildEnum(all.Get(), nullptr, out); },
        [=](ILXParentChild& relation) {
            std::string row;
            for (const int member : {XProperty::ParentName, XProperty::ChildName, XProperty::ChildList}) {
                row += Value(&relation, member);
            }
            return topic == XTopic::Relations
                       ? row + Value(&relation, XProperty::NameShort) + Value(&relation, XProperty::SystemInternal)
                       : row + Joined(Rows<ILXPCInfo, ILXPCInfoEnum>(
                                   5, [&](auto out) { return relation.GetPCInfoEnum(out); }));
        });
}
} // namespace

Lines LXAnswer(ILXConfigFactory& factory, const XInquiry& inquiry) {
    switch (inquiry.topic) {
    case XTopic::Types:
        return Rows<ILXType, ILXTypeEnum>(27, [&](auto out) { return factory.GetTypeEnum(nullptr, out); });
    case XTopic::SearchableTypes:
        return Rows<ILXType, ILXTypeEnum>(1, [&](auto out) { return factory.GetSearchableTypeEnum(out); });
    case XTopic::BrowserIds:
        return Rows<ILXBrowserId, ILXBrowserIdEnum>(2, [&](auto out) { return factory.GetBrowserIdEnum(out); });
    case XTopic::Specs: return OfSpecs(factory);
    case XTopic::Relations:
    case XTopic::PCInfos: return OfRelations(factory, inquiry.topic);
    default: break;
    }
    XLXComPtr<ILXType> type;
    const HRESULT result = factory.GetType(XLXComBSTR(inquiry.type).Get(), nullptr, type.Put());
    return type ? OfType(*type.Get(), inquiry) : Lines{FAILED(result) ? "<failed>" : "<none>"};
}

std::string LXDifference(ILXConfigFactory& cache, ILXConfigFactory& server, const XInquiry& inquiry) {
    const Lines cached = LXAnswer(cache, inquiry);
    const Lines direct = LXAnswer(server, inquiry);
    const bool hasRemoved = inquiry.topic == XTopic::AttributeTypes &&
                            std::includes(cached.begin(), cached.end(), direct.begin(), direct.end());
    if (hasRemoved || cached == direct) { return {}; }
    return "topic " + std::to_string(static_cast<int>(inquiry.topic)) + " " + LXToUtf8(inquiry.type) + "." +
           LXToUtf8(inquiry.name) + " " + std::to_string(inquiry.number) + "\n cache:  " + Joined(cached) +
           "\n server: " + Joined(direct);
}

std::vector<XInquiry> LXEveryInquiry(const XServerModel& model) {
    std::vector<XInquiry> all = {{XTopic::TypeValues, OLESTR("Missing")},
                                 {XTopic::Types},
                                 {XTopic::SearchableTypes},
                                 {XTopic::BrowserIds},
                                 {XTopic::Specs},
                                 {XTopic::Relations},
                                 {XTopic::PCInfos}};
    for (const auto& [name, type] : model.types) {
        for (const auto topic : {XTopic::TypeValues, XTopic::Pages, XTopic::Editors, XTopic::Groups}) {
            all.push_back({topic, name});
        }
        for (const auto& browser : model.browserIds) {
            all.push_back({XTopic::DefaultEditors, name, browser->Text(XProperty::BrowserIdName)});
        }
        for (const int mask : {0, 1, 2, 4, 11, 16}) {
            all.push_back({XTopic::ShownAttributes, name, {}, mask});
        }
        for (const auto topic : {XTopic::PageGroups, XTopic::GroupAttributes}) {
            all.push_back({topic, name, {}, 1});
            all.push_back({topic, name, {}, 2});
        }
        all.push_back({XTopic::AttributeValues, name, OLESTR("Missing")});
        for (const auto* owner = &type; owner != nullptr; owner = model.FindType((*owner)->Base())) {
            for (const auto& attribute : (*owner)->attributes) {
                const XLXText& key = attribute->Text(XProperty::AttributeName);
                all.push_back({XTopic::AttributeValues, name, key});
                all.push_back({XTopic::AttributeTypes, name, key});
                all.push_back({XTopic::AttributeFormats, name, key, 1});
                all.push_back({XTopic::AttributeFormats, name, key, 2});
            }
        }
    }
    return all;
}
