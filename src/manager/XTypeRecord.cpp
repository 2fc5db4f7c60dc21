// SPDX-License-Identifier: MIT
#include "XTypeRecord.h"

namespace {
using NameOf = std::map<ULONG, XLXTextView>;

// The base's name is a property value. A record without that value may give the base's record index instead. An index
// that was resolved is reset, so that IsBaseMissing reports only unresolved ones.
void ReadBase(XTypeRecord& record, const NameOf& nameOf) {
    const XLXVariantView name = record.config.values[XTypeRecord::MemberBaseTypeName];
    if (!name.Empty()) { record.baseName = name.AsText().value_or(XLXText()); }
    const auto base = nameOf.find(static_cast<ULONG>(record.baseIndex));
    if (record.baseIndex < 0 || base != nameOf.end()) {
        if (record.baseIndex >= 0 && record.baseName.empty()) { record.baseName = base->second; }
        record.baseIndex = XLXCFCDataTransfer::NoBaseIndex;
    }
}
} // namespace

std::optional<XTypeRecords> LXAskForTypes(const char* method, LONG mode, const OLECHAR* failureText,
                                          const LXErrorLocation& at, const std::function<HRESULT(SAFEARRAY**)>& ask) {
    XLXSafeArray array;
    const HRESULT result = LXAsk(method, array, LXNoResult::Nothing, {}, at, ask);
    XLXError::RaiseIfFailed(result, failureText, at);
    if (result != S_OK) { return std::nullopt; }
    auto types = XLXCFCDataTransfer::GetMapFromArray(std::move(array));
    NameOf nameOf;
    for (const auto& [name, index] : types.names) {
        nameOf.try_emplace(index, name);
    }
    XTypeRecords records;
    for (auto& [index, data] : types.records) {
        const auto name = nameOf.find(index);
        if (name == nameOf.end()) {
            XLXError::WriteErrorToLogBook(E_FAIL, XLXError::SeverityError,
                                          OLESTR("new added type referenced by name not found in type cache"),
                                          LXManagerAt("CreateTypeCache"));
            continue;
        }
        records.push_back({std::move(data), XLXText(name->second), mode, {}, {}});
        ReadBase(records.back(), nameOf);
    }
    return records;
}
