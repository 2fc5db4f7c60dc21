// SPDX-License-Identifier: MIT
#include "XServerEdits.h"

#include "XServerCore.h"

#include <algorithm>
#include <stdexcept>

namespace
{
/// The update modes of the data ids, by what changed.
enum XMode : int
{
    ModeTypes = 0x2,
    ModeRelations = 0x4,
    ModeBrowserIds = 0x8,
    ModePages = 0x20,
    ModeGroups = 0x40,
    ModeEditors = 0x80,
    ModeGlobalSpecs = 0x100,
    ModeAttributes = 0x200,
    ModeAttributeTypes = 0x400,
    ModeAttributeFormats = 0x800,
    ModeGroupFormats = 0x1000
};

XLXText DataId(const char* kind, const XText& object, int subNumber, XMode mode)
{
    return LXFromUtf8(std::string(kind) + "/") + object.Get() +
           LXFromUtf8("/" + std::to_string(subNumber) + "/" + std::to_string(mode));
}
XLXText Objects(const XText& object, int subNumber, XMode mode)
{
    return DataId("objects", object, subNumber, mode);
}
XLXText Properties(const XText& object, int subNumber, XMode mode)
{
    return DataId("properties", object, subNumber, mode);
}
XLXText Relations(const XText& parent)
{
    return DataId("pc", parent, 0, ModeRelations);
}

[[noreturn]] void Refuse(const std::string& what)
{
    throw std::invalid_argument(what);
}

template <class T>
T& Known(const XModelRef<T>* found, const char* what)
{
    if (found == nullptr)
    {
        Refuse(std::string("the model has no such ") + what);
    }
    return **found;
}

XModelType& TypeOf(XServerModel& model, const XText& name)
{
    return Known(model.FindType(name.Get()), "type");
}

XModelAttribute& AttributeOf(XServerModel& model, const XText& type, const XText& name)
{
    return Known(TypeOf(model, type).FindAttribute(name.Get()), "attribute of the type's own");
}

XModelGroup& GroupOf(XServerModel& model, const XText& type, int number)
{
    return Known(TypeOf(model, type).FindGroup(number), "group");
}

XModelGlobalSpec& SpecOf(XServerModel& model, const XText& id)
{
    return Known(model.FindGlobalSpec(id.Get()), "global format spec");
}

XModelRelation& RelationOf(XServerModel& model, const XText& parent, const XText& child, const XText& list)
{
    return Known(model.FindRelation(parent.Get(), child.Get(), list.Get()), "relation");
}

/// The first element of a list whose key is that text.
template <class T>
XModelRef<T>& ElementOf(XModelList<T>& list, int keyIndex, const XText& key)
{
    const auto found = std::find_if(list.begin(), list.end(), [&](const XModelRef<T>& element) {
        return element->Text(keyIndex) == key.Get();
    });
    if (found == list.end())
    {
        Refuse("the model has no such element: " + LXToUtf8(key.Get()));
    }
    return *found;
}

template <class T>
void RemoveFrom(XModelList<T>& list, const T& element)
{
    std::erase_if(list, [&element](const XModelRef<T>& other) { return &*other == &element; });
}

/// Sets a property other than those by which elements are found; for a new name, remove and add.
template <class T>
void SetBut(T& element, std::initializer_list<int> keys, int index, const XModelValue& value)
{
    if (std::find(keys.begin(), keys.end(), index) != keys.end())
    {
        Refuse("an element keeps the properties by which it is found");
    }
    element.properties.Set(index, value);
}

XModelFormat& FormatOf(XModelFormats& formats, int formatType)
{
    const auto found = formats.find(formatType);
    if (found == formats.end())
    {
        Refuse("the model has no such format");
    }
    return *found->second;
}

void RemoveFormat(XModelFormats& formats, int formatType)
{
    FormatOf(formats, formatType);
    formats.erase(formatType);
}
} // namespace

XNotification XServerEdits::Change(const std::function<void(XServerModel&)>& change, const XText& dataId,
                                   XNotify notify)
{
    m_core->Change(change);
    return dataId.Get().empty() ? XNotification()
                                : m_core->Notifier().Send(dataId, "cfc_specific", 0, notify);
}

