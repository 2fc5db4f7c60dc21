// SPDX-License-Identifier: MIT
#include "XCFCDataTransfer.h"

namespace XLXCFCDataTransfer
{
namespace
{
constexpr ULONG HeaderCount = 2;
constexpr ULONG AttributeTypeCount = AttributeTypeValueCount + 1;
constexpr ULONG LeastAttributeCount =
    AttributeValueCount + 2; // its object and the count of its attribute types

// The count of a map's section. Each entry takes elements, so that a count beyond what remains is known to be
// wrong before the first of them is read.
ULONG MapCountFromSafeArray(XArrayReader& from, const char* method)
{
    const ULONG count = FromSafeArray<ULONG>(from);
    from.CheckRemaining(count, method);
    return count;
}

XILXConfigData AttributeTypeFromSafeArray(XArrayReader& from)
{
    XILXConfigData type;
    type.values = from.Values(AttributeTypeValueCount);
    FromSafeArray(from, type.object);
    return type;
}
} // namespace

void FromSafeArray(XArrayReader& from, XILXConfigData& value)
{
    FromSafeArray(from, value.object);
    value.values = from.Values(VecCountFromSafeArray(from));
}

// Three flags stand together in front of their arrays, the fourth right before its own.
void FromSafeArray(XArrayReader& from, XILXTypeComp& value)
{
    const auto read = [&from](ULONG present, XLXSafeArray& list) {
        if (present != 0)
        {
            list = SafeArrayFromSafeArray(from);
        }
    };
    const auto pages = FromSafeArray<ULONG>(from);
    const auto groups = FromSafeArray<ULONG>(from);
    const auto editors = FromSafeArray<ULONG>(from);
    read(pages, value.pages);
    read(groups, value.groups);
    read(editors, value.editors);
    read(FromSafeArray<ULONG>(from), value.attributes);
}

void FromSafeArray(XArrayReader& from, XILXTypeData& value)
{
    FromSafeArray(from, value.config);
    FromSafeArray(from, value.components);
    if (from.Algorithm() == EMappingAlgorithm::Map)
    {
        FromSafeArray(from, value.baseIndex);
    }
    else
    {
        FromSafeArray(from, value.baseName);
    }
    FromSafeArray(from, value.listed);
    FromSafeArray(from, value.searchable);
}

void FromSafeArray(XArrayReader& from, XILXAttributeData& value)
{
    // The record after the next one begins about here; its object and its count come from there.
    from.Prefetch(2 * LeastAttributeCount);
    from.Prefetch(3 * LeastAttributeCount - 1);
    FromSafeArray(from, value.object);
    value.values = from.Values(AttributeValueCount);
    const ULONG types = VecCountFromSafeArray(from);
    if (types > from.Remaining() / AttributeTypeCount)
    {
        XArrayReader::RaiseSize("ReadAttributeList");
    }
    value.types.reserve(types);
    for (ULONG i = 0; i < types; ++i)
    {
        value.types.push_back(AttributeTypeFromSafeArray(from));
    }
}

XILXTypeMap GetMapFromArray(XLXSafeArray array)
{
    constexpr const char* method = "GetMapFromArray";
    XArrayReader from(std::move(array), HeaderCount, method);
    from.ReadHeader(EMappingAlgorithm::Map, EWrapperId::TypeData, method);
    const ULONG names = MapCountFromSafeArray(from, method);
    const ULONG records = MapCountFromSafeArray(from, method);
    XILXTypeMap types;
    for (ULONG i = 0; i < names; ++i)
    {
        auto name = FromSafeArray<XLXText>(from);
        types.names.insert_or_assign(types.names.end(), std::move(name), FromSafeArray<ULONG>(from));
    }
    for (ULONG i = 0; i < records; ++i)
    {
        const auto index = FromSafeArray<ULONG>(from);
        types.records.insert_or_assign(types.records.end(), index, FromSafeArray<XILXTypeData>(from));
    }
    from.Finish();
    return types;
}

std::vector<XILXPCData> GetVecFromArray(XLXSafeArray array)
{
    constexpr const char* method = "GetVecFromArray";
    XArrayReader from(std::move(array), HeaderCount, method);
    from.ReadHeader(EMappingAlgorithm::Vector, EWrapperId::PCData, method);
    auto relations = VecFromSafeArray<XILXPCData>(from);
    from.Finish();
    return relations;
}

XILXTypeComp GetWrapperFromArray(XLXSafeArray array)
{
    constexpr const char* method = "GetWrapperFromArray";
    XArrayReader from(std::move(array), HeaderCount, method);
    from.ReadHeader(EMappingAlgorithm::Single, EWrapperId::TypeComp, method);
    auto components = FromSafeArray<XILXTypeComp>(from);
    from.Finish();
    return components;
}

std::vector<XILXConfigData> GetSingleTypedVecFromArray(XLXSafeArray array)
{
    XArrayReader from(std::move(array), 1, "GetSingleTypedVecFromArray", EValues::InPlace);
    return VecFromSafeArray<XILXConfigData>(from);
}

std::vector<XILXAttributeData> ReadAttributeList(XLXSafeArray array)
{
    XArrayReader from(std::move(array), 0, "ReadAttributeList", EValues::InPlace);
    std::vector<XILXAttributeData> attributes;
    attributes.reserve(from.Remaining() / LeastAttributeCount);
    while (from.Remaining() != 0)
    {
        FromSafeArray(from, attributes.emplace_back());
    }
    return attributes;
}
} // namespace XLXCFCDataTransfer
