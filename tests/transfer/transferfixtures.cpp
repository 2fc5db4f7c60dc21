// SPDX-License-Identifier: MIT
#include "transferfixtures.h"
#include "lxtestrunner.h"

#include <iomanip>

using namespace XLXCFCDataTransfer;

namespace {
const LXLiveCounter g_objects("server objects", [] { return lx::liveObjects.load(); });

// 42 elements; docs/transfer-format.md goes through them one by one.
XLXSafeArray TypeArraySample() {
    const auto object = NewObject();
    return ArrayOf(LONG{1}, LONG{0}, ULONG{2}, ULONG{2},                                //  0: header, counts
                   OLESTR("Part"), ULONG{0}, OLESTR("Pump"), ULONG{1},                  //  4: names
                   ULONG{0}, object.Get(),                                              //  8: Part
                   Values(Text(OLESTR("Part")), XLXComVariant(), XLXComVariant()),      // 10
                   ULONG{0}, ULONG{0}, ULONG{0}, ULONG{0}, LONG{-1}, true, true,        // 14
                   ULONG{1}, NewObject().Get(),                                         // 21: Pump
                   Values(Text(OLESTR("Pump")), XLXComVariant(), Text(OLESTR("Part"))), // 23
                   ULONG{0}, ULONG{0}, ULONG{1}, LONG{7},                               // 27: editors, a sub-array
                   LONG{1}, object.Get(),                                               // 31: one editor
                   Values(Text(OLESTR("tree")), Bool(true), Bool(false), Text(OLESTR("Pump.Editor"))), // 33
                   ULONG{0}, LONG{0}, true, false);                                                    // 38
}

XLXSafeArray PCArraySample() {
    return ArrayOf(LONG{2}, LONG{1}, LONG{2}, NewObject().Get(), Values(Text(OLESTR("nodes")), Text(OLESTR("Pump"))),
                   NewObject().Get(), Values());
}

// Pages with one record, groups of no elements, no editors, attributes of no elements.
XLXSafeArray TypeComponentsSample() {
    return ArrayOf(LONG{4}, LONG{4}, ULONG{1}, ULONG{1}, ULONG{0}, LONG{4}, LONG{1}, NewObject().Get(),
                   Values(XLXComVariant::FromI4(3)), LONG{0}, ULONG{1}, LONG{0});
}

XLXSafeArray RecordListSample() {
    return ArrayOf(LONG{2}, NewObject().Get(), Values(Text(OLESTR("Main"))), static_cast<IUnknown*>(nullptr), Values());
}

void PutValues(XArrayWriter& writer, int count) {
    for (int i = 0; i < count; ++i) {
        writer.Put(i % 2 == 0 ? XLXComVariant::FromI4(i) : XLXComVariant());
    }
}

// The attribute "Power" with one attribute type, and an attribute without.
XLXSafeArray AttributeListSample() {
    XArrayWriter writer;
    writer.Put(NewObject().Get(), OLESTR("Power")); // 0
    PutValues(writer, 59);
    writer.Put(LONG{1}); // 61
    PutValues(writer, 7);
    writer.Put(NewObject().Get()); // 69
    writer.Put(NewObject().Get()); // 70
    PutValues(writer, 60);
    writer.Put(LONG{0}); // 131
    return writer.Finish();
}
/// By kind.
constexpr struct {
    const char* name;
    XLXSafeArray (*sample)();
    XLXSafeArray (*readAndWrite)(XLXSafeArray array);
} Kinds[] = {
    {"TypeArray", TypeArraySample,
     [](XLXSafeArray array) { return GetArrayFromMap(GetMapFromArray(std::move(array))); }},
    {"PCArray", PCArraySample, [](XLXSafeArray array) { return GetArrayFromVec(GetVecFromArray(std::move(array))); }},
    {"TypeComponents", TypeComponentsSample,
     [](XLXSafeArray array) { return GetArrayFromWrapper(GetWrapperFromArray(std::move(array))); }},
    {"RecordList", RecordListSample,
     [](XLXSafeArray array) { return GetArrayFromSingleTypedVec(GetSingleTypedVecFromArray(std::move(array))); }},
    {"AttributeList", AttributeListSample,
     [](XLXSafeArray array) { return GetArrayFromAttributeList(ReadAttributeList(std::move(array))); }},
};
const auto& Of(EKind kind) { return Kinds[static_cast<std::size_t>(kind)]; }
} // namespace

XLXComPtr<IUnknown> NewObject() { return {new XCountedObject}; }

std::ostream& operator<<(std::ostream& out, EKind kind) { return out << Of(kind).name; }

XLXSafeArray Sample(EKind kind) { return Of(kind).sample(); }

XLXSafeArray ReadAndWrite(EKind kind, XLXSafeArray array) { return Of(kind).readAndWrite(std::move(array)); }

std::string Describe(const VARIANT& element) {
    switch (V_VT(&element)) {
    case VT_EMPTY: return "EMPTY";
    case VT_I4: return "I4 " + std::to_string(V_I4(&element));
    case VT_UI4: return "UI4 " + std::to_string(V_UI4(&element));
    case VT_BOOL: return V_BOOL(&element) == VARIANT_TRUE ? "BOOL true" : "BOOL " + std::to_string(V_BOOL(&element));
    case VT_BSTR: return "BSTR " + LXNarrow(LXBstrView(V_BSTR(&element)));
    case VT_UNKNOWN: return V_UNKNOWN(&element) != nullptr ? "UNKNOWN" : "UNKNOWN null";
    default: return "type " + std::to_string(V_VT(&element));
    }
}

std::vector<std::string> Describe(const XLXSafeArray& array) {
    std::vector<std::string> elements;
    for (ULONG i = 0; i < CountOf(array); ++i) {
        elements.push_back(Describe(ElementOf(array, i)));
    }
    return elements;
}

XLXSafeArray Cut(const XLXSafeArray& array, ULONG count, LONG lowerBound) {
    SAFEARRAYBOUND bound = {count, lowerBound};
    XLXSafeArray cut(SafeArrayCreate(VT_VARIANT, 1, &bound));
    for (ULONG i = 0; i < std::min(count, CountOf(array)); ++i) {
        VariantCopy(&ElementOf(cut, i), &ElementOf(array, i));
    }
    return cut;
}

ULONG CountOf(const XLXSafeArray& array) { return array.Get()->rgsabound[0].cElements; }

VARIANT& ElementOf(const XLXSafeArray& array, ULONG index) { return static_cast<VARIANT*>(array.Get()->pvData)[index]; }

void Spoil(const XLXSafeArray& array, ULONG index, VARTYPE type) {
    VariantClear(&ElementOf(array, index));
    ElementOf(array, index) = VARIANT{};
    V_VT(&ElementOf(array, index)) = type;
}

std::ostream& operator<<(std::ostream& out, const Raised& raised) {
    return out << std::hex << static_cast<ULONG>(raised.code) << std::dec << " \"" << raised.text << "\" in "
               << raised.method;
}

Raised Read(EKind kind, XLXSafeArray array) {
    try {
        const XLXSafeArray written = ReadAndWrite(kind, std::move(array));
        return {};
    } catch (const XLXException& error) {
        EXPECT_STREQ(error.Location().source, "XCFCDataTransfer");
        EXPECT_STREQ(error.Location().scope, "XLXCFCDataTransfer");
        return {error.Code(), LXNarrow(error.Message()), error.Location().method};
    }
}
