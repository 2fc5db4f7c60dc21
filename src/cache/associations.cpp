// SPDX-License-Identifier: MIT
#include "associations.h"

namespace {
/// Copies a value into an empty variant. Scalars are copied bitwise and texts with one allocation; the platform copies
/// other types.
HRESULT CopyInto(VARIANT& to, const VARIANT& from) noexcept {
    const VARTYPE type = V_VT(&from);
    if (LXIsScalar(type)) {
        to = from;
        return S_OK;
    }
    if (type == VT_BSTR) {
        // Uses the length in bytes, which may be odd. A null text is copied as an empty one.
        const BSTR text =
            SysAllocStringByteLen(reinterpret_cast<LPCSTR>(V_BSTR(&from)), SysStringByteLen(V_BSTR(&from)));
        V_BSTR(&to) = text;
        V_VT(&to) = text != nullptr ? VARTYPE{VT_BSTR} : VARTYPE{VT_EMPTY};
        return text != nullptr ? S_OK : E_OUTOFMEMORY;
    }
    return VariantCopy(&to, const_cast<VARIANT*>(&from));
}
} // namespace

HRESULT XPropertyStore::Stamped::Get(int index, XLXComVariant& value) const {
    if (!Has(index)) { return E_INVALIDARG; }
    const XLXVariantView stored = values[static_cast<std::size_t>(index)];
    if (stored.Empty()) { return S_FALSE; }
    return CopyInto(value.Get(), stored.Get());
}

HRESULT XPropertyStore::Read(int index, XLXComVariant& value, std::uint64_t now) const {
    const XCritLFReadProxy<Stamped> store(m_data);
    return store->stamp == XStamp{now, m_own.Now()} ? store->Get(index, value) : S_FALSE;
}

HRESULT XPropertyStore::ReadStale(int index, XLXComVariant& value) const {
    const XCritLFReadProxy<Stamped> store(m_data);
    return store->stamp.IsNone() ? S_FALSE : store->Get(index, value);
}

HRESULT XPropertyStore::Write(int index, XLXComVariant& value) {
    const XCritProxy<Stamped> store(m_data);
    if (!store->Has(index)) { return E_INVALIDARG; }
    store->values.Exchange(static_cast<std::size_t>(index), value);
    return S_OK;
}

void XPropertyStore::WriteGrow(int index, XLXComVariant& value) {
    XCritProxy<Stamped>(m_data)->values.Exchange(static_cast<std::size_t>(index), value);
}

bool XPropertyStore::IsFresh(std::uint64_t now) const {
    const XCritLFReadProxy<Stamped> store(m_data);
    return store->stamp == XStamp{now, m_own.Now()};
}

void LXRaisePropertyIndex(int index) {
    constexpr LXErrorLocation at{"associations", "ROAssociations", "Get", 110};
    XLXError::Raise(E_INVALIDARG, XLXFormat() << "property index (" << LONG{index} << ") is out of range", at);
}
