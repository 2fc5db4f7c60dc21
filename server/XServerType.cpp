// SPDX-License-Identifier: MIT
#include "XServerType.h"

#include <lxserver/Model.h>

#include "XBulkData.h"

#include <limits>

namespace {
/// The elements of a list in the order of a key, as the enumerations list them.
template <class T, class F> XModelList<T> Sorted(const XModelList<T>& list, F&& key) {
    std::vector<std::pair<decltype(key(*list.front())), const XModelRef<T>*>> keyed;
    for (const XModelRef<T>& element : list) {
        keyed.emplace_back(key(*element), &element);
    }
    std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    XModelList<T> sorted;
    for (const auto& [value, element] : keyed) {
        sorted.push_back(XModelRef<T>::Of(element->Share()));
    }
    return sorted;
}

template <class T> XModelList<T> SortedByNumber(const XModelList<T>& list, int index) {
    return Sorted(list, [index](const T& element) { return element.Number(index); });
}

template <class T> XModelList<T> SortedByText(const XModelList<T>& list, int index) {
    return Sorted(list, [index](const T& element) { return LXToUtf8(element.Text(index)); });
}

/// An unused key for a list: a number greater than all others, or a text with that number.
template <class T> XModelValue NewKey(const XModelList<T>& list, int index) {
    const bool isNumber =
        std::holds_alternative<std::int32_t>(XPropertyTable::Of(T().properties.Kind()).Default(index).Get());
    std::int32_t number = isNumber ? 0 : static_cast<std::int32_t>(list.size());
    for (const XModelRef<T>& element : list) {
        number = std::max(number, element->Number(index));
    }
    const std::int32_t next = number + 1;
    return isNumber ? XModelValue(next) : XModelValue("new" + std::to_string(next));
}
} // namespace

template <class Object, class I, class T, class... Owner>
HRESULT XServerType::GiveOne(const XModelRef<T>* element, I** out, const Owner&... owner) {
    if (element == nullptr) { return S_FALSE; }
    *out = LXMake<Object>(SharedCore(), element->Share(), owner...).Detach();
    return S_OK;
}

template <class Object, class I, class T>
HRESULT XServerType::Add(std::string_view method, XModelList<T> XModelType::*list, int keyIndex, I** out) {
    return Call(
        method,
        [&] {
            Core().Change([&](XServerModel&) {
                auto& elements = (*SharedElement()).*list;
                const XModelValue key = NewKey(elements, keyIndex);
                XModelRef<T>& added = elements.emplace_back();
                added->properties.Set(keyIndex, key);
                if constexpr (std::is_same_v<Object, XServerGroup>) {
                    *out = LXMake<Object>(SharedCore(), added.Share(), SharedElement()).Detach();
                } else {
                    *out = LXMake<Object>(SharedCore(), added.Share()).Detach();
                }
            });
            return S_OK;
        },
        out);
}

template <class T>
HRESULT XServerType::Remove(std::string_view method, XModelList<T> XModelType::*list, IUnknown* object, LONG* result) {
    return Call(
        method,
        [&] {
            const void* const element = LXElementOf(object);
            const bool removed =
                Core().Change([&](XServerModel&) { return LXRemove((*SharedElement()).*list, element); });
            *result = removed ? 1 : 0;
            return removed ? S_OK : E_INVALIDARG;
        },
        result);
}

HRESULT XServerType::AddPage(ILXPage** ppPage) {
    return Add<XServerPage>("AddPage", &XModelType::pages, XProperty::PageNumber, ppPage);
}

HRESULT XServerType::RemovePage(ILXPage* pPage, LONG* plResult) {
    return Remove("RemovePage", &XModelType::pages, pPage, plResult);
}

HRESULT XServerType::GetPageEnum(ILXPageEnum** ppEnum) {
    return Call(
        "GetPageEnum",
        [&] {
            auto pages = Core().Read([this](const XServerModel&) {
                return LXCollect<XServerPage, ILXPage>(
                    SharedCore(), SortedByNumber(SharedElement()->pages, XProperty::PageNumber), LXTakesAll);
            });
            return LXHandOut(SharedCore(), std::move(pages), ppEnum);
        },
        ppEnum);
}

HRESULT XServerType::GetPage(int iPageNumber, ILXPage** ppPage) {
    return Call(
        "GetPage",
        [&] {
            return Core().Read([&](const XServerModel&) {
                return GiveOne<XServerPage>(SharedElement()->FindPage(iPageNumber), ppPage);
            });
        },
        ppPage);
}

