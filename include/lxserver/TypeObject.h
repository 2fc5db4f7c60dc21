// SPDX-License-Identifier: MIT
//
// The type object that clients receive. Pages, groups and editors are not inherited. Attribute look-ups, and attribute
// enumerations by group or display, include inherited attributes; a base type's attribute takes precedence.
// GetAttributeEnum lists only the type's own attributes.
//
// Ownership, threading, errors: see ConfigObjects.h.
#ifndef LXSERVER_TYPEOBJECT_H
#define LXSERVER_TYPEOBJECT_H

#include <lxserver/BulkArrays.h>

namespace lx {
/// Whether an attribute is shown in one of the displays of a mask.
/// @param mask  bits of LXDisplay; 0 accepts every attribute
inline bool IsShownIn(const AttributeRecord& attribute, LONG mask) {
    const auto is = [&attribute](int index) { return attribute[index].AsBool(); };
    return mask == 0 || (DisplaysOf(is, attribute[Origin].AsNumber()) & mask) != 0;
}

class TypeObject final : public TypeRefusals<ConfigObject<ILXType>> {
public:
    using TypeRefusals::TypeRefusals;

    HRESULT STDMETHODCALLTYPE GetPageEnum(ILXPageEnum** pages) override {
        return List<PageObject>("GetPageEnum", &TypeRecord::pages, pages);
    }
    HRESULT STDMETHODCALLTYPE GetPage(int number, ILXPage** page) override {
        return FindOne<PageObject>("GetPage", PartOf(Kind::Page, number), page);
    }
    HRESULT STDMETHODCALLTYPE GetGroupEnum(ILXGroupEnum** groups) override {
        return ListGroups("GetGroupEnum", groups, [](const GroupRecord&) { return true; });
    }
    HRESULT STDMETHODCALLTYPE GetToplevelGroupEnum(ILXGroupEnum** groups) override {
        return ListGroups("GetToplevelGroupEnum", groups, IsTopLevel);
    }
    HRESULT STDMETHODCALLTYPE GetPageGroupEnum(int page, ILXGroupEnum** groups) override {
        return ListGroups("GetPageGroupEnum", groups,
                          [page](const GroupRecord& group) { return group[GroupPage].AsNumber() == page; });
    }
    HRESULT STDMETHODCALLTYPE GetPageToplevelGroupEnum(int page, ILXGroupEnum** groups) override {
        return ListGroups("GetPageToplevelGroupEnum", groups, [page](const GroupRecord& group) {
            return group[GroupPage].AsNumber() == page && IsTopLevel(group);
        });
    }
    HRESULT STDMETHODCALLTYPE GetGroup(int number, ILXGroup** group) override {
        return FindOne<GroupObject>("GetGroup", PartOf(Kind::Group, number), group);
    }

    HRESULT STDMETHODCALLTYPE GetAttributeEnum(ILXAttributeEnum** attributes) override {
        return List<AttributeObject>("GetAttributeEnum", &TypeRecord::attributes, attributes);
    }
    HRESULT STDMETHODCALLTYPE GetDisplayAttributeEnum(LONG mask, ILXAttributeEnum** attributes) override {
        return ListAttributes("GetDisplayAttributeEnum", attributes,
                              [mask](const AttributeRecord& attribute) { return IsShownIn(attribute, mask); });
    }
    HRESULT STDMETHODCALLTYPE GetDisplayGroupAttributeEnum(LONG mask, int group,
                                                           ILXAttributeEnum** attributes) override {
        return ListAttributes("GetDisplayGroupAttributeEnum", attributes, [=](const AttributeRecord& attribute) {
            return IsShownIn(attribute, mask) && attribute[AttributeGroup].AsNumber() == group;
        });
    }
    HRESULT STDMETHODCALLTYPE GetGroupAttributeEnum(int group, ILXAttributeEnum** attributes) override {
        return ListAttributes("GetGroupAttributeEnum", attributes, [group](const AttributeRecord& attribute) {
            return attribute[AttributeGroup].AsNumber() == group;
        });
    }
    HRESULT STDMETHODCALLTYPE GetAttribute(BSTR name, ILXAttribute** attribute) override {
        return Call(
            "GetAttribute",
            [&] {
                const ModelPtr model = Server()->Snapshot();
                const auto all = AllAttributes(*model);
                const auto found = all.find(Text(ViewOf(name)));
                if (found == all.end()) { return S_FALSE; }
                return HandOutOne<AttributeObject>(Server(), KeyOf(*found), found->second.second, attribute);
            },
            attribute);
    }

