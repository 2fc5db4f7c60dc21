// SPDX-License-Identifier: MIT
//
// The one file that calls the writers of the transfer format.
#include "XBulkData.h"

#include "XTransferWriters.h"

namespace Transfer = XLXCFCDataTransfer;

namespace {
void Move(XBulkRecord& from, Transfer::XILXConfigData& to) {
    to.object = std::move(from.object);
    to.values = std::move(from.values);
}

/// A record list; none for a kind that is not delivered.
XLXSafeArray WriteList(std::vector<XBulkRecord>& records) {
    if (records.empty()) { return {}; }
    std::vector<Transfer::XILXConfigData> list(records.size());
    for (size_t i = 0; i < records.size(); ++i) {
        Move(records[i], list[i]);
    }
    return Transfer::GetArrayFromSingleTypedVec(std::move(list));
}

XLXSafeArray WriteAttributes(std::vector<XBulkRecord>& records) {
    if (records.empty()) { return {}; }
    std::vector<Transfer::XILXAttributeData> list(records.size());
    for (size_t i = 0; i < records.size(); ++i) {
        list[i].object = std::move(records[i].object);
        list[i].values = std::move(records[i].values);
        for (XBulkRecord& type : records[i].types) {
            auto& written = list[i].types.emplace_back();
            written.object = std::move(type.object);
            written.values = std::move(type.values);
        }
    }
    return Transfer::GetArrayFromAttributeList(std::move(list));
}

Transfer::XILXTypeComp Components(XBulkComponents& components) {
    Transfer::XILXTypeComp record;
    record.pages = WriteList(components.pages);
    record.groups = WriteList(components.groups);
    record.editors = WriteList(components.editors);
    record.attributes = WriteAttributes(components.attributes);
    return record;
}
} // namespace

XLXSafeArray LXWriteComponents(XBulkComponents components) {
    return Transfer::GetArrayFromWrapper(Components(components));
}

XLXSafeArray LXWriteTypes(XBulkTypes types) {
    Transfer::XILXTypeMap map;
    map.names = std::move(types.names);
    for (XBulkType& type : types.records) {
        Transfer::XILXTypeData& record = map.records[type.index];
        Move(type.head, record.config);
        record.components = Components(type.components);
        record.baseIndex = type.baseIndex;
        record.listed = type.listed;
        record.searchable = type.searchable;
    }
    return Transfer::GetArrayFromMap(std::move(map));
}

XLXSafeArray LXWriteRelations(std::vector<XBulkRecord> relations) {
    std::vector<Transfer::XILXPCData> list(relations.size());
    for (size_t i = 0; i < relations.size(); ++i) {
        Move(relations[i], list[i]);
    }
    return Transfer::GetArrayFromVec(std::move(list));
}
