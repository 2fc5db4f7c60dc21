// SPDX-License-Identifier: MIT
//
// What the relation manager answers about single relations.
#include "lxpcpartcachemng.h"
#include "lxpcpartchecks.h"

namespace
{
/// The child list that a caller's name means.
XLXTextView ListName(BSTR childList)
{
    const XLXTextView name = LXBstrView(childList);
    return name == OLESTR("@@nodes") ? XLXTextView(OLESTR("nodes")) : name;
}

/// An attribute of a data object; nothing when it has none.
XLXComVariant AttributeOf(ILX_BaseDataObject& object, const OLECHAR* name, HRESULT& result)
{
    XLXComVariant value;
    const XLXComBSTR attribute(name);
    result = LXAskValue("ILX_BaseDataObject::GetAttribute", value,
                        [&](VARIANT* out) { return object.GetAttribute(attribute.Get(), out); });
    return value;
}

/// An attribute that must be a text; raises the text that says what is missing.
XLXComBSTR TextAttribute(ILX_BaseDataObject& object, const OLECHAR* name, const OLECHAR* failureText,
                         const LXErrorLocation& at)
{
    HRESULT result = S_OK;
    const XLXComVariant value = AttributeOf(object, name, result);
    const auto text = SUCCEEDED(result) && !value.Empty() ? value.AsText() : std::nullopt;
    if (!text)
    {
        XLXError::Raise(E_INVALIDARG, failureText, at);
    }
    return XLXComBSTR(*text);
}

bool IsSameObject(IUnknown* left, IUnknown* right) noexcept
{
    return XLXComPtr<IUnknown>(left).As<IUnknown>() == XLXComPtr<IUnknown>(right).As<IUnknown>();
}

XLXComPtr<ILX_BaseDataObject> OtherEnd(ILX_BaseDataObject* relationship, ILX_BaseDataObject* parent)
{
    const auto relation = XLXComPtr<ILX_BaseDataObject>(relationship).As<ILXRelation>();
    if (!relation)
    {
        XLXError::Raise(E_INVALIDARG, OLESTR("QI at relationship for ILXRelation."),
                        LXPCPartAt("GetSinglePCRelationByDO", 934));
    }
    const LXErrorLocation at = LXPCPartAt("GetSinglePCRelationByDO");
    XLXComPtr<ILX_BaseDataObject> other;
    const HRESULT result = LXAsk("ILXRelation::GetRelatedObject", other, LXNoResult::Nothing, {}, at,
                                 [&](ILX_BaseDataObject** out) { return relation->GetRelatedObject(parent, out); });
    if (result != S_OK)
    {
        XLXError::Raise(E_INVALIDARG, OLESTR("Other related object not found."), at);
    }
    return other;
}
} // namespace

HRESULT XLXPCPartCacheMng::Exists(XLXTextView parentType, XLXTextView childType, bool internal)
{
    bool exists = false;
    VisitRelations(parentType, childType, [&](const auto&, const auto&, const Entry& entry) {
        exists = entry.ppr && (internal || !entry.systemInternal);
        return !exists;
    });
    return exists ? S_OK : S_FALSE;
}

HRESULT XLXPCPartCacheMng::PPRRelationExists(BSTR parentType, BSTR childType, bool internal)
{
    LXCheckNotEmpty(parentType, OLESTR("bstrParent is empty"), LXPCPartAt("PPRRelationExists"));
    return Exists(LXBstrView(parentType), LXBstrView(childType), internal);
}

HRESULT XLXPCPartCacheMng::PPRRelationExistsByDO(ILX_BaseDataObject* parent, ILX_BaseDataObject* child, bool internal)
{
    XLXError::CheckPointer(parent, OLESTR("pObjectParent"), LXPCPartAt("PPRRelationExistsByDO"));
    XLXError::CheckPointer(child, OLESTR("pObjectChild"), LXPCPartAt("PPRRelationExistsByDO"));
    XLXText parentType;
    XLXText childType;
    const HRESULT resolved = ResolveTypeNames(parentType, childType, parent, child);
    return resolved == S_OK ? Exists(parentType, childType, internal) : resolved;
}

