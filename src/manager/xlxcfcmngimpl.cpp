// SPDX-License-Identifier: MIT
#include "xlxcfcmngimpl.h"

#include "lxconfigfactorycachemanager.h"

#include <algorithm>

namespace
{
constexpr ULONG TypeBatch = 100;
constexpr int MemberTypeName = 0;
constexpr int MemberBaseTypeName = 2;
constexpr int MemberSearchable = 14;

/// A property of a server's type; empty when it has no value. A failure is raised.
XLXComVariant PropertyOf(ILXType& server, int member)
{
    XLXComVariant value;
    LXServerCall("ILXConfigObject::GetProperty");
    XLXError::RaiseIfFailed(server.GetProperty(member, value.Put()),
                            OLESTR("a property of a server type cannot be read"),
                            LXManagerAt("FillTypeCacheServerImpl"));
    return value;
}

XLXText TextOf(ILXType& server, int member)
{
    const XLXComVariant value = PropertyOf(server, member);
    return value.Empty() ? XLXText() : value.AsText().value_or(XLXText());
}

/// Whether the server's type is searchable; a type that does not say is not.
bool IsSearchable(ILXType& server)
{
    XLXComVariant value;
    LXServerCall("ILXConfigObject::GetProperty");
    return server.GetProperty(MemberSearchable, value.Put()) == S_OK && value.AsBool().value_or(false);
}
} // namespace

LONG XLXCFCMngImpl::TransferMode() const noexcept
{
    return m_manager.TransferMode().Get();
}

// ---- server mode

XTypeLoad XLXCFCMngImplServer::LoadOf(const XLXComPtr<ILXType>& server, XLXTextView name) const
{
    XTypeLoad load;
    load.name = name;
    load.baseName = TextOf(*server, MemberBaseTypeName);
    load.server = server;
    load.listed = true;
    load.searchable = IsSearchable(*server);
    return load;
}

bool XLXCFCMngImplServer::FillTypeCache()
{
    const std::uint64_t filled = m_manager.Types().Filled().Note();
    const std::uint64_t noted = m_manager.NotificationEpoch().Note();
    const auto factory = m_manager.ConfigFactory("FillTypeCacheServerImpl");
    XLXComPtr<ILXTypeEnum> types;
    LXServerCall("ILXConfigFactory::GetTypeEnum");
    HRESULT result = factory->GetTypeEnum(nullptr, types.Put());
    XLXError::RaiseIfFailed(result, OLESTR("the types cannot be enumerated"),
                            LXManagerAt("FillTypeCacheServerImpl"));
    if (result != S_OK || !types)
    {
        return false;
    }
    std::vector<XTypeLoad> loads;
    result = LXForEachOf<TypeBatch, ILXType>(
        *types.Get(), "ILXTypeEnum::RemNext", LXManagerAt("FillTypeCacheServerImpl"),
        [&](XLXComPtr<ILXType>&& server) {
            if (const XLXText name = TextOf(*server, MemberTypeName); !name.empty())
            {
                loads.push_back(LoadOf(server, name));
            }
        });
    XLXError::RaiseIfFailed(result, OLESTR("the types cannot be enumerated"),
                            LXManagerAt("FillTypeCacheServerImpl"));
    m_manager.Types().Enter(std::move(loads), noted, filled);
    return true;
}

// Walks up the chain of bases to one that is cached, then enters the whole chain.
bool XLXCFCMngImplServer::FetchType(XLXTextView name, XLXComPtr<XLXTypeCache>& type)
{
    const LXErrorLocation at = LXManagerAt("FetchTypeServerImpl");
    const auto factory = m_manager.ConfigFactory("FetchTypeServerImpl");
    const std::uint64_t noted = m_manager.NotificationEpoch().Note();
    std::vector<XTypeLoad> chain;
    XLXText next(name);
    while (!next.empty())
    {
        XLXComPtr<XLXTypeCache> cached;
        if (!chain.empty() && m_manager.Types().Find(next, cached) == XTypeMap::Found::Type)
        {
            break;
        }
        XLXComPtr<ILXType> server;
        LXServerCall("ILXConfigFactory::GetType");
        const HRESULT result = factory->GetType(XLXComBSTR(next).Get(), nullptr, server.Put());
        XLXError::RaiseIfFailed(result, OLESTR("the server failed to get the type"), at);
        if (result != S_OK || !server)
        {
            m_manager.Types().EnterNegative(next, noted);
            break;
        }
        chain.push_back(LoadOf(server, next));
        next = chain.back().baseName;
        const bool cycle =
            std::any_of(chain.begin(), chain.end(), [&](const XTypeLoad& load) { return load.name == next; });
        if (cycle)
        {
            XLXError::Raise(E_FAIL,
                            XLXText(XLXFormat()
                                    << "Base typename is equal with the derivative's typename.Check the PTS "
                                       "and remove self-inheritance type declarations. typename: '"
                                    << next << "'"),
                            at);
        }
    }
    if (chain.empty())
    {
        return false;
    }
    m_manager.Types().Enter(std::move(chain), noted, std::nullopt);
    return m_manager.Types().Find(name, type) == XTypeMap::Found::Type;
}

