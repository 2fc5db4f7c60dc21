// SPDX-License-Identifier: MIT
//
// Queries of a type: look-ups and enumerations of its components.
#include "XLXEnumWithDelete.h"
#include "lxtypecache.h"

using namespace XLXTypeCacheComp;

namespace {
constexpr int MemberGroupPageNumber = 5;
constexpr int MemberGroupParentNumber = 15;
constexpr int MemberEditorBrowserId = 0;
constexpr int MemberEditorDefault = 1;
constexpr int MemberEditorDefaultNew = 2;
constexpr ULONG OwnAttributeBatch = 100;

/// A bit of a mask, next to the displays (LXDisplay): attributes of all groups, whatever the group number.
constexpr LONG AllGroupsMask = 64;

bool IsTaken(const XDisplayFacts& facts, LONG mask, LONG group) {
    const bool isShown = mask == 0 || facts.IsShownIn(mask);
    return isShown && ((mask & AllGroupsMask) != 0 || facts.GroupNumber() == group);
}

/// The names of the attributes that the server's type lists as its own. Raises failures.
XNameSet OwnAttributeNames(ILXType& server, const LXErrorLocation& at) {
    constexpr const OLECHAR* FailureText = OLESTR("the server failed to list the type's own attributes");
    XNameSet names;
    XLXComPtr<ILXAttributeEnum> listed;
    HRESULT result = LXAsk("ILXType::GetAttributeEnum", listed, LXNoResult::Nothing, {}, at,
                           [&](ILXAttributeEnum** out) { return server.GetAttributeEnum(out); });
    XLXError::RaiseIfFailed(result, FailureText, at);
    if (!listed) { return names; }
    result = LXForEachOf<OwnAttributeBatch, ILXAttribute>(
        *listed, "ILXAttributeEnum::RemNext", at, [&](XLXComPtr<ILXAttribute>&& attribute) {
            XLXComVariant name;
            const HRESULT read = LXAskProperty(*attribute, Attributes.keyMember, name);
            XLXError::RaiseIfFailed(read, FailureText, at);
            if (read == S_OK) { names.emplace(name.AsText().value_or(XLXText())); }
        });
    XLXError::RaiseIfFailed(result, FailureText, at);
    return names;
}

/// Runs a method that has an out pointer.
/// @param answer  HRESULT answer(error location); an exception becomes the method's failure
HRESULT AnswerWith(const char* method, const OLECHAR* outName, auto** out, auto&& answer) {
    const LXErrorLocation at = XCachedFacts::Type.At(method);
    return LXAnswer(at, outName, out, [&] { return answer(at); });
}

/// Hands out an enumerator of the components for which `takes` returns true.
/// @param takes  bool takes(key, cached object); called with no lock held, because it may ask the server
template <class Map> HRESULT HandOutWhere(const std::shared_ptr<const Map>& components, auto** out, auto&& takes) {
    std::vector<XLXComPtr<typename Map::mapped_type::Interface>> items;
    items.reserve(components->size());
    for (const auto& [key, component] : *components) {
        if (takes(key, *component.object)) { items.emplace_back(component.object); }
    }
    return LXHandOutEnumerator(std::move(items), out);
}

HRESULT LookUp(auto& map, const char* method, const auto& key, auto** out) {
    return AnswerWith(method, OLESTR("out pointer"), out, [&](const LXErrorLocation&) {
        map.EnsureComplete();
        return LXHandOut(map.Find(key), out);
    });
}

HRESULT Enumerate(auto& map, const char* method, auto** out, auto&& takes) {
    return AnswerWith(method, OLESTR("ppEnum"), out,
                      [&](const LXErrorLocation&) { return HandOutWhere(map.Complete(), out, takes); });
}

constexpr auto All = [](const auto&...) { return true; };

HRESULT GroupsWhere(auto& map, const char* method, int member, LONG wanted, ILXGroupEnum** ppEnum) {
    return Enumerate(map, method, ppEnum, [&](LONG, XLXGroupCache& group) {
        XLXComVariant value;
        XLXError::RaiseIfFailed(group.ReadProperty(member, value), OLESTR("a number of the group cannot be read"),
                                XCachedFacts::Type.At(method));
        return value.AsLong() == wanted;
    });
}

HRESULT DisplayedAttributes(auto& map, const char* method, LONG mask, LONG group, ILXAttributeEnum** ppEnum) {
    if (mask == AllGroupsMask) { return Enumerate(map, method, ppEnum, All); } // whatever their values are
    return Enumerate(map, method, ppEnum, [=](const XCFGStringKey&, XLXAttributeCache& attribute) {
        const auto known = attribute.FreshDisplayFacts();
        return IsTaken(known ? *known : attribute.DisplayFacts(), mask, group);
    });
}

/// Hands out the first editor of that browser whose flag is set; S_FALSE if there is none.
HRESULT FlaggedEditor(auto& map, const char* method, int flagMember, BSTR bstrBrowserId, ILXConfObjEditor** ppEditor) {
    return AnswerWith(method, OLESTR("ppEditor"), ppEditor, [&](const LXErrorLocation&) {
        const XLXText wanted = LXLowerCase(LXBstrView(bstrBrowserId));
        const auto editors = map.Complete();
        for (const auto& [key, editor] : *editors) {
            const auto flag = editor.object->TryRead(flagMember);
            const bool isSet = flag && flag->AsBool().value_or(false);
            const auto browser = isSet ? editor.object->TryRead(MemberEditorBrowserId) : std::nullopt;
            const auto text = browser ? browser->AsText() : std::nullopt;
            if (text && LXLowerCase(*text) == wanted) {
                *ppEditor = XLXComPtr<ILXConfObjEditor>(editor.object).Detach();
                return S_OK;
            }
        }
        return S_FALSE;
    });
}
} // namespace

