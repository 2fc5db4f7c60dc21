// SPDX-License-Identifier: MIT
#include "fuzztargets.h"
#include "XCFCDataTransfer.h"
#include "XTransferWriters.h"

#include <lxserver/Object.h>

using namespace XLXCFCDataTransfer;

namespace {
std::vector<VARTYPE> TypesOf(const XLXSafeArray& array) {
    std::vector<VARTYPE> types;
    if (array && array.Get()->cDims == 1 && (array.Get()->fFeatures & FADF_VARIANT) != 0) {
        const VARIANT* const elements = static_cast<const VARIANT*>(array.Get()->pvData);
        for (ULONG i = 0; i < array.Get()->rgsabound[0].cElements; ++i) {
            types.push_back(V_VT(&elements[i]));
        }
    }
    return types;
}

/// Runs a reader and returns whether it accepted the array.
template <class F> bool Takes(F&& read) {
    try {
        read();
        return true;
    } catch (const XLXException& error) {
        LXRequire(error.Code() == E_INVALIDARG || error.Code() == E_POINTER, "a refusal is E_INVALIDARG or E_POINTER");
        LXRequire(!error.Message().empty(), "a refusal has a message");
        LXRequire(error.Location().scope == std::string_view("XLXCFCDataTransfer"), "a refusal names the reader");
        return false;
    }
}

void ReadLists(XILXTypeComp components) {
    for (XLXSafeArray* const list : {&components.pages, &components.groups, &components.editors}) {
        if (*list) {
            Takes([list] { (void)GetSingleTypedVecFromArray(std::move(*list)); });
        }
    }
    if (components.attributes) {
        Takes([&] { (void)ReadAttributeList(std::move(components.attributes)); });
    }
}

/// Runs the body with the decoded array and its element types. All decoded objects must be released afterwards.
template <class F> bool WithArray(XBytes bytes, F&& body) {
    const long before = lx::liveObjects.load();
    const bool taken = Takes([&] {
        XLXSafeArray array = DecodeArray(bytes);
        const std::vector<VARTYPE> types = TypesOf(array);
        body(std::move(array), types);
    });
    LXRequire(lx::liveObjects.load() == before, "no object leaks");
    return taken;
}

/// Requires that an accepted array is written again with the same element types, except for elements after its content.
void RequirePrefix(const XLXSafeArray& written, const std::vector<VARTYPE>& read) {
    const std::vector<VARTYPE> types = TypesOf(written);
    LXRequire(types.size() <= read.size() && std::equal(types.begin(), types.end(), read.begin()),
              "an array is written as it was read");
}
} // namespace

bool FuzzTypeArray(XBytes bytes) {
    return WithArray(bytes, [](XLXSafeArray array, const std::vector<VARTYPE>& read) {
        XLXSafeArray written = GetArrayFromMap(GetMapFromArray(std::move(array)));
        const std::vector<VARTYPE> types = TypesOf(written);
        LXRequire(types.size() <= read.size(), "no element is read twice"); // entries with the same key become one
        XILXTypeMap again;
        LXRequire(Takes([&] { again = GetMapFromArray(std::move(written)); }), "what is written can be read");
        for (auto& [index, record] : again.records) {
            ReadLists(std::move(record.components));
        }
        again.records.clear();
    });
}

bool FuzzAttributeList(XBytes bytes) {
    return WithArray(bytes, [](XLXSafeArray array, const std::vector<VARTYPE>& read) {
        const XLXSafeArray written = GetArrayFromAttributeList(ReadAttributeList(std::move(array)));
        LXRequire(TypesOf(written) == read, "an attribute list is written as it was read");
    });
}

bool FuzzTypeComponents(XBytes bytes) {
    return WithArray(bytes, [](XLXSafeArray array, const std::vector<VARTYPE>& read) {
        XLXSafeArray written = GetArrayFromWrapper(GetWrapperFromArray(std::move(array)));
        RequirePrefix(written, read);
        ReadLists(GetWrapperFromArray(std::move(written)));
    });
}

bool FuzzRecordList(XBytes bytes) {
    const bool list = WithArray(bytes, [](XLXSafeArray array, const std::vector<VARTYPE>& read) {
        RequirePrefix(GetArrayFromSingleTypedVec(GetSingleTypedVecFromArray(std::move(array))), read);
    });
    const bool relations = WithArray(bytes, [](XLXSafeArray array, const std::vector<VARTYPE>& read) {
        RequirePrefix(GetArrayFromVec(GetVecFromArray(std::move(array))), read);
    });
    return list || relations;
}
