// SPDX-License-Identifier: MIT
//
// Sequences of operations: queries of a client and edits of the server. After each one, the cache must answer like the
// server.
#include "XModuleCount.h"
#include "cachetargets.h"

#include <stdexcept>

namespace {
constexpr int MostOperations = 24;
constexpr const char* BaseTypes[] = {"", "Item", "Equipment", "Document"};
constexpr int AttributeMembers[] = {
    XProperty::Label, XProperty::ShowInBrowser, XProperty::AttributeGroup, XProperty::Origin, 5, 59};

/// An object that a client keeps, with the query that found it.
struct Held {
    XLXComPtr<ILXType> type;
    const char* name = "";
};

class Run {
public:
    explicit Run(XBytes bytes) : m_decisions(bytes) {}

    bool All() {
        m_cache.Start(m_decisions.Of(16));
        for (int i = 0; i < MostOperations && !m_decisions.Empty(); ++i) {
            One();
        }
        // In the end both must agree about everything that may have changed.
        Compare({Question::ShownAttributes, "Pump", "Name", 1, 0});
        Compare({Question::Groups, "Item", "", 0, 0});
        return m_compared > 2;
    }

private:
    void One() {
        switch (m_decisions.Of(10)) {
        case 0: Edit(XNotify::Here); break;
        case 1: Edit(XNotify::Here); break;
        case 2: EditInsideTheNextQuestion(); break;
        case 3: Notify(); break;
        case 4: NotifyHeld(); break;
        case 5: Hold(); break;
        case 6: StartAgain(); break;
        default: Compare(Question::From(m_decisions)); break;
        }
    }

    void Compare(const Question& question) {
        m_cache.Compare(question);
        ++m_compared;
    }

    /// Makes an edit; one that the server refuses (a duplicate or unknown name) changes nothing.
    void Edit(XNotify notify) {
        try {
            switch (m_decisions.Of(3)) {
            case 0: EditComponents(notify); break;
            case 1: EditTypes(notify); break;
            default: EditOthers(notify); break;
            }
        } catch (const std::logic_error&) {}
    }

    void EditComponents(XNotify notify) {
        XServerEdits edit = m_cache.Server().Edit();
        const char* const type = m_decisions.OneOf(FuzzTypes);
        const char* const name = m_decisions.OneOf(FuzzAttributes);
        const int number = m_decisions.Of(6);
        const std::string value = "v" + std::to_string(++m_lastValue);
        switch (m_decisions.Of(14)) {
        case 0: edit.AddAttribute(type, name, number, notify); break;
        case 1: edit.RemoveAttribute(type, name, notify); break;
        case 2: edit.SetAttributeProperty(type, name, XProperty::Label, value, notify); break;
        case 3: edit.SetAttributeProperty(type, name, m_decisions.OneOf(AttributeMembers), number, notify); break;
        case 4: edit.AddAttributeType(type, name, "Feet", notify); break;
        case 5: edit.AddGroup(type, number, 1, number / 2, notify); break;
        case 6: edit.RemoveGroup(type, number, notify); break;
        case 7: edit.SetGroupProperty(type, number, XProperty::GroupLabel, value, notify); break;
        case 8: edit.AddPage(type, number, notify); break;
        case 9: edit.RemovePage(type, number, notify); break;
        case 10: edit.SetPageProperty(type, number, XProperty::PageLabel, value, notify); break;
        case 11: edit.AddEditor(type, "E.Added", number % 2 == 0 ? "Tree" : "List", true, true, notify); break;
        case 12: edit.RemoveEditor(type, "E.Added", notify); break;
        default: edit.SetEditorProperty(type, "E.Added", XProperty::MenuText, value, notify); break;
        }
    }

    // Types are added and changed, but not removed, because the cache keeps removed types.
    void EditTypes(XNotify notify) {
        XServerEdits edit = m_cache.Server().Edit();
        const char* const type = m_decisions.OneOf(FuzzTypes);
        const std::string value = "v" + std::to_string(++m_lastValue);
        switch (m_decisions.Of(6)) {
        case 0: edit.AddType(type, m_decisions.OneOf(BaseTypes), notify); break;
        case 1: edit.SetTypeProperty(type, XProperty::TypeLabel, value, notify); break;
        case 2: edit.SetTypeProperty(type, XProperty::Searchable, m_decisions.Of(2) == 1, notify); break;
        case 3: edit.SetTypeListed(type, m_decisions.Of(2) == 1, notify); break;
        case 4: SetBase(edit, notify); break;
        default: edit.AddAttribute(type, "Added1", 1, notify); break;
        }
    }

    /// Sets another base for a type from which no possible base derives.
    void SetBase(XServerEdits& edit, XNotify notify) {
        constexpr const char* leaves[] = {"Pump", "Valve", "Sheet", "Folder", "Hidden"};
        edit.SetTypeProperty(m_decisions.OneOf(leaves), XProperty::BaseTypeName, m_decisions.OneOf(BaseTypes), notify);
    }

