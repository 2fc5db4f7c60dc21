// SPDX-License-Identifier: MIT
#include "lxcfctools.h"

#include "XLXSafeArray.h"
#include "XLockOrder.h"

void LXServerCall(const char* method) noexcept
{
    XLockOrder::AssertNoneHeld();
    if (XLXError::TraceEnabled(LX_LOG_SERVER))
    {
        XLXError::LogFailure(OLESTR(""), LXHere("lxcfctools", nullptr, "LXServerCall"), [&] {
            XLXError::WriteTrace(LX_LOG_SERVER, OLESTR("server call"), (XLXFormat() << method).Text(),
                                 LXHere("lxcfctools", nullptr, "LXServerCall"));
        });
    }
}

namespace
{
constexpr DWORD ComputerNameCharacters = 1024;

/// The elements of an array of variants, from its lower to its upper bound. The array is ours, so the values
/// are moved out of it.
XLXVariantVector TakeValues(const XLXSafeArray& array)
{
    XLXVariantVector values;
    LONG lower = 0;
    LONG upper = -1;
    VARTYPE type = VT_EMPTY;
    VARIANT* elements = nullptr;
    const bool readable =
        SafeArrayGetDim(array.Get()) == 1 && SUCCEEDED(SafeArrayGetLBound(array.Get(), 1, &lower)) &&
        SUCCEEDED(SafeArrayGetUBound(array.Get(), 1, &upper)) &&
        SUCCEEDED(SafeArrayGetVartype(array.Get(), &type)) && type == VT_VARIANT && upper >= lower &&
        SUCCEEDED(SafeArrayAccessData(array.Get(), reinterpret_cast<void**>(&elements)));
    if (!readable)
    {
        return values;
    }
    const auto count = static_cast<std::size_t>(static_cast<LONGLONG>(upper) - lower + 1);
    try
    {
        values.reserve(count);
        for (std::size_t i = 0; i < count; ++i)
        {
            values.push_back(XLXComVariant::Take(elements[i]));
        }
    }
    catch (...)
    {
        SafeArrayUnaccessData(array.Get());
        throw;
    }
    SafeArrayUnaccessData(array.Get());
    return values;
}
} // namespace

HRESULT LXFetchProperties(ILXConfigObject& server, const LXErrorLocation& at, XVariantRow& values)
{
    XLXSafeArray array;
    const HRESULT result = LXAsk("ILXConfigObject::GetProperties", array, LXNoResult::PointerError,
                                 OLESTR("property values"), at,
                                 [&](SAFEARRAY** out) { return server.GetProperties(out); });
    if (FAILED(result))
    {
        XLXError::WriteErrorToLogBook(result, XLXError::SeverityError,
                                      OLESTR("some properties could not be read and will be ignored."), at);
    }
    else if (result == S_OK)
    {
        values = TakeValues(array);
    }
    return result;
}

XLXComBSTR LXComputerName(XLXTextView failureText, const LXErrorLocation& at)
{
    OLECHAR name[ComputerNameCharacters] = {};
    DWORD length = ComputerNameCharacters;
    if (!GetComputerNameW(name, &length))
    {
        const HRESULT result = HRESULT_FROM_WIN32(GetLastError());
        XLXError::Raise(FAILED(result) ? result : E_FAIL, failureText, at);
    }
    return XLXComBSTR(XLXTextView(name, length));
}

HRESULT LXGetClientInfo(tagLXClientInfo* info, const char* className, const LXErrorLocation& at)
{
    XLXError::CheckPointer(info, OLESTR("pClientInfo"), at);
    XLXComBSTR computer =
        LXComputerName(XLXText(XLXFormat() << className << "::GetClientInfo -> GetComputerName"), at);
    XLXComBSTR user(computer); // deliberately the same text twice
    XLXComBSTR password{XLXTextView()};
    info->bstrComputerName = computer.Detach();
    info->bstrUserName = user.Detach();
    info->bstrPWD = password.Detach();
    info->ulProcessID = GetCurrentProcessId();
    return S_OK;
}