    HRESULT STDMETHODCALLTYPE GetConfObjEditorEnum(ILXConfObjEditorEnum** editors) override {
        return List<EditorObject>("GetConfObjEditorEnum", &TypeRecord::editors, editors);
    }
    HRESULT STDMETHODCALLTYPE GetConfObjEditor(BSTR progId, BSTR, BSTR, ILXConfObjEditor** editor) override {
        return FindOne<EditorObject>("GetConfObjEditor", PartOf(Kind::Editor, 0, Text(ViewOf(progId))), editor);
    }
    HRESULT STDMETHODCALLTYPE GetDefaultEditor(BSTR browserId, ILXConfObjEditor** editor) override {
        return FindEditor("GetDefaultEditor", browserId, DefaultEditor, editor);
    }
    HRESULT STDMETHODCALLTYPE GetDefaultNewEditor(BSTR browserId, ILXConfObjEditor** editor) override {
        return FindEditor("GetDefaultNewEditor", browserId, DefaultNewEditor, editor);
    }

    HRESULT STDMETHODCALLTYPE GetTypeComponentData(LONG mode, SAFEARRAY** components) override {
        return Call(
            "GetTypeComponentData",
            [&] {
                return With<TypeRecord>([&](const Model& model, const TypeRecord& type) {
                    if (mode <= 0) { return S_FALSE; }
                    *components = BulkWriter(Server(), model, mode).Components(type);
                    return S_OK;
                });
            },
            components);
    }

private:
    /// Attributes by name, each with the type that defines it.
    using Attributes = std::map<Text, std::pair<const TypeRecord*, const AttributeRecord*>>;

    static bool IsTopLevel(const GroupRecord& group) { return group[ParentGroup].AsNumber() == 0; }
    Key PartOf(Kind kind, int number, Text name = {}) const {
        return {kind, ItsKey().owner, std::move(name), {}, {}, number};
    }
    static Key KeyOf(const Attributes::value_type& attribute) {
        return Key::OfAttribute(attribute.second.first->Name(), attribute.first);
    }
    /// All attributes, including inherited ones. A base type's attribute takes precedence.
    Attributes AllAttributes(const Model& model) const {
        Attributes all;
        for (const TypeRecord* const type : model.BaseChain(ItsKey().owner)) {
            for (const auto& [name, attribute] : type->attributes) {
                all[name] = {type, &attribute};
            }
        }
        return all;
    }

    template <class T, class I> HRESULT FindOne(std::string_view method, Key key, I** out) {
        return Call(
            method,
            [&] {
                const ModelPtr model = Server()->Snapshot();
                return HandOutOne<T>(Server(), key, Find(*model, key), out);
            },
            out);
    }
    template <class F> HRESULT ListGroups(std::string_view method, ILXGroupEnum** out, F&& takes) {
        return Call(
            method,
            [&] {
                return With<TypeRecord>(
                    [&](const Model&, const TypeRecord& type) { return HandOutGroups(Server(), type, takes, out); });
            },
            out);
    }
    /// The type's own components of a kind.
    template <class T, class Map, class IEnumX>
    HRESULT List(std::string_view method, Map TypeRecord::*records, IEnumX** out) {
        return Call(
            method,
            [&] {
                return With<TypeRecord>([&](const Model&, const TypeRecord& type) {
                    std::vector<Ref<typename T::Interface>> objects;
                    for (const auto& [id, record] : type.*records) {
                        objects.push_back(Make<T>(Server(), KeyOfComponent(record.What(), id), record));
                    }
                    return HandOut(std::move(objects), out);
                });
            },
            out);
    }
    Key KeyOfComponent(Kind kind, int number) const { return PartOf(kind, number); }
    Key KeyOfComponent(Kind kind, const Text& name) const { return PartOf(kind, 0, name); }
    /// Returns an enumerator over the attributes that pass a filter, including inherited ones.
    template <class F> HRESULT ListAttributes(std::string_view method, ILXAttributeEnum** out, F&& takes) {
        return Call(
            method,
            [&] {
                const ModelPtr model = Server()->Snapshot();
                std::vector<Ref<ILXAttribute>> objects;
                for (const auto& entry : AllAttributes(*model)) {
                    const AttributeRecord& record = *entry.second.second;
                    if (takes(record)) { objects.push_back(Make<AttributeObject>(Server(), KeyOf(entry), record)); }
                }
                return HandOut(std::move(objects), out);
            },
            out);
    }
    HRESULT FindEditor(std::string_view method, BSTR browserId, int flag, ILXConfObjEditor** out) {
        return Call(
            method,
            [&] {
                return With<TypeRecord>([&](const Model&, const TypeRecord& type) {
                    for (const auto& [progId, editor] : type.editors) {
                        if (editor[flag].AsBool() &&
                            EqualWithoutCase(editor[EditorBrowserId].AsText(), ViewOf(browserId))) {
                            return HandOutOne<EditorObject>(Server(), PartOf(Kind::Editor, 0, progId), &editor, out);
                        }
                    }
                    return S_FALSE;
                });
            },
            out);
    }
};

inline Ref<IUnknown> ModelSource::ObjectOf(const TypeRecord& type) const {
    if (!m_withObjects) { return {}; }
    return Make<TypeObject>(m_server, Key::OfType(type.Name()), type);
}
} // namespace lx

#endif