    // Browser ids are changed, but not added, because the cache reads their set only once.
    void EditOthers(XNotify notify) {
        XServerEdits edit = m_cache.Server().Edit();
        const char* const type = m_decisions.OneOf(FuzzTypes);
        const char* const child = m_decisions.OneOf(FuzzTypes);
        const int number = m_decisions.Of(4);
        const std::string value = "v" + std::to_string(++m_lastValue);
        switch (m_decisions.Of(14)) {
        case 0: edit.AddRelation(type, child, "nodes", number, false, notify); break;
        case 1: edit.RemoveRelation(type, child, "nodes", notify); break;
        case 2: edit.SetRelationProperty(type, child, "nodes", XProperty::NameShort, value, notify); break;
        case 3: edit.AddPCInfo(type, child, "nodes", "Tree", true, notify); break;
        case 4: edit.SetPCInfoProperty(type, child, "nodes", "Tree", XProperty::PCInfoLabel, value, notify); break;
        case 5: edit.SetBrowserIdProperty("List", 1, value, notify); break;
        case 6: edit.SetBrowserIdProperty("Tree", 1, value, notify); break;
        case 7: edit.AddGlobalSpec("Width", notify); break;
        case 8: edit.SetGlobalSpecProperty("Length", 2, value, notify); break;
        case 9: edit.AddGlobalSpecFormat("Length", number, notify); break;
        case 10: edit.SetGlobalSpecFormatProperty("Length", 1, 1, value, notify); break;
        case 11: edit.AddAttributeFormat("Pump", "Head", number, notify); break;
        case 12: edit.RemoveAttributeFormat("Pump", "Head", number, notify); break;
        default: edit.SetAttributeFormatProperty("Pump", "Head", 1, 1, value, notify); break;
        }
    }

    /// Edits the server while it answers. The answer may lack the change, so it is not compared; later queries must see
    /// the change.
    void EditInsideTheNextQuestion() {
        const Question question = Question::From(m_decisions);
        bool pending = true;
        int calls = m_decisions.Of(4);
        m_cache.Server().Calls().SetHook([&](const XServerCall& call) {
            if (call.point == XCallPoint::Answer && pending && calls-- == 0) {
                pending = false;
                Edit(XNotify::Here);
            }
        });
        (void)LXAnswer(*m_cache.Cache().Get(), question);
        m_cache.Server().Calls().SetHook({});
        Compare(question);
    }

    std::string DataId() {
        constexpr const char* kinds[] = {"objects", "properties", "pc", "searchable", "other"};
        constexpr int modes[] = {-1, 0, 1, 2, 4, 8, 0x10, 0x20, 0x40, 0x80, 0x100, 0x200, 0x400, 0x800, 0x1000};
        return std::string(m_decisions.OneOf(kinds)) + "/" + m_decisions.OneOf(FuzzTypes) + "/" +
               std::to_string(m_decisions.Of(3) - 1) + "/" + std::to_string(m_decisions.OneOf(modes));
    }

    void Notify() { m_cache.Server().SendNotification(DataId()); }

    /// Sends a notification directly to a held type.
    void NotifyHeld() {
        if (m_held.type) {
            const XLXComBSTR id(LXFromUtf8(DataId()));
            const XLXComBSTR kind(OLESTR("cfc_specific"));
            const HRESULT result =
                m_held.type.As<ILXCallbackUpdate>()->DataObjectChanged(id.Get(), kind.Get(), 256, 7, 0, nullptr);
            LXRequire(result == S_OK, "a type takes every notification");
            CompareHeld();
        }
    }

    void Hold() {
        m_held.name = m_decisions.OneOf(FuzzTypes);
        m_cache.Cache()->GetType(XLXComBSTR(LXFromUtf8(m_held.name)).Get(), nullptr, m_held.type.Put());
        CompareHeld();
    }

    /// A held type must still be the cached one and give current answers.
    void CompareHeld() {
        XLXComPtr<ILXType> again;
        const XLXComBSTR name(LXFromUtf8(m_held.name));
        m_cache.Cache()->GetType(name.Get(), nullptr, again.Put());
        LXRequire(again.Get() == m_held.type.Get() || !m_held.type, "a held type stays the same object");
        Compare({Question::TypeProperty, m_held.name, "", 0, XProperty::TypeLabel});
    }

    void StartAgain() {
        m_cache.Terminate();
        if (m_held.type) // must still answer, with any result
        {
            XLXComVariant value;
            m_held.type->GetProperty(m_decisions.Of(30), value.Put());
            m_held.type.Reset();
        }
        m_cache.Start(m_decisions.Of(16));
    }

    Decisions m_decisions;
    FuzzCache m_cache;
    Held m_held;
    int m_compared = 0;
    int m_lastValue = 0;
};
} // namespace

bool FuzzOperations(XBytes bytes) {
    const long before = XSampleServer::LiveObjectsOfAllServers() + XModuleCount::LiveObjects();
    const bool compared = Run(bytes).All();
    LXRequire(XSampleServer::LiveObjectsOfAllServers() + XModuleCount::LiveObjects() == before,
              "nothing is left alive");
    return compared;
}
