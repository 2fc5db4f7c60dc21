// SPDX-License-Identifier: MIT
//
// How the typed layer converts the component's results to objects, ranges, values, texts and errors.
#include "hostileenum.h"
#include "kitfixture.h"

namespace {
using Typed = WithComponent;

/// Formats the elements of a range as "name=value ..." with one property.
template <class T> std::string All(const lxcfc::Range<T>& range, int index) {
    std::string all;
    for (const auto& element : range) {
        all += (all.empty() ? "" : " ") + element.template Text<std::string>(index);
    }
    return all;
}

/// The error that a call throws.
template <class F> lxcfc::Error ErrorOf(F&& call) {
    try {
        call();
    } catch (const lxcfc::Error& error) { return error; }
    ADD_FAILURE() << "no error was thrown";
    return lxcfc::Error(S_OK, {});
}

/// Calls every query of the typed layer for the server of MakeServer.
void ExpectAllAnswers(const lx::ServerPtr& server, const lxcfc::Cache& cache) {
    EXPECT_EQ(cache.Version(), OLESTR("1"));
    EXPECT_EQ(cache.Types().size(), 2U);
    EXPECT_EQ(All(cache.SearchableTypes(), lx::TypeName), "Pump");
    EXPECT_EQ(All(cache.BrowserIds(), lx::BrowserIdLabel), "Project tree");
    ASSERT_EQ(All(cache.GlobalSpecs(), lx::SpecId), "Format.kg");
    EXPECT_EQ(cache.GlobalSpecs()[0].Format(0).Text<std::string>(lx::FormatPattern), "0.000");

    const lxcfc::Type pump = cache.Type(L"Pump"), part = pump.FindBase();
    EXPECT_EQ(part.Text(lx::TypeName), OLESTR("Part"));
    EXPECT_FALSE(part.FindBase());
    EXPECT_EQ(All(pump.Attributes(), lx::AttributeName), "RatedFlow Weight");
    EXPECT_EQ(All(pump.Attributes(), lx::Unit), "m\xC2\xB3/h kg") << "the base's attribute takes precedence";
    EXPECT_EQ(All(part.AttributesOf(2), lx::AttributeName), "Weight");
    EXPECT_TRUE(part.AttributesOf(1).empty());
    EXPECT_EQ(All(pump.DisplayAttributes(LXD_EDITOR), lx::AttributeName), "Weight");
    EXPECT_TRUE(part.DisplayAttributes(LXD_EDITOR, 1).empty());
    EXPECT_EQ(part.DisplayAttributes(LXD_EDITOR, 2).size(), 1U);
    EXPECT_EQ(All(part.Groups(), lx::GroupNumber), "1 2");
    EXPECT_EQ(All(part.GroupsOf(2), lx::GroupNumber), "2");
    EXPECT_EQ(All(part.ToplevelGroups(), lx::GroupNumber), "1");
    EXPECT_TRUE(part.ToplevelGroupsOf(2).empty());
    EXPECT_EQ(All(part.Group(1).Children(), lx::GroupNumber), "2");
    EXPECT_FALSE(part.Group(1).FindFormat());
    EXPECT_EQ(part.Group(2).FindFormat().Text<std::string>(lx::FormatPattern), "two columns");
    EXPECT_EQ(All(part.Pages(), lx::PageLabel), "General More");
    EXPECT_EQ(part.Page(2).Text<std::string>(lx::PageLabel), "More");
    EXPECT_EQ(All(pump.Editors(), lx::ProgId), "Pump.Editor Pump.New");
    EXPECT_TRUE(pump.Editor(L"Pump.New").Flag(lx::DefaultNewEditor));
    EXPECT_EQ(pump.FindDefaultEditor(L"Tree").Text<std::string>(lx::ProgId), "Pump.Editor");
    EXPECT_EQ(pump.FindDefaultNewEditor(L"Tree").Text<std::string>(lx::ProgId), "Pump.New");
    const lxcfc::Attribute weight = pump.Attribute("Weight");
    EXPECT_EQ(All(weight.Types(), lx::AttributeTypeLabel), "Net weight");
    EXPECT_EQ(weight.Format(2).Number(lx::FormatWidth), 12);
    EXPECT_FALSE(weight.FindFormat(1));

    EXPECT_EQ(cache.Relations().size(), 3U);
    EXPECT_EQ(All(cache.Relations("Pump"), lx::ChildList), "seals");
    EXPECT_EQ(All(cache.FilteredRelations("Part", LXPCF_NEWONLY, "Tree"), lx::ChildList), "parts");
    EXPECT_EQ(cache.AllRelations("Pump").size(), 3U);
    const lxcfc::Relation relation = cache.FindRelation("Part", "Pump", "parts");
    EXPECT_EQ(relation.Infos().size(), 1U);
    EXPECT_EQ(relation.Info("tree").Number(lx::PCInfoNew), 1);
    EXPECT_FALSE(cache.FindRelation("Pump", "Part", "parts"));
    EXPECT_TRUE(cache.DerivesFrom("Pump", "Part"));
    EXPECT_FALSE(cache.DerivesFrom("Part", "Pump"));
    EXPECT_EQ(cache.DerivedTypes("Part"), std::vector<lxcfc::String>{OLESTR("Pump")});
    EXPECT_TRUE(cache.DerivedTypes("Pump").empty());
    const auto object = lx::Make<lx::TypedDataObject>(server, OLESTR("Pump"));
    EXPECT_EQ(cache.TypeOf(object.Get()).Get(lx::TypeName).Text(), OLESTR("Pump"));
    EXPECT_FALSE(cache.IsPlanType(object.Get()));
}
} // namespace

