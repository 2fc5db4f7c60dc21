// SPDX-License-Identifier: MIT
//
// The inheritance between types, derived from the type map and the types' links to their bases.
//
// Threading  Thread-safe. When the types have changed, the information is rebuilt with no lock held. Published
//            information is immutable.
#ifndef XTYPEINHERITANCEINFO_H
#define XTYPEINHERITANCEINFO_H

#include "XTypeMap.h"

class XTypeInheritanceInfo {
public:
    explicit XTypeInheritanceInfo(const XTypeMap& types) : m_types(types) { m_info.Begin({&types}); }

    /// A snapshot of the inheritance.
    class Info {
    public:
        explicit Info(const std::vector<XTypeMap::Map::value_type>& types);

        bool IsKnown(XLXTextView typeName) const { return m_baseOf.contains(typeName); }
        /// All types derived directly or indirectly.
        XNameSet DerivedTypes(XLXTextView typeName) const;
        /// The base types, nearest first.
        std::vector<XLXTextView> BaseTypes(XLXTextView typeName) const;

    private:
        XNameMap<XCFGStringKey> m_baseOf; ///< all known types; the null key means no base
        XNameMap<XNameSet> m_derived;     ///< by direct base
    };
    using InfoPtr = std::shared_ptr<const Info>;

    /// The inheritance of the current types.
    InfoPtr Current();
    /// Drops the information, whichever connection it is from.
    void End(const XClockPtr&) { m_info.Clear(); }

private:
    /// Uses the type map's version as the clock.
    struct Time {
        const XTypeMap* types = nullptr;

        std::uint64_t Now() const noexcept { return types != nullptr ? types->Version() : 1; }
        bool IsSame(const Time& other) const noexcept { return types == other.types; }
    };

    const XTypeMap& m_types;
    XBasicLoaded<Info, Time, XSharedGuarded<XPublished<Info, Time>>> m_info{XLockLevel::Inheritance};
};

#endif
