// SPDX-License-Identifier: MIT
#include "clientlife.h"

namespace {
XLXComBSTR B(const char* text) { return XLXComBSTR(LXFromUtf8(text)); }
} // namespace

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

XClientLife::XClientLife(XSampleServer& server, std::function<void(bool)> around, LONG transferMode)
    : m_server(server), m_around(std::move(around)), m_transferMode(transferMode) {}
XClientLife::XClientLife(XSampleServer& server, XLXComPtr<ILXConfigFactoryCache> cache)
    : m_server(server), m_cache(std::move(cache)), m_factory(m_cache.As<ILXConfigFactory>()) {}

XClientLife::~XClientLife() = default;

template <class Call> HRESULT XClientLife::In(Call&& call) {
    if (m_around) { m_around(true); }
    const HRESULT result = call();
    if (m_around) { m_around(false); }
    return result;
}

XLifeStep& XClientLife::Note(const std::string& name, HRESULT result) {
    XLifeStep& step = m_steps[m_phase + name];
    step.result = result;
    step.information = LXErrorInformation::Take().present;
    return step;
}

std::string XClientLife::Read(XLifeStep& step, ILXConfigObject* object, int member) {
    XLXComVariant value;
    const HRESULT result = In([&] { return object->GetProperty(member, value.Put()); });
    if (FAILED(result) && SUCCEEDED(step.result)) {
        step.result = result;
        step.information = LXErrorInformation::Take().present;
    }
    return result == S_OK ? LXNarrow(value.AsText().value_or(OLESTR("<no text>")))
                          : (FAILED(result) ? "<failed>" : "<empty>");
}

template <class Ask> void XClientLife::Step(const std::string& name, Ask&& ask) {
    Note(name, In(std::forward<Ask>(ask)));
}

template <class Object, class Ask> XLXComPtr<Object> XClientLife::One(const std::string& name, int member, Ask&& ask) {
    XLXComPtr<Object> object;
    XLifeStep& step = Note(name, In([&] { return ask(object.Put()); }));
    EXPECT_EQ(step.result == S_OK, static_cast<bool>(object)) << name;
    if (object) { step.answer = Read(step, object.Get(), member); }
    return object;
}

template <class Element, class Enumerator, class Ask>
void XClientLife::All(const std::string& name, int member, Ask&& ask) {
    XLXComPtr<Enumerator> elements;
    XLifeStep& step = Note(name, In([&] { return ask(elements.Put()); }));
    EXPECT_EQ(step.result == S_OK, static_cast<bool>(elements)) << name;
    if (!elements) { return; }
    std::vector<std::string> texts; // sorted, because global format specs are ordered by address
    XLXComPtr<Element> element;
    while (In([&] { return elements->GetSingleNext(element.Put()); }) == S_OK) {
        texts.push_back(Read(step, element.Get(), member));
    }
    std::sort(texts.begin(), texts.end());
    for (const std::string& text : texts) {
        step.answer += text + " ";
    }
}

const XLifeSteps& XClientLife::Run() {
    SetErrorInfo(0, nullptr);
    if (Start()) {
        AskForTypesAndRelations();
        AskForSpecs();
        Change();
        m_phase = "then ";
        AskForTypes();
        m_phase.clear();
    }
    End();
    return m_steps;
}

void XClientLife::AskForTypesAndRelations() {
    AskForTypes();
    AskForRelations();
    AskForDerivedTypes();
}

bool XClientLife::Start() {
    m_cache = LXMakeCache();
    m_factory = m_cache.As<ILXConfigFactory>();
    std::vector<XLXComVariant> values;
    values.push_back(XLXComVariant::FromUnknown(m_server.ConfigFactory().Get()));
    values.push_back(XLXComVariant::FromUnknown(m_server.Query().Get()));
    values.push_back(XLXComVariant::FromUnknown(m_server.DataUpdate().Get()));
    values.push_back(XLXComVariant::FromBool(false));
    values.push_back(XLXComVariant::FromBool(false));
    values.push_back(XLXComVariant::FromI4(m_transferMode));
    const auto client = m_cache.As<IDPFObject>();
    Step("Initialize", [&] { return client->Initialize(static_cast<ULONG>(values.size()), &values.front().Get()); });
    return SUCCEEDED(m_steps["Initialize"].result);
}

