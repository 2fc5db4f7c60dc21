// SPDX-License-Identifier: MIT
//
// Rules for the parts of types: objects in arrays, look-ups and enumerations.
#include "XVerification.h"

#include <algorithm>

namespace {
constexpr std::size_t OneByOne = 3; // number of objects per kind whose values are read one by one
constexpr int MostFormatTypes = 4;  // formats have no enumeration, so only the format types 0 to 3 are tested

int NumberOf(const XReadRecord& record) { return std::atoi(record.Key().c_str()); }

const std::vector<XReadRecord>& PartsOf(const XReadList& list) {
    static const std::vector<XReadRecord> none;
    return list ? *list : none;
}

class PartVerifier {
public:
    PartVerifier(XVerification& verification, const XReadType& type, ILXType& server)
        : m_verification(verification), m_type(type), m_server(server) {}

    void VerifyAll() {
        const XReadComponents& parts = m_type.components;
        Verify<ILXPage, ILXPageEnum>(
            parts.pages, &XReadComponents::pages, "Page",
            [&](const XReadRecord& page, ILXPage** out) { return m_server.GetPage(NumberOf(page), out); },
            [&](ILXPageEnum** out) { return m_server.GetPageEnum(out); });
        Verify<ILXGroup, ILXGroupEnum>(
            parts.groups, &XReadComponents::groups, "Group",
            [&](const XReadRecord& group, ILXGroup** out) { return m_server.GetGroup(NumberOf(group), out); },
            [&](ILXGroupEnum** out) { return m_server.GetGroupEnum(out); });
        Verify<ILXConfObjEditor, ILXConfObjEditorEnum>(
            parts.editors, &XReadComponents::editors, "ConfObjEditor",
            [&](const XReadRecord& editor, ILXConfObjEditor** out) {
                return m_server.GetConfObjEditor(LXBstr(editor.Key()).Get(), nullptr, nullptr, out);
            },
            [&](ILXConfObjEditorEnum** out) { return m_server.GetConfObjEditorEnum(out); });
        Verify<ILXAttribute, ILXAttributeEnum>(
            parts.attributes, &XReadComponents::attributes, "Attribute",
            [&](const XReadRecord& attribute, ILXAttribute** out) {
                return m_server.GetAttribute(LXBstr(attribute.Key()).Get(), out);
            },
            [&](ILXAttributeEnum** out) { return m_server.GetAttributeEnum(out); });
    }

private:
    template <class I, class E, class LookUp, class Enumerate>
    void Verify(const XReadList& list, XReadList XReadComponents::*which, const std::string& name, LookUp&& lookUp,
                Enumerate&& enumerate) {
        if (!list) { return; }
        std::size_t asked = 0;
        for (const XReadRecord& record : *list) {
            VerifyObject<I>(record);
            const auto found = m_verification.Ask<I>(XWanted::AnswerIfOffered, "Get" + name, record.path,
                                                     [&](I** out) { return lookUp(record, out); });
            if (record.kind != XElementKind::Editor) { m_verification.JudgeMissing(record, found.Has(), found.call); }
            if (found.IsOffered()) { VerifyFound(found, NearestToRoot(record, which), asked++ < OneByOne); }
        }
        VerifyEnumeration<I>(*list, which,
                             m_verification.Ask<E>(XWanted::AnswerIfOffered, "Get" + name + "Enum",
                                                   "type " + LXQuoted(m_type.head.Key()), enumerate));
    }

    /// The record that a look-up must find: if base types define the attribute too, the one nearest to the root.
    const XReadRecord& NearestToRoot(const XReadRecord& own, XReadList XReadComponents::*which) const {
        const XReadRecord* nearest = &own;
        if (own.kind != XElementKind::Attribute) { return own; }
        m_verification.types->EachBase(m_type, [&](const XReadType& base) {
            const XReadRecord* const found = FindIn(base.components.*which, own.Key());
            nearest = found != nullptr ? found : nearest;
        });
        return *nearest;
    }

