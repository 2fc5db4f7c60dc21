// SPDX-License-Identifier: MIT
#include "XServerModel.h"

#include <algorithm>
#include <stdexcept>

namespace {
[[noreturn]] void Refuse(const char* what, XLXTextView name) {
    throw std::invalid_argument(std::string(what) + ": " + LXToUtf8(name));
}

template <class T> const XModelRef<T>* FindText(const XModelList<T>& list, int index, XLXTextView text) {
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const XModelRef<T>& e) { return e->Text(index) == text; });
    return found != list.end() ? &*found : nullptr;
}

template <class T> const XModelRef<T>* FindNumber(const XModelList<T>& list, int index, int number) {
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const XModelRef<T>& e) { return e->Number(index) == number; });
    return found != list.end() ? &*found : nullptr;
}

/// Appends an element whose key property has this value.
template <class T> T& Append(XModelList<T>& list, int keyIndex, const XModelValue& key) {
    T& element = *list.emplace_back();
    element.properties.Set(keyIndex, key);
    return element;
}

XModelFormat& AddFormatTo(XModelFormats& formats, int formatType) {
    const auto [entry, isNew] = formats.try_emplace(formatType);
    if (!isNew) { Refuse("format exists", LXFromUtf8(std::to_string(formatType))); }
    entry->second->properties.Set(XProperty::DataType, formatType);
    return *entry->second;
}
} // namespace

XModelAttributeType& XModelAttribute::AddType(const XText& name) {
    if (FindText(types, XProperty::AttributeTypeName, name.Get()) != nullptr) {
        Refuse("attribute type exists", name.Get());
    }
    return Append(types, XProperty::AttributeTypeName, name);
}

XModelFormat& XModelAttribute::AddFormat(int formatType) { return AddFormatTo(formats, formatType); }

XModelFormat& XModelGlobalSpec::AddFormat(int formatType) { return AddFormatTo(formats, formatType); }

XModelPCInfo& XModelRelation::AddPCInfo(const XText& browserId, bool isNew) {
    XModelPCInfo& info = Append(infos, XProperty::PCInfoBrowser, browserId);
    info.properties.Set(XProperty::PCInfoNew, isNew ? 1 : 0);
    return info;
}

XModelPage& XModelType::AddPage(int number, const XText& label) {
    if (FindPage(number) != nullptr) { Refuse("page exists", LXFromUtf8(std::to_string(number))); }
    XModelPage& page = Append(pages, XProperty::PageNumber, number);
    page.properties.Set(XProperty::PageLabel, label);
    return page;
}

XModelGroup& XModelType::AddGroup(int number, int page, int parentGroup, const XText& label) {
    if (FindGroup(number) != nullptr) { Refuse("group exists", LXFromUtf8(std::to_string(number))); }
    XModelGroup& group = Append(groups, XProperty::GroupNumber, number);
    group.properties.Set(XProperty::GroupPage, page);
    group.properties.Set(XProperty::ParentGroup, parentGroup);
    group.properties.Set(XProperty::GroupLabel, label);
    return group;
}

XModelAttribute& XModelType::AddAttribute(const XText& name, int group) {
    if (FindAttribute(name.Get()) != nullptr) { Refuse("attribute exists", name.Get()); }
    XModelAttribute& attribute = Append(attributes, XProperty::AttributeName, name);
    attribute.properties.Set(XProperty::AttributeGroup, group);
    return attribute;
}

XModelEditor& XModelType::AddEditor(const XText& progId, const XText& browserId, bool isDefault, bool isDefaultNew) {
    if (FindEditor(progId.Get()) != nullptr) { Refuse("editor exists", progId.Get()); }
    XModelEditor& editor = Append(editors, XProperty::ProgId, progId);
    editor.properties.Set(XProperty::EditorBrowserId, browserId);
    editor.properties.Set(XProperty::DefaultEditor, isDefault);
    editor.properties.Set(XProperty::DefaultNewEditor, isDefaultNew);
    return editor;
}

const XModelRef<XModelPage>* XModelType::FindPage(int number) const {
    return FindNumber(pages, XProperty::PageNumber, number);
}

const XModelRef<XModelGroup>* XModelType::FindGroup(int number) const {
    return FindNumber(groups, XProperty::GroupNumber, number);
}

const XModelRef<XModelAttribute>* XModelType::FindAttribute(XLXTextView name) const {
    return FindText(attributes, XProperty::AttributeName, name);
}

const XModelRef<XModelEditor>* XModelType::FindEditor(XLXTextView progId) const {
    return FindText(editors, XProperty::ProgId, progId);
}

XModelType& XServerModel::AddType(const XText& name, const XText& base) {
    if (name.Get().empty() || types.contains(name.Get())) { Refuse("type exists or has no name", name.Get()); }
    const XModelRef<XModelType>& type = types[name.Get()];
    XModelProperties& properties = type->properties;
    properties.Set(XProperty::TypeName, name);
    properties.Set(XProperty::BaseTypeName, base.Get().empty() ? XModelValue() : XModelValue(base));
    return *type;
}

