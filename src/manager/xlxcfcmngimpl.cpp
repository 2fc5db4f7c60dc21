// SPDX-License-Identifier: MIT
#include "xlxcfcmngimpl.h"

#include "lxconfigfactorycachemanager.h"

#include <algorithm>

namespace {
constexpr ULONG TypeBatch = 100;
constexpr int MemberTypeName = 0;
constexpr int MemberSearchable = 14;

/// A property of a server's type as a text; empty if it has none. Raises failures.
XLXText TextOf(ILXType& server, int member) {
    XLXComVariant value;
    XLXError::RaiseIfFailed(LXAskProperty(server, member, value), OLESTR("a property of a server type cannot be read"),
                            LXManagerAt("FillTypeCacheServerImpl"));
    return value.Empty() ? XLXText() : value.AsText().value_or(XLXText());
}

XTypeRecord RecordOf(const XLXComPtr<ILXType>& server, XLXTextView name) {
    XTypeRecord record;
    record.name = name;
    record.baseName = TextOf(*server, XTypeRecord::MemberBaseTypeName);
    record.config.object = server;
    record.listed = true;
    XLXComVariant searchable; // a type without this property is not searchable
    record.searchable =
        LXAskProperty(*server, MemberSearchable, searchable) == S_OK && searchable.AsBool().value_or(false);
    return record;
}
} // namespace

// ---- server mode

XTypeMapPtr XLXCFCMngImplServer::FillTypeCache() {
    const LXErrorLocation at = LXManagerAt("FillTypeCacheServerImpl");
    const XConnectionPtr server = m_manager.Access("FillTypeCacheServerImpl");
    const XTypeMap::Request requested = m_manager.Types().Now(server->clock);
    XLXComPtr<ILXTypeEnum> types;
    HRESULT result = LXAsk("ILXConfigFactory::GetTypeEnum", types, LXNoResult::Nothing, {}, at,
                           [&](ILXTypeEnum** out) { return server->configFactory->GetTypeEnum(nullptr, out); });
    XLXError::RaiseIfFailed(result, OLESTR("the types cannot be enumerated"), at);
    if (result != S_OK) { return nullptr; }
    XTypeRecords records;
    result = LXForEachOf<TypeBatch, ILXType>(*types, "ILXTypeEnum::RemNext", at, [&](XLXComPtr<ILXType>&& type) {
        if (const XLXText name = TextOf(*type, MemberTypeName); !name.empty()) {
            records.push_back(RecordOf(type, name));
        }
    });
    XLXError::RaiseIfFailed(result, OLESTR("the types cannot be enumerated"), at);
    return m_manager.EnterTypes(records, requested, true);
}

// Walks up the chain of bases to the first cached one, then enters the whole chain. Raises if the chain has a cycle.
XLXComPtr<XLXTypeCache> XLXCFCMngImplServer::FetchType(XLXTextView name) {
    const LXErrorLocation at = LXManagerAt("FetchTypeServerImpl");
    XTypeMap& types = m_manager.Types();
    const XConnectionPtr server = m_manager.Access("FetchTypeServerImpl");
    const XTypeMap::Request requested = types.Now(server->clock);
    XTypeRecords chain;
    XLXText next(name);
    while (!next.empty() && (chain.empty() || !types.Find(next).type)) {
        XLXComPtr<ILXType> found;
        const XLXComBSTR wanted(next);
        const HRESULT result =
            LXAsk("ILXConfigFactory::GetType", found, LXNoResult::Nothing, {}, at,
                  [&](ILXType** out) { return server->configFactory->GetType(wanted.Get(), nullptr, out); });
        XLXError::RaiseIfFailed(result, OLESTR("the server failed to get the type"), at);
        if (result != S_OK) {
            types.EnterNegative(next, requested);
            break;
        }
        chain.push_back(RecordOf(found, next));
        next = chain.back().baseName;
        if (std::ranges::find(chain, next, &XTypeRecord::name) != chain.end()) {
            XLXError::Raise(E_FAIL,
                            XLXFormat() << "Base typename is equal with the derivative's typename.Check the PTS "
                                           "and remove self-inheritance type declarations. typename: '"
                                        << next << "'",
                            at);
        }
    }
    return !chain.empty() ? m_manager.EnterTypes(chain, requested, false)->Find(name).type : nullptr;
}

LONG XLXCFCMngImplServer::NamedLoadMode(bool includeTypeAttributes) const {
    const LONG mode = m_manager.TransferMode().Get();
    return mode == LXTM_UNSET ? 0 : includeTypeAttributes ? mode & LXTM_ATTRIBUTES : mode;
}

// ---- client mode

