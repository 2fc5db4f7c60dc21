// SPDX-License-Identifier: MIT
//
// The server's bulk arrays, read with the component's readers and compared with direct reads.
#include "servertest.h"

#include "XCFCDataTransfer.h"
#include "XRandomEdits.h"

namespace Transfer = XLXCFCDataTransfer;

namespace {
/// The values as text, one per line, so that differences are readable.
template <class Values> std::string Text(const Values& values) {
    std::string text;
    for (size_t i = 0; i < values.size(); ++i) {
        text += std::to_string(i) + " vt" + std::to_string(values[i].Type()) + " ";
        text += LXToUtf8(values[i].AsText().value_or(OLESTR("?"))) + "\n";
    }
    return text;
}

/// The values that an object returns to a direct read.
std::string Direct(IUnknown* object) {
    const auto config = XLXComPtr<IUnknown>(object).As<ILXConfigObject>();
    XLXSafeArray array;
    if (!config || config->GetProperties(array.Put()) != S_OK) { return "no values"; }
    VARIANT* data = nullptr;
    LONG upper = -1;
    SafeArrayGetUBound(array.Get(), 1, &upper);
    SafeArrayAccessData(array.Get(), reinterpret_cast<void**>(&data));
    XLXVariantVector values;
    for (LONG i = 0; i <= upper; ++i) {
        values.push_back(XLXComVariant::CopyOf(data[i]));
    }
    SafeArrayUnaccessData(array.Get());
    return Text(values);
}

template <class Record> void ExpectDirect(const std::vector<Record>& records, size_t count, const std::string& where) {
    EXPECT_EQ(records.size(), count) << where;
    for (const Record& record : records) {
        EXPECT_EQ(Text(record.values), Direct(record.object.Get())) << where;
    }
}

/// All elements of the array that a call returns, as text.
template <class F> std::string Elements(F&& call) {
    XLXSafeArray array;
    const HRESULT result = call(array.Put());
    if (result != S_OK) { return "result " + std::to_string(result); }
    VARIANT* data = nullptr;
    LONG upper = -1;
    SafeArrayGetUBound(array.Get(), 1, &upper);
    SafeArrayAccessData(array.Get(), reinterpret_cast<void**>(&data));
    std::string text;
    for (LONG i = 0; i <= upper; ++i) {
        EXPECT_TRUE(V_VT(&data[i]) != VT_UNKNOWN || V_UNKNOWN(&data[i]) == nullptr);
        text += std::to_string(V_VT(&data[i])) + " " +
                LXToUtf8(XLXComVariant::CopyOf(data[i]).AsText().value_or(OLESTR("?"))) + "\n";
    }
    SafeArrayUnaccessData(array.Get());
    return text;
}

/// A missing record list means no records.
std::vector<Transfer::XILXConfigData> Records(XLXSafeArray& list) {
    return list ? Transfer::GetSingleTypedVecFromArray(std::move(list)) : std::vector<Transfer::XILXConfigData>();
}

void ExpectComponents(Transfer::XILXTypeComp& components, const XModelType& type, LONG mode) {
    const std::string where = LXToUtf8(type.Name()) + " in mode " + std::to_string(mode);
    const auto expected = [mode](LONG bit, size_t count) { return (mode & bit) != 0 ? count : 0; };
    ExpectDirect(Records(components.pages), expected(4, type.pages.size()), where);
    ExpectDirect(Records(components.groups), expected(2, type.groups.size()), where);
    ExpectDirect(Records(components.editors), expected(8, type.editors.size()), where);
    if (!components.attributes) {
        EXPECT_EQ(expected(1, type.attributes.size()), 0u) << where;
        return;
    }
    const auto attributes = Transfer::ReadAttributeList(std::move(components.attributes));
    ExpectDirect(attributes, expected(1, type.attributes.size()), where);
    for (size_t i = 0; i < attributes.size(); ++i) {
        ExpectDirect(attributes[i].types, type.attributes[i]->types.size(), where);
    }
}

class ServerBulk : public testing::Test {
protected:
    /// Reads the type array that a call returns.
    template <class F> Transfer::XILXTypeMap Types(F&& call) {
        XLXSafeArray array;
        EXPECT_EQ(call(array.Put()), S_OK);
        return Transfer::GetMapFromArray(std::move(array));
    }

    XLXComPtr<ILXConfigFactoryEx> Bulk() { return server->ConfigFactory().As<ILXConfigFactoryEx>(); }

    const XServerModel model = LXReadModel(LX_MODEL_FOLDER "/plant.json");
    std::shared_ptr<XSampleServer> server = XSampleServer::Create(model);
};

class ServerBulkModes : public ServerBulk, public testing::WithParamInterface<LONG> {};

XLXSafeArray NameArray(std::initializer_list<const OLECHAR*> names) {
    XLXSafeArray array(SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(names.size())));
    LONG index = 0;
    for (const OLECHAR* const name : names) {
        const XLXComBSTR text{XLXTextView(name)};
        EXPECT_EQ(SafeArrayPutElement(array.Get(), &index, text.Get()), S_OK);
        ++index;
    }
    return array;
}
} // namespace

