// SPDX-License-Identifier: MIT
//
// Sequences of operations: queries of a client, edits of the server, and notifications. After each one, the cache must
// answer like the server.
#include "XEditChoice.h"
#include "XModuleCount.h"
#include "fuzztargets.h"
#include "lxconfigfactorycachemanager.h"
#include "questions.h"

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

const XServerModel& Model() {
    static const XServerModel model = LXLifeModel();
    return model;
}

/// A cache in client mode with its own sample server.
class Run {
public:
    explicit Run(XBytes bytes) : m_decisions(bytes) {}
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() { Terminate(); }

    bool All() {
        Start();
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
        case 3: m_server->SendNotification(DataId()); break;
        case 4: NotifyOneReceiver(); break;
        case 5: Hold(); break;
        case 6: StartAgain(); break;
        default: Compare(Choose()); break;
        }
    }

    void Start() {
        auto values = LXArguments(*m_server, m_decisions.Of(16));
        LXRequire(m_cache.As<IDPFObject>()->Initialize(6, &values[0].Get()) == S_OK, "Initialize succeeds");
    }

    void Terminate() { LXRequire(m_cache.As<IDPFObject>()->Terminate() == S_OK, "Terminate succeeds"); }

    XLXComPtr<ILXType> Type(XLXTextView name) const {
        XLXComPtr<ILXType> type;
        m_cache->GetType(XLXComBSTR(name).Get(), nullptr, type.Put());
        return type;
    }

    XInquiry Choose() {
        const auto all = LXEveryInquiry(m_server->Model());
        const auto high = static_cast<std::size_t>(m_decisions.Byte()) << 8;
        return all[(high | m_decisions.Byte()) % all.size()];
    }

    /// Requires that cache and server give the same answer.
    void Compare(const XInquiry& inquiry) {
        const std::string difference = LXDifference(*m_cache.Get(), *m_server->ConfigFactory().Get(), inquiry);
        LXRequire(difference.empty(), difference);
        ++m_compared;
    }

    void Edit() {
        static const std::vector<LXRandom::XKind> kinds = Kinds();
        const auto& kind = m_decisions.OneOf(kinds);
        LXRandom::XChoice choice(m_decisions.Byte() + 0x100U * ++m_edits); // other names for each edit
        LXRandom::Edit edit;
        XServerEdits edits = m_server->Edit();
        edits.Change([&](XServerModel& model) { edit = kind.choose(model, choice); });
        if (edit) { edit(edits, XNotify::Here); }
    }

    /// Edits the server while it answers. The answer may lack the change, so it is not compared; later queries must see
    /// the change.
    void EditInsideTheNextQuestion() {
        const XInquiry inquiry = Choose();
        bool pending = true;
        int calls = m_decisions.Of(4);
        m_server->Calls().SetHook([&](const XServerCall& call) {
            if (call.point == XCallPoint::Answer && pending && calls-- == 0) {
                pending = false;
                Edit();
            }
        });
        (void)LXAnswer(*m_cache.Get(), inquiry);
        m_server->Calls().SetHook({});
        Compare(inquiry);
    }

    std::string DataId() {
        constexpr const char* kinds[] = {"objects", "properties", "pc", "searchable", "other"};
        constexpr int modes[] = {-1, 0, 1, 2, 4, 8, 0x10, 0x20, 0x40, 0x80, 0x100, 0x200, 0x400, 0x800, 0x1000};
        return std::string(m_decisions.OneOf(kinds)) + "/" + m_decisions.OneOf(Types) + "/" +
               std::to_string(m_decisions.Of(3) - 1) + "/" + std::to_string(m_decisions.OneOf(modes));
    }

    /// Common pieces of data ids, other characters, and units that may be invalid UTF-16.
    XLXText AnyText() {
        constexpr const char* pieces[] = {"objects", "properties", "pc",   "searchable", "/",
                                          "//",      "0",          "1",    "2",          "512",
                                          "-1",      "2147483648", "Pump", "64",         "\xF0\x90\x80\x80",
                                          " ",       "+",          "0x2",  "Objects",    "cfc_forward/"};
        XLXText text;
        for (int left = m_decisions.Of(8); left > 0; --left) {
            const std::uint8_t piece = m_decisions.Byte();
            if (piece < std::size(pieces)) {
                text += LXFromUtf8(pieces[piece]);
            } else if (piece == 0xFF) {
                const int high = m_decisions.Byte();
                text.push_back(static_cast<OLECHAR>(high << 8 | m_decisions.Byte()));
            } else {
                text.push_back(piece);
            }
        }
        return text;
    }

    /// The manager or a cached object. Null if the server has removed the object.
    XLXComPtr<ILXCallbackUpdate> Receiver() {
        const auto type = Type(OLESTR("Pump"));
        XLXComPtr<ILXAttribute> attribute;
        XLXComPtr<ILXFormat> format;
        if (type) { type->GetAttribute(XLXComBSTR(OLESTR("Head")).Get(), attribute.Put()); }
        if (attribute) { attribute->GetFormat(1, format.Put()); }
        const XLXComPtr<ILXCallbackUpdate> all[] = {m_cache.As<ILXCallbackUpdate>(), type.As<ILXCallbackUpdate>(),
                                                    attribute.As<ILXCallbackUpdate>(), format.As<ILXCallbackUpdate>()};
        return m_decisions.OneOf(all);
    }

    void NotifyOneReceiver() {
        constexpr const char* dataTypes[] = {"cfc_specific", "cfc", "", "CFC_SPECIFIC"};
        const auto receiver = Receiver();
        const XLXComBSTR dataType(LXFromUtf8(m_decisions.OneOf(dataTypes)));
        const ULONG notificationId = 0x80000000U | m_decisions.Byte(); // never one of the server's
        const XLXComBSTR id(AnyText());
        LXRequire(!receiver ||
                      receiver->DataObjectChanged(id.Get(), dataType.Get(), 256, notificationId, 0, nullptr) == S_OK,
                  "a notification is accepted, whatever its data id");
    }

    /// A held type stays the same object.
    void Hold() {
        const XLXText name = LXFromUtf8(m_decisions.OneOf(Types));
        const auto type = Type(name);
        LXRequire(m_held.try_emplace(name, type).first->second == type, "a held type stays the same object");
        Compare({XTopic::TypeValues, name});
    }

    void StartAgain() {
        Terminate();
        for (const auto& [name, type] : m_held) { // they must still answer, with any result
            XLXComVariant value;
            if (type) { type->GetProperty(m_decisions.Of(30), value.Put()); }
        }
        m_held.clear();
        Start();
    }

    Decisions m_decisions;
    const std::shared_ptr<XSampleServer> m_server = XSampleServer::Create(Model());
    const XLXComPtr<XLXConfigFactoryCacheManager> m_cache{new XLXConfigFactoryCacheManager};
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
