// SPDX-License-Identifier: MIT
//
// Which notification causes which data to be read again: a table of every receiver, with every kind of notification and
// every bit of the update mode. With the argument --server-mode the cache runs in the server's process, where update
// modes are not translated.
#include "relationfixture.h"

#include <map>

namespace {
constexpr LONG Always = -1;
constexpr LONG Never = 0;

/// A mode as sent, and as translated for the kind "objects" in client mode.
struct Mode {
    LONG sent;
    LONG translated;
};
constexpr Mode Modes[] = {{0, 0},         {0x1, 0x1},     {0x2, 0x2},     {0x4, 0x4},       {0x8, 0x8},
                          {0x10, 0x210},  {0x20, 0x20},   {0x40, 0x40},   {0x80, 0x80},     {0x100, 0x300},
                          {0x200, 0x202}, {0x400, 0x600}, {0x800, 0xA00}, {0x1000, 0x1200}, {0x2000, 0x2000}};
constexpr const char* Kinds[] = {"objects", "properties", "pc", "searchable", "other"};

/// Which notifications make a receiver read again, by kind: modes with one of these bits, all modes, or none.
struct Row {
    const char* receiver;
    const char* method; ///< the call to the server that reads again
    LONG objects;
    LONG properties;
    LONG pc;
    LONG others; ///< any other kind; "searchable" has its own row below
};
constexpr Row Rows[] = {
    {"type", "ILXType::GetProperties", 0x3, 0x3, Never, Never},
    {"attributes", "ILXType::GetTypeComponentData", 0x203, Never, Never, Never},
    {"groups", "ILXType::GetTypeComponentData", 0x43, Never, Never, Never},
    {"pages", "ILXType::GetTypeComponentData", 0x23, Never, Never, Never},
    {"editors", "ILXType::GetTypeComponentData", 0x83, Never, Never, Never},
    {"attribute", "ILXAttribute::GetProperties", Always, 0x201, Never, 0x201},
    {"attribute types", "ILXAttribute::GetAttributeTypeEnum", 0x603, Never, Never, Never},
    {"attribute type", "ILXAttributeType::GetProperties", Always, 0x601, Never, 0x601},
    {"attribute formats", "ILXAttribute::GetFormat", 0xA03, Never, Never, Never},
    {"format", "ILXFormat::GetProperties", Always, 0x1911, Never, Never},
    {"group", "ILXGroup::GetProperties", Always, 0x41, Never, Never},
    {"group format", "ILXGroup::GetFormat", 0x1043, Never, Never, Never},
    {"page", "ILXPage::GetProperties", Always, 0x21, Never, Never},
    {"editor", "ILXConfObjEditor::GetProperties", Always, 0x89, Never, Never},
    {"browser id", "ILXBrowserId::GetProperties", Always, 0x9, Always, Never},
    {"browser ids", "ILXConfigFactory::GetBrowserIdEnum", Never, Never, Never, Never},
    {"global spec", "ILXGlobalAttributeFormatSpec::GetProperties", Always, 0x101, Never, Never},
    {"global spec formats", "ILXGlobalAttributeFormatSpec::GetFormat", 0x101, Never, Never, Never},
    {"global specs", "ILXConfigFactory::GetAllGlobalAttributeFormatSpecs", 0x111, Never, Never, Never},
    {"relation", "ILXParentChild::GetProperties", Always, 0x5, Always, Never},
    {"PC infos", "ILXParentChild::GetPCInfoEnum", 0xD, Never, Always, Never},
    {"PC info", "ILXPCInfo::GetProperties", Always, 0xD, Always, Never},
    {"relations", "ILXConfigFactory::GetPCArray", 0x5, Never, Always, Never},
    {"plan types", "ILX_Query::GetSearchResult", 0x7, Never, 0x7, Never},
    {"type map", nullptr, 0x3, Never, Never, Never},
};

XServerModel MatrixModel() {
    XServerModel model = LXRelationModel();
    XModelType& area = *model.types.at(OLESTR("Area"));
    area.AddPage(1);
    area.AddGroup(1, 1).formats.emplace(0, XModelRef<XModelFormat>());
    area.AddEditor("E", "Tree");
    XModelAttribute& size = area.AddAttribute("Size", 1);
    size.AddType("Big");
    size.AddFormat(1).properties.Set(XProperty::Label, "0.0");
    model.AddGlobalSpec("Spec").AddFormat(1);
    return model;
}
} // namespace

class NotificationMatrix : public RelationTest, public testing::WithParamInterface<Row> {
protected:
    NotificationMatrix() : RelationTest(MatrixModel()) {}

    static std::function<void()> Reading(XLXComPtr<ILXConfigObject> object, int member = 0) {
        return [object, member] { EXPECT_EQ(LXRead(object.Get(), member).find(OLESTR("<")), XLXText::npos); };
    }
    template <class Owner, class Method> static auto FirstOf(const XLXComPtr<Owner>& owner, Method list) {
        return LXElements(LXGet(owner, list)).at(0);
    }

