// SPDX-License-Identifier: MIT
#include "LXGlobalAttributeFormatSpecCache.h"

#include "XInstanceRegistry.h"
#include "XModuleState.h"

namespace {
XInstanceRegistry<ILXGlobalAttributeFormatSpec>& LiveSpecs() {
    static const XModuleState<XInstanceRegistry<ILXGlobalAttributeFormatSpec>> registry;
    return *registry;
}
} // namespace

XLXGlobalAttributeFormatSpecCache::XLXGlobalAttributeFormatSpecCache(XLXComPtr<IUnknown> server, XClockPtr clock)
    : XLXFormatOwner(std::move(server), std::move(clock)) {
    LiveSpecs().Add(this);
}

XLXGlobalAttributeFormatSpecCache::~XLXGlobalAttributeFormatSpecCache() { LiveSpecs().Remove(this); }

XLXComPtr<XLXGlobalAttributeFormatSpecCache>
XLXGlobalAttributeFormatSpecCache::FromFace(ILXGlobalAttributeFormatSpec* face) {
    return LiveSpecs().Find<XLXGlobalAttributeFormatSpecCache>(face);
}

void XLXGlobalAttributeFormatSpecCache::Terminate() noexcept {
    XLXFormatOwner::Terminate();
    Detach(); // callers that still hold this object keep reading its values
    ReleaseServer();
}