TEST_F(Typed, EveryQueryCallsItsMethod) {
    const auto server = MakeServer();
    for (const bool withObjects : {true, false}) {
        for (const LONG mode : {1, 15}) {
            SCOPED_TRACE("mode " + std::to_string(mode) + ", objects " + std::to_string(withObjects));
            server->DeliverComponentObjects(withObjects);
            ExpectAllAnswers(server, CacheOf(server, mode));
        }
    }
}

TEST_F(Typed, ARangeHasAllElementsOfItsEnumerator) {
    const auto server = MakeServer();
    const lxcfc::ConfigFactory factory(FactoryOf(server));
    const lxcfc::Ptr<ILXPage> page(&factory.Type("Part").Page(1).Raw());
    struct Portion {
        ULONG count;
        HRESULT result;
    };
    const auto count = [&page](const std::vector<Portion>& portions) {
        const auto next = [&, calls = std::size_t{0}](ULONG wanted, ILXPage** pages, ULONG* fetched) mutable {
            const Portion portion = portions.at(calls++);
            *fetched = portion.count;
            std::generate_n(pages, (std::min)(portion.count, wanted),
                            [&] { return lxcfc::Ptr<ILXPage>(page).Detach(); });
            return portion.result;
        };
        return lxcfc::Range<lxcfc::Page>(*lx::Make<HostileEnum<ILXPageEnum, ILXPage>>(next)).size();
    };
    EXPECT_EQ(count({{64, S_OK}, {64, S_OK}, {3, S_FALSE}}), 131U);
    EXPECT_EQ(count({{3, S_OK}, {2, S_OK}, {1, S_FALSE}}), 6U) << "a short batch is not the end";
    EXPECT_EQ(count({{3, S_OK}, {0, S_OK}}), 3U) << "an empty batch is the end";
    EXPECT_EQ(count({{0, S_FALSE}}), 0U);
    EXPECT_EQ(count({{1000, S_FALSE}}), 64U) << "it reports more elements than fit";
    const auto failing = [&] { count({{64, S_OK}, {0, RPC_E_DISCONNECTED}}); };
    // The test runner detects elements that leak here.
    EXPECT_EQ(ErrorOf(failing).Result(), RPC_E_DISCONNECTED);

    lxcfc::Range<lxcfc::Attribute> kept;
    {
        const lxcfc::Cache cache(FactoryOf(server));
        kept = cache.Type("Pump").Attributes();
    }
    EXPECT_EQ(All(kept, lx::AttributeName), "RatedFlow Weight") << "a range outlives its cache";
    EXPECT_EQ(All(kept, lx::AttributeName), "RatedFlow Weight") << "and can be iterated again";
}

