// SPDX-License-Identifier: MIT
//
// The logbook's entry for a refused array: the position in the array, and the names that the record belongs to.
#include "logcapture.h"
#include "transferfixtures.h"

#include <functional>

using namespace XLXCFCDataTransfer;

namespace {
/// Replaces one element of a sample by a value of another type, or cuts the sample off there.
struct Refusal {
    EKind kind;
    ULONG at;
    bool cut;
    const char* place;
    const char* text;
};

const std::string Prefix = "transfer array refused at element ";
constexpr const char* WrongSize = "wrong safearray size";

// Sets element 1 of the attribute list to the name "Power".
constexpr Refusal Refusals[] = {
    {EKind::TypeArray, 1, true, "0 of 1 (header)", WrongSize},
    {EKind::TypeArray, 1, false, "1 of 42 (header)", "variant type mismatch: expected VT_I4"},
    {EKind::TypeArray, 3, false, "3 of 42 (counts)", "variant type mismatch: expected VT_UI4"},
    {EKind::TypeArray, 6, false, "6 of 42 (names)", "variant type mismatch: expected VT_BSTR"},
    {EKind::TypeArray, 10, false, "10 of 42 (types, type 'Part')", "variant type mismatch: expected VT_I4"},
    {EKind::TypeArray, 17, false, "17 of 42 (component flags, type 'Part')", "variant type mismatch: expected VT_UI4"},
    {EKind::TypeArray, 21, false, "21 of 42 (types)", "variant type mismatch: expected VT_UI4"},
    {EKind::TypeArray, 25, true, "23 of 25 (types, type 'Pump')", WrongSize},
    {EKind::TypeArray, 30, false, "30 of 42 (editors, type 'Pump')", "variant type mismatch: expected VT_I4"},
    {EKind::PCArray, 2, false, "2 of 9 (relations)", "variant type mismatch: expected VT_I4"},
    {EKind::TypeComponents, 10, false, "10 of 13 (groups)", "variant type mismatch: expected VT_I4"},
    {EKind::RecordList, 0, false, "0 of 6 (records)", "variant type mismatch: expected VT_I4"},
    {EKind::AttributeList, 0, false, "0 of 132 (attributes)", "variant type mismatch: expected VT_UNKNOWN"},
    {EKind::AttributeList, 69, false, "69 of 132 (attribute types, attribute 'Power')",
     "variant type mismatch: expected VT_UNKNOWN"},
    {EKind::AttributeList, 100, true, "71 of 100 (attributes)", WrongSize},
};

XLXSafeArray Spoil(const Refusal& row) {
    const XLXSafeArray sample = Sample(row.kind);
    XLXSafeArray array = Cut(sample, row.cut ? row.at : CountOf(sample));
    if (row.kind == EKind::AttributeList) {
        VariantClear(&ElementOf(array, 1));
        Text(OLESTR("Power")).DetachTo(&ElementOf(array, 1));
    }
    if (!row.cut) {
        VariantClear(&ElementOf(array, row.at));
        V_VT(&ElementOf(array, row.at)) = VT_I2;
    }
    return array;
}

/// The log entry of a refusal; the exception must have exactly this text.
std::string Logged(const char* text, const std::function<void()>& read) {
    const LogCapture log;
    try {
        read();
        ADD_FAILURE() << "nothing was refused";
    } catch (const XLXException& error) {
        EXPECT_EQ(LXNarrow(error.Message()), text);
        EXPECT_EQ(error.Code(), E_INVALIDARG);
    }
    const auto entries = log.Entries();
    if (entries.size() != 1) { return std::to_string(entries.size()) + " entries"; }
    EXPECT_EQ(entries[0].code, E_INVALIDARG);
    EXPECT_EQ(entries[0].severity, XLXError::SeverityError);
    EXPECT_EQ(entries[0].source, "XCFCDataTransfer");
    return LXNarrow(entries[0].text);
}

} // namespace

TEST(Refusals, TheLogbookSaysWhereInTheArray) {
    for (const Refusal& row : Refusals) {
        XLXSafeArray array = Spoil(row);
        const auto read = [&] { ReadAndWrite(row.kind, std::move(array)); };
        EXPECT_EQ(Logged(row.text, read), Prefix + row.place + ": " + row.text) << row.kind;
    }
    XLXSafeArray numbers(SafeArrayCreateVector(VT_I4, 0, 1));
    EXPECT_EQ(Logged("wrong safearray vartype", [&] { GetMapFromArray(std::move(numbers)); }),
              Prefix + "0 of 0 (header): wrong safearray vartype");
}
