// SPDX-License-Identifier: MIT
//
// Servers with single odd answers: arrays of values with the wrong shape, values by reference, records without server
// objects, and calls that fail but still store something in an out argument.
#include "XCountedLock.h"
#include "XDataObjectRefusals.h"
#include "hostileserver.h"
#include "logcapture.h"

using namespace XLXCFCDataTransfer;

namespace {
XLXVariantVector Values(std::size_t count, std::size_t key, XLXComVariant value) {
    XLXVariantVector values(count);
    values[key] = std::move(value);
    return values;
}

/// A bulk read of one type, "Item", with components that the test chooses.
struct ItemRecord {
    XLXComPtr<IUnknown> server;
    std::vector<XILXAttributeData> attributes;
    std::vector<XILXConfigData> groups;
    std::vector<XILXConfigData> pages;

    XLXSafeArray Array() {
        XILXTypeMap map;
        XILXTypeData& record = map.records[IndexOf(map, OLESTR("Item"))];
        record.listed = true;
        record.config.object = server;
        record.config.values = Values(28, 0, XLXComVariant::FromBstr(OLESTR("Item")));
        record.components.attributes = GetArrayFromAttributeList(std::move(attributes));
        record.components.groups = GetArrayFromSingleTypedVec(std::move(groups));
        record.components.pages = GetArrayFromSingleTypedVec(std::move(pages));
        return GetArrayFromMap(std::move(map));
    }
};

XILXAttributeData AttributeRecord(const OLECHAR* name, XLXComPtr<IUnknown> object = nullptr) {
    XILXAttributeData record;
    record.object = std::move(object);
    record.values = Values(60, XProperty::AttributeName, XLXComVariant::FromBstr(name));
    return record;
}

class OddAnswers : public HostileTest {
protected:
    XLXComPtr<ILXType> ServerItem() {
        XLXComPtr<ILXType> item;
        EXPECT_EQ(m_server->ConfigFactory()->GetType(XLXComBSTR(OLESTR("Item")).Get(), nullptr, item.Put()), S_OK);
        return item;
    }
    /// Starts with this one type. Its attributes, groups and pages come without server objects.
    HRESULT StartWithoutObjects() {
        m_factory->types = [this](SAFEARRAY** out) {
            ItemRecord item{ServerItem(), {}, {}, {}};
            item.attributes.push_back(AttributeRecord(OLESTR("Name")));
            item.attributes.push_back(AttributeRecord(OLESTR("Weight")));
            item.groups.push_back({nullptr, Values(16, 2, XLXComVariant::FromI4(1))});
            item.pages.push_back({nullptr, Values(7, 6, XLXComVariant::FromI4(2))});
            *out = item.Array().Detach();
            return S_OK;
        };
        return StartHostile();
    }
    XLXComPtr<ILXAttribute> AttributeOf(const XLXComPtr<ILXType>& type, const OLECHAR* name) {
        XLXComPtr<ILXAttribute> attribute;
        EXPECT_EQ(type->GetAttribute(XLXComBSTR(name).Get(), attribute.Put()), S_OK);
        return attribute;
    }
    /// Sends a direct notification that the object's values have changed.
    void Touch(const XLXComPtr<ILXCallbackUpdate>& object, const OLECHAR* dataId) {
        EXPECT_EQ(object->DataObjectChanged(XLXComBSTR(dataId).Get(), XLXComBSTR(OLESTR("cfc_specific")).Get(), 256,
                                            ++m_notification, 0, nullptr),
                  S_OK);
    }
    HRESULT Format(const XLXComPtr<ILXAttribute>& attribute, int type) {
        XLXComPtr<ILXFormat> format;
        return attribute->GetFormat(type, format.Put());
    }

