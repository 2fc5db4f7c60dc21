// SPDX-License-Identifier: MIT
#include "XArrayReader.h"

#include <cstring>

namespace XLXCFCDataTransfer {
namespace {
constexpr XLXTextView WrongSize = OLESTR("wrong safearray size");
constexpr XLXTextView WrongVartype = OLESTR("wrong safearray vartype");

void CheckVariantType(const VARIANT& from, VARTYPE expected, XLXTextView message) {
    if (V_VT(&from) != expected) { XLXError::Raise(E_INVALIDARG, message, TransferAt("FromVariant")); }
}

void CheckElementType(SAFEARRAY* array, const char* method) {
    VARTYPE type = VT_EMPTY;
    XLXError::RaiseIfFailed(SafeArrayGetVartype(array, &type), OLESTR("SafeArrayGetVartype failed"),
                            TransferAt(method));
    // The elements are read in place, which needs elements of the size of a variant in one row.
    if (type != VT_VARIANT || SafeArrayGetDim(array) != 1 || SafeArrayGetElemsize(array) != sizeof(VARIANT)) {
        XLXError::Raise(E_INVALIDARG, WrongVartype, TransferAt(method));
    }
}
} // namespace

XArrayReader::OpenArray::OpenArray(XLXSafeArray taken, const char* method) : array(std::move(taken)) {
    XLXError::RaiseIfFailed(SafeArrayAccessData(array.Get(), &data), OLESTR("SafeArrayGetElement failed"),
                            TransferAt(method));
}

XArrayReader::XArrayReader(XLXSafeArray owned, ULONG least, const char* method, EValues values,
                           const XArrayOrigin& origin)
    : m_values(values), m_section(origin.section), m_type(origin.type) {
    XLXError::CheckPointer(owned.Get(), OLESTR("array"), TransferAt(method));
    Reading([&] { Open(std::move(owned), least, method); }, [] { return XArraySubject{}; });
}

void XArrayReader::Open(XLXSafeArray owned, ULONG least, const char* method) {
    SAFEARRAY* const array = owned.Get();
    LONG lower = 0;
    XLXError::RaiseIfFailed(SafeArrayGetLBound(array, 1, &lower), OLESTR("fSafeArrayGetLBound failed"),
                            TransferAt(method));
    LONG upper = 0;
    XLXError::RaiseIfFailed(SafeArrayGetUBound(array, 1, &upper), OLESTR("SafeArrayGetUBound failed"),
                            TransferAt(method));
    CheckElementType(array, method);
    // Unsigned, since the bounds may lie anywhere: the platform's upper bound wraps in the same way.
    m_count = static_cast<ULONG>(upper) - static_cast<ULONG>(lower) + 1U;
    CheckRemaining(least, method);
    m_array = std::make_shared<OpenArray>(std::move(owned), method);
    m_data = static_cast<XLXComVariant*>(m_array->data); // which is a VARIANT and nothing else
    if (m_data == nullptr && m_count != 0)               // a descriptor without its elements
    {
        RaiseSize(method);
    }
}

void XArrayReader::LogRefusal(const XLXException& refusal, const XArraySubject& subject) const noexcept {
    XLXError::LogFailure({}, refusal.Location(), [&] {
        XLXFormat place;
        place << m_section;
        if (const XLXTextView type = subject.type.empty() ? m_type : subject.type; !type.empty()) {
            place << ", type '" << type << "'";
        }
        if (!subject.attribute.empty()) { place << ", attribute '" << subject.attribute << "'"; }
        XLXError::WriteErrorToLogBook(refusal.Code(), XLXError::SeverityError,
                                      XLXFormat()
                                          << "transfer array refused at element " << LONG(m_at) << " of "
                                          << LONG(m_count) << " (" << place.Text() << "): " << refusal.Message(),
                                      refusal.Location());
    });
}

void XArrayReader::Finish() noexcept {
    if (m_values == EValues::Moved && m_index == m_count) { m_array->array.Get()->rgsabound[0].cElements = 0; }
}

std::span<XLXComVariant> XArrayReader::NextOwned(ULONG count, const char* method) {
    const std::span<XLXComVariant> elements = Next(count, method);
    for (XLXComVariant& element : elements) {
        if ((element.Type() & VT_BYREF) != 0) {
            element = element.Copy(); // of what it refers to
        }
    }
    return elements;
}

XVariantRow XArrayReader::Values(ULONG count) {
    const std::span<XLXComVariant> elements = NextOwned(count, "VecFromSafeArray");
    if (m_values == EValues::InPlace) { return {m_array, elements}; }
    return XLXVariantVector(std::make_move_iterator(elements.begin()), std::make_move_iterator(elements.end()));
}

void XArrayReader::RaiseSize(const char* method) { XLXError::Raise(E_INVALIDARG, WrongSize, TransferAt(method)); }

void XArrayReader::ReadHeader(EMappingAlgorithm algorithm, EWrapperId wrapper, const char* method) {
    if (FromSafeArray<LONG>(*this) != static_cast<LONG>(algorithm)) {
        XLXError::Raise(E_INVALIDARG, OLESTR("wrong mapping algorithm stored in safearray"), TransferAt(method));
    }
    if (FromSafeArray<LONG>(*this) != static_cast<LONG>(wrapper)) {
        XLXError::Raise(E_INVALIDARG, OLESTR("wrong data wrapper id stored in safearray"), TransferAt(method));
    }
    m_algorithm = algorithm;
}

void FromVariant(const VARIANT& from, LONG& value) {
    CheckVariantType(from, VT_I4, OLESTR("variant type mismatch: expected VT_I4"));
    value = V_I4(&from);
}

void FromVariant(const VARIANT& from, ULONG& value) {
    CheckVariantType(from, VT_UI4, OLESTR("variant type mismatch: expected VT_UI4"));
    value = V_UI4(&from);
}

void FromVariant(const VARIANT& from, bool& value) {
    CheckVariantType(from, VT_BOOL, OLESTR("variant type mismatch: expected VT_BOOL"));
    value = V_BOOL(&from) != VARIANT_FALSE;
}

void FromVariant(VARIANT& from, XLXText& value) {
    CheckVariantType(from, VT_BSTR, OLESTR("variant type mismatch: expected VT_BSTR"));
    value = LXBstrView(V_BSTR(&from));
    LXClear(from);
}

void FromVariant(VARIANT& from, XLXComPtr<IUnknown>& value) {
    CheckVariantType(from, VT_UNKNOWN, OLESTR("variant type mismatch: expected VT_UNKNOWN"));
    V_VT(&from) = VT_EMPTY;
    value = LXAttach(V_UNKNOWN(&from));
}

XLXSafeArray SafeArrayFromSafeArray(XArrayReader& from) {
    constexpr const char* method = "SafeArrayFromSafeArray";
    const LONG count = FromSafeArray<LONG>(from);
    if (count < 0) { XArrayReader::RaiseSize(method); }
    const std::span<XLXComVariant> elements = from.NextOwned(static_cast<ULONG>(count), method);
    SAFEARRAYBOUND bound = {static_cast<ULONG>(count), 0};
    XLXSafeArray array(SafeArrayCreate(VT_VARIANT, 1, &bound));
    void* data = nullptr;
    XLXError::RaiseIfFailed(array ? SafeArrayAccessData(array.Get(), &data) : E_OUTOFMEMORY,
                            OLESTR("SafeArrayPutElement failed"), TransferAt(method));
    if (count != 0) {
        std::memcpy(data, elements.data(), elements.size_bytes()); // over elements that are empty
        for (XLXComVariant& element : elements) {
            V_VT(&element.Get()) = VT_EMPTY;
        }
    }
    SafeArrayUnaccessData(array.Get());
    return array;
}

ULONG VecCountFromSafeArray(XArrayReader& from) {
    constexpr const char* method = "VecFromSafeArray";
    const LONG count = FromSafeArray<LONG>(from);
    if (count < 0) { XLXError::Raise(E_INVALIDARG, OLESTR("vector element count is negative"), TransferAt(method)); }
    from.CheckRemaining(static_cast<ULONG>(count), method);
    return static_cast<ULONG>(count);
}
} // namespace XLXCFCDataTransfer