LONG XLXCFCMngImplServer::NamedLoadMode(bool includeTypeAttributes) const
{
    const LONG mode = TransferMode();
    return mode == LXTM_UNSET ? 0 : includeTypeAttributes ? mode & LXTM_ATTRIBUTES : mode;
}

// ---- client mode

XLXCFCMngImplClient::XLXCFCMngImplClient(XLXConfigFactoryCacheManager& manager) : XLXCFCMngImpl(manager)
{
    manager.TransferMode().SetIfUnset(DefaultTransferMode);
}

LONG XLXCFCMngImplClient::BulkMode() const noexcept
{
    const LONG mode = TransferMode();
    return mode == LXTM_UNSET ? DefaultTransferMode : mode;
}

bool XLXCFCMngImplClient::FillTypeCache()
{
    const LONG mode = BulkMode();
    const std::uint64_t filled = m_manager.Types().Filled().Note();
    const std::uint64_t noted = m_manager.NotificationEpoch().Note();
    const auto factory = m_manager.ConfigFactoryEx("LoadAllTypes");
    XLXSafeArray array;
    LXServerCall("ILXConfigFactoryEx::GetTypeArrayEx");
    const HRESULT result = factory->GetTypeArrayEx(mode, array.Put());
    XLXError::RaiseIfFailed(result, OLESTR("the types cannot be loaded"), LXManagerAt("LoadAllTypes"));
    if (result != S_OK)
    {
        return false;
    }
    XLXError::CheckPointer(array.Get(), OLESTR("type array"), LXManagerAt("LoadAllTypes"));
    m_manager.Types().Enter(LXDecodeTypes(std::move(array), mode), noted, filled);
    return true;
}

// The type comes alone first; when its base is not cached, the whole chain of bases is read with it.
bool XLXCFCMngImplClient::FetchType(XLXTextView name, XLXComPtr<XLXTypeCache>& type)
{
    XTypeMap& types = m_manager.Types();
    const LXErrorLocation at = LXManagerAt("FetchTypeClientImpl");
    const std::uint64_t noted = m_manager.NotificationEpoch().Note();
    std::vector<XTypeLoad> loads = LoadTypeByName(name, false);
    if (loads.empty())
    {
        types.EnterNegative(name, noted);
        return false;
    }
    for (const XTypeLoad& load : loads)
    {
        if (load.baseIndexMissing)
        {
            XLXError::Raise(E_FAIL, OLESTR("index base type not found in index map"), at);
        }
    }
    const XLXText& baseName = loads.front().baseName;
    XLXComPtr<XLXTypeCache> base;
    if (!baseName.empty() && baseName != name && types.Find(baseName, base) != XTypeMap::Found::Type)
    {
        loads = LoadTypeByName(name, true);
    }
    types.Enter(std::move(loads), noted, std::nullopt);
    if (types.Find(name, type) == XTypeMap::Found::Nothing)
    {
        XLXError::Raise(E_FAIL, OLESTR("no type in typemap"), at);
    }
    return static_cast<bool>(type);
}

std::vector<XTypeLoad> XLXCFCMngImplClient::LoadTypeByName(XLXTextView name, bool withBases) const
{
    const LONG mode = BulkMode();
    const auto factory = m_manager.ConfigFactoryEx("LoadTypeByName");
    XLXSafeArray array;
    LXServerCall("ILXConfigFactoryEx::GetTypeArrayByTypeNameEx");
    const HRESULT result =
        factory->GetTypeArrayByTypeNameEx(XLXComBSTR(name).Get(), withBases ? 1 : 0, mode, array.Put());
    XLXError::RaiseIfFailed(result, OLESTR("the type cannot be loaded"), LXManagerAt("LoadTypeByName"));
    if (result != S_OK)
    {
        return {};
    }
    XLXError::CheckPointer(array.Get(), OLESTR("type array"), LXManagerAt("LoadTypeByName"));
    return LXDecodeTypes(std::move(array), mode);
}

LONG XLXCFCMngImplClient::NamedLoadMode(bool includeTypeAttributes) const
{
    return includeTypeAttributes ? BulkMode() & LXTM_ATTRIBUTES : BulkMode();
}

// What changes below an attribute concerns the attribute too, and a changed set of attributes the type.
LONG XLXCFCMngImplClient::TranslateUpdateFlags(XLXTextView kind, LONG mode) const noexcept
{
    if (kind != OLESTR("objects"))
    {
        return mode;
    }
    if ((mode & LXUM_ATTRIBUTES) != 0)
    {
        mode |= LXUM_TYPES;
    }
    if ((mode & LXUM_ATTRIBUTETYPES) != 0)
    {
        mode |= LXUM_ATTRIBUTES;
    }
    if ((mode & (LXUM_FORMATS | LXUM_GLOBALFORMATSPECS | LXUM_GROUPFORMATS | LXUM_ATTRIBUTEFORMATS)) != 0)
    {
        mode |= LXUM_ATTRIBUTES;
    }
    return mode;
}
