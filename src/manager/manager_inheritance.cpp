// SPDX-License-Identifier: MIT
//
// Queries for the inheritance between types.
#include "lxconfigfactorycachemanager.h"

namespace {
/// Returns the names in a buffer; the client frees the buffer and each name. If there are none, returns S_FALSE and
/// leaves the outputs at 0 and null.
HRESULT HandOutNames(std::vector<XLXComBSTR> list, LONG* count, BSTR** names) {
    if (list.empty()) { return S_FALSE; }
    auto* const buffer = static_cast<BSTR*>(CoTaskMemAlloc(list.size() * sizeof(BSTR)));
    if (buffer == nullptr) { throw std::bad_alloc(); }
    std::ranges::transform(list, buffer, &XLXComBSTR::Detach);
    *count = static_cast<LONG>(list.size());
    *names = buffer;
    return S_OK;
}
} // namespace

XTypeInheritanceInfo::InfoPtr XLXConfigFactoryCacheManager::Inheritance() {
    const XTypeMapPtr types = InternalFillTypeMap().first;
    return types.get() == &m_types ? m_inheritance.Current()
                                   : std::make_shared<const XTypeInheritanceInfo::Info>(types->Types());
}

std::vector<XLXText> XLXConfigFactoryCacheManager::BaseTypeNames(XLXTextView typeName) {
    const auto info = Inheritance();
    const auto names = info->BaseTypes(typeName);
    return {names.begin(), names.end()};
}

HRESULT XLXConfigFactoryCacheManager::CheckTypeDerivesFrom(BSTR typeName, LONG count, BSTR* names, LONG* answers) {
    const LXErrorLocation at = LXManagerAt("CheckTypeDerivesFrom");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        if (count == 0) { return S_FALSE; }
        if (count < 0) { XLXError::Raise(E_INVALIDARG, OLESTR("the number of type names is negative"), at); }
        XLXError::CheckPointer(names, OLESTR("bstrTypenames"), at);
        XLXError::CheckPointer(answers, OLESTR("pBoolArray"), at);
        std::fill_n(answers, count, 0);
        const auto info = Inheritance();
        const XLXTextView name = LXBstrView(typeName);
        if (!info->IsKnown(name)) { return S_FALSE; }
        const auto bases = info->BaseTypes(name);
        std::transform(names, names + count, answers, [&](BSTR other) {
            const XLXTextView base = LXBstrView(other);
            return base == name || std::ranges::find(bases, base) != bases.end() ? 1 : 0;
        });
        return S_OK;
    });
}

HRESULT XLXConfigFactoryCacheManager::ListDerivedTypes(const char* method, BSTR typeName, bool withItself, LONG* count,
                                                       BSTR** names) {
    return XLXError::Guarded(LXManagerAt(method), [&]() -> HRESULT {
        LXEmptyOut(names);
        XLXError::CheckPointer(count, OLESTR("lCount"), LXManagerAt(method));
        *count = 0;
        XLXError::CheckPointer(names, OLESTR("bstrTypenamesDerived"), LXManagerAt(method));
        const auto info = Inheritance();
        const XLXTextView name = LXBstrView(typeName);
        std::vector<XLXComBSTR> list;
        if (withItself && info->IsKnown(name)) { list.emplace_back(name); }
        for (const XCFGStringKey& derived : info->IsKnown(name) ? info->DerivedTypes(name) : XNameSet()) {
            list.emplace_back(derived.Text());
        }
        return HandOutNames(std::move(list), count, names);
    });
}
