// SPDX-License-Identifier: MIT
//
// The sample server keeps its contract. For each rule, a server that breaks it is reported with that rule.
#include "brokenserver.h"

#include <future>
#include <set>

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
        server.factory = sample->ConfigFactory();
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

using Change = XCallMonitor::Alteration;
using Fault = std::function<void(World&)>;

/// A method that does nothing but return this result.
Fault Always(const char* method, HRESULT result) {
    return [=](World& world) { world.sample->Calls().FailAlways(method, result); };
}
/// Changes the results of a method.
Fault Altered(const char* method, const Change& change) {
    return [=](World& world) { world.sample->Calls().Alter(method, change); };
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

/// The enumerator of browser ids returns the first one for ever.
void Endless(World& world) {
    Altered("ILXConfigFactory::GetBrowserIdEnum", [](HRESULT result, void** out) {
        const XLXComPtr<ILXBrowserIdEnum> inner = LXAttach(static_cast<ILXBrowserIdEnum*>(*out));
        const auto first = LXFind(inner, &ILXBrowserIdEnum::GetSingleNext);
        const auto next = [first](ULONG asked, ILXBrowserId** elements, ULONG* fetched) {
            for (*fetched = 0; *fetched < asked; ++*fetched) {
                first.CopyTo(elements + *fetched);
            }
            return S_OK;
        };
        *out = XLXComPtr<ILXBrowserIdEnum>(new HostileEnum<ILXBrowserIdEnum, ILXBrowserId>(next)).Detach();
        return result;
    })(world);
}
HRESULT TooHighACount(HRESULT, void** out) {
    *reinterpret_cast<ULONG*>(out) += 1000;
    return S_OK;
}
/// A clone starts at the first element instead of the original's position.
void FreshClones(World& world) {
    Altered("ILXBrowserIdEnum::Clone", [&world](HRESULT, void** out) {
        return world.sample->ConfigFactory()->GetBrowserIdEnum(reinterpret_cast<ILXBrowserIdEnum**>(out));
    })(world);
}

/// Returns nothing to a caller while another call is in progress.
void OneAtATime(World& world) {
    const auto inside = std::make_shared<std::atomic<int>>(0);
    Altered("ILXConfigFactory::GetPCArray", [inside](HRESULT result, void** out) {
        const bool alone = ++*inside == 1;
        std::this_thread::sleep_for(5ms);
        --*inside;
        return alone ? result : GiveArray(nullptr, out);
    })(world);
}
/// Records contain no objects, and one method to find them is missing.
Fault WithoutObjects(const char* method) {
    return [=](World& world) {
        world.sample->DeliverComponentObjects(false);
        Always(method, E_NOTIMPL)(world);
    };
}
/// The first pages that the server returns lose a reference.
Fault KeepPages(std::size_t most) {
    return [=](World& world) {
        Altered("ILXType::GetPage", [&world, most](HRESULT result, void** out) {
            if (world.kept.size() < most) { world.kept.emplace_back(static_cast<IUnknown*>(*out)); }
            return result;
        })(world);
    };
}
/// Replaces the answers of a method that returns named types: those with one record, or those with more. They become
/// all types, or the type Item alone.
Fault NamedTypes(const char* method, bool withOne) {
    return [=](World& world) {
        Altered(method, [=, &world](HRESULT result, void** out) {
            if (result != S_OK || (V_UI4(&ElementsOf(static_cast<SAFEARRAY*>(*out))[3]) == 1) != withOne) {
                return result;
            }
            GiveArray(nullptr, out);
            const auto bulk = world.sample->ConfigFactory().As<ILXConfigFactoryEx>();
            SAFEARRAY** const array = reinterpret_cast<SAFEARRAY**>(out);
            return withOne ? bulk->GetTypeArrayEx(15, array)
                           : LXCall(*bulk, &ILXConfigFactoryEx::GetTypeArrayByTypeNameEx, "Item", 0, 15, array);
        })(world);
    };
}
void SearchableForListed(World& world) {
    Altered("ILXConfigFactory::GetTypeEnum", [&world](HRESULT, void** out) {
        LXAttach(static_cast<IUnknown*>(std::exchange(*out, nullptr)));
        return world.sample->ConfigFactory()->GetSearchableTypeEnum(reinterpret_cast<ILXTypeEnum**>(out));
    })(world);
}
void FailWhileNotifying(World& world) {
    Altered("ILXConfigFactoryEx::GetTypeArrayEx", [faults = world.faults.get()](HRESULT result, void** out) {
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

HRESULT NothingForFailures(HRESULT result, void**) { return FAILED(result) ? S_FALSE : result; }
HRESULT TextForEmpty(HRESULT result, void** out) {
    if (result != S_FALSE) { return result; }
    Replace(*reinterpret_cast<VARIANT*>(out), Other());
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
Fault Set(bool Faults::*fault) {
    return [=](World& world) { (*world.faults).*fault = true; };
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
    {XRule::Offered, Always("ILXConfigFactory::GetTypeEnum", E_NOTIMPL)},
    {XRule::Nothing, Always("ILXConfigFactory::GetType", S_OK), {XRule::AgreeType, XRule::Threads}},
    {XRule::FailureLeavesNull, Altered("ILXConfigFactory::GetType", AnswerForNothing(E_FAIL, &something)), {XRule::UnknownName}},
    {XRule::UnknownName, Altered("ILXConfigFactory::GetType", AnswerForNothing(E_INVALIDARG))},
    {XRule::PropertyRange, Altered("ILXType::GetProperty", NothingForFailures)},
    {XRule::ArrayShape, Altered("ILXConfigFactory::GetPCArray", [](HRESULT, void** out) { return GiveArray(SafeArrayCreateVector(VT_I4, 0, 12), out); }), {XRule::AgreeRelations}},
    {XRule::ArrayHeader, Altered("ILXConfigFactoryEx::GetTypeArrayEx", Element(1, [] { return XLXComVariant::FromI4(1); }))},
    {XRule::ArrayElements, Altered("ILXConfigFactoryEx::GetTypeArrayEx", Element(3, [] { return XLXComVariant::FromI4(1); }))},
    {XRule::ArrayCounts, Altered("ILXConfigFactoryEx::GetTypeArrayEx", Element(3, [] { return XLXComVariant::FromUI4(1000000); }))},
    {XRule::OwnValues, Altered("ILXConfigFactory::GetPCArray", Elements(ValueOfAnother)), {XRule::AgreeObjects, XRule::AgreeRelations}},
    {XRule::ValueSlots, Altered("ILXType::GetProperties", [](HRESULT, void** out) { return GiveArray(SafeArrayCreateVector(VT_VARIANT, 0, 2), out); }),
     {XRule::NamesPresent, XRule::AgreeType, XRule::AgreeProperty, XRule::AgreeObjects, XRule::Threads}},
    {XRule::ValueKinds, Model(PageNumberOne)},
    {XRule::NamesPresent, AttributeName("")},
    {XRule::NamesUnique, AttributeName("Weight"), {XRule::AgreeLookups, XRule::AgreeEnumerations}},
    {XRule::NamesMatch, Altered("ILXConfigFactoryEx::GetTypeArrayEx", Element(4, Other))}, // the first name
    {XRule::BaseExists, Base(OLESTR("Document"), "Paper")},
    {XRule::BaseCircle, Base(OLESTR("Item"), "Pump")},
    {XRule::AgreeType, Altered("ILXType::GetProperties", Element(1, Other)), {XRule::AgreeProperty, XRule::AgreeObjects, XRule::Threads}},
    {XRule::AgreeProperty, Altered("ILXType::GetProperty", TextForEmpty)},
    {XRule::AgreeComponents, Altered("ILXType::GetTypeComponentData", FirstOf(VT_BSTR, Other))},
    {XRule::AgreeNamed, NamedTypes("ILXConfigFactoryEx::GetTypeArrayByTypeNameEx", true)},
    {XRule::AgreeBases, NamedTypes("ILXConfigFactoryEx::GetTypeArrayByTypeNameEx", false)},
    {XRule::AgreeList, NamedTypes("ILXConfigFactoryEx::GetTypeArrayByTypeNameArrayEx", false)},
    {XRule::AgreeListed, SearchableForListed},
    {XRule::AgreeObjects, Altered("ILXConfigFactoryEx::GetTypeArrayEx", FirstOf(VT_UNKNOWN, [] { return XLXComVariant::FromUnknown(new Opaque); }))},
    {XRule::AgreeLookups, Always("ILXType::GetAttribute", S_FALSE)},
    {XRule::AgreeEnumerations, Always("ILXType::GetPageEnum", S_FALSE)},
    {XRule::AgreeRelations, Always("ILXConfigFactory::GetParentChildEnum", S_FALSE)},
    {XRule::AgreeDisplays, Always("ILXType::GetDisplayAttributeEnum", S_FALSE)},
    {XRule::AgreeDefaults, Always("ILXType::GetDefaultEditor", S_FALSE)},
    {XRule::PlanTypes, [](World& world) { world.sample->Calls().FailCall("ILX_Query::GetSearchResult", S_FALSE, 2); }},
    {XRule::NullObjects, WithoutObjects("ILXType::GetPage")},
    {XRule::EnumEnds, Endless, {XRule::EnumSingle, XRule::FailureLeavesNull}},
    {XRule::EnumCounts, Altered("ILXBrowserIdEnum::RemNext", TooHighACount)},
    {XRule::EnumSingle, Always("ILXBrowserIdEnum::GetSingleNext", E_NOTIMPL)},
    {XRule::EnumReset, Always("ILXBrowserIdEnum::Reset", S_OK)},
    {XRule::EnumSkip, Always("ILXBrowserIdEnum::Skip", S_OK)},
    {XRule::EnumClone, FreshClones},
    {XRule::Threads, OneAtATime},
    {XRule::UnknownClient, Altered("ILXDataUpdate::UnregisterCallback", [](HRESULT, void**) { return S_OK; })},
    {XRule::NotifySent, Sending(nullptr, false)},
    {XRule::NotifyEveryClient, Notification([](LONG client, XLXText&, ULONG&) { return client != 2; }), {XRule::NotifySent}},
    {XRule::NotifyAfter, Sending("properties/Weight/2/512", true)},
    {XRule::NotifyIds, Notification([](LONG, XLXText&, ULONG& id) { return (id = 5) != 0; })},
    {XRule::NotifyDataId, Sending("changed/Weight", false)},
    {XRule::NotifyConcerns, Sending("properties/Weight/2/32", false)},
    {XRule::NotifyCallable, FailWhileNotifying, {XRule::Offered}},
    {XRule::CallbackKept, Set(&Faults::keepNoReference)},
    {XRule::CallbackDropped, Set(&Faults::hideAnswers)},
    {XRule::CallbackSilent, Always("ILXDataUpdate::UnregisterCallback", S_OK), {XRule::UnknownClient, XRule::CallbackReleased}},
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

TEST(Contract, EachWayToAnObjectIsTried) {
    for (const char* const method : {"ILXType::GetGroup", "ILXType::GetAttribute", "ILXType::GetConfObjEditorEnum",
                                     "ILXConfigFactory::GetParentChildEnum"}) {
        World world(ContractModel());
        WithoutObjects(method)(world);
        EXPECT_TRUE(VerdictOf(world.Verify(), XRule::NullObjects).IsBroken()) << method;
    }
}

TEST(Contract, ObjectsThatAServerCachesAreNoLostReferences) {
    World world(ContractModel());
    KeepPages(1)(world);
    const XVerifierReport report = world.Verify();
    EXPECT_FALSE(world.kept.empty());
    EXPECT_EQ(BrokenIn(report), "");
}

TEST(Contract, ReportsWhatAServerLacks) {
    World world(XServerModel{});
    world.withUpdate = false;
    const XVerifierReport report = world.Verify();
    EXPECT_EQ(BrokenIn(report), "");
    EXPECT_EQ(VerdictOf(report, XRule::NotifySent).notTested, "the server has no ILXDataUpdate");
    EXPECT_FALSE(VerdictOf(report, XRule::AgreeType).IsKept());
}

TEST(Contract, ACallThatHangsInsideANotificationIsFound) {
    std::promise<void> gate;
    World world(ContractModel());
    world.options.limit = 200ms;
    Altered("ILXConfigFactoryEx::GetTypeArrayEx",
            [faults = world.faults.get(), opened = gate.get_future().share()](HRESULT result, void**) {
                if (faults->notifying) { opened.wait(); }
                return result;
            })(world);
    const XVerifierReport report = world.Verify();
    EXPECT_EQ(report.hanging, "GetTypeArrayEx(15)");
    EXPECT_TRUE(VerdictOf(report, XRule::InTime).IsBroken());
    EXPECT_TRUE(VerdictOf(report, XRule::NotifyCallable).IsBroken());
    EXPECT_TRUE(VerdictOf(report, XRule::ArrayHeader).IsKept()) << "verified before the hang";
    gate.set_value();
    while (world.sample->LiveObjects().objects > 0) { // until the thread in the call has ended
        std::this_thread::sleep_for(5ms);
    }
}
} // namespace