    ULONG m_notification = 100;
};

TEST_F(OddAnswers, ARecordWithoutAnObjectIsAskedForWhenItIsNeeded) {
    ASSERT_EQ(StartWithoutObjects(), S_OK);
    const auto type = Named(OLESTR("Item"));
    XLXComPtr<ILXAttribute> name;
    XLXComPtr<ILXGroup> group;
    XLXComPtr<ILXPage> page;
    ExpectCalls(0, [&] {
        name = AttributeOf(type, OLESTR("Name"));
        EXPECT_EQ(type->GetGroup(1, group.Put()), S_OK);
        EXPECT_EQ(type->GetPage(2, page.Put()), S_OK);
        EXPECT_EQ(LXRead(name.Get(), XProperty::AttributeName), OLESTR("Name"));
    });
    ExpectCalls(2, [&] { EXPECT_EQ(Format(name, 1), S_FALSE); }); // fetches the object, then the format
    ExpectCalls(1, [&] { EXPECT_EQ(Format(name, 2), S_FALSE); });
    ExpectCalls(0, [&] { EXPECT_EQ(LXRead(name.Get(), XProperty::AttributeName), OLESTR("Name")); });
    EXPECT_EQ(Calls().Of("ILXType::GetAttribute"), 1u);
    XLXComPtr<ILXFormat> format;
    ExpectCalls(2, [&] { EXPECT_EQ(group->GetFormat(format.Put()), S_FALSE); });
    EXPECT_EQ(Calls().Of("ILXType::GetGroup"), 1u);
    Touch(page.As<ILXCallbackUpdate>(), OLESTR("properties/Item/1/1"));
    ExpectCalls(2, [&] { EXPECT_EQ(LXRead(page.Get(), 6), OLESTR("2")); });
    EXPECT_EQ(Calls().Of("ILXType::GetPage"), 1u);

    // Another record without an object makes stale what was loaded through the object that the cache had asked for.
    m_server->SendNotification("objects/x/0/2");
    EXPECT_EQ(Named(OLESTR("Item")), type);
    EXPECT_EQ(AttributeOf(type, OLESTR("Name")), name);
    ExpectCalls(2, [&] { EXPECT_EQ(Format(name, 1), S_FALSE); });
    Terminate();
}

TEST_F(OddAnswers, AnObjectThatCannotBeHadIsAnError) {
    ASSERT_EQ(StartWithoutObjects(), S_OK);
    auto type = Named(OLESTR("Item"));
    const auto name = AttributeOf(type, OLESTR("Name"));
    const auto weight = AttributeOf(type, OLESTR("Weight"));
    Calls().FailCall("ILXType::GetAttribute", E_ACCESSDENIED);
    EXPECT_EQ(Format(name, 1), E_ACCESSDENIED);
    EXPECT_EQ(LXErrorInformation::Take().description,
              OLESTR("the server failed to give the object of a type's component"));
    Calls().FailCall("ILXType::GetAttribute", S_FALSE); // the server has no such attribute
    EXPECT_EQ(Format(name, 1), E_POINTER);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("invalid pointer: server object"));
    EXPECT_EQ(Format(name, 1), S_FALSE); // the failure was not cached
    Terminate();
    m_cache.Reset();
    type.Reset();
    ExpectCalls(0, [&] { EXPECT_EQ(Format(weight, 1), E_POINTER); }); // its type has been destroyed
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("invalid pointer: server object"));
}

TEST_F(OddAnswers, AnObjectThatIsAskedForWhileANewRecordComesIsNotKept) {
    ASSERT_EQ(StartWithoutObjects(), S_OK);
    const auto type = Named(OLESTR("Item"));
    const auto name = AttributeOf(type, OLESTR("Name"));
    bool pending = true;
    Calls().SetHook([&](const XServerCall& call) {
        if (call.name == "ILXType::GetAttribute" && call.point == XCallPoint::Answer && pending) {
            pending = false;
            m_server->SendNotification("objects/x/0/2");
            EXPECT_EQ(Named(OLESTR("Item")), type);
            EXPECT_EQ(AttributeOf(type, OLESTR("Name")), name);
        }
    });
    EXPECT_EQ(Format(name, 1), S_FALSE);
    Calls().SetHook({});
    EXPECT_FALSE(pending);
    ExpectCalls(2, [&] { EXPECT_EQ(Format(name, 1), S_FALSE); }); // through the object of the latest record
    Terminate();
}

