// SPDX-License-Identifier: MIT
//
// bench_memory OUTPUT.json: measures the heap during a whole load, and the memory that an attribute keeps.
//
// Counts only the cache's allocations and the arrays that it gets. The server and the master copies of the arrays are
// allocated before.
#include "XBenchTable.h"
#include "XBenchWorld.h"
#include "countedheap.h"

#include <cstdio>
#include <exception>

namespace {
constexpr int Types = 5000;
constexpr int PlainAttributes = 2000;

double Bytes(std::size_t now, std::size_t before) { return static_cast<double>(now) - static_cast<double>(before); }

/// The bytes of an element's values that are not empty: a variant for each, and the characters of texts.
double BytesOfFilled(const XModelProperties& properties) {
    double bytes = 0;
    for (int index = 0; index < properties.Count(); ++index) {
        const XLXComVariant value = properties.Get(index).ToVariant();
        if (!value.Empty()) { bytes += sizeof(VARIANT); }
        if (value.Type() == VT_BSTR) { bytes += SysStringByteLen(V_BSTR(&value.Get())); }
    }
    return bytes;
}
template <class Element> double BytesOfFilled(const XModelList<Element>& elements) {
    double bytes = 0;
    for (const auto& element : elements) {
        bytes += BytesOfFilled(element->properties);
        if constexpr (std::is_same_v<Element, XModelAttribute>) { bytes += BytesOfFilled(element->types); }
    }
    return bytes;
}

/// The same for everything in a whole load.
double BytesOfFilled(const XServerModel& model) {
    double bytes = BytesOfFilled(model.relations);
    for (const auto& [name, type] : model.types) {
        bytes += BytesOfFilled(type->properties) + BytesOfFilled(type->pages) + BytesOfFilled(type->groups) +
                 BytesOfFilled(type->attributes) + BytesOfFilled(type->editors);
    }
    return bytes;
}

/// The peak memory of a whole load, against the array and the memory that is kept; and the kept memory, against the
/// values in it.
void AddHeapOfLoad(XBenchTable& table) {
    XBenchWorld world(Types);
    const double filled = BytesOfFilled(world.Server().Model());
    world.Factory().Prepare(LXBenchMode, 0);
    const std::size_t before = LXHeapInUse();
    world.Factory().Prepare(LXBenchMode, 1);
    const double array = Bytes(LXHeapInUse(), before);
    LXResetHeapPeak();
    world.StartPrepared();
    world.CompleteAllTypes();
    const double peak = Bytes(LXHeapPeak(), before);
    const double stays = Bytes(LXHeapInUse(), before);
    std::fprintf(stderr, "  array %.1f MB, stays %.1f MB, peak %.1f MB\n", array / 1e6, stays / 1e6, peak / 1e6);
    table.Figure("peak memory of the whole load", "bytes", peak, "transfer array and what stays", array + stays, 1.3);
    table.Figure("kept memory, 5,000 types", "bytes", stays, "the bytes of the values that are not empty", filled, 2.0);
}

/// A type with `attributes` attributes without attribute types.
XServerModel PlainModel(int attributes) {
    XServerModel model;
    XModelType& type = model.AddType("Plain");
    for (int i = 0; i < attributes; ++i) {
        char name[24];
        std::snprintf(name, sizeof name, "Attribute%05d", i);
        type.AddAttribute(name, 1).properties.Set(XProperty::Label, std::string("Label of ") + name);
    }
    model.AddRelation("Plain", "Plain", "nodes");
    return model;
}

struct PlainLoad {
    double stays = 0;
    double filled = 0; ///< in the values that are not empty
};

PlainLoad LoadOf(int attributes) {
    XBenchWorld world(PlainModel(attributes));
    world.Factory().Prepare(LXBenchMode, 0);
    const std::size_t before = LXHeapInUse();
    world.Factory().Prepare(LXBenchMode, 1);
    world.StartPrepared();
    world.CompleteAllTypes();
    return {Bytes(LXHeapInUse(), before), BytesOfFilled(world.Server().Model())};
}

void AddKeptPerAttribute(XBenchTable& table) {
    const PlainLoad all = LoadOf(PlainAttributes + 1);
    const PlainLoad one = LoadOf(1);
    const double stays = (all.stays - one.stays) / PlainAttributes;
    const double filled = (all.filled - one.filled) / PlainAttributes;
    std::fprintf(stderr, "  per attribute %.0f bytes, of which values that are not empty %.0f\n", stays, filled);
    table.Figure("kept per own attribute without attribute types, beyond its values that are not empty", "bytes",
                 stays - filled, "one byte", 1, 700);
}
} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: bench_memory OUTPUT.json\n", stderr);
        return 2;
    }
    try {
        XBenchTable table;
        AddHeapOfLoad(table);
        AddKeptPerAttribute(table);
        table.Write(argv[1]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_memory: %s\n", error.what());
        return 1;
    }
}
