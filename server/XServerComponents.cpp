// SPDX-License-Identifier: MIT
#include "XServerComponents.h"

HRESULT XServerGroup::GetChildGroupEnum(ILXGroupEnum** ppEnum) {
    return Call(
        "GetChildGroupEnum",
        [&] {
            auto groups = Core().Read([this](const XServerModel&) {
                const std::int32_t number = SharedElement()->Number(XProperty::GroupNumber);
                return LXCollect<XServerGroup, ILXGroup>(
                    SharedCore(), m_owner->groups,
                    [number](const XModelGroup& g) { return g.Number(XProperty::ParentGroup) == number; }, m_owner);
            });
            return LXHandOut(SharedCore(), std::move(groups), ppEnum);
        },
        ppEnum);
}

HRESULT XServerAttribute::AddAttributeType(ILXAttributeType** ppAttributeType) {
    return Call(
        "AddAttributeType",
        [&] {
            auto added = Core().Change([this](XServerModel&) {
                auto& types = SharedElement()->types;
                return types.emplace_back().Share();
            });
            *ppAttributeType = LXMake<XServerAttributeType>(SharedCore(), std::move(added)).Detach();
            return S_OK;
        },
        ppAttributeType);
}

HRESULT XServerAttribute::RemoveAttributeType(ILXAttributeType* pAttributeType, LONG* plResult) {
    return Call(
        "RemoveAttributeType",
        [&] {
            const void* const element = LXElementOf(pAttributeType);
            const bool removed =
                Core().Change([&](XServerModel&) { return LXRemove(SharedElement()->types, element); });
            *plResult = removed ? 1 : 0;
            return removed ? S_OK : E_INVALIDARG;
        },
        plResult);
}

HRESULT XServerAttribute::GetAttributeTypeEnum(ILXAttributeTypeEnum** ppEnum) {
    return Call(
        "GetAttributeTypeEnum",
        [&] {
            auto types = Core().Read([this](const XServerModel&) {
                return LXCollect<XServerAttributeType, ILXAttributeType>(SharedCore(), SharedElement()->types,
                                                                         LXTakesAll);
            });
            return LXHandOut(SharedCore(), std::move(types), ppEnum);
        },
        ppEnum);
}

HRESULT XServerRelation::AddPCInfo(ILXPCInfo** ppPCInfo) {
    return Call(
        "AddPCInfo",
        [&] {
            auto added = Core().Change([this](XServerModel&) { return SharedElement()->infos.emplace_back().Share(); });
            *ppPCInfo = LXMake<XServerPCInfo>(SharedCore(), std::move(added)).Detach();
            return S_OK;
        },
        ppPCInfo);
}

HRESULT XServerRelation::RemovePCInfo(ILXPCInfo* pPCInfo, LONG* plResult) {
    return Call(
        "RemovePCInfo",
        [&] {
            const void* const element = LXElementOf(pPCInfo);
            const bool removed =
                Core().Change([&](XServerModel&) { return LXRemove(SharedElement()->infos, element); });
            *plResult = removed ? 1 : 0;
            return removed ? S_OK : E_INVALIDARG;
        },
        plResult);
}

HRESULT XServerRelation::GetPCInfoEnum(ILXPCInfoEnum** ppEnum) {
    return Call(
        "GetPCInfoEnum",
        [&] {
            auto infos = Core().Read([this](const XServerModel&) {
                return LXCollect<XServerPCInfo, ILXPCInfo>(SharedCore(), SharedElement()->infos, LXTakesAll);
            });
            return LXHandOut(SharedCore(), std::move(infos), ppEnum);
        },
        ppEnum);
}

HRESULT XServerRelation::GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) {
    return Call(
        "GetPCInfo",
        [&] {
            const XLXTextView wanted = LXBstrView(bstrBrowserId);
            const auto found = Core().Read([&](const XServerModel&) {
                return LXCollect<XServerPCInfo, ILXPCInfo>(
                    SharedCore(), SharedElement()->infos, [&](const XModelPCInfo& info) {
                        return lx::EqualWithoutCase(info.Text(XProperty::PCInfoBrowser), wanted);
                    });
            });
            if (found.empty()) { return S_FALSE; }
            found.back().CopyTo(ppPCInfo); // if two have the same browser, the later one takes precedence
            return S_OK;
        },
        ppPCInfo);
}
