// SPDX-License-Identifier: MIT
//
// Servers with single odd answers: arrays with the wrong shape or content, values by reference, and calls that fail but
// still store something in an out argument.
#include "XCountedLock.h"
#include "XDataObjectRefusals.h"
#include "hostileserver.h"
#include "inside.h"
#include "logcapture.h"

using namespace XLXCFCDataTransfer;

namespace {
XLXVariantVector Values(std::size_t count, std::size_t key, XLXComVariant value) {
    XLXVariantVector values(count);
    values[key] = std::move(value);
    return values;
}

/// A bulk read of one type, "Item".
XLXSafeArray ItemArray(const XLXComPtr<IUnknown>& server, XILXTypeComp components = {}) {
    XILXTypeMap map = GetMapFromArray(HostileTypeArray({{OLESTR("Item"), {}, {}}}, [&] { return server; }));
    map.records.begin()->second.components = std::move(components);
    return GetArrayFromMap(std::move(map));
}

/// A server's attribute whose values come from a function.
class OddAttribute final : public lx::AttributeRefusals<lx::ConfigObjectRefusals<lx::Object<ILXAttribute>>> {
public:
    std::function<HRESULT(SAFEARRAY**)> values;
    HRESULT STDMETHODCALLTYPE GetProperties(SAFEARRAY** out) override { return values(out); }
};

XILXTypeComp OneAttribute(const XLXComPtr<OddAttribute>& server, XLXVariantVector values) {
    std::vector<XILXAttributeData> attributes(1);
    attributes[0].object = XLXComPtr<IUnknown>(server.Get());
    attributes[0].values = std::move(values);
    XILXTypeComp components;
    components.attributes = GetArrayFromAttributeList(std::move(attributes));
    return components;
}

XLXSafeArray Numbers(std::initializer_list<LONG> numbers) {
    XArrayWriter writer;
    for (const LONG number : numbers) {
        writer.Put(number);
    }
    return writer.Finish();
}

class OddAnswers : public HostileTest {
protected:
    XLXComPtr<ILXType> ServerItem() {
        return LXGet(m_server->ConfigFactory(), &ILXConfigFactory::GetType, "Item", nullptr);
    }
};

TEST_F(OddAnswers, ValuesByReferenceAreCopiedWhenTheyArrive) {
    const XLXComBSTR labels[] = {XLXComBSTR(OLESTR("First")), XLXComBSTR(OLESTR("Second"))};
    BSTR label = labels[0].Get(); // what the values refer to
    const auto refer = [&](XLXComVariant& text) {
        V_VT(&text.Get()) = VT_BYREF | VT_BSTR;
        V_BYREF(&text.Get()) = &label;
    };
    const auto serverItem = ServerItem();
    const XLXComPtr<OddAttribute> hostile(new OddAttribute);
    ServeTypes([&] {
        auto values = Values(60, XProperty::AttributeName, XLXComVariant::FromBstr(OLESTR("Name")));
        refer(values[XProperty::Label]);
        return ItemArray(serverItem, OneAttribute(hostile, std::move(values)));
    });
    hostile->values = [&](SAFEARRAY** out) {
        *out = SafeArrayCreateVector(VT_VARIANT, 0, 60);
        refer(static_cast<XLXComVariant*>((*out)->pvData)[XProperty::Label]);
        return S_OK;
    };
    ASSERT_EQ(StartHostile(), S_OK);
    label = labels[1].Get(); // the records are not parsed yet
    const auto name = AttributeOf(Named(OLESTR("Item")), OLESTR("Name"));
    EXPECT_EQ(LXRead(name.Get(), XProperty::Label), labels[0].View());
    LXNotifyStraight(name, "properties/Item/2/512");
    EXPECT_EQ(LXRead(name.Get(), XProperty::Label), labels[1].View()); // from GetProperties
    label = labels[0].Get();
    EXPECT_EQ(LXRead(name.Get(), XProperty::Label), labels[1].View());

    hostile->values = [](SAFEARRAY** out) {
        *out = SafeArrayCreateVector(VT_BSTR, 0, 3);
        return S_OK;
    };
    LXNotifyStraight(name, "properties/Item/2/512");
    XLXComVariant value;
    EXPECT_EQ(name->GetProperty(XProperty::Label, value.Put()), E_INVALIDARG);
    hostile->values = [servers = AttributeOf(serverItem, OLESTR("Name"))](SAFEARRAY** out) {
        return servers->GetProperties(out);
    };
    EXPECT_EQ(LXRead(name.Get(), XProperty::Label), OLESTR("Name of the item"))
        << "nothing of the refused array was kept";
}

TEST_F(OddAnswers, FewerValuesThanDisplayEnumerationsNeed) {
    const XLXComPtr<OddAttribute> hostile(new OddAttribute);
    ServeTypes([&] {
        auto values = Values(60, XProperty::AttributeName, XLXComVariant::FromBstr(OLESTR("Name")));
        return ItemArray(ServerItem(), OneAttribute(hostile, std::move(values)));
    });
    hostile->values = [](SAFEARRAY** out) {
        *out = SafeArrayCreateVector(VT_VARIANT, 0, 46);
        return S_OK;
    };
    ASSERT_EQ(StartHostile(), S_OK);
    const auto item = Named(OLESTR("Item"));
    LXNotifyStraight(AttributeOf(item, OLESTR("Name")), "properties/Item/2/512");
    for (int round = 0; round < 2; ++round) {
        ExpectRefusal(LXResult(item, &ILXType::GetDisplayAttributeEnum, 1), E_INVALIDARG,
                      "property index (46) is out of range");
        EXPECT_EQ(LXResult(item, &ILXType::GetDisplayAttributeEnum, 0), S_OK); // needs no values
        XLXComVariant label;
        EXPECT_EQ(AttributeOf(item, OLESTR("Name"))->GetProperty(XProperty::Label, label.Put()), S_FALSE);
    }
}

TEST_F(OddAnswers, ABaseMayBeGivenByItsIndexAlone) {
    ServeTypes([&] {
        XILXTypeMap map = GetMapFromArray(HostileTypeArray({{OLESTR("Item"), OLESTR(""), {OLESTR("Name")}}}));
        XILXTypeData& derived = map.records[IndexOf(map, OLESTR("Derived"))];
        derived.config.values = Values(28, 0, XLXComVariant::FromBstr(OLESTR("Derived")));
        derived.baseIndex = static_cast<LONG>(IndexOf(map, OLESTR("Item")));
        return GetArrayFromMap(std::move(map));
    });
    ASSERT_EQ(StartHostile(), S_OK);
    EXPECT_TRUE(AttributeOf(Named(OLESTR("Derived")), OLESTR("Name")));
}

/// Answers every QueryInterface with the same result and pointer.
class OddQuery final : public HostileObject<IUnknown> {
public:
    OddQuery(HRESULT result, IUnknown* left) : m_result(result), m_left(left) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppv) override {
        *ppv = m_left;
        return m_result;
    }

private:
    const HRESULT m_result;
    IUnknown* const m_left;
};

