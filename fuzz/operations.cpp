// SPDX-License-Identifier: MIT
//
// Sequences of operations: queries of a client and edits of the server. After each one, the cache must answer like the
// server.
#include "XEditChoice.h"
#include "XModuleCount.h"
#include "cachetargets.h"

namespace {
constexpr int MaxOperations = 24;
constexpr const char* Types[] = {"Item", "Equipment", "Pump", "Document", "Missing"};

/// The kinds of random edits, except removals of elements that the cache keeps.
std::vector<LXRandom::XKind> Kinds() {
    std::vector<LXRandom::XKind> kinds = LXRandom::KindsOfTypes();
    const auto others = LXRandom::KindsOfOthers();
    kinds.insert(kinds.end(), others.begin(), others.end());
    std::erase_if(kinds, [](const auto& kind) {
        constexpr std::string_view Kept[] = {"remove type", "add browser id", "remove browser id"};
        return std::find(std::begin(Kept), std::end(Kept), kind.name) != std::end(Kept);
    });
    return kinds;
}

class Run {
public:
    explicit Run(XBytes bytes) : m_decisions(bytes) {}

    bool All() {
        m_cache.Start(m_decisions.Of(16));
        for (int i = 0; i < MaxOperations && !m_decisions.Empty(); ++i) {
            One();
        }
        // At the end both must still agree.
        Compare({XTopic::ShownAttributes, OLESTR("Pump"), {}, 1});
        Compare({XTopic::Groups, OLESTR("Item")});
        return m_compared > 2;
    }

private:
    void One() {
        switch (m_decisions.Of(10)) {
        case 0:
        case 1: Edit(); break;
        case 2: EditInsideTheNextQuestion(); break;
        case 3:
        case 4: Notify(); break;
        case 5: Hold(); break;
        case 6: StartAgain(); break;
        default: Compare(Choose()); break;
        }
    }

    XInquiry Choose() {
        const auto all = LXEveryInquiry(m_cache.Server().Model());
        const auto high = static_cast<std::size_t>(m_decisions.Byte()) << 8;
        return all[(high | m_decisions.Byte()) % all.size()];
    }

    void Compare(const XInquiry& inquiry) {
        m_cache.Compare(inquiry);
        ++m_compared;
    }

    void Edit() {
        static const std::vector<LXRandom::XKind> kinds = Kinds();
        const auto& kind = m_decisions.OneOf(kinds);
        LXRandom::XChoice choice(m_decisions.Byte() + 0x100U * ++m_edits); // other names for each edit
        LXRandom::Edit edit;
        XServerEdits edits = m_cache.Server().Edit();
        edits.Change([&](XServerModel& model) { edit = kind.choose(model, choice); });
        if (edit) { edit(edits, XNotify::Here); }
    }

    /// Edits the server while it answers. The answer may lack the change, so it is not compared; later queries must see
    /// the change.
    void EditInsideTheNextQuestion() {
        const XInquiry inquiry = Choose();
        bool pending = true;
        int calls = m_decisions.Of(4);
        m_cache.Server().Calls().SetHook([&](const XServerCall& call) {
            if (call.point == XCallPoint::Answer && pending && calls-- == 0) {
                pending = false;
                Edit();
            }
        });
        (void)LXAnswer(*m_cache.Cache().Get(), inquiry);
        m_cache.Server().Calls().SetHook({});
        Compare(inquiry);
    }

    std::string DataId() {
        constexpr const char* kinds[] = {"objects", "properties", "pc", "searchable", "other"};
        constexpr int modes[] = {-1, 0, 1, 2, 4, 8, 0x10, 0x20, 0x40, 0x80, 0x100, 0x200, 0x400, 0x800, 0x1000};
        return std::string(m_decisions.OneOf(kinds)) + "/" + m_decisions.OneOf(Types) + "/" +
               std::to_string(m_decisions.Of(3) - 1) + "/" + std::to_string(m_decisions.OneOf(modes));
    }

    void Notify() { m_cache.Server().SendNotification(DataId()); }

    /// A held type stays the same object.
    void Hold() {
        const XLXText name = LXFromUtf8(m_decisions.OneOf(Types));
        const auto type = m_cache.Type(name);
        LXRequire(m_held.try_emplace(name, type).first->second == type, "a held type stays the same object");
        Compare({XTopic::TypeValues, name});
    }

    void StartAgain() {
        m_cache.Terminate();
        for (const auto& [name, type] : m_held) { // they must still answer, with any result
            XLXComVariant value;
            if (type) { type->GetProperty(m_decisions.Of(30), value.Put()); }
        }
        m_held.clear();
        m_cache.Start(m_decisions.Of(16));
    }

    Decisions m_decisions;
    FuzzCache m_cache;
    std::map<XLXText, XLXComPtr<ILXType>> m_held;
    int m_compared = 0;
    unsigned m_edits = 0;
};
} // namespace

bool FuzzOperations(XBytes bytes) {
    const long before = XSampleServer::LiveObjectsOfAllServers() + XModuleCount::LiveObjects();
    const bool compared = Run(bytes).All();
    LXRequire(XSampleServer::LiveObjectsOfAllServers() + XModuleCount::LiveObjects() == before, "no object leaks");
    return compared;
}
