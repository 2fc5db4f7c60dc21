// SPDX-License-Identifier: MIT
#include "XGlobalSpecs.h"

namespace {
using Spec = XLXComPtr<XLXGlobalAttributeFormatSpecCache>;
using Specs = std::vector<Spec>;

constexpr ULONG SpecBatch = 500;

// Specs that could not be fetched are missing until the next notification.
Specs FetchSpecs(const XConnection& server, std::exception_ptr& failure) {
    const LXErrorLocation at = LXManagerAt("InternalFillGlobalFormatSpecCache");
    Specs fresh;
    XLXComPtr<ILXGlobalAttributeFormatSpecEnum> listed;
    const HRESULT result = LXAsk("ILXConfigFactory::GetAllGlobalAttributeFormatSpecs", listed, LXNoResult::PointerError,
                                 OLESTR("global attribute format specs"), at, [&](auto** out) {
                                     return server.configFactory->GetAllGlobalAttributeFormatSpecs(out);
                                 });
    XLXError::RaiseIfFailed(result, OLESTR("the server failed to list its global attribute format specs"), at);
    if (result != S_OK) { return fresh; }
    LXKeepFailure(failure, [&] {
        LXForEachOf<SpecBatch, ILXGlobalAttributeFormatSpec>(
            *listed, "ILXGlobalAttributeFormatSpecEnum::RemNext", at,
            [&](XLXComPtr<ILXGlobalAttributeFormatSpec>&& spec) {
                fresh.push_back(LXCFCTOOLS::Make<XLXGlobalAttributeFormatSpecCache>(std::move(spec), server.clock));
            });
    });
    return fresh;
}

/// Detaches the specs that a new set replaces. Callers that need current values get the specs again.
void DetachAll(const Specs&, const std::shared_ptr<const Specs>& former) {
    if (former) {
        for (const Spec& spec : *former) {
            spec->Detach();
        }
    }
}
} // namespace

XGlobalSpecs::Value XGlobalSpecs::InternalFillGlobalFormatSpecCache() {
    std::exception_ptr failure;
    Value specs = Load(
        "InternalFillGlobalFormatSpecCache", [&](const XConnection& server) { return FetchSpecs(server, failure); },
        DetachAll);
    LXRaiseKept(failure);
    return specs;
}

// Compares only cached ids, because the server may no longer know what it has removed. If no cached id matches, the
// removed element may be one whose values were not read, so the whole set becomes stale.
HRESULT XGlobalSpecs::Remove(ILXConfigFactory& factory, XLXGlobalAttributeFormatSpecCache* spec, XLXTextView id,
                             const LXErrorLocation& at) {
    if (id.empty()) {
        XLXError::Raise(E_INVALIDARG,
                        OLESTR("For removing ILXGlobalAttributeFormatSpec instances the property id "
                               "'LXCFGAFS_attributepropertyid' must not be empty."),
                        at);
    }
    LXServerCall("ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID");
    const HRESULT result = factory.RemoveGlobalAttributeFormatSpecByID(XLXComBSTR(id).Get());
    if (FAILED(result)) { return result; }
    Spec dropped;
    m_loaded.Change([&](const Specs& specs, bool& isWhole) {
        auto changed = std::make_shared<Specs>(specs);
        const auto found = std::ranges::find_if(*changed, [&](const Spec& other) {
            return other.Get() == spec || other->Peek(MemberPropertyId).AsText() == id;
        });
        isWhole = found != changed->end();
        if (isWhole) {
            dropped = *found;
            changed->erase(found);
        }
        return changed;
    });
    if (dropped) { dropped->Terminate(); }
    return result;
}

void XGlobalSpecs::End(const XClockPtr& clock) {
    if (const Value dropped = XRegistry::End(clock)) {
        for (const Spec& spec : *dropped) {
            spec->Terminate();
        }
    }
}