TEST_F(OddAnswers, ASuccessfulQueryInterfaceWithoutAPointerIsAnError) {
    ServeTypes([&] { return ItemArray(new OddQuery(S_OK, nullptr)); });
    ASSERT_EQ(StartHostile(), S_OK);
    const auto item = Named(OLESTR("Item"));
    XLXComVariant value;
    EXPECT_EQ(item->GetProperty(XProperty::TypeLabel, value.Put()), E_POINTER);
    auto values = Arguments(15, false, false);
    values[0] = XLXComVariant::FromUnknown(new OddQuery(S_OK, nullptr));
    Terminate();
    EXPECT_EQ(Initialize(std::move(values)), E_POINTER);
}

TEST_F(OddAnswers, AFailureIsNotTakenForAnEmptyAnswer) {
    ASSERT_EQ(Start(), S_OK);
    const auto item = Type("Item");
    const auto group = Group("Item", 1);
    const std::function<HRESULT()> questions[] = {[&] { return LXResult(item, &ILXType::GetPageGroupEnum, 1); },
                                                  [&] { return LXResult(group, &ILXGroup::GetChildGroupEnum); }};
    for (const auto& question : questions) {
        EXPECT_EQ(question(), S_OK);
        LXNotifyStraight(Group("Item", 3), "properties/Item/1/1");
        Calls().FailCall("ILXGroup::GetProperties", E_ACCESSDENIED);
        ExpectRefusal(question(), E_ACCESSDENIED, "a number of the group cannot be read");
        EXPECT_EQ(question(), S_OK);
    }
    const auto inheritance = item.As<ILXTypeInheritance>();
    for (const char* call : {"ILXType::GetAttributeEnum", "ILXAttribute::GetProperty", "ILXAttributeEnum::RemNext"}) {
        Calls().FailCall(call, E_ACCESSDENIED);
        EXPECT_EQ(LXResult(inheritance, &ILXTypeInheritance::GetAttributeEnum, 0), E_ACCESSDENIED) << call;
    }
}

