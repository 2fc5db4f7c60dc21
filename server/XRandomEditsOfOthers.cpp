// SPDX-License-Identifier: MIT
//
// Random edits of attribute types, formats, format specs, browser ids and relations.
#include "XEditChoice.h"

using namespace LXRandom;

namespace {
/// Whether an element of a list has this text in a property.
template <class T> bool HasText(const XModelList<T>& list, int index, XLXTextView text) {
    return std::any_of(list.begin(), list.end(), [=](const auto& element) { return element->Text(index) == text; });
}

/// A random own attribute of a random type; null if the type has none.
struct Chosen {
    XLXText type;
    XLXText name;
    const XModelAttribute* attribute = nullptr;
};

Chosen AnyAttribute(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const XModelAttribute* const attribute = type != nullptr ? choice.Of(type->attributes) : nullptr;
    return attribute != nullptr ? Chosen{type->Name(), attribute->Text(XProperty::AttributeName), attribute} : Chosen();
}

/// A random attribute that passes a test; few attributes have formats or attribute types.
template <class Test> Chosen AnyAttributeWhere(Model model, XChoice& choice, Test&& test) {
    Chosen chosen;
    for (int attempt = 0; attempt < 50; ++attempt) {
        chosen = AnyAttribute(model, choice);
        if (chosen.attribute != nullptr && test(*chosen.attribute)) { return chosen; }
    }
    return {};
}

Edit SetAttributeType(Model model, XChoice& choice) {
    const Chosen at = AnyAttributeWhere(model, choice, [](auto& attribute) { return !attribute.types.empty(); });
    if (at.attribute == nullptr) { return {}; }
    const XModelAttributeType& type = *choice.Of(at.attribute->types);
    const int index = choice.Property(type.properties, {XProperty::AttributeTypeName});
    return [=, name = type.Text(XProperty::AttributeTypeName),
            value = choice.ValueFor(type.properties, index)](XServerEdits& edits, XNotify notify) {
        edits.SetAttributeTypeProperty(at.type, at.name, name, index, value, notify);
    };
}

Edit AddAttributeType(Model model, XChoice& choice) {
    const Chosen at = AnyAttribute(model, choice);
    if (at.attribute == nullptr) { return {}; }
    const std::string name = choice.New("New");
    if (HasText(at.attribute->types, XProperty::AttributeTypeName, LXFromUtf8(name))) { return {}; }
    return [=](XServerEdits& edits, XNotify notify) { edits.AddAttributeType(at.type, at.name, name, notify); };
}

Edit RemoveAttributeType(Model model, XChoice& choice) {
    const Chosen at = AnyAttributeWhere(model, choice, [](auto& attribute) { return !attribute.types.empty(); });
    if (at.attribute == nullptr) { return {}; }
    return [at, name = choice.Of(at.attribute->types)->Text(XProperty::AttributeTypeName)](
               XServerEdits& edits, XNotify notify) { edits.RemoveAttributeType(at.type, at.name, name, notify); };
}

Edit SetAttributeFormat(Model model, XChoice& choice) {
    const Chosen at = AnyAttributeWhere(model, choice, [](auto& attribute) { return !attribute.formats.empty(); });
    if (at.attribute == nullptr) { return {}; }
    const int formatType = *choice.FormatType(at.attribute->formats);
    const XModelProperties& properties = at.attribute->formats.at(formatType)->properties;
    const int index = choice.Property(properties, {XProperty::DataType});
    return [=, value = choice.ValueFor(properties, index)](XServerEdits& edits, XNotify notify) {
        edits.SetAttributeFormatProperty(at.type, at.name, formatType, index, value, notify);
    };
}

constexpr int FormatTypes = 4; // added formats have types 0 to 3

Edit AddAttributeFormat(Model model, XChoice& choice) {
    const Chosen at = AnyAttribute(model, choice);
    const auto formatType = static_cast<int>(choice.Below(FormatTypes));
    if (at.attribute == nullptr || at.attribute->formats.contains(formatType)) { return {}; }
    return [at, formatType](XServerEdits& edits, XNotify notify) {
        edits.AddAttributeFormat(at.type, at.name, formatType, notify);
    };
}

Edit RemoveAttributeFormat(Model model, XChoice& choice) {
    const Chosen at = AnyAttributeWhere(model, choice, [](auto& attribute) { return !attribute.formats.empty(); });
    if (at.attribute == nullptr) { return {}; }
    return [at, formatType = *choice.FormatType(at.attribute->formats)](XServerEdits& edits, XNotify notify) {
        edits.RemoveAttributeFormat(at.type, at.name, formatType, notify);
    };
}

// A group has at most one format. Adds, changes or removes it.
Edit EditGroupFormat(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const XModelGroup* const group = type != nullptr ? choice.Of(type->groups) : nullptr;
    if (group == nullptr) { return {}; }
    const int number = group->Number(XProperty::GroupNumber);
    if (group->formats.empty()) {
        return [name = type->Name(), number](XServerEdits& edits, XNotify notify) {
            edits.AddGroupFormat(name, number, notify);
        };
    }
    if (choice.OneIn(4)) {
        return [name = type->Name(), number](XServerEdits& edits, XNotify notify) {
            edits.RemoveGroupFormat(name, number, notify);
        };
    }
    const XModelProperties& properties = group->formats.begin()->second->properties;
    const int index = choice.Property(properties, {XProperty::DataType});
    return [=, name = type->Name(), value = choice.ValueFor(properties, index)](XServerEdits& edits, XNotify notify) {
        edits.SetGroupFormatProperty(name, number, index, value, notify);
    };
}

// ---- format specs and browser ids

Edit SetSpec(Model model, XChoice& choice) {
    const XModelGlobalSpec* const spec = choice.Of(model.specs);
    if (spec == nullptr) { return {}; }
    const int index = choice.Property(spec->properties, {XProperty::AttributeName});
    return [=, id = spec->Text(XProperty::AttributeName), value = choice.ValueFor(spec->properties, index)](
               XServerEdits& edits, XNotify notify) { edits.SetGlobalSpecProperty(id, index, value, notify); };
}

Edit AddSpec(Model model, XChoice& choice) {
    const std::string id = choice.New("New.Spec");
    if (model.FindGlobalSpec(LXFromUtf8(id)) != nullptr) { return {}; }
    return [id](XServerEdits& edits, XNotify notify) { edits.AddGlobalSpec(id, notify); };
}

Edit RemoveSpec(Model model, XChoice& choice) {
    const XModelGlobalSpec* const spec = choice.Of(model.specs);
    if (spec == nullptr) { return {}; }
    return [id = spec->Text(XProperty::AttributeName)](XServerEdits& edits, XNotify notify) {
        edits.RemoveGlobalSpec(id, notify);
    };
}

Edit EditSpecFormat(Model model, XChoice& choice) {
    const XModelGlobalSpec* const spec = choice.Of(model.specs);
    if (spec == nullptr) { return {}; }
    const XLXText& id = spec->Text(XProperty::AttributeName);
    const auto formatType = static_cast<int>(choice.Below(FormatTypes));
    const auto found = spec->formats.find(formatType);
    if (found == spec->formats.end()) {
        return [id, formatType](XServerEdits& edits, XNotify notify) {
            edits.AddGlobalSpecFormat(id, formatType, notify);
        };
    }
    if (choice.OneIn(4)) {
        return [id, formatType](XServerEdits& edits, XNotify notify) {
            edits.RemoveGlobalSpecFormat(id, formatType, notify);
        };
    }
    const XModelProperties& properties = found->second->properties;
    const int index = choice.Property(properties, {XProperty::DataType});
    return [=, value = choice.ValueFor(properties, index)](XServerEdits& edits, XNotify notify) {
        edits.SetGlobalSpecFormatProperty(id, formatType, index, value, notify);
    };
}

Edit SetBrowser(Model model, XChoice& choice) {
    const XModelBrowserId* const browser = choice.Of(model.browserIds);
    if (browser == nullptr) { return {}; }
    const int index = choice.Property(browser->properties, {XProperty::BrowserIdName});
    return [=, name = browser->Text(XProperty::BrowserIdName), value = choice.ValueFor(browser->properties, index)](
               XServerEdits& edits, XNotify notify) { edits.SetBrowserIdProperty(name, index, value, notify); };
}

Edit AddBrowser(Model model, XChoice& choice) {
    const std::string name = choice.New("NewBrowser");
    if (HasText(model.browserIds, XProperty::BrowserIdName, LXFromUtf8(name))) { return {}; }
    return [name](XServerEdits& edits, XNotify notify) { edits.AddBrowserId(name, notify); };
}

Edit RemoveBrowser(Model model, XChoice& choice) {
    const XLXText name = choice.Browser(model);
    if (model.browserIds.empty() ||
        std::any_of(
            model.types.begin(), model.types.end(),
            [&](const auto& entry) { return HasText(entry.second->editors, XProperty::EditorBrowserId, name); }) ||
        std::any_of(model.relations.begin(), model.relations.end(),
                    [&](const auto& relation) { return HasText(relation->infos, XProperty::PCInfoBrowser, name); })) {
        return {};
    }
    return [name](XServerEdits& edits, XNotify notify) { edits.RemoveBrowserId(name, notify); };
}

// ---- relations

struct Ends {
    XLXText parent;
    XLXText child;
    XLXText list;

