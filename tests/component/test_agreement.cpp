// SPDX-License-Identifier: MIT
//
// The cache and the server must give the same answers to all requests: at rest, after many edits, and while a
// notification that makes everything stale overtakes every single call to the server.
#include "XRandomEdits.h"
#include "cachefixture.h"

#include <random>

namespace {
XServerModel GeneratedModel(int types, int attributesPerType) {
    XGeneratorOptions options;
    options.types = types;
    options.attributesPerType = attributesPerType;
    return LXGenerateModel(options);
}

/// Everything that can be read about a type, one line each. A missing value is "<empty>" for the server and the cache.
class Answers {
public:
    explicit Answers(ILXType* type) {
        Object("type", type, 27); // without the last member: the base type's object, which only the cache has
        XLXComPtr<ILXAttributeEnum> attributes;
        type->GetDisplayAttributeEnum(0, attributes.Put()); // GetAttributeEnum would omit inherited ones on the server
        XLXComPtr<ILXAttribute> attribute;
        while (attributes && attributes->GetSingleNext(attribute.Put()) == S_OK) {
            Attribute(attribute.Get());
        }
        ForEach<ILXPage>(type, &ILXType::GetPageEnum, [&](ILXPage* page) { Object("page", page, 7); });
        ForEach<ILXConfObjEditor>(type, &ILXType::GetConfObjEditorEnum,
                                  [&](ILXConfObjEditor* editor) { Object("editor", editor, 5); });
        ForEach<ILXGroup>(type, &ILXType::GetGroupEnum, [&](ILXGroup* group) {
            Object("group", group, 16);
            XLXComPtr<ILXGroupEnum> children;
            group->GetChildGroupEnum(children.Put());
            Names("child groups", LXReadAll<ILXGroup>(children, XProperty::GroupNumber));
        });
        for (const LONG mask : {0, 1, 2, 4, 1 | 2 | 8}) {
            XLXComPtr<ILXAttributeEnum> shown;
            type->GetDisplayAttributeEnum(mask, shown.Put());
            Names("shown", LXReadAll<ILXAttribute>(shown, XProperty::AttributeName));
        }
    }

    const std::vector<std::string>& Lines() const { return m_lines; }
    static inline const std::string AttributeType = "attribute type ";

private:
    void Object(const char* what, ILXConfigObject* object, int members) {
        for (int member = 0; member < members; ++member) {
            m_lines.push_back(std::string(what) + " " + std::to_string(member) + " " +
                              LXNarrow(LXRead(object, member)));
        }
    }
    void Names(const char* what, std::vector<std::string> names) {
        std::sort(names.begin(), names.end());
        std::string line = what;
        for (const std::string& name : names) {
            line += " " + name;
        }
        m_lines.push_back(line);
    }
    void Attribute(ILXAttribute* attribute) {
        Object("attribute", attribute, 60);
        XLXComPtr<ILXAttributeTypeEnum> types;
        attribute->GetAttributeTypeEnum(types.Put());
        for (const std::string& type : LXReadAll<ILXAttributeType>(types, XProperty::AttributeTypeName)) {
            m_lines.push_back(AttributeType + LXNarrow(LXRead(attribute, 0)) + " " + type);
        }
        for (const int formatType : {0, 1, 2}) {
            XLXComPtr<ILXFormat> format;
            if (attribute->GetFormat(formatType, format.Put()) == S_OK) { Object("format", format.Get(), 5); }
        }
    }
    template <class Element, class Enumerator>
    static void ForEach(ILXType* type, HRESULT (STDMETHODCALLTYPE ILXType::*list)(Enumerator**), auto use) {
        XLXComPtr<Enumerator> elements;
        (type->*list)(elements.Put());
        XLXComPtr<Element> element;
        while (elements && elements->GetSingleNext(element.Put()) == S_OK) {
            use(element.Get());
        }
    }

    std::vector<std::string> m_lines;
};
} // namespace

class Agreement : public CacheTest {
protected:
    explicit Agreement(XServerModel model = GeneratedModel(24, 6)) : CacheTest(std::move(model)) {}

