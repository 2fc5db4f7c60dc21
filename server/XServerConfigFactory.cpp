// SPDX-License-Identifier: MIT
#include "XServerConfigFactory.h"

#include "XServerType.h"

namespace {
/// An unused name: the prefix and a number.
template <class F> XLXText FreeName(const char* prefix, F&& isTaken) {
    for (int number = 1;; ++number) {
        if (XLXText name = LXFromUtf8(prefix + std::to_string(number)); !isTaken(name)) { return name; }
    }
}
} // namespace

XServerConfigFactory::~XServerConfigFactory() { Core().Forget(&Core().factoryKey, this); }

void* XServerConfigFactory::Face(REFIID iid) noexcept {
    const bool isCallback = iid == LXIid<ILXCallbackUpdate>() || iid == LXIid<ILXCallback>();
    if (isCallback) { return Core().acceptsForwarded ? static_cast<ILXCallbackUpdate*>(this) : nullptr; }
    return iid == LXIid<ILXConfigFactoryEx>() && Core().refusesBulkReads ? nullptr : XServerObject::Face(iid);
}

HRESULT XServerConfigFactory::AddType(ILXType** ppType) {
    return Call(
        "AddType",
        [&] {
            auto type = Core().Change([](XServerModel& model) {
                const XLXText name = FreeName("NewType", [&](const XLXText& n) { return model.types.contains(n); });
                model.AddType(name);
                return model.FindType(name)->Share();
            });
            *ppType = LXMake<XServerType>(SharedCore(), std::move(type)).Detach();
            return S_OK;
        },
        ppType);
}

HRESULT XServerConfigFactory::RemoveType(ILXType* pType, LONG* plResult) {
    return Call(
        "RemoveType",
        [&] {
            const void* const element = LXElementOf(pType);
            *plResult = Core().Change([element](XServerModel& model) {
                return std::erase_if(model.types, [element](const auto& e) { return &*e.second == element; }) != 0;
            });
            return *plResult != 0 ? S_OK : E_INVALIDARG;
        },
        plResult);
}

HRESULT XServerConfigFactory::ListTypes(std::string_view method, bool searchableOnly, ILXTypeEnum** out) {
    return Call(
        method,
        [&] {
            auto types = Core().Read([&](const XServerModel& model) {
                std::vector<XLXComPtr<ILXType>> listed;
                for (const auto& [name, type] : model.types) {
                    if (type->listed && (!searchableOnly || type->Value(XProperty::Searchable).AsBool())) {
                        listed.push_back(LXMake<XServerType>(SharedCore(), type.Share()));
                    }
                }
                return listed;
            });
            return LXHandOut(SharedCore(), std::move(types), out);
        },
        out);
}

HRESULT XServerConfigFactory::GetTypeEnum(BSTR, ILXTypeEnum** ppEnum) {
    return ListTypes("GetTypeEnum", false, ppEnum);
}

HRESULT XServerConfigFactory::GetSearchableTypeEnum(ILXTypeEnum** ppEnum) {
    return ListTypes("GetSearchableTypeEnum", true, ppEnum);
}

HRESULT XServerConfigFactory::GetType(BSTR bstrTypename, BSTR, ILXType** ppType) {
    return Call(
        "GetType",
        [&] {
            auto type = Core().Read([&](const XServerModel& model) -> std::shared_ptr<XModelType> {
                const auto* const found = model.FindType(LXBstrView(bstrTypename));
                return found != nullptr ? found->Share() : nullptr;
            });
            if (type == nullptr) { return S_FALSE; }
            *ppType = LXMake<XServerType>(SharedCore(), std::move(type)).Detach();
            return S_OK;
        },
        ppType);
}

HRESULT XServerConfigFactory::AddParentChild(ILXParentChild** ppParentChild) {
    return Call(
        "AddParentChild",
        [&] {
            auto relation = Core().Change([](XServerModel& model) { return model.relations.emplace_back().Share(); });
            *ppParentChild = LXMake<XServerRelation>(SharedCore(), std::move(relation)).Detach();
            return S_OK;
        },
        ppParentChild);
}

HRESULT XServerConfigFactory::RemoveParentChild(ILXParentChild* pParentChild, LONG* plResult) {
    return Call(
        "RemoveParentChild",
        [&] {
            const void* const element = LXElementOf(pParentChild);
            *plResult = Core().Change([&](XServerModel& model) { return LXRemove(model.relations, element); });
            return *plResult != 0 ? S_OK : E_INVALIDARG;
        },
        plResult);
}

HRESULT XServerConfigFactory::GetParentChildEnum(BSTR bstrTypename, BSTR, ILXParentChildEnum** ppEnum) {
    return Call(
        "GetParentChildEnum",
        [&] {
            const XLXTextView parent = LXBstrView(bstrTypename);
            auto relations = Core().Read([&](const XServerModel& model) {
                return LXCollect<XServerRelation, ILXParentChild>(
                    SharedCore(), model.relations, [&](const XModelRelation& relation) {
                        return parent.empty() || relation.Text(XProperty::ParentName) == parent;
                    });
            });
            return LXHandOut(SharedCore(), std::move(relations), ppEnum);
        },
        ppEnum);
}

