// SPDX-License-Identifier: MIT
//
// The services that relations need from their manager.
#ifndef XRELATIONHOST_H
#define XRELATIONHOST_H

#include "XClock.h"
#include "XWeakLink.h"
#include "lxcfctools.h"

#include <vector>

/// Source, scope and method of the manager's error locations.
constexpr LXErrorLocation LXManagerAt(const char* method, int line = LX_CURRENT_LINE) {
    return {"lxconfigfactorycachemanager", "XLXConfigFactoryCacheManager", method, line};
}

/// The PC infos that every browser has for relations without a server object.
class XPCInfoRegistry {
public:
    /// @param newRelations  selects one of the two sets
    virtual HRESULT InternalGetPCInfoEnum(ILXPCInfoEnum** ppEnum, bool newRelations) = 0;
    /// The PC info of the browser with exactly this name; S_FALSE and null if there is none.
    virtual HRESULT InternalGetPCInfo(XLXTextView browserId, ILXPCInfo** ppPCInfo, bool newRelations) = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
    /// Adds a reference unless the count has reached 0.
    virtual bool TryAddRef() noexcept = 0;

protected:
    ~XPCInfoRegistry() = default;
};

class XRelationHost : public XPCInfoRegistry {
public:
    /// The config factory of the connection with this clock; raises E_POINTER when that connection is over.
    virtual XLXComPtr<ILXConfigFactory> ConfigFactoryOf(const XClockPtr& clock, const char* method) const = 0;
    /// The names of a type's base types, nearest first.
    virtual std::vector<XLXText> BaseTypeNames(XLXTextView typeName) = 0;

    /// A relation that the plan types allow below a type.
    struct PlanTypeRelation {
        XLXText childType;
        XLXText nameShort;
    };
    virtual std::vector<PlanTypeRelation> InternalGetPlantypeRelations(XLXTextView parentType) = 0;
    /// A weak link to the host, for relations that may outlive it.
    virtual const XWeakLink<XPCInfoRegistry>& PCInfoLink() const noexcept = 0;

protected:
    ~XRelationHost() = default;
};

#endif
