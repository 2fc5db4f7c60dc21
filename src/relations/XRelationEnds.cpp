// SPDX-License-Identifier: MIT
#include "XRelationEnds.h"

#include "lxcfctools.h"
#include "lxpcpartcachemng.h"

namespace {
constexpr const OLECHAR* CompBaseType = OLESTR("lumbcompbase");

HRESULT ResolveTypeName(ILX_BaseDataObject* object, XLXText& typeName) {
    if (object == nullptr) { return S_OK; }
    if (!typeName.empty()) {
        LXServerCall("ILX_BaseDataObject::IsDerivedFromType");
        if (object->IsDerivedFromType(XLXComBSTR(CompBaseType).Get()) != S_OK) {
            return S_OK; // keep the name that the caller gave
        }
    }
    XLXComBSTR own;
    const HRESULT result = LXAskTypeName(*object, own);
    if (result == S_OK) { typeName = own.View(); }
    return result;
}

constexpr LXErrorLocation At(int line = LX_CURRENT_LINE) { return LXPCPartAt("GetSinglePCRelationByDO", line); }

/// An attribute as text. Raises E_INVALIDARG with failureText if it cannot be read, is VT_EMPTY or is not convertible.
XLXComBSTR TextAttribute(ILX_BaseDataObject& object, const OLECHAR* name, const OLECHAR* failureText,
                         const LXErrorLocation& at) {
    XLXComVariant value;
    const HRESULT result = LXAskAttribute(object, name, value);
    const auto text = SUCCEEDED(result) && !value.Empty() ? value.AsText() : std::nullopt;
    if (!text) { XLXError::Raise(E_INVALIDARG, failureText, at); }
    return XLXComBSTR(*text);
}

XLXComPtr<ILX_BaseDataObject> OtherEnd(ILX_BaseDataObject* relationship, ILX_BaseDataObject* parent) {
    const auto relation = XLXComPtr<ILX_BaseDataObject>(relationship).As<ILXRelation>();
    if (!relation) { XLXError::Raise(E_INVALIDARG, OLESTR("QI at relationship for ILXRelation."), At(934)); }
    XLXComPtr<ILX_BaseDataObject> other;
    const HRESULT result = LXAsk("ILXRelation::GetRelatedObject", other, LXNoResult::Nothing, {}, At(),
                                 [&](ILX_BaseDataObject** out) { return relation->GetRelatedObject(parent, out); });
    if (result != S_OK) { XLXError::Raise(E_INVALIDARG, OLESTR("Other related object not found."), At()); }
    return other;
}

/// Whether the parent is the second end of the relationship.
bool IsReverse(ILX_BaseDataObject& relationship, ILX_BaseDataObject* parent) {
    XLXComVariant first;
    XLXError::RaiseIfFailed(LXAskAttribute(relationship, OLESTR("relationobject1"), first), OLESTR("relationobject1"),
                            At(948));
    IUnknown* const object = first.Type() == VT_UNKNOWN ? first.AsUnknown() : nullptr;
    return object != nullptr &&
           !(XLXComPtr<IUnknown>(object).As<IUnknown>() == XLXComPtr<IUnknown>(parent).As<IUnknown>());
}
} // namespace

XRelationEnds::XRelationEnds(ILX_BaseDataObject* parent, ILX_BaseDataObject* child, BSTR parentTypeName)
    : parentType(LXBstrView(parentTypeName)) {
    if (parent == nullptr && parentType.empty()) {
        XLXError::Raise(E_INVALIDARG, OLESTR("neither an object nor a type name is given"),
                        LXPCPartAt("CollectPCRelationsByDO"));
    }
    result = ResolveTypeName(parent, parentType);
    if (result == S_OK) { result = ResolveTypeName(child, childType); }
    const bool nothing = parentType.empty() || (child != nullptr && childType.empty());
    result = result == S_OK && nothing ? S_FALSE : result;
}

XRelationshipNames::XRelationshipNames(ILX_BaseDataObject* parent, ILX_BaseDataObject* relationship) {
    if (parent == nullptr || relationship == nullptr) {
        XLXError::Raise(E_INVALIDARG, OLESTR("the parent object or the relationship object is missing"), At(905));
    }
    const XLXComBSTR name =
        TextAttribute(*relationship, OLESTR("relationname"), OLESTR("This is no relationship object."), At(913));
    parentType = TextAttribute(*parent, OLESTR("typename"), OLESTR("The parent object has no type."), At());
    const auto child = OtherEnd(relationship, parent);
    childType = TextAttribute(*child, OLESTR("typename"), OLESTR("The child object has no type."), At());
    childList = XLXComBSTR(XLXText(name.View()) + (IsReverse(*relationship, parent) ? OLESTR("_reverse") : OLESTR("")));
}
