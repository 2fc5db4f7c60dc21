// SPDX-License-Identifier: MIT
//
// What the contract tests share. They name nothing that only one of the two platforms has.
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

/// A VARIANT that is cleared in the end.
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

/// An object on the stack that tells how many references others have to it.
struct CountedObject : IUnknown {
    std::atomic<LONG> references{0};

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppvObject) override {
        *ppvObject = this;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }
};

#endif
