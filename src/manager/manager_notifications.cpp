// SPDX-License-Identifier: MIT
//
// What the manager does with a change notification. Nothing is reloaded here and nobody is waited for: flags
// are cleared and generations raised, and the next read asks the server.
#include "lxconfigfactorycachemanager.h"

namespace
{
constexpr const OLECHAR* SpecificDataType = OLESTR("cfc_specific");
constexpr const OLECHAR* ForwardPrefix = OLESTR("cfc_forward/");

// A notification is never refused for want of memory for its trace entry.
void TraceUpdate(BSTR dataId, LONG mode, XLXTextView kind, XLXTextView currentKind) noexcept
{
    if (XLXError::TraceEnabled(LX_LOG_UPDATE))
    {
        const LXErrorLocation at = LXManagerAt("DataObjectChanged");
        XLXError::LogFailure(OLESTR("CFC update notification"), at, [&] {
            XLXError::WriteTrace(LX_LOG_UPDATE, OLESTR("CFC update notification"),
                                 LXFormatText(OLESTR("CFC update: CFDataID: '%s', Update Mode: %d, "
                                                     "CurrentDataId: '%s', TranslatedDataId: '%s'"),
                                              {LXBstrView(dataId), LXDecimal(mode), kind, currentKind}),
                                 at);
        });
    }
}
} // namespace

HRESULT XLXConfigFactoryCacheManager::DataObjectChanged(BSTR bstrDataID, BSTR bstrDataTyp,
                                                        ULONG ulNotificationType, ULONG ulNotificationId,
                                                        ULONG ulCount, tagLXUpdateInfo* pLXUpdateInfo)
{
    return XLXError::Guarded(LXManagerAt("DataObjectChanged"), [&]() -> HRESULT {
        if (m_lServerTerminated.load())
        {
            return S_OK;
        }
        const XInvalidationLog::Scope scope;
        const XLXTextView dataId = LXBstrView(bstrDataID);
        if (LXBstrView(bstrDataTyp) != SpecificDataType)
        {
            HRESULT forwarded = S_OK;
            ForwardToServer(bstrDataID, bstrDataTyp, ulNotificationType, ulNotificationId, ulCount,
                            pLXUpdateInfo, forwarded);
            if (FAILED(forwarded))
            {
                return forwarded;
            }
        }
        if (IsRepeated(ulNotificationId))
        {
            return S_OK;
        }
        const XLXCFCMngImpl* const impl = m_pImpl.load();
        XLXError::CheckPointer(impl, OLESTR("m_pImpl"), LXManagerAt("DataObjectChanged"));

        const XDataId id = XDataId::Parse(dataId);
        const XLXTextView kind = id.hasKind ? id.kindText : XLXTextView();
        const LONG mode = impl->TranslateUpdateFlags(kind, id.mode);
        TraceUpdate(bstrDataID, mode, kind, kind);

        XChangeNotification notification{id, bstrDataTyp};
        if (id.complete)
        {
            notification.id.mode = mode;
        }
        m_epoch.Advance(); // before anything is invalidated: see XTypeMap::Enter
        ClearFilledFlags(id, mode);
        const HRESULT result = OfferToReceivers(id, mode, notification);
        if (result == S_OK)
        {
            RecordHandled(ulNotificationId);
        }
        return result;
    });
}

// A config factory that is itself a cache receives the notification, marked as forwarded.
void XLXConfigFactoryCacheManager::ForwardToServer(BSTR dataId, BSTR dataType, ULONG type, ULONG id,
                                                   ULONG count, tagLXUpdateInfo* info, HRESULT& result)
{
    const auto callback = ConfigFactory("DataObjectChanged").As<ILXCallbackUpdate>();
    if (callback)
    {
        const XLXComBSTR forwardedId(
            XLXText(XLXFormat() << XLXTextView(ForwardPrefix) << LXBstrView(dataId)));
        LXServerCall("ILXCallbackUpdate::DataObjectChanged");
        result = callback->DataObjectChanged(forwardedId.Get(), dataType, type, id, count, info);
    }
}

void XLXConfigFactoryCacheManager::ClearFilledFlags(const XDataId& id, LONG mode) noexcept
{
    const LXDataIdKind kind = id.hasKind ? id.kind : LXDataIdKind::Other;
    const bool types =
        (kind == LXDataIdKind::Objects && LXModeConcerns(mode, LXUM_EVERYTHING | LXUM_TYPES)) ||
        kind == LXDataIdKind::Searchable;
    if (types)
    {
        m_types.Filled().Invalidate();
        XInvalidationLog::Add("XLXConfigFactoryCacheManager", "type map");
    }
    if (kind == LXDataIdKind::Objects &&
        LXModeConcerns(mode, LXUM_EVERYTHING | LXUM_GLOBALFORMATSPECS | LXUM_FORMATS))
    {
        m_globalSpecs.Invalidate();
        XInvalidationLog::Add("XLXConfigFactoryCacheManager", "global format specs");
    }
    if ((kind == LXDataIdKind::ParentChild || kind == LXDataIdKind::Objects) &&
        LXModeConcerns(mode, LXUM_EVERYTHING | LXUM_TYPES | LXUM_PARENTCHILD))
    {
        m_planTypes.Invalidate();
        XInvalidationLog::Add("XLXConfigFactoryCacheManager", "plan types");
    }
}

// The first answer other than S_OK ends the walk. A notification that comes while the manager is being
// initialised has no relation manager to go to; what there is has been invalidated by then.
HRESULT XLXConfigFactoryCacheManager::OfferToReceivers(const XDataId& id, LONG,
                                                       const XChangeNotification& notification)
{
    const bool relationsOnly = id.hasKind && id.kind == LXDataIdKind::ParentChild &&
                               LXBstrView(notification.dataType) == SpecificDataType;
    if (!relationsOnly)
    {
        if (const HRESULT result = m_types.Notify(notification); result != S_OK)
        {
            return result;
        }
    }
    const auto relations = RelationManager();
    XLXError::CheckPointer(relations.get(), OLESTR("m_pPCPartCacheMng"), LXManagerAt("DataObjectChanged"));
    HRESULT result = relations->DataObjectChanged(notification);
    result = result == S_OK ? m_browsers.Notify(notification) : result;
    return result == S_OK ? m_globalSpecs.Notify(notification) : result;
}

bool XLXConfigFactoryCacheManager::IsRepeated(ULONG notificationId) const noexcept
{
    const std::lock_guard<XLeafMutex> lock(m_mutex);
    return m_lLastNotificationId == notificationId;
}

void XLXConfigFactoryCacheManager::RecordHandled(ULONG notificationId) noexcept
{
    const std::lock_guard<XLeafMutex> lock(m_mutex);
    m_lLastNotificationId = notificationId;
}