XLXCFCMngImplClient::XLXCFCMngImplClient(XLXConfigFactoryCacheManager& manager) : XLXCFCMngImpl(manager) {
    manager.TransferMode().SetIfUnset(DefaultTransferMode);
}

LONG XLXCFCMngImplClient::BulkMode() const noexcept {
    const LONG mode = m_manager.TransferMode().Get();
    return mode == LXTM_UNSET ? DefaultTransferMode : mode;
}

std::optional<XTypeRecords> XLXCFCMngImplClient::LoadAllTypes(ILXConfigFactoryEx& factory, LONG mode) {
    return LXAskForTypes("ILXConfigFactoryEx::GetTypeArrayEx", mode, OLESTR("the types cannot be loaded"),
                         LXManagerAt("LoadAllTypes"),
                         [&](SAFEARRAY** out) { return factory.GetTypeArrayEx(mode, out); });
}

XTypeMapPtr XLXCFCMngImplClient::FillTypeCache() {
    const XConnectionPtr server = m_manager.Access("LoadAllTypes");
    ILXConfigFactoryEx& factory = server->Bulk("LoadAllTypes");
    const XTypeMap::Request requested = m_manager.Types().Now(server->clock);
    auto records = LoadAllTypes(factory, BulkMode());
    return records ? m_manager.EnterTypes(*records, requested, true) : nullptr;
}

void XLXCFCMngImplClient::RefillTypes(const XClockPtr& clock) {
    const XConnectionPtr server = m_manager.ConnectionWith(clock);
    if (!server || !server->configFactoryEx) { return; }
    const auto moment = std::make_shared<const XMoment>(clock->Copy());
    if (auto records = LoadAllTypes(*server->configFactoryEx, BulkMode())) {
        m_manager.Types().Refill(*records, clock, moment);
    }
}

// Reads the type alone first. If its base is not cached, reads the type again together with its whole chain of bases.
XLXComPtr<XLXTypeCache> XLXCFCMngImplClient::FetchType(XLXTextView name) {
    XTypeMap& types = m_manager.Types();
    const LXErrorLocation at = LXManagerAt("FetchTypeClientImpl");
    const XConnectionPtr server = m_manager.Access("LoadTypeByName");
    ILXConfigFactoryEx& factory = server->Bulk("LoadTypeByName");
    const XTypeMap::Request requested = types.Now(server->clock);
    XTypeRecords records = LoadTypeByName(factory, name, false);
    if (records.empty()) {
        types.EnterNegative(name, requested);
        return nullptr;
    }
    if (std::ranges::any_of(records, &XTypeRecord::IsBaseMissing)) {
        XLXError::Raise(E_FAIL, OLESTR("index base type not found in index map"), at);
    }
    const XLXText& baseName = records.front().baseName;
    if (!baseName.empty() && baseName != name && !types.Find(baseName).type) {
        records = LoadTypeByName(factory, name, true);
    }
    const XTypeMap::Answer answer = m_manager.EnterTypes(records, requested, false)->Find(name);
    if (!answer.isKnown) { XLXError::Raise(E_FAIL, OLESTR("no type in typemap"), at); }
    return answer.type;
}

XTypeRecords XLXCFCMngImplClient::LoadTypeByName(ILXConfigFactoryEx& factory, XLXTextView name, bool withBases) const {
    const LONG mode = BulkMode();
    const XLXComBSTR wanted(name);
    return LXAskForTypes("ILXConfigFactoryEx::GetTypeArrayByTypeNameEx", mode, OLESTR("the type cannot be loaded"),
                         LXManagerAt("LoadTypeByName"),
                         [&](SAFEARRAY** out) {
                             return factory.GetTypeArrayByTypeNameEx(wanted.Get(), withBases ? 1 : 0, mode, out);
                         })
        .value_or(XTypeRecords());
}

LONG XLXCFCMngImplClient::NamedLoadMode(bool includeTypeAttributes) const {
    return includeTypeAttributes ? BulkMode() & LXTM_ATTRIBUTES : BulkMode();
}

// For the kind "objects": a change of the attribute set also concerns the types. A change of attribute types, or of
// formats of any kind, also concerns the attributes.
LONG XLXCFCMngImplClient::TranslateUpdateFlags(XLXTextView kind, LONG mode) const noexcept {
    if (kind != OLESTR("objects")) { return mode; }
    if ((mode & LXUM_ATTRIBUTES) != 0) { mode |= LXUM_TYPES; }
    if ((mode & LXUM_ATTRIBUTETYPES) != 0) { mode |= LXUM_ATTRIBUTES; }
    if ((mode & (LXUM_FORMATS | LXUM_GLOBALFORMATSPECS | LXUM_GROUPFORMATS | LXUM_ATTRIBUTEFORMATS)) != 0) {
        mode |= LXUM_ATTRIBUTES;
    }
    return mode;
}
