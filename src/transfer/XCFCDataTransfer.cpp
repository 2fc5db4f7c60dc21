// SPDX-License-Identifier: MIT
#include "XCFCDataTransfer.h"

namespace XLXCFCDataTransfer {
namespace {
constexpr ULONG HeaderCount = 2;
constexpr ULONG AttributeTypeCount = AttributeTypeValueCount + 1;
constexpr ULONG LeastAttributeCount = AttributeValueCount + 2; // its object and the count of its attribute types

// The count of a map's section. Each entry takes elements, so that a count beyond what remains is known to be wrong
// before the first of them is read.
ULONG MapCountFromSafeArray(XArrayReader& from, const char* method) {
    const ULONG count = FromSafeArray<ULONG>(from);
    from.CheckRemaining(count, method);
    return count;
}

XILXConfigData AttributeTypeFromSafeArray(XArrayReader& from) {
    XILXConfigData type;
    type.values = from.Values(AttributeTypeValueCount);
    FromSafeArray(from, type.object);
    return type;
}

XArraySubject Nothing() noexcept { return {}; }

/// The name of a record, among those that were read.
XLXTextView NameOf(const XILXTypeMap& types, const std::optional<ULONG>& record) noexcept {
    const auto found = std::find_if(types.names.begin(), types.names.end(),
                                    [&record](const auto& entry) { return entry.second == record; });
    return found != types.names.end() ? XLXTextView(found->first) : XLXTextView();
}

/// The name of the attribute whose record was begun last, when it has been read so far.
XLXTextView NameOfLast(const std::vector<XILXAttributeData>& attributes) noexcept {
    if (attributes.empty() || attributes.back().values.size() == 0) { return {}; }
    const VARIANT& name = attributes.back().values[0].Get();
    return V_VT(&name) == VT_BSTR ? LXBstrView(V_BSTR(&name)) : XLXTextView();
}

void ReadNames(XArrayReader& from, ULONG count, XILXTypeMap& types) {
    from.Enter("names");
    for (ULONG i = 0; i < count; ++i) {
        auto name = FromSafeArray<XLXText>(from);
        types.names.insert_or_assign(types.names.end(), std::move(name), FromSafeArray<ULONG>(from));
    }
}

/// @param current  the record that is being read
void ReadTypes(XArrayReader& from, ULONG count, XILXTypeMap& types, std::optional<ULONG>& current) {
    for (ULONG i = 0; i < count; ++i) {
        current.reset();
        from.Enter("types");
        current = FromSafeArray<ULONG>(from);
        types.records.insert_or_assign(types.records.end(), *current, FromSafeArray<XILXTypeData>(from));
    }
}
} // namespace

void FromSafeArray(XArrayReader& from, XILXConfigData& value) {
    FromSafeArray(from, value.object);
    value.values = from.Values(VecCountFromSafeArray(from));
}

// Three flags stand together in front of their arrays, the fourth right before its own.
void FromSafeArray(XArrayReader& from, XILXTypeComp& value) {
    const auto read = [&from](const char* section, ULONG present, XLXSafeArray& list) {
        if (present != 0) {
            from.Enter(section);
            list = SafeArrayFromSafeArray(from);
        }
    };
    from.Enter("component flags");
    const auto pages = FromSafeArray<ULONG>(from);
    const auto groups = FromSafeArray<ULONG>(from);
    const auto editors = FromSafeArray<ULONG>(from);
    read("pages", pages, value.pages);
    read("groups", groups, value.groups);
    read("editors", editors, value.editors);
    from.Enter("component flags");
    read("attributes", FromSafeArray<ULONG>(from), value.attributes);
}

void FromSafeArray(XArrayReader& from, XILXTypeData& value) {
    FromSafeArray(from, value.config);
    FromSafeArray(from, value.components);
    from.Enter("types");
    if (from.Algorithm() == EMappingAlgorithm::Map) {
        FromSafeArray(from, value.baseIndex);
    } else {
        FromSafeArray(from, value.baseName);
    }
    FromSafeArray(from, value.listed);
    FromSafeArray(from, value.searchable);
}

void FromSafeArray(XArrayReader& from, XILXAttributeData& value) {
    // The record after the next one begins about here; its object and its count come from there.
    from.Prefetch(2 * LeastAttributeCount);
    from.Prefetch(3 * LeastAttributeCount - 1);
    from.Enter("attributes");
    FromSafeArray(from, value.object);
    value.values = from.Values(AttributeValueCount);
    from.Enter("attribute types");
    const ULONG types = VecCountFromSafeArray(from);
    if (types > from.Remaining() / AttributeTypeCount) { XArrayReader::RaiseSize("ReadAttributeList"); }
    value.types.reserve(types);
    for (ULONG i = 0; i < types; ++i) {
        value.types.push_back(AttributeTypeFromSafeArray(from));
    }
}

XILXTypeMap GetMapFromArray(XLXSafeArray array) {
    constexpr const char* method = "GetMapFromArray";
    XArrayReader from(std::move(array), HeaderCount, method);
    XILXTypeMap types;
    std::optional<ULONG> current;
    from.Reading(
        [&] {
            from.ReadHeader(EMappingAlgorithm::Map, EWrapperId::TypeData, method);
            from.Enter("counts");
            const ULONG names = MapCountFromSafeArray(from, method);
            const ULONG records = MapCountFromSafeArray(from, method);
            ReadNames(from, names, types);
            ReadTypes(from, records, types, current);
        },
        [&] {
            return XArraySubject{NameOf(types, current), {}};
        });
    from.Finish();
    return types;
}

std::vector<XILXPCData> GetVecFromArray(XLXSafeArray array) {
    constexpr const char* method = "GetVecFromArray";
    XArrayReader from(std::move(array), HeaderCount, method);
    std::vector<XILXPCData> relations;
    from.Reading(
        [&] {
            from.ReadHeader(EMappingAlgorithm::Vector, EWrapperId::PCData, method);
            from.Enter("relations");
            relations = VecFromSafeArray<XILXPCData>(from);
        },
        Nothing);
    from.Finish();
    return relations;
}

XILXTypeComp GetWrapperFromArray(XLXSafeArray array, XLXTextView type) {
    constexpr const char* method = "GetWrapperFromArray";
    XArrayReader from(std::move(array), HeaderCount, method, EValues::Moved, {.type = type});
    XILXTypeComp components;
    from.Reading(
        [&] {
            from.ReadHeader(EMappingAlgorithm::Single, EWrapperId::TypeComp, method);
            FromSafeArray(from, components);
        },
        Nothing);
    from.Finish();
    return components;
}

std::vector<XILXConfigData> GetSingleTypedVecFromArray(XLXSafeArray array, const XArrayOrigin& origin) {
    XArrayReader from(std::move(array), 1, "GetSingleTypedVecFromArray", EValues::InPlace, origin);
    std::vector<XILXConfigData> records;
    from.Reading([&] { records = VecFromSafeArray<XILXConfigData>(from); }, Nothing);
    return records;
}

std::vector<XILXAttributeData> ReadAttributeList(XLXSafeArray array, XLXTextView type) {
    XArrayReader from(std::move(array), 0, "ReadAttributeList", EValues::InPlace, {"attributes", type});
    std::vector<XILXAttributeData> attributes;
    from.Reading(
        [&] {
            attributes.reserve(from.Remaining() / LeastAttributeCount);
            while (from.Remaining() != 0) {
                FromSafeArray(from, attributes.emplace_back());
            }
        },
        [&] {
            return XArraySubject{{}, NameOfLast(attributes)};
        });
    return attributes;
}
} // namespace XLXCFCDataTransfer