    static const XReadRecord* FindIn(const XReadList& list, const std::string& key) {
        if (!list) { return nullptr; }
        const auto found =
            std::find_if(list->begin(), list->end(), [&](const XReadRecord& record) { return record.Key() == key; });
        return found != list->end() ? &*found : nullptr;
    }

    /// Verifies the object in a record, and the objects of its attribute types.
    template <class I> void VerifyObject(const XReadRecord& record) {
        LXVerifyRecordObject<I>(m_verification, record);
        for (const XReadRecord& type : record.types) {
            LXVerifyRecordObject<ILXAttributeType>(m_verification, type);
        }
    }

    template <class I> void VerifyFound(const XAnswered<I>& found, const XReadRecord& expected, bool oneByOne) {
        if (!m_verification.Findings().Check(found.Has(), XRule::AgreeLookups, found.call, "nothing is found")) {
            return;
        }
        const auto row = m_verification.AskProperties(*found.object, expected.kind, expected.path);
        if (!row) { return; }
        const std::string difference = LXDifference(LXRowOf(expected.values), "the array", *row, "the object");
        m_verification.Findings().Check(difference.empty(), XRule::AgreeLookups, found.call, difference);
        if (oneByOne) { m_verification.CompareProperties(*found.object, expected.kind, expected.path, *row); }
    }

    /// The enumeration must contain all of the type's own parts. It may contain inherited ones.
    template <class I, class E>
    void VerifyEnumeration(const std::vector<XReadRecord>& list, XReadList XReadComponents::*which,
                           const XAnswered<E>& answer) {
        std::set<std::string> came;
        for (const auto& object : m_verification.AskAll<I>(answer)) {
            came.insert(m_verification.AskKey(*object, KindOf<I>(), answer.call));
        }
        for (const XReadRecord& record : list) {
            if (record.kind == XElementKind::Editor) { // only editors lack a look-up that reliably finds them
                m_verification.JudgeMissing(record, came.contains(record.Key()), answer.call);
            }
        }
        if (FAILED(answer.result)) { return; }
        std::string difference;
        for (const XReadRecord& record : list) {
            if (came.erase(record.Key()) == 0) { difference = record.path + " is missing"; }
        }
        m_verification.types->EachBase(m_type, [&](const XReadType& base) {
            for (const XReadRecord& inherited : PartsOf(base.components.*which)) {
                came.erase(inherited.Key());
            }
        });
        if (difference.empty() && !came.empty()) { difference = LXQuoted(*came.begin()) + " is not in the array"; }
        m_verification.Findings().Check(difference.empty(), XRule::AgreeEnumerations, answer.call, difference);
    }

    template <class I> static constexpr XElementKind KindOf() {
        return std::is_same_v<I, ILXPage>            ? XElementKind::Page
               : std::is_same_v<I, ILXGroup>         ? XElementKind::Group
               : std::is_same_v<I, ILXConfObjEditor> ? XElementKind::Editor
                                                     : XElementKind::Attribute;
    }