TEST_F(OddAnswers, ArraysOfValuesAreRefusedUnlessTheyAreVariantsInARow) {
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    const std::pair<std::function<SAFEARRAY*()>, const OLECHAR*> odd[] = {
        {[] { return SafeArrayCreateVector(VT_BSTR, 0, 3); }, OLESTR("wrong safearray vartype")},
#ifdef _WIN32 // on other platforms arrays always have their elements
        {[] {
             SAFEARRAY* array = nullptr;
             EXPECT_EQ(SafeArrayAllocDescriptorEx(VT_VARIANT, 1, &array), S_OK);
             array->rgsabound[0] = {60, 0};
             return array;
         },
         OLESTR("wrong safearray size")},
#endif
        {[&] { return SafeArrayCreate(VT_VARIANT, 2, bounds); }, OLESTR("wrong safearray vartype")}};
    const auto serverItem = ServerItem();
    const auto hostile = XLXComPtr<HostileAttribute>(new HostileAttribute(AttributeOf(serverItem, OLESTR("Name"))));
    m_factory->types = [&](SAFEARRAY** out) {
        ItemRecord item{serverItem, {}, {}, {}};
        item.attributes.push_back(AttributeRecord(OLESTR("Name"), XLXComPtr<IUnknown>(hostile.Get())));
        *out = item.Array().Detach();
        return S_OK;
    };
    ASSERT_EQ(StartHostile(), S_OK);
    const auto name = AttributeOf(Named(OLESTR("Item")), OLESTR("Name"));
    for (const auto& [array, text] : odd) {
        Touch(name.As<ILXCallbackUpdate>(), OLESTR("properties/Item/2/512"));
        hostile->values = [&make = array](SAFEARRAY** out) {
            *out = make();
            return S_OK;
        };
        XLXComVariant value;
        EXPECT_EQ(name->GetProperty(XProperty::Label, value.Put()), E_INVALIDARG) << LXNarrow(text);
        EXPECT_EQ(LXErrorInformation::Take().description, text);
        hostile->values = {};
        EXPECT_EQ(LXRead(name.Get(), XProperty::Label), OLESTR("Name of the item")); // nothing was cached
    }
    Terminate();
}

/// Reads a label and a position twice. The cache must keep both values.
void ExpectKept(const XLXComPtr<ILXAttribute>& attribute, const OLECHAR* label) {
    for (int i = 0; i < 2; ++i) {
        XLXComVariant value;
        EXPECT_EQ(attribute->GetProperty(XProperty::Label, value.Put()), S_OK);
        EXPECT_EQ(value.Type(), VT_BSTR);
        EXPECT_EQ(value.AsText().value_or(XLXText()), label);
        EXPECT_EQ(LXRead(attribute.Get(), XProperty::Position), OLESTR("7"));
    }
}

TEST_F(OddAnswers, ValuesByReferenceAreDereferencedWhenTheyAreTaken) {
    XLXComBSTR label(OLESTR("First"));
    BSTR place = label.Get();
    VARIANT position = {};
    V_VT(&position) = VT_I4;
    V_I4(&position) = 7;
    const auto refer = [&](XLXComVariant& text, XLXComVariant& number) {
        V_VT(&text.Get()) = VT_BYREF | VT_BSTR;
        V_BYREF(&text.Get()) = &place;
        V_VT(&number.Get()) = VT_BYREF | VT_VARIANT;
        V_BYREF(&number.Get()) = &position;
    };
    const auto serverItem = ServerItem();
    const auto hostile = XLXComPtr<HostileAttribute>(new HostileAttribute(AttributeOf(serverItem, OLESTR("Name"))));
    hostile->values = [&](SAFEARRAY** out) {
        *out = SafeArrayCreateVector(VT_VARIANT, 0, 60);
        auto* const values = static_cast<XLXComVariant*>((*out)->pvData);
        refer(values[XProperty::Label], values[XProperty::Position]);
        return S_OK;
    };
    m_factory->types = [&](SAFEARRAY** out) {
        ItemRecord item{serverItem, {}, {}, {}};
        item.attributes.push_back(AttributeRecord(OLESTR("Name"), XLXComPtr<IUnknown>(hostile.Get())));
        XLXComVariant text;
        XLXComVariant number;
        refer(text, number);
        item.attributes[0].values.Exchange(XProperty::Label, text);
        item.attributes[0].values.Exchange(XProperty::Position, number);
        *out = item.Array().Detach();
        return S_OK;
    };
    ASSERT_EQ(StartHostile(), S_OK);
    XLXComBSTR second(OLESTR("Second"));
    place = second.Get(); // the records are not parsed yet
    V_I4(&position) = 8;
    const auto name = AttributeOf(Named(OLESTR("Item")), OLESTR("Name"));
    V_I4(&position) = 7;
    ExpectKept(name, OLESTR("First"));
    Touch(name.As<ILXCallbackUpdate>(), OLESTR("properties/Item/2/512"));
    EXPECT_EQ(LXRead(name.Get(), XProperty::Label), OLESTR("Second"));
    place = label.Get();
    ExpectKept(name, OLESTR("Second"));
    Terminate();
}

