// SPDX-License-Identifier: MIT
//
// What the logbook says about an array that is refused: where in the array, and whose data it is.
#include "logcapture.h"
#include "transferfixtures.h"

#include <functional>

using namespace XLXCFCDataTransfer;

namespace {
/// One element of a sample replaced by a value of another kind, or all from there on cut off.
struct Refusal {
    EKind kind;
    ULONG at;
    bool cut;
    const char* place;
    const char* text;
};

constexpr const char* WrongSize = "wrong safearray size";

// Element 1 of the attribute list is made the name "Power".
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
    {EKind::TypeArray, 41, true, "41 of 41 (types, type 'Pump')", WrongSize},
    {EKind::PCArray, 2, false, "2 of 9 (relations)", "variant type mismatch: expected VT_I4"},
    {EKind::TypeComponents, 10, false, "10 of 13 (groups)", "variant type mismatch: expected VT_I4"},
    {EKind::RecordList, 0, false, "0 of 6 (records)", "variant type mismatch: expected VT_I4"},
    {EKind::AttributeList, 0, false, "0 of 132 (attributes)", "variant type mismatch: expected VT_UNKNOWN"},
    {EKind::AttributeList, 60, true, "1 of 60 (attributes)", WrongSize},
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

/// The entry that a refusal leaves; what is raised must have this text and no more.
std::string Logged(const char* text, const std::function<void()>& read) {
    const LogCapture log;
    try {
        read();
        ADD_FAILURE() << "nothing was refused";
    } catch (const XLXException& error) {
        EXPECT_EQ(Narrow(error.Message()), text);
        EXPECT_EQ(error.Code(), E_INVALIDARG);
    }
    const auto entries = log.Entries();
    if (entries.size() != 1) { return std::to_string(entries.size()) + " entries"; }
    EXPECT_EQ(entries[0].code, E_INVALIDARG);
    EXPECT_EQ(entries[0].severity, XLXError::SeverityError);
    EXPECT_EQ(entries[0].source, "XCFCDataTransfer");
    return Narrow(entries[0].text);
}

std::string Entry(const char* place, const char* text) {
    return std::string("transfer array refused at element ") + place + ": " + text;
}
} // namespace

TEST(Refusals, TheLogbookSaysWhereInTheArray) {
    for (const Refusal& row : Refusals) {
        XLXSafeArray array = Spoil(row);
        const auto read = [&] { ReadAndWrite(row.kind, std::move(array)); };
        EXPECT_EQ(Logged(row.text, read), Entry(row.place, row.text)) << row.kind;
    }
    LONG number[] = {1};
    SAFEARRAYBOUND bound = {1, 0};
    XLXSafeArray numbers(SafeArrayCreate(VT_I4, 1, &bound));
    LONG first = 0;
    ASSERT_EQ(SafeArrayPutElement(numbers.Get(), &first, number), S_OK);
    EXPECT_EQ(Logged("wrong safearray vartype", [&] { GetMapFromArray(std::move(numbers)); }),
              Entry("0 of 0 (header)", "wrong safearray vartype"));
}
