// SPDX-License-Identifier: MIT
//
// The four kinds of components that a type has, its pages, groups, attributes and editors, and how the records of
// each are read.
#ifndef LXTYPECACHECOMP_H
#define LXTYPECACHECOMP_H

#include "XNamedMap.h"
#include "lxattributecache.h"
#include "lxconfobjeditorcache.h"
#include "lxgroupcache.h"
#include "lxpagecache.h"

class XLXTypeCache;

namespace XLXTypeCacheComp {
/// What differs between the kinds.
/// @tparam CachedClass     of one component
/// @tparam InterfaceClass  that it is handed out by
/// @tparam KeyClass        that it is found by: a number or a name
/// @tparam GetOne          the method of the server's type that gives one by its key
template <class CachedClass, class InterfaceClass, class KeyClass, auto GetOne> struct XComponentKind {
    using Cached = CachedClass;
    using Interface = InterfaceClass;
    using Key = KeyClass;
    static constexpr auto Get = GetOne;
    static constexpr bool HasNames = std::is_same_v<Key, XCFGStringKey>;

    LXTransferMode mode;
    XAspect set;                                             ///< which of them a type has
    XAspectSet values;                                       ///< of their values
    bool inherits;                                           ///< a type has those of its base, too
    int keyMember;                                           ///< the property that is the key
    XLXSafeArray XLXCFCDataTransfer::XILXTypeComp::*records; ///< where a type's component record has them
    const char* section;                                     ///< their name in the logbook
    const OLECHAR* emptyingFailed;                           ///< what the logbook says of a map that cannot be emptied
    const char* getOne;                                      ///< the name of the method
};

// clang-format off
inline constexpr XComponentKind<XLXAttributeCache, ILXAttribute, XCFGStringKey, &ILXType::GetAttribute> Attributes{
    LXTM_ATTRIBUTES, XAspect::TypeAttributes,
    {XAspect::AttributeValues, XAspect::AttributeTypes, XAspect::AttributeTypeValues}, true, 0,
    &XLXCFCDataTransfer::XILXTypeComp::attributes, "attributes", OLESTR("emptying the attributes failed"),
    "ILXType::GetAttribute"};
inline constexpr XComponentKind<XLXPageCache, ILXPage, LONG, &ILXType::GetPage> Pages{
    LXTM_PAGES, XAspect::TypePages, {XAspect::PageValues}, false, 6,
    &XLXCFCDataTransfer::XILXTypeComp::pages, "pages", OLESTR("emptying the pages failed"), "ILXType::GetPage"};
inline constexpr XComponentKind<XLXGroupCache, ILXGroup, LONG, &ILXType::GetGroup> Groups{
    LXTM_GROUPS, XAspect::TypeGroups, {XAspect::GroupValues}, false, 2,
    &XLXCFCDataTransfer::XILXTypeComp::groups, "groups", OLESTR("emptying the groups failed"), "ILXType::GetGroup"};
inline constexpr XComponentKind<XLXConfObjEditorCache, ILXConfObjEditor, XCFGStringKey, &ILXType::GetConfObjEditor> Editors{
    LXTM_EDITORS, XAspect::TypeEditors, {XAspect::EditorValues}, false, 3,
    &XLXCFCDataTransfer::XILXTypeComp::editors, "editors", OLESTR("emptying the editors failed"),
    "ILXType::GetConfObjEditor"};
// clang-format on

template <const auto& Kind> using XKind = std::remove_cvref_t<decltype(Kind)>;

/// One component of a type: the cached object, and the type that it was made for.
template <const auto& Kind> struct XComponent {
    using Interface = typename XKind<Kind>::Interface;

    XLXComPtr<typename XKind<Kind>::Cached> object;
    const XLXTypeCache* owner; ///< not the type that looks, where it is merged in from a base; compared only
};

/// A type's records of one kind, as the server delivered them.
struct XStampedRecords {
    XLXSafeArray array;                    ///< null: the server has none
    std::shared_ptr<const XMoment> moment; ///< taken before the server was asked
    XStamp stamp; ///< that they give the map; none: not even the answer that the server has none was delivered
};
/// The key of a component with these values; none: it cannot be found.
template <const auto& Kind> std::optional<typename XKind<Kind>::Key> LXKeyOf(const XVariantRow& values) {
    const XLXVariantView key = values[Kind.keyMember];
    if constexpr (XKind<Kind>::HasNames) {
        return XCFGStringKey::Of(key);
    } else {
        return !key.Empty() ? key.AsLong() : std::nullopt;
    }
}

/// Asks for the memory that the names of records stand in. Most of it was written long ago: asked for at once, it is
/// waited for once.
inline void LXPrefetch(const std::vector<XLXCFCDataTransfer::XILXAttributeData>& records) noexcept {
    for (const auto& record : records) {
        if (const XLXVariantView name = record.values[Attributes.keyMember]; name.Type() == VT_BSTR) {
            LX_PREFETCH(V_BSTR(&name.Get()));
        }
    }
}

/// The records of a list.
/// @param type  whose they are, for the logbook
template <const auto& Kind> auto LXReadList(XLXSafeArray array, XLXTextView type) {
    if constexpr (Kind.mode == LXTM_ATTRIBUTES) {
        auto records = XLXCFCDataTransfer::ReadAttributeList(std::move(array), type);
        LXPrefetch(records);
        return records;
    } else {
        return XLXCFCDataTransfer::GetSingleTypedVecFromArray(std::move(array), {Kind.section, type});
    }
}

/// Asks the server's type for a component whose record came without an object. A type that is gone, or that does not
/// have the component either, leaves it without one: its values are there, and what needs the server fails.
template <const auto& Kind> class XComponentSource final : public XServerSource {
public:
    XComponentSource(const XWeakLink<XGroupOwner>& type, const typename XKind<Kind>::Key& key)
        : m_type(type), m_key(key) {}
    XLXComPtr<IUnknown> Ask() const override {
        const auto type = m_type.Lock();
        const XLXComPtr<ILXType> server = type ? type->ServerType() : nullptr;
        return server ? XLXComPtr<IUnknown>(From(*server)) : nullptr;
    }

private:
    using Interface = typename XKind<Kind>::Interface;

    XLXComPtr<Interface> From(ILXType& server) const {
        const LXErrorLocation at = XCachedFacts::Type.At(Kind.getOne + std::char_traits<char>::length("ILXType::"));
        XLXComPtr<Interface> component;
        const HRESULT result = LXAsk(Kind.getOne, component, LXNoResult::Nothing, {}, at, [&](Interface** out) {
            if constexpr (Kind.mode == LXTM_EDITORS) {
                return (server.*XKind<Kind>::Get)(XLXComBSTR(m_key.Text()).Get(), nullptr, nullptr, out);
            } else if constexpr (XKind<Kind>::HasNames) {
                return (server.*XKind<Kind>::Get)(XLXComBSTR(m_key.Text()).Get(), out);
            } else {
                return (server.*XKind<Kind>::Get)(m_key, out);
            }
        });
        XLXError::RaiseIfFailed(result, OLESTR("the server failed to give the object of a type's component"), at);
        return result == S_OK ? component : nullptr;
    }

    const XWeakLink<XGroupOwner> m_type;
    const typename XKind<Kind>::Key m_key;
};
} // namespace XLXTypeCacheComp

#endif
