// SPDX-License-Identifier: MIT
#include "XServerData.h"

#include "XServerType.h"

namespace {
void AppendObjects(const XServerModel& model, const std::vector<XLXText>& ids, XServerDataObject::Elements& elements) {
    for (const XLXText& id : ids) {
        if (const auto found = model.objects.find(id); found != model.objects.end()) {
            elements.push_back(found->second.Share());
        }
    }
}
} // namespace

XLXComPtr<XServerDataObject> XServerDataObject::For(const XServerCorePtr& core,
                                                    std::shared_ptr<XModelDataObject> object) {
    const void* const key = object.get();
    return core->ObjectFor<XServerDataObject>(key, [&] { return LXMake<XServerDataObject>(core, std::move(object)); });
}

std::vector<XLXComPtr<ILX_BaseDataObject>> XServerDataObject::ForAll(const XServerCorePtr& core,
                                                                     const Elements& elements) {
    std::vector<XLXComPtr<ILX_BaseDataObject>> objects;
    for (const auto& element : elements) {
        objects.push_back(For(core, element));
    }
    return objects;
}

XLXComPtr<XServerDataObject> XServerDataObject::Find(const XServerCorePtr& core, XLXTextView id) {
    auto object = core->Read([id](const XServerModel& model) -> std::shared_ptr<XModelDataObject> {
        const auto found = model.objects.find(XLXText(id));
        return found != model.objects.end() ? found->second.Share() : nullptr;
    });
    return object != nullptr ? For(core, std::move(object)) : nullptr;
}

void* XServerDataObject::Face(REFIID iid) noexcept {
    const bool refused =
        iid == LXIid<ILXRelation>() && !Core().Read([this](const XServerModel&) { return m_object->ends.has_value(); });
    return refused ? nullptr : XDataObjectRefusals::Face(iid);
}

HRESULT XServerDataObject::GiveText(std::string_view method, XLXText XModelDataObject::*text, BSTR* out) {
    return Call(
        method,
        [&] {
            *out = XLXComBSTR(Core().Read([&](const XServerModel&) { return (*m_object).*text; })).Detach();
            return S_OK;
        },
        out);
}

HRESULT XServerDataObject::GetTableName(BSTR* pbstrTable) {
    return GiveText("GetTableName", &XModelDataObject::table, pbstrTable);
}

HRESULT XServerDataObject::GetTypeName(BSTR* pbstrTypename) {
    return GiveText("GetTypeName", &XModelDataObject::typeName, pbstrTypename);
}

HRESULT XServerDataObject::GetId(BSTR* pbstrId) { return GiveText("GetId", &XModelDataObject::id, pbstrId); }

/// The attributes "relationobject1" and "relationobject2" of a relationship object.
std::optional<XLXComVariant> XServerDataObject::EndAttribute(XLXTextView name) const {
    const bool first = name == OLESTR("relationobject1");
    if (!first && name != OLESTR("relationobject2")) { return {}; }
    const auto ends = Core().Read([this](const XServerModel&) { return m_object->ends; });
    if (!ends) { return {}; }
    const auto object = Find(SharedCore(), first ? ends->first : ends->second);
    return XLXComVariant::FromUnknown(static_cast<ILX_BaseDataObject*>(object.Get()));
}

HRESULT XServerDataObject::GetAttribute(BSTR bstrName, VARIANT* pvarValue) {
    return Call(
        "GetAttribute",
        [&] {
            const XLXTextView name = LXBstrView(bstrName);
            if (auto end = EndAttribute(name)) {
                end->DetachTo(pvarValue);
                return S_OK;
            }
            const auto value = Core().Read([&](const XServerModel&) -> std::optional<XModelValue> {
                const auto found = m_object->attributes.find(XLXText(name));
                if (found != m_object->attributes.end()) { return found->second; }
                const bool isType = name == OLESTR("typename") && !m_object->typeName.empty();
                return isType ? std::optional<XModelValue>(m_object->typeName) : std::nullopt;
            });
            if (!value) { return E_INVALIDARG; }
            value->ToVariant().DetachTo(pvarValue);
            return S_OK;
        },
        pvarValue);
}