TEST_F(OddAnswers, ARefusedComponentListIsLoggedWithItsType) {
    ServeTypes([&] {
        XILXTypeComp components;
        components.pages = Numbers({});
        components.groups = Numbers({-1});
        components.editors = Numbers({1, 2, 3});
        components.attributes = Numbers({4});
        return ItemArray(ServerItem(), std::move(components));
    });
    ASSERT_EQ(StartHostile(), S_OK);
    const auto item = Named(OLESTR("Item"));
    const auto expect = [&](auto list, const char* section, const char* text) {
        const LogCapture log;
        ExpectRefusal(LXResult(item, list), E_INVALIDARG, text);
        const XLXText place = LXFromUtf8("(" + std::string(section) + ", type 'Item')");
        const auto entries = log.Entries();
        EXPECT_TRUE(std::any_of(entries.begin(), entries.end(), [&](const LogCapture::Entry& entry) {
            return entry.text.find(place) != XLXText::npos;
        })) << section;
    };
    expect(&ILXType::GetPageEnum, "pages", "wrong safearray size");
    expect(&ILXType::GetGroupEnum, "groups", "vector element count is negative");
    expect(&ILXType::GetConfObjEditorEnum, "editors", "variant type mismatch: expected VT_UNKNOWN");
    expect(&ILXType::GetAttributeEnum, "attributes", "variant type mismatch: expected VT_UNKNOWN");
    EXPECT_EQ(LXRead(item.Get(), 0), OLESTR("Item"));
}

TEST_F(OddAnswers, ARefusedTypeArrayLeavesTheTypesAsTheyWere) {
    XLXSafeArray next = Numbers({1});
    ServeTypes([&] { return next ? std::move(next) : ItemArray(ServerItem()); });
    ExpectRefusal(StartHostile(), E_INVALIDARG, "wrong safearray size");
    EXPECT_TRUE(Named(OLESTR("Item"))) << "the next query requests the types again";
    Terminate();
    ASSERT_EQ(StartHostile(), S_OK);
    const auto item = Named(OLESTR("Item"));
    std::pair<XLXSafeArray, const OLECHAR*> refused[] = {
        {Numbers({1, 7, 0, 0}), OLESTR("wrong data wrapper id stored in safearray")},
        {HostileTypeArray({{OLESTR("A"), OLESTR(""), {}}, {OLESTR(""), OLESTR(""), {}}}),
         OLESTR("typename for CFC type cache entry must not be empty")}};
    for (auto& [array, text] : refused) {
        m_server->SendNotification("objects/x/0/2");
        next = std::move(array);
        Named(OLESTR("Item"), E_INVALIDARG);
        EXPECT_EQ(LXErrorInformation::Take().description, text);
        EXPECT_EQ(Named(OLESTR("Item")), item);
        Named(OLESTR("A"), S_FALSE);
    }
}

TEST_F(OddAnswers, ATooShortRelationRecordFailsTheLoadOnce) {
    std::size_t values = 37;
    m_factory->relations = [&](SAFEARRAY** out) {
        std::vector<XILXPCData> records(1);
        XLXVariantVector names;
        while (names.size() < values) {
            names.push_back(XLXComVariant::FromBstr(OLESTR("Item")));
        }
        records.front().values = std::move(names);
        *out = GetArrayFromVec(std::move(records)).Detach();
        return S_OK;
    };
    ASSERT_EQ(StartHostile(), S_OK);
    const auto ask = [&] { return LXResult(Factory(), &ILXConfigFactory::GetParentChildEnum, "Item", nullptr); };
    const std::pair<std::size_t, const char*> cases[] = {{0, "pPCCache->GetProperty LXCFPC_parentname"},
                                                         {19, "pPCCache->GetProperty LXCFPC_parentname"},
                                                         {20, "pPCCache->GetProperty LXCFPC_pprrelationtype"}};
    for (const auto& [count, text] : cases) {
        values = count;
        m_server->SendNotification("pc/x/0/4");
        ExpectRefusal(ask(), E_INVALIDARG, text);
        ExpectCalls(0, [&] { EXPECT_EQ(ask(), S_FALSE) << "not requested a second time"; });
    }
    values = 21;
    m_server->SendNotification("pc/x/0/4");
    EXPECT_EQ(ask(), S_OK);
}

