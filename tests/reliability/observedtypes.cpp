// SPDX-License-Identifier: MIT
//
// Observed kinds of types: values, sets, inherited attributes, and the types themselves.
#include "observedparts.h"

using namespace LXObserving;

namespace {
void AddTypeValues(XObservedList& all) {
    Add(all, "type values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetTypeProperty("Pump", XProperty::TypeLabel, Text(n), notify);
        },
        {}, {Type("Pump"), "properties/x/1/2"})
        .Add(ValueOf("type", Type("Pump"), XProperty::TypeLabel));
    Add(all, "page values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetPageProperty("Item", 1, XProperty::PageLabel, Text(n), notify);
        },
        {}, {Page(), "properties/x/1/32"})
        .Add(ValueOf("page", Page(), XProperty::PageLabel));
    Add(all, "group values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetGroupProperty("Pump", 7, XProperty::GroupLabel, Text(n), notify);
        },
        {}, {Group(7), "properties/x/1/64"})
        .Add(ValueOf("group", Group(7), XProperty::GroupLabel));
    Add(all, "editor values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetEditorProperty("Pump", "E.Pump", XProperty::MenuText, Text(n), notify);
        },
        {}, {Editor(), "properties/x/1/128"})
        .Add(ValueOf("editor", Editor(), XProperty::MenuText));
}

void AddAttributeValues(XObservedList& all) {
    Add(all, "attribute values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetAttributeProperty("Pump", "Head", XProperty::Label, Text(n), notify);
        },
        {}, {Attribute("Pump", "Head"), "properties/x/1/512"})
        .Add(ValueOf("own", Attribute("Pump", "Head"), XProperty::Label))
        .Add(ValueOf("of a derived type", Attribute("Sealed", "Head"), XProperty::Label));
    Add(all, "inherited attribute values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetAttributeProperty("Item", "Base7", XProperty::Unit, Text(n), notify);
        },
        {}, {Attribute("Item", "Base7"), "properties/x/1/512"})
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
    Add(all, "display facts",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetAttributeProperty("Item", "Weight", XProperty::ShowInEditor, n % 2 == 1, notify);
        },
        {}, {Attribute("Item", "Weight"), "properties/x/1/512"})
        .Add(shown("Item"))
        .Add(shown("Sealed"));
}

// Derived types show both sets, each with its own letter before the numbers.
void AddAttributeSets(XObservedList& all) {
    const auto listed = [](const char* type, char prefix) {
        return ElementsOf<ILXType, ILXAttribute, ILXAttributeEnum>(
            type, Type(type), XProperty::AttributeName,
            [](ILXType& of, ILXAttributeEnum** out) { return of.GetAttributeEnum(out); }, prefix);
    };
    const auto found = [](const char* type, char prefix) {
        return LookupOf<ILXType, ILXAttribute>(type, Type(type), [prefix](ILXType& of, int n, ILXAttribute** out) {
            return of.GetAttribute(B(Named(n, prefix)).Get(), out);
        });
    };
    Add(
        all, "set of attributes",
        [](Edits edit, int n, XNotify notify) { return edit.AddAttribute("Pump", Named(n), 3, notify); },
        [](Edits edit, int n, XNotify notify) { return edit.RemoveAttribute("Pump", Named(n), notify); },
        {Type("Pump"), "objects/x/0/512"})
        .Add(listed("Pump", 'x'))
        .Add(listed("Sealed", 'x'))
        .Add(found("Pump", 'x'))
        .Add(found("Centrifugal", 'x'))
        .Add(ElementsOf<ILXType, ILXAttribute, ILXAttributeEnum>(
            "of a group", Type("Pump"), XProperty::AttributeName,
            [](ILXType& of, ILXAttributeEnum** out) { return of.GetGroupAttributeEnum(3, out); }));
    Add(
        all, "set of inherited attributes",
        [](Edits edit, int n, XNotify notify) { return edit.AddAttribute("Item", Named(n, 'y'), 2, notify); },
        [](Edits edit, int n, XNotify notify) { return edit.RemoveAttribute("Item", Named(n, 'y'), notify); },
        {Type("Item"), "objects/x/0/512"})
        .Add(listed("Item", 'y'))
        .Add(listed("Sealed", 'y'))
        .Add(found("Equipment", 'y'))
        .Add(found("Sealed", 'y'));
}