TEST_F(OddAnswers, AFailureIsNoEmptyAnswer) {
    ASSERT_EQ(Start(), S_OK);
    const auto item = Type("Item");
    const auto group = Group("Item", 1);
    const XLXComPtr<ILXGroupEnum> none;
    const std::function<HRESULT(ILXGroupEnum**)> questions[] = {
        [&](ILXGroupEnum** out) { return item->GetPageGroupEnum(1, out); },
        [&](ILXGroupEnum** out) { return group->GetChildGroupEnum(out); }};
    for (const auto& question : questions) {
        XLXComPtr<ILXGroupEnum> groups;
        EXPECT_EQ(question(groups.Put()), S_OK);
        Touch(Group("Item", 3).As<ILXCallbackUpdate>(), OLESTR("properties/Item/1/1"));
        Calls().FailCall("ILXGroup::GetProperties", E_ACCESSDENIED);
        EXPECT_EQ(question(groups.Put()), E_ACCESSDENIED);
        EXPECT_FALSE(groups);
        EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("a number of the group cannot be read"));
        EXPECT_EQ(question(groups.Put()), S_OK);
    }
    XLXComPtr<ILXAttributeEnum> own;
    Calls().FailCall("ILXType::GetAttributeEnum", E_ACCESSDENIED);
    EXPECT_EQ(item.As<ILXTypeInheritance>()->GetAttributeEnum(0, own.Put()), E_ACCESSDENIED);
    Calls().FailCall("ILXAttribute::GetProperty", E_ACCESSDENIED);
    EXPECT_EQ(item.As<ILXTypeInheritance>()->GetAttributeEnum(0, own.Put()), E_ACCESSDENIED);
    EXPECT_FALSE(own);
    Terminate();
}

TEST_F(OddAnswers, ARefusedListOfComponentsNamesItsType) {
    m_factory->types = [&](SAFEARRAY** out) {
        ItemRecord item{ServerItem(), {}, {}, {}};
        item.groups.push_back({nullptr, Values(16, 2, XLXComVariant::FromI4(1))});
        XILXTypeMap types = GetMapFromArray(item.Array());
        XILXTypeComp& components = types.records[0].components;
        for (XLXSafeArray* list :
             {&components.pages, &components.groups, &components.editors, &components.attributes}) {
            XArrayWriter writer;
            writer.Put(LONG{7});
            *list = writer.Finish();
        }
        *out = GetArrayFromMap(std::move(types)).Detach();
        return S_OK;
    };
    ASSERT_EQ(StartHostile(), S_OK);
    const auto item = Named(OLESTR("Item"));
    const LogCapture log;
    XLXComPtr<ILXPageEnum> pages;
    EXPECT_EQ(item->GetPageEnum(pages.Put()), E_INVALIDARG);
    XLXComPtr<ILXGroupEnum> groups;
    EXPECT_EQ(item->GetGroupEnum(groups.Put()), E_INVALIDARG);
    XLXComPtr<ILXConfObjEditorEnum> editors;
    EXPECT_EQ(item->GetConfObjEditorEnum(editors.Put()), E_INVALIDARG);
    XLXComPtr<ILXAttributeEnum> attributes;
    EXPECT_EQ(item->GetAttributeEnum(attributes.Put()), E_INVALIDARG);
    std::vector<std::string> texts;
    for (const LogCapture::Entry& entry : log.Entries()) {
        texts.push_back(LXNarrow(entry.text));
    }
    for (const char* section : {"pages", "groups", "editors", "attributes"}) {
        const std::string place = "(" + std::string(section) + ", type 'Item')";
        EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), [&](const std::string& text) {
            return text.find(place) != std::string::npos;
        })) << testing::PrintToString(texts);
    }
    Terminate();
}

// ---- initialisations

