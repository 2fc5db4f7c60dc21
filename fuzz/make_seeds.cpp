// SPDX-License-Identifier: MIT
//
// Writes the seed corpus: valid arrays of every kind, and invalid variants of them.
#include "XCFCDataTransfer.h"
#include "XTransferWriters.h"
#include "arraycode.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

using namespace XLXCFCDataTransfer;
using Bytes = std::vector<std::uint8_t>;

namespace {
std::filesystem::path g_folder;

void WriteSeed(const std::string& name, const Bytes& bytes) {
    std::ofstream file(g_folder / (name + ".bin"), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) { throw std::runtime_error("cannot write " + name); }
}

/// An object of the decoder.
XLXComPtr<IUnknown> Object() {
    constexpr std::uint8_t oneObject[] = {0, 6};
    auto values = std::vector<XLXComPtr<IUnknown>>(1);
    XArrayReader reader(DecodeArray(oneObject), 1, "Object");
    FromSafeArray(reader, values[0]);
    return values[0];
}

XLXVariantVector Values(int count) {
    XLXVariantVector values(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < values.size(); i += 3) {
        values[i] = i % 2 == 0 ? XLXComVariant::FromBstr(OLESTR("ab")) : XLXComVariant::FromI4(static_cast<LONG>(i));
    }
    return values;
}

XLXSafeArray RecordList(int records) {
    std::vector<XILXConfigData> list;
    for (int i = 0; i < records; ++i) {
        list.push_back({Object(), Values(i + 1)});
    }
    return GetArrayFromSingleTypedVec(std::move(list));
}

XLXSafeArray AttributeList(int attributes, int types) {
    std::vector<XILXAttributeData> list(static_cast<std::size_t>(attributes));
    for (XILXAttributeData& attribute : list) {
        attribute.object = Object();
        attribute.values = Values(60);
        for (int i = 0; i < types; ++i) {
            attribute.types.push_back({Object(), Values(7)});
        }
    }
    return GetArrayFromAttributeList(std::move(list));
}

XILXTypeComp Components(int records) {
    XILXTypeComp components;
    components.pages = RecordList(records);
    components.editors = RecordList(records + 1);
    components.attributes = AttributeList(records, records);
    return components;
}

XLXSafeArray TypeArray(int count) {
    XILXTypeMap types;
    for (int i = 0; i < count; ++i) {
        const XLXText name = OLESTR("T") + XLXText(1, static_cast<OLECHAR>('0' + i));
        XILXTypeData& record = types.records[IndexOf(types, name)];
        record.config = {Object(), Values(4)};
        record.components = i % 2 == 1 ? Components(1) : XILXTypeComp();
        record.baseIndex = i - 1;
        record.listed = true;
    }
    IndexOf(types, OLESTR("Base"));
    return GetArrayFromMap(std::move(types));
}

XLXSafeArray Relations(int count) {
    std::vector<XILXPCData> relations;
    for (int i = 0; i < count; ++i) {
        relations.push_back({{Object(), Values(i)}});
    }
    return GetArrayFromVec(std::move(relations));
}

/// Writes a seed that its reader accepts, and copies with other containers.
void Take(const std::string& name, const XLXSafeArray& array) {
    Bytes bytes = EncodeArray(array);
    WriteSeed("ok_" + name, bytes);
    bytes[0] = static_cast<std::uint8_t>(EContainer::LowerBoundNegative);
    WriteSeed("ok_" + name + "_from_minus_5", bytes);
    bytes[0] = static_cast<std::uint8_t>(EContainer::TwoDimensions);
    WriteSeed("bad_" + name + "_two_dimensions", bytes);
}

/// Writes a seed without its last element, and one with a replaced byte.
void Spoil(const std::string& name, XLXSafeArray array, std::size_t at, std::uint8_t byte) {
    Bytes bytes = EncodeArray(array);
    bytes.at(at) = byte;
    WriteSeed("bad_" + name + "_spoiled", bytes);
    XArrayReader elements(std::move(array), 1, "Spoil");
    XArrayWriter cut;
    for (XLXComVariant& value : elements.Next(elements.Remaining() - 1, "Spoil")) {
        cut.Add(std::move(value));
    }
    WriteSeed("bad_" + name + "_cut", EncodeArray(cut.Finish()));
}

/// Writes the seeds for the whole cache, which are plain bytes.
void WriteCacheSeeds(const std::filesystem::path& root) {
    const auto enter = [&](const char* target) {
        g_folder = root / target;
        std::filesystem::create_directories(g_folder);
    };
    enter("fuzz_data_id");
    for (std::uint8_t receiver = 0; receiver < 8; ++receiver) {
        const std::string name = std::to_string(receiver);
        WriteSeed("ok_objects_" + name, {receiver, 0, 0, 0, 4, 12, 4, 6, 4, 9});
        WriteSeed("ok_properties_" + name, {receiver, 1, 1, 1, 4, 12, 4, 8, 4, 10});
    }
    WriteSeed("ok_no_fields", {0, 0, 0, 2});
    WriteSeed("bad_nothing", {0, 2});
    WriteSeed("bad_forwarded", {0, 0, 3, 19, 0, 5, 11});
    WriteSeed("bad_surrogate", {1, 0, 4, 0xFF, 0xD8, 0x01, 4, 4, 4});
    enter("fuzz_property_names");
    for (std::uint8_t kind = 0; kind < 9; ++kind) {
        constexpr std::uint8_t ofKind[] = {1, 0, 3, 9, 4, 5, 7, 8, 6};
        const std::string name = std::to_string(kind);
        const std::uint8_t element = static_cast<std::uint8_t>(kind + 2);
        if (ofKind[kind] != 0) { WriteSeed("ok_kind_" + name, {element, ofKind[kind]}); }
        WriteSeed("bad_kind_" + name, {element, ofKind[kind], 4});
    }
    enter("fuzz_operations");
    for (std::uint8_t kind = 0; kind < 22; ++kind) // one query of each kind, with edits around it
    {
        const std::string name = std::to_string(kind);
        WriteSeed("ok_question_" + name, {15, 9, kind, 2, 3, 2, 4, 9, kind, 2, 3, 2, 40});
        WriteSeed("ok_edited_" + name,
                  {0,    9, kind, 2, 0, 2, 4,    0, 0, 2, 3, 1, 2, 9, kind, 2, 0, 2, 4, 1, 1,    2, 4, 0, 2, 9,
                   kind, 2, 0,    2, 4, 2, kind, 2, 3, 2, 4, 0, 0, 0, 0,    1, 0, 6, 7, 9, kind, 2, 0, 2, 4});
    }
    WriteSeed("ok_held", {7, 5, 2, 4, 0, 2, 1, 2, 4, 0, 0, 1, 2, 4, 1, 1, 2, 5, 1, 6, 3, 2});
    WriteSeed("bad_nothing", {});
}

void WriteAll(const std::filesystem::path& root) {
    WriteCacheSeeds(root);
    const auto enter = [&](const char* target) {
        g_folder = root / target;
        std::filesystem::create_directories(g_folder);
        WriteSeed("bad_texts", {static_cast<std::uint8_t>(EContainer::Texts), 0x11, 0x11});
        WriteSeed("bad_no_array", {static_cast<std::uint8_t>(EContainer::NoArray)});
    };
    constexpr std::uint8_t huge = 0xF2; // the following bytes become a count
    enter("fuzz_type_array");
    Take("types", TypeArray(2));
    Take("no_types", TypeArray(0));
    Take("more_types", TypeArray(6));
    Spoil("names", TypeArray(2), 3, 4);
    Spoil("mapping", TypeArray(1), 1, 0x21);
    Spoil("wrapper", TypeArray(1), 2, 0x51);
    enter("fuzz_attribute_list");
    Take("attributes", AttributeList(2, 1));
    Take("no_attributes", AttributeList(0, 0));
    Spoil("object", AttributeList(3, 2), 1, 0x0E);
    enter("fuzz_type_components");
    XArrayWriter none(EMappingAlgorithm::Single, EWrapperId::TypeComp);
    Take("no_components", none.Put(XILXTypeComp()).Finish());
    Take("components", GetArrayFromWrapper(Components(2)));
    Take("one_of_each", GetArrayFromWrapper(Components(1)));
    Spoil("sub_array", GetArrayFromWrapper(Components(1)), 6, huge);
    Spoil("negative_sub_array", GetArrayFromWrapper(Components(1)), 6, 0x08);
    enter("fuzz_record_list");
    Take("records", RecordList(3));
    Take("no_records", RecordList(0));
    Take("relations", Relations(4));
    Spoil("count", RecordList(2), 1, huge);
    Spoil("relation", Relations(2), 3, 0x08);
}
} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_make_seeds FOLDER\n");
        return 2;
    }
    try {
        WriteAll(argv[1]);
        return 0;
    } catch (const XLXException& error) {
        std::fprintf(stderr, "%s: error 0x%08X\n", error.Location().method, static_cast<unsigned>(error.Code()));
    } catch (const std::exception& error) { std::fprintf(stderr, "%s\n", error.what()); }
    return 1;
}