void AddComponentSets(XObservedList& all) {
    Add(
        all, "set of pages",
        [](Edits edit, int n, XNotify notify) { return edit.AddPage("Item", FirstNumber + n, notify); },
        [](Edits edit, int n, XNotify notify) { return edit.RemovePage("Item", FirstNumber + n, notify); },
        {Type("Item"), "objects/x/0/32"})
        .Add(ElementsOf<ILXType, ILXPage, ILXPageEnum>(
            "listed", Type("Item"), XProperty::PageNumber,
            [](ILXType& of, ILXPageEnum** out) { return of.GetPageEnum(out); }))
        .Add(LookupOf<ILXType, ILXPage>(
            "found", Type("Item"), [](ILXType& of, int n, ILXPage** out) { return of.GetPage(FirstNumber + n, out); }));
    Add(
        all, "set of groups",
        [](Edits edit, int n, XNotify notify) { return edit.AddGroup("Pump", FirstNumber + n, 4, 7, notify); },
        [](Edits edit, int n, XNotify notify) { return edit.RemoveGroup("Pump", FirstNumber + n, notify); },
        {Type("Pump"), "objects/x/0/64"})
        .Add(ElementsOf<ILXType, ILXGroup, ILXGroupEnum>(
            "listed", Type("Pump"), XProperty::GroupNumber,
            [](ILXType& of, ILXGroupEnum** out) { return of.GetGroupEnum(out); }))
        .Add(ElementsOf<ILXType, ILXGroup, ILXGroupEnum>(
            "of a page", Type("Pump"), XProperty::GroupNumber,
            [](ILXType& of, ILXGroupEnum** out) { return of.GetPageGroupEnum(4, out); }))
        .Add(ElementsOf<ILXGroup, ILXGroup, ILXGroupEnum>(
            "inside a group", Group(7), XProperty::GroupNumber,
            [](ILXGroup& of, ILXGroupEnum** out) { return of.GetChildGroupEnum(out); }))
        .Add(LookupOf<ILXType, ILXGroup>("found", Type("Pump"), [](ILXType& of, int n, ILXGroup** out) {
            return of.GetGroup(FirstNumber + n, out);
        }));
}

void AddEditors(XObservedList& all) {
    Add(
        all, "set of editors",
        [](Edits edit, int n, XNotify notify) {
            return edit.AddEditor("Pump", Named(n), Named(n), true, false, notify);
        },
        [](Edits edit, int n, XNotify notify) { return edit.RemoveEditor("Pump", Named(n), notify); },
        {Type("Pump"), "objects/x/0/128"})
        .Add(ElementsOf<ILXType, ILXConfObjEditor, ILXConfObjEditorEnum>(
            "listed", Type("Pump"), XProperty::ProgId,
            [](ILXType& of, ILXConfObjEditorEnum** out) { return of.GetConfObjEditorEnum(out); }))
        .Add(LookupOf<ILXType, ILXConfObjEditor>(
            "default", Type("Pump"),
            [](ILXType& of, int n, ILXConfObjEditor** out) { return of.GetDefaultEditor(B(Named(n)).Get(), out); }));
}