XNotification XServerEdits::AddType(const XText& name, const XText& base, XNotify notify)
{
    return Change([&](XServerModel& m) { m.AddType(name, base); }, Objects(name, 0, ModeTypes), notify);
}

XNotification XServerEdits::RemoveType(const XText& name, XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            TypeOf(m, name);
            m.types.erase(name.Get());
        },
        Objects(name, 0, ModeTypes), notify);
}

XNotification XServerEdits::SetTypeProperty(const XText& type, int index, const XModelValue& value,
                                            XNotify notify)
{
    const bool isBase = index == XProperty::BaseTypeName; // the links between the types change
    const XNotification sent =
        Change([&](XServerModel& m) { SetBut(TypeOf(m, type), {XProperty::TypeName}, index, value); },
               isBase ? Objects(type, 0, ModeTypes) : Properties(type, index, ModeTypes), notify);
    return index != XProperty::Searchable
               ? sent
               : Change([](XServerModel&) {}, DataId("searchable", type, index, ModeTypes), notify);
}

XNotification XServerEdits::SetTypeListed(const XText& type, bool listed, XNotify notify)
{
    return Change([&](XServerModel& m) { TypeOf(m, type).listed = listed; }, Objects(type, 0, ModeTypes),
                  notify);
}

XNotification XServerEdits::AddAttribute(const XText& type, const XText& name, int group, XNotify notify)
{
    return Change([&](XServerModel& m) { TypeOf(m, type).AddAttribute(name, group); },
                  Objects(type, 0, ModeAttributes), notify);
}

XNotification XServerEdits::RemoveAttribute(const XText& type, const XText& name, XNotify notify)
{
    return Change(
        [&](XServerModel& m) { RemoveFrom(TypeOf(m, type).attributes, AttributeOf(m, type, name)); },
        Objects(type, 0, ModeAttributes), notify);
}

XNotification XServerEdits::SetAttributeProperty(const XText& type, const XText& name, int index,
                                                 const XModelValue& value, XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            SetBut(AttributeOf(m, type, name), {XProperty::AttributeName}, index, value);
        },
        Properties(type, index, ModeAttributes), notify);
}

XNotification XServerEdits::AddAttributeType(const XText& type, const XText& attribute, const XText& name,
                                             XNotify notify)
{
    return Change([&](XServerModel& m) { AttributeOf(m, type, attribute).AddType(name); },
                  Objects(type, 0, ModeAttributeTypes), notify);
}

XNotification XServerEdits::RemoveAttributeType(const XText& type, const XText& attribute, const XText& name,
                                                XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            auto& types = AttributeOf(m, type, attribute).types;
            RemoveFrom(types, *ElementOf(types, XProperty::AttributeTypeName, name));
        },
        Objects(type, 0, ModeAttributeTypes), notify);
}

XNotification XServerEdits::SetAttributeTypeProperty(const XText& type, const XText& attribute,
                                                     const XText& name, int index, const XModelValue& value,
                                                     XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            auto& types = AttributeOf(m, type, attribute).types;
            SetBut(*ElementOf(types, XProperty::AttributeTypeName, name), {XProperty::AttributeTypeName},
                   index, value);
        },
        Properties(type, index, ModeAttributeTypes), notify);
}

XNotification XServerEdits::AddGroup(const XText& type, int number, int page, int parentGroup, XNotify notify)
{
    return Change([&](XServerModel& m) { TypeOf(m, type).AddGroup(number, page, parentGroup); },
                  Objects(type, number, ModeGroups), notify);
}

XNotification XServerEdits::RemoveGroup(const XText& type, int number, XNotify notify)
{
    return Change([&](XServerModel& m) { RemoveFrom(TypeOf(m, type).groups, GroupOf(m, type, number)); },
                  Objects(type, number, ModeGroups), notify);
}

XNotification XServerEdits::SetGroupProperty(const XText& type, int number, int index,
                                             const XModelValue& value, XNotify notify)
{
    return Change(
        [&](XServerModel& m) { SetBut(GroupOf(m, type, number), {XProperty::GroupNumber}, index, value); },
        Properties(type, number, ModeGroups), notify);
}

XNotification XServerEdits::AddPage(const XText& type, int number, XNotify notify)
{
    return Change([&](XServerModel& m) { TypeOf(m, type).AddPage(number); }, Objects(type, number, ModePages),
                  notify);
}

