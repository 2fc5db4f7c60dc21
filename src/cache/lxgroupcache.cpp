// SPDX-License-Identifier: MIT
#include "lxgroupcache.h"

namespace
{
constexpr int MemberGroupNumber = 2;
constexpr int TheOnlyFormat = 0; // a group has one format, kept under this type
} // namespace

HRESULT XLXGroupCache::GetChildGroupEnum(ILXGroupEnum** ppEnum)
{
    return XLXError::Guarded(TheFacts.At("GetChildGroupEnum"), [&] {
        XLXError::CheckPointer(ppEnum, OLESTR("ppEnum"), TheFacts.At("GetChildGroupEnum", 275));
        *ppEnum = nullptr;
        const LONG number = OwnNumber();
        if (number == 0)
        {
            XLXError::Raise(E_INVALIDARG, OLESTR("invalid group number 0"),
                            TheFacts.At("GetChildGroupEnum", 287));
        }
        const auto owner = m_owner.Lock();
        if (!owner)
        {
            XLXError::Raise(E_POINTER, OLESTR("owner type association not initialized"),
                            TheFacts.At("GetChildGroupEnum", 289));
        }
        return owner->GetChildGroupEnum(number, ppEnum);
    });
}

// An empty number counts as 0.
LONG XLXGroupCache::OwnNumber()
{
    const auto value = TryRead(MemberGroupNumber);
    const auto number = value ? value->AsLong() : std::nullopt;
    if (!number)
    {
        XLXError::Raise(E_INVALIDARG, OLESTR("accessing group property LXCFG_groupnumber failed"),
                        TheFacts.At("GetChildGroupEnum", 294));
    }
    return *number;
}

HRESULT XLXGroupCache::CreateFormat(ILXFormat** ppFormat)
{
    return XLXError::Guarded(TheFacts.At("CreateFormat"), [&] {
        XLXError::CheckPointer(ppFormat, OLESTR("ppFormat"), TheFacts.At("CreateFormat"));
        const auto ask = [&](ILXFormat** format) {
            const auto server = Server();
            LXServerCall("ILXGroup::CreateFormat");
            return server->CreateFormat(format);
        };
        return m_formats.Make().Create(TheOnlyFormat, ppFormat, ask, TheFacts.At("CreateFormat"));
    });
}

// Error locations of GetFormat name CreateFormat: programs search logs for that text.
HRESULT XLXGroupCache::GetFormat(ILXFormat** ppFormat)
{
    return XLXError::Guarded(TheFacts.At("CreateFormat", 359), [&] {
        XLXError::CheckPointer(ppFormat, OLESTR("ppFormat"), TheFacts.At("CreateFormat", 359));
        *ppFormat = nullptr;
        XLXError::CheckPointer(HasServer() ? this : nullptr, OLESTR("server group"),
                               TheFacts.At("CreateFormat", 360));
        const auto ask = [&](ILXFormat** format) {
            const auto server = Server();
            LXServerCall("ILXGroup::GetFormat");
            return server->GetFormat(format);
        };
        return m_formats.Make().Get(TheOnlyFormat, ppFormat, ask, TheFacts.At("CreateFormat", 418));
    });
}

HRESULT XLXGroupCache::DeleteFormat()
{
    return XLXError::Guarded(TheFacts.At("DeleteFormat"), [&] {
        const auto server = Server();
        LXServerCall("ILXGroup::DeleteFormat");
        const HRESULT result = server->DeleteFormat();
        if (XFormatMap* const formats = m_formats.Find(); SUCCEEDED(result) && formats != nullptr)
        {
            formats->Erase(TheOnlyFormat);
        }
        return result;
    });
}

HRESULT XLXGroupCache::OnNotification(const XChangeNotification& notification)
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

HRESULT XLXGroupCache::Terminate() noexcept
{
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_mapFormatCache failed"),
                         TheFacts.At("Terminate"), [&] {
                             if (XFormatMap* const formats = m_formats.Find(); formats != nullptr)
                             {
                                 formats->Terminate();
                             }
                         });
    return S_OK;
}
