// SPDX-License-Identifier: MIT
//
// Arrays with one invalid element each: reading must not crash, and the finding names the element.
#include "XBulkArrays.h"
#include "brokenserver.h"

namespace {
constexpr VARTYPE WrongTypes[] = {VT_EMPTY, VT_I2, VT_BYREF | VT_VARIANT, VT_ARRAY | VT_VARIANT, 0x0FFF};

XLXSafeArray TypesOf(const std::shared_ptr<XSampleServer>& server) {
    XLXSafeArray array;
    EXPECT_EQ(server->ConfigFactory().As<ILXConfigFactoryEx>()->GetTypeArrayEx(15, array.Put()), S_OK);
    return array;
}

/// Reads an array and checks its values.
std::string FindingsOf(XLXSafeArray array) {
    XFindings findings;
    if (const auto types = LXReadTypes(array.Detach(), findings, "call")) {
        for (const XReadType& type : types->records) {
            LXJudgeValues(XElementKind::Type, type.head.values, findings, "type");
        }
    }
    std::string text;
    for (const XVerdict& verdict : findings.Verdicts()) {
        for (const XFinding& finding : verdict.findings) {
            text += finding.came + "\n";
        }
    }
    return text;
}

TEST(SpoiledArray, IsReadWithoutACrashAndTheElementIsNamed) {
    XServerModel model;
    model.AddType("Part").AddAttribute("Weight").AddType("Metres");
    model.AddType("Pump", "Part").AddPage(1);
    const auto server = XSampleServer::Create(std::move(model));
    const std::size_t count = ElementsOf(TypesOf(server).Get()).size();
    ASSERT_EQ(FindingsOf(TypesOf(server)), "");
    std::size_t named = 0;
    for (std::size_t at = 0; at < count; ++at) {
        for (const VARTYPE wrong : WrongTypes) {
            XLXSafeArray array = TypesOf(server);
            VARIANT& element = ElementsOf(array.Get())[at];
            VariantClear(&element);
            element = VARIANT{}; // must not own anything, because the type is changed below
            V_VT(&element) = wrong;
            const std::string found = FindingsOf(std::move(array));
            named += found.find("element " + std::to_string(at) + " of " + std::to_string(count)) == 0 ? 1 : 0;
        }
    }
    // The values may have any type: 2 types with 28, an attribute with 60, its attribute type and a page with 7 each.
    EXPECT_EQ(named, (count - 2 * 28 - 60 - 7 - 7) * std::size(WrongTypes));
}

TEST(SpoiledArray, NamesTypeAndAttribute) {
    XServerModel model;
    model.AddType("Pump").AddAttribute("Head").AddType("Metres");
    const auto server = XSampleServer::Create(std::move(model));
    XLXSafeArray array = TypesOf(server);
    const auto elements = ElementsOf(array.Get());
    VARIANT& object = elements[elements.size() - 4]; // of the attribute type; only base, listed and searchable follow
    ASSERT_EQ(V_VT(&object), VT_UNKNOWN);
    Replace(object, XLXComVariant::FromI4(3));
    EXPECT_EQ(FindingsOf(std::move(array)),
              "element " + std::to_string(elements.size() - 4) + " of " + std::to_string(elements.size()) +
                  " (attribute types, type \"Pump\", attribute \"Head\"): the object of an attribute type should be "
                  "VT_UNKNOWN, came VT_I4 3\n");
}

TEST(SpoiledArray, MayEndAnywhere) {
    XServerModel model;
    model.AddType("Pump").AddAttribute("Head");
    const auto server = XSampleServer::Create(std::move(model));
    const std::size_t count = ElementsOf(TypesOf(server).Get()).size();
    for (std::size_t left = 0; left < count; ++left) {
        XLXSafeArray array = TypesOf(server);
        const auto elements = ElementsOf(array.Get());
        for (VARIANT& element : elements.subspan(left)) {
            VariantClear(&element);
        }
        array.Get()->rgsabound[0].cElements = static_cast<ULONG>(left);
        EXPECT_NE(FindingsOf(std::move(array)), "") << left;
    }
}
} // namespace
