// SPDX-License-Identifier: MIT
//
// What callers ask a type: look-ups and enumerations of its components.
#include "XLXEnumWithDelete.h"
#include "lxtypecache.h"

#include <set>

using namespace XLXTypeCacheComp;

namespace
{
constexpr int MemberGroupPageNumber = 5;
constexpr int MemberGroupParentNumber = 15;
constexpr int MemberEditorBrowserId = 0;
constexpr int MemberEditorDefault = 1;
constexpr int MemberEditorDefaultNew = 2;
constexpr int MemberAttributeName = 0;
constexpr ULONG OwnAttributeBatch = 100;

/// In which displays attributes are wanted; see ILXType::GetDisplayAttributeEnum.
enum DisplayMask : LONG
{
    InEditor = 1,
    InFinder = 2,
    InBrowser = 4,
    Printable = 8,
    VendorDefined = 16,
    InAVSet = 32,
    AllGroupsMask = 64 ///< internal: the group number is not looked at
};

bool IsTaken(const XDisplayFacts& facts, LONG mask, LONG group)
{
    const auto bit = [](bool set, LONG value) { return set ? value : LONG{0}; };
    const LONG answered = bit(facts.inEditor, InEditor) | bit(facts.inFinder, InFinder) |
                          bit(facts.inBrowser, InBrowser) | bit(facts.printable, Printable) |
                          bit(facts.vendorDefined, VendorDefined) | bit(facts.inAVSet, InAVSet);
    const bool shown = mask == 0 || mask == AllGroupsMask || (answered & mask) != 0;
    return shown && ((mask & AllGroupsMask) != 0 || facts.groupNumber == group);
}

/// The names of the attributes that the server's type lists. Raises a failure.
std::set<XCFGStringKey> OwnAttributeNames(ILXType& server, const LXErrorLocation& at)
{
    constexpr const OLECHAR* FailureText = OLESTR("the server failed to list the type's own attributes");
    std::set<XCFGStringKey> names;
    XLXComPtr<ILXAttributeEnum> listed;
    HRESULT result = LXAsk("ILXType::GetAttributeEnum", listed, LXNoResult::Nothing, {}, at,
                           [&](ILXAttributeEnum** out) { return server.GetAttributeEnum(out); });
    XLXError::RaiseIfFailed(result, FailureText, at);
    if (!listed)
    {
        return names;
    }
    result = LXForEachOf<OwnAttributeBatch, ILXAttribute>(
        *listed, "ILXAttributeEnum::RemNext", at, [&](XLXComPtr<ILXAttribute>&& attribute) {
            XLXComVariant name;
            const HRESULT read = LXAskValue("ILXConfigObject::GetProperty", name, [&](VARIANT* out) {
                return attribute->GetProperty(MemberAttributeName, out);
            });
            XLXError::RaiseIfFailed(read, FailureText, at);
            if (read == S_OK)
            {
                names.emplace(name.AsText().value_or(XLXText()));
            }
        });
    XLXError::RaiseIfFailed(result, FailureText, at);
    return names;
}
} // namespace

template <class Interface, class Map, class Key>
HRESULT XLXTypeCache::LookUp(const char* method, XMapInheritedComp<Map>& map, const Key& key, Interface** out)
{
    return XLXError::Guarded(TheFacts.At(method), [&]() -> HRESULT {
        LXCheckOut(out, OLESTR("out pointer"), TheFacts.At(method));
        map.EnsureComplete();
        return map.Read([&](const Map& components) -> HRESULT {
            const auto found = components.find(typename Map::key_type(key));
            if (found == components.end())
            {
                return S_FALSE;
            }
            *out = found->second->Object().Get();
            (*out)->AddRef();
            return S_OK;
        });
    });
}

template <class Interface, class IEnum, class Map>
HRESULT XLXTypeCache::EnumerateAll(const char* method, XMapInheritedComp<Map>& map, IEnum** out)
{
    return XLXError::Guarded(TheFacts.At(method), [&]() -> HRESULT {
        LXCheckOut(out, OLESTR("ppEnum"), TheFacts.At(method));
        map.EnsureComplete();
        std::vector<XLXComPtr<Interface>> items;
        map.Read([&](const Map& components) {
            items.reserve(components.size());
            for (const auto& [key, component] : components)
            {
                items.emplace_back(component->Object().Get());
            }
        });
        return LXHandOutEnumerator(std::move(items), out);
    });
}

HRESULT XLXTypeCache::GetPageEnum(ILXPageEnum** ppEnum)
{
    return EnumerateAll<ILXPage>("GetPageEnum", m_pages, ppEnum);
}