    XVerification& m_verification;
    const XReadType& m_type;
    ILXType& m_server;
};

/// Verifies the enumeration of an attribute's types.
void VerifyAttributeTypes(XVerification& verification, ILXType& type, const XReadRecord& attribute) {
    const auto found = verification.Ask<ILXAttribute>(
        XWanted::AnswerIfOffered, "GetAttribute", attribute.path,
        [&](ILXAttribute** out) { return type.GetAttribute(LXBstr(attribute.Key()).Get(), out); });
    if (!found.Has()) { return; }
    const auto answer = verification.Ask<ILXAttributeTypeEnum>(
        XWanted::AnswerIfOffered, "GetAttributeTypeEnum", attribute.path,
        [&](ILXAttributeTypeEnum** out) { return found.object->GetAttributeTypeEnum(out); });
    std::multiset<std::string> expected;
    std::multiset<std::string> came;
    for (const auto& one : verification.AskAll<ILXAttributeType>(answer)) {
        came.insert(verification.AskKey(*one, XElementKind::AttributeType, answer.call));
    }
    for (const XReadRecord& one : attribute.types) {
        expected.insert(one.Key());
        verification.JudgeMissing(one, came.contains(one.Key()), answer.call);
    }
    if (!answer.IsOffered()) { return; }
    verification.Findings().Check(expected == came, XRule::AgreeEnumerations, answer.call,
                                  "the array has " + std::to_string(expected.size()) + ", the enumeration " +
                                      std::to_string(came.size()) + ", or other names");
}

/// Verifies a format. Arrays contain no formats, so it is read twice, and its values in both ways.
template <class Ask> void VerifyFormat(XVerification& verification, const std::string& whose, Ask&& ask) {
    const auto format = verification.Ask<ILXFormat>(XWanted::AnswerIfOffered, "GetFormat", whose, ask);
    if (!format.Has()) { return; }
    const auto row = verification.AskProperties(*format.object, XElementKind::Format, format.call);
    if (row) { verification.CompareProperties(*format.object, XElementKind::Format, format.call, *row); }
    const auto again = verification.Ask<ILXFormat>(XWanted::AnswerIfOffered, "GetFormat", whose, ask);
    const auto other =
        again.Has() ? verification.AskProperties(*again.object, XElementKind::Format, again.call) : std::nullopt;
    verification.Findings().Check(!row || row == other, XRule::AgreeLookups, format.call,
                                  "a second request finds nothing or other values");
}

/// Verifies objects and enumerations without a counterpart in arrays: formats and top-level groups.
void VerifyOthers(XVerification& verification, ILXType& type, const XReadType& record) {
    constexpr XWanted Wanted = XWanted::AnswerIfOffered;
    const std::string& who = record.head.path;
    verification.AskAll<ILXGroup>(verification.Ask<ILXGroupEnum>(
        Wanted, "GetToplevelGroupEnum", who, [&](ILXGroupEnum** out) { return type.GetToplevelGroupEnum(out); }));
    for (const XReadRecord& page : PartsOf(record.components.pages)) {
        verification.AskAll<ILXGroup>(
            verification.Ask<ILXGroupEnum>(Wanted, "GetPageToplevelGroupEnum", page.path, [&](ILXGroupEnum** out) {
                return type.GetPageToplevelGroupEnum(NumberOf(page), out);
            }));
    }
    for (const XReadRecord& group : PartsOf(record.components.groups)) {
        const auto found = verification.Ask<ILXGroup>(
            Wanted, "GetGroup", group.path, [&](ILXGroup** out) { return type.GetGroup(NumberOf(group), out); });
        if (!found.Has()) { continue; }
        VerifyFormat(verification, group.path, [&](ILXFormat** out) { return found.object->GetFormat(out); });
    }
    for (const XReadRecord& attribute : PartsOf(record.components.attributes)) {
        const auto found =
            verification.Ask<ILXAttribute>(Wanted, "GetAttribute", attribute.path, [&](ILXAttribute** out) {
                return type.GetAttribute(LXBstr(attribute.Key()).Get(), out);
            });
        for (int format = 0; found.Has() && format < MostFormatTypes; ++format) {
            VerifyFormat(verification, attribute.path + ", " + std::to_string(format),
                         [&](ILXFormat** out) { return found.object->GetFormat(format, out); });
        }
    }
}
} // namespace

void LXVerifyParts(XVerification& verification) {
    for (const XReadType* const record : verification.sample) {
        LXVerifyRecordObject<ILXType>(verification, record->head);
        verification.Findings().NotTested(XRule::NullObjects, "every record comes with its object");
        const XLXComPtr<ILXType> type = verification.AskType(record->head.Key());
        verification.JudgeMissing(record->head, static_cast<bool>(type),
                                  "GetType(" + LXQuoted(record->head.Key()) + ")");
        if (!type) { continue; }
        PartVerifier(verification, *record, *type).VerifyAll();
        VerifyOthers(verification, *type, *record);
        // With base types, a look-up by name may find a base type's attribute.
        if (!record->head.Text(XProperty::BaseTypeName).empty()) { continue; }
        for (const XReadRecord& attribute : PartsOf(record->components.attributes)) {
            VerifyAttributeTypes(verification, *type, attribute);
        }
    }
}
