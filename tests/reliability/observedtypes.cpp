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
    const XFind editor = Part(Type("Pump"), &ILXType::GetDefaultEditor, "Tree");
    Add(all, "editor values", Calling(&Edits::SetEditorProperty, "Pump", "E.Pump", XProperty::MenuText, Text), {},
        {editor, "properties/x/1/128"})
        .Add(ValueOf("editor", editor, XProperty::MenuText));
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
        return Lists(type, Type(type), "Weight", &ILXType::GetDisplayAttributeEnum, 1);
    };
    Add(all, "display facts", Calling(&Edits::SetAttributeProperty, "Item", "Weight", XProperty::ShowInEditor, IsOdd),
        {}, {Attribute("Item", "Weight"), "properties/x/1/512"})
        .Add(shown("Item"))
        .Add(shown("Sealed"));
}

// Derived types show both sets, each with its own letter before the numbers.
void AddAttributeSets(XObservedList& all) {
    const auto found = [](const char* type, std::string (*name)(int)) {
        return LookupOf(type, Type(type), &ILXType::GetAttribute, name);
    };
    constexpr int Member = XProperty::AttributeName;
    Add(all, "set of attributes", Calling(&Edits::AddAttribute, "Pump", Named, 3),
        Calling(&Edits::RemoveAttribute, "Pump", Named), {Type("Pump"), "objects/x/0/512"})
        .Add(ElementsOf("Pump", Type("Pump"), Member, &ILXType::GetAttributeEnum))
        .Add(ElementsOf("Sealed", Type("Sealed"), Member, &ILXType::GetAttributeEnum))
        .Add(found("Pump", Named))
        .Add(found("Centrifugal", Named))
        .Add(ElementsOf("of a group", Type("Pump"), Member, &ILXType::GetGroupAttributeEnum, 3));
    Add(all, "set of inherited attributes", Calling(&Edits::AddAttribute, "Item", NamedBelow, 2),
        Calling(&Edits::RemoveAttribute, "Item", NamedBelow), {Type("Item"), "objects/x/0/512"})
        .Add(ElementsOf<'y'>("Item", Type("Item"), Member, &ILXType::GetAttributeEnum))
        .Add(ElementsOf<'y'>("Sealed", Type("Sealed"), Member, &ILXType::GetAttributeEnum))
        .Add(found("Equipment", NamedBelow))
        .Add(found("Sealed", NamedBelow));
}

void AddComponentSets(XObservedList& all) {
    Add(all, "set of pages", Calling(&Edits::AddPage, "Item", Numbered), Calling(&Edits::RemovePage, "Item", Numbered),
        {Type("Item"), "objects/x/0/32"})
        .Add(ElementsOf("listed", Type("Item"), XProperty::PageNumber, &ILXType::GetPageEnum))
        .Add(LookupOf("found", Type("Item"), &ILXType::GetPage, Numbered));
    Add(all, "set of groups", Calling(&Edits::AddGroup, "Pump", Numbered, 4, 7),
        Calling(&Edits::RemoveGroup, "Pump", Numbered), {Type("Pump"), "objects/x/0/64"})
        .Add(ElementsOf("listed", Type("Pump"), XProperty::GroupNumber, &ILXType::GetGroupEnum))
        .Add(ElementsOf("of a page", Type("Pump"), XProperty::GroupNumber, &ILXType::GetPageGroupEnum, 4))
        .Add(ElementsOf("inside a group", Group(7), XProperty::GroupNumber, &ILXGroup::GetChildGroupEnum))
        .Add(LookupOf("found", Type("Pump"), &ILXType::GetGroup, Numbered));
    Add(all, "set of editors", Calling(&Edits::AddEditor, "Pump", Named, Named, true, false),
        Calling(&Edits::RemoveEditor, "Pump", Named), {Type("Pump"), "objects/x/0/128"})
        .Add(ElementsOf("listed", Type("Pump"), XProperty::ProgId, &ILXType::GetConfObjEditorEnum))
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
        .Add(WithoutRemoval(
            ElementsOf("listed", head, XProperty::AttributeTypeName, &ILXAttribute::GetAttributeTypeEnum)));
}