HRESULT XLXTypeCache::GetServerType(ILXType** ppType) {
    return AnswerWith("GetServerType", OLESTR("ppType"), ppType, [&](const LXErrorLocation&) {
        *ppType = Server().Detach();
        return S_OK;
    });
}

HRESULT XLXTypeCache::GetPageEnum(ILXPageEnum** ppEnum) {
    return Enumerate(MapOf<Pages>(), "GetPageEnum", ppEnum, All);
}

HRESULT XLXTypeCache::GetPage(int iPageNumber, ILXPage** ppPage) {
    return LookUp(MapOf<Pages>(), "GetPage", iPageNumber, ppPage);
}

HRESULT XLXTypeCache::GetGroupEnum(ILXGroupEnum** ppEnum) {
    return Enumerate(MapOf<Groups>(), "GetGroupEnum", ppEnum, All);
}

HRESULT XLXTypeCache::GetGroup(int iGroupNumber, ILXGroup** ppGroup) {
    return LookUp(MapOf<Groups>(), "GetGroup", iGroupNumber, ppGroup);
}

HRESULT XLXTypeCache::GetToplevelGroupEnum(ILXGroupEnum** ppEnum) {
    return AnswerWith("GetToplevelGroupEnum", OLESTR("ppEnum"), ppEnum, [&](const LXErrorLocation& at) {
        return LXPassOn(
            at, "ILXType::GetToplevelGroupEnum", LXNoResult::PointerError, [&] { return Server(); },
            &ILXType::GetToplevelGroupEnum, ppEnum);
    });
}

HRESULT XLXTypeCache::GetPageToplevelGroupEnum(int iPageNumber, ILXGroupEnum** ppEnum) {
    return AnswerWith("GetPageToplevelGroupEnum", OLESTR("ppEnum"), ppEnum, [&](const LXErrorLocation& at) {
        return LXPassOn(
            at, "ILXType::GetPageToplevelGroupEnum", LXNoResult::PointerError, [&] { return Server(); },
            &ILXType::GetPageToplevelGroupEnum, ppEnum, iPageNumber);
    });
}

