// SPDX-License-Identifier: MIT
//
// Questions about which type derives from which.
#include "XLXComBSTR.h"
#include "lxconfigfactorycachemanager.h"

XTypeInheritanceInfo::InfoPtr XLXConfigFactoryCacheManager::Inheritance(const char* method) {
    XTypeMapPtr types;
    XLXError::RaiseIfFailed(InternalFillTypeMap(types), OLESTR("the types cannot be loaded"), LXManagerAt(method));
    return types.get() == &m_types ? m_inheritance.Current() : XTypeInheritanceInfo::Of(types->Types());
}

std::vector<XLXText> XLXConfigFactoryCacheManager::BaseTypeNames(XLXTextView typeName) {
    return Inheritance("BaseTypeNames")->BaseTypes(typeName);
}

HRESULT XLXConfigFactoryCacheManager::CheckTypeDerivesFrom(BSTR bstrTypename, LONG lAmountTypes, BSTR* bstrTypenames,
                                                           LONG* pBoolArray) {
    const LXErrorLocation at = LXManagerAt("CheckTypeDerivesFrom");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        if (lAmountTypes == 0) { return S_FALSE; }
        if (lAmountTypes < 0) { XLXError::Raise(E_INVALIDARG, OLESTR("the number of type names is negative"), at); }
        XLXError::CheckPointer(bstrTypenames, OLESTR("bstrTypenames"), at);
        XLXError::CheckPointer(pBoolArray, OLESTR("pBoolArray"), at);
        std::fill_n(pBoolArray, lAmountTypes, 0);
        const auto info = Inheritance("CheckTypeDerivesFrom");
        const XLXTextView name = LXBstrView(bstrTypename);
        if (!info->IsKnown(name)) { return S_FALSE; }
        for (LONG i = 0; i < lAmountTypes; ++i) {
            pBoolArray[i] = info->DerivesFrom(name, LXBstrView(bstrTypenames[i])) ? 1 : 0;
        }
        return S_OK;
    });
}

HRESULT XLXConfigFactoryCacheManager::GetAllDerivedTypes(BSTR bstrTypename, LONG* lCount, BSTR** bstrTypenamesDerived) {
    return ListDerivedTypes("GetAllDerivedTypes", bstrTypename, false, lCount, bstrTypenamesDerived);
}

HRESULT XLXConfigFactoryCacheManager::GetDerivedTypesForQuery(BSTR bstrTypename, LONG* lCount,
                                                              BSTR** bstrTypenamesDerived) {
    return ListDerivedTypes("GetDerivedTypesForQuery", bstrTypename, true, lCount, bstrTypenamesDerived);
}

HRESULT XLXConfigFactoryCacheManager::ListDerivedTypes(const char* method, BSTR typeName, bool withItself, LONG* count,
                                                       BSTR** names) {
    return XLXError::Guarded(LXManagerAt(method), [&]() -> HRESULT {
        LXEmptyOut(names);
        XLXError::CheckPointer(count, OLESTR("lCount"), LXManagerAt(method));
        *count = 0;
        XLXError::CheckPointer(names, OLESTR("bstrTypenamesDerived"), LXManagerAt(method));
        const auto info = Inheritance(method);
        const XLXTextView name = LXBstrView(typeName);
        std::vector<XLXText> list;
        if (withItself && info->IsKnown(name)) { list.emplace_back(name); }
        for (const XLXText& derived : info->IsKnown(name) ? info->DerivedTypes(name) : std::vector<XLXText>()) {
            list.push_back(derived);
        }
        LXHandOutTexts(list, count, names);
        return *count != 0 ? S_OK : S_FALSE;
    });
}
