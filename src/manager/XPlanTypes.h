// SPDX-License-Identifier: MIT
//
// The plan types: types of the plans of the object database, with the types allowed below each. They are objects of
// the database, found with the query object.
//
// Threading  Any thread may ask. The query object is used by one thread at a time. What is in use never
// changes. Errors     A failing query is written to the logbook, and there are no plan types then; the next
// question asks again.
#ifndef XPLANTYPES_H
#define XPLANTYPES_H

#include "XCFGStringKey.h"
#include "XLoaded.h"
#include "XRelationHost.h"

class XLXConfigFactoryCacheManager;

class XPlanTypes {
public:
    /// @param manager  outlives the plan types
    explicit XPlanTypes(const XLXConfigFactoryCacheManager& manager) noexcept : m_manager(manager) {}

    bool IsPlanType(XLXTextView typeName);
    /// The relations from a plan type to the types allowed below it; none for any other type.
    std::vector<XRelationHost::PlanTypeRelation> RelationsOf(XLXTextView typeName);

    /// From now on answers of the connection with that clock are kept.
    void Begin(const XClockPtr& clock);
    /// Forgets the plan types, and keeps nothing more, unless they are of another connection.
    void End(const XClockPtr& clock);

private:
    struct PlanType {
        XLXText nameShort;
        std::vector<XLXText> allowed; ///< the names of the types allowed below it
    };
    using Map = XNameMap<PlanType>;
    using MapPtr = std::shared_ptr<const Map>;

    MapPtr Loaded();
    static Map Fetch(ILX_Query& query);
    static void AddPlanType(ILX_BaseDataObject& object, Map& map);

    const XLXConfigFactoryCacheManager& m_manager;
    XSharedLoaded<Map> m_mapPlantype{XLockLevel::PlanTypes};
};

#endif
