// SPDX-License-Identifier: MIT
//
// The kinds of things that are watched, each with its edit and its questions.
#include "observed.h"

#include <utility>

namespace
{
using Edits = XServerEdits;
using Value = XModelValue;

XLXComBSTR B(const std::string& text)
{
    return XLXComBSTR(LXFromUtf8(text));
}

/// Elements are named by their number: x17, or 1017 where names are numbers.
std::string Named(int number, char prefix = 'x')
{
    return prefix + std::to_string(number);
}
constexpr int FirstNumber = 1000;

// ---- finding objects

/// The object that a question gives.
template <class Interface, class Ask>
XLXComPtr<Interface> One(Ask&& ask)
{
    XLXComPtr<Interface> object;
    ask(object.Put());
    return object;
}

/// What is asked of an object; null when the object is not there.
template <class Interface, class Owner, class Ask>
XLXComPtr<Interface> Of(const Owner& owner, Ask&& ask)
{
    return owner ? One<Interface>([&](auto out) { ask(*owner, out); }) : nullptr;
}

XLXComPtr<ILXType> TypeOf(const XCachePtr& cache, const std::string& name)
{
    return One<ILXType>(
        [&](auto out) { cache.As<ILXConfigFactory>()->GetType(B(name).Get(), nullptr, out); });
}

XLXComPtr<ILXAttribute> AttributeOf(const XLXComPtr<ILXType>& type, const std::string& name)
{
    return Of<ILXAttribute>(type, [&](auto& of, auto out) { of.GetAttribute(B(name).Get(), out); });
}

XLXComPtr<ILXParentChild> RelationOf(const XCachePtr& cache, const std::string& child,
                                     const std::string& list)
{
    return One<ILXParentChild>([&](auto out) {
        cache->GetSinglePCRelation(B("Equipment").Get(), B(child).Get(), nullptr, B(list).Get(), out);
    });
}

/// The element of an enumeration with that text in a member.
template <class Element, class Enumerator>
XCachedPtr Among(const XLXComPtr<Enumerator>& elements, int member, const char* text)
{
    XLXComPtr<Element> element;
    while (elements && elements->GetSingleNext(element.Put()) == S_OK)
    {
        if (LXRead(element.Get(), member) == LXFromUtf8(text))
        {
            return XCachedPtr(element.Get());
        }
    }
    return nullptr;
}

template <class Interface>
XCachedPtr Plain(const XLXComPtr<Interface>& object)
{
    return XCachedPtr(object.Get());
}

XFind Type(const char* name)
{
    return [=](const XCachePtr& cache) { return Plain(TypeOf(cache, name)); };
}
XFind Attribute(const char* type, const char* name)
{
    return [=](const XCachePtr& cache) { return Plain(AttributeOf(TypeOf(cache, type), name)); };
}
XFind Group(int number)
{
    return [=](const XCachePtr& cache) {
        return Plain(
            Of<ILXGroup>(TypeOf(cache, "Pump"), [&](auto& type, auto out) { type.GetGroup(number, out); }));
    };
}
XFind Page()
{
    return [](const XCachePtr& cache) {
        return Plain(Of<ILXPage>(TypeOf(cache, "Item"), [&](auto& type, auto out) { type.GetPage(1, out); }));
    };
}
XFind Editor()
{
    return [](const XCachePtr& cache) {
        return Plain(Of<ILXConfObjEditor>(TypeOf(cache, "Pump"), [&](auto& type, auto out) {
            type.GetDefaultEditor(B("Tree").Get(), out);
        }));
    };
}
XFind Relation()
{
    return [](const XCachePtr& cache) { return Plain(RelationOf(cache, "Pump", "parts")); };
}

XCachedPtr BrowserId(const XCachePtr& cache)
{
    const auto factory = cache.As<ILXConfigFactory>();
    return Among<ILXBrowserId>(One<ILXBrowserIdEnum>([&](auto out) { factory->GetBrowserIdEnum(out); }), 0,
                               "Tree");
}
XCachedPtr Spec(const XCachePtr& cache)
{
    const auto factory = cache.As<ILXConfigFactory>();
    return Among<ILXGlobalAttributeFormatSpec>(One<ILXGlobalAttributeFormatSpecEnum>([&](auto out) {
                                                   factory->GetAllGlobalAttributeFormatSpecs(out);
                                               }),
                                               0, "Length");
}

/// An object that is asked of another one.
template <class Owner, class Interface, class Ask>
XFind Below(XFind owner, Ask ask)
{
    return [=](const XCachePtr& cache) {
        const XCachedPtr found = owner(cache);
        return Plain(Of<Interface>(found ? found.template As<Owner>() : nullptr, ask));
    };
}

// ---- questions

std::optional<int> NumberIn(ILXConfigObject& object, int member)
{
    XLXComVariant value;
    const HRESULT result = object.GetProperty(member, value.Put());
    const auto text = result == S_OK ? value.AsText() : std::nullopt;
    if (!text)
    {
        return std::nullopt;
    }
    const std::string narrow = LXNarrow(*text);
    return std::atoi(narrow.c_str() + (narrow.starts_with('x') ? 1 : 0));
}

XQuestion ValueOf(const char* name, XFind find, int member, bool holds = true)
{
    return {name, XShows::Value, std::move(find),
            [member](const XCachedPtr& object, const XAsked&, XNumbers& numbers) {
                const auto number = NumberIn(*object, member);
                numbers.push_back(number.value_or(0));
                return number.has_value();
            },
            holds};
}

/// The numbers of the elements that an enumeration lists. Those that are no numbered elements are passed
/// over.
template <class Element, class Enumerator>
void AddElements(const XLXComPtr<Enumerator>& elements, int member, XNumbers& numbers, char prefix = 'x')
{
    XLXComPtr<Element> element;
    while (elements && elements->GetSingleNext(element.Put()) == S_OK)
    {
        XLXComVariant value;
        element->GetProperty(member, value.Put());
        const std::string text = LXNarrow(value.AsText().value_or(OLESTR("")));
        if (text.starts_with(prefix))
        {
            numbers.push_back(std::atoi(text.c_str() + 1));
        }
        else if (const int number = std::atoi(text.c_str()); number > FirstNumber)
        {
            numbers.push_back(number - FirstNumber);
        }
    }
}

template <class Owner, class Element, class Enumerator, class Ask>
XQuestion ElementsOf(const char* name, XFind find, int member, Ask ask, char prefix = 'x')
{
    return {name, XShows::Elements, std::move(find),
            [=](const XCachedPtr& object, const XAsked&, XNumbers& numbers) {
                XLXComPtr<Enumerator> elements;
                const HRESULT result = ask(*object.template As<Owner>(), elements.Put());
                AddElements<Element>(elements, member, numbers, prefix);
                return SUCCEEDED(result);
            }};
}

/// The same, of the cache itself.
template <class Element, class Enumerator, class Ask>
XQuestion ListedElements(const char* name, int member, Ask ask)
{
    return {name, XShows::Elements, nullptr, [=](const XCachedPtr&, const XAsked& asked, XNumbers& numbers) {
                XLXComPtr<Enumerator> elements;
                const HRESULT result = ask(*asked.cache, elements.Put());
                AddElements<Element>(elements, member, numbers);
                return SUCCEEDED(result);
            }};
}

/// Whether an object gives the element of the number that is asked for.
template <class Owner, class Element, class Ask>
XQuestion LookupOf(const char* name, XFind find, Ask ask)
{
    return {name, XShows::Lookup, std::move(find),
            [=](const XCachedPtr& object, const XAsked& asked, XNumbers& numbers) {
                XLXComPtr<Element> element;
                const HRESULT result = ask(*object.template As<Owner>(), asked.number, element.Put());
                numbers.push_back(element ? 1 : 0);
                return SUCCEEDED(result);
            }};
}

/// A question to the cache whose answer is yes or no; nothing when it fails.
XQuestion YesOrNo(const char* name, XShows shows, std::function<std::optional<bool>(const XAsked&)> ask)
{
    return {name, shows, nullptr, [=](const XCachedPtr&, const XAsked& asked, XNumbers& numbers) {
                const std::optional<bool> answer = ask(asked);
                numbers.push_back(answer.value_or(false) ? 1 : 0);
                return answer.has_value();
            }};
}

std::optional<bool> Answer(HRESULT result)
{
    return SUCCEEDED(result) ? std::optional(result == S_OK) : std::nullopt;
}

XQuestion NotHeld(XQuestion question)
{
    question.holds = false;
    return question;
}
XQuestion WithoutRemoval(XQuestion question)
{
    question.showsRemoval = false;
    return question;
}

/// Adds a kind to the list.
XObserved& Add(XObservedList& all, const char* name, XObserved::Edit edit, XObserved::Edit remove = {},
               XObserved::Direct direct = {}, unsigned effort = 1)
{
    return *all.emplace_back(
        std::make_unique<XObserved>(name, std::move(edit), std::move(remove), std::move(direct), effort));
}

Value Text(int number)
{
    return Value(std::to_string(number));
}

// ---- the kinds

void AddTypeValues(XObservedList& all)
{
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

void AddAttributeValues(XObservedList& all)
{
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
        return XQuestion{
            type, XShows::Parity, Type(type), [](const XCachedPtr& object, const XAsked&, XNumbers& numbers) {
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

// Derived types show both sets, each with a letter of its own in front of the numbers.
void AddAttributeSets(XObservedList& all)
{
    const auto listed = [](const char* type, char prefix) {
        return ElementsOf<ILXType, ILXAttribute, ILXAttributeEnum>(
            type, Type(type), XProperty::AttributeName,
            [](ILXType& of, ILXAttributeEnum** out) { return of.GetAttributeEnum(out); }, prefix);
    };
    const auto found = [](const char* type, char prefix) {
        return LookupOf<ILXType, ILXAttribute>(type, Type(type),
                                               [prefix](ILXType& of, int n, ILXAttribute** out) {
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

void AddComponentSets(XObservedList& all)
{
    Add(
        all, "set of pages",
        [](Edits edit, int n, XNotify notify) { return edit.AddPage("Item", FirstNumber + n, notify); },
        [](Edits edit, int n, XNotify notify) { return edit.RemovePage("Item", FirstNumber + n, notify); },
        {Type("Item"), "objects/x/0/32"})
        .Add(ElementsOf<ILXType, ILXPage, ILXPageEnum>(
            "listed", Type("Item"), XProperty::PageNumber,
            [](ILXType& of, ILXPageEnum** out) { return of.GetPageEnum(out); }))
        .Add(LookupOf<ILXType, ILXPage>("found", Type("Item"), [](ILXType& of, int n, ILXPage** out) {
            return of.GetPage(FirstNumber + n, out);
        }));
    Add(
        all, "set of groups",
        [](Edits edit, int n, XNotify notify) {
            return edit.AddGroup("Pump", FirstNumber + n, 4, 7, notify);
        },
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

void AddEditors(XObservedList& all)
{
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
        .Add(LookupOf<ILXType, ILXConfObjEditor>("default", Type("Pump"),
                                                 [](ILXType& of, int n, ILXConfObjEditor** out) {
                                                     return of.GetDefaultEditor(B(Named(n)).Get(), out);
                                                 }));
}

bool TypeFeet(const XCachedPtr& attribute, const XAsked&, XNumbers& numbers)
{
    const auto type = Among<ILXAttributeType>(
        One<ILXAttributeTypeEnum>([&](auto out) { attribute.As<ILXAttribute>()->GetAttributeTypeEnum(out); }),
        XProperty::AttributeTypeName, "Feet");
    const auto number = type ? NumberIn(*type, XProperty::AttributeTypeLabel) : std::nullopt;
    numbers.push_back(number.value_or(0));
    return number.has_value();
}

// A removed attribute type may stay listed where types are loaded one by one, and then the object of one
// that stays is another one.
void AddAttributeTypes(XObservedList& all)
{
    using Enumerator = ILXAttributeTypeEnum;
    const XFind head = Attribute("Pump", "Head");
    const auto feet = [=](const XCachePtr& cache) -> XCachedPtr {
        const XCachedPtr attribute = head(cache);
        return attribute
                   ? Among<ILXAttributeType>(One<Enumerator>([&](auto out) {
                                                 attribute.As<ILXAttribute>()->GetAttributeTypeEnum(out);
                                             }),
                                             XProperty::AttributeTypeName, "Feet")
                   : nullptr;
    };
    Add(all, "attribute type values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetAttributeTypeProperty("Pump", "Head", "Feet", XProperty::AttributeTypeLabel,
                                                 Text(n), notify);
        },
        {}, {head, "properties/x/0/1024"})
        .Add(ValueOf("attribute type", feet, XProperty::AttributeTypeLabel, false))
        .Add({"of an attribute", XShows::Value, head, TypeFeet});
    Add(
        all, "set of attribute types",
        [](Edits edit, int n, XNotify notify) {
            return edit.AddAttributeType("Pump", "Head", Named(n), notify);
        },
        [](Edits edit, int n, XNotify notify) {
            return edit.RemoveAttributeType("Pump", "Head", Named(n), notify);
        },
        {head, "objects/x/0/1024"})
        .Add(WithoutRemoval(ElementsOf<ILXAttribute, ILXAttributeType, Enumerator>(
            "listed", head, XProperty::AttributeTypeName,
            [](ILXAttribute& of, Enumerator** out) { return of.GetAttributeTypeEnum(out); })));
}

void AddAttributeFormats(XObservedList& all)
{
    const XFind head = Attribute("Pump", "Head");
    const auto format = Below<ILXAttribute, ILXFormat>(
        head, [](ILXAttribute& of, ILXFormat** out) { return of.GetFormat(1, out); });
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

void AddGroupFormats(XObservedList& all)
{
    const auto format =
        Below<ILXGroup, ILXFormat>(Group(7), [](ILXGroup& of, ILXFormat** out) { return of.GetFormat(out); });
    Add(all, "group format values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetGroupFormatProperty("Pump", 7, 5, Text(n), notify);
        },
        {}, {Group(7), "properties/x/7/4096"})
        .Add(ValueOf("format", format, 5, false));
    XQuestion there = LookupOf<ILXGroup, ILXFormat>(
        "found", Group(8), [](ILXGroup& of, int, ILXFormat** out) { return of.GetFormat(out); });
    there.shows = XShows::Parity;
    Add(all, "format of a group",
        [](Edits edit, int n, XNotify notify) {
            return n % 2 == 1 ? edit.AddGroupFormat("Pump", 8, notify)
                              : edit.RemoveGroupFormat("Pump", 8, notify);
        },
        {}, {Group(8), "objects/x/8/4096"})
        .Add(there);
}

// What a changed set of specs is read into are new objects, so that held ones are not asked, and nobody can
// be notified directly.
void AddSpecs(XObservedList& all)
{
    const auto format = Below<ILXGlobalAttributeFormatSpec, ILXFormat>(
        Spec, [](ILXGlobalAttributeFormatSpec& of, ILXFormat** out) { return of.GetFormat(1, out); });
    Add(all, "spec values", [](Edits edit, int n, XNotify notify) {
        return edit.SetGlobalSpecProperty("Length", 5, Text(n), notify);
    }).Add(ValueOf("spec", Spec, 5, false));
    Add(all, "spec format values", [](Edits edit, int n, XNotify notify) {
        return edit.SetGlobalSpecFormatProperty("Length", 1, 5, Text(n), notify);
    }).Add(ValueOf("format", format, 5, false));
    Add(
        all, "formats of a spec",
        [](Edits edit, int n, XNotify notify) {
            return edit.AddGlobalSpecFormat("Length", FirstNumber + n, notify);
        },
        [](Edits edit, int n, XNotify notify) {
            return edit.RemoveGlobalSpecFormat("Length", FirstNumber + n, notify);
        })
        .Add(NotHeld(LookupOf<ILXGlobalAttributeFormatSpec, ILXFormat>(
            "found", Spec, [](ILXGlobalAttributeFormatSpec& of, int n, ILXFormat** out) {
                return of.GetFormat(FirstNumber + n, out);
            })));
    Add(
        all, "set of specs",
        [](Edits edit, int n, XNotify notify) { return edit.AddGlobalSpec(Named(n), notify); },
        [](Edits edit, int n, XNotify notify) { return edit.RemoveGlobalSpec(Named(n), notify); })
        .Add(ListedElements<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
            "listed", 0, [](ILXConfigFactoryCache& cache, ILXGlobalAttributeFormatSpecEnum** out) {
                return XCachePtr(&cache).As<ILXConfigFactory>()->GetAllGlobalAttributeFormatSpecs(out);
            }));
    Add(all, "browser id values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetBrowserIdProperty("Tree", 1, Text(n), notify);
        },
        {}, {BrowserId, "properties/x/1/8"})
        .Add(ValueOf("browser id", BrowserId, 1));
}

void AddRelations(XObservedList& all)
{
    Add(all, "relation values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetRelationProperty("Equipment", "Pump", "parts", XProperty::NameShort, Text(n),
                                            notify);
        },
        {}, {Relation(), "pc/x/0/4"})
        .Add(ValueOf("relation", Relation(), XProperty::NameShort));
    Add(
        all, "set of relations",
        [](Edits edit, int n, XNotify notify) {
            return edit.AddRelation("Equipment", "Document", Named(n), 0, false, notify);
        },
        [](Edits edit, int n, XNotify notify) {
            return edit.RemoveRelation("Equipment", "Document", Named(n), notify);
        })
        .Add(ListedElements<ILXParentChild, ILXParentChildEnum>(
            "GetPCEnum2", XProperty::ChildList,
            [](ILXConfigFactoryCache& cache, ILXParentChildEnum** out) {
                return cache.GetPCEnum2(nullptr, B("Equipment").Get(), nullptr, 0, out);
            }))
        .Add(ListedElements<ILXParentChild, ILXParentChildEnum>(
            "GetPCEnumAll", XProperty::ChildList,
            [](ILXConfigFactoryCache& cache, ILXParentChildEnum** out) {
                return cache.GetPCEnumAll(nullptr, B("Pump").Get(), nullptr, 0, out);
            }))
        .Add(YesOrNo("GetSinglePCRelation", XShows::Lookup, [](const XAsked& asked) {
            XLXComPtr<ILXParentChild> relation;
            return Answer(asked.cache->GetSinglePCRelation(B("Equipment").Get(), B("Document").Get(), nullptr,
                                                           B(Named(asked.number)).Get(), relation.Put()));
        }));
}

bool InfoTree(const XCachedPtr& relation, const XAsked&, XNumbers& numbers)
{
    XLXComPtr<ILXPCInfo> info;
    relation.As<ILXParentChild>()->GetPCInfo(B("Tree").Get(), info.Put());
    const auto number = info ? NumberIn(*info, XProperty::PCInfoLabel) : std::nullopt;
    numbers.push_back(number.value_or(0));
    return number.has_value();
}

void AddPCInfos(XObservedList& all)
{
    const auto tree = Below<ILXParentChild, ILXPCInfo>(
        Relation(), [](ILXParentChild& of, ILXPCInfo** out) { return of.GetPCInfo(B("Tree").Get(), out); });
    Add(all, "PC info values",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetPCInfoProperty("Equipment", "Pump", "parts", "Tree", XProperty::PCInfoLabel,
                                          Text(n), notify);
        },
        {}, {Relation(), "pc/x/0/4"})
        .Add(ValueOf("PC info", tree, XProperty::PCInfoLabel));
    Add(
        all, "set of PC infos",
        [](Edits edit, int n, XNotify notify) {
            return edit.AddPCInfo("Equipment", "Pump", "parts", Named(n), false, notify);
        },
        [](Edits edit, int n, XNotify notify) {
            return edit.RemovePCInfo("Equipment", "Pump", "parts", Named(n), notify);
        },
        {Relation(), "pc/x/0/4"})
        .Add(ElementsOf<ILXParentChild, ILXPCInfo, ILXPCInfoEnum>(
            "listed", Relation(), XProperty::PCInfoBrowser,
            [](ILXParentChild& of, ILXPCInfoEnum** out) { return of.GetPCInfoEnum(out); }))
        .Add(LookupOf<ILXParentChild, ILXPCInfo>(
            "found", Relation(),
            [](ILXParentChild& of, int n, ILXPCInfo** out) { return of.GetPCInfo(B(Named(n)).Get(), out); }))
        .Add(YesOrNo("GetPCEnum2", XShows::Lookup, [](const XAsked& asked) {
            XLXComPtr<ILXParentChildEnum> relations;
            return Answer(asked.cache->GetPCEnum2(nullptr, B("Equipment").Get(), B(Named(asked.number)).Get(),
                                                  0, relations.Put()));
        }));
}

std::optional<bool> AnswerFor(const XLXComPtr<ILXType>& type, const char* attribute)
{
    return type && AttributeOf(type, attribute) ? std::optional(true) : std::optional(false);
}

void AddDerivedTypes(const XAsked& asked, XNumbers& numbers, HRESULT& result)
{
    LONG count = 0;
    BSTR* derived = nullptr;
    result = asked.cache->GetAllDerivedTypes(B("Item").Get(), &count, &derived);
    for (LONG i = 0; i < count; ++i)
    {
        if (const std::string name = LXNarrow(LXBstrView(derived[i])); name.starts_with('x'))
        {
            numbers.push_back(std::atoi(name.c_str() + 1));
        }
        SysFreeString(derived[i]);
    }
    CoTaskMemFree(derived);
}

// Types that the server removed stay in the cache until its life ends, and each change reads all types.
void AddTypes(XObservedList& all)
{
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
                                        return Answer(
                                            asked.cache->GetCachedType(object.Get(), nullptr, type.Put()));
                                    })))
        .Add(WithoutRemoval(YesOrNo("its inherited attribute", XShows::Lookup,
                                    [](const XAsked& asked) {
                                        return AnswerFor(TypeOf(asked.cache, Named(asked.number)), "Base7");
                                    })))
        .Add(WithoutRemoval({"GetAllDerivedTypes", XShows::Elements, nullptr,
                             [](const XCachedPtr&, const XAsked& asked, XNumbers& numbers) {
                                 HRESULT result = S_OK;
                                 AddDerivedTypes(asked, numbers, result);
                                 return SUCCEEDED(result);
                             }}));
}