TEST_F(Typed, ValuesAndTextsAreConvertedToEachForm) {
    const lxcfc::Cache cache(FactoryOf(MakeServer()));
    const lxcfc::Attribute flow = cache.Type(u"Pump").Attribute(std::wstring(L"RatedFlow"));
    EXPECT_EQ(flow.Text(lx::Unit), OLESTR("m\u00B3/h"));
    EXPECT_EQ(flow.Text<std::wstring>(lx::Unit), L"m\u00B3/h");
    EXPECT_EQ(flow.Text<std::string>(lx::Unit), "m\xC2\xB3/h");
    EXPECT_EQ(flow.Text(lx::Description), lxcfc::String()) << "an empty value is an empty text";
    EXPECT_TRUE(flow.Get(lx::Description).IsEmpty());
    EXPECT_EQ(flow.Text("LXCFG_attributename"), OLESTR("RatedFlow"));
    EXPECT_EQ(cache.Type("Part").Attribute("Weight").Real(lx::Minimum), 0.5);
    EXPECT_EQ(cache.Type("Part").Attribute("Weight").Text(lx::AttributeGroup), OLESTR("2"));
    flow.Set(lx::Unit, "l/s \xF0\x9F\x98\x80");
    EXPECT_EQ(flow.Text<std::u16string>(lx::Unit), u"l/s \U0001F600");
    flow.Set("LXCFG_showineditor", true);
    EXPECT_TRUE(flow.Flag(lx::ShowInEditor));
    flow.Set(lx::Position, 7L);
    EXPECT_EQ(flow.Get(lx::Position).Number(), 7);
    // Invalid: a low surrogate alone, a truncated sequence, an overlong "/", a surrogate in UTF-8.
    EXPECT_EQ(lxcfc::Encode<std::string>(std::u16string{0xDC00, u'a'}), "\xEF\xBF\xBD"
                                                                        "a");
    EXPECT_EQ(lxcfc::Encode<std::u16string>("a\xE2\x82"), u"a\uFFFD");
    EXPECT_EQ(lxcfc::Encode<std::u16string>("\xC0\xAF"), u"\uFFFD\uFFFD");
    EXPECT_EQ(lxcfc::Encode<std::u16string>("\xED\xA0\x80"), u"\uFFFD");
    EXPECT_EQ(lxcfc::Encode<std::u16string>(""), u"");
}

TEST_F(Typed, ErrorsSayWhatWhereAndWhy) {
    const lxcfc::Cache cache(FactoryOf(MakeServer()));
    const lxcfc::Attribute flow = cache.Type("Pump").Attribute("RatedFlow");
    const lxcfc::Error error = ErrorOf([&] { (void)flow.Get(1000); });
    EXPECT_EQ(error.Result(), E_INVALIDARG);
    EXPECT_EQ(error.Text(), OLESTR("property index (1000) is out of range"));
    EXPECT_EQ(lxcfc::Encode<std::string>(error.Source()).rfind("ROAssociations::Get (", 0), 0U) << error.what();
    EXPECT_EQ(std::string(error.what()).rfind("property index (1000) is out of range (0x80070057, ", 0), 0U);

    const lxcfc::Error missing = ErrorOf([&] { (void)cache.Type("Pumpe"); });
    EXPECT_EQ(missing.Result(), lxcfc::NotFound);
    EXPECT_EQ(missing.Text(), OLESTR("there is no type 'Pumpe'"));
    EXPECT_EQ(ErrorOf([&] { (void)cache.Type("Pump").Page(9); }).Text(), OLESTR("there is no page '9'"));
    EXPECT_FALSE(cache.FindType("Pumpe"));
    EXPECT_EQ(ErrorOf([&] { (void)cache.FindType("Pumpe").Attributes(); }).Result(), E_POINTER);
    EXPECT_EQ(ErrorOf([&] { (void)flow.Number(lx::Unit); }).Result(), DISP_E_TYPEMISMATCH);

    // Old error information of another call must not explain a failure that sets none.
    lxcfc::Value value;
    EXPECT_EQ(flow.Raw().GetProperty(1000, value.Put()), E_INVALIDARG);
    const auto refused = [&] {
        (void)lxcfc::detail::Find<lxcfc::Relation>("AddParentChild", cache.Raw(), &ILXConfigFactory::AddParentChild);
    };
    const lxcfc::Error bare = ErrorOf(refused);
    EXPECT_EQ(bare.Result(), E_NOTIMPL);
    EXPECT_EQ(bare.Text(), OLESTR("AddParentChild failed"));
}
