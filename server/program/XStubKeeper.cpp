// SPDX-License-Identifier: MIT
#include "XStubKeeper.h"

#include "LXSampleServer.h"

#include <algorithm>
#include <iterator>

namespace {
/// Of an interface that is not registered it is that of none.
CLSID ProxiesOf(REFIID iid) {
    CLSID proxies = {};
    return SUCCEEDED(CoGetPSClsid(iid, &proxies)) ? proxies : CLSID{};
}

/// All interfaces that are registered with the server's proxies.
std::vector<IID> InterfacesOfTheServer() {
    const CLSID proxies[] = {ProxiesOf(LXIid<ILXConfigFactory>()), ProxiesOf(LXIid<ILXSampleServer>())};
    std::vector<IID> interfaces;
    HKEY all = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, OLESTR("Interface"), 0, KEY_READ, &all) != ERROR_SUCCESS) {
        return interfaces;
    }
    OLECHAR name[64] = {};
    for (DWORD i = 0;; ++i) {
        DWORD length = static_cast<DWORD>(std::size(name));
        const LONG result = RegEnumKeyExW(all, i, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (result == ERROR_NO_MORE_ITEMS) { break; }
        IID iid = {};
        if (result != ERROR_SUCCESS || FAILED(IIDFromString(name, &iid))) { continue; }
        const CLSID its = ProxiesOf(iid);
        if (its != CLSID{} && std::find(std::begin(proxies), std::end(proxies), its) != std::end(proxies)) {
            interfaces.push_back(iid);
        }
    }
    RegCloseKey(all);
    return interfaces;
}
} // namespace

// Without proxies nothing is handed out, and there is nothing to keep.
XStubKeeper::XStubKeeper() {
    for (const IID& iid : InterfacesOfTheServer()) {
        Keep(iid);
    }
    Keep(IID_IUnknown);
}

XStubKeeper::~XStubKeeper() {
    for (const XLXComPtr<IStream>& stub : m_stubs) {
        stub->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
        CoReleaseMarshalData(stub.Get());
    }
}

HRESULT XStubKeeper::QueryInterface(REFIID iid, void** out) {
    if (out == nullptr) { return E_POINTER; }
    // How it is marshalled and what it may run in are COM's own questions; the standard answers will do.
    const bool asked = iid == IID_IMarshal || iid == IID_IAgileObject || iid == IID_IStdMarshalInfo ||
                       iid == IID_IExternalConnection || iid == IID_ISupportErrorInfo;
    *out = asked ? nullptr : static_cast<IUnknown*>(this);
    return asked ? E_NOINTERFACE : S_OK;
}

// A stub that cannot be made is not kept, and all goes on as without it.
void XStubKeeper::Keep(REFIID iid) {
    XLXComPtr<IStream> stream;
    if (SUCCEEDED(CreateStreamOnHGlobal(nullptr, TRUE, stream.Put())) &&
        SUCCEEDED(CoMarshalInterface(stream.Get(), iid, this, MSHCTX_LOCAL, nullptr, MSHLFLAGS_TABLESTRONG))) {
        m_stubs.push_back(std::move(stream));
    }
}
