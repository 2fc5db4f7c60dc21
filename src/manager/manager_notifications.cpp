// SPDX-License-Identifier: MIT
//
// Change notifications. They advance the connection's clock for the aspects that they concern, touch no cached data and
// take no lock but the leaf mutex. The next read asks the server.
#include "lxconfigfactorycachemanager.h"

namespace {
constexpr const OLECHAR* SpecificDataType = OLESTR("cfc_specific");
constexpr const OLECHAR* ForwardPrefix = OLESTR("cfc_forward/");

// A failure to write the trace entry must not make the notification fail.
void TraceUpdate(BSTR dataId, LONG mode, XLXTextView kind) noexcept {
    if (XLXError::TraceEnabled(LX_LOG_UPDATE)) {
        const LXErrorLocation at = LXManagerAt("DataObjectChanged");
        XLXError::LogFailure(OLESTR("CFC update notification"), at, [&] {
            XLXError::WriteTrace(LX_LOG_UPDATE, OLESTR("CFC update notification"),
                                 XLXFormat()
                                     << "CFC update: CFDataID: '" << LXBstrView(dataId) << "', Update Mode: " << mode
                                     << ", CurrentDataId: '" << kind << "', TranslatedDataId: '" << kind << "'",
                                 at);
        });
    }
}
} // namespace

HRESULT XLXConfigFactoryCacheManager::DataObjectChanged(BSTR dataId, BSTR dataType, ULONG type, ULONG notificationId,
                                                        ULONG count, tagLXUpdateInfo* info) {
    return XLXError::Guarded(LXManagerAt("DataObjectChanged"), [&]() -> HRESULT {
        if (m_lServerTerminated.load()) { return S_OK; }
        if (LXBstrView(dataType) != SpecificDataType) {
            const HRESULT forwarded = ForwardToServer(dataId, dataType, type, notificationId, count, info);
            if (FAILED(forwarded)) { return forwarded; }
        }
        XConnectionPtr connection;
        {
            const XLeafLock lock(m_mutex);
            connection = m_connection;
            if (connection && connection->lastNotificationId == notificationId) {
                return S_OK; // already handled
            }
        }
        const XLXCFCMngImpl& impl = Impl("DataObjectChanged");
        const XDataId id = XDataId::Parse(LXBstrView(dataId));
        const XLXTextView kind = id.hasKind ? id.kindText : XLXTextView();
        const LONG mode = impl.TranslateUpdateFlags(kind, id.mode);
        TraceUpdate(dataId, mode, kind);
        bool isHandled = false; // false while there is no relation manager
        if (connection) {
            const XAspectSet concerned = XNotificationRule::Concerned(id, mode);
            connection->clock->Advance(concerned);
            LXTraceInvalidated(concerned);
            // Recorded in the connection that was current on arrival, so that this id suppresses no notification of
            // the next connection.
            const XLeafLock lock(m_mutex);
            isHandled = connection->relations != nullptr;
            if (isHandled) { connection->lastNotificationId = notificationId; }
        }
        XLXError::CheckPointer(isHandled ? this : nullptr, OLESTR("m_pPCPartCacheMng"),
                               LXManagerAt("DataObjectChanged"));
        return S_OK;
    });
}

// Forwards the notification, marked as forwarded, to a config factory that is itself a cache.
HRESULT XLXConfigFactoryCacheManager::ForwardToServer(BSTR dataId, BSTR dataType, ULONG type, ULONG id, ULONG count,
                                                      tagLXUpdateInfo* info) const {
    const auto callback = ConfigFactory("DataObjectChanged").As<ILXCallbackUpdate>();
    if (!callback) { return S_OK; }
    const XLXComBSTR forwardedId(XLXFormat() << XLXTextView(ForwardPrefix) << LXBstrView(dataId));
    LXServerCall("ILXCallbackUpdate::DataObjectChanged");
    return callback->DataObjectChanged(forwardedId.Get(), dataType, type, id, count, info);
}