void XClientLife::AskForTypes() {
    All<ILXType, ILXTypeEnum>("GetTypeEnum", XProperty::TypeName,
                              [&](auto out) { return m_factory->GetTypeEnum(nullptr, out); });
    All<ILXType, ILXTypeEnum>("GetSearchableTypeEnum", XProperty::TypeName,
                              [&](auto out) { return m_factory->GetSearchableTypeEnum(out); });
    const auto unknown = B("Unknown");
    One<ILXType>("GetType(Unknown)", 0, [&](auto out) { return m_factory->GetType(unknown.Get(), nullptr, out); });
    BSTR names[] = {unknown.Get()};
    Step("LoadTypesByTypeNames", [&] { return m_cache->LoadTypesByTypeNames(1, names, 1); });
    for (const char* name : {"Equipment", "Pump"}) {
        const auto object = m_server.DataObject(name);
        const auto type = One<ILXType>(std::string("GetCachedType(") + name + ")", XProperty::TypeName,
                                       [&](auto out) { return m_cache->GetCachedType(object.Get(), nullptr, out); });
        if (type) { AskType(std::string(name) + ".", type.Get()); }
    }
    All<ILXBrowserId, ILXBrowserIdEnum>("GetBrowserIdEnum", 0,
                                        [&](auto out) { return m_factory->GetBrowserIdEnum(out); });
}

void XClientLife::AskType(const std::string& prefix, ILXType* type) {
    const auto progId = B("E.Pump");
    const auto browser = B("Tree");
    const auto any = B("");
    const auto head = B("Head");
    All<ILXPage, ILXPageEnum>(prefix + "GetPageEnum", XProperty::PageNumber,
                              [&](auto out) { return type->GetPageEnum(out); });
    One<ILXPage>(prefix + "GetPage", XProperty::PageNumber, [&](auto out) { return type->GetPage(1, out); });
    AskGroups(prefix, type);
    using Attributes = ILXAttributeEnum;
    All<ILXAttribute, Attributes>(prefix + "GetAttributeEnum", 0,
                                  [&](auto out) { return type->GetAttributeEnum(out); });
    All<ILXAttribute, Attributes>(prefix + "GetGroupAttributeEnum", 0,
                                  [&](auto out) { return type->GetGroupAttributeEnum(2, out); });
    All<ILXAttribute, Attributes>(prefix + "GetDisplayAttributeEnum", 0,
                                  [&](auto out) { return type->GetDisplayAttributeEnum(1, out); });
    All<ILXAttribute, Attributes>(prefix + "GetDisplayGroupAttributeEnum", 0,
                                  [&](auto out) { return type->GetDisplayGroupAttributeEnum(1, 2, out); });
    All<ILXConfObjEditor, ILXConfObjEditorEnum>(prefix + "GetConfObjEditorEnum", XProperty::ProgId,
                                                [&](auto out) { return type->GetConfObjEditorEnum(out); });
    One<ILXConfObjEditor>(prefix + "GetConfObjEditor", XProperty::ProgId, [&](auto out) {
        return type->GetConfObjEditor(progId.Get(), browser.Get(), any.Get(), out);
    });
    One<ILXConfObjEditor>(prefix + "GetDefaultEditor", XProperty::ProgId,
                          [&](auto out) { return type->GetDefaultEditor(browser.Get(), out); });
    const auto attribute = One<ILXAttribute>(prefix + "GetAttribute", XProperty::Label,
                                             [&](auto out) { return type->GetAttribute(head.Get(), out); });
    if (attribute) { AskAttribute(prefix + "Head.", attribute.Get()); }
}

void XClientLife::AskGroups(const std::string& prefix, ILXType* type) {
    const auto all = [&](const char* name, auto ask) {
        All<ILXGroup, ILXGroupEnum>(prefix + name, XProperty::GroupNumber, ask);
    };
    all("GetGroupEnum", [&](auto out) { return type->GetGroupEnum(out); });
    XLXComPtr<ILXGroupEnum> serverGroups; // the server's own groups
    Step(prefix + "GetToplevelGroupEnum", [&] { return type->GetToplevelGroupEnum(serverGroups.Put()); });
    all("GetPageGroupEnum", [&](auto out) { return type->GetPageGroupEnum(1, out); });
    const auto group =
        One<ILXGroup>(prefix + "GetGroup", XProperty::GroupNumber, [&](auto out) { return type->GetGroup(7, out); });
    if (group) {
        One<ILXFormat>(prefix + "Group.GetFormat", 1, [&](auto out) { return group->GetFormat(out); });
        all("Group.GetChildGroupEnum", [&](auto out) { return group->GetChildGroupEnum(out); });
    }
}

void XClientLife::AskAttribute(const std::string& prefix, ILXAttribute* attribute) {
    One<ILXFormat>(prefix + "GetFormat", 1, [&](auto out) { return attribute->GetFormat(1, out); });
    One<ILXFormat>(prefix + "CreateFormat", 1, [&](auto out) { return attribute->CreateFormat(5, out); });
    Step(prefix + "DeleteFormat", [&] { return attribute->DeleteFormat(5); });
    All<ILXAttributeType, ILXAttributeTypeEnum>(prefix + "GetAttributeTypeEnum", XProperty::AttributeTypeName,
                                                [&](auto out) { return attribute->GetAttributeTypeEnum(out); });
}

