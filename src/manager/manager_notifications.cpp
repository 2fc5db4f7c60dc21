// SPDX-License-Identifier: MIT
//
// What the manager does with a change notification: it advances the numbers of the connection's clock that the
// notification concerns. Nothing that is cached is touched, and nobody is waited for; the next read asks the server.
#include "lxconfigfactorycachemanager.h"

namespace {
constexpr const OLECHAR* SpecificDataType = OLESTR("cfc_specific");
constexpr const OLECHAR* ForwardPrefix = OLESTR("cfc_forward/");

// A notification is never refused for want of memory for its trace entry.
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

HRESULT XLXConfigFactoryCacheManager::DataObjectChanged(BSTR dataId, BSTR dataType, ULONG type, ULONG notification,
                                                        ULONG count, tagLXUpdateInfo* info) {
    return XLXError::Guarded(LXManagerAt("DataObjectChanged"), [&]() -> HRESULT {
        if (m_lServerTerminated.load()) { return S_OK; }
        if (LXBstrView(dataType) != SpecificDataType) {
            const HRESULT forwarded = ForwardToServer(dataId, dataType, type, notification, count, info);
            if (FAILED(forwarded)) { return forwarded; }
        }
        XConnectionPtr connection;
        {
            const std::lock_guard<XLeafMutex> lock(m_mutex);
            connection = m_connection;
            if (connection && connection->lastNotificationId == notification) {
                return S_OK; // handled already
            }
        }
        const XLXCFCMngImpl& impl = Impl("DataObjectChanged");
        const XDataId id = XDataId::Parse(LXBstrView(dataId));
        const XLXTextView kind = id.hasKind ? id.kindText : XLXTextView();
        const LONG mode = impl.TranslateUpdateFlags(kind, id.mode);
        TraceUpdate(dataId, mode, kind);
        bool isHandled = false; // not while nobody answers for relations
        if (connection) {
            const XAspectSet concerned = XNotificationRule::Concerned(id, mode);
            connection->clock->Advance(concerned);
            LXTraceInvalidated(concerned);
            // In the connection that the notification came to: a late one records nothing in the next.
            const std::lock_guard<XLeafMutex> lock(m_mutex);
            isHandled = connection->relations != nullptr;
            if (isHandled) { connection->lastNotificationId = notification; }
        }
        XLXError::CheckPointer(isHandled ? this : nullptr, OLESTR("m_pPCPartCacheMng"),
                               LXManagerAt("DataObjectChanged"));
        return S_OK;
    });
}

// A config factory that is itself a cache receives the notification, marked as forwarded.
HRESULT XLXConfigFactoryCacheManager::ForwardToServer(BSTR dataId, BSTR dataType, ULONG type, ULONG id, ULONG count,
                                                      tagLXUpdateInfo* info) const {
    const auto callback = ConfigFactory("DataObjectChanged").As<ILXCallbackUpdate>();
    if (!callback) { return S_OK; }
    const XLXComBSTR forwardedId(XLXFormat() << XLXTextView(ForwardPrefix) << LXBstrView(dataId));
    LXServerCall("ILXCallbackUpdate::DataObjectChanged");
    return callback->DataObjectChanged(forwardedId.Get(), dataType, type, id, count, info);
}
