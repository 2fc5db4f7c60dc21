// SPDX-License-Identifier: MIT
//
// Edits of formats, global format specs, browser ids and relations.
#include "XEditParts.h"

using namespace LXEdits;

XNotification XServerEdits::AddAttributeFormat(const XText& type, const XText& attribute, int formatType,
                                               XNotify notify) {
    return Change([&](XServerModel& m) { AttributeOf(m, type, attribute).AddFormat(formatType); },
                  Objects(type, formatType, LXUM_ATTRIBUTEFORMATS), notify);
}

XNotification XServerEdits::RemoveAttributeFormat(const XText& type, const XText& attribute, int formatType,
                                                  XNotify notify) {
    return Change([&](XServerModel& m) { RemoveFormat(AttributeOf(m, type, attribute).formats, formatType); },
                  Objects(type, formatType, LXUM_ATTRIBUTEFORMATS), notify);
}

XNotification XServerEdits::SetAttributeFormatProperty(const XText& type, const XText& attribute, int formatType,
                                                       int index, const XModelValue& value, XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            SetBut(FormatOf(AttributeOf(m, type, attribute).formats, formatType), {XProperty::DataType}, index, value);
        },
        Properties(type, formatType, LXUM_ATTRIBUTEFORMATS), notify);
}

XNotification XServerEdits::AddGroupFormat(const XText& type, int number, XNotify notify) {
    return Change([&](XServerModel& m) { GroupOf(m, type, number).formats.try_emplace(0); },
                  Objects(type, number, LXUM_GROUPFORMATS), notify);
}

XNotification XServerEdits::RemoveGroupFormat(const XText& type, int number, XNotify notify) {
    return Change([&](XServerModel& m) { RemoveFormat(GroupOf(m, type, number).formats, 0); },
                  Objects(type, number, LXUM_GROUPFORMATS), notify);
}

XNotification XServerEdits::SetGroupFormatProperty(const XText& type, int number, int index, const XModelValue& value,
                                                   XNotify notify) {
    return Change([&](XServerModel& m) { SetBut(FormatOf(GroupOf(m, type, number).formats, 0), {}, index, value); },
                  Properties(type, number, LXUM_GROUPFORMATS), notify);
}

XNotification XServerEdits::AddGlobalSpecFormat(const XText& propertyId, int formatType, XNotify notify) {
    return Change([&](XServerModel& m) { SpecOf(m, propertyId).AddFormat(formatType); },
                  Objects(propertyId, formatType, LXUM_GLOBALFORMATSPECS), notify);
}

XNotification XServerEdits::RemoveGlobalSpecFormat(const XText& propertyId, int formatType, XNotify notify) {
    return Change([&](XServerModel& m) { RemoveFormat(SpecOf(m, propertyId).formats, formatType); },
                  Objects(propertyId, formatType, LXUM_GLOBALFORMATSPECS), notify);
}

XNotification XServerEdits::SetGlobalSpecFormatProperty(const XText& propertyId, int formatType, int index,
                                                        const XModelValue& value, XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            SetBut(FormatOf(SpecOf(m, propertyId).formats, formatType), {XProperty::DataType}, index, value);
        },
        Properties(propertyId, formatType, LXUM_GLOBALFORMATSPECS), notify);
}

XNotification XServerEdits::AddGlobalSpec(const XText& propertyId, XNotify notify) {
    return Change([&](XServerModel& m) { m.AddGlobalSpec(propertyId); }, Objects(propertyId, 0, LXUM_GLOBALFORMATSPECS),
                  notify);
}

XNotification XServerEdits::RemoveGlobalSpec(const XText& propertyId, XNotify notify) {
    return Change([&](XServerModel& m) { RemoveFrom(m.specs, SpecOf(m, propertyId)); },
                  Objects(propertyId, 0, LXUM_GLOBALFORMATSPECS), notify);
}

XNotification XServerEdits::SetGlobalSpecProperty(const XText& propertyId, int index, const XModelValue& value,
                                                  XNotify notify) {
    return Change([&](XServerModel& m) { SetBut(SpecOf(m, propertyId), {XProperty::AttributeName}, index, value); },
                  Properties(propertyId, index, LXUM_GLOBALFORMATSPECS), notify);
}

XNotification XServerEdits::AddBrowserId(const XText& name, XNotify notify) {
    return Change([&](XServerModel& m) { m.AddBrowserId(name); }, Objects(name, 0, LXUM_BROWSERIDS), notify);
}

XNotification XServerEdits::RemoveBrowserId(const XText& name, XNotify notify) {
    return Change(
        [&](XServerModel& m) { RemoveFrom(m.browserIds, *ElementOf(m.browserIds, XProperty::BrowserIdName, name)); },
        Objects(name, 0, LXUM_BROWSERIDS), notify);
}

XNotification XServerEdits::SetBrowserIdProperty(const XText& name, int index, const XModelValue& value,
                                                 XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            SetBut(*ElementOf(m.browserIds, XProperty::BrowserIdName, name), {XProperty::BrowserIdName}, index, value);
        },
        Properties(name, index, LXUM_BROWSERIDS), notify);
}

XNotification XServerEdits::AddRelation(const XText& parent, const XText& child, const XText& childList,
                                        int pprRelationType, bool systemInternal, XNotify notify) {
    return Change([&](XServerModel& m) { m.AddRelation(parent, child, childList, pprRelationType, systemInternal); },
                  Relations(parent), notify);
}

XNotification XServerEdits::RemoveRelation(const XText& parent, const XText& child, const XText& childList,
                                           XNotify notify) {
    return Change([&](XServerModel& m) { RemoveFrom(m.relations, RelationOf(m, parent, child, childList)); },
                  Relations(parent), notify);
}

XNotification XServerEdits::SetRelationProperty(const XText& parent, const XText& child, const XText& childList,
                                                int index, const XModelValue& value, XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            SetBut(RelationOf(m, parent, child, childList),
                   {XProperty::ParentName, XProperty::ChildName, XProperty::ChildList}, index, value);
        },
        Relations(parent), notify);
}

XNotification XServerEdits::AddPCInfo(const XText& parent, const XText& child, const XText& childList,
                                      const XText& browserId, bool isNew, XNotify notify) {
    return Change([&](XServerModel& m) { RelationOf(m, parent, child, childList).AddPCInfo(browserId, isNew); },
                  Relations(parent), notify);
}

XNotification XServerEdits::RemovePCInfo(const XText& parent, const XText& child, const XText& childList,
                                         const XText& browserId, XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            auto& infos = RelationOf(m, parent, child, childList).infos;
            RemoveFrom(infos, *ElementOf(infos, XProperty::PCInfoBrowser, browserId));
        },
        Relations(parent), notify);
}

XNotification XServerEdits::SetPCInfoProperty(const XText& parent, const XText& child, const XText& childList,
                                              const XText& browserId, int index, const XModelValue& value,
                                              XNotify notify) {
    return Change(
        [&](XServerModel& m) {
            auto& infos = RelationOf(m, parent, child, childList).infos;
            ElementOf(infos, XProperty::PCInfoBrowser, browserId)->properties.Set(index, value);
        },
        Relations(parent), notify);
}
