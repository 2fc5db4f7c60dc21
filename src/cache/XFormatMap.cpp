// SPDX-License-Identifier: MIT
#include "XFormatMap.h"

#include "lxformatcache.h"

namespace
{
HRESULT HandOut(const XLXComPtr<ILXFormat>& format, ILXFormat** out) noexcept
{
    format.CopyTo(out);
    return format ? S_OK : S_FALSE;
}

XLXComPtr<ILXFormat> Wrap(const XLXComPtr<ILXFormat>& server, const LXErrorLocation& at)
{
    return LXCFCTOOLS::Make<XLXFormatCache>(server, at);
}
} // namespace

HRESULT XFormatMap::Get(int type, ILXFormat** out, const Ask& askServer, const LXErrorLocation& failedAt)
{
    *out = nullptr;
    EmptyIfInvalid();
    XLXComPtr<ILXFormat> format;
    if (Find(type, format))
    {
        return HandOut(format, out);
    }
    const std::uint64_t noted = m_valid.Note();
    XLXComPtr<ILXFormat> server;
    const HRESULT result = askServer(server.Put());
    if (FAILED(result))
    {
        (void)server.Detach();
        Erase(type);
        return XLXError::SetComAppError(result, OLESTR("the server failed to get the format"), failedAt);
    }
    if (result != S_FALSE && server)
    {
        format = Wrap(server, failedAt);
    }
    Store(type, format, noted);
    return HandOut(format, out);
}

HRESULT XFormatMap::Create(int type, ILXFormat** out, const Ask& askServer, const LXErrorLocation& failedAt)
{
    *out = nullptr;
    const std::uint64_t noted = m_valid.Note();
    XLXComPtr<ILXFormat> server;
    const HRESULT result = askServer(server.Put());
    EmptyIfInvalid();
    Erase(type);
    if (result != S_OK)
    {
        if (FAILED(result))
        {
            (void)server.Detach();
        }
        return XLXError::SetComAppError(result, OLESTR("the server did not create the format"), failedAt);
    }
    XLXError::CheckPointer(server.Get(), OLESTR("created format"), failedAt);
    const XLXComPtr<ILXFormat> format = Wrap(server, failedAt);
    Store(type, format, noted);
    return HandOut(format, out);
}

void XFormatMap::Erase(int type)
{
    Map::node_type dropped; // dies after the lock is given back
    const XCritProxy<Map> formats(m_mapFormatCache);
    dropped = formats->extract(type);
}

HRESULT XFormatMap::Forward(const XChangeNotification& notification) const
{
    // The receivers only clear flags, so they may be called under the lock.
    const XCritReadProxy<Map> formats(m_mapFormatCache);
    for (const auto& [type, format] : *formats)
    {
        const HRESULT result =
            format ? static_cast<XLXFormatCache*>(format.Get())->Notify(notification) : S_OK;
        if (result != S_OK)
        {
            return result;
        }
    }
    return S_OK;
}

void XFormatMap::Terminate()
{
    Map dropped;
    m_valid.Invalidate();
    const XCritProxy<Map> formats(m_mapFormatCache);
    formats->swap(dropped);
}

void XFormatMap::EmptyIfInvalid()
{
    if (m_valid.IsFilled())
    {
        return;
    }
    Map dropped;
    const XCritProxy<Map> formats(m_mapFormatCache);
    if (!m_valid.IsFilled()) // another thread may have emptied it meanwhile
    {
        const std::uint64_t noted = m_valid.Note();
        formats->swap(dropped);
        m_valid.SetFilled(noted);
    }
}

bool XFormatMap::Find(int type, XLXComPtr<ILXFormat>& format) const
{
    const XCritReadProxy<Map> formats(m_mapFormatCache);
    const auto found = formats->find(type);
    if (found == formats->end())
    {
        return false;
    }
    format = found->second;
    return true;
}

// An answer that an invalidation overtook is not kept: the next one asks again.
void XFormatMap::Store(int type, XLXComPtr<ILXFormat> format, std::uint64_t noted)
{
    const XCritProxy<Map> formats(m_mapFormatCache);
    if (m_valid.Note() == noted)
    {
        (*formats)[type].Swap(format);
    }
}
