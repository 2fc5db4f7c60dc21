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
        LXCheckOut(ppEnum, OLESTR("ppEnum"), TheFacts.At("GetChildGroupEnum", 275));
        const LONG number = OwnNumber();
        if (number == 0)
        {
            XLXError::Raise(E_INVALIDARG, OLESTR("invalid group number 0"), TheFacts.At("GetChildGroupEnum", 287));
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
        LXCheckOut(ppFormat, OLESTR("ppFormat"), TheFacts.At("CreateFormat"));
        const auto ask = [&](ILXFormat** format) { return Server()->CreateFormat(format); };
        return m_formats.Make().Create(TimeOf(XAspect::GroupFormats), TheOnlyFormat, ppFormat, "ILXGroup::CreateFormat",
                                       ask, TheFacts.At("CreateFormat"));
    });
}

// Error locations of GetFormat name CreateFormat: programs search logs for that text.
HRESULT XLXGroupCache::GetFormat(ILXFormat** ppFormat)
{
    return XLXError::Guarded(TheFacts.At("CreateFormat", 359), [&] {
        LXCheckOut(ppFormat, OLESTR("ppFormat"), TheFacts.At("CreateFormat", 359));
        XLXError::CheckPointer(HasServer() ? this : nullptr, OLESTR("server group"), TheFacts.At("CreateFormat", 360));
        const auto ask = [&](ILXFormat** format) { return Server()->GetFormat(format); };
        return m_formats.Make().Get(TimeOf(XAspect::GroupFormats), TheOnlyFormat, ppFormat, "ILXGroup::GetFormat", ask,
                                    TheFacts.At("CreateFormat", 418));
    });
}

HRESULT XLXGroupCache::DeleteFormat()
{
    return XLXError::Guarded(TheFacts.At("DeleteFormat"), [&] {
        const auto server = Server();
        LXServerCall("ILXGroup::DeleteFormat");
        const HRESULT result = server->DeleteFormat();
        if (SUCCEEDED(result))
        {
            m_formats.Make().Erase(TimeOf(XAspect::GroupFormats), TheOnlyFormat);
        }
        return result;
    });
}

void XLXGroupCache::AdvanceParts() noexcept
{
    if (XFormatMap* const formats = m_formats.Find(); formats != nullptr)
    {
        formats->Advance();
    }
}

void XLXGroupCache::OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched)
{
    if (XFormatMap* const formats = m_formats.Find(); formats != nullptr && !notification.relationsOnly)
    {
        AdvanceIf(XAspect::GroupFormats, notification.concerned, *formats, touched);
        formats->NotifyDirectly(notification, touched);
    }
}

HRESULT XLXGroupCache::Terminate() noexcept
{
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_mapFormatCache failed"), TheFacts.At("Terminate"),
                         [&] {
                             if (XFormatMap* const formats = m_formats.Find(); formats != nullptr)
                             {
                                 formats->Terminate();
                             }
                         });
    return S_OK;
}
