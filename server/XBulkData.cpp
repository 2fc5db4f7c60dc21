// SPDX-License-Identifier: MIT
#include "XBulkData.h"

#include "XServerType.h"

namespace {
/// Whether a client finds the object by its name or number when its record came without it: everything but relations,
/// whose PC infos only they give.
template <class T> constexpr bool IsFoundByKey = !std::is_same_v<T, XModelRelation>;

template <class Object, class T, class... Owner>
XBulkRecord RecordOf(const XServerCorePtr& core, const XModelRef<T>& element, const Owner&... owner) {
    XBulkRecord record;
    if (!IsFoundByKey<T> || core->deliversComponentObjects.load()) {
        record.object = static_cast<ILXConfigObject*>(LXMake<Object>(core, element.Share(), owner...).Get());
    }
    record.values = element->properties.ToVariants();
    return record;
}

template <class Object, class T, class... Owner>
std::vector<XBulkRecord> RecordsOf(const XServerCorePtr& core, const XModelList<T>& list, const Owner&... owner) {
    std::vector<XBulkRecord> records;
    records.reserve(list.size());
    for (const XModelRef<T>& element : list) {
        records.push_back(RecordOf<Object>(core, element, owner...));
        if constexpr (std::is_same_v<T, XModelAttribute>) {
            records.back().types = RecordsOf<XServerAttributeType>(core, element->types);
        }
    }
    return records;
}

/// The names to deliver: those that exist, and their bases when asked for; a base stands before what derives from it.
std::vector<XLXText> Wanted(const XServerModel& model, const std::vector<XLXText>& names, bool withBases) {
    std::vector<XLXText> wanted;
    std::map<XLXText, bool> taken;
    for (const XLXText& name : names) {
        auto chain = model.BaseChain(name);
        chain.resize(withBases ? chain.size() : std::min<size_t>(chain.size(), 1));
        for (auto type = chain.rbegin(); type != chain.rend(); ++type) {
            if (taken.try_emplace((*type)->Name(), true).second) { wanted.push_back((*type)->Name()); }
        }
    }
    return wanted;
}
} // namespace

XBulkComponents LXComponentsOf(const XServerCorePtr& core, const std::shared_ptr<XModelType>& type, LONG mode) {
    XBulkComponents components;
    if (mode <= 0) { return components; }
    if ((mode & LXTM_PAGES) != 0) { components.pages = RecordsOf<XServerPage>(core, type->pages); }
    if ((mode & LXTM_GROUPS) != 0) { components.groups = RecordsOf<XServerGroup>(core, type->groups, type); }
    if ((mode & LXTM_EDITORS) != 0) { components.editors = RecordsOf<XServerEditor>(core, type->editors); }
    if ((mode & LXTM_ATTRIBUTES) != 0) { components.attributes = RecordsOf<XServerAttribute>(core, type->attributes); }
    return components;
}

XBulkTypes LXTypesOf(const XServerCorePtr& core, const XServerModel& model, const std::vector<XLXText>& names,
                     bool withBases, LONG mode) {
    XBulkTypes types;
    const auto indexOf = [&types](const XLXText& name) {
        return types.names.try_emplace(name, static_cast<ULONG>(types.names.size())).first->second;
    };
    for (const XLXText& name : Wanted(model, names, withBases)) {
        const XModelRef<XModelType>& type = *model.FindType(name);
        XBulkType& record = types.records.emplace_back();
        record.index = indexOf(name);
        record.head = RecordOf<XServerType>(core, type);
        record.components = LXComponentsOf(core, type.Share(), mode);
        record.baseIndex = model.FindType(type->Base()) != nullptr ? static_cast<LONG>(indexOf(type->Base())) : -1;
        record.listed = type->listed;
        record.searchable = type->Value(XProperty::Searchable).AsBool();
    }
    return types;
}

std::vector<XBulkRecord> LXRelationsOf(const XServerCorePtr& core, const XServerModel& model) {
    return RecordsOf<XServerRelation>(core, model.relations);
}