void AddTypeLinks(XObservedList& all)
{
    Add(
        all, "base type",
        [](Edits edit, int n, XNotify notify) {
            return edit.SetTypeProperty("Loose", XProperty::BaseTypeName, n % 2 == 1 ? "Equipment" : "Item",
                                        notify);
        },
        {}, {}, 4)
        .Add(YesOrNo("CheckTypeDerivesFrom", XShows::Parity,
                     [](const XAsked& asked) {
                         const XLXComBSTR equipment = B("Equipment");
                         BSTR names[] = {equipment.Get()};
                         LONG derives = 0;
                         const HRESULT result =
                             asked.cache->CheckTypeDerivesFrom(B("Loose").Get(), 1, names, &derives);
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

void AddPlanTypes(XObservedList& all)
{
    Add(all, "plan types", [](Edits edit, int n, XNotify notify) {
        return edit.Change(
            [n](XServerModel& model) {
                model.objects.at(OLESTR("plan"))->attributes[OLESTR("configtypename")] =
                    Value(n % 2 == 1 ? "Pump" : "Document");
            },
            "pc/lumbrixtypeset/0/4", notify);
    }).Add(YesOrNo("IsPlantype", XShows::Parity, [](const XAsked& asked) {
        return Answer(asked.cache->IsPlantype(asked.server.DataObject("Pump").Get()));
    }));
}
// What the server made anew under the old name has a server object of its own: nothing that was loaded
// through the former one may stay. An object that is held may still ask the former one.
template <class List, class Is>
void Forget(List& list, Is is)
{
    std::erase_if(list, [&](const auto& element) { return is(*element); });
}

void AddRemadeAttribute(XObservedList& all)
{
    const XFind attribute = Attribute("Pump", "Remade");
    const auto remake = [](XServerModel& model, int n) {
        XModelType& pump = *model.types.at(OLESTR("Pump"));
        Forget(pump.attributes,
               [](const auto& of) { return of.Text(XProperty::AttributeName) == OLESTR("Remade"); });
        XModelAttribute& made = pump.AddAttribute("Remade", 3);
        made.properties.Set(XProperty::Label, Text(n));
        made.AddType("Feet").properties.Set(XProperty::AttributeTypeLabel, Text(n));
        made.AddFormat(1).properties.Set(5, Text(n));
    };
    const auto format = Below<ILXAttribute, ILXFormat>(
        attribute, [](ILXAttribute& of, ILXFormat** out) { return of.GetFormat(1, out); });
    const auto inherited = Attribute("Sealed", "Remade");
    Add(all, "attribute made anew",
        [remake](Edits edit, int n, XNotify notify) {
            return edit.Change([&](XServerModel& model) { remake(model, n); }, "objects/Pump/0/512", notify);
        })
        .Add(ValueOf("attribute", attribute, XProperty::Label, false))
        .Add({"its attribute type", XShows::Value, attribute, TypeFeet, false})
        .Add({"the same inherited", XShows::Value, inherited, TypeFeet, false})
        .Add(ValueOf("its format", format, 5, false));
}

void AddRemadeGroup(XObservedList& all)
{
    const auto remake = [](XServerModel& model, int n) {
        XModelType& pump = *model.types.at(OLESTR("Pump"));
        Forget(pump.groups, [](const auto& of) { return of.Number(XProperty::GroupNumber) == 9; });
        XModelGroup& made = pump.AddGroup(9, 1);
        made.properties.Set(XProperty::GroupLabel, Text(n));
        made.formats.emplace(0, XModelRef<XModelFormat>());
        made.formats.at(0)->properties.Set(5, Text(n));
    };
    const auto format =
        Below<ILXGroup, ILXFormat>(Group(9), [](ILXGroup& of, ILXFormat** out) { return of.GetFormat(out); });
    Add(all, "group made anew",
        [remake](Edits edit, int n, XNotify notify) {
            return edit.Change([&](XServerModel& model) { remake(model, n); }, "objects/Pump/9/64", notify);
        })
        .Add(ValueOf("group", Group(9), XProperty::GroupLabel, false))
        .Add(ValueOf("its format", format, 5, false));
}

void AddRemadeType(XObservedList& all)
{
    const auto remake = [](XServerModel& model, int n) {
        model.types.erase(OLESTR("Remade"));
        XModelType& made = model.AddType("Remade", "Equipment");
        made.properties.Set(XProperty::TypeLabel, Text(n));
        made.AddAttribute("Own", 1).properties.Set(XProperty::Label, Text(n));
        made.AddPage(1).properties.Set(XProperty::PageLabel, Text(n));
    };
    const auto page = Below<ILXType, ILXPage>(Type("Remade"),
                                              [](ILXType& of, ILXPage** out) { return of.GetPage(1, out); });
    Add(
        all, "type made anew",
        [remake](Edits edit, int n, XNotify notify) {
            return edit.Change([&](XServerModel& model) { remake(model, n); }, "objects/Remade/0/2", notify);
        },
        {}, {}, 4)
        .Add(ValueOf("type", Type("Remade"), XProperty::TypeLabel, false))
        .Add(ValueOf("its attribute", Attribute("Remade", "Own"), XProperty::Label, false))
        .Add(ValueOf("its page", page, XProperty::PageLabel, false));
}

void AddRemadeRelation(XObservedList& all)
{
    const auto remake = [](XServerModel& model, int n) {
        Forget(model.relations,
               [](const auto& of) { return of.Text(XProperty::ChildList) == OLESTR("remade"); });
        XModelRelation& made = model.AddRelation("Equipment", "Document", "remade");
        made.properties.Set(XProperty::NameShort, Text(n));
        made.AddPCInfo("Tree").properties.Set(XProperty::PCInfoLabel, Text(n));
    };
    const auto relation = [](const XCachePtr& cache) {
        return Plain(RelationOf(cache, "Document", "remade"));
    };
    Add(all, "relation made anew",
        [remake](Edits edit, int n, XNotify notify) {
            return edit.Change([&](XServerModel& model) { remake(model, n); }, "pc/Equipment/0/4", notify);
        })
        .Add(ValueOf("relation", relation, XProperty::NameShort, false))
        .Add({"its PC info", XShows::Value, relation, InfoTree, false});
}
} // namespace

XObservedList LXEveryKind()
{
    XObservedList all;
    AddTypeValues(all);
    AddAttributeValues(all);
    AddAttributeSets(all);
    AddComponentSets(all);
    AddAttributeTypes(all);
    AddAttributeFormats(all);
    AddGroupFormats(all);
    AddSpecs(all);
    AddRelations(all);
    AddPCInfos(all);
    AddTypes(all);
    AddTypeLinks(all);
    AddEditors(all);
    AddPlanTypes(all);
    AddRemadeAttribute(all);
    AddRemadeGroup(all);
    AddRemadeType(all);
    AddRemadeRelation(all);
    return all;
}

XServerModel LXObservedModel()
{
    XServerModel model = LXLifeModel();
    for (int i = 1; i <= 20; ++i)
    {
        model.types.at(OLESTR("Item"))->AddAttribute("Base" + std::to_string(i), 1);
    }
    model.types.at(OLESTR("Pump"))->AddGroup(8, 1);
    model.AddType("Centrifugal", "Pump").AddAttribute("Stages", 3);
    model.AddType("Sealed", "Centrifugal").AddAttribute("Seal", 3);
    model.AddType("Loose", "Item");
    return model;
}
