// SPDX-License-Identifier: MIT
//
// Queries for types.
#include "lxconfigfactorycachemanager.h"

namespace {
/// Asks a data object for its type name. Returns a failure of the object.
HRESULT TypeNameOf(ILX_BaseDataObject* object, const char* method, XLXComBSTR& name) {
    XLXError::CheckPointer(object, OLESTR("pObject"), LXManagerAt(method));
    return LXAskTypeName(*object, name);
}

XLXSafeArray NameArray(std::span<const BSTR> names, const LXErrorLocation& at) {
    XLXSafeArray array(SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(names.size())));
    if (!array) { throw std::bad_alloc(); }
    for (LONG i = 0; i < static_cast<LONG>(names.size()); ++i) {
        const XLXComBSTR name(LXBstrView(names[static_cast<std::size_t>(i)]));
        XLXError::RaiseIfFailed(SafeArrayPutElement(array.Get(), &i, name.Get()), OLESTR("SafeArrayPutElement failed"),
                                at);
    }
    return array;
}
} // namespace

HRESULT XLXConfigFactoryCacheManager::GetCachedType(ILX_BaseDataObject* pObject, BSTR, ILXType** ppType) {
    return LXAnswer(LXManagerAt("GetCachedType"), OLESTR("ppType"), ppType, [&] {
        XLXComBSTR name;
        const HRESULT result = TypeNameOf(pObject, "GetCachedType", name);
        return FAILED(result) ? result : InternalLoadType(name.View(), ppType);
    });
}

HRESULT XLXConfigFactoryCacheManager::IsPlantype(ILX_BaseDataObject* pObject) {
    return XLXError::Guarded(LXManagerAt("IsPlantype"), [&] {
        XLXComBSTR name;
        const HRESULT result = TypeNameOf(pObject, "IsPlantype", name);
        return FAILED(result) ? result : m_planTypes.IsPlanType(name.View()) ? S_OK : S_FALSE;
    });
}

HRESULT XLXConfigFactoryCacheManager::GetType(BSTR bstrTypename, BSTR, ILXType** ppType) {
    return XLXError::Guarded(LXManagerAt("GetType"),
                             [&] { return InternalLoadType(LXBstrView(bstrTypename), ppType); });
}

XLXComPtr<ILXType> XLXConfigFactoryCacheManager::ServerType(const XClockPtr& clock, XLXTextView name) const {
    const LXErrorLocation at = LXManagerAt("ServerType");
    const XConnectionPtr server = ConnectionWith(clock);
    XLXComPtr<ILXType> type;
    if (!server) { return type; }
    const HRESULT result = LXAsk("ILXConfigFactory::GetType", type, LXNoResult::Nothing, {}, at, [&](ILXType** out) {
        return server->configFactory->GetType(XLXComBSTR(name).Get(), nullptr, out);
    });
    XLXError::RaiseIfFailed(result, OLESTR("the server failed to get the type"), at);
    return type;
}

XLXCFCMngImpl& XLXConfigFactoryCacheManager::Impl(const char* method) const {
    XLXCFCMngImpl* const impl = m_pImpl.load();
    XLXError::CheckPointer(impl, OLESTR("m_pImpl"), LXManagerAt(method));
    return *impl;
}

HRESULT XLXConfigFactoryCacheManager::InternalLoadType(XLXTextView name, ILXType** ppType) {
    LXEmptyOut(ppType);
    if (name.empty()) { return S_FALSE; }
    XLXError::CheckPointer(ppType, OLESTR("ppType"), LXManagerAt("InternalLoadType"));
    XTypeMap::Answer answer = m_types.Find(name);
    if (!answer.isFresh) { answer = InternalFillTypeMap().first->Find(name); }
    if (!answer.isKnown) { answer.type = Impl("FetchType").FetchType(name); }
    return LXHandOut(std::move(answer.type), ppType);
}

std::pair<XTypeMapPtr, HRESULT> XLXConfigFactoryCacheManager::InternalFillTypeMap() {
    const XTypeMapPtr own(XTypeMapPtr(), &m_types);
    if (m_types.IsFresh()) { return {own, S_OK}; }
    XLXCFCMngImpl& impl = Impl("InternalFillTypeMap");
    const std::uint32_t begun = m_types.Fills().Begun();
    const XFill fill(m_types.FillMutex(), &m_types);
    const bool isServed = m_types.Fills().IsServed(begun) && m_types.IsFilled();
    if (fill.IsReentered() || isServed || m_types.IsFresh()) {
        return {own, S_OK}; // a call from inside the fill gets the present types, a waiting thread those just read
    }
    XTypeMapPtr filled;
    m_types.Fills().Run(fill, [&] {
        filled = impl.FillTypeCache();
        return filled.get() == &m_types;
    });
    return filled ? std::pair(filled, S_OK) : std::pair(own, S_FALSE);
}