TEST_P(ServerBulkModes, AllTypesAgreeWithDirectReads) {
    const LONG mode = GetParam();
    auto types = Types([&](SAFEARRAY** out) { return Bulk()->GetTypeArrayEx(mode, out); });
    ASSERT_EQ(types.records.size(), model.types.size());
    ASSERT_EQ(types.names.size(), model.types.size());
    for (const auto& [name, index] : types.names) {
        Transfer::XILXTypeData& record = types.records.at(index);
        const XModelType& type = **model.FindType(name);
        EXPECT_EQ(Text(record.config.values), Direct(record.config.object.Get()));
        EXPECT_EQ(record.config.values[0].AsText(), name);
        EXPECT_EQ(record.baseIndex, type.Base().empty() ? -1 : static_cast<LONG>(types.names.at(type.Base())));
        EXPECT_EQ(record.listed, type.listed);
        EXPECT_EQ(record.searchable, type.Value(XProperty::Searchable).AsBool());
        ExpectComponents(record.components, type, mode);
    }
}

TEST_P(ServerBulkModes, TypeComponentDataAgreesWithDirectReads) {
    const LONG mode = GetParam();
    for (const auto& [name, type] : model.types) {
        XLXSafeArray array;
        const HRESULT result = LXTypeOf(*server, name)->GetTypeComponentData(mode, array.Put());
        Transfer::XILXTypeComp components;
        if (result == S_OK) { components = Transfer::GetWrapperFromArray(std::move(array)); }
        EXPECT_EQ(result == S_FALSE,
                  !array && !components.pages && !components.groups && !components.editors && !components.attributes);
        ExpectComponents(components, *type, mode);
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, ServerBulkModes, testing::Values(0, 1, 2, 4, 8, 15));

TEST_F(ServerBulk, OneTypeNamesItsBaseWithoutCarryingIt) {
    const XLXComBSTR name(OLESTR("PumpCentrifugal"));
    const auto one = Types([&](SAFEARRAY** out) { return Bulk()->GetTypeArrayByTypeNameEx(name.Get(), 0, 1, out); });
    ASSERT_EQ(one.records.size(), 1u);
    const Transfer::XILXTypeData& record = one.records.at(one.names.at(OLESTR("PumpCentrifugal")));
    EXPECT_EQ(record.baseIndex, static_cast<LONG>(one.names.at(OLESTR("Pump"))));
    EXPECT_FALSE(one.records.contains(static_cast<ULONG>(record.baseIndex)));

    const auto chain = Types([&](SAFEARRAY** out) { return Bulk()->GetTypeArrayByTypeNameEx(name.Get(), 1, 1, out); });
    EXPECT_EQ(chain.records.size(), 5u);
    EXPECT_EQ(chain.names.size(), 5u);
    EXPECT_TRUE(chain.names.contains(OLESTR("lumbcompbase")));
}

TEST_F(ServerBulk, NamedTypesComeOnceAndUnknownOnesNotAtAll) {
    const XLXSafeArray names =
        NameArray({OLESTR("PumpCentrifugal"), OLESTR("Nobody"), OLESTR("PumpScrew"), OLESTR("PumpScrew")});
    const auto types =
        Types([&](SAFEARRAY** out) { return Bulk()->GetTypeArrayByTypeNameArrayEx(names.Get(), 1, 0, out); });
    EXPECT_EQ(types.records.size(), 6u); // two pumps and their bases
    EXPECT_FALSE(types.names.contains(OLESTR("Nobody")));

    XLXSafeArray nothing;
    const XLXComBSTR unknown(OLESTR("pumpscrew"));
    EXPECT_EQ(Bulk()->GetTypeArrayByTypeNameEx(unknown.Get(), 1, 15, nothing.Put()), S_FALSE);
    EXPECT_FALSE(nothing);
    EXPECT_EQ(Bulk()->GetTypeArrayByTypeNameArrayEx(nullptr, 1, 0, nothing.Put()), E_INVALIDARG);
}

TEST_F(ServerBulk, OlderBulkReadsDeliverAttributesOnRequest) {
    const auto factory = server->ConfigFactory();
    const XLXComBSTR name(OLESTR("Pump"));
    const XLXSafeArray names = NameArray({OLESTR("Pump")});
    for (const LONG withAttributes : {0, 1}) {
        auto all = Types([&](SAFEARRAY** out) { return factory->GetTypeArray(withAttributes, out); });
        auto one =
            Types([&](SAFEARRAY** out) { return factory->GetTypeArrayByTypeName(name.Get(), 0, withAttributes, out); });
        auto some = Types(
            [&](SAFEARRAY** out) { return factory->GetTypeArrayByTypeNameArray(names.Get(), 0, withAttributes, out); });
        for (auto* const types : {&all, &one, &some}) {
            auto& record = types->records.at(types->names.at(OLESTR("Pump")));
            ExpectComponents(record.components, **model.FindType(OLESTR("Pump")), withAttributes);
        }
    }
}

TEST_F(ServerBulk, RelationsAgreeWithDirectReads) {
    XLXSafeArray array;
    ASSERT_EQ(server->ConfigFactory()->GetPCArray(array.Put()), S_OK);
    const auto relations = Transfer::GetVecFromArray(std::move(array));
    ExpectDirect(relations, model.relations.size(), "relations");
    const auto empty = XSampleServer::Create(XServerModel());
    EXPECT_EQ(empty->ConfigFactory()->GetPCArray(array.Put()), S_FALSE);
    EXPECT_EQ(empty->ConfigFactory().As<ILXConfigFactoryEx>()->GetTypeArrayEx(15, array.Put()), S_FALSE);
}

TEST_F(ServerBulk, ABaseThatDoesNotExistHasNoIndex) {
    XServerModel broken;
    broken.AddType("Orphan", "Nobody");
    broken.AddType("Self", "Self");
    server = XSampleServer::Create(broken);
    const auto types = Types([&](SAFEARRAY** out) { return Bulk()->GetTypeArrayEx(1, out); });
    EXPECT_EQ(types.records.at(types.names.at(OLESTR("Orphan"))).baseIndex, -1);
    EXPECT_EQ(types.records.at(types.names.at(OLESTR("Self"))).baseIndex,
              static_cast<LONG>(types.names.at(OLESTR("Self"))));
}

// Arrays without objects are kept, but must always reflect the current model, however it was changed.
TEST_F(ServerBulk, KeptArraysShowEveryChange) {
    using Lines = std::vector<std::string>;
    const auto all = [](const XSampleServer& from) {
        const auto bulk = from.ConfigFactory().As<ILXConfigFactoryEx>();
        const XLXComBSTR name(OLESTR("PumpScrew"));
        Lines lines{Elements([&](SAFEARRAY** out) { return bulk->GetTypeArrayEx(15, out); }),
                    Elements([&](SAFEARRAY** out) { return bulk->GetTypeArrayEx(2, out); }),
                    Elements([&](SAFEARRAY** out) { return bulk->GetTypeArrayByTypeNameEx(name.Get(), 0, 15, out); }),
                    Elements([&](SAFEARRAY** out) { return bulk->GetTypeArrayByTypeNameEx(name.Get(), 1, 15, out); }),
                    Elements([&](SAFEARRAY** out) { return from.ConfigFactory()->GetPCArray(out); })};
        for (const auto& [type, element] : from.Model().types) {
            const auto object = LXTypeOf(from, type);
            lines.push_back(Elements([&](SAFEARRAY** out) { return object->GetTypeComponentData(15, out); }));
        }
        return lines;
    };
    server->DeliverComponentObjects(false);
    Lines former;
    const auto expectNewest = [&](const char* after) {
        const Lines now = all(*server);
        EXPECT_NE(now, former) << after;
        const auto built = XSampleServer::Create(server->Model());
        built->DeliverComponentObjects(false);
        EXPECT_EQ(now, all(*built)) << after;
        former = now;
    };
    expectNewest("nothing");
    for (unsigned seed = 1; seed <= 5; ++seed) {
        LXRandomEdits(*server, seed, 20);
        expectNewest("random edits");
    }
    VARIANT value = {};
    V_VT(&value) = VT_I4;
    V_I4(&value) = 12345;
    EXPECT_EQ(LXTypeOf(*server, "Pump")->SetProperty(XProperty::TypeLabel, value), S_OK);
    expectNewest("a value that a client set");
    EXPECT_EQ(server->LiveObjects().objects, 0) << "a kept array holds no objects";
}

TEST_F(ServerBulk, WhoAsksAfterAnEditGetsItWhoeverElseAsks) {
    constexpr int Edits = 150;
    server->DeliverComponentObjects(false);
    const XText attribute((*model.FindType(OLESTR("Pump")))->attributes[0]->Text(XProperty::AttributeName));
    const auto edit = [&](int i) {
        server->Edit().SetAttributeProperty("Pump", attribute, XProperty::Unit, std::to_string(i));
    };
    edit(0);
    std::atomic<int> done{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            for (int before = 0; before < Edits;) {
                before = done;
                XLXSafeArray array;
                EXPECT_EQ(LXTypeOf(*server, "Pump")->GetTypeComponentData(1, array.Put()), S_OK);
                auto components = Transfer::GetWrapperFromArray(std::move(array));
                const auto attributes = Transfer::ReadAttributeList(std::move(components.attributes));
                const auto unit = attributes[0].values[XProperty::Unit].AsText();
                EXPECT_GE(std::stoi(LXToUtf8(unit.value_or(OLESTR("-1")))), before);
            }
        });
    }
    for (int i = 1; i <= Edits; ++i) {
        edit(i);
        done = i;
    }
    for (std::thread& reader : readers) {
        reader.join();
    }
}

TEST_F(ServerBulk, EveryReferenceComesBack) {
    {
        const auto types = Types([&](SAFEARRAY** out) { return Bulk()->GetTypeArrayEx(15, out); });
        EXPECT_GT(server->LiveObjects().objects, 1500);
    }
    EXPECT_EQ(server->LiveObjects().objects, 0);
    EXPECT_EQ(server->LiveObjects().references, 0);
}
