// SPDX-License-Identifier: MIT
#include "XToolCom.h"

#include "XModelValue.h"

#include <cstdio>

namespace {
struct NamedResult {
    HRESULT result;
    const char* name;
};

constexpr NamedResult Names[] = {{S_OK, "S_OK"},
                                 {S_FALSE, "S_FALSE"},
                                 {E_NOTIMPL, "E_NOTIMPL"},
                                 {E_NOINTERFACE, "E_NOINTERFACE"},
                                 {E_POINTER, "E_POINTER"},
                                 {E_FAIL, "E_FAIL"},
                                 {E_UNEXPECTED, "E_UNEXPECTED"},
                                 {E_OUTOFMEMORY, "E_OUTOFMEMORY"},
                                 {E_INVALIDARG, "E_INVALIDARG"},
                                 {DISP_E_TYPEMISMATCH, "DISP_E_TYPEMISMATCH"},
                                 {REGDB_E_CLASSNOTREG, "REGDB_E_CLASSNOTREG"},
                                 {CLASS_E_CLASSNOTAVAILABLE, "CLASS_E_CLASSNOTAVAILABLE"}};

/// Takes the thread's error information, as text.
std::string TakeErrorInformation() {
    XLXComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, info.Put()) != S_OK || !info) { return ""; }
    XLXComBSTR description;
    XLXComBSTR source;
    info->GetDescription(description.Put());
    info->GetSource(source.Put());
    const std::string where = LXToUtf8(source.View());
    return ": \"" + LXToUtf8(description.View()) + "\"" + (where.empty() ? "" : " in " + where);
}

/// A property; empty when the object returns S_FALSE.
XLXComVariant ValueOf(ILXConfigObject& object, int member) {
    XLXComVariant value;
    if (const HRESULT result = object.GetProperty(member, value.Put()); result != S_FALSE) {
        LXExpect(result, "ILXConfigObject::GetProperty");
    }
    return value;
}
} // namespace

std::string LXResultName(HRESULT result) {
    for (const NamedResult& known : Names) {
        if (known.result == result) { return known.name; }
    }
    char number[16];
    std::snprintf(number, sizeof(number), "0x%08X", static_cast<unsigned>(result));
    return number;
}

void LXExpect(HRESULT result, const char* what, HRESULT expected) {
    if (result != expected) {
        throw XToolFailure(std::string(what) + " answered " + LXResultName(result) +
                           (expected != S_OK ? " instead of " + LXResultName(expected) : "") +
                           (FAILED(result) ? TakeErrorInformation() : ""));
    }
}

void LXExpectThat(bool condition, const std::string& what) {
    if (!condition) { throw XToolFailure(what); }
}

XLXComBSTR LXBstr(std::string_view utf8) { return XLXComBSTR(LXFromUtf8(utf8)); }

std::string LXTextOf(ILXConfigObject& object, int member) {
    return LXToUtf8(ValueOf(object, member).AsText().value_or(XLXText()));
}

LONG LXNumberOf(ILXConfigObject& object, int member) { return ValueOf(object, member).AsLong().value_or(0); }

std::string LXFlagOf(ILXConfigObject& object, int member) {
    return ValueOf(object, member).AsBool().value_or(false) ? "yes" : "";
}
