// SPDX-License-Identifier: MIT
//
// The config factory's bulk reads, in ILXConfigFactory and ILXConfigFactoryEx.
#include "XServerConfigFactory.h"

#include <lxserver/FlatArray.h>

namespace {
LONG ModeOf(LONG includeAttributes) noexcept { return includeAttributes != 0 ? LXTM_ATTRIBUTES : 0; }
} // namespace

/// Returns the array of the named types, or of all types if there is no list of names.
HRESULT XServerConfigFactory::GiveTypes(const std::optional<std::vector<XLXText>>& names, LONG withBases, LONG mode,
                                        SAFEARRAY** out) {
    *out = LXTypeArray(SharedCore(), names, withBases != 0, mode);
    return *out != nullptr ? S_OK : S_FALSE;
}

HRESULT XServerConfigFactory::GiveOneType(BSTR name, LONG withBases, LONG mode, SAFEARRAY** out) {
    return GiveTypes(std::vector<XLXText>{XLXText(LXBstrView(name))}, withBases, mode, out);
}

HRESULT XServerConfigFactory::GiveNamedTypes(SAFEARRAY* names, LONG withBases, LONG mode, SAFEARRAY** out) {
    return GiveTypes(lx::TextsOf(names), withBases, mode, out);
}

HRESULT XServerConfigFactory::GetTypeArray(LONG bIncludeTypeAttributes, SAFEARRAY** psaTypes) {
    return Call(
        "GetTypeArray", [&] { return GiveTypes({}, 1, ModeOf(bIncludeTypeAttributes), psaTypes); }, psaTypes);
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
        "GetTypeArrayEx", [&] { return GiveTypes({}, 1, lMode, psaTypes); }, psaTypes);
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
            *psaRelations = LXRelationArray(SharedCore());
            return *psaRelations != nullptr ? S_OK : S_FALSE;
        },
        psaRelations);
}
