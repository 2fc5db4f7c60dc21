// SPDX-License-Identifier: MIT
//
// Edits of types and their components.
#include "XEditParts.h"
#include "XServerCore.h"

using namespace LXEdits;

XNotification XServerEdits::Change(const std::function<void(XServerModel&)>& change, const XText& dataId,
                                   XNotify notify) {
    m_core->Change(change);
    return dataId.Get().empty() ? XNotification() : m_core->Notifier().Send(dataId, "cfc_specific", 0, notify);
}

XNotification XServerEdits::AddType(const XText& name, const XText& base, XNotify notify) {
    return Change([&](XServerModel& m) { m.AddType(name, base); }, Objects(name, 0, LXUM_TYPES), notify);
}

XNotification XServerEdits::RemoveType(const XText& name, XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            TypeOf(m, name);
            m.types.erase(name.Get());
        },
        Objects(name, 0, LXUM_TYPES), notify);
}

XNotification XServerEdits::SetTypeProperty(const XText& type, int index, const XModelValue& value, XNotify notify) {
    const bool isBase = index == XProperty::BaseTypeName; // changes the links between types
    const XNotification sent =
        Change([&](XServerModel& m) { SetBut(TypeOf(m, type), {XProperty::TypeName}, index, value); },
               isBase ? Objects(type, 0, LXUM_TYPES) : Properties(type, index, LXUM_TYPES), notify);
    return index != XProperty::Searchable
               ? sent
               : Change([](XServerModel&) {}, DataId("searchable", type, index, LXUM_TYPES), notify);
}

XNotification XServerEdits::SetTypeListed(const XText& type, bool listed, XNotify notify) {
    return Change([&](XServerModel& m) { TypeOf(m, type).listed = listed; }, Objects(type, 0, LXUM_TYPES), notify);
}

XNotification XServerEdits::AddAttribute(const XText& type, const XText& name, int group, XNotify notify) {
    return Change([&](XServerModel& m) { TypeOf(m, type).AddAttribute(name, group); },
                  Objects(type, 0, LXUM_ATTRIBUTES), notify);
}

XNotification XServerEdits::RemoveAttribute(const XText& type, const XText& name, XNotify notify) {
    return Change([&](XServerModel& m) { RemoveFrom(TypeOf(m, type).attributes, AttributeOf(m, type, name)); },
                  Objects(type, 0, LXUM_ATTRIBUTES), notify);
}

XNotification XServerEdits::SetAttributeProperty(const XText& type, const XText& name, int index,
                                                 const XModelValue& value, XNotify notify) {
    return Change(
        [&](XServerModel& m) { SetBut(AttributeOf(m, type, name), {XProperty::AttributeName}, index, value); },
        Properties(type, index, LXUM_ATTRIBUTES), notify);
}

XNotification XServerEdits::AddAttributeType(const XText& type, const XText& attribute, const XText& name,
                                             XNotify notify) {
    return Change([&](XServerModel& m) { AttributeOf(m, type, attribute).AddType(name); },
                  Objects(type, 0, LXUM_ATTRIBUTETYPES), notify);
}

XNotification XServerEdits::RemoveAttributeType(const XText& type, const XText& attribute, const XText& name,
                                                XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            auto& types = AttributeOf(m, type, attribute).types;
            RemoveFrom(types, *ElementOf(types, XProperty::AttributeTypeName, name));
        },
        Objects(type, 0, LXUM_ATTRIBUTETYPES), notify);
}

XNotification XServerEdits::SetAttributeTypeProperty(const XText& type, const XText& attribute, const XText& name,
                                                     int index, const XModelValue& value, XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            auto& types = AttributeOf(m, type, attribute).types;
            SetBut(*ElementOf(types, XProperty::AttributeTypeName, name), {XProperty::AttributeTypeName}, index, value);
        },
        Properties(type, index, LXUM_ATTRIBUTETYPES), notify);
}

XNotification XServerEdits::AddGroup(const XText& type, int number, int page, int parentGroup, XNotify notify) {
    return Change([&](XServerModel& m) { TypeOf(m, type).AddGroup(number, page, parentGroup); },
                  Objects(type, number, LXUM_GROUPS), notify);
}

XNotification XServerEdits::RemoveGroup(const XText& type, int number, XNotify notify) {
    return Change([&](XServerModel& m) { RemoveFrom(TypeOf(m, type).groups, GroupOf(m, type, number)); },
                  Objects(type, number, LXUM_GROUPS), notify);
}

XNotification XServerEdits::SetGroupProperty(const XText& type, int number, int index, const XModelValue& value,
                                             XNotify notify) {
    return Change([&](XServerModel& m) { SetBut(GroupOf(m, type, number), {XProperty::GroupNumber}, index, value); },
                  Properties(type, number, LXUM_GROUPS), notify);
}

XNotification XServerEdits::AddPage(const XText& type, int number, XNotify notify) {
    return Change([&](XServerModel& m) { TypeOf(m, type).AddPage(number); }, Objects(type, number, LXUM_PAGES), notify);
}

XNotification XServerEdits::RemovePage(const XText& type, int number, XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            XModelType& owner = TypeOf(m, type);
            RemoveFrom(owner.pages, Known(owner.FindPage(number), "page"));
        },
        Objects(type, number, LXUM_PAGES), notify);
}

XNotification XServerEdits::SetPageProperty(const XText& type, int number, int index, const XModelValue& value,
                                            XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            SetBut(Known(TypeOf(m, type).FindPage(number), "page"), {XProperty::PageNumber}, index, value);
        },
        Properties(type, number, LXUM_PAGES), notify);
}

XNotification XServerEdits::AddEditor(const XText& type, const XText& progId, const XText& browserId, bool isDefault,
                                      bool isDefaultNew, XNotify notify) {
    return Change([&](XServerModel& m) { TypeOf(m, type).AddEditor(progId, browserId, isDefault, isDefaultNew); },
                  Objects(type, 0, LXUM_EDITORS), notify);
}

XNotification XServerEdits::RemoveEditor(const XText& type, const XText& progId, XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            XModelType& owner = TypeOf(m, type);
            RemoveFrom(owner.editors, Known(owner.FindEditor(progId.Get()), "editor"));
        },
        Objects(type, 0, LXUM_EDITORS), notify);
}

XNotification XServerEdits::SetEditorProperty(const XText& type, const XText& progId, int index,
                                              const XModelValue& value, XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            SetBut(Known(TypeOf(m, type).FindEditor(progId.Get()), "editor"), {XProperty::ProgId}, index, value);
        },
        Properties(type, index, LXUM_EDITORS), notify);
}
