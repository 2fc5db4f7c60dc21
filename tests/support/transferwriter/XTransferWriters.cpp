// SPDX-License-Identifier: MIT
#include "XTransferWriters.h"
#include "XArrayReader.h"

namespace XLXCFCDataTransfer {
void XArrayWriter::AddValues(XVariantRow& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        XLXComVariant value;
        values.Exchange(i, value);
        Add(std::move(value));
    }
}

void XArrayWriter::Add(XVariantRow values) {
    Put(static_cast<LONG>(values.size()));
    AddValues(values);
}

void XArrayWriter::Add(XLXSafeArray list) {
    XArrayReader from(std::move(list), 0, "Add", {"list to be written", {}});
    Put(static_cast<LONG>(from.Remaining()));
    for (XLXComVariant& value : from.Next(from.Remaining(), "Add")) {
        Add(std::move(value));
    }
}

void XArrayWriter::Add(XILXTypeComp record) {
    const auto put = [this](XLXSafeArray& list) {
        if (list) { Put(std::move(list)); }
    };
    const auto present = [](const XLXSafeArray& list) { return ULONG{list ? 1U : 0U}; };
    Put(present(record.pages), present(record.groups), present(record.editors));
    put(record.pages);
    put(record.groups);
    put(record.editors);
    Put(present(record.attributes));
    put(record.attributes);
}

void XArrayWriter::Add(XILXTypeData record) {
    Put(std::move(record.config), std::move(record.components), record.baseIndex, record.listed, record.searchable);
}

void XArrayWriter::Add(XILXAttributeData record) {
    Put(record.object.Get());
    AddValues(record.values);
    Put(static_cast<LONG>(record.types.size()));
    for (XILXConfigData& type : record.types) {
        AddValues(type.values);
        Put(type.object.Get());
    }
}

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
    return XArrayWriter(EMappingAlgorithm::Vector, EWrapperId::PCData).PutAll(std::move(relations)).Finish();
}

XLXSafeArray GetArrayFromWrapper(XILXTypeComp components) {
    return XArrayWriter(EMappingAlgorithm::Single, EWrapperId::TypeComp).Put(std::move(components)).Finish();
}

XLXSafeArray GetArrayFromSingleTypedVec(std::vector<XILXConfigData> records) {
    return XArrayWriter().PutAll(std::move(records)).Finish();
}

XLXSafeArray GetArrayFromAttributeList(std::vector<XILXAttributeData> attributes) {
    XArrayWriter to;
    for (XILXAttributeData& attribute : attributes) {
        to.Put(std::move(attribute));
    }
    return to.Finish();
}
} // namespace XLXCFCDataTransfer
