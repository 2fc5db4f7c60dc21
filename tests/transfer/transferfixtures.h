// SPDX-License-Identifier: MIT
//
// One well-formed array of each kind, built element by element, with the reader and the writer of the kind.
#ifndef TRANSFERFIXTURES_H
#define TRANSFERFIXTURES_H

#include "XCFCDataTransfer.h"
#include "XTransferWriters.h"
#include "testtexts.h"

#include <lxserver/Object.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>

/// A stand-in for a server object.
class XCountedObject final : public lx::Object<IUnknown> {
public:
    ULONG STDMETHODCALLTYPE AddRef() override {
        ++counted;
        return Object::AddRef();
    }
    static inline std::atomic<long> counted{0}; ///< calls of AddRef on any object
};

XLXComPtr<IUnknown> NewObject();

enum class EKind { TypeArray, PCArray, TypeComponents, RecordList, AttributeList };

constexpr EKind AllKinds[] = {EKind::TypeArray, EKind::PCArray, EKind::TypeComponents, EKind::RecordList,
                              EKind::AttributeList};

std::ostream& operator<<(std::ostream& out, EKind kind);

/// A well-formed array.
XLXSafeArray Sample(EKind kind);
/// Reads an array and writes what was read.
XLXSafeArray ReadAndWrite(EKind kind, XLXSafeArray array);

/// The elements of an array as text, such as "I4 -1", "BSTR Pump" or "EMPTY".
std::vector<std::string> Describe(const XLXSafeArray& array);
std::string Describe(const VARIANT& element);

/// An array of the given elements.
template <class... T> XLXSafeArray ArrayOf(T&&... elements) {
    XLXCFCDataTransfer::XArrayWriter writer;
    return writer.Put(std::forward<T>(elements)...).Finish();
}

template <class... T> XLXVariantVector Values(T... values) {
    XLXVariantVector all;
    (all.push_back(std::move(values)), ...);
    return all;
}

inline XLXComVariant Text(XLXTextView text) { return XLXComVariant::FromBstr(text); }
inline XLXComVariant Bool(bool value) { return XLXComVariant::FromBool(value); }

/// A new array with the first elements of an array. If the count is greater, the others are empty.
XLXSafeArray Cut(const XLXSafeArray& array, ULONG count, LONG lowerBound = 0);
ULONG CountOf(const XLXSafeArray& array);
/// An element of an array, for inspection or modification.
VARIANT& ElementOf(const XLXSafeArray& array, ULONG index);
/// Replaces an element by a zero value of a type.
void Spoil(const XLXSafeArray& array, ULONG index, VARTYPE type);

/// What a call raised.
struct Raised {
    HRESULT code = S_OK;
    std::string text;
    std::string method;

    bool operator==(const Raised&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Raised& raised);

/// Reads an array and returns what the reader raised, whose source and scope it checks.
Raised Read(EKind kind, XLXSafeArray array);

#endif
