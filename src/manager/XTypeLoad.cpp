// SPDX-License-Identifier: MIT
#include "XTypeLoad.h"

namespace
{
constexpr std::size_t MemberBaseTypeName = 2;
using NameOf = std::map<ULONG, XLXTextView>;

// The base is named by a property value; a record without that value may still give the base's index.
void ReadBase(XTypeLoad& load, const XLXCFCDataTransfer::XILXTypeData& record, const NameOf& nameOf)
{
    const XVariantRow& values = record.config.values;
    if (values.size() > MemberBaseTypeName && !values[MemberBaseTypeName].Empty())
    {
        load.baseName = values[MemberBaseTypeName].AsText().value_or(XLXText());
    }
    if (record.baseIndex >= 0)
    {
        const auto base = nameOf.find(static_cast<ULONG>(record.baseIndex));
        load.baseIndexMissing = base == nameOf.end();
        if (base != nameOf.end() && load.baseName.empty())
        {
            load.baseName = base->second;
        }
    }
}
} // namespace

std::vector<XTypeLoad> LXDecodeTypes(XLXSafeArray array, LONG mode)
{
    auto types = XLXCFCDataTransfer::GetMapFromArray(std::move(array));
    NameOf nameOf;
    for (const auto& [name, index] : types.names)
    {
        nameOf.try_emplace(index, name);
    }
    std::vector<XTypeLoad> loads;
    for (auto& [index, record] : types.records)
    {
        const auto name = nameOf.find(index);
        if (name == nameOf.end())
        {
            XLXError::WriteErrorToLogBook(E_FAIL, XLXError::SeverityError,
                                          OLESTR("new added type referenced by name not found in type cache"),
                                          LXManagerAt("CreateTypeCache"));
            continue;
        }
        XTypeLoad load;
        load.name = name->second;
        ReadBase(load, record, nameOf);
        load.server = std::move(record.config.object);
        load.values = std::move(record.config.values);
        load.components = std::move(record.components);
        load.mode = mode;
        load.listed = record.listed;
        load.searchable = record.searchable;
        loads.push_back(std::move(load));
    }
    return loads;
}
