// SPDX-License-Identifier: MIT
//
// Model files in JSON. An element is an object with its properties by key and arrays of its child elements. Properties
// with default values are left out.
#include "XServerModel.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <stdexcept>

namespace {
using XJson = nlohmann::ordered_json;
using XKeys = std::initializer_list<std::string_view>;

[[noreturn]] void RefuseFile(const std::string& what) { throw std::invalid_argument("model file: " + what); }

/// Reads a value. An integer becomes a real number if the default is real.
XModelValue ReadValue(const XJson& value, const XModelValue& defaultValue = {}) {
    if (value.is_null()) { return {}; }
    if (value.is_boolean()) { return value.get<bool>(); }
    if (value.is_number_integer() && !std::holds_alternative<double>(defaultValue.Get())) {
        return value.get<std::int32_t>();
    }
    if (value.is_number()) { return value.get<double>(); }
    return value.get<std::string>();
}

XJson WriteValue(const XModelValue& value) {
    struct Writer {
        XJson operator()(std::monostate) const { return nullptr; }
        XJson operator()(std::int32_t number) const { return number; }
        XJson operator()(bool truth) const { return truth; }
        XJson operator()(double number) const { return number; }
        XJson operator()(const XLXText& text) const { return LXToUtf8(text); }
    };
    return std::visit(Writer(), value.Get());
}

/// Sets the properties of an element from its object.
/// @param parts  keys that are not properties
template <class T> void ReadProperties(const XJson& json, T& element, XKeys parts = {}) {
    const XPropertyTable& table = XPropertyTable::Of(element.properties.Kind());
    for (const auto& [key, value] : json.items()) {
        if (std::find(parts.begin(), parts.end(), key) != parts.end()) { continue; }
        const int index = table.FindKey(key);
        if (index < 0) { RefuseFile("unknown key \"" + key + "\""); }
        element.properties.Set(index, ReadValue(value, table.Default(index)));
    }
}

template <class T> XJson WriteProperties(const T& element) {
    XJson json = XJson::object();
    for (const auto& [index, value] : element.properties.Stored()) {
        json[XPropertyTable::Of(element.properties.Kind()).Key(index)] = WriteValue(value);
    }
    return json;
}

/// Calls a function for every element of an array that may be missing.
template <class F> void ForEach(const XJson& json, const char* key, F&& read) {
    if (const auto list = json.find(key); list != json.end()) {
        for (const XJson& element : *list) {
            read(element);
        }
    }
}

template <class T> void ReadList(const XJson& json, const char* key, XModelList<T>& list) {
    ForEach(json, key, [&list](const XJson& element) { ReadProperties(element, *list.emplace_back()); });
}

template <class List, class F> void WriteList(XJson& json, const char* key, const List& list, F&& write) {
    for (const auto& element : list) {
        json[key].push_back(write(*element));
    }
}

void ReadFormats(const XJson& json, XModelFormats& formats) {
    ForEach(json, "formats", [&formats](const XJson& element) {
        XModelRef<XModelFormat> format;
        ReadProperties(element, *format);
        const int formatType = format->Number(XProperty::DataType);
        formats.try_emplace(formatType, std::move(format));
    });
}

void WriteFormats(XJson& json, const XModelFormats& formats) {
    for (const auto& [type, format] : formats) {
        json["formats"].push_back(WriteProperties(*format));
    }
}

void ReadType(const XJson& json, XServerModel& model) {
    XModelType& type = model.AddType(json.at("name").get<std::string>());
    ReadProperties(json, type, {"listed", "pages", "groups", "attributes", "editors"});
    type.listed = json.value("listed", true);
    ReadList(json, "pages", type.pages);
    ReadList(json, "editors", type.editors);
    ForEach(json, "groups", [&type](const XJson& element) {
        XModelGroup& group = *type.groups.emplace_back();
        ReadProperties(element, group, {"formats"});
        ReadFormats(element, group.formats);
    });
    ForEach(json, "attributes", [&type](const XJson& element) {
        XModelAttribute& attribute = type.AddAttribute(element.at("name").get<std::string>());
        ReadProperties(element, attribute, {"types", "formats"});
        ReadList(element, "types", attribute.types);
        ReadFormats(element, attribute.formats);
    });
}

XJson WriteType(const XModelType& type) {
    XJson json = WriteProperties(type);
    if (!type.listed) { json["listed"] = false; }
    WriteList(json, "pages", type.pages, WriteProperties<XModelPage>);
    WriteList(json, "groups", type.groups, [](const XModelGroup& group) {
        XJson element = WriteProperties(group);
        WriteFormats(element, group.formats);
        return element;
    });
    WriteList(json, "attributes", type.attributes, [](const XModelAttribute& attribute) {
        XJson element = WriteProperties(attribute);
        WriteList(element, "types", attribute.types, WriteProperties<XModelAttributeType>);
        WriteFormats(element, attribute.formats);
        return element;
    });
    WriteList(json, "editors", type.editors, WriteProperties<XModelEditor>);
    return json;
}

void ReadObject(const XJson& json, XServerModel& model) {
    XModelDataObject& object = model.AddObject(json.at("id").get<std::string>(), json.value("type", std::string()),
                                               json.value("table", std::string()));
    const XJson attributes = json.value("attributes", XJson::object());
    const XJson children = json.value("children", XJson::object());
    for (const auto& [name, value] : attributes.items()) {
        object.attributes[LXFromUtf8(name)] = ReadValue(value);
    }
    for (const auto& [list, ids] : children.items()) {
        for (const XJson& id : ids) {
            object.children[LXFromUtf8(list)].push_back(LXFromUtf8(id.get<std::string>()));
        }
    }
    if (const auto ends = json.find("ends"); ends != json.end()) {
        object.ends =
            XModelEnds{LXFromUtf8(ends->at(0).get<std::string>()), LXFromUtf8(ends->at(1).get<std::string>())};
    }
}

XJson WriteObject(const XModelDataObject& object) {
    XJson json = {{"id", LXToUtf8(object.id)}, {"type", LXToUtf8(object.typeName)}};
    if (!object.table.empty()) { json["table"] = LXToUtf8(object.table); }
    for (const auto& [name, value] : object.attributes) {
        json["attributes"][LXToUtf8(name)] = WriteValue(value);
    }
    for (const auto& [list, ids] : object.children) {
        for (const XLXText& id : ids) {
            json["children"][LXToUtf8(list)].push_back(LXToUtf8(id));
        }
    }
    if (object.ends) { json["ends"] = {LXToUtf8(object.ends->first), LXToUtf8(object.ends->second)}; }
    return json;
}

/// Raises if a name refers to an unknown element: the most likely mistake in a hand-written file.
void CheckReferences(const XServerModel& model) {
    const auto check = [](bool known, const char* what, const XLXText& name) {
        if (!known) { RefuseFile(std::string(what) + " is unknown: " + LXToUtf8(name)); }
    };
    for (const auto& [name, type] : model.types) {
        check(type->Base().empty() || model.types.contains(type->Base()), "base type", type->Base());
    }
    for (const auto& relation : model.relations) {
        for (const int end : {XProperty::ParentName, XProperty::ChildName}) {
            check(model.types.contains(relation->Text(end)), "type of a relation", relation->Text(end));
        }
    }
    for (const auto& [id, object] : model.objects) {
        for (const auto& [list, children] : object->children) {
            for (const XLXText& child : children) {
                check(model.objects.contains(child), "child object", child);
            }
        }
    }
}

XServerModel ReadJson(const XJson& json) {
    XServerModel model;
    model.version = LXFromUtf8(json.value("version", std::string("1")));
    ReadList(json, "browserIds", model.browserIds);
    ForEach(json, "types", [&model](const XJson& element) { ReadType(element, model); });
    ForEach(json, "relations", [&model](const XJson& element) {
        XModelRelation& relation = *model.relations.emplace_back();
        ReadProperties(element, relation, {"infos"});
        ReadList(element, "infos", relation.infos);
    });
    ForEach(json, "globalSpecs", [&model](const XJson& element) {
        XModelGlobalSpec& spec = *model.specs.emplace_back();
        ReadProperties(element, spec, {"formats"});
        ReadFormats(element, spec.formats);
    });
    ForEach(json, "objects", [&model](const XJson& element) { ReadObject(element, model); });
    CheckReferences(model);
    return model;
}
} // namespace

