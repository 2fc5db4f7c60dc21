// SPDX-License-Identifier: MIT
//
// Enumerators that never end, report more elements than requested, leave null elements, or return elements with a
// failure. The cache releases everything and uses only non-null elements.
#include "hostileserver.h"

namespace {
struct Behaviour {
    const char* name;
    HRESULT result;
    ULONG put; ///< number of elements to return, at most as many as requested
    bool claimsTooMuch;
    ULONG claimed;    ///< the reported number; AsAsked: the requested number
    HRESULT expected; ///< the cache's result for its own enumeration
};
constexpr ULONG AsAsked = 0xFFFF;

std::ostream& operator<<(std::ostream& out, const Behaviour& behaviour) { return out << behaviour.name; }

class Enumerators : public HostileTest, public testing::WithParamInterface<Behaviour> {
protected:
    static XServerModel Model() {
        XServerModel model = LXTestModel();
        model.AddGlobalSpec("Length");
        model.AddRelation("Item", "Document", "nodes").AddPCInfo("Tree");
        return model;
    }
    Enumerators() : HostileTest(Model()) {}

    template <class IEnumX, class IX> auto Misbehaving(XLXComPtr<IX> element) {
        return [element](IEnumX** out) {
            const auto next = [element, behaviour = GetParam()](ULONG asked, IX** elements, ULONG* fetched) {
                for (ULONG i = 0; i < std::min(behaviour.put, asked); i += 2) // every second element is null
                {
                    elements[i] = element.Get();
                    if (SUCCEEDED(behaviour.result)) // a failed call leaves nothing to release
                    {
                        element->AddRef();
                    }
                }
                *fetched = behaviour.claimsTooMuch        ? asked * 1000
                           : behaviour.claimed == AsAsked ? asked
                                                          : behaviour.claimed;
                return behaviour.result;
            };
            XLXComPtr<IEnumX>(new HostileEnum<IEnumX, IX>(next)).CopyTo(out);
            return S_OK;
        };
    }

    /// The first element that a call of the server enumerates.
    template <class IX, class IEnumX, class Ask> static XLXComPtr<IX> FirstOf(Ask&& ask) {
        XLXComPtr<IEnumX> elements;
        XLXComPtr<IX> first;
        EXPECT_EQ(ask(elements.Put()), S_OK);
        EXPECT_EQ(elements->GetSingleNext(first.Put()), S_OK);
        return first;
    }
    /// A server that answers "nothing yet" for ever meets one limit for all kinds, and that takes its time.
    static bool IsLong() { return GetParam().put == 0 && GetParam().claimed == 0; }
    /// Checks the names that the cache lists and its result.
    template <class IX, class IEnumX>
    void ExpectTaken(const char* what, HRESULT result, const XLXComPtr<IEnumX>& elements, HRESULT expected) {
        EXPECT_EQ(result, expected) << what;
        ExpectExplained(result, what);
        const bool taken = GetParam().put != 0 && expected == S_OK;
        EXPECT_EQ(LXReadAll<IX>(elements, 0).empty(), !taken) << what;
    }
};

TEST_P(Enumerators, OfBrowserIdsAndSpecs) {
    if (IsLong()) { return; }
    const auto server = m_server->ConfigFactory();
    m_factory->browserIds = Misbehaving<ILXBrowserIdEnum>(
        FirstOf<ILXBrowserId, ILXBrowserIdEnum>([&](auto out) { return server->GetBrowserIdEnum(out); }));
    m_factory->specs = Misbehaving<ILXGlobalAttributeFormatSpecEnum>(
        FirstOf<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
            [&](auto out) { return server->GetAllGlobalAttributeFormatSpecs(out); }));
    ASSERT_EQ(StartHostile(), S_OK);
    XLXComPtr<ILXBrowserIdEnum> browsers;
    XLXComPtr<ILXGlobalAttributeFormatSpecEnum> specs;
    HRESULT result = Factory()->GetBrowserIdEnum(browsers.Put());
    ExpectTaken<ILXBrowserId>("browser ids", result, browsers, GetParam().expected);
    // Specs that came before a failure are cached.
    result = Factory()->GetAllGlobalAttributeFormatSpecs(specs.Put());
    if (GetParam().expected != E_ABORT) {
        ExpectTaken<ILXGlobalAttributeFormatSpec>("specs", result, specs, GetParam().expected);
    }
    Terminate();
}