// An answer whose connection is over is not cached: its types go into a map of their own, for this caller only.
XTypeMapPtr XLXConfigFactoryCacheManager::EnterTypes(XTypeRecords& records, const XTypeMap::Request& requested,
                                                     bool isWhole) {
    if (m_types.Enter(records, requested, isWhole)) { return XTypeMapPtr(XTypeMapPtr(), &m_types); }
    const auto apart = std::make_shared<XTypeMap>(m_transferMode);
    apart->Begin(requested.clock);
    apart->Enter(records, requested, isWhole);
    return apart;
}

HRESULT XLXConfigFactoryCacheManager::EnumerateTypes(const char* method, bool searchableOnly, ILXTypeEnum** ppEnum) {
    return LXAnswer(LXManagerAt(method), OLESTR("ppEnum"), ppEnum, [&] {
        std::vector<XLXComPtr<ILXType>> items;
        const XTypeMapPtr types = InternalFillTypeMap().first;
        for (const auto& [key, entry] : types->Types()) {
            if (entry.type->IsListed() && (!searchableOnly || entry.type->IsSearchable())) {
                items.emplace_back(entry.type);
            }
        }
        return LXHandOutEnumerator(std::move(items), ppEnum);
    });
}

HRESULT XLXConfigFactoryCacheManager::LoadTypesByTypeNames(LONG count, BSTR* typeNames, LONG withAttributes) {
    const LXErrorLocation at = LXManagerAt("LoadTypesByTypeNames");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        if (count == 0) { return S_OK; }
        if (count < 0) { XLXError::Raise(E_INVALIDARG, OLESTR("the number of type names is negative"), at); }
        XLXError::CheckPointer(typeNames, OLESTR("bstrTypename"), at);
        const LONG mode = Impl("LoadTypesByTypeNames").NamedLoadMode(withAttributes != 0);
        const std::span<const BSTR> names(typeNames, static_cast<std::size_t>(count));
        const LXErrorLocation loading = LXManagerAt("LoadTypesByNames");
        const XLXSafeArray wanted = NameArray(names, loading);
        const XConnectionPtr server = Access("LoadTypesByNames");
        ILXConfigFactoryEx& factory = server->Bulk("LoadTypesByNames");
        const XTypeMap::Request requested = m_types.Now(server->clock);
        auto records = LXAskForTypes("ILXConfigFactoryEx::GetTypeArrayByTypeNameArrayEx", mode,
                                     OLESTR("the types cannot be loaded by name"), loading, [&](SAFEARRAY** out) {
                                         return factory.GetTypeArrayByTypeNameArrayEx(wanted.Get(), 1, mode, out);
                                     });
        if (records) { EnterTypes(*records, requested, false); }
        for (const BSTR name : names) {
            if (const XLXTextView text = LXBstrView(name); !text.empty()) {
                m_types.EnterNegative(text, requested); // does nothing for the names that were delivered
            }
        }
        return records ? S_OK : S_FALSE;
    });
}

// Wraps the new type for the caller only. It enters the map after the server has reported it.
HRESULT XLXConfigFactoryCacheManager::AddType(ILXType** ppType) {
    const LXErrorLocation at = LXManagerAt("AddType");
    return LXAnswer(at, OLESTR("ppType"), ppType, [&] {
        const XConnectionPtr connection = Access("AddType");
        XLXComPtr<ILXType> server;
        const HRESULT result =
            LXAsk("ILXConfigFactory::AddType", server, LXNoResult::PointerError, OLESTR("object of the server"), at,
                  [&](ILXType** out) { return connection->configFactory->AddType(out); });
        if (FAILED(result)) { return result; }
        XLXError::CheckPointer(server.Get(), OLESTR("object of the server"), at);
        auto type = LXCFCTOOLS::Make<XLXTypeCache>(server, connection->clock);
        type->SetModeSupplier(m_transferMode);
        *ppType = type.Detach();
        return result;
    });
}
