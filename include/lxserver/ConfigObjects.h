// SPDX-License-Identifier: MIT
//
// The objects that a server returns: types, their components, relations, browser ids and global format specs. Each read
// looks the values up in the server's newest snapshot. The object of a removed element keeps returning the values that
// it was created with.
//
// Ownership  An object keeps its server alive.
// Threading  Free-threaded.
// Errors     See Object.h. SetProperty and Set return the result of the server's SetValue. Methods that add or remove
//            elements return E_NOTIMPL.
#ifndef LXSERVER_CONFIGOBJECTS_H
#define LXSERVER_CONFIGOBJECTS_H

#include <lxserver/ConfigServer.h>
#include <lxserver/Enumerator.h>
#include <lxserver/FlatArray.h>
#include <lxserver/Refusals.h>

namespace lx {
template <class I> class ConfigObject : public ConfigObjectRefusals<Object<I>> {
public:
    using Interface = I;

    ConfigObject(ServerPtr server, Key key, Record record)
        : m_server(std::move(server)), m_key(std::move(key)), m_record(std::move(record)) {}

    HRESULT STDMETHODCALLTYPE Get(BSTR name, VARIANT* value) override {
        return this->Call(
            "Get", [&] { return ReadValue(IndexOf(name), value); }, value);
    }
    HRESULT STDMETHODCALLTYPE Set(BSTR name, VARIANT value) override {
        return this->Call("Set", [&] { return WriteValue(IndexOf(name), value); });
    }
    HRESULT STDMETHODCALLTYPE GetProperty(int index, VARIANT* value) override {
        return this->Call(
            "GetProperty", [&] { return ReadValue(index, value); }, value);
    }
    HRESULT STDMETHODCALLTYPE SetProperty(int index, VARIANT value) override {
        return this->Call("SetProperty", [&] { return WriteValue(index, value); });
    }
    HRESULT STDMETHODCALLTYPE GetProperties(SAFEARRAY** values) override {
        return this->Call(
            "GetProperties",
            [&] {
                FlatArray array;
                array.Values(Newest());
                *values = array.Detach();
                return S_OK;
            },
            values);
    }

protected:
    void* Face(REFIID iid) noexcept override {
        return iid == __uuidof(ILXConfigObject) ? static_cast<ILXConfigObject*>(this) : Object<I>::Face(iid);
    }
    const ServerPtr& Server() const noexcept { return m_server; }
    const Key& ItsKey() const noexcept { return m_key; }
    /// Calls a function with this object's element in the newest snapshot.
    /// @param found  HRESULT found(const Model&, const Element&)
    /// @return       its result; S_FALSE without a call if the element was removed
    template <class Element, class F> HRESULT With(F&& found) {
        const ModelPtr model = m_server->Snapshot();
        const Record* const record = Find(*model, m_key);
        return record != nullptr ? found(*model, static_cast<const Element&>(*record)) : S_FALSE;
    }

private:
    Record Newest() const {
        const ModelPtr model = m_server->Snapshot();
        const Record* const record = Find(*model, m_key);
        return record != nullptr ? *record : m_record;
    }
    int IndexOf(BSTR name) const { return Properties::Of(m_key.kind).Find(ViewOf(name)); }
    HRESULT ReadValue(int index, VARIANT* value) const {
        Newest()[index].CopyTo(value);
        return V_VT(value) == VT_EMPTY ? S_FALSE : S_OK;
    }
    HRESULT WriteValue(int index, const VARIANT& value) {
        if (index < 0 || index >= m_record.Count()) { return E_INVALIDARG; }
        return m_server->SetValue(m_key, index, Value::From(value));
    }

    const ServerPtr m_server;
    const Key m_key;
    const Record m_record; // the values at creation
};

template <class I> class PlainObject final : public PlainRefusals<ConfigObject<I>> {
public:
    using PlainRefusals<ConfigObject<I>>::PlainRefusals;
};
using PageObject = PlainObject<ILXPage>;
using FormatObject = PlainObject<ILXFormat>;
using AttributeTypeObject = PlainObject<ILXAttributeType>;
using EditorObject = PlainObject<ILXConfObjEditor>;
using PCInfoObject = PlainObject<ILXPCInfo>;
using BrowserIdObject = PlainObject<ILXBrowserId>;

/// Returns a new object for a record, or S_FALSE if the record is null.
template <class T, class I> HRESULT HandOutOne(const ServerPtr& server, Key key, const Record* record, I** out) {
    if (record == nullptr) { return S_FALSE; }
    *out = Make<T>(server, std::move(key), *record).Detach();
    return S_OK;
}

/// An element with one format per format type: an attribute or a global format spec.
template <class Base, class Element, Kind formatKind> class FormattedObject : public Base {
public:
    using Base::Base;
    HRESULT STDMETHODCALLTYPE GetFormat(int formatType, ILXFormat** format) override {
        return this->Call(
            "GetFormat",
            [&] {
                return this->template With<Element>([&](const Model&, const Element& element) {
                    Key key = this->ItsKey();
                    key.kind = formatKind;
                    key.number = formatType;
                    return HandOutOne<FormatObject>(this->Server(), key, FindIn(element.formats, formatType), format);
                });
            },
            format);
    }
};

using SpecObject = FormattedObject<FormatRefusals<ConfigObject<ILXGlobalAttributeFormatSpec>>, GlobalSpecRecord,
                                   Kind::GlobalSpecFormat>;

class AttributeObject final
    : public FormattedObject<AttributeRefusals<ConfigObject<ILXAttribute>>, AttributeRecord, Kind::AttributeFormat> {
public:
    using FormattedObject::FormattedObject;
    HRESULT STDMETHODCALLTYPE GetAttributeTypeEnum(ILXAttributeTypeEnum** types) override {
        return Call(
            "GetAttributeTypeEnum",
            [&] {
                return With<AttributeRecord>([&](const Model&, const AttributeRecord& attribute) {
                    std::vector<Ref<ILXAttributeType>> objects;
                    for (const auto& [name, record] : attribute.types) {
                        Key key = ItsKey();
                        key.kind = Kind::AttributeType;
                        key.part = name;
                        objects.push_back(Make<AttributeTypeObject>(Server(), std::move(key), record));
                    }
                    return HandOut(std::move(objects), types);
                });
            },
            types);
    }
};

/// Returns an enumerator over the groups of a type that pass a filter, in ascending order of their numbers.
/// @param takes  the filter: bool takes(const GroupRecord&)
template <class F>
HRESULT HandOutGroups(const ServerPtr& server, const TypeRecord& type, F&& takes, ILXGroupEnum** out);

class GroupObject final : public GroupRefusals<ConfigObject<ILXGroup>> {
public:
    using GroupRefusals::GroupRefusals;
    HRESULT STDMETHODCALLTYPE GetChildGroupEnum(ILXGroupEnum** groups) override {
        return Call(
            "GetChildGroupEnum",
            [&] {
                return With<GroupRecord>([&](const Model& model, const GroupRecord&) {
                    return HandOutGroups(
                        Server(), model.types.at(ItsKey().owner),
                        [&](const GroupRecord& g) { return g[ParentGroup].AsNumber() == ItsKey().number; }, groups);
                });
            },
            groups);
    }
    HRESULT STDMETHODCALLTYPE GetFormat(ILXFormat** format) override {
        return Call(
            "GetFormat",
            [&] {
                return With<GroupRecord>([&](const Model&, const GroupRecord& group) {
                    Key key = ItsKey();
                    key.kind = Kind::GroupFormat;
                    return HandOutOne<FormatObject>(Server(), key, group.format ? &*group.format : nullptr, format);
                });
            },
            format);
    }
};

template <class F>
HRESULT HandOutGroups(const ServerPtr& server, const TypeRecord& type, F&& takes, ILXGroupEnum** out) {
    std::vector<Ref<ILXGroup>> objects;
    for (const auto& [number, group] : type.groups) {
        if (takes(group)) { objects.push_back(Make<GroupObject>(server, Key::OfGroup(type.Name(), number), group)); }
    }
    return HandOut(std::move(objects), out);
}

class RelationObject final : public RelationRefusals<ConfigObject<ILXParentChild>> {
public:
    using RelationRefusals::RelationRefusals;
    HRESULT STDMETHODCALLTYPE GetPCInfoEnum(ILXPCInfoEnum** infos) override {
        return Call(
            "GetPCInfoEnum",
            [&] {
                return With<RelationRecord>([&](const Model&, const RelationRecord& relation) {
                    std::vector<Ref<ILXPCInfo>> objects;
                    for (const PCInfoRecord& info : relation.infos) {
                        objects.push_back(Make<PCInfoObject>(Server(), KeyOf(info), info));
                    }
                    return HandOut(std::move(objects), infos);
                });
            },
            infos);
    }
    HRESULT STDMETHODCALLTYPE GetPCInfo(BSTR browserId, ILXPCInfo** out) override {
        return Call(
            "GetPCInfo",
            [&] {
                return With<RelationRecord>([&](const Model&, const RelationRecord& relation) {
                    const PCInfoRecord* const info = FindInfo(relation, ViewOf(browserId));
                    return info != nullptr ? HandOutOne<PCInfoObject>(Server(), KeyOf(*info), info, out) : S_FALSE;
                });
            },
            out);
    }

private:
    Key KeyOf(const PCInfoRecord& info) const {
        Key key = ItsKey();
        key.kind = Kind::PCInfo;
        key.browser = info[PCInfoBrowser].AsText();
        return key;
    }
};

inline Key KeyOf(const RelationRecord& relation) {
    return {
        Kind::Relation, relation[ParentName].AsText(), relation[ChildName].AsText(), relation[ChildList].AsText(), {}};
}
} // namespace lx

#endif