TEST_P(Enumerators, OfPCInfos) {
    const XLXComBSTR item(OLESTR("Item"));
    const auto first = [&](const XLXComPtr<ILXConfigFactory>& factory) {
        return FirstOf<ILXParentChild, ILXParentChildEnum>(
            [&](auto out) { return factory->GetParentChildEnum(item.Get(), nullptr, out); });
    };
    const auto relation = first(m_server->ConfigFactory());
    const auto info = FirstOf<ILXPCInfo, ILXPCInfoEnum>([&](auto out) { return relation->GetPCInfoEnum(out); });
    XLXComPtr<HostileRelation> hostile(new HostileRelation(relation));
    hostile->infos = Misbehaving<ILXPCInfoEnum>(info);
    m_factory->relations = [&](SAFEARRAY** out) {
        std::vector<XLXCFCDataTransfer::XILXPCData> records(1);
        records[0].object = XLXComPtr<IUnknown>(hostile.Get());
        XLXSafeArray values;
        relation->GetProperties(values.Put());
        XLXCFCDataTransfer::XArrayReader reader(std::move(values), 0, "Values");
        records[0].values = reader.Values(reader.Remaining());
        *out = XLXCFCDataTransfer::GetArrayFromVec(std::move(records)).Detach();
        return S_OK;
    };
    ASSERT_EQ(StartHostile(), S_OK);
    XLXComPtr<ILXPCInfoEnum> cachedInfos;
    const HRESULT result = first(Factory())->GetPCInfoEnum(cachedInfos.Put());
    // A relation whose PC infos cannot be enumerated has none.
    const HRESULT expected = GetParam().expected == E_ABORT ? S_FALSE : GetParam().expected;
    ExpectTaken<ILXPCInfo>("PC infos", result, cachedInfos, expected);
    Terminate();
}

TEST_P(Enumerators, OfAttributeTypes) {
    if (IsLong()) { return; }
    const XLXComBSTR pump(OLESTR("Pump"));
    const XLXComBSTR head(OLESTR("Head"));
    XLXComPtr<ILXType> type;
    XLXComPtr<ILXAttribute> attribute;
    ASSERT_EQ(m_server->ConfigFactory()->GetType(pump.Get(), nullptr, type.Put()), S_OK);
    ASSERT_EQ(type->GetAttribute(head.Get(), attribute.Put()), S_OK);
    const auto element =
        FirstOf<ILXAttributeType, ILXAttributeTypeEnum>([&](auto out) { return attribute->GetAttributeTypeEnum(out); });
    XLXComPtr<HostileAttribute> hostile(new HostileAttribute(attribute));
    hostile->types = Misbehaving<ILXAttributeTypeEnum>(element);
    m_factory->types = [&](SAFEARRAY** out) {
        *out = HostileTypeArray({{OLESTR("Pump"), OLESTR(""), {OLESTR("Head")}}}, [&] { return hostile; }).Detach();
        return S_OK;
    };
    ASSERT_EQ(StartHostile(), S_OK);
    ASSERT_EQ(Named(OLESTR("Pump"))->GetAttribute(head.Get(), attribute.Put()), S_OK);
    const XLXComBSTR id(OLESTR("objects/Pump/0/1024"));
    attribute.As<ILXCallbackUpdate>()->DataObjectChanged(id.Get(), nullptr, 256, 1, 0, nullptr);
    XLXComPtr<ILXAttributeTypeEnum> types;
    const HRESULT result = attribute->GetAttributeTypeEnum(types.Put());
    const HRESULT expected = GetParam().expected == E_ABORT ? S_FALSE : GetParam().expected;
    EXPECT_EQ(result, expected);
    ExpectExplained(result, "attribute types");
    EXPECT_EQ(LXReadAll<ILXAttributeType>(types, XProperty::AttributeTypeName).empty(),
              GetParam().put == 0 || expected != S_OK);
    Terminate();
}

INSTANTIATE_TEST_SUITE_P(Hostile, Enumerators,
                         testing::Values(Behaviour{"EndsNeverWithNulls", S_OK, 0, false, AsAsked, E_FAIL},
                                         Behaviour{"EndsNeverWithNothing", S_OK, 0, false, 0, E_FAIL},
                                         Behaviour{"ClaimsMoreThanAsked", S_FALSE, 3, true, 0, S_OK},
                                         Behaviour{"Holes", S_FALSE, 9, false, AsAsked, S_OK},
                                         Behaviour{"OnlyNulls", S_FALSE, 0, false, AsAsked, S_FALSE},
                                         Behaviour{"FailsWithElements", E_ABORT, 9, false, 5, E_ABORT}),
                         testing::PrintToStringParamName());
} // namespace
