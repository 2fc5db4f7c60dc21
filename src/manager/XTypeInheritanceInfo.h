// SPDX-License-Identifier: MIT
//
// Which type derives from which, taken from the types in the type map and their links.
//
// Threading  Any thread may ask. The information is made anew, with no lock held, when the types changed since it was
//            made. What is in use never changes.
#ifndef XTYPEINHERITANCEINFO_H
#define XTYPEINHERITANCEINFO_H

#include "XTypeMap.h"

class XTypeInheritanceInfo {
public:
    explicit XTypeInheritanceInfo(const XTypeMap& types) : m_types(types) { m_info.Begin({&types}); }

    /// What is known at one moment.
    class Info {
    public:
        explicit Info(const std::vector<XTypeMap::Map::value_type>& types);

        bool IsKnown(XLXTextView typeName) const { return m_baseOf.contains(typeName); }
        /// The direct and indirect derived types.
        XNameSet DerivedTypes(XLXTextView typeName) const;
        /// The base types, nearest first.
        std::vector<XLXTextView> BaseTypes(XLXTextView typeName) const;

    private:
        XNameMap<XCFGStringKey> m_baseOf; ///< every known type; the null key: no base
        XNameMap<XNameSet> m_derived;     ///< by direct base
    };
    using InfoPtr = std::shared_ptr<const Info>;

    /// The information about the types as they are now.
    InfoPtr Current();
    /// Forgets what is known, of whichever connection it is.
    void End(const XClockPtr&) { m_info.Clear(); }

private:
    /// The type map's version is the time.
    struct Time {
        const XTypeMap* types = nullptr;

        std::uint64_t Now() const noexcept { return types != nullptr ? types->Version() : 1; }
        bool IsSame(const Time& other) const noexcept { return types == other.types; }
    };

    const XTypeMap& m_types;
    XBasicLoaded<Info, Time, XSharedGuarded<XPublished<Info, Time>>> m_info{XLockLevel::Inheritance};
};

#endif
