// SPDX-License-Identifier: MIT
//
// Windows: keeps interfaces known to RPC for as long as a server's program runs.
#ifndef LXSERVER_STUBKEEPER_H
#define LXSERVER_STUBKEEPER_H

#ifdef _WIN32
#include <lxserver/Object.h>

#include <algorithm>
#include <iterator>
#include <objbase.h>
#include <vector>

namespace lx {
/// COM makes an interface known with its first stub, and takes that back with its last, when the last client releases
/// the last object of the kind. It then waits for the calls through the interface to end, and holds up every object
/// that is to be handed out meanwhile. A server whose clients take objects and release them all the time would come
/// to that again and again; Wine's RPC, besides, may miss the end of a call that ends at that very moment, and wait
/// for ever. One stub of each kind that no client has keeps it from happening.
///
/// Threading  Made and destroyed by a thread in the multithreaded apartment.
class StubKeeper final : public IUnknown {
public:
    /// @param iids  one interface of each proxy DLL whose interfaces are to be kept
    explicit StubKeeper(const std::vector<IID>& iids = {__uuidof(ILXConfigFactory)}) {
        for (const IID& iid : InterfacesBeside(iids)) {
            Keep(iid);
        }
        Keep(__uuidof(IUnknown));
    }
    ~StubKeeper() {
        for (const Ref<IStream>& stub : m_stubs) {
            stub->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
            CoReleaseMarshalData(stub.Get());
        }
    }
    StubKeeper(const StubKeeper&) = delete;
    StubKeeper& operator=(const StubKeeper&) = delete;

    // No client has a proxy of it, so nothing but these is ever called, whatever it says that it is.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) { return E_POINTER; }
        // How it is marshalled and what it may run in are COM's own questions; the standard answers will do.
        const bool asked = iid == IID_IMarshal || iid == IID_IAgileObject || iid == IID_IStdMarshalInfo ||
                           iid == IID_IExternalConnection || iid == IID_ISupportErrorInfo;
        *out = asked ? nullptr : static_cast<IUnknown*>(this);
        return asked ? E_NOINTERFACE : S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; } // lives on the stack
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

private:
    /// Of an interface that is not registered it is that of none.
    static CLSID ProxiesOf(REFIID iid) {
        CLSID proxies = {};
        return SUCCEEDED(CoGetPSClsid(iid, &proxies)) ? proxies : CLSID{};
    }
    /// All interfaces that are registered with the proxies of those. Without proxies nothing is handed out, and there is
    /// nothing to keep.
    static std::vector<IID> InterfacesBeside(const std::vector<IID>& iids) {
        std::vector<CLSID> proxies;
        std::transform(iids.begin(), iids.end(), std::back_inserter(proxies), ProxiesOf);
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
            if (its != CLSID{} && std::find(proxies.begin(), proxies.end(), its) != proxies.end()) {
                interfaces.push_back(iid);
            }
        }
        RegCloseKey(all);
        return interfaces;
    }
    /// A stub that cannot be made is not kept, and all goes on as without it.
    void Keep(REFIID iid) {
        IStream* stream = nullptr;
        if (FAILED(CreateStreamOnHGlobal(nullptr, TRUE, &stream))) { return; }
        Ref<IStream> kept(stream);
        stream->Release(); // the one that the platform gave
        if (SUCCEEDED(CoMarshalInterface(kept.Get(), iid, this, MSHCTX_LOCAL, nullptr, MSHLFLAGS_TABLESTRONG))) {
            m_stubs.push_back(std::move(kept));
        }
    }

    std::vector<Ref<IStream>> m_stubs; // each the marshalled form of one stub
};
} // namespace lx
#endif

#endif
