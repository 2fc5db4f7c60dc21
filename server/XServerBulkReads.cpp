// SPDX-License-Identifier: MIT
//
// The config factory's bulk reads, of ILXConfigFactory and of ILXConfigFactoryEx.
#include "XServerConfigFactory.h"

#include <lxserver/FlatArray.h>

#include <algorithm>
#include <iterator>

namespace {
LONG ModeOf(LONG includeAttributes) noexcept { return includeAttributes != 0 ? LXTM_ATTRIBUTES : 0; }
} // namespace

/// The named types, or all of them when there is no list of names.
HRESULT XServerConfigFactory::GiveTypes(const std::vector<XLXText>* names, LONG withBases, LONG mode, SAFEARRAY** out) {
    XBulkTypes types = Core().Read([&](const XServerModel& model) {
        std::vector<XLXText> all;
        if (names == nullptr) {
            std::transform(model.types.begin(), model.types.end(), std::back_inserter(all),
                           [](const auto& entry) { return entry.first; });
        }
        return LXTypesOf(SharedCore(), model, names != nullptr ? *names : all, withBases != 0, mode);
    });
    if (types.records.empty()) { return S_FALSE; }
    *out = LXWriteTypes(std::move(types)).Detach();
    return S_OK;
}

HRESULT XServerConfigFactory::GiveOneType(BSTR name, LONG withBases, LONG mode, SAFEARRAY** out) {
    const std::vector<XLXText> names{XLXText(LXBstrView(name))};
    return GiveTypes(&names, withBases, mode, out);
}

HRESULT XServerConfigFactory::GiveNamedTypes(SAFEARRAY* names, LONG withBases, LONG mode, SAFEARRAY** out) {
    const std::vector<XLXText> texts = lx::TextsOf(names);
    return GiveTypes(&texts, withBases, mode, out);
}

HRESULT XServerConfigFactory::GetTypeArray(LONG bIncludeTypeAttributes, SAFEARRAY** psaTypes) {
    return Call(
        "GetTypeArray", [&] { return GiveTypes(nullptr, 1, ModeOf(bIncludeTypeAttributes), psaTypes); }, psaTypes);
}

HRESULT XServerConfigFactory::GetTypeArrayByTypeName(BSTR bstrTypename, LONG bIncludeBases, LONG bIncludeTypeAttributes,
                                                     SAFEARRAY** psaTypes) {
    return Call(
        "GetTypeArrayByTypeName",
        [&] { return GiveOneType(bstrTypename, bIncludeBases, ModeOf(bIncludeTypeAttributes), psaTypes); }, psaTypes);
}

HRESULT XServerConfigFactory::GetTypeArrayByTypeNameArray(SAFEARRAY* saTypenames, LONG bIncludeBases,
                                                          LONG bIncludeTypeAttributes, SAFEARRAY** psaTypes) {
    return Call(
        "GetTypeArrayByTypeNameArray",
        [&] { return GiveNamedTypes(saTypenames, bIncludeBases, ModeOf(bIncludeTypeAttributes), psaTypes); }, psaTypes);
}

HRESULT XServerConfigFactory::GetTypeArrayEx(LONG lMode, SAFEARRAY** psaTypes) {
    return Call<ILXConfigFactoryEx>(
        "GetTypeArrayEx", [&] { return GiveTypes(nullptr, 1, lMode, psaTypes); }, psaTypes);
}

HRESULT XServerConfigFactory::GetTypeArrayByTypeNameEx(BSTR bstrTypename, LONG bIncludeBases, LONG lMode,
                                                       SAFEARRAY** psaTypes) {
    return Call<ILXConfigFactoryEx>(
        "GetTypeArrayByTypeNameEx", [&] { return GiveOneType(bstrTypename, bIncludeBases, lMode, psaTypes); },
        psaTypes);
}

HRESULT XServerConfigFactory::GetTypeArrayByTypeNameArrayEx(SAFEARRAY* saTypenames, LONG bIncludeBases, LONG lMode,
                                                            SAFEARRAY** psaTypes) {
    return Call<ILXConfigFactoryEx>(
        "GetTypeArrayByTypeNameArrayEx", [&] { return GiveNamedTypes(saTypenames, bIncludeBases, lMode, psaTypes); },
        psaTypes);
}

HRESULT XServerConfigFactory::GetPCArray(SAFEARRAY** psaRelations) {
    return Call(
        "GetPCArray",
        [&] {
            auto relations =
                Core().Read([this](const XServerModel& model) { return LXRelationsOf(SharedCore(), model); });
            if (relations.empty()) { return S_FALSE; }
            *psaRelations = LXWriteRelations(std::move(relations)).Detach();
            return S_OK;
        },
        psaRelations);
}
