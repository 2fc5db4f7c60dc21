// SPDX-License-Identifier: MIT
#include "LXGlobalAttributeFormatSpecCache.h"

#include "XInstanceRegistry.h"
#include "XModuleState.h"

namespace
{
XInstanceRegistry<ILXGlobalAttributeFormatSpec>& LiveSpecs()
{
    static const XModuleState<XInstanceRegistry<ILXGlobalAttributeFormatSpec>> registry;
    return *registry;
}
} // namespace

XLXGlobalAttributeFormatSpecCache::XLXGlobalAttributeFormatSpecCache(XLXComPtr<IUnknown> server)
    : XLXConfigObjectCache(std::move(server))
{
    LiveSpecs().Add(this);
}

XLXGlobalAttributeFormatSpecCache::~XLXGlobalAttributeFormatSpecCache()
{
    LiveSpecs().Remove(this);
}

XLXComPtr<XLXGlobalAttributeFormatSpecCache>
XLXGlobalAttributeFormatSpecCache::FromFace(ILXGlobalAttributeFormatSpec* face)
{
    const auto own = XLXComPtr<ILXGlobalAttributeFormatSpec>(face).As<ILXGlobalAttributeFormatSpec>();
    return own && LiveSpecs().Contains(own.Get())
               ? XLXComPtr<XLXGlobalAttributeFormatSpecCache>(
                     static_cast<XLXGlobalAttributeFormatSpecCache*>(own.Get()))
               : nullptr;
}

HRESULT XLXGlobalAttributeFormatSpecCache::CreateFormat(int iFormatType, ILXFormat** ppFormat)
{
    return XLXError::Guarded(TheFacts.At("CreateFormat"), [&] {
        XLXError::CheckPointer(ppFormat, OLESTR("ppFormat"), TheFacts.At("CreateFormat"));
        const auto ask = [&](ILXFormat** format) {
            const auto server = Server();
            LXServerCall("ILXGlobalAttributeFormatSpec::CreateFormat");
            return server->CreateFormat(iFormatType, format);
        };
        return m_formats.Make().Create(iFormatType, ppFormat, ask, TheFacts.At("CreateFormat"));
    });
}

// Error locations of GetFormat name CreateFormat: programs search logs for that text.
HRESULT XLXGlobalAttributeFormatSpecCache::GetFormat(int iFormatType, ILXFormat** ppFormat)
{
    return XLXError::Guarded(TheFacts.At("CreateFormat", 307), [&] {
        XLXError::CheckPointer(ppFormat, OLESTR("ppFormat"), TheFacts.At("CreateFormat", 307));
        const auto ask = [&](ILXFormat** format) {
            const auto server = Server();
            LXServerCall("ILXGlobalAttributeFormatSpec::GetFormat");
            return server->GetFormat(iFormatType, format);
        };
        return m_formats.Make().Get(iFormatType, ppFormat, ask, TheFacts.At("CreateFormat", 365));
    });
}

HRESULT XLXGlobalAttributeFormatSpecCache::DeleteFormat(int iFormatType)
{
    return XLXError::Guarded(TheFacts.At("DeleteFormat"), [&] {
        const auto server = Server();
        LXServerCall("ILXGlobalAttributeFormatSpec::DeleteFormat");
        const HRESULT result = server->DeleteFormat(iFormatType);
        if (XFormatMap* const formats = m_formats.Find(); SUCCEEDED(result) && formats != nullptr)
        {
            formats->Erase(iFormatType);
        }
        return result;
    });
}

HRESULT XLXGlobalAttributeFormatSpecCache::OnNotification(const XChangeNotification& notification)
{
    const XDataId& id = notification.id;
    if (id.kind == LXDataIdKind::ParentChild)
    {
        return S_OK;
    }
    InvalidateStoreFor(id);
    XFormatMap* const formats = m_formats.Find();
    if (formats == nullptr)
    {
        return S_OK;
    }
    if (id.kind == LXDataIdKind::Objects && LXModeConcerns(id.mode, TheFacts.formatBits))
    {
        formats->Invalidate();
        XInvalidationLog::Add(TheFacts.className, "formats");
    }
    return formats->Forward(notification);
}

HRESULT XLXGlobalAttributeFormatSpecCache::Terminate() noexcept
{
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_mapFormatCache failed"),
                         TheFacts.At("Terminate"), [&] {
                             if (XFormatMap* const formats = m_formats.Find(); formats != nullptr)
                             {
                                 formats->Terminate();
                             }
                         });
    ReplaceServer(nullptr);
    return S_OK;
}
