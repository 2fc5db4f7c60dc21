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
            return WithSameObjects(Bulk()->GetTypeArrayByTypeNameEx(LXArgument("Document"), 1, 15, out), out);
        };
    }
    void SetUp() override {
        Edit().AddAttributeType("Document", "Title", "Short");
        ASSERT_EQ(StartHostile(), S_OK);
        m_document = Named(OLESTR("Document"));
    }

    XLXComPtr<ILXAttribute> Find(const char* name) { return LXFind(m_document, &ILXType::GetAttribute, name); }
    /// Reloads the document and its components by name.
    void Load() { EXPECT_EQ(LoadByName("Document"), S_OK); }

    XLXComPtr<ILXType> m_document;
    std::function<XLXComPtr<IUnknown>()> m_newObject; ///< of an attribute; if set, no object stays the same

private:
    XLXComPtr<ILXConfigFactoryEx> Bulk() { return m_server->ConfigFactory().As<ILXConfigFactoryEx>(); }
    HRESULT WithSameObjects(HRESULT result, SAFEARRAY** array) {
        XILXTypeMap types = GetMapFromArray(XLXSafeArray(std::exchange(*array, nullptr)));
        for (const auto& [name, index] : types.names) {
            XILXTypeData& type = types.records[index];
            if (!m_newObject) { Keep(name, type.config); }
            std::vector<XILXAttributeData> attributes = ReadAttributeList(std::move(type.components.attributes));
            for (XILXAttributeData& attribute : attributes) {
                m_newObject ? static_cast<void>(attribute.object = m_newObject())
                            : Keep(name + attribute.values[0].AsText().value_or(XLXText()), attribute);
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
    EXPECT_TRUE(Find("Title"));
    Edit().AddAttribute("Document", "Author", 0, XNotify::No);
    Load();
    ExpectCalls(0, [&] { EXPECT_TRUE(Find("Author")); });
}

// The last release of a server's object runs foreign code, which may ask the cache.
TEST_F(UnparsedRecords, AreReleasedWithNoLockHeld) {
    const auto released = std::make_shared<int>(); // the last objects are released after the test
    const auto ask = [this, released] {
        ++*released;
        LXFind(Factory(), &ILXConfigFactory::GetType, "Unknown", nullptr);
    };
    m_newObject = [ask] { return new WorkAtRelease(ask); };
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
        EXPECT_TRUE(Find("Title")); // from the answer without the author
    }
    ExpectCalls(0, [&] { EXPECT_TRUE(Find("Author")); });
}

TEST_F(UnparsedRecords, DoNotRefreshAnAttributeTypeFromAfterANotification) {
    const auto title = Find("Title");
    const auto label = [&] {
        return LXList(XProperty::AttributeTypeLabel, title, &ILXAttribute::GetAttributeTypeEnum);
    };
    const std::vector<std::string> changed{"new"};
    {
        const Inside overtaken(Calls(), "ILXConfigFactoryEx::GetTypeArrayByTypeNameEx", [&] {
            Edit().SetAttributeTypeProperty("Document", "Title", "Short", XProperty::AttributeTypeLabel, "new",
                                            XNotify::No);
            LXNotifyStraight(title, "objects/Document/0/1024");
            EXPECT_EQ(label(), changed); // of an attribute type that this enumeration created
        });
        Load();
    }
    EXPECT_EQ(Find("Title"), title); // parses the records
    EXPECT_EQ(label(), changed);
}
} // namespace
