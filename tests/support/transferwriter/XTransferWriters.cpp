// SPDX-License-Identifier: MIT
#include "XTransferWriters.h"

namespace XLXCFCDataTransfer {
namespace {
template <class Record> void VecToSafeArray(XArrayWriter& to, std::vector<Record>&& records) {
    to.Put(static_cast<LONG>(records.size()));
    for (Record& record : records) {
        to.Put(std::move(record));
    }
}
} // namespace

ULONG IndexOf(XILXTypeMap& types, XLXTextView name) {
    return types.names.try_emplace(XLXText(name), static_cast<ULONG>(types.names.size())).first->second;
}

XLXSafeArray GetArrayFromMap(XILXTypeMap types) {
    XArrayWriter to(EMappingAlgorithm::Map, EWrapperId::TypeData);
    to.Put(static_cast<ULONG>(types.names.size()), static_cast<ULONG>(types.records.size()));
    for (const auto& [name, index] : types.names) {
        to.Put(XLXTextView(name), index);
    }
    for (auto& [index, record] : types.records) {
        to.Put(index, std::move(record));
    }
    return to.Finish();
}

XLXSafeArray GetArrayFromVec(std::vector<XILXPCData> relations) {
    XArrayWriter to(EMappingAlgorithm::Vector, EWrapperId::PCData);
    VecToSafeArray(to, std::move(relations));
    return to.Finish();
}

XLXSafeArray GetArrayFromWrapper(XILXTypeComp components) {
    XArrayWriter to(EMappingAlgorithm::Single, EWrapperId::TypeComp);
    to.Put(std::move(components));
    return to.Finish();
}

XLXSafeArray GetArrayFromSingleTypedVec(std::vector<XILXConfigData> records) {
    XArrayWriter to;
    VecToSafeArray(to, std::move(records));
    return to.Finish();
}

XLXSafeArray GetArrayFromAttributeList(std::vector<XILXAttributeData> attributes) {
    XArrayWriter to;
    for (XILXAttributeData& attribute : attributes) {
        to.Put(std::move(attribute));
    }
    return to.Finish();
}
} // namespace XLXCFCDataTransfer