// If attribute types are loaded one by one, a removed one may stay listed, and one that stays may get another object.
void AddAttributeTypes(XObservedList& all) {
    using Enumerator = ILXAttributeTypeEnum;
    const XFind head = Attribute("Pump", "Head");
    const auto feet = [=](const XCachePtr& cache) -> XCachedPtr {
        const XCachedPtr attribute = head(cache);
        return attribute ? Among<ILXAttributeType>(One<Enumerator>([&](auto out) {
                                                       attribute.As<ILXAttribute>()->GetAttributeTypeEnum(out);
                                                   }),
                                                   XProperty::AttributeTypeName, "Feet")
                         : nullptr;
    };
    Add(all, "attribute type values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetAttributeTypeProperty("Pump", "Head", "Feet", XProperty::AttributeTypeLabel, Text(n),
                                                 notify);
        },
        {}, {head, "properties/x/0/1024"})
        .Add(ValueOf("attribute type", feet, XProperty::AttributeTypeLabel, false))
        .Add({"of an attribute", XShows::Value, head, TypeFeet});
    Add(
        all, "set of attribute types",
        [](Edits edit, int n, XNotify notify) { return edit.AddAttributeType("Pump", "Head", Named(n), notify); },
        [](Edits edit, int n, XNotify notify) { return edit.RemoveAttributeType("Pump", "Head", Named(n), notify); },
        {head, "objects/x/0/1024"}, 4)
        .Add(WithoutRemoval(ElementsOf<ILXAttribute, ILXAttributeType, Enumerator>(
            "listed", head, XProperty::AttributeTypeName,
            [](ILXAttribute& of, Enumerator** out) { return of.GetAttributeTypeEnum(out); })));
}

void AddAttributeFormats(XObservedList& all) {
    const XFind head = Attribute("Pump", "Head");
    const auto format =
        Below<ILXAttribute, ILXFormat>(head, [](ILXAttribute& of, ILXFormat** out) { return of.GetFormat(1, out); });
    Add(all, "attribute format values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetAttributeFormatProperty("Pump", "Head", 1, 5, Text(n), notify);
        },
        {}, {head, "properties/x/1/2048"})
        .Add(ValueOf("format", format, 5, false));
    Add(
        all, "formats of an attribute",
        [](Edits edit, int n, XNotify notify) {
            return edit.AddAttributeFormat("Pump", "Head", FirstNumber + n, notify);
        },
        [](Edits edit, int n, XNotify notify) {
            return edit.RemoveAttributeFormat("Pump", "Head", FirstNumber + n, notify);
        },
        {head, "objects/x/0/2048"})
        .Add(LookupOf<ILXAttribute, ILXFormat>("found", head, [](ILXAttribute& of, int n, ILXFormat** out) {
            return of.GetFormat(FirstNumber + n, out);
        }));
}

void AddGroupFormats(XObservedList& all) {
    const auto format =
        Below<ILXGroup, ILXFormat>(Group(7), [](ILXGroup& of, ILXFormat** out) { return of.GetFormat(out); });
    Add(all, "group format values",
        [](Edits edit, int n, XNotify notify) { return edit.SetGroupFormatProperty("Pump", 7, 5, Text(n), notify); },
        {}, {Group(7), "properties/x/7/4096"})
        .Add(ValueOf("format", format, 5, false));
    XQuestion there = LookupOf<ILXGroup, ILXFormat>(
        "found", Group(8), [](ILXGroup& of, int, ILXFormat** out) { return of.GetFormat(out); });
    there.shows = XShows::Parity;
    Add(all, "format of a group",
        [](Edits edit, int n, XNotify notify) {
            return n % 2 == 1 ? edit.AddGroupFormat("Pump", 8, notify) : edit.RemoveGroupFormat("Pump", 8, notify);
        },
        {}, {Group(8), "objects/x/8/4096"})
        .Add(there);
}

std::optional<bool> AnswerFor(const XLXComPtr<ILXType>& type, const char* attribute) {
    return type && AttributeOf(type, attribute) ? std::optional(true) : std::optional(false);
}

