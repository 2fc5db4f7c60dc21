// SPDX-License-Identifier: MIT
//
// Prints any property of any object.
#include "XCfcObjects.h"
#include "XCommands.h"
#include "XSuggestion.h"

#include <algorithm>
#include <charconv>

namespace {
using Object = XLXComPtr<ILXConfigObject>;
using Names = std::vector<std::string>;

/// The parts of a name like "Pump/RatedFlow". A "/" in a part is written "%2F", a "%" may be written "%25".
Names PartsOf(const std::string& name) {
    Names parts(1);
    for (std::size_t i = 0; i < name.size(); ++i) {
        const std::string code = name.substr(i, 3);
        if (name[i] == '/') {
            parts.emplace_back();
        } else if (code == "%2F" || code == "%25") {
            parts.back() += code == "%2F" ? '/' : '%';
            i += 2;
        } else {
            parts.back() += name[i];
        }
    }
    return parts;
}

int NumberOf(const std::string& text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    LXExpectThat(error == std::errc() && end == text.data() + text.size(), "\"" + text + "\" is not a number");
    return number;
}

/// The object that a query returns; null if there is none.
template <class Interface, class Ask> XLXComPtr<Interface> Asked(const char* what, Ask&& ask) {
    XLXComPtr<Interface> object;
    if (const HRESULT result = ask(object.Put()); result != S_FALSE) { LXExpect(result, what); }
    return object;
}

/// The element of a list with this text in a member; null if there is none.
template <class Element>
XLXComPtr<Element> Among(const std::vector<XLXComPtr<Element>>& elements, int member, const std::string& text) {
    const auto found =
        std::find_if(elements.begin(), elements.end(), [&](const auto& e) { return LXTextOf(*e, member) == text; });
    return found != elements.end() ? *found : nullptr;
}

/// The element of a list with this text in a member. Raises if there is none.
template <class Element>
Object Named(const char* kind, const std::vector<XLXComPtr<Element>>& elements, int member, const std::string& text) {
    const auto found = Among(elements, member, text);
    LXExpectThat(static_cast<bool>(found), std::string("there is no ") + kind + " \"" + text + "\"" +
                                               LXDidYouMean(text, LXTextsOf(elements, member)));
    return Object(found.Get());
}

XLXComPtr<ILXAttribute> Attribute(XCfcSession& session, const Names& at) {
    const auto type = session.Type(at[0]);
    auto attribute =
        Asked<ILXAttribute>("GetAttribute", [&](auto** out) { return type->GetAttribute(LXBstr(at[1]).Get(), out); });
    if (!attribute) {
        throw XToolFailure("there is no attribute \"" + at[1] + "\" of the type \"" + at[0] + "\"" +
                           LXDidYouMean(at[1], LXTextsOf(LXAttributesOf(*type, 0), XProperty::AttributeName)));
    }
    return attribute;
}

XLXComPtr<ILXGroup> Group(XCfcSession& session, const Names& at) {
    return Asked<ILXGroup>("GetGroup", [&](auto** out) { return session.Type(at[0])->GetGroup(NumberOf(at[1]), out); });
}

XLXComPtr<ILXParentChild> Relation(XCfcSession& session, const Names& at) {
    session.Type(at[0]);
    session.Type(at[1]);
    return Asked<ILXParentChild>("GetSinglePCRelation", [&](auto** out) {
        return session.Cache().GetSinglePCRelation(LXBstr(at[0]).Get(), LXBstr(at[1]).Get(), nullptr,
                                                   LXBstr(at[2]).Get(), out);
    });
}

std::vector<XLXComPtr<ILXGlobalAttributeFormatSpec>> Specs(XCfcSession& session) {
    return LXList<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
        "GetAllGlobalAttributeFormatSpecs",
        [&](auto** out) { return session.Cached().GetAllGlobalAttributeFormatSpecs(out); });
}

/// An object that is requested from another one, which may be null.
template <class Interface, class Owner, class Ask> Object Of(const char* what, const Owner& owner, Ask&& ask) {
    return owner ? Object(Asked<Interface>(what, [&](auto** out) { return ask(*owner, out); }).Get()) : nullptr;
}

struct Kind {
    const char* name;
    const char* parts; ///< the parts of its name
    XElementKind element;
    std::function<Object(XCfcSession&, const Names&)> find;
};

