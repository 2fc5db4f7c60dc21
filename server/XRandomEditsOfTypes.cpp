// SPDX-License-Identifier: MIT
//
// Random edits of types and their components.
#include "XEditChoice.h"

using namespace LXRandom;

namespace {
Edit SetType(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    if (type == nullptr) { return {}; }
    constexpr int BaseTypeObject = 27;
    const int index = choice.Property(type->properties, {XProperty::TypeName, XProperty::BaseTypeName, BaseTypeObject});
    return [name = type->Name(), index, value = choice.ValueFor(type->properties, index)](
               XServerEdits& edits, XNotify notify) { edits.SetTypeProperty(name, index, value, notify); };
}

Edit SetBase(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const XModelType* const base = choice.Type(model);
    if (type == nullptr || type->Base().empty() || model.Derives(base->Name(), type->Name())) { return {}; }
    return [name = type->Name(), other = XModelValue(base->Name())](XServerEdits& edits, XNotify notify) {
        edits.SetTypeProperty(name, XProperty::BaseTypeName, other, notify);
    };
}

Edit SetListed(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    if (type == nullptr) { return {}; }
    return [name = type->Name(), listed = !type->listed](XServerEdits& edits, XNotify notify) {
        edits.SetTypeListed(name, listed, notify);
    };
}

Edit AddType(Model model, XChoice& choice) {
    const XModelType* const base = choice.OneIn(8) ? nullptr : choice.Type(model);
    const std::string name = choice.New("New");
    if (model.FindType(LXFromUtf8(name)) != nullptr) { return {}; }
    return [name, base = base != nullptr ? base->Name() : XLXText()](XServerEdits& edits, XNotify notify) {
        edits.AddType(name, base, notify);
    };
}

bool IsNamed(Model model, const XLXText& type) {
    return std::any_of(model.types.begin(), model.types.end(),
                       [&](const auto& entry) { return entry.second->Base() == type; }) ||
           std::any_of(model.relations.begin(), model.relations.end(),
                       [&](const auto& relation) {
                           return relation->Text(XProperty::ParentName) == type ||
                                  relation->Text(XProperty::ChildName) == type;
                       }) ||
           std::any_of(model.objects.begin(), model.objects.end(), [&](const auto& entry) {
               const auto& attributes = entry.second->attributes;
               return entry.second->typeName == type ||
                      std::any_of(attributes.begin(), attributes.end(),
                                  [&](const auto& value) { return value.second.AsText() == type; });
           });
}

Edit RemoveType(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    if (type == nullptr || IsNamed(model, type->Name())) { return {}; }
    return [name = type->Name()](XServerEdits& edits, XNotify notify) { edits.RemoveType(name, notify); };
}

// ---- components

template <class T>
Edit SetNumbered(Model model, XChoice& choice, XModelList<T> XModelType::*list, int key,
                 XNotification (XServerEdits::*set)(const XText&, int, int, const XModelValue&, XNotify)) {
    const XModelType* const type = choice.Type(model);
    const T* const element = type != nullptr ? choice.Of((*type).*list) : nullptr;
    if (element == nullptr) { return {}; }
    const int index = choice.Property(element->properties, {key});
    XModelValue value = choice.ValueFor(element->properties, index);
    if constexpr (std::is_same_v<T, XModelGroup>) {
        if (index == XProperty::GroupPage) {
            value = choice.NumberOf(type->pages, XProperty::PageNumber);
        } else if (index == XProperty::ParentGroup) // a smaller number, so that groups cannot form a cycle
        {
            const int parent = choice.NumberOf(type->groups, key);
            value = parent < element->Number(key) ? parent : 0;
        }
    }
    return [=, name = type->Name(), number = element->Number(key)](XServerEdits& edits, XNotify notify) {
        (edits.*set)(name, number, index, value, notify);
    };
}

Edit SetPage(Model model, XChoice& choice) {
    return SetNumbered(model, choice, &XModelType::pages, XProperty::PageNumber, &XServerEdits::SetPageProperty);
}

Edit SetGroup(Model model, XChoice& choice) {
    return SetNumbered(model, choice, &XModelType::groups, XProperty::GroupNumber, &XServerEdits::SetGroupProperty);
}

Edit AddPage(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const int number = choice.NewNumber();
    if (type == nullptr || type->FindPage(number) != nullptr) { return {}; }
    return [name = type->Name(), number](XServerEdits& edits, XNotify notify) { edits.AddPage(name, number, notify); };
}

Edit AddGroup(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const int number = choice.NewNumber();
    if (type == nullptr || type->FindGroup(number) != nullptr) { return {}; }
    const int page = choice.NumberOf(type->pages, XProperty::PageNumber);
    const int parent = choice.NumberOf(type->groups, XProperty::GroupNumber);
    return [=, name = type->Name(), parent = parent < number ? parent : 0](XServerEdits& edits, XNotify notify) {
        edits.AddGroup(name, number, page, parent, notify);
    };
}

/// Whether an element of a list has this number in a property.
template <class T> bool HasNumber(const XModelList<T>& list, int index, int number) {
    return std::any_of(list.begin(), list.end(), [=](const auto& element) { return element->Number(index) == number; });
}

Edit RemovePage(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const XModelPage* const page = type != nullptr ? choice.Of(type->pages) : nullptr;
    if (page == nullptr || HasNumber(type->groups, XProperty::GroupPage, page->Number(XProperty::PageNumber))) {
        return {};
    }
    return [name = type->Name(), number = page->Number(XProperty::PageNumber)](XServerEdits& edits, XNotify notify) {
        edits.RemovePage(name, number, notify);
    };
}

Edit RemoveGroup(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const XModelGroup* const group = type != nullptr ? choice.Of(type->groups) : nullptr;
    const int number = group != nullptr ? group->Number(XProperty::GroupNumber) : 0;
    if (group == nullptr || HasNumber(type->groups, XProperty::ParentGroup, number) ||
        HasNumber(type->attributes, XProperty::AttributeGroup, number)) {
        return {};
    }
    return
        [name = type->Name(), number](XServerEdits& edits, XNotify notify) { edits.RemoveGroup(name, number, notify); };
}

Edit SetAttribute(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const XModelAttribute* const attribute = type != nullptr ? choice.Of(type->attributes) : nullptr;
    if (attribute == nullptr) { return {}; }
    const int index = choice.Property(attribute->properties, {XProperty::AttributeName});
    const XModelValue value = index == XProperty::AttributeGroup
                                  ? XModelValue(choice.NumberOf(type->groups, XProperty::GroupNumber))
                                  : choice.ValueFor(attribute->properties, index);
    return [=, type = type->Name(), name = attribute->Text(XProperty::AttributeName)](
               XServerEdits& edits, XNotify notify) { edits.SetAttributeProperty(type, name, index, value, notify); };
}

Edit AddAttribute(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const std::string name = choice.New("New");
    if (type == nullptr || type->FindAttribute(LXFromUtf8(name)) != nullptr) { return {}; }
    return [=, type = type->Name(), group = choice.NumberOf(type->groups, XProperty::GroupNumber)](
               XServerEdits& edits, XNotify notify) { edits.AddAttribute(type, name, group, notify); };
}

Edit RemoveAttribute(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const XModelAttribute* const attribute = type != nullptr ? choice.Of(type->attributes) : nullptr;
    if (attribute == nullptr) { return {}; }
    return [type = type->Name(), name = attribute->Text(XProperty::AttributeName)](
               XServerEdits& edits, XNotify notify) { edits.RemoveAttribute(type, name, notify); };
}

Edit SetEditor(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const XModelEditor* const editor = type != nullptr ? choice.Of(type->editors) : nullptr;
    if (editor == nullptr) { return {}; }
    const int index = choice.Property(editor->properties, {XProperty::ProgId});
    const XModelValue value = index == XProperty::EditorBrowserId ? XModelValue(choice.Browser(model))
                                                                  : choice.ValueFor(editor->properties, index);
    return [=, type = type->Name(), progId = editor->Text(XProperty::ProgId)](XServerEdits& edits, XNotify notify) {
        edits.SetEditorProperty(type, progId, index, value, notify);
    };
}

Edit AddEditor(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const std::string progId = choice.New("New.Editor");
    if (type == nullptr || type->FindEditor(LXFromUtf8(progId)) != nullptr) { return {}; }
    return [=, type = type->Name(), browser = choice.Browser(model), opens = choice.OneIn(2),
            creates = choice.OneIn(2)](XServerEdits& edits, XNotify notify) {
        edits.AddEditor(type, progId, browser, opens, creates, notify);
    };
}

Edit RemoveEditor(Model model, XChoice& choice) {
    const XModelType* const type = choice.Type(model);
    const XModelEditor* const editor = type != nullptr ? choice.Of(type->editors) : nullptr;
    if (editor == nullptr) { return {}; }
    return [type = type->Name(), progId = editor->Text(XProperty::ProgId)](XServerEdits& edits, XNotify notify) {
        edits.RemoveEditor(type, progId, notify);
    };
}
} // namespace

std::vector<XKind> LXRandom::KindsOfTypes() {
    return {{"set type", 4, SetType},           {"set base type", 1, SetBase},
            {"set listed", 1, SetListed},       {"add type", 2, AddType},
            {"remove type", 2, RemoveType},     {"set page", 2, SetPage},
            {"add page", 1, AddPage},           {"remove page", 1, RemovePage},
            {"set group", 3, SetGroup},         {"add group", 1, AddGroup},
            {"remove group", 1, RemoveGroup},   {"set attribute", 8, SetAttribute},
            {"add attribute", 2, AddAttribute}, {"remove attribute", 2, RemoveAttribute},
            {"set editor", 3, SetEditor},       {"add editor", 1, AddEditor},
            {"remove editor", 1, RemoveEditor}};
}
