// SPDX-License-Identifier: MIT
//
// Calls to interfaces. An unexpected result ends the program with the result's name and the component's error
// information.
#ifndef XTOOLCOM_H
#define XTOOLCOM_H

#include "XLXComBSTR.h"
#include "XLXComPtr.h"
#include "XLXComVariant.h"

#include <stdexcept>
#include <string>
#include <vector>

/// An unexpected result.
class XToolFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The symbolic name of a result, such as "E_POINTER" for 0x80004003; its number if it has no name here.
std::string LXResultName(HRESULT result);

/// Raises XToolFailure unless the result is the expected one.
void LXExpect(HRESULT result, const char* what, HRESULT expected = S_OK);
/// Raises XToolFailure unless the condition is true.
void LXExpectThat(bool condition, const std::string& what);

/// A BSTR from UTF-8 text.
XLXComBSTR LXBstr(std::string_view utf8);

/// A property as text; "" for an empty one.
std::string LXTextOf(ILXConfigObject& object, int member);
/// A property as a number; 0 for an empty one.
LONG LXNumberOf(ILXConfigObject& object, int member);
/// A property as "yes" or "".
std::string LXFlagOf(ILXConfigObject& object, int member);

/// All elements of an enumeration; empty for a null pointer.
template <class Element, class Enumerator>
std::vector<XLXComPtr<Element>> LXAllOf(const XLXComPtr<Enumerator>& enumerator) {
    constexpr ULONG Batch = 100;
    std::vector<XLXComPtr<Element>> all;
    for (HRESULT result = enumerator ? S_OK : S_FALSE; result == S_OK;) {
        Element* elements[Batch] = {};
        ULONG fetched = 0;
        result = enumerator->RemNext(Batch, elements, &fetched);
        LXExpectThat(SUCCEEDED(result), "RemNext answered " + LXResultName(result));
        for (ULONG i = 0; i < fetched; ++i) {
            all.push_back(LXAttach(elements[i]));
        }
    }
    return all;
}

/// Calls a method that returns an enumeration (S_FALSE: an empty one) and fetches all its elements.
template <class Element, class Enumerator, class Call>
std::vector<XLXComPtr<Element>> LXList(const char* what, Call&& call) {
    XLXComPtr<Enumerator> enumerator;
    const HRESULT result = call(enumerator.Put());
    if (result != S_FALSE) { LXExpect(result, what); }
    return LXAllOf<Element>(enumerator);
}

/// One property of several objects, as texts.
template <class Object> std::vector<std::string> LXTextsOf(const std::vector<XLXComPtr<Object>>& objects, int member) {
    std::vector<std::string> texts;
    for (const auto& object : objects) {
        texts.push_back(LXTextOf(*object, member));
    }
    return texts;
}

#endif
