// SPDX-License-Identifier: MIT
//
// Relations between types: which types are allowed below which, and how each browser shows them.
#include "demo_sections.h"

#include <objbase.h>

#include <algorithm>

namespace {
constexpr const char* ParentType = "Unit";
constexpr LONG NoFilter = 0;

using Relations = std::vector<XLXComPtr<ILXParentChild>>;

/// A relation's child list and child type.
std::string NameOf(ILXParentChild& relation) {
    return LXTextOf(relation, XProperty::ChildList) + "/" + LXTextOf(relation, XProperty::ChildName);
}

Relations RelationsOf(const XDemoSession& session, const char* parent, const std::string& browser) {
    return LXList<ILXParentChild, ILXParentChildEnum>("GetPCEnum2", [&](auto** out) {
        return session.Cache().GetPCEnum2(nullptr, LXBstr(parent).Get(), LXBstr(browser).Get(), NoFilter, out);
    });
}

/// The relations that each browser shows below the parent type, and their number.
XToolTable ByBrowser(const XDemoSession& session) {
    const auto browsers = LXList<ILXBrowserId, ILXBrowserIdEnum>(
        "GetBrowserIdEnum", [&](auto** out) { return session.Factory()->GetBrowserIdEnum(out); });
    XToolTable table({"Browser", ">Relations", "Child list/child"});
    std::size_t shown = 0;
    for (const auto& browser : browsers) {
        const std::string name = LXTextOf(*browser, XProperty::BrowserIdName);
        std::vector<std::string> relations;
        for (const auto& relation : RelationsOf(session, ParentType, name)) {
            relations.push_back(NameOf(*relation));
        }
        shown += relations.size();
        table.Row({name, std::to_string(relations.size()), LXFirstOf(relations, 4)});
    }
    LXExpectThat(shown != 0, "no browser shows a relation");
    table.Rule();
    table.Row({"any", std::to_string(RelationsOf(session, ParentType, "").size())});
    return table;
}

void PrintByBrowser(XToolOutput& output, const XDemoSession& session) {
    output.Line(std::string("The types allowed below ") + ParentType + ":");
    const XMeasured first = session.Measure([&] { output.Table(ByBrowser(session)); });
    const XMeasured again = session.Measure([&] { ByBrowser(session); });
    LXExpectThat(again.calls.Total() == 0, "relations were requested twice: " + again.calls.Text());
    output.Line();
    output.Line("Server calls: " + std::to_string(first.calls.Total()) +
                " the first time (browser ids, and how each relation is shown), 0 again");
}

void PrintPPRQuestions(XToolOutput& output, const XDemoSession& session) {
    XToolTable table({"PPR question", "Answer"});
    for (const auto& [parent, child, expected] :
         {std::tuple("Pump", "Motor", S_OK), std::tuple("Pump", "Vessel", S_FALSE)}) {
        const HRESULT exists = session.Cache().PPRRelationExists(LXBstr(parent).Get(), LXBstr(child).Get(), nullptr, 0);
        LXExpect(exists, "PPRRelationExists", expected);
        const auto possible = LXList<ILXParentChild, ILXParentChildEnum>(
            "GetPossiblePPRRelations", [&, parent = parent, child = child](auto** out) {
                return session.Cache().GetPossiblePPRRelations(LXBstr(parent).Get(), LXBstr(child).Get(), nullptr, out);
            });
        std::vector<std::string> lists = LXTextsOf(possible, XProperty::ChildList);
        table.Row({std::string("may a ") + parent + " be related to a " + child + "?",
                   exists == S_OK ? "yes: " + LXJoined(lists, ", ") : "no (S_FALSE)"});
    }
    output.Table(table);
}

/// The names of all types derived from a type.
std::vector<std::string> DerivedFrom(const XDemoSession& session, const char* type) {
    LONG count = 0;
    BSTR* names = nullptr;
    LXExpect(session.Cache().GetAllDerivedTypes(LXBstr(type).Get(), &count, &names), "GetAllDerivedTypes");
    std::vector<std::string> result;
    for (LONG i = 0; i < count; ++i) {
        XLXComBSTR name;
        name.Attach(names[i]);
        result.push_back(LXToUtf8(name.View()));
    }
    CoTaskMemFree(names);
    return result;
}

void PrintDerivedTypes(XToolOutput& output, const XDemoSession& session) {
    XToolTable table({"Type", ">Derived types", "First"});
    for (const char* const type : {"Equipment", "Pump"}) {
        const auto derived = DerivedFrom(session, type);
        LXExpectThat(!derived.empty(), std::string("nothing derives from ") + type);
        table.Row({type, std::to_string(derived.size()), LXFirstOf(derived, 5)});
    }
    output.Table(table);

    const XLXComBSTR asked[] = {LXBstr("Equipment"), LXBstr("Motor")};
    BSTR names[] = {asked[0].Get(), asked[1].Get()};
    LONG derives[2] = {};
    LXExpect(session.Cache().CheckTypeDerivesFrom(LXBstr(DemoType).Get(), 2, names, derives), "CheckTypeDerivesFrom");
    LXExpectThat(derives[0] == 1 && derives[1] == 0, "the type's bases are wrong");
    output.Line();
    output.Line(std::string(DemoType) + " derives from Equipment: yes; from Motor: no");
}

void EditARelation(XToolOutput& output, XDemoSession& session) {
    output.Line();
    output.Line(std::string("An edit: the server allows a Mixer below a ") + ParentType + " in the list spareparts");
    XLXComPtr<ILXParentChildEnum> taken;
    LXExpect(session.Cache().GetPCEnum2(nullptr, LXBstr(ParentType).Get(), LXBstr("").Get(), NoFilter, taken.Put()),
             "GetPCEnum2");
    const std::size_t before = RelationsOf(session, ParentType, "").size();
    const std::string names = std::string(R"("parent":")") + ParentType + R"(","child":"Mixer","list":"spareparts"})";
    const XNotification sent =
        session.Edit(R"({"edit":"AddRelation",)" + names, R"({"edit":"RemoveRelation",)" + names);
    LXExpect(sent.result, "the client's DataObjectChanged");
    Relations after;
    const XMeasured cost = session.Measure([&] { after = RelationsOf(session, ParentType, ""); });
    const auto found = std::count_if(after.begin(), after.end(),
                                     [](const auto& relation) { return NameOf(*relation) == "spareparts/Mixer"; });
    const std::size_t kept = LXAllOf<ILXParentChild>(taken).size();
    LXExpectThat(found == 1 && after.size() == before + 1 && kept == before,
                 "the cache does not show the edit of the relation");
    output.Line("before         " + std::to_string(before) + " relations");
    output.Line("notification   id " + std::to_string(sent.id));
    output.Line("after          " + std::to_string(after.size()) +
                " relations, spareparts/Mixer among them; server calls: " + cost.calls.Text());
    output.Line("the enumeration taken before still has " + std::to_string(kept));
}
} // namespace

void LXShowRelations(XToolOutput& output, XDemoSession& session) {
    output.Section("Relations and derived types");
    PrintByBrowser(output, session);
    PrintPPRQuestions(output, session);
    PrintDerivedTypes(output, session);
    EditARelation(output, session);
}
