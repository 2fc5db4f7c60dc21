// SPDX-License-Identifier: MIT
//
// Windows: keeps interfaces registered with RPC while a server program runs.
#ifndef LXSERVER_STUBKEEPER_H
#define LXSERVER_STUBKEEPER_H

#ifdef _WIN32
#include <lxserver/Object.h>

#include <algorithm>
#include <iterator>
#include <objbase.h>
#include <vector>

namespace lx {
/// Holds one stub per interface, so that RPC does not unregister it. COM registers an interface with its first stub and
/// unregisters it with the last one, when clients have released all such objects. Unregistering waits for the
/// interface's calls in progress and blocks all marshalling meanwhile. If clients constantly get and release objects,
/// this happens again and again. Wine's RPC can also miss the end of a call at that moment and wait for ever.
///
/// Ownership  The stubs reference this object, which must outlive all calls.
/// Threading  Create and destroy it on a thread of the multithreaded apartment.
/// Errors     Throws std::bad_alloc. An interface whose stub cannot be created is skipped.
class StubKeeper final : public IUnknown {
public:
    /// @param iids  one interface of each proxy DLL; all interfaces of these DLLs are kept
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

    // No client has a proxy of this object, so only these methods are ever called. It may claim any interface.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) { return E_POINTER; }
        // COM itself asks for these. E_NOINTERFACE selects standard marshalling.
        const bool asked = iid == IID_IMarshal || iid == IID_IAgileObject || iid == IID_IStdMarshalInfo ||
                           iid == IID_IExternalConnection || iid == IID_ISupportErrorInfo;
        *out = asked ? nullptr : static_cast<IUnknown*>(this);
        return asked ? E_NOINTERFACE : S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; } // lives on the stack
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

private:
    /// The class id of an interface's proxy DLL; CLSID_NULL if the interface is not registered.
    static CLSID ProxiesOf(REFIID iid) {
        CLSID proxies = {};
        return SUCCEEDED(CoGetPSClsid(iid, &proxies)) ? proxies : CLSID{};
    }
    /// All interfaces registered with the same proxy DLLs as the given ones. None if there are no proxies; then nothing
    /// can be marshalled either.
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
    /// Creates the stub of an interface. Does nothing if that fails.
    void Keep(REFIID iid) {
        IStream* stream = nullptr;
        if (FAILED(CreateStreamOnHGlobal(nullptr, TRUE, &stream))) { return; }
        Ref<IStream> kept(stream);
        stream->Release(); // the reference from CreateStreamOnHGlobal
        if (SUCCEEDED(CoMarshalInterface(kept.Get(), iid, this, MSHCTX_LOCAL, nullptr, MSHLFLAGS_TABLESTRONG))) {
            m_stubs.push_back(std::move(kept));
        }
    }

    std::vector<Ref<IStream>> m_stubs; // the marshalled form of each stub
};
} // namespace lx
#endif

#endif
