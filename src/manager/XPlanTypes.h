// SPDX-License-Identifier: MIT
#ifndef XPLANTYPES_H
#define XPLANTYPES_H

#include "XCFGStringKey.h"
#include "XRegistry.h"

#include <atomic>

/// The plan types: types of the plans of the object database, with the relations to the types allowed below each. They
/// are searched with the query object. A failing search is logged and answered with no plan types. That answer is not
/// cached, so the next request asks again.
class XPlanTypes : public XRegistry<XNameMap<std::vector<XRelationHost::PlanTypeRelation>>> {
public:
    using XRegistry::XRegistry;

    bool IsPlanType(XLXTextView typeName);
    /// The relations from a plan type to the types allowed below it; empty for any other type.
    std::vector<XRelationHost::PlanTypeRelation> RelationsOf(XLXTextView typeName);

private:
    /// Null when there are none.
    Value Loaded();

    std::atomic<std::uint64_t> m_queryCalls{0}; // calls to the query object; see Search
};

#endif