HRESULT XServerType::AddGroup(ILXGroup** ppGroup) {
    return Add<XServerGroup>("AddGroup", &XModelType::groups, XProperty::GroupNumber, ppGroup);
}

HRESULT XServerType::RemoveGroup(ILXGroup* pGroup, LONG* plResult) {
    return Remove("RemoveGroup", &XModelType::groups, pGroup, plResult);
}

template <class Test> HRESULT XServerType::ListGroups(std::string_view method, ILXGroupEnum** out, Test&& takes) {
    return Call(
        method,
        [&] {
            auto groups = Core().Read([&](const XServerModel&) {
                return LXCollect<XServerGroup, ILXGroup>(
                    SharedCore(), SortedByNumber(SharedElement()->groups, XProperty::GroupNumber), takes,
                    SharedElement());
            });
            return LXHandOut(SharedCore(), std::move(groups), out);
        },
        out);
}

HRESULT XServerType::GetGroupEnum(ILXGroupEnum** ppEnum) { return ListGroups("GetGroupEnum", ppEnum, LXTakesAll); }

HRESULT XServerType::GetToplevelGroupEnum(ILXGroupEnum** ppEnum) {
    return ListGroups("GetToplevelGroupEnum", ppEnum,
                      [](const XModelGroup& group) { return group.Number(XProperty::ParentGroup) == 0; });
}

HRESULT XServerType::GetPageGroupEnum(int iPageNumber, ILXGroupEnum** ppEnum) {
    return ListGroups("GetPageGroupEnum", ppEnum, [iPageNumber](const XModelGroup& group) {
        return group.Number(XProperty::GroupPage) == iPageNumber;
    });
}

HRESULT XServerType::GetPageToplevelGroupEnum(int iPageNumber, ILXGroupEnum** ppEnum) {
    return ListGroups("GetPageToplevelGroupEnum", ppEnum, [iPageNumber](const XModelGroup& group) {
        return group.Number(XProperty::GroupPage) == iPageNumber && group.Number(XProperty::ParentGroup) == 0;
    });
}

HRESULT XServerType::GetGroup(int iGroupNumber, ILXGroup** ppGroup) {
    return Call(
        "GetGroup",
        [&] {
            return Core().Read([&](const XServerModel&) {
                return GiveOne<XServerGroup>(SharedElement()->FindGroup(iGroupNumber), ppGroup, SharedElement());
            });
        },
        ppGroup);
}

HRESULT XServerType::AddAttribute(ILXAttribute** ppAttribute) {
    return Add<XServerAttribute>("AddAttribute", &XModelType::attributes, XProperty::AttributeName, ppAttribute);
}

HRESULT XServerType::RemoveAttribute(ILXAttribute* pAttribute, LONG* plResult) {
    return Remove("RemoveAttribute", &XModelType::attributes, pAttribute, plResult);
}

HRESULT XServerType::GetAttributeEnum(ILXAttributeEnum** ppEnum) {
    return Call(
        "GetAttributeEnum",
        [&] {
            auto attributes = Core().Read([this](const XServerModel&) {
                return LXCollect<XServerAttribute, ILXAttribute>(
                    SharedCore(), SortedByText(SharedElement()->attributes, XProperty::AttributeName), LXTakesAll);
            });
            return LXHandOut(SharedCore(), std::move(attributes), ppEnum);
        },
        ppEnum);
}

template <class Test>
HRESULT XServerType::ListAttributes(std::string_view method, ILXAttributeEnum** out, Test&& takes) {
    return Call(
        method,
        [&] {
            auto attributes = Core().Read([&](const XServerModel& model) {
                XAttributes taken;
                for (const auto* attribute : model.AllAttributes(SharedElement()->Name())) {
                    if (takes(**attribute)) {
                        taken.push_back(LXMake<XServerAttribute>(SharedCore(), attribute->Share()));
                    }
                }
                return taken;
            });
            return LXHandOut(SharedCore(), std::move(attributes), out);
        },
        out);
}

bool LXShownIn(const XModelAttribute& attribute, LONG mask) {
    const auto is = [&attribute](int index) { return attribute.Value(index).AsBool(); };
    return mask == 0 || (lx::DisplaysOf(is, attribute.Number(XProperty::Origin)) & mask) != 0;
}

HRESULT XServerType::GetDisplayAttributeEnum(LONG lMask, ILXAttributeEnum** ppEnum) {
    return ListAttributes("GetDisplayAttributeEnum", ppEnum,
                          [lMask](const XModelAttribute& attribute) { return LXShownIn(attribute, lMask); });
}

