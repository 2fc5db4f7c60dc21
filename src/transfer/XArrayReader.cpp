// SPDX-License-Identifier: MIT
#include "XArrayReader.h"

namespace XLXCFCDataTransfer {
namespace {
/// The next element; raises if it has another type.
VARIANT& NextOf(XArrayReader& from, VARTYPE type, XLXTextView mismatch) {
    VARIANT& element = from.Next("FromSafeArray");
    if (V_VT(&element) != type) { XLXError::Raise(E_INVALIDARG, mismatch, TransferAt("FromVariant")); }
    return element;
}

void Close(SAFEARRAY* open) {
    SafeArrayUnaccessData(open);
    XLXSafeArray(open).Reset();
}
} // namespace

XArrayReader::XArrayReader(XLXSafeArray owned, ULONG least, const char* method, const XArrayOrigin& origin)
    : m_array(nullptr, Close), m_method(method), m_section(origin.section), m_type(origin.type) {
    XLXError::CheckPointer(owned.Get(), OLESTR("array"), TransferAt(method));
    Reading([&] { Open(std::move(owned), least); });
}

void XArrayReader::Open(XLXSafeArray owned, ULONG least) {
    SAFEARRAY* const array = owned.Get();
    const auto check = [this](HRESULT result, const OLECHAR* text) {
        XLXError::RaiseIfFailed(result, text, TransferAt(m_method));
    };
    LONG lower = 0;
    LONG upper = 0;
    VARTYPE type = VT_EMPTY;
    check(SafeArrayGetLBound(array, 1, &lower), OLESTR("fSafeArrayGetLBound failed"));
    check(SafeArrayGetUBound(array, 1, &upper), OLESTR("SafeArrayGetUBound failed"));
    check(SafeArrayGetVartype(array, &type), OLESTR("SafeArrayGetVartype failed"));
    // The elements are read in place, so they must be variants in one dimension.
    if (type != VT_VARIANT || SafeArrayGetDim(array) != 1 || SafeArrayGetElemsize(array) != sizeof(VARIANT)) {
        XLXError::Raise(E_INVALIDARG, OLESTR("wrong safearray vartype"), TransferAt(m_method));
    }
    // Unsigned, because the bounds may have any value: the platform's upper bound wraps in the same way.
    m_count = static_cast<ULONG>(upper) - static_cast<ULONG>(lower) + 1U;
    CheckRemaining(least, m_method);
    void* data = nullptr;
    check(SafeArrayAccessData(array, &data), OLESTR("SafeArrayGetElement failed"));
    m_array.reset(owned.Detach());
    m_data = static_cast<XLXComVariant*>(data); // has the layout of a VARIANT
    if (m_data == nullptr && m_count != 0)      // a descriptor without elements
    {
        RaiseSize(m_method);
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
                                      XLXFormat() << "transfer array refused at element " << LONG(m_at) << " of "
                                                  << LONG(m_count) << " (" << place << "): " << refusal.Message(),
                                      refusal.Location());
    });
}

// Elements that were read own nothing. If all were read, setting the count to 0 spares the platform a loop over them.
void XArrayReader::Finish() noexcept {
    if (m_index == m_count) { m_array->rgsabound[0].cElements = 0; }
}

std::span<XLXComVariant> XArrayReader::NextOwned(ULONG count, const char* method) {
    const std::span<XLXComVariant> elements = Next(count, method);
    for (XLXComVariant& element : elements) {
        if ((element.Type() & VT_BYREF) != 0) {
            element = element.Copy(); // of the referenced value
        }
    }
    return elements;
}

void XArrayReader::RaiseSize(const char* method) {
    XLXError::Raise(E_INVALIDARG, OLESTR("wrong safearray size"), TransferAt(method));
}

void XArrayReader::ReadHeader(EMappingAlgorithm algorithm, EWrapperId wrapper) {
    if (FromSafeArray<LONG>(*this) != static_cast<LONG>(algorithm)) {
        XLXError::Raise(E_INVALIDARG, OLESTR("wrong mapping algorithm stored in safearray"), TransferAt(m_method));
    }
    if (FromSafeArray<LONG>(*this) != static_cast<LONG>(wrapper)) {
        XLXError::Raise(E_INVALIDARG, OLESTR("wrong data wrapper id stored in safearray"), TransferAt(m_method));
    }
}

void FromSafeArray(XArrayReader& from, LONG& value) {
    value = V_I4(&NextOf(from, VT_I4, OLESTR("variant type mismatch: expected VT_I4")));
}

void FromSafeArray(XArrayReader& from, ULONG& value) {
    value = V_UI4(&NextOf(from, VT_UI4, OLESTR("variant type mismatch: expected VT_UI4")));
}

void FromSafeArray(XArrayReader& from, bool& value) {
    value = V_BOOL(&NextOf(from, VT_BOOL, OLESTR("variant type mismatch: expected VT_BOOL"))) != VARIANT_FALSE;
}

void FromSafeArray(XArrayReader& from, XLXText& value) {
    VARIANT& element = NextOf(from, VT_BSTR, OLESTR("variant type mismatch: expected VT_BSTR"));
    value = LXBstrView(V_BSTR(&element));
    LXClear(element);
}

void FromSafeArray(XArrayReader& from, XLXComPtr<IUnknown>& value) {
    VARIANT& element = NextOf(from, VT_UNKNOWN, OLESTR("variant type mismatch: expected VT_UNKNOWN"));
    V_VT(&element) = VT_EMPTY;
    value = LXAttach(V_UNKNOWN(&element));
}

XLXSafeArray SafeArrayFromSafeArray(XArrayReader& from) {
    constexpr const char* method = "SafeArrayFromSafeArray";
    const LONG count = FromSafeArray<LONG>(from);
    // A negative count becomes a huge one, which exceeds the number of remaining elements.
    const std::span<XLXComVariant> elements = from.NextOwned(static_cast<ULONG>(count), method);
    SAFEARRAYBOUND bound = {static_cast<ULONG>(count), 0};
    XLXSafeArray array(SafeArrayCreate(VT_VARIANT, 1, &bound));
    void* data = nullptr;
    XLXError::RaiseIfFailed(array ? SafeArrayAccessData(array.Get(), &data) : E_OUTOFMEMORY,
                            OLESTR("SafeArrayPutElement failed"), TransferAt(method));
    if (count != 0) {
        auto* element = static_cast<VARIANT*>(data); // the new elements are VT_EMPTY, so nothing leaks
        for (XLXComVariant& owned : elements) {
            owned.DetachTo(element++);
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
