// SPDX-License-Identifier: MIT
//
// The sample server keeps its contract; a server that breaks a rule is found by that rule.
#include "brokenserver.h"

#include <fstream>
#include <future>
#include <set>
#include <sstream>

namespace {
using namespace std::chrono_literals;

/// Two types with a base, each with parts; relations, browser ids and format specs.
XServerModel ContractModel() {
    XServerModel model = LXTestModel();
    for (const char* const browser : {"List", "Map"}) {
        model.AddBrowserId(browser);
    }
    model.AddRelation("Equipment", "Pump", "parts").AddPCInfo("Tree");
    model.AddRelation("Item", "Document", "documents");
    model.AddGlobalSpec("Format.1");
    model.FindType(OLESTR("Document"))->Share()->properties.Set(XProperty::Searchable, false);
    return model;
}

/// A server that a test may break, and everything that a verification of it needs.
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
    std::vector<XLXComPtr<IUnknown>> kept; ///< of what the server handed out, with a reference too many
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

// ---- what servers do wrong

/// Drops what a call gave, and answers something else.
HRESULT Drop(void** out, HRESULT result) {
    LXAttach(static_cast<IUnknown*>(std::exchange(*out, nullptr)));
    return result;
}

/// Changes the answer of one method of the config factory.
template <class F>
void InFactory(World& world, std::string_view method, F&& change) {
    world.faults->factory = [method, change](std::string_view called, HRESULT result, void** out) {
        return called == method ? change(result, out) : result;
    };
}
template <class F>
void InType(World& world, std::string_view method, F&& change) {
    world.faults->type = [method, change](std::string_view called, HRESULT result, void** out) {
        return called == method ? change(result, out) : result;
    };
}
/// Changes the elements of the array that a method gives.
template <class F>
auto Spoiling(F&& spoil) {
    return [spoil](HRESULT result, void** out) {
        if (*out != nullptr) { spoil(ElementsOf(static_cast<SAFEARRAY*>(*out))); }
        return result;
    };
}
/// Replaces the first element of a type, from a place on.
void ReplaceFirst(std::span<VARIANT> elements, VARTYPE type, XLXComVariant value, std::size_t from = 2) {
    for (VARIANT& element : elements.subspan(std::min(from, elements.size()))) {
        if (V_VT(&element) == type) { return Replace(element, std::move(value)); }
    }
}
/// Gives an enumeration of browser ids another manner.
template <class F>
void InBrowserIds(World& world, F&& make) {
    InFactory(world, "GetBrowserIdEnum", [make](HRESULT result, void** out) {
        XLXComPtr<ILXBrowserIdEnum> inner = LXAttach(static_cast<ILXBrowserIdEnum*>(*out));
        *out = XLXComPtr<ILXBrowserIdEnum>(make(inner)).Detach();
        return result;
    });
}
auto OddBrowserIds(std::function<HRESULT(ILXBrowserIdEnum**)> copy) {
    return [copy](const XLXComPtr<ILXBrowserIdEnum>& inner) -> ILXBrowserIdEnum* {
        return new OddEnumeration<ILXBrowserIdEnum, ILXBrowserId>(inner, copy);
    };
}
using HostileBrowserIds = HostileEnum<ILXBrowserIdEnum, ILXBrowserId>;

struct Broken {
    XRule rule;
    std::function<void(XServerModel&)> model; ///< changes the model that the server starts with
    std::function<void(World&)> server;       ///< changes the server
};

/// Rules that cannot be kept when another one is broken in the way of these servers.
const std::map<XRule, std::set<XRule>>& BrokenWith() {
    static const std::map<XRule, std::set<XRule>> with = {
        {XRule::AgreeType, {XRule::AgreeProperty, XRule::Threads}},
        {XRule::ArrayShape, {XRule::AgreeRelations}},
        {XRule::CallbackSilent, {XRule::UnknownClient, XRule::CallbackReleased}},
        {XRule::EnumClone, {XRule::EnumReset, XRule::EnumSkip}},
        {XRule::EnumCounts, {XRule::EnumSingle}},
        {XRule::EnumEnds, {XRule::EnumSingle, XRule::FailureLeavesNull}},
        {XRule::EnumReset, {XRule::EnumSkip}},
        {XRule::EnumSingle, {XRule::FailureLeavesNull}}, // of Clone
        {XRule::EnumSkip, {XRule::EnumReset}},
        {XRule::FailureLeavesNull, {XRule::UnknownName}},
        {XRule::NamesUnique, {XRule::AgreeLookups, XRule::AgreeEnumerations}},
        {XRule::Nothing, {XRule::AgreeType, XRule::Threads}},
        {XRule::NotifyCallable, {XRule::Offered}},
        {XRule::NotifyEveryClient, {XRule::NotifySent}},
        {XRule::OwnValues, {XRule::AgreeObjects, XRule::AgreeRelations}},
        {XRule::ValueSlots, {XRule::NamesPresent, XRule::AgreeType, XRule::AgreeProperty, XRule::Threads}},
    };
    return with;
}

XModelType& TypeOf(XServerModel& model, const OLECHAR* name) { return *model.FindType(name)->Share(); }

std::vector<Broken> BrokenModels() {
    return {
        {XRule::ValueKinds,
         [](XServerModel& model) {
             TypeOf(model, OLESTR("Item")).pages[0]->properties.Set(XProperty::PageNumber, "one");
         },
         {}},
        {XRule::NamesPresent,
         [](XServerModel& model) { TypeOf(model, OLESTR("Item")).attributes[0]->properties.Set(0, ""); },
         {}},
        {XRule::NamesUnique,
         [](XServerModel& model) { TypeOf(model, OLESTR("Item")).attributes[0]->properties.Set(0, "Weight"); },
         {}},
        {XRule::BaseExists,
         [](XServerModel& model) {
             TypeOf(model, OLESTR("Document")).properties.Set(XProperty::BaseTypeName, "Paper");
         },
         {}},
        {XRule::BaseCircle,
         [](XServerModel& model) { TypeOf(model, OLESTR("Item")).properties.Set(XProperty::BaseTypeName, "Pump"); },
         {}},
    };
}

std::vector<Broken> BrokenAnswers() {
    const auto fail = [](HRESULT with) { return [with](HRESULT, void** out) { return Drop(out, with); }; };
    return {
        {XRule::Offered, {}, [fail](World& world) { InFactory(world, "GetTypeEnum", fail(E_NOTIMPL)); }},
        {XRule::Nothing, {}, [fail](World& world) { InFactory(world, "GetType", fail(S_OK)); }},
        {XRule::FailureLeavesNull,
         {},
         [](World& world) {
             InFactory(world, "GetType", [](HRESULT result, void** out) {
                 static int something = 0;
                 *out = result == S_OK ? *out : &something;
                 return result == S_OK ? result : E_FAIL;
             });
         }},
        {XRule::UnknownName,
         {},
         [](World& world) {
             InFactory(world, "GetType",
                       [](HRESULT result, void**) { return result == S_FALSE ? E_INVALIDARG : result; });
         }},
        {XRule::PropertyRange,
         {},
         [](World& world) {
             world.faults->property = [](int, HRESULT result, VARIANT*) { return FAILED(result) ? S_FALSE : result; };
         }},
        {XRule::References,
         {},
         [](World& world) {
             InType(world, "GetPage", [&world](HRESULT result, void** out) {
                 world.kept.emplace_back(static_cast<IUnknown*>(*out));
                 return result;
             });
         }},
        {XRule::Threads,
         {},
         [](World& world) {
             const auto inside = std::make_shared<std::atomic<int>>(0);
             InFactory(world, "GetPCArray", [inside](HRESULT result, void** out) {
                 const bool alone = ++*inside == 1;
                 std::this_thread::sleep_for(5ms);
                 --*inside;
                 if (!alone) { SafeArrayDestroy(static_cast<SAFEARRAY*>(std::exchange(*out, nullptr))); }
                 return alone ? result : S_FALSE;
             });
         }},
    };
}

std::vector<Broken> BrokenArrays() {
    static LONG elsewhere = 7;
    return {
        {XRule::ArrayShape,
         {},
         [](World& world) {
             InFactory(world, "GetPCArray", [](HRESULT result, void** out) {
                 SafeArrayDestroy(static_cast<SAFEARRAY*>(*out));
                 *out = SafeArrayCreateVector(VT_I4, 0, 12);
                 return result;
             });
         }},
        {XRule::ArrayHeader,
         {},
         [](World& world) {
             InFactory(world, "GetTypeArrayEx",
                       Spoiling([](auto elements) { Replace(elements[1], XLXComVariant::FromI4(1)); }));
         }},
        {XRule::ArrayElements,
         {},
         [](World& world) {
             InFactory(world, "GetTypeArrayEx", Spoiling([](auto elements) {
                           Replace(elements.back(), XLXComVariant::FromI4(1)); /* is it searchable? */
                       }));
         }},
        {XRule::ArrayCounts,
         {},
         [](World& world) {
             InFactory(world, "GetTypeArrayEx",
                       Spoiling([](auto elements) { Replace(elements[3], XLXComVariant::FromUI4(1000000)); }));
         }},
        {XRule::NamesMatch,
         {},
         [](World& world) {
             InFactory(world, "GetTypeArrayEx", Spoiling([](auto elements) {
                           Replace(elements[4], XLXComVariant::FromBstr(OLESTR("Paper"))); // the first name
                       }));
         }},
        {XRule::OwnValues,
         {},
         [](World& world) {
             InFactory(world, "GetPCArray", Spoiling([](auto elements) {
                           VARIANT& value = elements[8]; // the third value of the first relation
                           VariantClear(&value);
                           V_VT(&value) = VT_BYREF | VT_I4;
                           V_BYREF(&value) = &elsewhere;
                       }));
         }},
        {XRule::ValueSlots,
         {},
         [](World& world) {
             InType(world, "GetProperties", [](HRESULT result, void** out) {
                 SafeArrayDestroy(static_cast<SAFEARRAY*>(*out));
                 *out = SafeArrayCreateVector(VT_VARIANT, 0, 2);
                 return result;
             });
         }},
        {XRule::AgreeType,
         {},
         [](World& world) {
             InType(world, "GetProperties",
                    Spoiling([](auto elements) { Replace(elements[1], XLXComVariant::FromBstr(OLESTR("Other"))); }));
         }},
        {XRule::AgreeComponents,
         {},
         [](World& world) {
             InType(world, "GetTypeComponentData", Spoiling([](auto elements) {
                        ReplaceFirst(elements, VT_BSTR, XLXComVariant::FromBstr(OLESTR("Other")));
                    }));
         }},
        {XRule::AgreeObjects,
         {},
         [](World& world) {
             InFactory(world, "GetTypeArrayEx", Spoiling([](auto elements) {
                           ReplaceFirst(elements, VT_UNKNOWN, XLXComVariant::FromUnknown(new Opaque));
                       }));
         }},
    };
}

std::vector<Broken> BrokenAgreements() {
    return {
        {XRule::AgreeProperty,
         {},
         [](World& world) {
             world.faults->property = [](int index, HRESULT result, VARIANT* value) {
                 if (index != 1) { return result; }
                 Replace(*value, XLXComVariant::FromBstr(OLESTR("Other")));
                 return S_OK;
             };
         }},
        {XRule::AgreeNamed, {}, [](World& world) { world.faults->withBases = 1; }},
        {XRule::AgreeBases, {}, [](World& world) { world.faults->withBases = 0; }},
        {XRule::AgreeList,
         {},
         [](World& world) {
             InFactory(world, "GetTypeArrayByTypeNameArrayEx", [&world](HRESULT, void** out) {
                 SafeArrayDestroy(static_cast<SAFEARRAY*>(*out));
                 const auto bulk = world.sample->ConfigFactory().As<ILXConfigFactoryEx>();
                 return bulk->GetTypeArrayByTypeNameEx(XLXComBSTR(OLESTR("Item")).Get(), 0, 15,
                                                       reinterpret_cast<SAFEARRAY**>(out));
             });
         }},
        {XRule::AgreeListed,
         {},
         [](World& world) {
             InFactory(world, "GetTypeEnum", [&world](HRESULT, void** out) {
                 Drop(out, S_OK);
                 return world.sample->ConfigFactory()->GetSearchableTypeEnum(reinterpret_cast<ILXTypeEnum**>(out));
             });
         }},
        {XRule::AgreeLookups,
         {},
         [](World& world) { InType(world, "GetAttribute", [](HRESULT, void** out) { return Drop(out, S_FALSE); }); }},
        {XRule::AgreeEnumerations,
         {},
         [](World& world) { InType(world, "GetPageEnum", [](HRESULT, void** out) { return Drop(out, S_FALSE); }); }},
        {XRule::AgreeRelations,
         {},
         [](World& world) {
             InFactory(world, "GetParentChildEnum", [](HRESULT, void** out) { return Drop(out, S_FALSE); });
         }},
    };
}

std::vector<Broken> BrokenEnumerations() {
    return {
        {XRule::EnumEnds,
         {},
         [](World& world) {
             InBrowserIds(world, [](const XLXComPtr<ILXBrowserIdEnum>& inner) -> ILXBrowserIdEnum* {
                 XLXComPtr<ILXBrowserId> first;
                 inner->GetSingleNext(first.Put());
                 return new HostileBrowserIds([first](ULONG asked, ILXBrowserId** elements, ULONG* fetched) {
                     for (*fetched = 0; *fetched < asked; ++*fetched) {
                         first.CopyTo(elements + *fetched);
                     }
                     return S_OK;
                 });
             });
         }},
        {XRule::EnumCounts,
         {},
         [](World& world) {
             InBrowserIds(world, [](const XLXComPtr<ILXBrowserIdEnum>&) -> ILXBrowserIdEnum* {
                 return new HostileBrowserIds([](ULONG asked, ILXBrowserId**, ULONG* fetched) {
                     *fetched = asked + 1000; // and no element
                     return S_OK;
                 });
             });
         }},
        {XRule::EnumSingle,
         {},
         [](World& world) {
             InBrowserIds(world, [](const XLXComPtr<ILXBrowserIdEnum>& inner) -> ILXBrowserIdEnum* {
                 return new HostileBrowserIds([inner](ULONG asked, ILXBrowserId** elements, ULONG* fetched) {
                     return inner->RemNext(asked, elements, fetched);
                 });
             });
         }},
        {XRule::EnumReset,
         {},
         [](World& world) {
             InBrowserIds(world, OddBrowserIds([](auto** out) {
                              *out = nullptr;
                              return E_NOTIMPL;
                          }));
         }},
        {XRule::EnumSkip,
         {},
         [](World& world) {
             InBrowserIds(world, OddBrowserIds([](auto** out) {
                              *out = nullptr;
                              return E_NOTIMPL;
                          }));
         }},
        {XRule::EnumClone,
         {},
         [](World& world) {
             InBrowserIds(world, OddBrowserIds([&world](ILXBrowserIdEnum** out) {
                              return world.sample->ConfigFactory()->GetBrowserIdEnum(out); // from the first one on
                          }));
         }},
    };
}

std::vector<Broken> BrokenNotifications() {
    const auto silently = [](World& world, int number) {
        world.sample->Edit().SetAttributeProperty("Item", "Weight", XProperty::Label, "W" + std::to_string(number),
                                                  XNotify::No);
    };
    /// Changes a label, and sends a data id of its own before or after.
    const auto sending = [silently](const char* dataId, bool before) {
        return [=](World& world) {
            world.edit = [&world, dataId, before, silently](int number) {
                if (before) { world.sample->SendNotification(dataId); }
                silently(world, number);
                if (!before) { world.sample->SendNotification(dataId); }
            };
        };
    };
    return {
        {XRule::UnknownClient, {}, [](World& world) { world.faults->knowEveryClient = true; }},
        {XRule::NotifySent,
         {},
         [silently](World& world) { world.edit = [&world, silently](int number) { silently(world, number); }; }},
        {XRule::NotifyEveryClient,
         {},
         [](World& world) { world.faults->notification = [](LONG client, XLXText&, ULONG&) { return client != 2; }; }},
        {XRule::NotifyAfter, {}, sending("properties/Weight/2/512", true)},
        {XRule::NotifyIds,
         {},
         [](World& world) {
             world.faults->notification = [](LONG, XLXText&, ULONG& id) {
                 id = 5;
                 return true;
             };
         }},
        {XRule::NotifyDataId, {}, sending("changed/Weight", false)},
        {XRule::NotifyConcerns, {}, sending("properties/Weight/2/32", false)},
        {XRule::NotifyCallable,
         {},
         [](World& world) {
             InFactory(world, "GetTypeArrayEx", [faults = world.faults.get()](HRESULT result, void** out) {
                 if (!faults->notifying) { return result; }
                 SafeArrayDestroy(static_cast<SAFEARRAY*>(std::exchange(*out, nullptr)));
                 return E_FAIL;
             });
         }},
        {XRule::CallbackKept, {}, [](World& world) { world.faults->keepNoReference = true; }},
        {XRule::CallbackDropped, {}, [](World& world) { world.faults->hideAnswers = true; }},
        {XRule::CallbackSilent, {}, [](World& world) { world.faults->unregisterNobody = true; }},
        {XRule::CallbackReleased, {}, [](World& world) { world.faults->releaseNoReference = true; }},
    };
}

std::vector<Broken> AllBroken() {
    std::vector<Broken> all;
    for (auto part : {BrokenModels(), BrokenAnswers(), BrokenArrays(), BrokenAgreements(), BrokenEnumerations(),
                      BrokenNotifications()}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

std::string NameOf(XRule rule) { return LXContract()[static_cast<std::size_t>(rule)].id; }

class BrokenRule : public testing::TestWithParam<Broken> {};

TEST_P(BrokenRule, IsFound) {
    const Broken& row = GetParam();
    XServerModel model = ContractModel();
    if (row.model) { row.model(model); }
    World world(std::move(model));
    if (row.server) { row.server(world); }
    const XVerifierReport report = world.Verify();
    EXPECT_TRUE(VerdictOf(report, row.rule).IsBroken()) << BrokenIn(report);
    ASSERT_FALSE(VerdictOf(report, row.rule).findings.empty());
    EXPECT_FALSE(VerdictOf(report, row.rule).findings.front().call.empty());
    EXPECT_EQ(report.hanging, "");
    const auto with = BrokenWith().find(row.rule);
    for (const XVerdict& verdict : report.verdicts) {
        const XRule rule = verdict.rule->rule;
        const bool allowed = rule == row.rule || (with != BrokenWith().end() && with->second.contains(rule));
        EXPECT_TRUE(allowed || !verdict.IsBroken()) << verdict.rule->id << "\n" << BrokenIn(report);
    }
}

INSTANTIATE_TEST_SUITE_P(Contract, BrokenRule, testing::ValuesIn(AllBroken()), [](const auto& row) {
    std::string name = NameOf(row.param.rule);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(Contract, EveryRuleHasAServerThatBreaksIt) {
    std::set<std::string> rules{NameOf(XRule::InTime)}; // a test of its own
    for (const Broken& row : AllBroken()) {
        rules.insert(NameOf(row.rule));
    }
    for (const XContractRule& rule : LXContract()) {
        EXPECT_TRUE(rules.contains(rule.id)) << rule.id;
    }
}

TEST(Contract, TheSampleServerKeepsEveryRule) {
    World world(ContractModel());
    const XVerifierReport report = world.Verify();
    EXPECT_EQ(BrokenIn(report), "");
    EXPECT_EQ(report.types, 4u);
    for (const XVerdict& verdict : report.verdicts) {
        EXPECT_EQ(verdict.IsKept(), verdict.rule->rule != XRule::EnumClone) << verdict.rule->id;
    }
    EXPECT_FALSE(report.times.at("GetTypeArrayEx mode 15").empty());
}

TEST(Contract, WhatIsMissingIsSaid) {
    World world(XServerModel{});
    world.withUpdate = false;
    const XVerifierReport report = world.Verify();
    EXPECT_EQ(BrokenIn(report), "");
    EXPECT_EQ(VerdictOf(report, XRule::NotifySent).notTested, "the server has no ILXDataUpdate");
    EXPECT_FALSE(VerdictOf(report, XRule::AgreeType).IsKept());
}

TEST(Contract, ACallThatMakesNoEndIsNamed) {
    World world(ContractModel());
    world.options.limit = 200ms;
    std::promise<void> gate;
    InFactory(world, "GetPCArray", [opened = gate.get_future().share()](HRESULT result, void**) {
        opened.wait();
        return result;
    });
    const XVerifierReport report = world.Verify();
    EXPECT_EQ(report.hanging, "GetPCArray()");
    EXPECT_TRUE(VerdictOf(report, XRule::InTime).IsBroken());
    EXPECT_EQ(VerdictOf(report, XRule::ArrayHeader).IsKept(), true);
    EXPECT_EQ(VerdictOf(report, XRule::NotifySent).notTested, "the verification ended at the call that makes no end");
    gate.set_value();
    while (world.faults.use_count() > 1) { // the thread that was in the call ends
        std::this_thread::sleep_for(5ms);
    }
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
