// SPDX-License-Identifier: MIT
//
// The four kinds of a type's components (pages, groups, attributes, editors), how they differ, and how their records
// are read.
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
/// @tparam CachedClass     class of the cached components
/// @tparam InterfaceClass  interface by which they are handed out
/// @tparam KeyClass        type of their key: a number or a name
/// @tparam GetOne          method of the server's type that returns one component by its key
template <class CachedClass, class InterfaceClass, class KeyClass, auto GetOne> struct XComponentKind {
    using Cached = CachedClass;
    using Interface = InterfaceClass;
    using Key = KeyClass;
    static constexpr auto Get = GetOne;
    static constexpr bool HasNames = std::is_same_v<Key, XCFGStringKey>;

    LXTransferMode mode;
    XAspect set;                                             ///< aspect: which components a type has
    XAspectSet values;                                       ///< aspects of their values
    bool inherits;                                           ///< a type also has the components of its base
    int keyMember;                                           ///< index of the property that is the key
    XLXSafeArray XLXCFCDataTransfer::XILXTypeComp::*records; ///< their records within a type's component record
    const char* section;                                     ///< their name in the logbook
    const OLECHAR* emptyingFailed;                           ///< logged if the map cannot be emptied
    const char* getOne;                                      ///< name of GetOne, with its interface
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

/// One component in a type's map: the cached object, and the type that created it.
template <const auto& Kind> struct XComponent {
    using Interface = typename XKind<Kind>::Interface;

    XLXComPtr<typename XKind<Kind>::Cached> object;
    const XLXTypeCache* owner; ///< for an inherited component, the base; compared only, never dereferenced
};

/// A type's records of one kind, as the server delivered them.
struct XStampedRecords {
    XLXSafeArray array;                    ///< null: the server has none
    std::shared_ptr<const XMoment> moment; ///< taken before the server was asked
    XStamp stamp; ///< of the map that they fill; none: nothing was delivered, not even the answer "no components"
};

/// The key of a component with these values; nullopt if it has no valid key, so that it cannot enter a map.
template <const auto& Kind> std::optional<typename XKind<Kind>::Key> LXKeyOf(const XVariantRow& values) {
    const XLXVariantView key = values[Kind.keyMember];
    if constexpr (XKind<Kind>::HasNames) {
        return XCFGStringKey::Of(key);
    } else {
        return !key.Empty() ? key.AsLong() : std::nullopt;
    }
}

/// Prefetches the names of the records. They were written long ago and are rarely cached; requested together, the
/// memory accesses overlap.
inline void LXPrefetch(const std::vector<XLXCFCDataTransfer::XILXAttributeData>& records) noexcept {
    for (const auto& record : records) {
        if (const XLXVariantView name = record.values[Attributes.keyMember]; name.Type() == VT_BSTR) {
            LX_PREFETCH(V_BSTR(&name.Get()));
        }
    }
}

/// Parses a list of records.
/// @param type  name of the type that they belong to, for the logbook
template <const auto& Kind> auto LXReadList(XLXSafeArray array, XLXTextView type) {
    if constexpr (Kind.mode == LXTM_ATTRIBUTES) {
        auto records = XLXCFCDataTransfer::ReadAttributeList(std::move(array), type);
        LXPrefetch(records);
        return records;
    } else {
        return XLXCFCDataTransfer::GetSingleTypedVecFromArray(std::move(array), {Kind.section, type});
    }
}

/// Asks the server's type for a component whose record came without a server object. Returns null if the type is gone
/// or the server does not have the component; then the component answers from its values only, and methods that need
/// the server fail.
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
