// SPDX-License-Identifier: MIT
//
// Error information: a slot in each thread, and the error object.
#include <oleauto.h>

#include <atomic>
#include <new>
#include <utility>

namespace {
/// A string that an error object owns.
class Text {
public:
    Text() = default;
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { SysFreeString(m_text); }

    HRESULT Set(const OLECHAR* text) {
        const BSTR copy = SysAllocString(text);
        SysFreeString(std::exchange(m_text, copy));
        return text != nullptr && copy == nullptr ? E_OUTOFMEMORY : S_OK;
    }

    HRESULT Get(BSTR* out) const {
        if (out == nullptr) { return E_INVALIDARG; }
        *out = m_text == nullptr ? nullptr : SysAllocStringLen(m_text, SysStringLen(m_text));
        return m_text != nullptr && *out == nullptr ? E_OUTOFMEMORY : S_OK;
    }

private:
    BSTR m_text = nullptr;
};

class ErrorInfo final : public IErrorInfo, public ICreateErrorInfo {
public:
    virtual ~ErrorInfo() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
        if (ppvObject == nullptr) { return E_POINTER; }
        *ppvObject = nullptr;
        if (riid == IID_IUnknown || riid == IID_IErrorInfo) {
            *ppvObject = static_cast<IErrorInfo*>(this);
        } else if (riid == IID_ICreateErrorInfo) {
            *ppvObject = static_cast<ICreateErrorInfo*>(this);
        } else {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --m_references;
        if (left == 0) { delete this; }
        return left;
    }

    HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) override { return Put(pGUID, m_guid); }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) override { return m_source.Get(pBstrSource); }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) override {
        return m_description.Get(pBstrDescription);
    }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) override { return m_helpFile.Get(pBstrHelpFile); }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) override {
        return Put(pdwHelpContext, m_helpContext);
    }

    HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) override {
        m_guid = rguid;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) override { return m_source.Set(szSource); }
    HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) override {
        return m_description.Set(szDescription);
    }
    HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) override { return m_helpFile.Set(szHelpFile); }
    HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) override {
        m_helpContext = dwHelpContext;
        return S_OK;
    }

private:
    template <typename T> static HRESULT Put(T* out, const T& value) {
        if (out == nullptr) { return E_INVALIDARG; }
        *out = value;
        return S_OK;
    }

    std::atomic<ULONG> m_references{1};
    GUID m_guid = {};
    DWORD m_helpContext = 0;
    Text m_source;
    Text m_description;
    Text m_helpFile;
};

/// The thread's slot. Its destructor releases the error object when the thread ends.
struct Slot {
    IErrorInfo* info = nullptr;

    Slot() = default;
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;
    ~Slot() { Replace(nullptr); }

    void Replace(IErrorInfo* next) {
        IErrorInfo* const old = std::exchange(info, next);
        if (old != nullptr) { old->Release(); }
    }
};
thread_local Slot t_slot;
} // namespace

HRESULT SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo) {
    if (dwReserved != 0) { return E_INVALIDARG; }
    if (perrinfo != nullptr) { perrinfo->AddRef(); }
    t_slot.Replace(perrinfo);
    return S_OK;
}

HRESULT GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo) {
    if (dwReserved != 0 || pperrinfo == nullptr) { return E_INVALIDARG; }
    *pperrinfo = std::exchange(t_slot.info, nullptr);
    return *pperrinfo == nullptr ? S_FALSE : S_OK;
}

HRESULT CreateErrorInfo(ICreateErrorInfo** pperrinfo) {
    if (pperrinfo == nullptr) { return E_INVALIDARG; }
    *pperrinfo = new (std::nothrow) ErrorInfo;
    return *pperrinfo == nullptr ? E_OUTOFMEMORY : S_OK;
}