HRESULT XServerType::GetDisplayGroupAttributeEnum(LONG lMask, int iGroupNumber, ILXAttributeEnum** ppEnum) {
    return ListAttributes("GetDisplayGroupAttributeEnum", ppEnum, [=](const XModelAttribute& attribute) {
        return LXShownIn(attribute, lMask) && attribute.Number(XProperty::AttributeGroup) == iGroupNumber;
    });
}

HRESULT XServerType::GetGroupAttributeEnum(int iGroupNumber, ILXAttributeEnum** ppEnum) {
    return ListAttributes("GetGroupAttributeEnum", ppEnum, [iGroupNumber](const XModelAttribute& attribute) {
        return attribute.Number(XProperty::AttributeGroup) == iGroupNumber;
    });
}

HRESULT XServerType::GetAttribute(BSTR bstrAttributeName, ILXAttribute** ppAttribute) {
    return Call(
        "GetAttribute",
        [&] {
            return Core().Read([&](const XServerModel& model) {
                const XModelRef<XModelAttribute>* found = nullptr;
                for (const XModelType* type : model.BaseChain(SharedElement()->Name())) {
                    const auto* const own = type->FindAttribute(LXBstrView(bstrAttributeName));
                    found = own != nullptr ? own : found; // the topmost base wins
                }
                return GiveOne<XServerAttribute>(found, ppAttribute);
            });
        },
        ppAttribute);
}

HRESULT XServerType::AddConfObjEditor(ILXConfObjEditor** ppEditor) {
    return Add<XServerEditor>("AddConfObjEditor", &XModelType::editors, XProperty::ProgId, ppEditor);
}

HRESULT XServerType::RemoveConfObjEditor(ILXConfObjEditor* pEditor, LONG* plResult) {
    return Remove("RemoveConfObjEditor", &XModelType::editors, pEditor, plResult);
}

HRESULT XServerType::GetConfObjEditorEnum(ILXConfObjEditorEnum** ppEnum) {
    return Call(
        "GetConfObjEditorEnum",
        [&] {
            auto editors = Core().Read([this](const XServerModel&) {
                return LXCollect<XServerEditor, ILXConfObjEditor>(
                    SharedCore(), SortedByText(SharedElement()->editors, XProperty::ProgId), LXTakesAll);
            });
            return LXHandOut(SharedCore(), std::move(editors), ppEnum);
        },
        ppEnum);
}

HRESULT XServerType::GetConfObjEditor(BSTR bstrProgId, BSTR, BSTR, ILXConfObjEditor** ppEditor) {
    return Call(
        "GetConfObjEditor",
        [&] {
            return Core().Read([&](const XServerModel&) {
                return GiveOne<XServerEditor>(SharedElement()->FindEditor(LXBstrView(bstrProgId)), ppEditor);
            });
        },
        ppEditor);
}

HRESULT XServerType::FindEditor(std::string_view method, BSTR browserId, int flagIndex, ILXConfObjEditor** out) {
    return Call(
        method,
        [&] {
            return Core().Read([&](const XServerModel&) {
                const auto editors = SortedByText(SharedElement()->editors, XProperty::ProgId);
                const auto found = std::find_if(editors.begin(), editors.end(), [&](const auto& editor) {
                    return editor->Value(flagIndex).AsBool() &&
                           lx::EqualWithoutCase(editor->Text(XProperty::EditorBrowserId), LXBstrView(browserId));
                });
                return GiveOne<XServerEditor>(found != editors.end() ? &*found : nullptr, out);
            });
        },
        out);
}

HRESULT XServerType::GetDefaultEditor(BSTR bstrBrowserId, ILXConfObjEditor** ppEditor) {
    return FindEditor("GetDefaultEditor", bstrBrowserId, XProperty::DefaultEditor, ppEditor);
}

HRESULT XServerType::GetDefaultNewEditor(BSTR bstrBrowserId, ILXConfObjEditor** ppEditor) {
    return FindEditor("GetDefaultNewEditor", bstrBrowserId, XProperty::DefaultNewEditor, ppEditor);
}

HRESULT XServerType::GetTypeComponentData(LONG lCFCDataTransferMode, SAFEARRAY** pDataArray) {
    return Call(
        "GetTypeComponentData",
        [&] {
            *pDataArray = LXComponentArray(SharedCore(), SharedElement(), lCFCDataTransferMode);
            return *pDataArray != nullptr ? S_OK : S_FALSE;
        },
        pDataArray);
}
