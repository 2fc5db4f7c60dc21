// SPDX-License-Identifier: MIT
#include "XGlobalSpecs.h"

#include "lxconfigfactorycachemanager.h"

#include <algorithm>

namespace {
constexpr ULONG SpecBatch = 500;
constexpr int MemberPropertyId = 0;

/// Specs that are replaced: who needs the newest asks again.
void DetachAll(const XGlobalSpecs::Specs&, const std::shared_ptr<const XGlobalSpecs::Specs>& former) {
    if (former) {
        for (const XGlobalSpecs::Spec& spec : *former) {
            spec->Detach();
        }
    }
}
} // namespace

XGlobalSpecs::Specs XGlobalSpecs::InternalFillGlobalFormatSpecCache() {
    auto specs = m_setGlobalAttributeFormatSpecCache.Fresh();
    if (!specs) {
        const XServerAccess server = m_manager.Access("InternalFillGlobalFormatSpecCache");
        std::exception_ptr failure;
        specs = m_setGlobalAttributeFormatSpecCache.Load(
            {server.clock, XAspect::Specs}, [&] { return Fetch(server, failure); }, DetachAll);
        if (failure) { std::rethrow_exception(failure); }
    }
    return specs ? *specs : Specs();
}

std::shared_ptr<const XGlobalSpecs::Specs> XGlobalSpecs::Fetch(const XServerAccess& server,
                                                               std::exception_ptr& failure) const {
    const LXErrorLocation at = LXManagerAt("InternalFillGlobalFormatSpecCache");
    auto fresh = std::make_shared<Specs>();
    XLXComPtr<ILXGlobalAttributeFormatSpecEnum> serverSpecs;
    const HRESULT result =
        LXAsk("ILXConfigFactory::GetAllGlobalAttributeFormatSpecs", serverSpecs, LXNoResult::PointerError,
              OLESTR("global attribute format specs"), at, [&](ILXGlobalAttributeFormatSpecEnum** out) {
                  return server.configFactory->GetAllGlobalAttributeFormatSpecs(out);
              });
    XLXError::RaiseIfFailed(result, OLESTR("the server failed to list its global attribute format specs"), at);
    if (result != S_OK) { return fresh; }
    try {
        TakeAll(*serverSpecs, server.clock, *fresh);
    } catch (const XLXException&) { failure = std::current_exception(); }
    return fresh;
}

// What could not be fetched or wrapped stays missing until a notification comes.
void XGlobalSpecs::TakeAll(ILXGlobalAttributeFormatSpecEnum& serverSpecs, const XClockPtr& clock, Specs& fresh) const {
    const LXErrorLocation at = LXManagerAt("InternalFillGlobalFormatSpecCache");
    LXForEachOf<SpecBatch, ILXGlobalAttributeFormatSpec>(
        serverSpecs, "ILXGlobalAttributeFormatSpecEnum::RemNext", at,
        [&](XLXComPtr<ILXGlobalAttributeFormatSpec>&& spec) {
            fresh.push_back(LXCFCTOOLS::Make<XLXGlobalAttributeFormatSpecCache>(std::move(spec), clock));
        });
}

// The ids that can be had without asking the server decide: of a removed spec it may know nothing any more. When none
// is the one that was removed, one whose values are unread may be, and the set is read again.
void XGlobalSpecs::Drop(const XLXGlobalAttributeFormatSpecCache* spec, XLXTextView id) {
    const auto isIt = [&](const Spec& other) {
        const auto text = other->Peek(MemberPropertyId).AsText();
        return other.Get() == spec || (text && *text == id);
    };
    Spec dropped;
    m_setGlobalAttributeFormatSpecCache.Change([&](const Specs& specs, bool& isWhole) {
        auto changed = std::make_shared<Specs>(specs);
        const auto found = std::find_if(changed->begin(), changed->end(), isIt);
        isWhole = found != changed->end();
        if (isWhole) {
            dropped = *found;
            changed->erase(found);
        }
        return changed;
    });
    if (dropped) { dropped->Terminate(); }
}

void XGlobalSpecs::Begin(const XClockPtr& clock) { m_setGlobalAttributeFormatSpecCache.Begin({clock, XAspect::Specs}); }

void XGlobalSpecs::End(const XClockPtr& clock) {
    if (const auto dropped = m_setGlobalAttributeFormatSpecCache.End({clock, XAspect::Specs})) {
        for (const Spec& spec : *dropped) {
            spec->Terminate();
        }
    }
}
