// SPDX-License-Identifier: MIT
#include "XBenchFactory.h"

#include "XLXError.h"

#include <stdexcept>

namespace {
void Check(HRESULT result, const char* what) {
    if (result != S_OK) { throw std::runtime_error(what); }
}

XLXSafeArray Copy(const XLXSafeArray& array) {
    XLXSafeArray copy;
    if (!array) { return copy; }
    Check(SafeArrayCopy(array.Get(), copy.Put()), "SafeArrayCopy failed");
    return copy;
}

/// Hands out the last prepared array.
HRESULT Give(std::vector<XLXSafeArray>& prepared, SAFEARRAY** out) {
    *out = nullptr;
    if (prepared.empty()) {
        return E_UNEXPECTED; // the benchmark did not expect this read
    }
    *out = prepared.back().Detach();
    prepared.pop_back();
    return *out != nullptr ? S_OK : S_FALSE;
}
} // namespace

XBenchFactory::XBenchFactory(XLXComPtr<ILXConfigFactory> server) : m_server(std::move(server)) {}

void XBenchFactory::Prepare(LONG mode, int loads) {
    if (!m_types) {
        m_mode = mode;
        Check(m_server.As<ILXConfigFactoryEx>()->GetTypeArrayEx(mode, m_types.Put()), "GetTypeArrayEx");
        Check(FAILED(m_server->GetPCArray(m_relations.Put())) ? E_FAIL : S_OK, "GetPCArray");
    }
    while (m_nextTypes.size() < static_cast<std::size_t>(loads)) {
        m_nextTypes.push_back(Copy(m_types));
        m_nextRelations.push_back(Copy(m_relations));
    }
}

ULONG XBenchFactory::TypeElements() const { return m_types.Get()->rgsabound[0].cElements; }

XLXSafeArray XBenchFactory::CopyOfTypes() const { return Copy(m_types); }

void XBenchFactory::DropMasters() {
    m_types.Reset();
    m_relations.Reset();
}

HRESULT XBenchFactory::QueryInterface(REFIID iid, void** out) {
    *out = nullptr;
    if (IsEqualIID(iid, LXIid<ILXConfigFactory>()) || IsEqualIID(iid, IID_IUnknown)) {
        *out = static_cast<ILXConfigFactory*>(this);
    } else if (IsEqualIID(iid, LXIid<ILXConfigFactoryEx>())) {
        *out = static_cast<ILXConfigFactoryEx*>(this);
    } else {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

ULONG XBenchFactory::Release() {
    const ULONG left = m_references.fetch_sub(1) - 1;
    if (left == 0) { delete this; }
    return left;
}

HRESULT XBenchFactory::GetPCArray(SAFEARRAY** psaRelations) { return Give(m_nextRelations, psaRelations); }

HRESULT XBenchFactory::GetTypeArrayEx(LONG lMode, SAFEARRAY** psaTypes) {
    return lMode == m_mode ? Give(m_nextTypes, psaTypes) : E_UNEXPECTED;
}
