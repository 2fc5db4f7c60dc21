// SPDX-License-Identifier: MIT
#include "XBulkData.h"

#include "XServerType.h"

#include <lxserver/BulkArrays.h>

namespace {
using Type = XModelRef<XModelType>;
using Types = std::vector<const Type*>;

/// The elements of the model as the kit's layout reads them, with or without the server's objects.
class XBulkSource {
public:
    static constexpr bool CarriesEmptyLists = false;

    XBulkSource(const XServerCorePtr& core, const XServerModel& model, bool withObjects)
        : m_core(core), m_model(model), m_withObjects(withObjects) {}

    static const auto& Pages(const Type& type) { return type->pages; }
    static const auto& Groups(const Type& type) { return type->groups; }
    static const auto& Editors(const Type& type) { return type->editors; }
    static const auto& Attributes(const Type& type) { return type->attributes; }
    static const auto& Types(const XModelRef<XModelAttribute>& attribute) { return attribute->types; }

    lx::Ref<IUnknown> ObjectOf(const XModelRef<XModelRelation>& relation) const {
        return Make<XServerRelation>(relation);
    }
    lx::Ref<IUnknown> ObjectOf(const Type& type) const { return Make<XServerType>(type); }
    lx::Ref<IUnknown> ObjectOf(const Type&, const XModelRef<XModelPage>& page) const { return Make<XServerPage>(page); }
    lx::Ref<IUnknown> ObjectOf(const Type& type, const XModelRef<XModelGroup>& group) const {
        return Make<XServerGroup>(group, type.Share());
    }
    lx::Ref<IUnknown> ObjectOf(const Type&, const XModelRef<XModelEditor>& editor) const {
        return Make<XServerEditor>(editor);
    }
    lx::Ref<IUnknown> ObjectOf(const Type&, const XModelRef<XModelAttribute>& attribute) const {
        return Make<XServerAttribute>(attribute);
    }
    lx::Ref<IUnknown> ObjectOf(const Type&, const XModelRef<XModelAttribute>&,
                               const XModelRef<XModelAttributeType>& part) const {
        return Make<XServerAttributeType>(part);
    }

    template <class Element> static LONG Count(const Element& element) { return element->properties.Count(); }
    template <class Element> static void Values(lx::FlatArray& to, const Element& element) {
        element->properties.AppendTo(to);
    }

    static const XLXText& NameOf(const Type& type) { return type->Name(); }
    static const XLXText& BaseOf(const Type& type) { return type->Base(); }
    static bool IsListed(const Type& type) { return type->listed; }
    static bool IsSearchable(const Type& type) { return type->Value(XProperty::Searchable).AsBool(); }
    bool Has(const XLXText& name) const { return m_model.FindType(name) != nullptr; }

private:
    template <class Object, class Element, class... Owner>
    lx::Ref<IUnknown> Make(const Element& element, const Owner&... owner) const {
        if (!m_withObjects) { return {}; }
        return static_cast<ILXConfigObject*>(LXMake<Object>(m_core, element.Share(), owner...).Get());
    }

    const XServerCorePtr& m_core;
    const XServerModel& m_model;
    const bool m_withObjects;
};

/// The types to deliver: the named ones that exist, with their bases if requested; bases precede derived types.
Types Wanted(const XServerModel& model, const std::vector<XLXText>& names, bool withBases) {
    Types wanted;
    std::map<XLXText, bool> taken;
    for (const XLXText& name : names) {
        auto chain = model.BaseChain(name);
        chain.resize(withBases ? chain.size() : std::min<size_t>(chain.size(), 1));
        for (auto type = chain.rbegin(); type != chain.rend(); ++type) {
            if (taken.try_emplace((*type)->Name(), true).second) { wanted.push_back(model.FindType((*type)->Name())); }
        }
    }
    return wanted;
}

Types All(const XServerModel& model) {
    Types all;
    for (const auto& [name, type] : model.types) {
        all.push_back(&type);
    }
    return all;
}

/// An array of the current model: built now if it carries objects, otherwise a copy of the kept one.
/// @param write  SAFEARRAY* write(const XServerModel&, BulkLayout&), under the model's lock
template <class Write> SAFEARRAY* ArrayOf(const XServerCorePtr& core, const XBulkKey& key, Write&& write) {
    const bool withObjects = core->deliversComponentObjects;
    const auto build = [&] {
        return core->Read([&](const XServerModel& model) {
            const XBulkSource source(core, model, withObjects);
            lx::BulkLayout<XBulkSource> layout(source, key.mode);
            return std::pair(core->Changes(), write(model, layout));
        });
    };
    return withObjects ? build().second : core->KeptArrays().CopyOf(key, core->Changes(), build);
}
} // namespace

SAFEARRAY* LXComponentArray(const XServerCorePtr& core, const std::shared_ptr<XModelType>& type, LONG mode) {
    return ArrayOf(core, {type.get(), {}, false, mode}, [&](const XServerModel&, auto& layout) -> SAFEARRAY* {
        const bool isAny = layout.Carries(LXTM_PAGES, type->pages) || layout.Carries(LXTM_GROUPS, type->groups) ||
                           layout.Carries(LXTM_EDITORS, type->editors) ||
                           layout.Carries(LXTM_ATTRIBUTES, type->attributes);
        return isAny ? layout.ComponentArray(Type::Of(type)) : nullptr;
    });
}

SAFEARRAY* LXTypeArray(const XServerCorePtr& core, const std::optional<std::vector<XLXText>>& names, bool withBases,
                       LONG mode) {
    return ArrayOf(core, {nullptr, names, withBases, mode}, [&](const XServerModel& model, auto& layout) {
        return layout.TypeArray(names ? Wanted(model, *names, withBases) : All(model));
    });
}

SAFEARRAY* LXRelationArray(const XServerCorePtr& core) {
    return ArrayOf(core, {core.get(), {}, false, 0},
                   [](const XServerModel& model, auto& layout) { return layout.RelationArray(model.relations); });
}