HRESULT XServerConfigFactory::AddBrowserId(BSTR bstrBrowserId, ILXBrowserId** ppBrowserId) {
    return Call(
        "AddBrowserId",
        [&] {
            auto browserId = Core().Change([&](XServerModel& model) {
                model.AddBrowserId(LXBstrView(bstrBrowserId));
                return model.browserIds.back().Share();
            });
            *ppBrowserId = LXMake<XServerBrowserId>(SharedCore(), std::move(browserId)).Detach();
            return S_OK;
        },
        ppBrowserId);
}

HRESULT XServerConfigFactory::RemoveBrowserId(ILXBrowserId* pBrowserId, LONG* plResult) {
    return Call(
        "RemoveBrowserId",
        [&] {
            const void* const element = LXElementOf(pBrowserId);
            *plResult = Core().Change([&](XServerModel& model) { return LXRemove(model.browserIds, element); });
            return *plResult != 0 ? S_OK : E_INVALIDARG;
        },
        plResult);
}

HRESULT XServerConfigFactory::GetBrowserIdEnum(ILXBrowserIdEnum** ppEnum) {
    return Call(
        "GetBrowserIdEnum",
        [&] {
            auto browserIds = Core().Read([this](const XServerModel& model) {
                return LXCollect<XServerBrowserId, ILXBrowserId>(SharedCore(), model.browserIds, LXTakesAll);
            });
            return LXHandOut(SharedCore(), std::move(browserIds), ppEnum);
        },
        ppEnum);
}

HRESULT XServerConfigFactory::GetVersion(BSTR* pbstrVersion) {
    return Call(
        "GetVersion",
        [&] {
            *pbstrVersion = XLXComBSTR(Core().Read([](const XServerModel& model) { return model.version; })).Detach();
            return S_OK;
        },
        pbstrVersion);
}

HRESULT XServerConfigFactory::SetVersion(BSTR bstrVersion) {
    return Call("SetVersion", [&] {
        Core().Change([&](XServerModel& model) { model.version = LXBstrView(bstrVersion); });
        return S_OK;
    });
}

HRESULT XServerConfigFactory::CreateGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec** ppSpec) {
    return Call(
        "CreateGlobalAttributeFormatSpec",
        [&] {
            auto spec = Core().Change([](XServerModel& model) {
                model.AddGlobalSpec(
                    FreeName("NewSpec", [&](const XLXText& n) { return model.FindGlobalSpec(n) != nullptr; }));
                return model.specs.back().Share();
            });
            *ppSpec = LXMake<XServerGlobalSpec>(SharedCore(), std::move(spec)).Detach();
            return S_OK;
        },
        ppSpec);
}

HRESULT XServerConfigFactory::GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** ppEnum) {
    return Call(
        "GetAllGlobalAttributeFormatSpecs",
        [&] {
            auto specs = Core().Read([this](const XServerModel& model) {
                return LXCollect<XServerGlobalSpec, ILXGlobalAttributeFormatSpec>(SharedCore(), model.specs,
                                                                                  LXTakesAll);
            });
            return LXHandOut(SharedCore(), std::move(specs), ppEnum);
        },
        ppEnum);
}

HRESULT
XServerConfigFactory::RemoveGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec* piGlobalAttributeFormatSpec) {
    return Call("RemoveGlobalAttributeFormatSpec", [&] {
        const void* const element = LXElementOf(piGlobalAttributeFormatSpec);
        const bool removed = Core().Change([&](XServerModel& model) { return LXRemove(model.specs, element); });
        return removed ? S_OK : E_INVALIDARG;
    });
}

HRESULT XServerConfigFactory::RemoveGlobalAttributeFormatSpecByID(BSTR bstrAttributeProperyID) {
    return Call("RemoveGlobalAttributeFormatSpecByID", [&] {
        const bool removed = Core().Change([&](XServerModel& model) {
            const auto* const found = model.FindGlobalSpec(LXBstrView(bstrAttributeProperyID));
            return found != nullptr && LXRemove(model.specs, &**found);
        });
        return removed ? S_OK : E_INVALIDARG;
    });
}

HRESULT XServerConfigFactory::NotifyServerTermination() {
    return Call("NotifyServerTermination", [&] {
        ++Core().terminations;
        return S_OK;
    });
}

HRESULT XServerConfigFactory::CheckCallbackValid() {
    return Call<ILXCallbackUpdate>("CheckCallbackValid", [] { return S_OK; });
}

HRESULT XServerConfigFactory::ServerIsTerminating() {
    return Call<ILXCallbackUpdate>("ServerIsTerminating", [] { return S_OK; });
}

HRESULT XServerConfigFactory::SetCallbackId(LONG) {
    return Call<ILXCallbackUpdate>("SetCallbackId", [] { return S_OK; });
}

HRESULT XServerConfigFactory::GetClientInfo(tagLXClientInfo*) {
    return Call<ILXCallbackUpdate>("GetClientInfo", [] { return E_NOTIMPL; });
}

HRESULT XServerConfigFactory::DataObjectChanged(BSTR bstrDataID, BSTR bstrDataTyp, ULONG ulNotificationType,
                                                ULONG ulNotificationId, ULONG, tagLXUpdateInfo*) {
    return Call<ILXCallbackUpdate>("DataObjectChanged", [&] {
        Core().Notifier().Forwarded(
            {XLXText(LXBstrView(bstrDataID)), XLXText(LXBstrView(bstrDataTyp)), ulNotificationType, ulNotificationId});
        return S_OK;
    });
}
