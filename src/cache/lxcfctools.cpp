// SPDX-License-Identifier: MIT
#include "lxcfctools.h"

#include "XArrayReader.h"
#include "XLockOrder.h"

void LXServerCall(const char* method) noexcept {
    XLockPlace::AssertNoneHeld();
    if (XLXError::TraceEnabled(LX_LOG_SERVER)) {
        XLXError::LogFailure(OLESTR(""), LXHere("lxcfctools", nullptr, "LXServerCall"), [&] {
            XLXError::WriteTrace(LX_LOG_SERVER, OLESTR("server call"), XLXFormat() << method,
                                 LXHere("lxcfctools", nullptr, "LXServerCall"));
        });
    }
}

namespace {
constexpr DWORD ComputerNameCharacters = 1024;
} // namespace

HRESULT LXAskProperty(ILXConfigObject& server, int member, XLXComVariant& value) {
    return LXAsk("ILXConfigObject::GetProperty", value, LXNoResult::Empty, {}, {},
                 [&](VARIANT* out) { return server.GetProperty(member, out); });
}

HRESULT LXAskAttribute(ILX_BaseDataObject& object, const OLECHAR* name, XLXComVariant& value) {
    const XLXComBSTR attribute(name);
    return LXAsk("ILX_BaseDataObject::GetAttribute", value, LXNoResult::Empty, {}, {},
                 [&](VARIANT* out) { return object.GetAttribute(attribute.Get(), out); });
}

HRESULT LXAskTypeName(ILX_BaseDataObject& object, XLXComBSTR& name) {
    return LXAsk("ILX_BaseDataObject::GetTypeName", name, LXNoResult::Empty, {}, {},
                 [&](BSTR* out) { return object.GetTypeName(out); });
}

HRESULT LXFetchProperties(ILXConfigObject& server, const LXErrorLocation& at, XVariantRow& values) {
    XLXSafeArray array;
    const HRESULT result =
        LXAsk("ILXConfigObject::GetProperties", array, LXNoResult::PointerError, OLESTR("property values"), at,
              [&](SAFEARRAY** out) { return server.GetProperties(out); });
    if (FAILED(result)) {
        XLXError::WriteErrorToLogBook(result, XLXError::SeverityError,
                                      OLESTR("some properties could not be read and will be ignored."), at);
    } else if (result == S_OK) {
        XLXCFCDataTransfer::XArrayReader from(std::move(array), 0, "LXFetchProperties", {"property values", {}});
        from.Reading([&] { values = from.Values(from.Remaining()); });
    }
    return result;
}

XLXComBSTR LXComputerName(XLXTextView failureText, const LXErrorLocation& at) {
    OLECHAR name[ComputerNameCharacters] = {};
    DWORD length = ComputerNameCharacters;
    if (!GetComputerNameW(name, &length)) {
        const HRESULT result = HRESULT_FROM_WIN32(GetLastError());
        XLXError::Raise(FAILED(result) ? result : E_FAIL, failureText, at);
    }
    return XLXComBSTR(XLXTextView(name, length));
}

HRESULT LXGetClientInfo(tagLXClientInfo* info, const char* className, const LXErrorLocation& at) {
    XLXError::CheckPointer(info, OLESTR("pClientInfo"), at);
    XLXComBSTR computer = LXComputerName(XLXText(XLXFormat() << className << "::GetClientInfo -> GetComputerName"), at);
    XLXComBSTR user(computer); // deliberately the same text twice
    XLXComBSTR password{XLXTextView()};
    info->bstrComputerName = computer.Detach();
    info->bstrUserName = user.Detach();
    info->bstrPWD = password.Detach();
    info->ulProcessID = GetCurrentProcessId();
    return S_OK;
}
