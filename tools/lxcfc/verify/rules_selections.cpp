// SPDX-License-Identifier: MIT
//
// Rules for selections by value: the attributes of a display or a group, the default editors of a browser, and the
// cache's search for plan types.
#include "XVerification.h"

#include <lxserver/Model.h>

#include <algorithm>

namespace {
bool FlagIn(const XReadRecord& record, int index) {
    const auto at = static_cast<std::size_t>(index);
    return at < record.values.size() && LXIsFlag(record.values[at]) && V_BOOL(&record.values[at]) != VARIANT_FALSE;
}

LONG NumberIn(const XReadRecord& record, int index) {
    const auto at = static_cast<std::size_t>(index);
    return at < record.values.size() ? std::atoi(LXKeyText(record.values[at]).c_str()) : 0;
}

LONG DisplaysOf(const XReadRecord& attribute) {
    return lx::DisplaysOf([&](int index) { return FlagIn(attribute, index); }, NumberIn(attribute, XProperty::Origin));
}

/// Verifies the selections of a type. Skips attributes that base types also define, because another rule checks which
/// definition takes precedence.
class SelectionVerifier {
public:
    SelectionVerifier(XVerification& verification, const XReadType& type, ILXType& server)
        : m_verification(verification), m_type(type), m_server(server) {}

    void VerifyAttributes() {
        if (!m_type.components.attributes) { return; }
        const std::set<std::string> inherited = NamesOfBases();
        std::set<LONG> groups;
        for (const XReadRecord& attribute : *m_type.components.attributes) {
            if (inherited.contains(attribute.Key())) { continue; }
            m_own.emplace(attribute.Key(), &attribute);
            groups.insert(NumberIn(attribute, XProperty::AttributeGroup));
        }
        for (const LONG mask : {LXD_EDITOR, LXD_FINDER, LXD_BROWSER, LXD_PRINTABLE, LXD_VENDORDEFINED, LXD_INAVSET}) {
            const auto isShown = [mask](const XReadRecord& attribute) { return (DisplaysOf(attribute) & mask) != 0; };
            Compare("GetDisplayAttributeEnum", std::to_string(mask), isShown,
                    [&](ILXAttributeEnum** out) { return m_server.GetDisplayAttributeEnum(mask, out); });
        }
        for (const LONG group : groups) {
            const auto isIn = [group](const XReadRecord& attribute) {
                return NumberIn(attribute, XProperty::AttributeGroup) == group;
            };
            Compare("GetGroupAttributeEnum", std::to_string(group), isIn,
                    [&](ILXAttributeEnum** out) { return m_server.GetGroupAttributeEnum(group, out); });
            Compare(
                "GetDisplayGroupAttributeEnum", std::to_string(LXD_EDITOR) + ", " + std::to_string(group),
                [&](const XReadRecord& attribute) {
                    return isIn(attribute) && (DisplaysOf(attribute) & LXD_EDITOR) != 0;
                },
                [&](auto** out) { return m_server.GetDisplayGroupAttributeEnum(LXD_EDITOR, group, out); });
        }
    }

    void VerifyDefaultEditors() {
        if (!m_type.components.editors) { return; }
        std::set<std::string> browsers;
        for (const XReadRecord& editor : *m_type.components.editors) {
            browsers.insert(editor.Text(XProperty::EditorBrowserId));
        }
        for (const std::string& name : browsers) {
            const XLXComBSTR browser = LXBstr(name);
            VerifyDefault("GetDefaultEditor", name, XProperty::DefaultEditor,
                          [&](ILXConfObjEditor** out) { return m_server.GetDefaultEditor(browser.Get(), out); });
            VerifyDefault("GetDefaultNewEditor", name, XProperty::DefaultNewEditor,
                          [&](ILXConfObjEditor** out) { return m_server.GetDefaultNewEditor(browser.Get(), out); });
        }
    }

private:
    std::set<std::string> NamesOfBases() const {
        std::set<std::string> names;
        m_verification.types->EachBase(m_type, [&](const XReadType& base) {
            for (const XReadRecord& attribute : base.components.attributes.value_or(std::vector<XReadRecord>())) {
                names.insert(attribute.Key());
            }
        });
        return names;
    }