void AddDerivedTypes(const XAsked& asked, XNumbers& numbers, HRESULT& result) {
    LONG count = 0;
    BSTR* derived = nullptr;
    result = asked.cache->GetAllDerivedTypes(B("Item").Get(), &count, &derived);
    for (LONG i = 0; i < count; ++i) {
        if (const std::string name = LXNarrow(LXBstrView(derived[i])); name.starts_with('x')) {
            numbers.push_back(std::atoi(name.c_str() + 1));
        }
        SysFreeString(derived[i]);
    }
    CoTaskMemFree(derived);
}

// Removed types stay in the cache until its life ends, and each change causes a read of all types.
void AddTypes(XObservedList& all) {
    Add(
        all, "set of types",
        [](Edits edit, int n, XNotify notify) { return edit.AddType(Named(n), "Equipment", notify); },
        [](Edits edit, int n, XNotify notify) { return edit.RemoveType(Named(n), notify); }, {}, 4)
        .Add(WithoutRemoval(ListedElements<ILXType, ILXTypeEnum>(
            "listed", XProperty::TypeName,
            [](ILXConfigFactoryCache& cache, ILXTypeEnum** out) {
                return XCachePtr(&cache).As<ILXConfigFactory>()->GetTypeEnum(nullptr, out);
            })))
        .Add(WithoutRemoval(YesOrNo("GetCachedType", XShows::Lookup,
                                    [](const XAsked& asked) {
                                        const auto object = asked.server.DataObject(Named(asked.number));
                                        XLXComPtr<ILXType> type;
                                        return Answer(asked.cache->GetCachedType(object.Get(), nullptr, type.Put()));
                                    })))
        .Add(WithoutRemoval(
            YesOrNo("its inherited attribute", XShows::Lookup,
                    [](const XAsked& asked) { return AnswerFor(TypeOf(asked.cache, Named(asked.number)), "Base7"); })))
        .Add(WithoutRemoval({"GetAllDerivedTypes", XShows::Elements, nullptr,
                             [](const XCachedPtr&, const XAsked& asked, XNumbers& numbers) {
                                 HRESULT result = S_OK;
                                 AddDerivedTypes(asked, numbers, result);
                                 return SUCCEEDED(result);
                             }}));
}

void AddTypeLinks(XObservedList& all) {
    Add(
        all, "base type",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetTypeProperty("Loose", XProperty::BaseTypeName, n % 2 == 1 ? "Equipment" : "Item", notify);
        },
        {}, {}, 4)
        .Add(YesOrNo("CheckTypeDerivesFrom", XShows::Parity,
                     [](const XAsked& asked) {
                         const XLXComBSTR equipment = B("Equipment");
                         BSTR names[] = {equipment.Get()};
                         LONG derives = 0;
                         const HRESULT result = asked.cache->CheckTypeDerivesFrom(B("Loose").Get(), 1, names, &derives);
                         return SUCCEEDED(result) ? std::optional(derives != 0) : std::nullopt;
                     }))
        .Add(YesOrNo("inherited attribute", XShows::Parity,
                     [](const XAsked& asked) { return AnswerFor(TypeOf(asked.cache, "Loose"), "Power"); }));
    Add(
        all, "searchable types",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetTypeProperty("Document", XProperty::Searchable, n % 2 == 1, notify);
        },
        {}, {}, 4)
        .Add(YesOrNo("listed", XShows::Parity, [](const XAsked& asked) {
            XLXComPtr<ILXTypeEnum> types;
            const HRESULT result = asked.cache.As<ILXConfigFactory>()->GetSearchableTypeEnum(types.Put());
            const bool found = static_cast<bool>(Among<ILXType>(types, XProperty::TypeName, "Document"));
            return SUCCEEDED(result) ? std::optional(found) : std::nullopt;
        }));
}
} // namespace

void LXAddKindsOfTypes(XObservedList& all) {
    AddTypeValues(all);
    AddAttributeValues(all);
    AddAttributeSets(all);
    AddComponentSets(all);
    AddEditors(all);
    AddAttributeTypes(all);
    AddAttributeFormats(all);
    AddGroupFormats(all);
    AddTypes(all);
    AddTypeLinks(all);
}
