// SPDX-License-Identifier: MIT
#include "cachetargets.h"

#include "XLXComVariant.h"
#include "lxconfigfactorycachemanager.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

void LXRequire(bool holds, const std::string& what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what.c_str());
        std::abort();
    }
}

std::uint8_t Decisions::Byte() noexcept {
    if (m_bytes.empty()) { return 0; }
    const std::uint8_t first = m_bytes.front();
    m_bytes = m_bytes.subspan(1);
    return first;
}

namespace {
XServerModel MakeModel() {
    XServerModel model;
    XModelType& item = model.AddType("Item");
    item.AddPage(1, "General");
    item.AddGroup(1, 1, 0, "Main");
    item.AddGroup(2, 1, 1, "Inner");
    item.AddAttribute("Name", 1).properties.Set(XProperty::ShowInEditor, true);
    item.AddAttribute("Weight", 2);
    XModelType& equipment = model.AddType("Equipment", "Item");
    equipment.AddAttribute("Power", 2);
    equipment.AddAttribute("Name", 2).properties.Set(XProperty::Label, "Shadowed");
    XModelType& pump = model.AddType("Pump", "Equipment");
    XModelAttribute& head = pump.AddAttribute("Head", 3);
    head.AddFormat(1);
    head.AddType("Metres");
    pump.AddGroup(3, 1).formats.emplace(0, XModelRef<XModelFormat>());
    pump.AddEditor("E.Pump", "Tree", true);
    model.AddType("Valve", "Equipment").AddPage(2, "Details");
    model.AddType("Document").AddAttribute("Title", 1);
    model.AddType("Sheet", "Document").AddEditor("E.Sheet", "List", false, true);
    model.AddType("Folder");
    model.AddType("Hidden", "Item").listed = false;
    model.AddBrowserId("Tree");
    model.AddBrowserId("List");
    model.AddGlobalSpec("Length").AddFormat(1);
    model.AddRelation("Folder", "Document", "nodes").AddPCInfo("Tree");
    model.AddRelation("Pump", "Valve", "parts", 1);
    return model;
}

std::string Narrow(XLXTextView text) { return LXToUtf8(text); }

XLXComBSTR Bstr(const char* text) { return XLXComBSTR(LXFromUtf8(text)); }

/// A value as text; all failures give the same text.
std::string Read(ILXConfigObject* object, int member) {
    XLXComVariant value;
    const HRESULT result = object->GetProperty(member, value.Put());
    return FAILED(result)      ? "<failed>"
           : result == S_FALSE ? "<empty>"
                               : Narrow(value.AsText().value_or(OLESTR("<no text>")));
}

/// The result of a look-up as text, with a property of the found object.
template <class T> std::string Found(HRESULT result, const XLXComPtr<T>& object, int member) {
    return FAILED(result) ? "<failed>" : object ? Read(object.Get(), member) : "<none>";
}

/// The elements of an enumeration as text, each with the texts that tell gives.
template <class Element, class Enumerator, class Tell>
std::string ListOf(HRESULT result, const XLXComPtr<Enumerator>& elements, Tell&& tell) {
    if (FAILED(result)) { return "<failed>"; }
    std::vector<std::string> lines;
    XLXComPtr<Element> element;
    while (elements && elements->GetSingleNext(element.Put()) == S_OK) {
        lines.push_back(tell(*element.Get()));
    }
    std::sort(lines.begin(), lines.end()); // cache and server may have different orders
    std::string all;
    for (const std::string& line : lines) {
        all += line + ";";
    }
    return all;
}

template <class Element, class Enumerator>
std::string List(HRESULT result, const XLXComPtr<Enumerator>& elements, std::initializer_list<int> members) {
    return ListOf<Element>(result, elements, [&](Element& element) {
        std::string line;
        for (const int member : members) {
            line += Read(&element, member) + "|";
        }
        return line;
    });
}

std::string AskAttribute(ILXType& type, const Question& question) {
    XLXComPtr<ILXAttribute> attribute;
    XLXComPtr<ILXFormat> format;
    XLXComPtr<ILXAttributeTypeEnum> types;
    HRESULT result = type.GetAttribute(Bstr(question.attribute).Get(), attribute.Put());
    if (!attribute || question.kind == Question::AttributeProperty) {
        return Found(result, attribute, question.member);
    }
    if (question.kind == Question::AttributeFormat) {
        result = attribute->GetFormat(question.number, format.Put());
        return Found(result, format, question.member % 5);
    }
    result = attribute->GetAttributeTypeEnum(types.Put());
    return List<ILXAttributeType>(result, types, {XProperty::AttributeTypeName, XProperty::AttributeTypeLabel});
}

std::string AskGroup(ILXType& type, const Question& question) {
    XLXComPtr<ILXGroup> group;
    XLXComPtr<ILXFormat> format;
    XLXComPtr<ILXGroupEnum> children;
    HRESULT result = type.GetGroup(question.number, group.Put());
    if (!group || question.kind == Question::GroupProperty) { return Found(result, group, question.member); }
    if (question.kind == Question::GroupFormat) {
        result = group->GetFormat(format.Put());
        return Found(result, format, question.member % 5);
    }
    result = group->GetChildGroupEnum(children.Put());
    return List<ILXGroup>(result, children, {XProperty::GroupNumber});
}

std::string AskEditor(ILXType& type, const Question& question) {
    const XLXComBSTR browser = Bstr(question.number % 2 == 0 ? "Tree" : "List");
    XLXComPtr<ILXConfObjEditor> editor;
    if (question.kind == Question::DefaultEditors) {
        HRESULT result = type.GetDefaultEditor(browser.Get(), editor.Put());
        const std::string first = Found(result, editor, XProperty::ProgId);
        result = type.GetDefaultNewEditor(browser.Get(), editor.Put());
        return first + "," + Found(result, editor, XProperty::ProgId);
    }
    const XLXComBSTR progId = Bstr(question.number % 3 == 0 ? "E.Pump" : "E.Added");
    const HRESULT result = type.GetConfObjEditor(progId.Get(), browser.Get(), nullptr, editor.Put());
    return Found(result, editor, question.member % 5);
}

std::string AskLists(ILXType& type, const Question& question) {
    XLXComPtr<ILXAttributeEnum> attributes;
    XLXComPtr<ILXGroupEnum> groups;
    XLXComPtr<ILXPageEnum> pages;
    XLXComPtr<ILXConfObjEditorEnum> editors;
    XLXComPtr<ILXPage> page;
    HRESULT result = S_OK;
    switch (question.kind) {
    case Question::PageProperty:
        result = type.GetPage(question.number, page.Put());
        return Found(result, page, question.member % 7);
    case Question::ShownAttributes:
        result = type.GetDisplayAttributeEnum(question.member & 63, attributes.Put());
        return List<ILXAttribute>(result, attributes, {XProperty::AttributeName, XProperty::Label});
    case Question::GroupAttributes:
        result = type.GetDisplayGroupAttributeEnum(question.member & 63, question.number, attributes.Put());
        return List<ILXAttribute>(result, attributes, {XProperty::AttributeName});
    case Question::Groups:
        result = question.number % 2 == 0 ? type.GetGroupEnum(groups.Put()) : type.GetToplevelGroupEnum(groups.Put());
        return List<ILXGroup>(result, groups, {XProperty::GroupNumber, XProperty::GroupLabel});
    case Question::PageGroups:
        result = question.member % 2 == 0 ? type.GetPageGroupEnum(question.number, groups.Put())
                                          : type.GetPageToplevelGroupEnum(question.number, groups.Put());
        return List<ILXGroup>(result, groups, {XProperty::GroupNumber});
    default:
        result = type.GetPageEnum(pages.Put());
        std::string all = List<ILXPage>(result, pages, {XProperty::PageNumber, XProperty::PageLabel});
        result = type.GetConfObjEditorEnum(editors.Put());
        return all + List<ILXConfObjEditor>(result, editors, {XProperty::ProgId, XProperty::EditorBrowserId});
    }
}

std::string AskType(ILXConfigFactory& factory, const Question& question) {
    XLXComPtr<ILXType> type;
    const HRESULT result = factory.GetType(Bstr(question.type).Get(), nullptr, type.Put());
    if (!type || question.kind == Question::TypeProperty) {
        // The last member is the base type's object, which only the cache has.
        return Found(result, type, question.member == 27 ? 0 : question.member);
    }
    switch (question.kind) {
    case Question::ByName: {
        XLXComVariant value;
        const HRESULT read = type->Get(Bstr("LXCFG_searchable").Get(), value.Put());
        return read == S_OK ? Narrow(value.AsText().value_or(OLESTR("?"))) : "<none>";
    }
    case Question::AttributeProperty:
    case Question::AttributeFormat:
    case Question::AttributeTypes: return AskAttribute(*type.Get(), question);
    case Question::GroupProperty:
    case Question::GroupFormat:
    case Question::ChildGroups: return AskGroup(*type.Get(), question);
    case Question::EditorProperty:
    case Question::DefaultEditors: return AskEditor(*type.Get(), question);
    default: return AskLists(*type.Get(), question);
    }
}

std::string AskSpecs(ILXConfigFactory& factory, const Question& question) {
    XLXComPtr<ILXGlobalAttributeFormatSpecEnum> specs;
    const HRESULT result = factory.GetAllGlobalAttributeFormatSpecs(specs.Put());
    return ListOf<ILXGlobalAttributeFormatSpec>(result, specs, [&](ILXGlobalAttributeFormatSpec& spec) {
        XLXComPtr<ILXFormat> format;
        const HRESULT got = spec.GetFormat(question.number, format.Put());
        return Read(&spec, 0) + Read(&spec, 2) + Found(got, format, question.member % 5);
    });
}

std::string AskRelations(ILXConfigFactory& factory, const Question& question) {
    XLXComPtr<ILXParentChildEnum> relations;
    const HRESULT result = factory.GetParentChildEnum(Bstr(question.type).Get(), nullptr, relations.Put());
    if (question.kind == Question::Relations) {
        return List<ILXParentChild>(result, relations,
                                    {XProperty::ParentName, XProperty::ChildName, XProperty::ChildList,
                                     XProperty::NameShort, XProperty::SystemInternal});
    }
    return ListOf<ILXParentChild>(result, relations, [](ILXParentChild& relation) {
        XLXComPtr<ILXPCInfoEnum> infos;
        const HRESULT listed = relation.GetPCInfoEnum(infos.Put());
        return List<ILXPCInfo>(listed, infos, {XProperty::PCInfoBrowser, XProperty::PCInfoLabel});
    });
}
} // namespace

