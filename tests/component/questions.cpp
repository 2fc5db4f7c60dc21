// SPDX-License-Identifier: MIT
#include "questions.h"

#include "asking.h"

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

std::string None(HRESULT result) { return FAILED(result) ? "<failed>" : "<none>"; }

/// The object that a method returns, as a row.
template <class Owner, class Method, class... Arguments>
std::string One(int members, Owner& owner, Method get, Arguments... arguments) {
    auto object = LXOutOf(get);
    const HRESULT result = LXCall(owner, get, arguments..., object.Put());
    return object ? Row(object.Get(), members) : None(result);
}

/// The elements that a method enumerates, each as tell gives it.
template <class Tell, class Owner, class Method, class... Arguments>
Lines All(Tell&& tell, Owner& owner, Method list, Arguments... arguments) {
    auto elements = LXOutOf(list);
    if (FAILED(LXCall(owner, list, arguments..., elements.Put()))) { return {"<failed>"}; }
    Lines lines;
    for (const auto& element : LXElements(elements)) {
        lines.push_back(tell(*element));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

template <class Owner, class Method, class... Arguments>
Lines Rows(int members, Owner& owner, Method list, Arguments... arguments) {
    return All([=](auto& element) { return Row(&element, members); }, owner, list, arguments...);
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
    const HRESULT result = LXCall(type, &ILXType::GetAttribute, inquiry.name, attribute.Put());
    if (!attribute) { return {None(result)}; }
    switch (inquiry.topic) {
    case XTopic::AttributeValues: return {Row(attribute.Get(), 60)};
    case XTopic::AttributeFormats: return {One(5, *attribute, &ILXAttribute::GetFormat, inquiry.number)};
    default: return Rows(5, *attribute, &ILXAttribute::GetAttributeTypeEnum);
    }
}

std::string OfGroup(ILXGroup& group) {
    return Row(&group, 16) + Joined(Rows(3, group, &ILXGroup::GetChildGroupEnum)) + One(5, group, &ILXGroup::GetFormat);
}

Lines OfType(ILXType& type, const XInquiry& inquiry) {
    const int number = inquiry.number;
    switch (inquiry.topic) {
    case XTopic::TypeValues: return {Row(&type, 27)}; // the last member, the base's object, is only the cache's
    case XTopic::Pages: return Rows(7, type, &ILXType::GetPageEnum);
    case XTopic::Editors: return Rows(5, type, &ILXType::GetConfObjEditorEnum);
    case XTopic::DefaultEditors:
        return {One(5, type, &ILXType::GetDefaultEditor, inquiry.name),
                One(5, type, &ILXType::GetDefaultNewEditor, inquiry.name)};
    case XTopic::Groups: return All(OfGroup, type, &ILXType::GetGroupEnum);
    case XTopic::PageGroups:
        return {Joined(Rows(3, type, &ILXType::GetPageGroupEnum, number)),
                Joined(Rows(3, type, &ILXType::GetPageToplevelGroupEnum, number))};
    case XTopic::ShownAttributes: return Rows(1, type, &ILXType::GetDisplayAttributeEnum, number);
    case XTopic::GroupAttributes: return Rows(1, type, &ILXType::GetDisplayGroupAttributeEnum, 1, number);
    default: return OfAttribute(type, inquiry);
    }
}

std::string OfSpec(ILXGlobalAttributeFormatSpec& spec) {
    return Row(&spec, 5) + One(5, spec, &ILXGlobalAttributeFormatSpec::GetFormat, 1);
}

Lines OfRelations(ILXConfigFactory& factory, XTopic topic) {
    const auto tell = [=](ILXParentChild& relation) {
        std::string row;
        for (const int member : {XProperty::ParentName, XProperty::ChildName, XProperty::ChildList}) {
            row += Value(&relation, member);
        }
        return topic == XTopic::Relations
                   ? row + Value(&relation, XProperty::NameShort) + Value(&relation, XProperty::SystemInternal)
                   : row + Joined(Rows(5, relation, &ILXParentChild::GetPCInfoEnum));
    };
    return All(tell, factory, &ILXConfigFactory::GetParentChildEnum, "", nullptr);
}
} // namespace

Lines LXAnswer(ILXConfigFactory& factory, const XInquiry& inquiry) {
    switch (inquiry.topic) {
    case XTopic::Types: return Rows(27, factory, &ILXConfigFactory::GetTypeEnum, nullptr);
    case XTopic::SearchableTypes: return Rows(1, factory, &ILXConfigFactory::GetSearchableTypeEnum);
    case XTopic::BrowserIds: return Rows(2, factory, &ILXConfigFactory::GetBrowserIdEnum);
    case XTopic::Specs: return All(OfSpec, factory, &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs);
    case XTopic::Relations:
    case XTopic::PCInfos: return OfRelations(factory, inquiry.topic);
    default: break;
    }
    XLXComPtr<ILXType> type;
    const HRESULT result = LXCall(factory, &ILXConfigFactory::GetType, inquiry.type, nullptr, type.Put());
    return type ? OfType(*type, inquiry) : Lines{None(result)};
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