void AddFormats(XObservedList& all) {
    const XFind head = Attribute("Pump", "Head");
    Add(all, "attribute format values", Calling(&Edits::SetAttributeFormatProperty, "Pump", "Head", 1, 5, Text), {},
        {head, "properties/x/1/2048"})
        .Add(ValueOf("format", Part(head, &ILXAttribute::GetFormat, 1), 5, false));
    Add(all, "formats of an attribute", Calling(&Edits::AddAttributeFormat, "Pump", "Head", Numbered),
        Calling(&Edits::RemoveAttributeFormat, "Pump", "Head", Numbered), {head, "objects/x/0/2048"})
        .Add(LookupOf("found", head, &ILXAttribute::GetFormat, Numbered));
    Add(all, "group format values", Calling(&Edits::SetGroupFormatProperty, "Pump", 7, 5, Text), {},
        {Group(7), "properties/x/7/4096"})
        .Add(ValueOf("format", Part(Group(7), &ILXGroup::GetFormat), 5, false));
    const auto edit = [](Edits edits, int n, XNotify notify) {
        return IsOdd(n) ? edits.AddGroupFormat("Pump", 8, notify) : edits.RemoveGroupFormat("Pump", 8, notify);
    };
    XQuestion exists = LookupOf("found", Group(8), &ILXGroup::GetFormat);
    exists.shows = XShows::Parity;
    Add(all, "format of a group", edit, {}, {Group(8), "objects/x/8/4096"}).Add(exists);
}

HRESULT HasAttribute(const XAsked& asked, const std::string& type, const char* attribute) {
    return LXFind(TypeOf(asked.cache, type), &ILXType::GetAttribute, attribute) ? S_OK : S_FALSE;
}

bool AddDerivedTypes(const XCachedPtr&, const XAsked& asked, XNumbers& numbers) {
    LONG count = 0;
    BSTR* derived = nullptr;
    const HRESULT result = LXCall(*asked.cache, &ILXConfigFactoryCache::GetAllDerivedTypes, "Item", &count, &derived);
    for (const std::string& name : LXTake(count, derived)) {
        if (name.starts_with('x')) { numbers.push_back(std::atoi(name.c_str() + 1)); }
    }
    return SUCCEEDED(result);
}

// Removed types stay in the cache until the connection ends, and each change causes a read of all types.
void AddTypes(XObservedList& all) {
    const auto inherits = [](const XAsked& asked) { return HasAttribute(asked, Named(asked.number), "Base7"); };
    const auto cached = [](const XAsked& asked) {
        XLXComPtr<ILXType> type;
        return asked.cache->GetCachedType(asked.server.DataObject(Named(asked.number)).Get(), nullptr, type.Put());
    };
    Add(all, "set of types", Calling(&Edits::AddType, Named, "Equipment"), Calling(&Edits::RemoveType, Named), {}, 4)
        .Add(
            WithoutRemoval(ElementsOf("listed", nullptr, XProperty::TypeName, &ILXConfigFactory::GetTypeEnum, nullptr)))
        .Add(WithoutRemoval(YesOrNo("GetCachedType", XShows::Lookup, cached)))
        .Add(WithoutRemoval(YesOrNo("its inherited attribute", XShows::Lookup, inherits)))
        .Add(WithoutRemoval({"GetAllDerivedTypes", XShows::Elements, nullptr, AddDerivedTypes}));
}

void AddTypeLinks(XObservedList& all) {
    const auto derives = [](const XAsked& asked) {
        const XBstrArgument equipment = LXArgument("Equipment");
        BSTR names[] = {equipment};
        LONG answer = 0;
        const HRESULT result =
            LXCall(*asked.cache, &ILXConfigFactoryCache::CheckTypeDerivesFrom, "Loose", 1, names, &answer);
        return SUCCEEDED(result) && answer == 0 ? S_FALSE : result;
    };
    const auto inherits = [](const XAsked& asked) { return HasAttribute(asked, "Loose", "Power"); };
    const auto base = [](int n) { return IsOdd(n) ? "Equipment" : "Item"; };
    Add(all, "base type", Calling(&Edits::SetTypeProperty, "Loose", XProperty::BaseTypeName, base), {}, {}, 4)
        .Add(YesOrNo("CheckTypeDerivesFrom", XShows::Parity, derives))
        .Add(YesOrNo("inherited attribute", XShows::Parity, inherits));
    Add(all, "searchable types", Calling(&Edits::SetTypeProperty, "Document", XProperty::Searchable, IsOdd), {}, {}, 4)
        .Add(Lists("listed", nullptr, "Document", &ILXConfigFactory::GetSearchableTypeEnum));
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