HRESULT XLXTypeCache::GetPage(int iPageNumber, ILXPage** ppPage)
{
    return LookUp("GetPage", m_pages, iPageNumber, ppPage);
}

HRESULT XLXTypeCache::GetGroupEnum(ILXGroupEnum** ppEnum)
{
    return EnumerateAll<ILXGroup>("GetGroupEnum", m_groups, ppEnum);
}

HRESULT XLXTypeCache::GetGroup(int iGroupNumber, ILXGroup** ppGroup)
{
    return LookUp("GetGroup", m_groups, iGroupNumber, ppGroup);
}

HRESULT XLXTypeCache::GetToplevelGroupEnum(ILXGroupEnum** ppEnum)
{
    return XLXError::Guarded(TheFacts.At("GetToplevelGroupEnum"), [&] {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), TheFacts.At("GetToplevelGroupEnum"));
        const auto server = Server();
        return LXPassOn("ILXType::GetToplevelGroupEnum", ppEnum, LXNoResult::PointerError,
                        TheFacts.At("GetToplevelGroupEnum"),
                        [&](ILXGroupEnum** out) { return server->GetToplevelGroupEnum(out); });
    });
}

HRESULT XLXTypeCache::GetPageToplevelGroupEnum(int iPageNumber, ILXGroupEnum** ppEnum)
{
    return XLXError::Guarded(TheFacts.At("GetPageToplevelGroupEnum"), [&] {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), TheFacts.At("GetPageToplevelGroupEnum"));
        const auto server = Server();
        return LXPassOn("ILXType::GetPageToplevelGroupEnum", ppEnum, LXNoResult::PointerError,
                        TheFacts.At("GetPageToplevelGroupEnum"),
                        [&](ILXGroupEnum** out) { return server->GetPageToplevelGroupEnum(iPageNumber, out); });
    });
}

HRESULT XLXTypeCache::GetPageGroupEnum(int iPageNumber, ILXGroupEnum** ppEnum)
{
    return GroupsWhere("GetPageGroupEnum", MemberGroupPageNumber, iPageNumber, ppEnum);
}

HRESULT XLXTypeCache::GetChildGroupEnum(LONG iGroupNumber, ILXGroupEnum** ppEnum)
{
    return GroupsWhere("GetChildGroupEnum", MemberGroupParentNumber, iGroupNumber, ppEnum);
}

// The groups are asked for their numbers with no lock held, since that may ask the server.
HRESULT XLXTypeCache::GroupsWhere(const char* method, int member, LONG wanted, ILXGroupEnum** ppEnum)
{
    return XLXError::Guarded(TheFacts.At(method), [&]() -> HRESULT {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), TheFacts.At(method));
        m_groups.EnsureComplete();
        std::vector<XLXComPtr<ILXGroup>> items;
        for (const auto& [key, component] : m_groups.Snapshot())
        {
            XLXComVariant value;
            XLXError::RaiseIfFailed(component->Object()->ReadProperty(member, value),
                                    OLESTR("a number of the group cannot be read"), TheFacts.At(method));
            if (value.AsLong() == wanted)
            {
                items.emplace_back(component->Object().Get());
            }
        }
        return LXHandOutEnumerator(std::move(items), ppEnum);
    });
}

HRESULT XLXTypeCache::GetAttribute(BSTR bstrAttributeName, ILXAttribute** ppAttribute)
{
    return LookUp("GetAttribute", m_attributes, LXBstrView(bstrAttributeName), ppAttribute);
}

HRESULT XLXTypeCache::GetDisplayAttributeEnum(LONG lMask, ILXAttributeEnum** ppEnum)
{
    return InternalGetDisplayGroupAttributeEnum("GetDisplayAttributeEnum", lMask | AllGroupsMask, 0, ppEnum);
}

HRESULT XLXTypeCache::GetDisplayGroupAttributeEnum(LONG lMask, int iGroupNumber, ILXAttributeEnum** ppEnum)
{
    return InternalGetDisplayGroupAttributeEnum("GetDisplayGroupAttributeEnum", lMask, iGroupNumber, ppEnum);
}

HRESULT XLXTypeCache::GetAttributeEnum(ILXAttributeEnum** ppEnum)
{
    return EnumerateAll<ILXAttribute>("GetAttributeEnum", m_attributes, ppEnum);
}

HRESULT XLXTypeCache::GetGroupAttributeEnum(int iGroupNumber, ILXAttributeEnum** ppEnum)
{
    return InternalGetDisplayGroupAttributeEnum("GetGroupAttributeEnum", 0, iGroupNumber, ppEnum);
}

