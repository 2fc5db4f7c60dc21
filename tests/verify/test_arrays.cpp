// SPDX-License-Identifier: MIT
//
// Arrays with one invalid element each: reading must not crash, and the finding names the element.
#include "XBulkArrays.h"
#include "brokenserver.h"

namespace {
constexpr VARTYPE WrongTypes[] = {VT_EMPTY, VT_I2, VT_BYREF | VT_VARIANT, VT_ARRAY | VT_VARIANT, 0x0FFF};

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
    const auto types = [bulk = server->ConfigFactory().As<ILXConfigFactoryEx>()] {
        XLXSafeArray array;
        EXPECT_EQ(bulk->GetTypeArrayEx(15, array.Put()), S_OK);
        return array;
    };
    const std::size_t count = ElementsOf(types().Get()).size();
    ASSERT_EQ(FindingsOf(types()), "");
    std::size_t named = 0;
    std::string all;
    for (std::size_t at = 0; at < count; ++at) {
        for (const VARTYPE wrong : WrongTypes) {
            XLXSafeArray array = types();
            VARIANT& element = ElementsOf(array.Get())[at];
            Replace(element, {}); // must not own anything, because the type is changed
            V_VT(&element) = wrong;
            const std::string found = FindingsOf(std::move(array));
            named += found.find("element " + std::to_string(at) + " of " + std::to_string(count)) == 0 ? 1 : 0;
            all += found;
        }
        XLXSafeArray array = types(); // ends before this element
        for (VARIANT& element : ElementsOf(array.Get()).subspan(at)) {
            VariantClear(&element);
        }
        array.Get()->rgsabound[0].cElements = static_cast<ULONG>(at);
        EXPECT_NE(FindingsOf(std::move(array)), "") << at;
    }
    // The values may have any type: 2 types with 28, an attribute with 60, its attribute type and a page with 7 each.
    EXPECT_EQ(named, (count - 2 * 28 - 60 - 7 - 7) * std::size(WrongTypes));
    EXPECT_NE(
        all.find(" (attribute types, type \"Part\", attribute \"Weight\"): the object of an attribute type should be "
                 "VT_UNKNOWN, came VT_I2 0\n"),
        std::string::npos);
}
} // namespace
