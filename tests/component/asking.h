// SPDX-License-Identifier: MIT
//
// Calls of methods that return an object through their last parameter. A text argument is converted to a BSTR.
#ifndef ASKING_H
#define ASKING_H

#include "XLXComBSTR.h"
#include "XLXComPtr.h"
#include "XModelValue.h"

#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

struct XBstrArgument {
    XLXComBSTR text;
    operator BSTR() const noexcept { return text.Get(); }
};

/// A narrow or wide text as a BSTR; any other argument, also a BSTR or null, unchanged.
template <class T> decltype(auto) LXArgument(const T& argument) {
    if constexpr (std::is_convertible_v<const T&, std::string_view> && !std::is_null_pointer_v<T>) {
        return XBstrArgument{XLXComBSTR(LXFromUtf8(argument))};
    } else if constexpr (std::is_class_v<T> && std::is_convertible_v<const T&, XLXTextView>) {
        return XBstrArgument{XLXComBSTR(argument)};
    } else {
        return (argument);
    }
}

template <class Owner, class Method, class... Arguments>
HRESULT LXCall(Owner& owner, Method method, Arguments... arguments) {
    return (owner.*method)(LXArgument(arguments)...);
}

/// A null pointer of the type that a method returns through its last parameter.
template <class Face, class... Parameters> auto LXOutOf(HRESULT (STDMETHODCALLTYPE Face::*)(Parameters...)) {
    using Last = std::tuple_element_t<sizeof...(Parameters) - 1, std::tuple<Parameters...>>;
    return XLXComPtr<std::remove_pointer_t<std::remove_pointer_t<Last>>>();
}

/// The object that a method returns through its last parameter; null if there is none or the owner is null.
template <class Owner, class Method, class... Arguments>
auto LXFind(const XLXComPtr<Owner>& owner, Method method, Arguments... arguments) {
    auto object = LXOutOf(method);
    if (owner) { LXCall(*owner, method, arguments..., object.Put()); }
    return object;
}

/// Takes over an array of texts that a method of the cache returned.
inline std::vector<std::string> LXTake(LONG count, BSTR* texts) {
    std::vector<std::string> all;
    for (LONG i = 0; i < count; ++i) {
        all.push_back(LXToUtf8(LXBstrView(texts[i])));
        SysFreeString(texts[i]);
    }
    CoTaskMemFree(texts);
    return all;
}

/// The elements of an enumeration; none for a null pointer.
template <class Enumerator> auto LXElements(const XLXComPtr<Enumerator>& elements) {
    auto element = LXOutOf(&Enumerator::GetSingleNext);
    std::vector<decltype(element)> all;
    while (elements && elements->GetSingleNext(element.Put()) == S_OK) {
        all.push_back(element);
    }
    return all;
}

#endif
