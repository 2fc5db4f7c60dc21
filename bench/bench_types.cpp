// SPDX-License-Identifier: MIT
//
// Look-ups by name: types, attributes, relations.
#include "baselines.h"
#include "benches.h"

#include <algorithm>
#include <random>
#include <tbb/concurrent_hash_map.h>

namespace {
/// (e) A ready-made concurrent container.
template <class Interface> class XShelfObjects {
public:
    void Add(XLXTextView name, XLXComPtr<Interface> object) { m_objects.insert({LXToUtf8(name), std::move(object)}); }
    HRESULT Find(XLXTextView name, Interface** out) const {
        typename Map::const_accessor found;
        if (!m_objects.find(found, LXToUtf8(name))) { return S_FALSE; }
        found->second.CopyTo(out);
        return S_OK;
    }

private:
    using Map = tbb::concurrent_hash_map<std::string, XLXComPtr<Interface>>;
    Map m_objects;
};

template <class T> void Shuffle(std::vector<T>& items) {
    std::shuffle(items.begin(), items.end(), std::mt19937(20000));
}

/// Calls find(item, out) for the items in turn, cyclically.
template <class Interface, class Item, class Find> XBenchRows::Body Loop(const std::vector<Item>& items, Find find) {
    return [&items, find](benchmark::State& state) {
        std::size_t next = 0;
        bool found = true;
        for (auto step : state) {
            Interface* out = nullptr;
            found = find(items[next], &out) == S_OK && out != nullptr && found;
            if (out != nullptr) { out->Release(); }
            next = next + 1 != items.size() ? next + 1 : 0;
        }
        if (!found) { state.SkipWithError("an item was not found"); }
    };
}

void BenchCachedType(XBenchRows& rows, const XBenchWorld& world) {
    std::vector<XLXComPtr<ILX_BaseDataObject>> objects;
    XSharedObjects<ILXType> shared;
    XShelfObjects<ILXType> shelf;
    for (int i = 0; i < world.Types(); ++i) {
        const std::string name = LXBenchTypeName(i);
        objects.push_back(LXMakeBenchObject(name));
        shared.Add(XText(name).Get(), world.Type(name));
        shelf.Add(XText(name).Get(), world.Type(name));
    }
    Shuffle(objects);
    using Object = XLXComPtr<ILX_BaseDataObject>;
    const auto byName = [](const auto& types) {
        return [&types](const Object& object, ILXType** out) {
            XLXComBSTR name;
            object->GetTypeName(name.Put());
            return types.Find(name.View(), out);
        };
    };
    rows.Time(
        "GetCachedType, hit in 20,000 types",
        Loop<ILXType>(objects, [&](const Object& object,
                                   ILXType** out) { return world.Cache().GetCachedType(object.Get(), nullptr, out); }),
        {{"(b) shared_mutex and map", Loop<ILXType>(objects, byName(shared)), 0.8},
         {"(e) concurrent_hash_map", Loop<ILXType>(objects, byName(shelf)), 1.0, true}});
}

void BenchAttribute(XBenchRows& rows, const XBenchWorld& world) {
    const auto type = world.Type("Wide5");
    std::vector<XLXComBSTR> names;
    XSharedObjects<ILXAttribute> shared;
    XShelfObjects<ILXAttribute> shelf;
    XLXComPtr<ILXAttributeEnum> attributes;
    LXExpectOk(type->GetAttributeEnum(attributes.Put()), "GetAttributeEnum");
    XLXComPtr<ILXAttribute> attribute;
    while (attributes->GetSingleNext(attribute.Put()) == S_OK) {
        XLXComVariant name;
        LXExpectOk(attribute->GetProperty(XProperty::AttributeName, name.Put()), "GetProperty");
        names.emplace_back(LXBstrView(V_BSTR(&name.Get())));
        shared.Add(names.back().View(), attribute);
        shelf.Add(names.back().View(), attribute);
    }
    Shuffle(names);
    rows.Time("GetAttribute by name, hit, five levels of bases",
              Loop<ILXAttribute>(names, [&](const XLXComBSTR& name,
                                            ILXAttribute** out) { return type->GetAttribute(name.Get(), out); }),
              {{"(b) shared_mutex and map",
                Loop<ILXAttribute>(
                    names, [&](const XLXComBSTR& name, ILXAttribute** out) { return shared.Find(name.View(), out); }),
                2.0},
               {"(e) concurrent_hash_map",
                Loop<ILXAttribute>(
                    names, [&](const XLXComBSTR& name, ILXAttribute** out) { return shelf.Find(name.View(), out); }),
                1.0}});
}

struct XRelationNames {
    XLXComBSTR parent;
    XLXComBSTR child;
    XLXComBSTR list;
};

void BenchRelation(XBenchRows& rows, const XBenchWorld& world) {
    std::vector<XRelationNames> names;
    XSharedRelations shared;
    for (const auto& relation : world.Server().Model().relations) {
        const XRelationNames& made = names.emplace_back(XRelationNames{
            XLXComBSTR(relation->Text(XProperty::ParentName)), XLXComBSTR(relation->Text(XProperty::ChildName)),
            XLXComBSTR(relation->Text(XProperty::ChildList))});
        XLXComPtr<ILXParentChild> cached;
        LXExpectOk(world.Cache().GetSinglePCRelation(made.parent.Get(), made.child.Get(), nullptr, made.list.Get(),
                                                     cached.Put()),
                   "GetSinglePCRelation");
        shared.Add(made.parent.View(), made.child.View(), made.list.View(), cached);
    }
    Shuffle(names);
    rows.Time("GetSinglePCRelation, hit in 20,000 relations",
              Loop<ILXParentChild>(names,
                                   [&](const XRelationNames& name, ILXParentChild** out) {
                                       return world.Cache().GetSinglePCRelation(name.parent.Get(), name.child.Get(),
                                                                                nullptr, name.list.Get(), out);
                                   }),
              {{"(b) shared_mutex and map",
                Loop<ILXParentChild>(names,
                                     [&](const XRelationNames& name, ILXParentChild** out) {
                                         return shared.Find(name.parent.View(), name.child.View(), name.list.View(),
                                                            out);
                                     }),
                0.8}});
}
} // namespace

void LXBenchTypes(XBenchRows& rows, const XWorldSource& world) {
    if (rows.Wants("GetCachedType, hit in 20,000 types")) { BenchCachedType(rows, world()); }
    if (rows.Wants("GetAttribute by name, hit, five levels of bases")) { BenchAttribute(rows, world()); }
    if (rows.Wants("GetSinglePCRelation, hit in 20,000 relations")) { BenchRelation(rows, world()); }
}
