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

XLXGlobalAttributeFormatSpecCache::XLXGlobalAttributeFormatSpecCache(XLXComPtr<IUnknown> server, XClockPtr clock)
    : XLXConfigObjectCache(std::move(server), std::move(clock))
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
    return own && LiveSpecs().Contains(own.Get()) ? XLXComPtr<XLXGlobalAttributeFormatSpecCache>(
                                                        static_cast<XLXGlobalAttributeFormatSpecCache*>(own.Get()))
                                                  : nullptr;
}

HRESULT XLXGlobalAttributeFormatSpecCache::CreateFormat(int iFormatType, ILXFormat** ppFormat)
{
    return XLXError::Guarded(TheFacts.At("CreateFormat"), [&] {
        LXCheckOut(ppFormat, OLESTR("ppFormat"), TheFacts.At("CreateFormat"));
        const auto ask = [&](ILXFormat** format) { return Server()->CreateFormat(iFormatType, format); };
        return m_formats.Make().Create(TimeOf(XAspect::SpecFormats), iFormatType, ppFormat,
                                       "ILXGlobalAttributeFormatSpec::CreateFormat", ask, TheFacts.At("CreateFormat"));
    });
}

// Error locations of GetFormat name CreateFormat: programs search logs for that text.
HRESULT XLXGlobalAttributeFormatSpecCache::GetFormat(int iFormatType, ILXFormat** ppFormat)
{
    return XLXError::Guarded(TheFacts.At("CreateFormat", 307), [&] {
        LXCheckOut(ppFormat, OLESTR("ppFormat"), TheFacts.At("CreateFormat", 307));
        const auto ask = [&](ILXFormat** format) { return Server()->GetFormat(iFormatType, format); };
        return m_formats.Make().Get(TimeOf(XAspect::SpecFormats), iFormatType, ppFormat,
                                    "ILXGlobalAttributeFormatSpec::GetFormat", ask, TheFacts.At("CreateFormat", 365));
    });
}

HRESULT XLXGlobalAttributeFormatSpecCache::DeleteFormat(int iFormatType)
{
    return XLXError::Guarded(TheFacts.At("DeleteFormat"), [&] {
        const auto server = Server();
        LXServerCall("ILXGlobalAttributeFormatSpec::DeleteFormat");
        const HRESULT result = server->DeleteFormat(iFormatType);
        if (SUCCEEDED(result))
        {
            m_formats.Make().Erase(TimeOf(XAspect::SpecFormats), iFormatType);
        }
        return result;
    });
}

void XLXGlobalAttributeFormatSpecCache::AdvanceParts() noexcept
{
    if (XFormatMap* const formats = m_formats.Find(); formats != nullptr)
    {
        formats->Advance();
    }
}

void XLXGlobalAttributeFormatSpecCache::OnDirectNotification(const XDirectNotification& notification,
                                                             XAspectSet& touched)
{
    if (XFormatMap* const formats = m_formats.Find(); formats != nullptr && !notification.relationsOnly)
    {
        AdvanceIf(XAspect::SpecFormats, notification.concerned, *formats, touched);
        formats->NotifyDirectly(notification, touched);
    }
}

HRESULT XLXGlobalAttributeFormatSpecCache::Terminate() noexcept
{
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_mapFormatCache failed"), TheFacts.At("Terminate"),
                         [&] {
                             if (XFormatMap* const formats = m_formats.Find(); formats != nullptr)
                             {
                                 formats->Terminate();
                             }
                         });
    Detach(); // who still holds this object goes on reading its values
    ReleaseServer();
    return S_OK;
}
