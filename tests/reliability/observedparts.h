// SPDX-License-Identifier: MIT
//
// The parts of observed kinds: how their objects are found and queried.
#ifndef OBSERVEDPARTS_H
#define OBSERVEDPARTS_H

#include "observed.h"

#include <cstdlib>
#include <utility>

namespace LXObserving {
using Edits = XServerEdits;
using Value = XModelValue;

inline XLXComBSTR B(const std::string& text) { return XLXComBSTR(LXFromUtf8(text)); }

// How the number of an edit is encoded: elements are named x17, inherited ones y17, or 1017 if names are numbers.
inline std::string Named(int number) { return "x" + std::to_string(number); }
inline std::string NamedBelow(int number) { return "y" + std::to_string(number); }
inline constexpr int FirstNumber = 1000;
inline int Numbered(int number) { return FirstNumber + number; }
inline Value Text(int number) { return Value(std::to_string(number)); }
inline bool IsOdd(int number) { return number % 2 == 1; }

template <class T> decltype(auto) Given(const T& argument, [[maybe_unused]] int number) {
    if constexpr (std::is_invocable_v<const T&, int>) {
        return argument(number);
    } else {
        return (argument);
    }
}

/// An edit by a method of the server; arguments that are functions are called with the number.
template <class Method, class... Arguments> XObserved::Edit Calling(Method method, Arguments... arguments) {
    return [=](Edits edit, int number, XNotify notify) { return (edit.*method)(Given(arguments, number)..., notify); };
}

// ---- finding objects

/// The object that a query returns.
template <class Interface, class Ask> XLXComPtr<Interface> One(Ask&& ask) {
    XLXComPtr<Interface> object;
    ask(object.Put());
    return object;
}

/// The object that another object returns; null if that one is null.
template <class Interface, class Owner, class Ask> XLXComPtr<Interface> Of(const Owner& owner, Ask&& ask) {
    return owner ? One<Interface>([&](auto out) { ask(*owner, out); }) : nullptr;
}

inline XLXComPtr<ILXType> TypeOf(const XCachePtr& cache, const std::string& name) {
    return One<ILXType>([&](auto out) { cache.As<ILXConfigFactory>()->GetType(B(name).Get(), nullptr, out); });
}

inline XLXComPtr<ILXAttribute> AttributeOf(const XLXComPtr<ILXType>& type, const std::string& name) {
    return Of<ILXAttribute>(type, [&](auto& of, auto out) { of.GetAttribute(B(name).Get(), out); });
}

inline XLXComPtr<ILXParentChild> RelationOf(const XCachePtr& cache, const std::string& child, const std::string& list) {
    return One<ILXParentChild>([&](auto out) {
        cache->GetSinglePCRelation(B("Equipment").Get(), B(child).Get(), nullptr, B(list).Get(), out);
    });
}

/// The element of an enumeration with that text in a member.
template <class Element, class Enumerator>
XCachedPtr Among(const XLXComPtr<Enumerator>& elements, int member, const char* text) {
    XLXComPtr<Element> element;
    while (elements && elements->GetSingleNext(element.Put()) == S_OK) {
        if (LXRead(element.Get(), member) == LXFromUtf8(text)) { return XCachedPtr(element.Get()); }
    }
    return nullptr;
}

template <class Interface> XCachedPtr Plain(const XLXComPtr<Interface>& object) { return XCachedPtr(object.Get()); }

inline XFind Type(const char* name) {
    return [=](const XCachePtr& cache) { return Plain(TypeOf(cache, name)); };
}
inline XFind Attribute(const char* type, const char* name) {
    return [=](const XCachePtr& cache) { return Plain(AttributeOf(TypeOf(cache, type), name)); };
}
inline XFind Group(int number) {
    return [=](const XCachePtr& cache) {
        return Plain(Of<ILXGroup>(TypeOf(cache, "Pump"), [&](auto& type, auto out) { type.GetGroup(number, out); }));
    };
}
inline XFind Page(const char* type = "Item") {
    return [=](const XCachePtr& cache) {
        return Plain(Of<ILXPage>(TypeOf(cache, type), [&](auto& of, auto out) { of.GetPage(1, out); }));
    };
}
inline XFind Editor() {
    return [](const XCachePtr& cache) {
        return Plain(Of<ILXConfObjEditor>(TypeOf(cache, "Pump"),
                                          [&](auto& type, auto out) { type.GetDefaultEditor(B("Tree").Get(), out); }));
    };
}
inline XFind Relation() {
    return [](const XCachePtr& cache) { return Plain(RelationOf(cache, "Pump", "parts")); };
}

inline XCachedPtr BrowserId(const XCachePtr& cache) {
    const auto factory = cache.As<ILXConfigFactory>();
    return Among<ILXBrowserId>(One<ILXBrowserIdEnum>([&](auto out) { factory->GetBrowserIdEnum(out); }), 0, "Tree");
}
inline XCachedPtr Spec(const XCachePtr& cache) {
    const auto factory = cache.As<ILXConfigFactory>();
    return Among<ILXGlobalAttributeFormatSpec>(
        One<ILXGlobalAttributeFormatSpecEnum>([&](auto out) { factory->GetAllGlobalAttributeFormatSpecs(out); }), 0,
        "Length");
}

/// Format 1 of an attribute or a spec, or the format of a group.
template <class Owner> XFind FormatOf(XFind owner) {
    return [=](const XCachePtr& cache) {
        const XCachedPtr found = owner(cache);
        return Plain(Of<ILXFormat>(found ? found.template As<Owner>() : nullptr, [](Owner& of, ILXFormat** out) {
            if constexpr (std::is_same_v<Owner, ILXGroup>) {
                of.GetFormat(out);
            } else {
                of.GetFormat(1, out);
            }
        }));
    };
}

// ---- queries

inline std::optional<int> NumberIn(ILXConfigObject& object, int member) {
    XLXComVariant value;
    const HRESULT result = object.GetProperty(member, value.Put());
    const auto text = result == S_OK ? value.AsText() : std::nullopt;
    if (!text) { return std::nullopt; }
    const std::string narrow = LXNarrow(*text);
    return std::atoi(narrow.c_str() + (narrow.starts_with('x') ? 1 : 0));
}

inline XQuestion ValueOf(const char* name, XFind find, int member, bool holds = true) {
    return {name, XShows::Value, std::move(find),
            [member](const XCachedPtr& object, const XAsked&, XNumbers& numbers) {
                const auto number = NumberIn(*object, member);
                numbers.push_back(number.value_or(0));
                return number.has_value();
            },
            holds};
}

/// The numbers of the elements in an enumeration. Other elements are skipped.
template <class Element, class Enumerator>
void AddElements(const XLXComPtr<Enumerator>& elements, int member, XNumbers& numbers, char prefix = 'x') {
    XLXComPtr<Element> element;
    while (elements && elements->GetSingleNext(element.Put()) == S_OK) {
        XLXComVariant value;
        element->GetProperty(member, value.Put());
        const std::string text = LXNarrow(value.AsText().value_or(OLESTR("")));
        if (text.starts_with(prefix)) {
            numbers.push_back(std::atoi(text.c_str() + 1));
        } else if (const int number = std::atoi(text.c_str()); number > FirstNumber) {
            numbers.push_back(number - FirstNumber);
        }
    }
}

template <class Owner, class Element, class Enumerator, class Ask>
XQuestion ElementsOf(const char* name, XFind find, int member, Ask ask, char prefix = 'x') {
    return {name, XShows::Elements, std::move(find), [=](const XCachedPtr& object, const XAsked&, XNumbers& numbers) {
                XLXComPtr<Enumerator> elements;
                const HRESULT result = std::invoke(ask, *object.template As<Owner>(), elements.Put());
                AddElements<Element>(elements, member, numbers, prefix);
                return SUCCEEDED(result);
            }};
}

/// The same for enumerations of the cache itself.
template <class Element, class Enumerator, class Ask> XQuestion ListedElements(const char* name, int member, Ask ask) {
    return {name, XShows::Elements, nullptr, [=](const XCachedPtr&, const XAsked& asked, XNumbers& numbers) {
                XLXComPtr<Enumerator> elements;
                const HRESULT result = ask(*asked.cache, elements.Put());
                AddElements<Element>(elements, member, numbers);
                return SUCCEEDED(result);
            }};
}

/// Whether an object has the element with the requested number, which name turns into its key.
template <class Owner, class Element, class Key, class Name>
XQuestion LookupOf(const char* title, XFind find, HRESULT (STDMETHODCALLTYPE Owner::*get)(Key, Element**), Name name) {
    return {title, XShows::Lookup, std::move(find),
            [=](const XCachedPtr& object, const XAsked& asked, XNumbers& numbers) {
                XLXComPtr<Element> element;
                const auto owner = object.template As<Owner>();
                HRESULT result = S_OK;
                if constexpr (std::is_same_v<Key, BSTR>) {
                    result = (*owner.*get)(B(name(asked.number)).Get(), element.Put());
                } else {
                    result = (*owner.*get)(name(asked.number), element.Put());
                }
                numbers.push_back(element ? 1 : 0);
                return SUCCEEDED(result);
            }};
}

/// A query to the cache with a yes or no answer; none if it fails.
inline XQuestion YesOrNo(const char* name, XShows shows, std::function<std::optional<bool>(const XAsked&)> ask) {
    return {name, shows, nullptr, [=](const XCachedPtr&, const XAsked& asked, XNumbers& numbers) {
                const std::optional<bool> answer = ask(asked);
                numbers.push_back(answer.value_or(false) ? 1 : 0);
                return answer.has_value();
            }};
}

inline std::optional<bool> Answer(HRESULT result) {
    return SUCCEEDED(result) ? std::optional(result == S_OK) : std::nullopt;
}

inline XQuestion NotHeld(XQuestion question) {
    question.holds = false;
    return question;
}
inline XQuestion WithoutRemoval(XQuestion question) {
    question.showsRemoval = false;
    return question;
}

/// Adds a kind to the list.
inline XObserved& Add(XObservedList& all, const char* name, XObserved::Edit edit, XObserved::Edit remove = {},
                      XObserved::Direct direct = {}, unsigned effort = 1) {
    return *all.emplace_back(
        std::make_unique<XObserved>(name, std::move(edit), std::move(remove), std::move(direct), effort));
}

// ---- queries of several kinds

inline XCachedPtr FeetOf(const XCachedPtr& attribute) {
    const auto types =
        Of<ILXAttributeTypeEnum>(attribute ? attribute.As<ILXAttribute>() : nullptr,
                                 [](ILXAttribute& of, ILXAttributeTypeEnum** out) { of.GetAttributeTypeEnum(out); });
    return Among<ILXAttributeType>(types, XProperty::AttributeTypeName, "Feet");
}

inline XCachedPtr TreeOf(const XCachedPtr& relation) {
    return Plain(Of<ILXPCInfo>(relation ? relation.As<ILXParentChild>() : nullptr,
                               [](ILXParentChild& of, ILXPCInfo** out) { of.GetPCInfo(B("Tree").Get(), out); }));
}

/// The value of a part, which each query finds anew through its owner.
inline XQuestion ValueBelow(const char* name, XFind owner, XCachedPtr (*part)(const XCachedPtr&), int member,
                            bool holds = true) {
    return {name, XShows::Value, std::move(owner),
            [=](const XCachedPtr& object, const XAsked&, XNumbers& numbers) {
                const XCachedPtr found = part(object);
                const auto number = found ? NumberIn(*found, member) : std::nullopt;
                numbers.push_back(number.value_or(0));
                return number.has_value();
            },
            holds};
}
} // namespace LXObserving

#endif
