// SPDX-License-Identifier: MIT
//
// Observed kinds of types: values, sets, inherited attributes, and the types themselves.
#include "observedparts.h"

using namespace LXObserving;

namespace {
void AddTypeValues(XObservedList& all) {
    Add(all, "type values", Calling(&Edits::SetTypeProperty, "Pump", XProperty::TypeLabel, Text), {},
        {Type("Pump"), "properties/x/1/2"})
        .Add(ValueOf("type", Type("Pump"), XProperty::TypeLabel));
    Add(all, "page values", Calling(&Edits::SetPageProperty, "Item", 1, XProperty::PageLabel, Text), {},
        {Page(), "properties/x/1/32"})
        .Add(ValueOf("page", Page(), XProperty::PageLabel));
    Add(all, "group values", Calling(&Edits::SetGroupProperty, "Pump", 7, XProperty::GroupLabel, Text), {},
        {Group(7), "properties/x/1/64"})
        .Add(ValueOf("group", Group(7), XProperty::GroupLabel));
    Add(all, "editor values", Calling(&Edits::SetEditorProperty, "Pump", "E.Pump", XProperty::MenuText, Text), {},
        {Editor(), "properties/x/1/128"})
        .Add(ValueOf("editor", Editor(), XProperty::MenuText));
}

void AddAttributeValues(XObservedList& all) {
    Add(all, "attribute values", Calling(&Edits::SetAttributeProperty, "Pump", "Head", XProperty::Label, Text), {},
        {Attribute("Pump", "Head"), "properties/x/1/512"})
        .Add(ValueOf("own", Attribute("Pump", "Head"), XProperty::Label))
        .Add(ValueOf("of a derived type", Attribute("Sealed", "Head"), XProperty::Label));
    Add(all, "inherited attribute values",
        Calling(&Edits::SetAttributeProperty, "Item", "Base7", XProperty::Unit, Text), {},
        {Attribute("Item", "Base7"), "properties/x/1/512"})
        .Add(ValueOf("of the base", Attribute("Item", "Base7"), XProperty::Unit))
        .Add(ValueOf("one level", Attribute("Equipment", "Base7"), XProperty::Unit))
        .Add(ValueOf("four levels", Attribute("Sealed", "Base7"), XProperty::Unit));
    const auto shown = [](const char* type) {
        return XQuestion{type, XShows::Parity, Type(type),
                         [](const XCachedPtr& object, const XAsked&, XNumbers& numbers) {
                             XLXComPtr<ILXAttributeEnum> attributes;
                             const HRESULT result = object.As<ILXType>()->GetDisplayAttributeEnum(1, attributes.Put());
                             numbers.push_back(Among<ILXAttribute>(attributes, 0, "Weight") ? 1 : 0);
                             return SUCCEEDED(result);
                         }};
    };
    Add(all, "display facts", Calling(&Edits::SetAttributeProperty, "Item", "Weight", XProperty::ShowInEditor, IsOdd),
        {}, {Attribute("Item", "Weight"), "properties/x/1/512"})
        .Add(shown("Item"))
        .Add(shown("Sealed"));
}

// Derived types show both sets, each with its own letter before the numbers.
void AddAttributeSets(XObservedList& all) {
    const auto listed = [](const char* type, char prefix) {
        return ElementsOf<ILXType, ILXAttribute, ILXAttributeEnum>(type, Type(type), XProperty::AttributeName,
                                                                   &ILXType::GetAttributeEnum, prefix);
    };
    const auto found = [](const char* type, std::string (*name)(int)) {
        return LookupOf(type, Type(type), &ILXType::GetAttribute, name);
    };
    Add(all, "set of attributes", Calling(&Edits::AddAttribute, "Pump", Named, 3),
        Calling(&Edits::RemoveAttribute, "Pump", Named), {Type("Pump"), "objects/x/0/512"})
        .Add(listed("Pump", 'x'))
        .Add(listed("Sealed", 'x'))
        .Add(found("Pump", Named))
        .Add(found("Centrifugal", Named))
        .Add(ElementsOf<ILXType, ILXAttribute, ILXAttributeEnum>(
            "of a group", Type("Pump"), XProperty::AttributeName,
            [](ILXType& of, ILXAttributeEnum** out) { return of.GetGroupAttributeEnum(3, out); }));
    Add(all, "set of inherited attributes", Calling(&Edits::AddAttribute, "Item", NamedBelow, 2),
        Calling(&Edits::RemoveAttribute, "Item", NamedBelow), {Type("Item"), "objects/x/0/512"})
        .Add(listed("Item", 'y'))
        .Add(listed("Sealed", 'y'))
        .Add(found("Equipment", NamedBelow))
        .Add(found("Sealed", NamedBelow));
}

void AddComponentSets(XObservedList& all) {
    Add(all, "set of pages", Calling(&Edits::AddPage, "Item", Numbered), Calling(&Edits::RemovePage, "Item", Numbered),
        {Type("Item"), "objects/x/0/32"})
        .Add(ElementsOf<ILXType, ILXPage, ILXPageEnum>("listed", Type("Item"), XProperty::PageNumber,
                                                       &ILXType::GetPageEnum))
        .Add(LookupOf("found", Type("Item"), &ILXType::GetPage, Numbered));
    Add(all, "set of groups", Calling(&Edits::AddGroup, "Pump", Numbered, 4, 7),
        Calling(&Edits::RemoveGroup, "Pump", Numbered), {Type("Pump"), "objects/x/0/64"})
        .Add(ElementsOf<ILXType, ILXGroup, ILXGroupEnum>("listed", Type("Pump"), XProperty::GroupNumber,
                                                         &ILXType::GetGroupEnum))
        .Add(ElementsOf<ILXType, ILXGroup, ILXGroupEnum>(
            "of a page", Type("Pump"), XProperty::GroupNumber,
            [](ILXType& of, ILXGroupEnum** out) { return of.GetPageGroupEnum(4, out); }))
        .Add(ElementsOf<ILXGroup, ILXGroup, ILXGroupEnum>("inside a group", Group(7), XProperty::GroupNumber,
                                                          &ILXGroup::GetChildGroupEnum))
        .Add(LookupOf("found", Type("Pump"), &ILXType::GetGroup, Numbered));
    Add(all, "set of editors", Calling(&Edits::AddEditor, "Pump", Named, Named, true, false),
        Calling(&Edits::RemoveEditor, "Pump", Named), {Type("Pump"), "objects/x/0/128"})
        .Add(ElementsOf<ILXType, ILXConfObjEditor, ILXConfObjEditorEnum>("listed", Type("Pump"), XProperty::ProgId,
                                                                         &ILXType::GetConfObjEditorEnum))
        .Add(LookupOf("default", Type("Pump"), &ILXType::GetDefaultEditor, Named));
}

// If attribute types are loaded one by one, a removed one may stay listed, and another one may get a new object.
void AddAttributeTypes(XObservedList& all) {
    const XFind head = Attribute("Pump", "Head");
    const auto feet = [=](const XCachePtr& cache) { return FeetOf(head(cache)); };
    Add(all, "attribute type values",
        Calling(&Edits::SetAttributeTypeProperty, "Pump", "Head", "Feet", XProperty::AttributeTypeLabel, Text), {},
        {head, "properties/x/0/1024"})
        .Add(ValueOf("attribute type", feet, XProperty::AttributeTypeLabel, false))
        .Add(ValueBelow("of an attribute", head, FeetOf, XProperty::AttributeTypeLabel));
    Add(all, "set of attribute types", Calling(&Edits::AddAttributeType, "Pump", "Head", Named),
        Calling(&Edits::RemoveAttributeType, "Pump", "Head", Named), {head, "objects/x/0/1024"}, 4)
        .Add(WithoutRemoval(ElementsOf<ILXAttribute, ILXAttributeType, ILXAttributeTypeEnum>(
            "listed", head, XProperty::AttributeTypeName, &ILXAttribute::GetAttributeTypeEnum)));
}

void AddFormats(XObservedList& all) {
    const XFind head = Attribute("Pump", "Head");
    Add(all, "attribute format values", Calling(&Edits::SetAttributeFormatProperty, "Pump", "Head", 1, 5, Text), {},
        {head, "properties/x/1/2048"})
        .Add(ValueOf("format", FormatOf<ILXAttribute>(head), 5, false));
    Add(all, "formats of an attribute", Calling(&Edits::AddAttributeFormat, "Pump", "Head", Numbered),
        Calling(&Edits::RemoveAttributeFormat, "Pump", "Head", Numbered), {head, "objects/x/0/2048"})
        .Add(LookupOf("found", head, &ILXAttribute::GetFormat, Numbered));
    Add(all, "group format values", Calling(&Edits::SetGroupFormatProperty, "Pump", 7, 5, Text), {},
        {Group(7), "properties/x/7/4096"})
        .Add(ValueOf("format", FormatOf<ILXGroup>(Group(7)), 5, false));
    const auto edit = [](Edits edits, int n, XNotify notify) {
        return IsOdd(n) ? edits.AddGroupFormat("Pump", 8, notify) : edits.RemoveGroupFormat("Pump", 8, notify);
    };
    const auto exists = [](const XCachedPtr& object, const XAsked&, XNumbers& numbers) {
        XLXComPtr<ILXFormat> format;
        const HRESULT result = object.As<ILXGroup>()->GetFormat(format.Put());
        numbers.push_back(format ? 1 : 0);
        return SUCCEEDED(result);
    };
    Add(all, "format of a group", edit, {}, {Group(8), "objects/x/8/4096"})
        .Add({"found", XShows::Parity, Group(8), exists});
}

std::optional<bool> AnswerFor(const XLXComPtr<ILXType>& type, const char* attribute) {
    return type && AttributeOf(type, attribute) ? std::optional(true) : std::optional(false);
}

bool AddDerivedTypes(const XCachedPtr&, const XAsked& asked, XNumbers& numbers) {
    LONG count = 0;
    BSTR* derived = nullptr;
    const HRESULT result = asked.cache->GetAllDerivedTypes(B("Item").Get(), &count, &derived);
    for (LONG i = 0; i < count; ++i) {
        if (const std::string name = LXNarrow(LXBstrView(derived[i])); name.starts_with('x')) {
            numbers.push_back(std::atoi(name.c_str() + 1));
        }
        SysFreeString(derived[i]);
    }
    CoTaskMemFree(derived);
    return SUCCEEDED(result);
}

// Removed types stay in the cache until the connection ends, and each change causes a read of all types.
void AddTypes(XObservedList& all) {
    const auto listed = [](ILXConfigFactoryCache& cache, ILXTypeEnum** out) {
        return XCachePtr(&cache).As<ILXConfigFactory>()->GetTypeEnum(nullptr, out);
    };
    const auto cached = [](const XAsked& asked) {
        XLXComPtr<ILXType> type;
        return Answer(
            asked.cache->GetCachedType(asked.server.DataObject(Named(asked.number)).Get(), nullptr, type.Put()));
    };
    const auto inherits = [](const XAsked& asked) {
        return AnswerFor(TypeOf(asked.cache, Named(asked.number)), "Base7");
    };
    Add(all, "set of types", Calling(&Edits::AddType, Named, "Equipment"), Calling(&Edits::RemoveType, Named), {}, 4)
        .Add(WithoutRemoval(ListedElements<ILXType, ILXTypeEnum>("listed", XProperty::TypeName, listed)))
        .Add(WithoutRemoval(YesOrNo("GetCachedType", XShows::Lookup, cached)))
        .Add(WithoutRemoval(YesOrNo("its inherited attribute", XShows::Lookup, inherits)))
        .Add(WithoutRemoval({"GetAllDerivedTypes", XShows::Elements, nullptr, AddDerivedTypes}));
}

void AddTypeLinks(XObservedList& all) {
    const auto derives = [](const XAsked& asked) {
        const XLXComBSTR equipment = B("Equipment");
        BSTR names[] = {equipment.Get()};
        LONG answer = 0;
        const HRESULT result = asked.cache->CheckTypeDerivesFrom(B("Loose").Get(), 1, names, &answer);
        return SUCCEEDED(result) ? std::optional(answer != 0) : std::nullopt;
    };
    const auto inherits = [](const XAsked& asked) { return AnswerFor(TypeOf(asked.cache, "Loose"), "Power"); };
    const auto base = [](int n) { return IsOdd(n) ? "Equipment" : "Item"; };
    Add(all, "base type", Calling(&Edits::SetTypeProperty, "Loose", XProperty::BaseTypeName, base), {}, {}, 4)
        .Add(YesOrNo("CheckTypeDerivesFrom", XShows::Parity, derives))
        .Add(YesOrNo("inherited attribute", XShows::Parity, inherits));
    const auto searchable = [](const XAsked& asked) {
        XLXComPtr<ILXTypeEnum> types;
        const HRESULT result = asked.cache.As<ILXConfigFactory>()->GetSearchableTypeEnum(types.Put());
        const bool found = static_cast<bool>(Among<ILXType>(types, XProperty::TypeName, "Document"));
        return SUCCEEDED(result) ? std::optional(found) : std::nullopt;
    };
    Add(all, "searchable types", Calling(&Edits::SetTypeProperty, "Document", XProperty::Searchable, IsOdd), {}, {}, 4)
        .Add(YesOrNo("listed", XShows::Parity, searchable));
}
} // namespace

void LXAddKindsOfTypes(XObservedList& all) {
    AddTypeValues(all);
    AddAttributeValues(all);
    AddAttributeSets(all);
    AddComponentSets(all);
    AddAttributeTypes(all);
    AddFormats(all);
    AddTypes(all);
    AddTypeLinks(all);
}
