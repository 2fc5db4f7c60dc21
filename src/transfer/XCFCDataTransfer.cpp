// SPDX-License-Identifier: MIT
#include "XCFCDataTransfer.h"

namespace XLXCFCDataTransfer {
namespace {
constexpr ULONG HeaderCount = 2;
constexpr ULONG AttributeTypeCount = AttributeTypeValueCount + 1;
constexpr ULONG LeastAttributeCount = AttributeValueCount + 2; // with the object and the count of attribute types

// Reads the count of a map's section. Each entry takes at least one element, so a count greater than the number of
// remaining elements is refused at once.
ULONG MapCountFromSafeArray(XArrayReader& from) {
    const auto count = FromSafeArray<ULONG>(from);
    from.CheckRemaining(count, "GetMapFromArray");
    return count;
}

/// The name of the record with this index; empty if the names read so far do not contain it.
XLXTextView NameOf(const XILXTypeMap& types, const std::optional<ULONG>& record) noexcept {
    const auto found = std::find_if(types.names.begin(), types.names.end(),
                                    [&record](const auto& entry) { return entry.second == record; });
    return found != types.names.end() ? XLXTextView(found->first) : XLXTextView();
}

/// The name of the attribute whose record was being read; empty if its values had not been read yet.
XLXTextView NameOfLast(const std::vector<XILXAttributeData>& attributes) noexcept {
    if (attributes.empty()) { return {}; }
    const XLXVariantView name = attributes.back().values[0];
    return name.Type() == VT_BSTR ? LXBstrView(V_BSTR(&name.Get())) : XLXTextView();
}

void Read(XArrayReader& from, XILXConfigData& value) {
    FromSafeArray(from, value.object);
    value.values = from.Values(VecCountFromSafeArray(from));
}

// The first three flags precede all three arrays; the fourth precedes its own array.
void Read(XArrayReader& from, XILXTypeComp& value) {
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

void Read(XArrayReader& from, XILXTypeData& value) {
    Read(from, value.config);
    Read(from, value.components);
    from.Enter("types");
    FromSafeArray(from, value.baseIndex);
    FromSafeArray(from, value.listed);
    FromSafeArray(from, value.searchable);
}

void Read(XArrayReader& from, XILXAttributeData& value) {
    // Prefetches the object and the type count of the record after the next one. The distance is exact if the two
    // records before it have no attribute types.
    from.Prefetch(2 * LeastAttributeCount);
    from.Prefetch(3 * LeastAttributeCount - 1);
    from.Enter("attributes");
    FromSafeArray(from, value.object);
    value.values = from.Values(AttributeValueCount);
    from.Enter("attribute types");
    const ULONG types = VecCountFromSafeArray(from);
    if (types > from.Remaining() / AttributeTypeCount) { XArrayReader::RaiseSize("ReadAttributeList"); }
    value.types.resize(types);
    for (XILXConfigData& type : value.types) {
        type.values = from.Values(AttributeTypeValueCount);
        FromSafeArray(from, type.object);
    }
}

/// Reads a vector: a count, and that many records.
template <class Record> void Read(XArrayReader& from, std::vector<Record>& records) {
    const ULONG count = VecCountFromSafeArray(from);
    for (ULONG i = 0; i < count; ++i) {
        Read(from, records.emplace_back()); // no reserve: the count may be far too large for the remaining elements
    }
}

/// @param current  the record that is being read
void Read(XArrayReader& from, XILXTypeMap& types, std::optional<ULONG>& current) {
    from.Enter("counts");
    const ULONG names = MapCountFromSafeArray(from);
    const ULONG records = MapCountFromSafeArray(from);
    from.Enter("names");
    for (ULONG i = 0; i < names; ++i) {
        auto name = FromSafeArray<XLXText>(from);
        types.names.insert_or_assign(types.names.end(), std::move(name), FromSafeArray<ULONG>(from));
    }
    for (ULONG i = 0; i < records; ++i) {
        current.reset();
        from.Enter("types");
        current = FromSafeArray<ULONG>(from);
        XILXTypeData record;
        Read(from, record);
        types.records.insert_or_assign(types.records.end(), *current, std::move(record));
    }
}

} // namespace

XILXTypeMap GetMapFromArray(XLXSafeArray array) {
    XArrayReader from(std::move(array), HeaderCount, "GetMapFromArray");
    XILXTypeMap types;
    std::optional<ULONG> current;
    from.Reading(
        [&] {
            from.ReadHeader(EMappingAlgorithm::Map, EWrapperId::TypeData);
            Read(from, types, current);
        },
        [&] {
            return XArraySubject{NameOf(types, current), {}};
        });
    return types;
}

std::vector<XILXPCData> GetVecFromArray(XLXSafeArray array) {
    XArrayReader from(std::move(array), HeaderCount, "GetVecFromArray");
    std::vector<XILXPCData> relations;
    from.Reading([&] {
        from.ReadHeader(EMappingAlgorithm::Vector, EWrapperId::PCData);
        from.Enter("relations");
        Read(from, relations);
    });
    return relations;
}

XILXTypeComp GetWrapperFromArray(XLXSafeArray array, XLXTextView type) {
    XArrayReader from(std::move(array), HeaderCount, "GetWrapperFromArray", {.type = type});
    XILXTypeComp components;
    from.Reading([&] {
        from.ReadHeader(EMappingAlgorithm::Single, EWrapperId::TypeComp);
        Read(from, components);
    });
    return components;
}

std::vector<XILXConfigData> GetSingleTypedVecFromArray(XLXSafeArray array, const XArrayOrigin& origin) {
    XArrayReader from(std::move(array), 1, "GetSingleTypedVecFromArray", origin);
    std::vector<XILXConfigData> records;
    from.Reading([&] { Read(from, records); });
    return records;
}

std::vector<XILXAttributeData> ReadAttributeList(XLXSafeArray array, XLXTextView type) {
    XArrayReader from(std::move(array), 0, "ReadAttributeList", {"attributes", type});
    std::vector<XILXAttributeData> attributes;
    from.Reading(
        [&] {
            attributes.reserve(from.Remaining() / LeastAttributeCount);
            while (from.Remaining() != 0) {
                Read(from, attributes.emplace_back());
            }
        },
        [&] {
            return XArraySubject{{}, NameOfLast(attributes)};
        });
    return attributes;
}
} // namespace XLXCFCDataTransfer
