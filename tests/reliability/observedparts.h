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

inline XLXComPtr<ILXType> TypeOf(const XCachePtr& cache, const std::string& name) {
    return LXFind(cache.As<ILXConfigFactory>(), &ILXConfigFactory::GetType, name, nullptr);
}

inline XLXComPtr<ILXParentChild> RelationOf(const XCachePtr& cache, const char* child, const char* list) {
    return LXFind(cache, &ILXConfigFactoryCache::GetSinglePCRelation, "Equipment", child, nullptr, list);
}

/// The element of an enumeration with that text in a member.
template <class Enumerator> XCachedPtr Among(const XLXComPtr<Enumerator>& elements, const char* text, int member = 0) {
    for (const auto& element : LXElements(elements)) {
        if (LXRead(element.Get(), member) == LXFromUtf8(text)) { return XCachedPtr(element.Get()); }
    }
    return nullptr;
}

template <class Interface> XCachedPtr Plain(const XLXComPtr<Interface>& object) { return XCachedPtr(object.Get()); }

/// What a method of an object returns.
template <class Owner, class... Parameters, class... Arguments>
XFind Part(XFind owner, HRESULT (STDMETHODCALLTYPE Owner::*get)(Parameters...), Arguments... arguments) {
    return [=](const XCachePtr& cache) { return Plain(LXFind(owner(cache).template As<Owner>(), get, arguments...)); };
}

inline XFind Type(const char* name) {
    return [=](const XCachePtr& cache) { return Plain(TypeOf(cache, name)); };
}
inline XFind Attribute(const char* type, const char* name) { return Part(Type(type), &ILXType::GetAttribute, name); }
inline XFind Group(int number) { return Part(Type("Pump"), &ILXType::GetGroup, number); }
inline XFind Page(const char* type = "Item") { return Part(Type(type), &ILXType::GetPage, 1); }
inline XCachedPtr Relation(const XCachePtr& cache) { return Plain(RelationOf(cache, "Pump", "parts")); }
inline XCachedPtr BrowserId(const XCachePtr& cache) {
    return Among(LXFind(cache.As<ILXConfigFactory>(), &ILXConfigFactory::GetBrowserIdEnum), "Tree");
}
inline XCachedPtr Spec(const XCachePtr& cache) {
    const auto factory = cache.As<ILXConfigFactory>();
    return Among(LXFind(factory, &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs), "Length");
}

inline XCachedPtr FeetOf(const XCachedPtr& attribute) {
    const auto types = LXFind(attribute.As<ILXAttribute>(), &ILXAttribute::GetAttributeTypeEnum);
    return Among(types, "Feet", XProperty::AttributeTypeName);
}
inline XCachedPtr TreeOf(const XCachedPtr& relation) {
    return Plain(LXFind(relation.As<ILXParentChild>(), &ILXParentChild::GetPCInfo, "Tree"));
}

// ---- queries

/// The value of a part, which each query finds anew through its owner.
inline XQuestion ValueBelow(const char* name, XFind owner, XCachedPtr (*part)(const XCachedPtr&), int member,
                            bool holds = true) {
    return {name, XShows::Value, std::move(owner),
            [=](const XCachedPtr& object, const XAsked&, XNumbers& numbers) {
                const XCachedPtr found = part(object);
                XLXComVariant value;
                const bool there = found && found->GetProperty(member, value.Put()) == S_OK && value.AsText();
                const std::string text = there ? LXNarrow(*value.AsText()) : "0";
                numbers.push_back(std::atoi(text.c_str() + (text.starts_with('x') ? 1 : 0)));
                return there;
            },
            holds};
}
inline XQuestion ValueOf(const char* name, XFind find, int member, bool holds = true) {
    return ValueBelow(
        name, std::move(find), [](const XCachedPtr& object) { return object; }, member, holds);
}

/// The object that is queried: the one that was found, or the cache.
template <class Owner> XLXComPtr<Owner> Queried(const XCachedPtr& object, const XAsked& asked) {
    return object ? object.As<Owner>() : asked.cache.template As<Owner>();
}

/// A question that calls a method of the object, or of the cache, and tells the numbers in what it returns. Arguments
/// that are functions are called with the requested number.
template <class Tell, class Owner, class... Parameters, class... Arguments>
XQuestion Asking(const char* name, XShows shows, XFind find, Tell tell,
                 HRESULT (STDMETHODCALLTYPE Owner::*get)(Parameters...), Arguments... arguments) {
    return {name, shows, std::move(find), [=](const XCachedPtr& object, const XAsked& asked, XNumbers& numbers) {
                auto found = LXOutOf(get);
                const HRESULT result =
                    LXCall(*Queried<Owner>(object, asked), get, Given(arguments, asked.number)..., found.Put());
                tell(found, numbers);
                return SUCCEEDED(result);
            }};
}

/// The numbers of the elements that a method enumerates. Other elements are skipped.
template <char prefix = 'x', class Method, class... Arguments>
XQuestion ElementsOf(const char* name, XFind find, int member, Method list, Arguments... arguments) {
    const auto tell = [=](const auto& elements, XNumbers& numbers) {
        for (const auto& element : LXElements(elements)) {
            const std::string text = LXNarrow(LXRead(element.Get(), member));
            if (text.starts_with(prefix)) {
                numbers.push_back(std::atoi(text.c_str() + 1));
            } else if (const int number = std::atoi(text.c_str()); number > FirstNumber) {
                numbers.push_back(number - FirstNumber);
            }
        }
    };
    return Asking(name, XShows::Elements, std::move(find), tell, list, arguments...);
}

/// Whether an enumeration has an element with that text.
template <class Method, class... Arguments>
XQuestion Lists(const char* name, XFind find, const char* text, Method list, Arguments... arguments) {
    const auto tell = [=](const auto& elements, XNumbers& numbers) {
        numbers.push_back(Among(elements, text) ? 1 : 0);
    };
    return Asking(name, XShows::Parity, std::move(find), tell, list, arguments...);
}

/// Whether a method returns an object.
template <class Method, class... Arguments>
XQuestion LookupOf(const char* name, XFind find, Method get, Arguments... arguments) {
    const auto tell = [](const auto& element, XNumbers& numbers) { numbers.push_back(element ? 1 : 0); };
    return Asking(name, XShows::Lookup, std::move(find), tell, get, arguments...);
}

/// A query to the cache whose result is S_OK for yes and S_FALSE for no.
inline XQuestion YesOrNo(const char* name, XShows shows, std::function<HRESULT(const XAsked&)> ask) {
    return {name, shows, nullptr, [=](const XCachedPtr&, const XAsked& asked, XNumbers& numbers) {
                const HRESULT result = ask(asked);
                numbers.push_back(result == S_OK ? 1 : 0);
                return SUCCEEDED(result);
            }};
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
} // namespace LXObserving

#endif
