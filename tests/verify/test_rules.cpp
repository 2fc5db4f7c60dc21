// SPDX-License-Identifier: MIT
//
// The sample server keeps its contract. For each rule, a server that breaks it is reported with that rule.
#include "brokenserver.h"

#include <fstream>
#include <future>
#include <set>
#include <sstream>

namespace {
using namespace std::chrono_literals;

/// A model with types with parts and a base type, relations, browser ids and format specs.
XServerModel ContractModel() {
    XServerModel model = LXTestModel();
    for (const char* const browser : {"List", "Map"}) {
        model.AddBrowserId(browser);
    }
    model.AddRelation("Equipment", "Pump", "parts").AddPCInfo("Tree");
    model.AddRelation("Item", "Document", "documents");
    model.AddGlobalSpec("Format.1");
    model.AddObject("set", "Document", "lumbrixtypeset").attributes = {{OLESTR("master"), 1}};
    model.FindType(OLESTR("Document"))->Share()->properties.Set(XProperty::Searchable, false);
    return model;
}

/// A server with configurable faults, and everything to verify it.
struct World {
    explicit World(XServerModel model) : sample(XSampleServer::Create(std::move(model))) {
        edit = [this](int number) {
            sample->Edit().SetAttributeProperty("Item", "Weight", XProperty::Label, "Weight " + std::to_string(number));
        };
    }

    XVerifierReport Verify() {
        XServerToVerify server;
        server.factory = BrokenFactory(sample, faults);
        server.update = withUpdate ? BrokenUpdate(sample, faults) : nullptr;
        server.query = sample->Query();
        server.edit = [this] { edit(++edits); };
        server.live = [this] {
            const XServerObjectCount live = sample->LiveObjects();
            return std::pair(live.objects, live.references);
        };
        return LXVerifyServer(server, options);
    }