Question Question::From(Decisions& decisions) {
    Question question;
    question.kind = static_cast<Kind>(decisions.Of(KindCount));
    question.type = decisions.OneOf(FuzzTypes);
    question.attribute = decisions.OneOf(FuzzAttributes);
    question.number = decisions.Of(6) - 1;
    question.member = decisions.Of(66) - 2;
    return question;
}

std::string Question::Text() const {
    return "question " + std::to_string(kind) + " " + type + "." + attribute + " " + std::to_string(number) + " " +
           std::to_string(member);
}

std::string LXAnswer(ILXConfigFactory& factory, const Question& question) {
    XLXComPtr<ILXTypeEnum> types;
    XLXComPtr<ILXBrowserIdEnum> browsers;
    HRESULT result = S_OK;
    switch (question.kind) {
    case Question::Types:
        result = factory.GetTypeEnum(nullptr, types.Put());
        return List<ILXType>(result, types, {XProperty::TypeName, XProperty::TypeLabel});
    case Question::SearchableTypes:
        result = factory.GetSearchableTypeEnum(types.Put());
        return List<ILXType>(result, types, {XProperty::TypeName});
    case Question::BrowserIds:
        result = factory.GetBrowserIdEnum(browsers.Put());
        return List<ILXBrowserId>(result, browsers, {0, 1});
    case Question::GlobalSpecs: return AskSpecs(factory, question);
    case Question::Relations:
    case Question::PCInfos: return AskRelations(factory, question);
    default: return AskType(factory, question);
    }
}

