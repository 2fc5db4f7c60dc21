// SPDX-License-Identifier: MIT
//
// The parts of edits: data ids, and look-ups of elements. An unknown element raises std::invalid_argument.
#ifndef XEDITPARTS_H
#define XEDITPARTS_H

#include "XServerEdits.h"

#include <lxserver/ConfigServer.h>

#include <algorithm>
#include <initializer_list>
#include <stdexcept>

namespace LXEdits {
inline XLXText DataId(const char* kind, const XText& object, int subNumber, LXUpdateMode mode) {
    return lx::Change{kind, object.Get(), subNumber, mode}.DataId();
}
inline XLXText Objects(const XText& object, int subNumber, LXUpdateMode mode) {
    return DataId("objects", object, subNumber, mode);
}
inline XLXText Properties(const XText& object, int subNumber, LXUpdateMode mode) {
    return DataId("properties", object, subNumber, mode);
}
inline XLXText Relations(const XText& parent) { return DataId("pc", parent, 0, LXUM_PARENTCHILD); }

[[noreturn]] inline void Refuse(const std::string& what) { throw std::invalid_argument(what); }

template <class T> T& Known(const XModelRef<T>* found, const char* what) {
    if (found == nullptr) { Refuse(std::string("the model has no such ") + what); }
    return **found;
}

inline XModelType& TypeOf(XServerModel& model, const XText& name) { return Known(model.FindType(name.Get()), "type"); }

inline XModelAttribute& AttributeOf(XServerModel& model, const XText& type, const XText& name) {
    return Known(TypeOf(model, type).FindAttribute(name.Get()), "own attribute");
}

inline XModelGroup& GroupOf(XServerModel& model, const XText& type, int number) {
    return Known(TypeOf(model, type).FindGroup(number), "group");
}

inline XModelGlobalSpec& SpecOf(XServerModel& model, const XText& id) {
    return Known(model.FindGlobalSpec(id.Get()), "global format spec");
}

inline XModelRelation& RelationOf(XServerModel& model, const XText& parent, const XText& child, const XText& list) {
    return Known(model.FindRelation(parent.Get(), child.Get(), list.Get()), "relation");
}

/// The first element of a list with this key.
template <class T> XModelRef<T>& ElementOf(XModelList<T>& list, int keyIndex, const XText& key) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const XModelRef<T>& element) { return element->Text(keyIndex) == key.Get(); });
    if (found == list.end()) { Refuse("the model has no such element: " + LXToUtf8(key.Get())); }
    return *found;
}

template <class T> void RemoveFrom(XModelList<T>& list, const T& element) {
    std::erase_if(list, [&element](const XModelRef<T>& other) { return &*other == &element; });
}

/// Sets a property that is not a key. To change a key, remove the element and add it again.
template <class T> void SetBut(T& element, std::initializer_list<int> keys, int index, const XModelValue& value) {
    if (std::find(keys.begin(), keys.end(), index) != keys.end()) {
        Refuse("a property that is a key of the element cannot be set");
    }
    element.properties.Set(index, value);
}

inline XModelFormat& FormatOf(XModelFormats& formats, int formatType) {
    const auto found = formats.find(formatType);
    if (found == formats.end()) { Refuse("the model has no such format"); }
    return *found->second;
}

inline void RemoveFormat(XModelFormats& formats, int formatType) {
    FormatOf(formats, formatType);
    formats.erase(formatType);
}
} // namespace LXEdits

#endif