std::vector<Kind> KindsOfTypes() {
    return {
        {"type", "TYPE", XElementKind::Type, [](auto& session, auto& at) { return Object(session.Type(at[0]).Get()); }},
        {"attribute", "TYPE/ATTRIBUTE", XElementKind::Attribute,
         [](auto& session, auto& at) { return Object(Attribute(session, at).Get()); }},
        {"attributetype", "TYPE/ATTRIBUTE/NAME", XElementKind::AttributeType,
         [](auto& session, auto& at) -> Object {
             const auto attribute = Attribute(session, at);
             return Named("attribute type",
                          LXList<ILXAttributeType, ILXAttributeTypeEnum>(
                              "GetAttributeTypeEnum", [&](auto** out) { return attribute->GetAttributeTypeEnum(out); }),
                          XProperty::AttributeTypeName, at[2]);
         }},
        {"format", "TYPE/ATTRIBUTE/FORMATTYPE", XElementKind::Format,
         [](auto& session, auto& at) {
             return Of<ILXFormat>("GetFormat", Attribute(session, at), [&](auto& attribute, auto** out) {
                 return attribute.GetFormat(NumberOf(at[2]), out);
             });
         }},
        {"group", "TYPE/NUMBER", XElementKind::Group,
         [](auto& session, auto& at) { return Object(Group(session, at).Get()); }},
        {"groupformat", "TYPE/NUMBER", XElementKind::Format,
         [](auto& session, auto& at) {
             return Of<ILXFormat>("GetFormat", Group(session, at),
                                  [](auto& group, auto** out) { return group.GetFormat(out); });
         }},
        {"page", "TYPE/NUMBER", XElementKind::Page,
         [](auto& session, auto& at) {
             return Of<ILXPage>("GetPage", session.Type(at[0]),
                                [&](auto& type, auto** out) { return type.GetPage(NumberOf(at[1]), out); });
         }},
        {"editor", "TYPE/PROGID", XElementKind::Editor, [](auto& session, auto& at) {
             return Of<ILXConfObjEditor>("GetConfObjEditor", session.Type(at[0]), [&](auto& type, auto** out) {
                 return type.GetConfObjEditor(LXBstr(at[1]).Get(), nullptr, nullptr, out);
             });
         }}};
}

std::vector<Kind> KindsOfOthers() {
    return {{"relation", "PARENT/CHILD/LIST", XElementKind::Relation,
             [](auto& session, auto& at) { return Object(Relation(session, at).Get()); }},
            {"pcinfo", "PARENT/CHILD/LIST/BROWSER", XElementKind::PCInfo,
             [](auto& session, auto& at) {
                 return Of<ILXPCInfo>("GetPCInfo", Relation(session, at), [&](auto& relation, auto** out) {
                     return relation.GetPCInfo(LXBstr(at[3]).Get(), out);
                 });
             }},
            {"browser", "BROWSER", XElementKind::BrowserId,
             [](auto& session, auto& at) {
                 return Named(
                     "browser",
                     LXList<ILXBrowserId, ILXBrowserIdEnum>(
                         "GetBrowserIdEnum", [&](auto** out) { return session.Cached().GetBrowserIdEnum(out); }),
                     XProperty::BrowserIdName, at[0]);
             }},
            {"spec", "SPEC", XElementKind::GlobalSpec,
             [](auto& session, auto& at) { return Named("spec", Specs(session), XProperty::SpecId, at[0]); }},
            {"specformat", "SPEC/FORMATTYPE", XElementKind::Format, [](auto& session, auto& at) {
                 return Of<ILXFormat>("GetFormat", Among(Specs(session), XProperty::SpecId, at[0]),
                                      [&](auto& spec, auto** out) { return spec.GetFormat(NumberOf(at[1]), out); });
             }}};
}

const std::vector<Kind>& ReadableKinds() {
    static const std::vector<Kind> kinds = [] {
        std::vector<Kind> all = KindsOfTypes();
        const std::vector<Kind> others = KindsOfOthers();
        all.insert(all.end(), others.begin(), others.end());
        return all;
    }();
    return kinds;
}

class GetCommand {
public:
    void Declare(CLI::App& app) {
        std::vector<std::string> names;
        std::string footer = "Names by kind; write %2F for a / in a part of a name:";
        for (const Kind& kind : ReadableKinds()) {
            names.emplace_back(kind.name);
            footer += std::string("\n  ") + kind.name + " " + kind.parts;
        }
        app.footer(footer);
        app.add_option("KIND", m_kind, "The kind of object")->required()->check(CLI::IsMember(names));
        app.add_option("NAME", m_name, "The name of the object; see below")->required();
        app.add_option("PROPERTY", m_property,
                       "An index, a key of the model files, or a name such as LXCFG_showineditor "
                       "(default: all properties)");
    }
    int Run(XRun& run) const {
        const auto kind = std::find_if(ReadableKinds().begin(), ReadableKinds().end(),
                                       [this](const Kind& k) { return k.name == m_kind; });
        const Names parts = PartsOf(m_name);
        const auto wanted = PartsOf(kind->parts).size();
        LXExpectThat(parts.size() == wanted, "NAME is " + std::string(kind->parts) + " for the kind " + m_kind);
        const Object object = kind->find(run.Session(), parts);
        LXExpectThat(static_cast<bool>(object), "there is no " + m_kind + " \"" + m_name + "\"");
        XJson answer = {{"kind", m_kind}, {"name", m_name}};
        if (m_property.empty()) {
            answer["values"] = LXNamedValuesOf(kind->element, *object);
            return run.Answer(answer);
        }
        answer["property"] = m_property;
        answer["value"] = Value(*object, kind->element);
        return run.Answer(answer);
    }

private:
    XJson Value(ILXConfigObject& object, XElementKind kind) const {
        const XPropertyNames& names = XPropertyNames::The();
        const int index = names.Find(kind, m_property);
        LXExpectThat(index >= 0, "there is no property \"" + m_property + "\" of this kind" +
                                     LXDidYouMean(m_property, names.Known(kind)));
        return LXPropertyOf(object, index);
    }

    std::string m_kind;
    std::string m_name;
    std::string m_property;
};
} // namespace

void LXAddGetCommand(XCommands& commands) { commands.Add<GetCommand>("get", "Any property of any object"); }