HRESULT XServerDataObject::SetAttribute(BSTR bstrName, VARIANT varValue) {
    return Call("SetAttribute", [&] {
        Core().Change([&](XServerModel&) {
            m_object->attributes[XLXText(LXBstrView(bstrName))] = XModelValue::FromVariant(varValue);
        });
        return S_OK;
    });
}

HRESULT XServerDataObject::GetChildren(BSTR bstrType, IEnumBaseDataObject** ppChildren) {
    return Call(
        "GetChildren",
        [&] {
            const auto children = Core().Read([&](const XServerModel& model) {
                Elements elements;
                const auto list = m_object->children.find(XLXText(LXBstrView(bstrType)));
                if (list != m_object->children.end()) { AppendObjects(model, list->second, elements); }
                return elements;
            });
            return LXHandOut(SharedCore(), ForAll(SharedCore(), children), ppChildren);
        },
        ppChildren);
}

HRESULT XServerDataObject::GetAllChildren(IEnumBaseDataObject** ppChildren) {
    return Call(
        "GetAllChildren",
        [&] {
            const auto children = Core().Read([&](const XServerModel& model) {
                Elements elements;
                for (const auto& [list, ids] : m_object->children) {
                    AppendObjects(model, ids, elements);
                }
                return elements;
            });
            return LXHandOut(SharedCore(), ForAll(SharedCore(), children), ppChildren);
        },
        ppChildren);
}

HRESULT XServerDataObject::GetListCount(BSTR bstrList, LONG* plCount) {
    return Call(
        "GetListCount",
        [&] {
            *plCount = Core().Read([&](const XServerModel&) {
                const auto list = m_object->children.find(XLXText(LXBstrView(bstrList)));
                return list != m_object->children.end() ? static_cast<LONG>(list->second.size()) : 0;
            });
            return S_OK;
        },
        plCount);
}

HRESULT XServerDataObject::GetType(ILXType** ppType) {
    return Call(
        "GetType",
        [&] {
            auto type = Core().Read([this](const XServerModel& model) -> std::shared_ptr<XModelType> {
                const auto* const found = model.FindType(m_object->typeName);
                return found != nullptr ? found->Share() : nullptr;
            });
            if (type == nullptr) { return S_FALSE; }
            *ppType = LXMake<XServerType>(SharedCore(), std::move(type)).Detach();
            return S_OK;
        },
        ppType);
}

HRESULT XServerDataObject::GetClientId(LONG* plClientId) {
    return Call(
        "GetClientId", [] { return S_OK; }, plClientId);
}

bool XServerDataObject::Derives(XLXTextView typeName) const {
    return Core().Read([&](const XServerModel& model) {
        return m_object->typeName == typeName || model.Derives(m_object->typeName, typeName);
    });
}

HRESULT XServerDataObject::IsDerivedFromType(BSTR bstrTypename) {
    return Call("IsDerivedFromType", [&] { return Derives(LXBstrView(bstrTypename)) ? S_OK : S_FALSE; });
}

HRESULT XServerDataObject::IsDerivedFromType2(BSTR bstrTypename, LONG* pbDerived) {
    return Call(
        "IsDerivedFromType2",
        [&] {
            *pbDerived = Derives(LXBstrView(bstrTypename)) ? 1 : 0;
            return S_OK;
        },
        pbDerived);
}

HRESULT XServerDataObject::GetRelatedObject(ILX_BaseDataObject* pObject, ILX_BaseDataObject** ppOther) {
    return Call<ILXRelation>(
        "GetRelatedObject",
        [&]() -> HRESULT {
            const auto ends = Core().Read([this](const XServerModel&) { return m_object->ends; });
            if (!ends) { return E_FAIL; }
            auto first = Find(SharedCore(), ends->first);
            auto second = Find(SharedCore(), ends->second);
            const bool fromFirst = first && static_cast<ILX_BaseDataObject*>(first.Get()) == pObject;
            const bool fromSecond = second && static_cast<ILX_BaseDataObject*>(second.Get()) == pObject;
            if (!fromFirst && !fromSecond) { return S_FALSE; }
            *ppOther = fromFirst ? second.Detach() : first.Detach();
            return *ppOther != nullptr ? S_OK : S_FALSE;
        },
        ppOther);
}