XServerModel LXParseModel(std::string_view json) {
    try {
        return ReadJson(XJson::parse(json));
    } catch (const nlohmann::json::exception& error) { RefuseFile(error.what()); }
}

XServerModel LXReadModel(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) { RefuseFile("cannot be opened: " + path); }
    return LXParseModel(std::string(std::istreambuf_iterator<char>(file), {}));
}

std::string LXFormatModel(const XServerModel& model) {
    XJson json = {{"version", LXToUtf8(model.version)}};
    WriteList(json, "browserIds", model.browserIds, WriteProperties<XModelBrowserId>);
    for (const auto& [name, type] : model.types) {
        json["types"].push_back(WriteType(*type));
    }
    WriteList(json, "relations", model.relations, [](const XModelRelation& relation) {
        XJson element = WriteProperties(relation);
        WriteList(element, "infos", relation.infos, WriteProperties<XModelPCInfo>);
        return element;
    });
    WriteList(json, "globalSpecs", model.specs, [](const XModelGlobalSpec& spec) {
        XJson element = WriteProperties(spec);
        WriteFormats(element, spec.formats);
        return element;
    });
    for (const auto& [id, object] : model.objects) {
        json["objects"].push_back(WriteObject(*object));
    }
    return json.dump(1) + "\n";
}

void LXWriteModel(const XServerModel& model, const std::string& path) {
    std::ofstream file(path, std::ios::binary);
    file << LXFormatModel(model);
    if (!file.flush()) { RefuseFile("cannot be written: " + path); }
}