HRESULT XLXTypeCache::GetPageGroupEnum(int iPageNumber, ILXGroupEnum** ppEnum) {
    return GroupsWhere(MapOf<Groups>(), "GetPageGroupEnum", MemberGroupPageNumber, iPageNumber, ppEnum);
}

HRESULT XLXTypeCache::GetChildGroupEnum(LONG iGroupNumber, ILXGroupEnum** ppEnum) {
    return GroupsWhere(MapOf<Groups>(), "GetChildGroupEnum", MemberGroupParentNumber, iGroupNumber, ppEnum);
}

HRESULT XLXTypeCache::GetAttribute(BSTR bstrAttributeName, ILXAttribute** ppAttribute) {
    return LookUp(MapOf<Attributes>(), "GetAttribute", LXBstrView(bstrAttributeName), ppAttribute);
}

HRESULT XLXTypeCache::GetDisplayAttributeEnum(LONG lMask, ILXAttributeEnum** ppEnum) {
    return DisplayedAttributes(MapOf<Attributes>(), "GetDisplayAttributeEnum", lMask | AllGroupsMask, 0, ppEnum);
}

HRESULT XLXTypeCache::GetDisplayGroupAttributeEnum(LONG lMask, int iGroupNumber, ILXAttributeEnum** ppEnum) {
    return DisplayedAttributes(MapOf<Attributes>(), "GetDisplayGroupAttributeEnum", lMask, iGroupNumber, ppEnum);
}

HRESULT XLXTypeCache::GetAttributeEnum(ILXAttributeEnum** ppEnum) {
    return Enumerate(MapOf<Attributes>(), "GetAttributeEnum", ppEnum, All);
}

HRESULT XLXTypeCache::GetGroupAttributeEnum(int iGroupNumber, ILXAttributeEnum** ppEnum) {
    return DisplayedAttributes(MapOf<Attributes>(), "GetGroupAttributeEnum", 0, iGroupNumber, ppEnum);
}

// ILXTypeInheritance. Without the inherited ones: the attributes that the server's type lists as its own.
HRESULT XLXTypeCache::GetAttributeEnum(LONG bWithInherited, ILXAttributeEnum** ppEnum) {
    if (bWithInherited != 0) { return GetAttributeEnum(ppEnum); }
    return AnswerWith("GetAttributeEnum", OLESTR("ppEnum"), ppEnum, [&](const LXErrorLocation& at) {
        const auto components = MapOf<Attributes>().Complete();
        const XNameSet own = OwnAttributeNames(*Server(), at);
        return HandOutWhere(components, ppEnum, [&](const XCFGStringKey& name, auto&) { return own.contains(name); });
    });
}

HRESULT XLXTypeCache::GetConfObjEditorEnum(ILXConfObjEditorEnum** ppEnum) {
    return Enumerate(MapOf<Editors>(), "GetConfObjEditorEnum", ppEnum, All);
}

// Compares the ProgId alone: callers rely on finding an editor whatever browser and menu text they pass.
HRESULT XLXTypeCache::GetConfObjEditor(BSTR bstrProgId, BSTR, BSTR, ILXConfObjEditor** ppEditor) {
    return LookUp(MapOf<Editors>(), "GetConfObjEditor", LXBstrView(bstrProgId), ppEditor);
}

HRESULT XLXTypeCache::GetDefaultEditor(BSTR bstrBrowserId, ILXConfObjEditor** ppEditor) {
    return FlaggedEditor(MapOf<Editors>(), "GetDefaultEditor", MemberEditorDefault, bstrBrowserId, ppEditor);
}

HRESULT XLXTypeCache::GetDefaultNewEditor(BSTR bstrBrowserId, ILXConfObjEditor** ppEditor) {
    return FlaggedEditor(MapOf<Editors>(), "GetDefaultNewEditor", MemberEditorDefaultNew, bstrBrowserId, ppEditor);
}
