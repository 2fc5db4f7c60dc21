// SPDX-License-Identifier: MIT
//
// The common part of the contract tests, which use only what both platforms have.
#ifndef CONTRACT_H
#define CONTRACT_H

#include <windows.h>

#include <ole2.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>

using Text = std::basic_string<OLECHAR>;

inline Text TextOf(BSTR text) { return text == nullptr ? OLESTR("(null)") : Text(text, SysStringLen(text)); }

/// A VARIANT that is cleared by its destructor.
struct Variant : VARIANT {
    Variant() { VariantInit(this); }
    explicit Variant(LONG value) : Variant() {
        vt = VT_I4;
        lVal = value;
    }
    explicit Variant(const OLECHAR* text) : Variant() {
        vt = VT_BSTR;
        bstrVal = SysAllocString(text);
    }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() { VariantClear(this); }
};

/// An object on the stack that counts the references to it. It can also be a class object, whose instance is the object
/// itself.
struct CountedObject : IClassFactory {
    std::atomic<LONG> references{0};

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
        *ppvObject = nullptr;
        if (riid != IID_IUnknown && riid != IID_IClassFactory) { return E_NOINTERFACE; }
        *ppvObject = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** ppvObject) override {
        *ppvObject = nullptr;
        return outer != nullptr ? CLASS_E_NOAGGREGATION : QueryInterface(riid, ppvObject);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

#endif