FuzzCache::FuzzCache()
    : m_server(XSampleServer::Create([] {
          static const XServerModel model = MakeModel();
          return model;
      }())) {
    m_cache = XLXComPtr<ILXConfigFactoryCache>(new XLXConfigFactoryCacheManager);
}

FuzzCache::~FuzzCache() { Terminate(); }

void FuzzCache::Start(LONG transferMode) {
    XLXComVariant values[6];
    values[0] = XLXComVariant::FromUnknown(m_server->ConfigFactory().Get());
    values[1] = XLXComVariant::FromUnknown(m_server->Query().Get());
    values[2] = XLXComVariant::FromUnknown(m_server->DataUpdate().Get());
    values[3] = XLXComVariant::FromBool(false);
    values[4] = XLXComVariant::FromBool(false);
    values[5] = XLXComVariant::FromI4(transferMode);
    LXRequire(m_cache.As<IDPFObject>()->Initialize(6, &values[0].Get()) == S_OK, "the cache starts");
}

void FuzzCache::Terminate() { LXRequire(m_cache.As<IDPFObject>()->Terminate() == S_OK, "the cache ends"); }

void FuzzCache::Compare(const Question& question) const {
    const std::string cached = LXAnswer(*Cache().Get(), question);
    const std::string direct = LXAnswer(*Direct().Get(), question);
    LXRequire(cached == direct, question.Text() + "\n cache:  " + cached + "\n server: " + direct);
}