// Collects the wanted attributes when the facts of all of them are known; false when they are not.
bool XLXTypeCache::TakeWhereFactsAreKnown(LONG mask, LONG group, std::vector<XLXComPtr<ILXAttribute>>& taken)
{
    return m_attributes.Read([&](const XAttributeMap& attributes) {
        taken.reserve(attributes.size());
        for (const auto& [key, component] : attributes)
        {
            const auto facts = component->Object()->KnownFacts();
            if (!facts)
            {
                return false;
            }
            if (IsTaken(*facts, mask, group))
            {
                taken.emplace_back(component->Object().Get());
            }
        }
        return true;
    });
}

HRESULT XLXTypeCache::InternalGetDisplayGroupAttributeEnum(const char* method, LONG lMask, LONG iGroupNumber,
                                                           ILXAttributeEnum** ppEnum)
{
    return XLXError::Guarded(TheFacts.At(method), [&]() -> HRESULT {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), TheFacts.At(method));
        m_attributes.EnsureComplete();
        std::vector<XLXComPtr<ILXAttribute>> taken;
        if (!TakeWhereFactsAreKnown(lMask, iGroupNumber, taken))
        {
            // Some facts must be read, perhaps from the server: with no lock held.
            taken.clear();
            for (const auto& [key, component] : m_attributes.Snapshot())
            {
                if (IsTaken(component->Object()->Facts(), lMask, iGroupNumber))
                {
                    taken.emplace_back(component->Object().Get());
                }
            }
        }
        return LXHandOutEnumerator(std::move(taken), ppEnum);
    });
}

// ILXTypeInheritance: without the inherited ones, those attributes that the server's type lists as its own.
HRESULT XLXTypeCache::GetAttributeEnum(LONG bWithInherited, ILXAttributeEnum** ppEnum)
{
    if (bWithInherited != 0)
    {
        return GetAttributeEnum(ppEnum);
    }
    const LXErrorLocation at = TheFacts.At("GetAttributeEnum");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), at);
        m_attributes.EnsureComplete();
        const std::set<XCFGStringKey> own = OwnAttributeNames(*Server(), at);
        std::vector<XLXComPtr<ILXAttribute>> items;
        m_attributes.Read([&](const XAttributeMap& attributes) {
            for (const auto& [key, component] : attributes)
            {
                if (own.count(key) != 0)
                {
                    items.emplace_back(component->Object().Get());
                }
            }
        });
        return LXHandOutEnumerator(std::move(items), ppEnum);
    });
}

HRESULT XLXTypeCache::GetConfObjEditorEnum(ILXConfObjEditorEnum** ppEnum)
{
    return EnumerateAll<ILXConfObjEditor>("GetConfObjEditorEnum", m_editors, ppEnum);
}

// The ProgId alone decides: callers rely on finding an editor whatever browser and menu text they name.
HRESULT XLXTypeCache::GetConfObjEditor(BSTR bstrProgId, BSTR, BSTR, ILXConfObjEditor** ppEditor)
{
    return LookUp("GetConfObjEditor", m_editors, LXBstrView(bstrProgId), ppEditor);
}

HRESULT XLXTypeCache::GetDefaultEditor(BSTR bstrBrowserId, ILXConfObjEditor** ppEditor)
{
    return InternalGetEditor("GetDefaultEditor", false, bstrBrowserId, ppEditor);
}

HRESULT XLXTypeCache::GetDefaultNewEditor(BSTR bstrBrowserId, ILXConfObjEditor** ppEditor)
{
    return InternalGetEditor("GetDefaultNewEditor", true, bstrBrowserId, ppEditor);
}

HRESULT XLXTypeCache::InternalGetEditor(const char* method, bool newEditor, BSTR bstrBrowserId,
                                        ILXConfObjEditor** ppEditor)
{
    return XLXError::Guarded(TheFacts.At(method), [&]() -> HRESULT {
        LXCheckOut(ppEditor, OLESTR("ppEditor"), TheFacts.At(method));
        const XLXText wanted = LXLowerCase(LXBstrView(bstrBrowserId));
        m_editors.EnsureComplete();
        for (const auto& [key, component] : m_editors.Snapshot())
        {
            XLXConfObjEditorCache& editor = *component->Object();
            const auto flag = editor.TryRead(newEditor ? MemberEditorDefaultNew : MemberEditorDefault);
            if (!flag || !flag->AsBool().value_or(false))
            {
                continue;
            }
            const auto browser = editor.TryRead(MemberEditorBrowserId);
            const auto text = browser ? browser->AsText() : std::nullopt;
            if (text && LXLowerCase(*text) == wanted)
            {
                *ppEditor = component->Object().Get();
                (*ppEditor)->AddRef();
                return S_OK;
            }
        }
        return S_FALSE;
    });
}