XModelBrowserId& XServerModel::AddBrowserId(const XText& name) {
    if (FindText(browserIds, XProperty::BrowserIdName, name.Get()) != nullptr) {
        Refuse("browser id exists", name.Get());
    }
    return Append(browserIds, XProperty::BrowserIdName, name);
}

XModelRelation& XServerModel::AddRelation(const XText& parent, const XText& child, const XText& childList,
                                          int pprRelationType, bool systemInternal) {
    if (FindRelation(parent.Get(), child.Get(), childList.Get()) != nullptr) {
        Refuse("relation exists", parent.Get() + OLESTR("/") + child.Get() + OLESTR("/") + childList.Get());
    }
    XModelRelation& relation = Append(relations, XProperty::ParentName, parent);
    relation.properties.Set(XProperty::ChildName, child);
    relation.properties.Set(XProperty::ChildList, childList);
    relation.properties.Set(XProperty::PPRRelationType, pprRelationType);
    relation.properties.Set(XProperty::SystemInternal, systemInternal);
    return relation;
}

XModelGlobalSpec& XServerModel::AddGlobalSpec(const XText& propertyId) {
    if (FindGlobalSpec(propertyId.Get()) != nullptr) { Refuse("global format spec exists", propertyId.Get()); }
    return Append(specs, XProperty::AttributeName, propertyId);
}

XModelDataObject& XServerModel::AddObject(const XText& id, const XText& typeName, const XText& table) {
    const auto [entry, isNew] = objects.try_emplace(id.Get());
    if (!isNew) { Refuse("data object exists", id.Get()); }
    entry->second->id = id;
    entry->second->typeName = typeName;
    entry->second->table = table;
    return *entry->second;
}

void XServerModel::AddChild(const XText& parentId, const XText& childList, const XText& childId) {
    const auto parent = objects.find(parentId);
    if (parent == objects.end() || !objects.contains(childId)) {
        Refuse("no such data object", parentId.Get() + OLESTR(" or ") + childId.Get());
    }
    parent->second->children[childList].push_back(childId);
}

XModelDataObject& XServerModel::AddRelationship(const XText& id, const XText& relationName, const XText& firstId,
                                                const XText& secondId) {
    XModelDataObject& relationship = AddObject(id, "relationship");
    relationship.attributes[OLESTR("relationname")] = relationName;
    relationship.ends = XModelEnds{firstId, secondId};
    return relationship;
}

const XModelRef<XModelType>* XServerModel::FindType(XLXTextView name) const {
    const auto found = types.find(XLXText(name));
    return found != types.end() ? &found->second : nullptr;
}

const XModelRef<XModelRelation>* XServerModel::FindRelation(XLXTextView parent, XLXTextView child,
                                                            XLXTextView childList) const {
    const auto found = std::find_if(relations.begin(), relations.end(), [&](const auto& relation) {
        return relation->Text(XProperty::ParentName) == parent && relation->Text(XProperty::ChildName) == child &&
               relation->Text(XProperty::ChildList) == childList;
    });
    return found != relations.end() ? &*found : nullptr;
}

const XModelRef<XModelGlobalSpec>* XServerModel::FindGlobalSpec(XLXTextView propertyId) const {
    return FindText(specs, XProperty::AttributeName, propertyId);
}

std::vector<const XModelType*> XServerModel::BaseChain(XLXTextView name) const {
    std::vector<const XModelType*> chain;
    for (const auto* type = FindType(name); type != nullptr; type = FindType(chain.back()->Base())) {
        if (std::find(chain.begin(), chain.end(), &**type) != chain.end()) {
            break; // the bases form a cycle
        }
        chain.push_back(&**type);
    }
    return chain;
}

bool XServerModel::Derives(XLXTextView name, XLXTextView ancestor) const {
    const auto chain = BaseChain(name);
    return std::any_of(chain.begin(), chain.end(), [&](const XModelType* t) { return t->Name() == ancestor; });
}

std::vector<const XModelRef<XModelAttribute>*> XServerModel::AllAttributes(XLXTextView typeName) const {
    const auto chain = BaseChain(typeName);
    std::map<std::string, const XModelRef<XModelAttribute>*> byName; // in the order of the UTF-8 bytes
    for (auto type = chain.rbegin(); type != chain.rend(); ++type) {
        for (const XModelRef<XModelAttribute>& attribute : (*type)->attributes) {
            byName.try_emplace(LXToUtf8(attribute->Text(XProperty::AttributeName)), &attribute);
        }
    }
    std::vector<const XModelRef<XModelAttribute>*> all;
    for (const auto& [name, attribute] : byName) {
        all.push_back(attribute);
    }
    return all;
}