    /// Compares all answers of the cache and the server. Lines are compared as sets, because the cache orders by name.
    void ExpectAgreement() {
        for (const auto& [name, type] : m_server->Model().types) {
            const XLXComBSTR text(name);
            XLXComPtr<ILXType> cached;
            XLXComPtr<ILXType> direct;
            ASSERT_EQ(Factory()->GetType(text.Get(), nullptr, cached.Put()), S_OK) << LXNarrow(name);
            ASSERT_EQ(m_server->ConfigFactory()->GetType(text.Get(), nullptr, direct.Put()), S_OK);
            std::vector<std::string> fromCache = Answers(cached.Get()).Lines();
            std::vector<std::string> fromServer = Answers(direct.Get()).Lines();
            std::sort(fromCache.begin(), fromCache.end());
            std::sort(fromServer.begin(), fromServer.end());
            std::vector<std::string> differences;
            std::set_symmetric_difference(fromCache.begin(), fromCache.end(), fromServer.begin(), fromServer.end(),
                                          std::back_inserter(differences));
            // A removed attribute type stays in the cache.
            std::erase_if(differences, [&](const std::string& line) {
                return line.starts_with(Answers::AttributeType) &&
                       !std::binary_search(fromServer.begin(), fromServer.end(), line);
            });
            ASSERT_EQ(differences, std::vector<std::string>()) << LXNarrow(name);
        }
    }
};

/// All relations with their PC infos, which only the server's own objects give.
std::vector<std::string> RelationsOf(ILXConfigFactory& factory) {
    std::vector<std::string> lines;
    XLXComPtr<ILXParentChildEnum> relations;
    factory.GetParentChildEnum(XLXComBSTR(OLESTR("")).Get(), nullptr, relations.Put());
    XLXComPtr<ILXParentChild> relation;
    while (relations && relations->GetSingleNext(relation.Put()) == S_OK) {
        XLXComPtr<ILXPCInfoEnum> infos;
        relation->GetPCInfoEnum(infos.Put());
        std::string line;
        for (const int name : {XProperty::ParentName, XProperty::ChildName, XProperty::ChildList}) {
            line += LXNarrow(LXRead(relation.Get(), name)) + "/";
        }
        std::vector<std::string> browsers = LXReadAll<ILXPCInfo>(infos, XProperty::PCInfoBrowser);
        std::sort(browsers.begin(), browsers.end()); // the cache keeps the places of those that it had
        for (const std::string& browser : browsers) {
            line += " " + browser;
        }
        lines.push_back(std::move(line));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

/// With records that come with the server's objects, and without.
class AgreementWithObjects : public Agreement, public testing::WithParamInterface<bool> {
protected:
    void ExpectAll() {
        ExpectAgreement();
        EXPECT_EQ(RelationsOf(*Factory()), RelationsOf(*m_server->ConfigFactory()));
    }
};

TEST_P(AgreementWithObjects, AtRestAndAfterRandomEdits) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    m_server->DeliverComponentObjects(GetParam());
    ASSERT_EQ(Start(), S_OK);
    ExpectAll();
    for (unsigned round = 0; round < 5; ++round) {
        LXRandomEdits(*m_server, seed + round, 20);
        ExpectAll();
    }
    Terminate();
}

INSTANTIATE_TEST_SUITE_P(Components, AgreementWithObjects, testing::Bool(),
                         [](const auto& test) { return test.param ? "Come" : "AreAskedFor"; });

class Discarding : public Agreement, public testing::WithParamInterface<bool> {
protected:
    Discarding() : Agreement(GeneratedModel(6, 2)) {}
};

TEST_P(Discarding, EveryCallIsOvertakenByANotificationThatInvalidatesEverything) {
    ASSERT_EQ(Start(), S_OK);
    Discard(GetParam());
    ExpectAgreement();
    Edit().AddAttribute("Type00000", "Late");
    ExpectAgreement();
    Terminate();
}

INSTANTIATE_TEST_SUITE_P(NotificationThread, Discarding, testing::Bool(),
                         [](const auto& test) { return test.param ? "Other" : "Same"; });