    std::shared_ptr<XSampleServer> sample;
    FaultsPtr faults = std::make_shared<Faults>();
    std::function<void(int number)> edit;
    XVerifierOptions options{20000ms, 300ms, 30ms, 50, 4, 500};
    bool withUpdate = true;
    std::vector<XLXComPtr<IUnknown>> kept; ///< leaked references to objects of the server
    int edits = 0;
};

const XVerdict& VerdictOf(const XVerifierReport& report, XRule rule) {
    return report.verdicts[static_cast<std::size_t>(rule)];
}

std::string BrokenIn(const XVerifierReport& report) {
    std::string text;
    for (const XVerdict& verdict : report.verdicts) {
        for (const XFinding& finding : verdict.findings) {
            text += std::string(verdict.rule->id) + ": " + finding.call + ": " + finding.came + "\n";
        }
    }
    return text;
}

// ---- faults of servers

using Change = std::function<HRESULT(HRESULT result, void** out)>; ///< changes a result
using Fault = std::function<void(World&)>;

/// Changes the results of one method of the config factory, or of types from GetType.
Fault Changed(Faults::Answer Faults::*where, std::string_view method, const Change& change) {
    return [=](World& world) {
        (*world.faults).*where = [=](std::string_view called, HRESULT result, void** out) {
            return called == method ? change(result, out) : result;
        };
    };
}
Fault Factory(std::string_view method, const Change& change) { return Changed(&Faults::factory, method, change); }
Fault Type(std::string_view method, const Change& change) { return Changed(&Faults::type, method, change); }

/// Releases the object that a call returned, and changes the result.
Change Answer(HRESULT result) {
    return [=](HRESULT, void** out) {
        LXAttach(static_cast<IUnknown*>(std::exchange(*out, nullptr)));
        return result;
    };
}
/// Changes the result of calls that find nothing.
Change AnswerForNothing(HRESULT with, void* left = nullptr) {
    return [=](HRESULT result, void** out) {
        if (result == S_OK) { return result; }
        *out = left;
        return with;
    };
}
/// Replaces the array; null removes it.
HRESULT GiveArray(SAFEARRAY* array, void** out) {
    SafeArrayDestroy(static_cast<SAFEARRAY*>(std::exchange(*out, array)));
    return array != nullptr ? S_OK : S_FALSE;
}
/// Modifies the elements of arrays.
Change Elements(const std::function<void(std::span<VARIANT>)>& spoil) {
    return [=](HRESULT result, void** out) {
        if (*out != nullptr) { spoil(ElementsOf(static_cast<SAFEARRAY*>(*out))); }
        return result;
    };
}
Change Element(std::size_t at, const std::function<XLXComVariant()>& value) {
    return Elements([=](std::span<VARIANT> elements) { Replace(elements[at], value()); });
}
/// Replaces the first element of a type.
Change FirstOf(VARTYPE type, const std::function<XLXComVariant()>& value) {
    return Elements([=](std::span<VARIANT> elements) {
        const auto found =
            std::find_if(elements.begin(), elements.end(), [=](const VARIANT& one) { return V_VT(&one) == type; });
        if (found != elements.end()) { Replace(*found, value()); }
    });
}
XLXComVariant Other() { return XLXComVariant::FromBstr(OLESTR("Other")); }

/// Replaces enumerators of browser ids.
using IdEnum = XLXComPtr<ILXBrowserIdEnum>;
Fault BrowserIds(const std::function<ILXBrowserIdEnum*(const IdEnum&)>& make) {
    return Factory("GetBrowserIdEnum", [=](HRESULT result, void** out) {
        const IdEnum inner = LXAttach(static_cast<ILXBrowserIdEnum*>(*out));
        *out = IdEnum(make(inner)).Detach();
        return result;
    });
}
using HostileIds = HostileEnum<ILXBrowserIdEnum, ILXBrowserId>;

ILXBrowserIdEnum* Endless(const IdEnum& inner) {
    XLXComPtr<ILXBrowserId> first;
    inner->GetSingleNext(first.Put());
    return new HostileIds([first](ULONG asked, ILXBrowserId** elements, ULONG* fetched) {
        for (*fetched = 0; *fetched < asked; ++*fetched) {
            first.CopyTo(elements + *fetched);
        }
        return S_OK;
    });
}
ILXBrowserIdEnum* CountWithoutElements(const IdEnum&) {
    return new HostileIds([](ULONG asked, ILXBrowserId**, ULONG* fetched) {
        *fetched = asked + 1000;
        return S_OK;
    });
}
HostileIds* WithoutSingleNext(const IdEnum& inner) {
    return new HostileIds([inner](ULONG asked, ILXBrowserId** elements, ULONG* fetched) {
        return inner->RemNext(asked, elements, fetched);
    });
}
/// A clone starts at the first element instead of the original's position.
void FreshClones(World& world) {
    BrowserIds([&world](const IdEnum& inner) {
        HostileIds* const ids = WithoutSingleNext(inner);
        ids->clone = [&world](ILXBrowserIdEnum** out) { return world.sample->ConfigFactory()->GetBrowserIdEnum(out); };
        return ids;
    })(world);
}

/// Returns nothing to a caller while another call is in progress.
void OneAtATime(World& world) {
    const auto inside = std::make_shared<std::atomic<int>>(0);
    Factory("GetPCArray", [inside](HRESULT result, void** out) {
        const bool alone = ++*inside == 1;
        std::this_thread::sleep_for(5ms);
        --*inside;
        return alone ? result : GiveArray(nullptr, out);
    })(world);
}
/// Records contain no objects, and one method to find them is missing.
Fault WithoutObjects(Fault (*fault)(std::string_view, const Change&), std::string_view method) {
    return [=](World& world) {
        world.sample->DeliverComponentObjects(false);
        fault(method, Answer(E_NOTIMPL))(world);
    };
}
/// The first pages that the server returns lose a reference.
Fault KeepPages(std::size_t most) {
    return [=](World& world) {
        Type("GetPage", [&world, most](HRESULT result, void** out) {
            if (world.kept.size() < most) { world.kept.emplace_back(static_cast<IUnknown*>(*out)); }
            return result;
        })(world);
    };
}
void OneNameOnly(World& world) {
    Factory("GetTypeArrayByTypeNameArrayEx", [&world](HRESULT, void** out) {
        GiveArray(nullptr, out);
        const auto bulk = world.sample->ConfigFactory().As<ILXConfigFactoryEx>();
        return bulk->GetTypeArrayByTypeNameEx(XLXComBSTR(OLESTR("Item")).Get(), 0, 15,
                                              reinterpret_cast<SAFEARRAY**>(out));
    })(world);
}
void SearchableForListed(World& world) {
    Factory("GetTypeEnum", [&world](HRESULT, void** out) {
        Answer(S_OK)(S_OK, out);
        return world.sample->ConfigFactory()->GetSearchableTypeEnum(reinterpret_cast<ILXTypeEnum**>(out));
    })(world);
}
void FailWhileNotifying(World& world) {
    Factory("GetTypeArrayEx", [faults = world.faults.get()](HRESULT result, void** out) {
        if (!faults->notifying) { return result; }
        GiveArray(nullptr, out);
        return E_FAIL;
    })(world);
}
void ValueOfAnother(std::span<VARIANT> relations) {
    static LONG elsewhere = 7;
    VARIANT& value = relations[8]; // the third value of the first relation
    VariantClear(&value);
    V_VT(&value) = VT_BYREF | VT_I4;
    V_BYREF(&value) = &elsewhere;
}

/// Changes the results of GetProperty.
Fault Property(const std::function<HRESULT(int index, HRESULT result, VARIANT* value)>& change) {
    return [=](World& world) { world.faults->property = change; };
}
HRESULT NothingOutOfRange(int, HRESULT result, VARIANT*) { return FAILED(result) ? S_FALSE : result; }
HRESULT OtherLabel(int index, HRESULT result, VARIANT* value) {
    if (index != 1) { return result; }
    Replace(*value, Other());
    return S_OK;
}

/// Changes a label and sends a notification with the data id before or after it; none if the id is null.
Fault Sending(const char* dataId, bool before) {
    return [=](World& world) {
        world.edit = [=, &world](int number) {
            if (before) { world.sample->SendNotification(dataId); }
            world.sample->Edit().SetAttributeProperty("Item", "Weight", XProperty::Label, "W" + std::to_string(number),
                                                      XNotify::No);
            if (!before && dataId != nullptr) { world.sample->SendNotification(dataId); }
        };
    };
}
Fault Notification(const std::function<bool(LONG client, XLXText& dataId, ULONG& id)>& change) {
    return [=](World& world) { world.faults->notification = change; };
}
/// A method that succeeds and does nothing.
Fault WithoutEffect(const char* method) {
    return [=](World& world) { world.sample->Calls().FailAlways(method, S_OK); };
}
Fault Set(bool Faults::*fault) {
    return [=](World& world) { (*world.faults).*fault = true; };
}
Fault WithBases(LONG always) {
    return [=](World& world) { world.faults->withBases = always; };
}

/// Modifies the server's initial model.
Fault Model(const std::function<void(XServerModel&)>& change) {
    return [=](World& world) { world.sample->Edit().Change(change); };
}
XModelType& TypeOf(XServerModel& model, const OLECHAR* name) { return *model.FindType(name)->Share(); }
void PageNumberOne(XServerModel& model) {
    TypeOf(model, OLESTR("Item")).pages[0]->properties.Set(XProperty::PageNumber, "one");
}
Fault AttributeName(const char* name) {
    return Model([=](XServerModel& model) { TypeOf(model, OLESTR("Item")).attributes[0]->properties.Set(0, name); });
}
Fault Base(const OLECHAR* type, const char* base) {
    return Model([=](XServerModel& model) { TypeOf(model, type).properties.Set(XProperty::BaseTypeName, base); });
}

struct Broken {
    XRule rule;
    Fault fault;
    std::set<XRule> with{}; ///< further rules that such a server breaks
};

int something = 0; // a value left in the out parameter of a failing call

// clang-format off
const std::vector<Broken> AllBroken = {
    {XRule::Offered, Factory("GetTypeEnum", Answer(E_NOTIMPL))},
    {XRule::Nothing, Factory("GetType", Answer(S_OK)), {XRule::AgreeType, XRule::Threads}},
    {XRule::FailureLeavesNull, Factory("GetType", AnswerForNothing(E_FAIL, &something)), {XRule::UnknownName}},
    {XRule::UnknownName, Factory("GetType", AnswerForNothing(E_INVALIDARG))},
    {XRule::PropertyRange, Property(NothingOutOfRange)},
    {XRule::ArrayShape, Factory("GetPCArray", [](HRESULT, void** out) { return GiveArray(SafeArrayCreateVector(VT_I4, 0, 12), out); }), {XRule::AgreeRelations}},
    {XRule::ArrayHeader, Factory("GetTypeArrayEx", Element(1, [] { return XLXComVariant::FromI4(1); }))},
    {XRule::ArrayElements, Factory("GetTypeArrayEx", Element(3, [] { return XLXComVariant::FromI4(1); }))},
    {XRule::ArrayCounts, Factory("GetTypeArrayEx", Element(3, [] { return XLXComVariant::FromUI4(1000000); }))},
    {XRule::OwnValues, Factory("GetPCArray", Elements(ValueOfAnother)), {XRule::AgreeObjects, XRule::AgreeRelations}},
    {XRule::ValueSlots, Type("GetProperties", [](HRESULT, void** out) { return GiveArray(SafeArrayCreateVector(VT_VARIANT, 0, 2), out); }),
     {XRule::NamesPresent, XRule::AgreeType, XRule::AgreeProperty, XRule::Threads}},
    {XRule::ValueKinds, Model(PageNumberOne)},
    {XRule::NamesPresent, AttributeName("")},
    {XRule::NamesUnique, AttributeName("Weight"), {XRule::AgreeLookups, XRule::AgreeEnumerations}},
    {XRule::NamesMatch, Factory("GetTypeArrayEx", Element(4, Other))}, // the first name
    {XRule::BaseExists, Base(OLESTR("Document"), "Paper")},
    {XRule::BaseCircle, Base(OLESTR("Item"), "Pump")},
    {XRule::AgreeType, Type("GetProperties", Element(1, Other)), {XRule::AgreeProperty, XRule::Threads}},
    {XRule::AgreeProperty, Property(OtherLabel)},
    {XRule::AgreeComponents, Type("GetTypeComponentData", FirstOf(VT_BSTR, Other))},
    {XRule::AgreeNamed, WithBases(1)},
    {XRule::AgreeBases, WithBases(0)},
    {XRule::AgreeList, OneNameOnly},
    {XRule::AgreeListed, SearchableForListed},
    {XRule::AgreeObjects, Factory("GetTypeArrayEx", FirstOf(VT_UNKNOWN, [] { return XLXComVariant::FromUnknown(new Opaque); }))},
    {XRule::AgreeLookups, Type("GetAttribute", Answer(S_FALSE))},
    {XRule::AgreeEnumerations, Type("GetPageEnum", Answer(S_FALSE))},
    {XRule::AgreeRelations, Factory("GetParentChildEnum", Answer(S_FALSE))},
    {XRule::AgreeDisplays, Type("GetDisplayAttributeEnum", Answer(S_FALSE))},
    {XRule::AgreeDefaults, Type("GetDefaultEditor", Answer(S_FALSE))},
    {XRule::PlanTypes, [](World& world) { world.sample->Calls().FailCall("ILX_Query::GetSearchResult", S_FALSE, 2); }},
    {XRule::NullObjects, WithoutObjects(&Type, "GetPage")},
    {XRule::EnumEnds, BrowserIds(Endless), {XRule::EnumSingle, XRule::FailureLeavesNull}},
    {XRule::EnumCounts, BrowserIds(CountWithoutElements), {XRule::EnumSingle}},
    {XRule::EnumSingle, BrowserIds(WithoutSingleNext), {XRule::FailureLeavesNull}},
    {XRule::EnumReset, WithoutEffect("ILXBrowserIdEnum::Reset")},
    {XRule::EnumSkip, WithoutEffect("ILXBrowserIdEnum::Skip")},
    {XRule::EnumClone, FreshClones, {XRule::EnumSingle, XRule::FailureLeavesNull}},
    {XRule::Threads, OneAtATime},
    {XRule::UnknownClient, Set(&Faults::knowEveryClient)},
    {XRule::NotifySent, Sending(nullptr, false)},
    {XRule::NotifyEveryClient, Notification([](LONG client, XLXText&, ULONG&) { return client != 2; }), {XRule::NotifySent}},
    {XRule::NotifyAfter, Sending("properties/Weight/2/512", true)},
    {XRule::NotifyIds, Notification([](LONG, XLXText&, ULONG& id) { return (id = 5) != 0; })},
    {XRule::NotifyDataId, Sending("changed/Weight", false)},
    {XRule::NotifyConcerns, Sending("properties/Weight/2/32", false)},
    {XRule::NotifyCallable, FailWhileNotifying, {XRule::Offered}},
    {XRule::CallbackKept, Set(&Faults::keepNoReference)},
    {XRule::CallbackDropped, Set(&Faults::hideAnswers)},
    {XRule::CallbackSilent, WithoutEffect("ILXDataUpdate::UnregisterCallback"), {XRule::UnknownClient, XRule::CallbackReleased}},
    {XRule::CallbackReleased, Set(&Faults::releaseNoReference)},
    {XRule::References, KeepPages(1000)},
};
// clang-format on

std::string NameOf(XRule rule) { return LXContract()[static_cast<std::size_t>(rule)].id; }

class BrokenRule : public testing::TestWithParam<Broken> {};

TEST_P(BrokenRule, IsFound) {
    const Broken& row = GetParam();
    World world(ContractModel());
    row.fault(world);
    const XVerifierReport report = world.Verify();
    EXPECT_TRUE(VerdictOf(report, row.rule).IsBroken()) << BrokenIn(report);
    ASSERT_FALSE(VerdictOf(report, row.rule).findings.empty());
    EXPECT_FALSE(VerdictOf(report, row.rule).findings.front().call.empty());
    EXPECT_EQ(report.hanging, "");
    for (const XVerdict& verdict : report.verdicts) {
        const bool allowed = verdict.rule->rule == row.rule || row.with.contains(verdict.rule->rule);
        EXPECT_TRUE(allowed || !verdict.IsBroken()) << verdict.rule->id << "\n" << BrokenIn(report);
    }
}

INSTANTIATE_TEST_SUITE_P(Contract, BrokenRule, testing::ValuesIn(AllBroken), [](const auto& row) {
    std::string name = NameOf(row.param.rule);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(Contract, TheSampleServerKeepsEveryRule) {
    for (const bool withObjects : {true, false}) {
        World world(ContractModel());
        world.sample->DeliverComponentObjects(withObjects);
        const XVerifierReport report = world.Verify();
        EXPECT_EQ(BrokenIn(report), "");
        EXPECT_EQ(report.types, 4u);
        const std::set<XRule> notTested{XRule::EnumClone, withObjects ? XRule::NullObjects : XRule::AgreeObjects};
        for (const XVerdict& verdict : report.verdicts) {
            EXPECT_EQ(verdict.IsKept(), !notTested.contains(verdict.rule->rule)) << verdict.rule->id;
        }
        EXPECT_FALSE(report.times.at("GetTypeArrayEx mode 15").empty());
    }
}

TEST(Contract, EachWayToAnObjectIsLookedAt) {
    for (const auto& [fault, method] : {std::pair(&Type, "GetGroup"),
                                        {&Type, "GetAttribute"},
                                        {&Type, "GetConfObjEditorEnum"},
                                        {&Factory, "GetParentChildEnum"}}) {
        World world(ContractModel());
        WithoutObjects(fault, method)(world);
        EXPECT_TRUE(VerdictOf(world.Verify(), XRule::NullObjects).IsBroken()) << method;
    }
}

TEST(Contract, WhatAServerKeepsFromTheFirstQuestionIsNoLostReference) {
    World world(ContractModel());
    KeepPages(1)(world);
    const XVerifierReport report = world.Verify();
    EXPECT_FALSE(world.kept.empty());
    EXPECT_EQ(BrokenIn(report), "");
}

TEST(Contract, WhatIsMissingIsSaid) {
    World world(XServerModel{});
    world.withUpdate = false;
    const XVerifierReport report = world.Verify();
    EXPECT_EQ(BrokenIn(report), "");
    EXPECT_EQ(VerdictOf(report, XRule::NotifySent).notTested, "the server has no ILXDataUpdate");
    EXPECT_FALSE(VerdictOf(report, XRule::AgreeType).IsKept());
}

/// A server with a method of the config factory that hangs under a condition.
class HangingServer : public testing::Test {
protected:
    HangingServer() : m_world(ContractModel()) { m_world.options.limit = 200ms; }
    ~HangingServer() override {
        m_gate.set_value();
        while (m_world.faults.use_count() > 1) { // wait for the thread in the call to end
            std::this_thread::sleep_for(5ms);
        }
    }
    XVerifierReport VerifyWaitingIn(std::string_view method, const std::function<bool()>& waits) {
        Factory(method, [waits, opened = m_gate.get_future().share()](HRESULT result, void**) {
            if (waits()) { opened.wait(); }
            return result;
        })(m_world);
        return m_world.Verify();
    }

    World m_world;
    std::promise<void> m_gate;
};

TEST_F(HangingServer, IsFoundAtTheCall) {
    const XVerifierReport report = VerifyWaitingIn("GetPCArray", [] { return true; });
    EXPECT_EQ(report.hanging, "GetPCArray()");
    EXPECT_TRUE(VerdictOf(report, XRule::InTime).IsBroken());
    EXPECT_FALSE(VerdictOf(report, XRule::NotifyCallable).IsBroken());
    EXPECT_TRUE(VerdictOf(report, XRule::ArrayHeader).IsKept());
    EXPECT_EQ(VerdictOf(report, XRule::NotifySent).notTested, "the verification ended at the call that did not return");
}

TEST_F(HangingServer, IsFoundInsideANotification) {
    const XVerifierReport report =
        VerifyWaitingIn("GetTypeArrayEx", [faults = m_world.faults.get()] { return faults->notifying.load(); });
    EXPECT_EQ(report.hanging, "GetTypeArrayEx(15)");
    EXPECT_TRUE(VerdictOf(report, XRule::InTime).IsBroken());
    EXPECT_TRUE(VerdictOf(report, XRule::NotifyCallable).IsBroken());
}

TEST(Contract, IsInTheDocuments) {
    const auto read = [](const std::string& name) {
        std::stringstream text;
        text << std::ifstream(LX_DOCUMENTS "/" + name, std::ios::binary).rdbuf();
        return text.str();
    };
    const std::string manual = read("lxcfc.md");
    const std::string guide = read("guide.md");
    for (const XContractRule& rule : LXContract()) {
        const std::string row = "| `" + std::string(rule.id) + "` | " + LXSeverityName(rule.severity) + " | " +
                                std::to_string(rule.guide) + " | " + rule.sentence + " |";
        EXPECT_NE(manual.find(row), std::string::npos) << row;
        EXPECT_NE(guide.find("`" + std::string(rule.id) + "`"), std::string::npos) << rule.id;
    }
}
} // namespace