HRESULT XLXPCPartCacheMng::GetPCRelation(BSTR parentType, BSTR childList, ILXParentChild** ppPC)
{
    const auto at = [](int line) { return LXPCPartAt("GetPCRelation", line); };
    LXEmptyOut(ppPC);
    XLXError::CheckPointer(parentType, OLESTR("bstrTypenameParent"), at(799));
    XLXError::CheckPointer(childList, OLESTR("bstrChildListName"), at(800));
    XLXError::CheckPointer(ppPC, OLESTR("pLXParentChild"), at(801));
    LXCheckNotEmpty(parentType, OLESTR("bstrParent is empty"), at(804));
    LXCheckNotEmpty(childList, OLESTR("bstrChildlistname is empty"), at(807));
    const XLXTextView wanted = ListName(childList);
    VisitRelations(LXBstrView(parentType), {}, [&](const auto&, const auto& list, const Entry& entry) {
        if (list == wanted)
        {
            XLXComPtr<ILXParentChild>(entry.relation).CopyTo(ppPC);
        }
        return *ppPC == nullptr;
    });
    return *ppPC != nullptr ? S_OK : S_FALSE;
}

HRESULT XLXPCPartCacheMng::GetSinglePCRelation(BSTR parentType, BSTR childType, BSTR childList, ILXParentChild** ppPC)
{
    const auto at = [](int line) { return LXPCPartAt("GetSinglePCRelation", line); };
    LXEmptyOut(ppPC);
    XLXError::CheckPointer(parentType, OLESTR("bstrTypenameParent"), at(671));
    XLXError::CheckPointer(childType, OLESTR("bstrTypenameChild"), at(672));
    XLXError::CheckPointer(childList, OLESTR("bstrChildListName"), at(673));
    XLXError::CheckPointer(ppPC, OLESTR("pLXParentChild"), at(674));
    LXCheckNotEmpty(parentType, OLESTR("bstrParent is empty"), at(677));
    LXCheckNotEmpty(childType, OLESTR("bstrChild is empty"), at(680));
    LXCheckNotEmpty(childList, OLESTR("bstrChildlistname is empty"), at(683));
    const ParentMapPtr relations = Loaded();
    XLXParentChildCache* const relation =
        relations ? Find(*relations, LXBstrView(parentType), LXBstrView(childType), ListName(childList)) : nullptr;
    if (relation == nullptr)
    {
        return S_FALSE;
    }
    XLXComPtr<ILXParentChild>(relation).CopyTo(ppPC);
    return S_OK;
}

HRESULT XLXPCPartCacheMng::GetSinglePCRelationByDO(ILX_BaseDataObject* parent, ILX_BaseDataObject* relationship,
                                                   ILXParentChild** ppPC)
{
    const auto at = [](int line) { return LXPCPartAt("GetSinglePCRelationByDO", line); };
    LXEmptyOut(ppPC);
    if (parent == nullptr || relationship == nullptr)
    {
        XLXError::Raise(E_INVALIDARG, OLESTR("the parent object or the relationship object is missing"), at(905));
    }
    const XLXComBSTR relationName =
        TextAttribute(*relationship, OLESTR("relationname"), OLESTR("This is no relationship object."), at(913));
    const XLXComBSTR parentType = TextAttribute(*parent, OLESTR("typename"), OLESTR("The parent object has no type."),
                                                LXPCPartAt("GetSinglePCRelationByDO"));
    const auto child = OtherEnd(relationship, parent);
    const XLXComBSTR childType = TextAttribute(*child, OLESTR("typename"), OLESTR("The child object has no type."),
                                               LXPCPartAt("GetSinglePCRelationByDO"));
    HRESULT result = S_OK;
    const XLXComVariant firstEnd = AttributeOf(*relationship, OLESTR("relationobject1"), result);
    XLXError::RaiseIfFailed(result, OLESTR("relationobject1"), at(948));
    XLXText childList(relationName.View());
    const bool known = firstEnd.Type() == VT_UNKNOWN && firstEnd.AsUnknown() != nullptr;
    if (known && !IsSameObject(firstEnd.AsUnknown(), parent))
    {
        childList += OLESTR("_reverse"); // the parent stands at the second end
    }
    return GetSinglePCRelation(parentType.Get(), childType.Get(), XLXComBSTR(childList).Get(), ppPC);
}
