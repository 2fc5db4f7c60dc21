// SPDX-License-Identifier: MIT
#include "XBrowserRegistry.h"

namespace {
constexpr ULONG BrowserIdBatch = 100;
constexpr int MemberBrowserId = 0;

XNameMap<XLXComPtr<XLXBrowserIdCache>> FetchBrowserIds(const XConnection& server) {
    const LXErrorLocation at = LXManagerAt("InternalFillBrowserIds");
    XNameMap<XLXComPtr<XLXBrowserIdCache>> fresh;
    XLXComPtr<ILXBrowserIdEnum> browserIds;
    HRESULT result =
        LXAsk("ILXConfigFactory::GetBrowserIdEnum", browserIds, LXNoResult::PointerError, OLESTR("browser ids"), at,
              [&](ILXBrowserIdEnum** out) { return server.configFactory->GetBrowserIdEnum(out); });
    if (result == S_OK) {
        result = LXForEachOf<BrowserIdBatch, ILXBrowserId>(
            *browserIds, "ILXBrowserIdEnum::RemNext", at, [&](XLXComPtr<ILXBrowserId>&& element) {
                auto browserId = LXCFCTOOLS::Make<XLXBrowserIdCache>(std::move(element), server.clock);
                XLXComVariant name;
                XLXError::RaiseIfFailed(browserId->GetProperty(MemberBrowserId, name.Put()),
                                        OLESTR("the name of a browser id cannot be read"), at);
                // A nameless id could never be found.
                if (auto key = XCFGStringKey::Of(name)) {
                    fresh.insert_or_assign(std::move(*key), std::move(browserId));
                }
            });
    }
    XLXError::RaiseIfFailed(result, OLESTR("the browser ids cannot be enumerated"), at);
    return fresh;
}
} // namespace

XBrowserRegistry::Value XBrowserRegistry::Load() { return XRegistry::Load("InternalFillBrowserIds", FetchBrowserIds); }