TEST_F(OddAnswers, AnInitialisationThatIsRefusedLeavesTheLocksOn) {
    const auto factory = m_server->ConfigFactory();
    const auto query = m_server->Query();
    m_cache = LXMakeCache();
    EXPECT_EQ(m_cache->Initialize(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_cache->Initialize(factory.Get(), query.Get(), nullptr), E_POINTER);
    EXPECT_EQ(m_cache->Initialize(nullptr, query.Get(), m_server->DataUpdate().Get()), E_POINTER);
    m_server->RefuseBulkReads(true);
    EXPECT_EQ(m_cache->Initialize(factory.Get(), query.Get(), m_server->DataUpdate().Get()), E_POINTER);
    EXPECT_TRUE(XLockSwitch::IsOn());
    Terminate();
}

TEST_F(OddAnswers, ASecondInitialisationByAnotherServerIsInTheLogbook) {
    ASSERT_EQ(Start(), S_OK);
    const auto otherServer = XSampleServer::Create(LXTestModel());
    const LogCapture log;
    EXPECT_EQ(Start(), S_OK); // the same server again
    EXPECT_TRUE(log.Entries().empty());
    auto other = Arguments(15, false, false);
    other[0] = XLXComVariant::FromUnknown(otherServer->ConfigFactory().Get());
    EXPECT_EQ(Initialize(std::move(other)), S_OK);
    ASSERT_EQ(log.Entries().size(), 1u);
    EXPECT_NE(log.Entries()[0].text.find(OLESTR("initialised already, with another server")), XLXText::npos);
    Terminate();
}

// ---- what a failing call stores

/// A data object whose failing methods store something in their out arguments.
class LeavingObject final : public XDataObjectRefusals<ILXRelation> {
public:
    explicit LeavingObject(XServerCorePtr core) noexcept : XDataObjectRefusals(std::move(core)) {}
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
    STDMETHODIMP GetTableName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP SetAttribute(BSTR, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP GetChildren(BSTR, IEnumBaseDataObject**) override { return E_NOTIMPL; }
    STDMETHODIMP GetAllChildren(IEnumBaseDataObject**) override { return E_NOTIMPL; }
    STDMETHODIMP GetListCount(BSTR, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP GetType(ILXType**) override { return E_NOTIMPL; }
    STDMETHODIMP GetId(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetClientId(LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP IsDerivedFromType(BSTR) override { return S_FALSE; }
    STDMETHODIMP IsDerivedFromType2(BSTR, LONG*) override { return E_NOTIMPL; }
};

/// QueryInterface fails but stores a pointer.
class LeavingQuery final : public HostileObject<IUnknown> {
public:
    IUnknown* left = nullptr;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppv) override {
        *ppv = left;
        return E_NOINTERFACE;
    }
};

TEST_F(OddAnswers, NothingIsReleasedThatAFailingQueryLeaves) {
    const XLXComPtr<IUnknown> left(new Opaque);
    const auto references = [&] {
        left->AddRef();
        return left->Release();
    };
    const XLXComPtr<LeavingQuery> unqueried(new LeavingQuery);
    unqueried->left = left.Get();

    auto values = Arguments(15, false, false);
    for (std::size_t i = 0; i < 3; ++i) {
        XLXComVariant odd = XLXComVariant::FromUnknown(unqueried.Get());
        std::swap(values[i], odd);
        m_cache = LXMakeCache();
        EXPECT_EQ(Client()->Initialize(6, &values.front().Get()), E_NOINTERFACE);
        EXPECT_EQ(references(), 1u);
        std::swap(values[i], odd);
    }
}

TEST_F(OddAnswers, NothingIsReleasedThatAFailingCallLeaves) {
    const XLXComPtr<IUnknown> left(new Opaque);
    const auto references = [&] {
        left->AddRef();
        return left->Release();
    };
    const auto leftObject = m_server->DataObject("Item");
    const XLXComBSTR leftText(OLESTR("left"));
    const auto core = std::make_shared<XServerCore>(XServerModel());
    const auto object = LXMake<LeavingObject>(core);
    object->left = left.Get();
    object->leftObject = leftObject.Get();
    object->leftText = leftText.Get();

    m_factory->version = [&](BSTR* out) {
        *out = leftText.Get();
        return E_ACCESSDENIED;
    };
    ASSERT_EQ(StartHostile(), S_OK);
    XLXComBSTR version;
    EXPECT_EQ(Factory()->GetVersion(version.Put()), E_ACCESSDENIED);
    EXPECT_EQ(version.Get(), nullptr);
    (void)version.Detach();
    XLXComPtr<ILXType> type;
    EXPECT_EQ(m_cache->GetCachedType(object.Get(), nullptr, type.Put()), E_ACCESSDENIED);
    EXPECT_EQ(m_cache->IsPlantype(object.Get()), E_ACCESSDENIED);
    XLXComPtr<ILXParentChildEnum> relations;
    EXPECT_EQ(m_cache->GetPCEnum(object.Get(), nullptr, nullptr, nullptr, 0, relations.Put()), E_ACCESSDENIED);
    EXPECT_EQ(leftText.View(), OLESTR("left"));
    XLXComPtr<ILXParentChild> relation;
    for (const char* attribute : {"relationname", "typename", ""}) {
        object->fails = attribute;
        EXPECT_EQ(m_cache->GetSinglePCRelationByDO(object.Get(), object.Get(), relation.Put()), E_INVALIDARG);
        EXPECT_EQ(references(), 1u) << attribute;
    }
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("Other related object not found."));
    Terminate();
}
} // namespace
