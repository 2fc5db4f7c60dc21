// SPDX-License-Identifier: MIT
//
// What the owners of cached objects share.
#ifndef LXCFCTOOLS_H
#define LXCFCTOOLS_H

#include "XDataId.h"
#include "XLXComPtr.h"
#include "XLXError.h"
#include "XVariantRow.h"

#include <new>
#include <utility>

/// A change notification, with its data id taken apart once for all receivers.
struct XChangeNotification
{
    XDataId id;
    BSTR dataType;
};

/// Runs a callable that returns an HRESULT; a failure that is raised becomes its code, and no error
/// information. A lack of memory goes on: it is no answer, and nothing may be kept for it.
template <class F>
HRESULT LXWithoutRaising(F&& body)
{
    HRESULT result = S_OK;
    try
    {
        result = body();
    }
    catch (const XLXException& error)
    {
        result = error.Code();
    }
    if (result == E_OUTOFMEMORY)
    {
        throw std::bad_alloc();
    }
    return result;
}

/// A server's enumeration that yields more than this many elements makes no end.
constexpr ULONG LXMostElements = 1000000;

/// Says that a method of the server is about to be called: writes the trace entry when one is wanted, and in
/// debug builds asserts that no lock is held that a notification could wait for.
void LXServerCall(const char* method) noexcept;

/// The answer of a call that was passed on to the server; raises a pointer error for a success without its
/// object.
template <class Object>
HRESULT LXPassedOn(HRESULT result, Object* const* out, const LXErrorLocation& at)
{
    if (result == S_OK && out != nullptr)
    {
        XLXError::CheckPointer(*out, OLESTR("object of the server"), at);
    }
    return result;
}

/// Reads all property values of a server object in one call. Anything but S_OK is returned as the server gave
/// it, with nothing read; an element that cannot be read is skipped. Raises E_POINTER when the server says
/// S_OK without values.
HRESULT LXFetchProperties(ILXConfigObject& server, const char* method, const LXErrorLocation& at,
                          XVariantRow& values);

/// Fills in computer, user, password and process of the calling process; leaves the other fields as given. A
/// failure is reported with "<className>::GetClientInfo -> GetComputerName".
HRESULT LXGetClientInfo(tagLXClientInfo* info, const char* className, const LXErrorLocation& at);

/// The name of this computer; raises the platform's code with the text.
XLXComBSTR LXComputerName(XLXTextView failureText, const LXErrorLocation& at);

namespace LXCFCTOOLS
{
/// Makes a cached object around a server object (which may be null) and hands out the first reference.
template <class Cached>
HRESULT Construct(XLXComPtr<IUnknown> server, Cached** out)
{
    XLXError::CheckPointer(out, OLESTR("ppCached"),
                           LXErrorLocation{"lxcfctools", "LXCFCTOOLS", "Construct", 20});
    *out = new (std::nothrow) Cached(std::move(server));
    if (*out == nullptr)
    {
        return E_OUTOFMEMORY;
    }
    (*out)->AddRef();
    return S_OK;
}

/// The same, as an owning pointer; raises what goes wrong.
template <class Cached>
XLXComPtr<Cached> Make(XLXComPtr<IUnknown> server, const LXErrorLocation& at)
{
    XLXComPtr<Cached> cached;
    XLXError::RaiseIfFailed(Construct<Cached>(std::move(server), cached.Put()),
                            OLESTR("CFCTools::Construct failed"), at);
    return cached;
}
} // namespace LXCFCTOOLS

/// Takes all elements of a server's enumeration, in batches, until it answers anything but S_OK. A failure
/// ends the enumeration and is returned; the elements fetched before it have been visited. Every element is
/// released.
/// @param visit  called with each non-null element, as XLXComPtr<Element>&&
template <ULONG BatchSize, class Element, class Enumerator, class Visit>
HRESULT LXForEachOf(Enumerator& enumerator, const char* method, const LXErrorLocation& at, Visit&& visit)
{
    ULONG total = 0;
    for (HRESULT result = S_OK; result == S_OK;)
    {
        XLXComPtr<Element> batch[BatchSize];
        Element* raw[BatchSize] = {};
        ULONG fetched = 0;
        LXServerCall(method);
        result = enumerator.RemNext(BatchSize, raw, &fetched);
        for (ULONG i = 0; i < BatchSize; ++i)
        {
            batch[i].Attach(
                raw[i]); // whatever the server put there is released, even past the count it claims
        }
        if (FAILED(result))
        {
            return result;
        }
        fetched = fetched < BatchSize ? fetched : BatchSize;
        for (ULONG i = 0; i < fetched; ++i)
        {
            if (batch[i])
            {
                visit(std::move(batch[i]));
            }
        }
        total += BatchSize;
        if (result == S_OK && total >= LXMostElements)
        {
            XLXError::Raise(E_FAIL, OLESTR("server enumeration does not end"), at);
        }
    }
    return S_OK;
}

#endif