TEST_F(OddAnswers, ARefusedInitialisationInServerModeLeavesTheLocksOn) {
    const auto factory = m_server->ConfigFactory();
    const auto query = m_server->Query();
    m_cache = LXMakeCache();
    EXPECT_EQ(m_cache->Initialize(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_cache->Initialize(factory.Get(), query.Get(), nullptr), E_POINTER);
    EXPECT_EQ(m_cache->Initialize(nullptr, query.Get(), m_server->DataUpdate().Get()), E_POINTER);
    m_server->RefuseBulkReads(true);
    EXPECT_EQ(m_cache->Initialize(factory.Get(), query.Get(), m_server->DataUpdate().Get()), E_POINTER);
    EXPECT_TRUE(XLockSwitch::IsOn());
}

/// A data object whose methods fail and still store something in their out arguments.
class DirtyObject final : public XDataObjectRefusals<ILXRelation> {
public:
    explicit DirtyObject(XServerCorePtr core) noexcept : XDataObjectRefusals(std::move(core)) {}
    IUnknown* left = nullptr;
    ILX_BaseDataObject* leftObject = nullptr;
    BSTR leftText = nullptr;
    std::string fails; ///< the name of the attribute that cannot be read

    STDMETHODIMP GetTypeName(BSTR* out) override {
        *out = leftText;
        return E_ACCESSDENIED;
    }
    STDMETHODIMP GetAttribute(BSTR bstrName, VARIANT* out) override {
        const bool isFailing = LXNarrow(LXBstrView(bstrName)) == fails;
        V_VT(out) = isFailing ? VT_UNKNOWN : VT_BSTR;
        isFailing ? static_cast<void>(V_UNKNOWN(out) = left)
                  : static_cast<void>(V_BSTR(out) = XLXComBSTR(XLXTextView(OLESTR("Item"))).Detach());
        return isFailing ? E_ACCESSDENIED : S_OK;
    }
    STDMETHODIMP GetRelatedObject(ILX_BaseDataObject*, ILX_BaseDataObject** out) override {
        *out = leftObject;
        return E_ACCESSDENIED;
    }
};

TEST_F(OddAnswers, OutArgumentsOfFailedCallsAreNotReleased) {
    const XLXComPtr<IUnknown> left(new Opaque);
    const auto references = [&] {
        left->AddRef();
        return left->Release();
    };
    const XLXComPtr<OddQuery> unqueried(new OddQuery(E_NOINTERFACE, left.Get()));
    auto values = Arguments(15, false, false);
    for (std::size_t i = 0; i < 3; ++i) {
        XLXComVariant odd = XLXComVariant::FromUnknown(unqueried.Get());
        std::swap(values[i], odd);
        m_cache = LXMakeCache();
        EXPECT_EQ(Client()->Initialize(6, &values.front().Get()), E_NOINTERFACE);
        EXPECT_EQ(references(), 1u);
        std::swap(values[i], odd);
    }

    const auto leftObject = m_server->DataObject("Item");
    const XLXComBSTR leftText(OLESTR("left"));
    const auto object = LXMake<DirtyObject>(std::make_shared<XServerCore>(XServerModel()));
    object->left = left.Get();
    object->leftObject = leftObject.Get();
    object->leftText = leftText.Get();
    m_factory->version = [&](BSTR* out) {
        *out = leftText.Get();
        return E_ACCESSDENIED;
    };
    m_cache.Reset();
    ASSERT_EQ(StartHostile(), S_OK);
    XLXComBSTR version;
    EXPECT_EQ(Factory()->GetVersion(version.Put()), E_ACCESSDENIED);
    EXPECT_EQ(version.Get(), nullptr);
    (void)version.Detach();
    EXPECT_EQ(LXResult(m_cache, &ILXConfigFactoryCache::GetCachedType, object.Get(), nullptr), E_ACCESSDENIED);
    EXPECT_EQ(leftText.View(), OLESTR("left"));
    XLXComPtr<ILXParentChild> relation;
    for (const char* attribute : {"relationname", "typename", ""}) {
        object->fails = attribute;
        EXPECT_EQ(m_cache->GetSinglePCRelationByDO(object.Get(), object.Get(), relation.Put()), E_INVALIDARG);
        EXPECT_EQ(references(), 1u) << attribute;
    }
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("Other related object not found."));
}
} // namespace