    using Probe = std::function<void()>;
    using Probes = std::map<std::string, std::function<Probe()>>;
    /// For each receiver a function that finds its cached objects and returns a function that reads them.
    Probes AllProbes();

    unsigned long long CallsOf(const char* method, const Probe& probe) {
        const auto before = Calls().Of(method);
        probe();
        return Calls().Of(method) - before;
    }
    static bool Expected(const Row& row, const std::string& kind, const Mode& mode);
};

NotificationMatrix::Probes NotificationMatrix::AllProbes() {
    const auto area = Type("Area");
    const auto size = Attribute("Area", "Size");
    const auto attributes = [=] { LXGet(area, &ILXType::GetAttributeEnum); };
    const auto page = [=] { return LXGet(area, &ILXType::GetPage, 1); };
    const auto group = [=] { return LXGet(area, &ILXType::GetGroup, 1); };
    const auto editor = [=] { return FirstOf(area, &ILXType::GetConfObjEditorEnum); };
    const auto format = [=] { return LXGet(size, &ILXAttribute::GetFormat, 1); };
    const auto type = [=] { return FirstOf(size, &ILXAttribute::GetAttributeTypeEnum); };
    const auto browserId = [this] { return FirstOf(Factory(), &ILXConfigFactory::GetBrowserIdEnum); };
    const auto spec = [this] { return FirstOf(Factory(), &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs); };
    const auto formatOf = [](const auto& of) { LXGet(of, &ILXGlobalAttributeFormatSpec::GetFormat, 1); };
    const auto rooms = [this] { return Single("Area", "Room", "nodes"); };
    const auto info = [](const Relation& relation) { return LXGet(relation, &ILXParentChild::GetPCInfo, "Tree"); };
    const auto plan = [this] { EXPECT_EQ(IsPlan("Plan"), S_OK); };
    return {{"type", [=] { return Reading(area); }},
            {"type map", [this] { return [this] { Type("Area"); }; }},
            {"attributes", [=] { return attributes; }},
            {"pages", [=] { return page; }},
            {"page", [=] { return Reading(page(), XProperty::PageNumber); }},
            {"groups", [=] { return group; }},
            {"group", [=] { return Reading(group()); }},
            {"group format", [=] { return [of = group()] { LXGet(of, &ILXGroup::GetFormat); }; }},
            {"editors", [=] { return editor; }},
            {"editor", [=] { return Reading(editor()); }},
            {"attribute", [=] { return Reading(size); }},
            {"attribute types", [=] { return type; }},
            {"attribute type", [=] { return Reading(type()); }},
            {"attribute formats", [=] { return format; }},
            {"format", [=] { return Reading(format(), XProperty::Label); }},
            {"browser id", [=] { return Reading(browserId()); }},
            {"browser ids", [=] { return browserId; }},
            {"global spec", [=] { return Reading(spec()); }},
            {"global specs", [=] { return spec; }},
            {"global spec formats", [=] { return [=, of = spec()] { formatOf(of); }; }},
            {"relation", [=] { return Reading(rooms()); }},
            {"relations", [=] { return rooms; }},
            {"PC infos", [=] { return [=, of = rooms()] { info(of); }; }},
            {"PC info", [=] { return Reading(info(rooms()), XProperty::PCInfoBrowser); }},
            {"plan types", [=] { return plan; }}};
}

bool NotificationMatrix::Expected(const Row& row, const std::string& kind, const Mode& mode) {
    const LONG bits = kind == "objects"      ? row.objects
                      : kind == "properties" ? row.properties
                      : kind == "pc"         ? row.pc
                                             : row.others;
    if (kind == "searchable" && row.receiver == std::string("type map")) { return true; }
    const LONG received = kind == "objects" && !LXServerMode() ? mode.translated : mode.sent;
    return bits == Always || (bits != Never && (received < 1 || (received & bits) != 0));
}

TEST_P(NotificationMatrix, InvalidatesWhatItConcerns) {
    const Row& row = GetParam();
    const char* const method = row.method != nullptr ? row.method
                               : LXServerMode()      ? "ILXConfigFactory::GetTypeEnum"
                                                     : "ILXConfigFactoryEx::GetTypeArrayEx";
    for (const std::string kind : Kinds) {
        for (const Mode& mode : Modes) {
            const std::string dataId = kind + "/x/0/" + std::to_string(mode.sent);
            SCOPED_TRACE(dataId);
            const Probe probe = AllProbes().at(row.receiver)();
            probe();
            ASSERT_EQ(CallsOf(method, probe), 0u);
            ASSERT_EQ(m_server->SendNotification(dataId).result, S_OK);
            EXPECT_EQ(CallsOf(method, probe) != 0, Expected(row, kind, mode));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Receivers, NotificationMatrix, testing::ValuesIn(Rows), [](const auto& test) {
    std::string name = test.param.receiver;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});