void XClientLife::AskForRelations() {
    const auto equipment = m_server.StoredObject("e");
    const auto pump = m_server.StoredObject("p");
    const auto relationship = m_server.StoredObject("rel");
    const auto parent = B("Equipment");
    const auto child = B("Pump");
    const auto browser = B("Tree");
    const auto list = B("parts");
    const auto empty = B("");
    const auto all = [&](const char* name, auto ask) {
        All<ILXParentChild, ILXParentChildEnum>(name, XProperty::ChildName, ask);
    };
    all("GetPCEnum",
        [&](auto out) { return m_cache->GetPCEnum(equipment.Get(), nullptr, nullptr, browser.Get(), 0, out); });
    all("GetPCEnum2(plan types)",
        [&](auto out) { return m_cache->GetPCEnum2(pump.Get(), nullptr, empty.Get(), 2, out); });
    all("GetPCEnumAll", [&](auto out) { return m_cache->GetPCEnumAll(nullptr, parent.Get(), empty.Get(), 0, out); });
    all("GetPPRRelationsEnum", [&](auto out) { return m_cache->GetPPRRelationsEnum(parent.Get(), nullptr, out); });
    all("GetPossiblePPRRelationsByDO",
        [&](auto out) { return m_cache->GetPossiblePPRRelationsByDO(equipment.Get(), pump.Get(), nullptr, out); });
    all("GetParentChildEnum", [&](auto out) { return m_factory->GetParentChildEnum(empty.Get(), nullptr, out); });
    Step("PPRRelationExists", [&] { return m_cache->PPRRelationExists(parent.Get(), child.Get(), nullptr, 1); });
    One<ILXParentChild>("GetSinglePCRelationByDO", XProperty::ChildName, [&](auto out) {
        return m_cache->GetSinglePCRelationByDO(equipment.Get(), relationship.Get(), out);
    });
    const auto relation = One<ILXParentChild>("GetSinglePCRelation", XProperty::ChildName, [&](auto out) {
        return m_cache->GetSinglePCRelation(parent.Get(), child.Get(), nullptr, list.Get(), out);
    });
    if (relation) {
        All<ILXPCInfo, ILXPCInfoEnum>("Relation.GetPCInfoEnum", 1,
                                      [&](auto out) { return relation->GetPCInfoEnum(out); });
        One<ILXPCInfo>("Relation.GetPCInfo", 1, [&](auto out) { return relation->GetPCInfo(browser.Get(), out); });
    }
}

void XClientLife::AskForDerivedTypes() {
    const auto item = B("Item");
    const auto pump = B("Pump");
    const auto object = m_server.StoredObject("p");
    Step("IsPlantype", [&] { return m_cache->IsPlantype(object.Get()); });
    BSTR names[] = {item.Get(), pump.Get()};
    LONG flags[2] = {};
    Step("CheckTypeDerivesFrom", [&] { return m_cache->CheckTypeDerivesFrom(pump.Get(), 2, names, flags); });
    m_steps["CheckTypeDerivesFrom"].answer = std::to_string(flags[0]) + std::to_string(flags[1]);
    LONG count = 0;
    BSTR* derived = nullptr;
    Step("GetAllDerivedTypes", [&] { return m_cache->GetAllDerivedTypes(item.Get(), &count, &derived); });
    for (LONG i = 0; i < count; ++i) {
        m_steps["GetAllDerivedTypes"].answer += LXNarrow(LXBstrView(derived[i])) + " ";
        SysFreeString(derived[i]);
    }
    CoTaskMemFree(derived);
}

void XClientLife::AskForSpecs() {
    const auto area = B("Area");
    All<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
        "GetAllGlobalAttributeFormatSpecs", 0,
        [&](auto out) { return m_factory->GetAllGlobalAttributeFormatSpecs(out); });
    XLXComPtr<ILXGlobalAttributeFormatSpec> serverSpec;
    Step("CreateGlobalAttributeFormatSpec",
         [&] { return m_factory->CreateGlobalAttributeFormatSpec(serverSpec.Put()); });
    Step("RemoveGlobalAttributeFormatSpecByID",
         [&] { return m_factory->RemoveGlobalAttributeFormatSpecByID(area.Get()); });
    All<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
        "GetAllGlobalAttributeFormatSpecs(after removal)", 0,
        [&](auto out) { return m_factory->GetAllGlobalAttributeFormatSpecs(out); });
}

// The step calls DataObjectChanged itself, so that the call is recorded; the edits send no notifications.
void XClientLife::Change() {
    m_server.Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "Lift", XNotify::No);
    m_server.Edit().AddType("Valve", "Item", XNotify::No);
    const auto update = m_cache.As<ILXCallbackUpdate>();
    const auto id = B("objects/x/0/1");
    const auto kind = B("cfc_specific");
    Step("DataObjectChanged", [&] { return update->DataObjectChanged(id.Get(), kind.Get(), 0, 1, 0, nullptr); });
}

void XClientLife::End() {
    const auto client = m_cache.As<IDPFObject>();
    Step("Terminate", [&] { return client->Terminate(); });
    m_factory.Reset();
    m_cache.Reset();
}
