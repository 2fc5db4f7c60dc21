// SPDX-License-Identifier: MIT
//
// The logbook's entry for a refused array: the position in the array, and the type or attribute of the record.
#include "logcapture.h"
#include "transferfixtures.h"

namespace {
/// Replaces one element of a sample by a value of another type, or cuts the sample off there.
struct Refusal {
    EKind kind;
    ULONG at;
    bool cut;
    const char* place;
};

constexpr Refusal Refusals[] = {
    {EKind::TypeArray, 1, true, "0 of 1 (header)"},
    {EKind::TypeArray, 1, false, "1 of 42 (header)"},
    {EKind::TypeArray, 3, false, "3 of 42 (counts)"},
    {EKind::TypeArray, 6, false, "6 of 42 (names)"},
    {EKind::TypeArray, 10, false, "10 of 42 (types, type 'Part')"},
    {EKind::TypeArray, 17, false, "17 of 42 (component flags, type 'Part')"},
    {EKind::TypeArray, 21, false, "21 of 42 (types)"},
    {EKind::TypeArray, 25, true, "23 of 25 (types, type 'Pump')"},
    {EKind::TypeArray, 30, false, "30 of 42 (editors, type 'Pump')"},
    {EKind::PCArray, 2, false, "2 of 9 (relations)"},
    {EKind::TypeComponents, 10, false, "10 of 13 (groups)"},
    {EKind::RecordList, 0, false, "0 of 6 (records)"},
    {EKind::AttributeList, 0, false, "0 of 132 (attributes)"},
    {EKind::AttributeList, 69, false, "69 of 132 (attribute types, attribute 'Power')"},
    {EKind::AttributeList, 100, true, "71 of 100 (attributes)"},
};

/// Expects one entry, with the position and the message of the exception.
void ExpectLogged(EKind kind, XLXSafeArray array, const std::string& place) {
    const LogCapture log;
    const Raised raised = Read(kind, std::move(array));
    const auto entries = log.Entries();
    ASSERT_EQ(entries.size(), 1U) << place;
    EXPECT_EQ(LXNarrow(entries[0].text), "transfer array refused at element " + place + ": " + raised.text);
    EXPECT_EQ(entries[0].code, E_INVALIDARG);
    EXPECT_EQ(entries[0].severity, XLXError::SeverityError);
    EXPECT_EQ(entries[0].source, "XCFCDataTransfer");
}
} // namespace

TEST(Refusals, TheLogbookHasThePositionInTheArray) {
    for (const Refusal& row : Refusals) {
        const XLXSafeArray sample = Sample(row.kind);
        XLXSafeArray array = Cut(sample, row.cut ? row.at : CountOf(sample));
        if (!row.cut) { Spoil(array, row.at, VT_I2); }
        ExpectLogged(row.kind, std::move(array), row.place);
    }
    ExpectLogged(EKind::TypeArray, XLXSafeArray(SafeArrayCreateVector(VT_I4, 0, 1)), "0 of 0 (header)");
}