XNotification XServerEdits::RemovePage(const XText& type, int number, XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            XModelType& owner = TypeOf(m, type);
            RemoveFrom(owner.pages, Known(owner.FindPage(number), "page"));
        },
        Objects(type, number, ModePages), notify);
}

XNotification XServerEdits::SetPageProperty(const XText& type, int number, int index,
                                            const XModelValue& value, XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            SetBut(Known(TypeOf(m, type).FindPage(number), "page"), {XProperty::PageNumber}, index, value);
        },
        Properties(type, number, ModePages), notify);
}

XNotification XServerEdits::AddEditor(const XText& type, const XText& progId, const XText& browserId,
                                      bool isDefault, bool isDefaultNew, XNotify notify)
{
    return Change(
        [&](XServerModel& m) { TypeOf(m, type).AddEditor(progId, browserId, isDefault, isDefaultNew); },
        Objects(type, 0, ModeEditors), notify);
}

XNotification XServerEdits::RemoveEditor(const XText& type, const XText& progId, XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            XModelType& owner = TypeOf(m, type);
            RemoveFrom(owner.editors, Known(owner.FindEditor(progId.Get()), "editor"));
        },
        Objects(type, 0, ModeEditors), notify);
}

XNotification XServerEdits::SetEditorProperty(const XText& type, const XText& progId, int index,
                                              const XModelValue& value, XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            SetBut(Known(TypeOf(m, type).FindEditor(progId.Get()), "editor"), {XProperty::ProgId}, index,
                   value);
        },
        Properties(type, index, ModeEditors), notify);
}

XNotification XServerEdits::AddAttributeFormat(const XText& type, const XText& attribute, int formatType,
                                               XNotify notify)
{
    return Change([&](XServerModel& m) { AttributeOf(m, type, attribute).AddFormat(formatType); },
                  Objects(type, formatType, ModeAttributeFormats), notify);
}

XNotification XServerEdits::RemoveAttributeFormat(const XText& type, const XText& attribute, int formatType,
                                                  XNotify notify)
{
    return Change([&](XServerModel& m) { RemoveFormat(AttributeOf(m, type, attribute).formats, formatType); },
                  Objects(type, formatType, ModeAttributeFormats), notify);
}

XNotification XServerEdits::SetAttributeFormatProperty(const XText& type, const XText& attribute,
                                                       int formatType, int index, const XModelValue& value,
                                                       XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            SetBut(FormatOf(AttributeOf(m, type, attribute).formats, formatType), {XProperty::DataType},
                   index, value);
        },
        Properties(type, formatType, ModeAttributeFormats), notify);
}

XNotification XServerEdits::AddGroupFormat(const XText& type, int number, XNotify notify)
{
    return Change([&](XServerModel& m) { GroupOf(m, type, number).formats.try_emplace(0); },
                  Objects(type, number, ModeGroupFormats), notify);
}

XNotification XServerEdits::RemoveGroupFormat(const XText& type, int number, XNotify notify)
{
    return Change([&](XServerModel& m) { RemoveFormat(GroupOf(m, type, number).formats, 0); },
                  Objects(type, number, ModeGroupFormats), notify);
}

XNotification XServerEdits::SetGroupFormatProperty(const XText& type, int number, int index,
                                                   const XModelValue& value, XNotify notify)
{
    return Change(
        [&](XServerModel& m) { SetBut(FormatOf(GroupOf(m, type, number).formats, 0), {}, index, value); },
        Properties(type, number, ModeGroupFormats), notify);
}

XNotification XServerEdits::AddGlobalSpecFormat(const XText& propertyId, int formatType, XNotify notify)
{
    return Change([&](XServerModel& m) { SpecOf(m, propertyId).AddFormat(formatType); },
                  Objects(propertyId, formatType, ModeGlobalSpecs), notify);
}

XNotification XServerEdits::RemoveGlobalSpecFormat(const XText& propertyId, int formatType, XNotify notify)
{
    return Change([&](XServerModel& m) { RemoveFormat(SpecOf(m, propertyId).formats, formatType); },
                  Objects(propertyId, formatType, ModeGlobalSpecs), notify);
}

