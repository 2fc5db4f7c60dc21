// SPDX-License-Identifier: MIT
#include "XNotificationRule.h"

void LXTraceInvalidated(const XAspectSet& aspects) noexcept {
    if (!XLXError::TraceEnabled(LX_LOG_INVALIDATE)) { return; }
    const LXErrorLocation at = LXHere("XNotificationRule", nullptr, "DataObjectChanged");
    aspects.ForEach([&at](XAspect aspect) {
        XLXError::LogFailure(OLESTR("invalidated"), at, [&] {
            XLXError::WriteTrace(LX_LOG_INVALIDATE, OLESTR("invalidated"),
                                 XLXFormat() << XNotificationRule::NameOf(aspect), at);
        });
    });
}
