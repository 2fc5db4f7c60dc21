// SPDX-License-Identifier: MIT
//
// Delivered records that are not parsed yet. The server returns the same object for a type or attribute in every bulk
// read, so nothing becomes stale merely because its server object is replaced.
#include "hostileserver.h"
#include "inside.h"

namespace {
using namespace XLXCFCDataTransfer;

class UnparsedRecords : public HostileTest {
protected:
    UnparsedRecords() {
        m_factory->types = [this](SAFEARRAY** out) { return WithSameObjects(Bulk()->GetTypeArrayEx(15, out), out); };
        m_factory->namedTypes = [this](SAFEARRAY** out) {
            XLXSafeArray names(SafeArrayCreateVector(VT_BSTR, 0, 1));
            LONG index = 0;
            SafeArrayPutElement(names.Get(), &index, XLXComBSTR(OLESTR("Document")).Get());
            return WithSameObjects(Bulk()->GetTypeArrayByTypeNameArrayEx(names.Get(), 1, 15, out), out);
        };
    }
    void SetUp() override {
        Edit().AddAttributeType("Document", "Title", "Short");
        ASSERT_EQ(StartHostile(), S_OK);
        m_document = Named(OLESTR("Document"));
    }
    void TearDown() override { Terminate(); }

    XLXComPtr<ILXAttribute> Find(const OLECHAR* name) {
        XLXComPtr<ILXAttribute> found;
        m_document->GetAttribute(XLXComBSTR(XLXText(name)).Get(), found.Put());
        return found;
    }
    /// Reloads the document and its components by name.
    void Load() {
        const XLXComBSTR name(OLESTR("Document"));
        BSTR names[] = {name.Get()};
        EXPECT_EQ(m_cache->LoadTypesByTypeNames(1, names, 1), S_OK);
    }

    XLXComPtr<ILXType> m_document;

    XLXComPtr<ILXConfigFactoryEx> Bulk() { return m_server->ConfigFactory().As<ILXConfigFactoryEx>(); }

private:
    HRESULT WithSameObjects(HRESULT result, SAFEARRAY** array) {
        XILXTypeMap types = GetMapFromArray(XLXSafeArray(std::exchange(*array, nullptr)));
        for (const auto& [name, index] : types.names) {
            XILXTypeData& type = types.records[index];
            Keep(name, type.config);
            std::vector<XILXAttributeData> attributes = ReadAttributeList(std::move(type.components.attributes));
            for (XILXAttributeData& attribute : attributes) {
                Keep(name + attribute.values[0].AsText().value_or(XLXText()), attribute);
            }
            type.components.attributes = GetArrayFromAttributeList(std::move(attributes));
        }
        *array = GetArrayFromMap(std::move(types)).Detach();
        return result;
    }
    void Keep(const XLXText& name, XILXConfigData& record) {
        record.object = m_objects.try_emplace(name, record.object).first->second;
    }

    std::map<XLXText, XLXComPtr<IUnknown>> m_objects;
};

TEST_F(UnparsedRecords, AreParsedEvenIfTheMapIsFresh) {
    EXPECT_TRUE(Find(OLESTR("Title")));
    Edit().AddAttribute("Document", "Author", 0, XNotify::No);
    Load();
    ExpectCalls(0, [&] { EXPECT_TRUE(Find(OLESTR("Author"))); });
}

// The last release of a server's object runs foreign code, which may ask the cache.
TEST_F(UnparsedRecords, AreReleasedWithNoLockHeld) {
    const auto released = std::make_shared<int>(); // the last objects are released after the test
    const auto ask = [this, released] {
        ++*released;
        XLXComPtr<ILXType> none;
        Factory()->GetType(XLXComBSTR(OLESTR("Unknown")).Get(), nullptr, none.Put());
    };
    m_factory->types = [this, ask](SAFEARRAY** out) {
        const HRESULT result = Bulk()->GetTypeArrayEx(15, out);
        XILXTypeMap types = GetMapFromArray(XLXSafeArray(std::exchange(*out, nullptr)));
        for (auto& [index, type] : types.records) {
            std::vector<XILXAttributeData> attributes = ReadAttributeList(std::move(type.components.attributes));
            for (XILXAttributeData& attribute : attributes) {
                attribute.object = XLXComPtr<IUnknown>(new WorkAtRelease(ask));
            }
            type.components.attributes = GetArrayFromAttributeList(std::move(attributes));
        }
        *out = GetArrayFromMap(std::move(types)).Detach();
        return result;
    };
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(*released, 0);
        m_server->SendNotification("objects/x/0/2");
        Named(OLESTR("Document"));
    }
    EXPECT_GT(*released, 0);
}

TEST_F(UnparsedRecords, AreNotDroppedWhenAnOlderMapIsPublished) {
    LXNotifyStraight(m_document, "objects/Document/0/512");
    {
        const Inside beside(Calls(), "ILXType::GetTypeComponentData", [&] {
            Edit().AddAttribute("Document", "Author", 0, XNotify::No);
            Load();
        });
        EXPECT_TRUE(Find(OLESTR("Title"))); // from the answer without the author
    }
    ExpectCalls(0, [&] { EXPECT_TRUE(Find(OLESTR("Author"))); });
}

TEST_F(UnparsedRecords, DoNotRefreshAnAttributeTypeFromAfterANotification) {
    const auto title = Find(OLESTR("Title"));
    const auto label = [&] {
        return LXList<ILXAttributeType>(XProperty::AttributeTypeLabel, title, &ILXAttribute::GetAttributeTypeEnum);
    };
    const std::vector<std::string> changed{"new"};
    {
        const Inside overtaken(Calls(), "ILXConfigFactoryEx::GetTypeArrayByTypeNameArrayEx", [&] {
            Edit().SetAttributeTypeProperty("Document", "Title", "Short", XProperty::AttributeTypeLabel, "new",
                                            XNotify::No);
            LXNotifyStraight(title, "objects/Document/0/1024");
            EXPECT_EQ(label(), changed); // of an attribute type that this enumeration created
        });
        Load();
    }
    EXPECT_EQ(Find(OLESTR("Title")), title); // parses the records
    EXPECT_EQ(label(), changed);
}
} // namespace
