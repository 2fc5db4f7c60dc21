// SPDX-License-Identifier: MIT
#ifndef XPLANTYPES_H
#define XPLANTYPES_H

#include "XCFGStringKey.h"
#include "XRegistry.h"

/// The plan types: types of the plans of the object database, with the relations to the types allowed below each. They
/// are objects of the database, found with the query object, which is used by one thread at a time. A failing query is
/// written to the logbook, and there are no plan types then; the next question asks again.
class XPlanTypes : public XRegistry<XNameMap<std::vector<XRelationHost::PlanTypeRelation>>> {
public:
    using XRegistry::XRegistry;

    bool IsPlanType(XLXTextView typeName);
    /// The relations from a plan type to the types allowed below it; none for any other type.
    std::vector<XRelationHost::PlanTypeRelation> RelationsOf(XLXTextView typeName);

private:
    /// Null: there are none.
    Value Loaded();
};

#endif