    static Ends Of(const XModelRelation& relation) {
        return {relation.Text(XProperty::ParentName), relation.Text(XProperty::ChildName),
                relation.Text(XProperty::ChildList)};
    }
};

Edit SetRelation(Model model, XChoice& choice) {
    const XModelRelation* const relation = choice.Of(model.relations);
    if (relation == nullptr) { return {}; }
    const int index =
        choice.Property(relation->properties, {XProperty::ParentName, XProperty::ChildName, XProperty::ChildList});
    return [=, at = Ends::Of(*relation), value = choice.ValueFor(relation->properties, index)](XServerEdits& edits,
                                                                                               XNotify notify) {
        edits.SetRelationProperty(at.parent, at.child, at.list, index, value, notify);
    };
}

Edit AddRelation(Model model, XChoice& choice) {
    static constexpr const char* Lists[] = {"nodes", "documents", "parts"};
    const XModelType* const parent = choice.Type(model);
    const XModelType* const child = choice.Type(model);
    const XLXText list = LXFromUtf8(Lists[choice.Below(std::size(Lists))]);
    if (parent == nullptr || model.FindRelation(parent->Name(), child->Name(), list) != nullptr) { return {}; }
    const int ppr = choice.OneIn(3) ? static_cast<int>(1 + choice.Below(3)) : 0;
    return [=, at = Ends{parent->Name(), child->Name(), list}, isInternal = choice.OneIn(6)](XServerEdits& edits,
                                                                                             XNotify notify) {
        edits.AddRelation(at.parent, at.child, at.list, ppr, isInternal, notify);
    };
}

Edit RemoveRelation(Model model, XChoice& choice) {
    const XModelRelation* const relation = choice.Of(model.relations);
    if (relation == nullptr) { return {}; }
    return [at = Ends::Of(*relation)](XServerEdits& edits, XNotify notify) {
        edits.RemoveRelation(at.parent, at.child, at.list, notify);
    };
}

Edit SetPCInfo(Model model, XChoice& choice) {
    const XModelRelation* const relation = choice.Of(model.relations);
    const XModelPCInfo* const info = relation != nullptr ? choice.Of(relation->infos) : nullptr;
    if (info == nullptr) { return {}; }
    const int index = choice.Property(info->properties, {XProperty::PCInfoBrowser});
    return [=, at = Ends::Of(*relation), browser = info->Text(XProperty::PCInfoBrowser),
            value = choice.ValueFor(info->properties, index)](XServerEdits& edits, XNotify notify) {
        edits.SetPCInfoProperty(at.parent, at.child, at.list, browser, index, value, notify);
    };
}

Edit AddPCInfo(Model model, XChoice& choice) {
    const XModelRelation* const relation = choice.Of(model.relations);
    const XLXText browser = choice.Browser(model);
    if (relation == nullptr || browser.empty() || HasText(relation->infos, XProperty::PCInfoBrowser, browser)) {
        return {};
    }
    return [at = Ends::Of(*relation), browser, isNew = choice.OneIn(2)](XServerEdits& edits, XNotify notify) {
        edits.AddPCInfo(at.parent, at.child, at.list, browser, isNew, notify);
    };
}

Edit RemovePCInfo(Model model, XChoice& choice) {
    const XModelRelation* const relation = choice.Of(model.relations);
    const XModelPCInfo* const info = relation != nullptr ? choice.Of(relation->infos) : nullptr;
    if (info == nullptr) { return {}; }
    return [at = Ends::Of(*relation), browser = info->Text(XProperty::PCInfoBrowser)](XServerEdits& edits,
                                                                                      XNotify notify) {
        edits.RemovePCInfo(at.parent, at.child, at.list, browser, notify);
    };
}
} // namespace

std::vector<XKind> LXRandom::KindsOfOthers() {
    return {{"set attribute type", 2, SetAttributeType},
            {"add attribute type", 1, AddAttributeType},
            {"remove attribute type", 1, RemoveAttributeType},
            {"set attribute format", 2, SetAttributeFormat},
            {"add attribute format", 1, AddAttributeFormat},
            {"remove attribute format", 1, RemoveAttributeFormat},
            {"edit group format", 3, EditGroupFormat},
            {"set format spec", 2, SetSpec},
            {"add format spec", 1, AddSpec},
            {"remove format spec", 1, RemoveSpec},
            {"edit format of a format spec", 2, EditSpecFormat},
            {"set browser id", 2, SetBrowser},
            {"add browser id", 1, AddBrowser},
            {"remove browser id", 1, RemoveBrowser},
            {"set relation", 4, SetRelation},
            {"add relation", 2, AddRelation},
            {"remove relation", 2, RemoveRelation},
            {"set PC info", 4, SetPCInfo},
            {"add PC info", 2, AddPCInfo},
            {"remove PC info", 2, RemovePCInfo}};
}