    template <class Takes, class Ask>
    void Compare(const std::string& method, const std::string& arguments, Takes&& takes, Ask&& ask) {
        const auto answer = m_verification.Ask<ILXAttributeEnum>(XWanted::AnswerIfOffered, method,
                                                                 m_type.head.path + ", " + arguments, ask);
        if (FAILED(answer.result)) { return; }
        std::set<std::string> came;
        for (const auto& attribute : m_verification.AskAll<ILXAttribute>(answer)) {
            came.insert(m_verification.AskKey(*attribute, XElementKind::Attribute, answer.call));
        }
        std::string difference;
        for (const auto& [name, attribute] : m_own) {
            if (takes(*attribute) == came.contains(name)) { continue; }
            difference = attribute->path +
                         (came.contains(name) ? " is returned although its values do not match" : " is missing");
        }
        m_verification.Findings().Check(difference.empty(), XRule::AgreeDisplays, answer.call, difference);
    }

    /// Checks that the result is an editor whose values say that it is a default of the browser. No result is correct
    /// only if the type has no such editor itself.
    template <class Ask>
    void VerifyDefault(const std::string& method, const std::string& browser, int flag, Ask&& ask) {
        const auto isDefault = [&](const XReadRecord& editor) {
            return FlagIn(editor, flag) &&
                   lx::EqualWithoutCase(LXFromUtf8(editor.Text(XProperty::EditorBrowserId)), LXFromUtf8(browser));
        };
        const std::vector<XReadRecord>& own = *m_type.components.editors;
        const auto answer = m_verification.Ask<ILXConfObjEditor>(XWanted::AnswerIfOffered, method,
                                                                 m_type.head.path + ", " + LXQuoted(browser), ask);
        if (FAILED(answer.result)) { return; }
        if (!answer.Has()) {
            const auto missing = std::find_if(own.begin(), own.end(), isDefault);
            m_verification.Findings().Check(missing == own.end(), XRule::AgreeDefaults, answer.call,
                                            missing == own.end() ? "" : "nothing instead of " + missing->path);
            return;
        }
        const std::string name = m_verification.AskKey(*answer.object, XElementKind::Editor, answer.call);
        const auto found = std::find_if(own.begin(), own.end(), [&](const auto& one) { return one.Key() == name; });
        const bool isInherited = found == own.end(); // checked at the base type
        m_verification.Findings().Check(isInherited || isDefault(*found), XRule::AgreeDefaults, answer.call,
                                        LXQuoted(name) + " is not a default according to its values");
    }

    XVerification& m_verification;
    const XReadType& m_type;
    ILXType& m_server;
    std::map<std::string, const XReadRecord*> m_own; ///< attributes that no base type defines
};

/// The number of active sets of plan types; nullopt if the search fails.
std::optional<std::size_t> SearchPlanTypes(XVerification& verification, ILX_Query& query) {
    const auto call = [&](const char* method, auto&& make) {
        const std::string text = std::string("ILX_Query::") + method;
        const HRESULT result = verification.Calls().Make(text, text, make);
        return verification.Findings().Check(SUCCEEDED(result), XRule::PlanTypes, text, LXResultName(result));
    };
    const bool isSet =
        call("ResetSearch", [&] { return query.ResetSearch(0); }) &&
        call("SetSearchTable", [&] { return query.SetSearchTable(LXBstr("lumbrixtypeset").Get()); }) &&
        call("SetSearchAttribute",
             [&] { return query.SetSearchAttribute(LXBstr("master").Get(), 0, XLXComVariant::FromI4(1).Get(), 0); });
    if (!isSet) { return {}; }
    const auto found =
        verification.Ask<IEnumBaseDataObject>(XWanted::Answer, "ILX_Query::GetSearchResult", "master plan type sets",
                                              [&](IEnumBaseDataObject** out) { return query.GetSearchResult(out); });
    const std::size_t count = verification.AskAll<ILX_BaseDataObject>(found).size();
    call("ResetSearch", [&] { return query.ResetSearch(0); });
    return SUCCEEDED(found.result) ? std::optional(count) : std::nullopt;
}

void VerifyPlanTypes(XVerification& verification) {
    ILX_Query* const query = verification.Server().query.Get();
    if (query == nullptr) { return verification.Findings().NotTested(XRule::PlanTypes, "the server has no ILX_Query"); }
    const auto first = SearchPlanTypes(verification, *query);
    const auto second = first ? SearchPlanTypes(verification, *query) : std::nullopt;
    if (!second) { return; }
    verification.Findings().Check(first == second, XRule::PlanTypes, "the same search again, after ResetSearch(0)",
                                  std::to_string(*second) + " objects instead of " + std::to_string(*first));
}
} // namespace

void LXVerifySelections(XVerification& verification) {
    for (const XReadType* const record : verification.sample) {
        const XLXComPtr<ILXType> type = verification.AskType(record->head.Key());
        if (!type) { continue; }
        SelectionVerifier selections(verification, *record, *type);
        selections.VerifyAttributes();
        selections.VerifyDefaultEditors();
    }
    VerifyPlanTypes(verification);
}