XNotification XServerEdits::SetGlobalSpecFormatProperty(const XText& propertyId, int formatType, int index,
                                                        const XModelValue& value, XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            SetBut(FormatOf(SpecOf(m, propertyId).formats, formatType), {XProperty::DataType}, index, value);
        },
        Properties(propertyId, formatType, ModeGlobalSpecs), notify);
}

XNotification XServerEdits::AddGlobalSpec(const XText& propertyId, XNotify notify)
{
    return Change([&](XServerModel& m) { m.AddGlobalSpec(propertyId); },
                  Objects(propertyId, 0, ModeGlobalSpecs), notify);
}

XNotification XServerEdits::RemoveGlobalSpec(const XText& propertyId, XNotify notify)
{
    return Change([&](XServerModel& m) { RemoveFrom(m.specs, SpecOf(m, propertyId)); },
                  Objects(propertyId, 0, ModeGlobalSpecs), notify);
}

XNotification XServerEdits::SetGlobalSpecProperty(const XText& propertyId, int index,
                                                  const XModelValue& value, XNotify notify)
{
    return Change(
        [&](XServerModel& m) { SetBut(SpecOf(m, propertyId), {XProperty::AttributeName}, index, value); },
        Properties(propertyId, index, ModeGlobalSpecs), notify);
}

XNotification XServerEdits::AddBrowserId(const XText& name, XNotify notify)
{
    return Change([&](XServerModel& m) { m.AddBrowserId(name); }, Objects(name, 0, ModeBrowserIds), notify);
}

XNotification XServerEdits::RemoveBrowserId(const XText& name, XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            RemoveFrom(m.browserIds, *ElementOf(m.browserIds, XProperty::BrowserIdName, name));
        },
        Objects(name, 0, ModeBrowserIds), notify);
}

XNotification XServerEdits::SetBrowserIdProperty(const XText& name, int index, const XModelValue& value,
                                                 XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            SetBut(*ElementOf(m.browserIds, XProperty::BrowserIdName, name), {XProperty::BrowserIdName},
                   index, value);
        },
        Properties(name, index, ModeBrowserIds), notify);
}

XNotification XServerEdits::AddRelation(const XText& parent, const XText& child, const XText& childList,
                                        int pprRelationType, bool systemInternal, XNotify notify)
{
    return Change(
        [&](XServerModel& m) { m.AddRelation(parent, child, childList, pprRelationType, systemInternal); },
        Relations(parent), notify);
}

XNotification XServerEdits::RemoveRelation(const XText& parent, const XText& child, const XText& childList,
                                           XNotify notify)
{
    return Change([&](XServerModel& m) { RemoveFrom(m.relations, RelationOf(m, parent, child, childList)); },
                  Relations(parent), notify);
}

XNotification XServerEdits::SetRelationProperty(const XText& parent, const XText& child,
                                                const XText& childList, int index, const XModelValue& value,
                                                XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            SetBut(RelationOf(m, parent, child, childList),
                   {XProperty::ParentName, XProperty::ChildName, XProperty::ChildList}, index, value);
        },
        Relations(parent), notify);
}

XNotification XServerEdits::AddPCInfo(const XText& parent, const XText& child, const XText& childList,
                                      const XText& browserId, bool isNew, XNotify notify)
{
    return Change(
        [&](XServerModel& m) { RelationOf(m, parent, child, childList).AddPCInfo(browserId, isNew); },
        Relations(parent), notify);
}

XNotification XServerEdits::RemovePCInfo(const XText& parent, const XText& child, const XText& childList,
                                         const XText& browserId, XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            auto& infos = RelationOf(m, parent, child, childList).infos;
            RemoveFrom(infos, *ElementOf(infos, XProperty::PCInfoBrowser, browserId));
        },
        Relations(parent), notify);
}

XNotification XServerEdits::SetPCInfoProperty(const XText& parent, const XText& child, const XText& childList,
                                              const XText& browserId, int index, const XModelValue& value,
                                              XNotify notify)
{
    return Change(
        [&](XServerModel& m) {
            auto& infos = RelationOf(m, parent, child, childList).infos;
            ElementOf(infos, XProperty::PCInfoBrowser, browserId)->properties.Set(index, value);
        },
        Relations(parent), notify);
}
