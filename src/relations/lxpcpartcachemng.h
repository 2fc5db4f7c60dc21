// SPDX-License-Identifier: MIT
//
// XLXPCPartCacheMng: all relations of the server, by parent type, child type and child list.
//
// One bulk read loads them on first use and after a notification that concerns them. Relations that are delivered again
// keep their objects. Queries run, and request PC infos, with no lock held.
//
// Threading  Any thread may call. The lock guards only the pointer to the immutable map.
// Lifetime   One for each connection.
// Errors     A failing load raises an XLXException; callers are within XLXError::Guarded.
#ifndef LXPCPARTCACHEMNG_H
#define LXPCPARTCACHEMNG_H

#include "XCFCDataTransfer.h"
#include "XNameIndex.h"
#include "XRelationHost.h"
#include "XRelationSource.h"
#include "XSortedMap.h"
#include "lxconfigfactorycache/LXProperties.h"
#include "lxparentchildcache.h"

/// Source name, scope and method of the relation manager's error locations.
constexpr LXErrorLocation LXPCPartAt(const char* method, int line = LX_CURRENT_LINE) {
    return {"lxpcpartcachemng", "XLXPCPartCacheMng", method, line};
}

class XLXPCPartCacheMng final {
public:
    using Relations = std::vector<XLXComPtr<ILXParentChild>>;

    /// @param host    must outlive every query
    /// @param refill  reads the relations' stale values together, with RefillRelations; null: they are read one by one
    /// @param source  supplies the config factory, to ask for server objects that records did not bring
    XLXPCPartCacheMng(XRelationHost& host, XClockPtr clock, XRefillPtr refill = {}, XFactorySourcePtr source = {});
    XLXPCPartCacheMng(const XLXPCPartCacheMng&) = delete;
    XLXPCPartCacheMng& operator=(const XLXPCPartCacheMng&) = delete;
    ~XLXPCPartCacheMng();

    /// Loads the relations unless they are fresh. A failure is raised once; queries then find no relations until the
    /// next notification that concerns them.
    void InternalFillParentChildMap() { (void)Load(); }

    /// Reads the values of all existing relations with one call. Raises a failure of the server.
    void RefillRelations() const;

    /// The relations from a parent type to a child type (empty: any) that a browser shows (empty: any browser) and that
    /// pass a filter (LXPCFilter). With both types empty, considers all relations.
    Relations Collect(XLXTextView parentType, XLXTextView childType, XLXTextView browserId, LONG filter);
    /// The same for a type and its base types, nearest first. A relation to a child type in a child list hides those of
    /// farther base types to the same child type in the same list.
    Relations CollectWithBases(XLXTextView parentType, XLXTextView browserId, LONG filter);

    // The following return S_FALSE, and null, if there is no such relation.

    /// @param internal  whether to include relations that are internal to the system
    HRESULT PPRRelationExists(XLXTextView parentType, XLXTextView childType, bool internal);
    /// The first relation of a parent type in a child list, in the order of child types.
    HRESULT First(XLXTextView parentType, XLXTextView childList, ILXParentChild** out);
    /// The relation with these names.
    HRESULT Single(XLXTextView parentType, XLXTextView childType, XLXTextView childList, ILXParentChild** out);

private:
    struct Names {
        XCFGStringKey parent;
        XCFGStringKey child;
        XCFGStringKey list;

        friend auto operator<=>(const Names&, const Names&) noexcept = default;
    };
    struct Entry {
        XLXComPtr<XLXParentChildCache> relation;
        bool ppr = false;
        bool systemInternal = false;
    };
    /// The relations in order, and an index by their three names.
    struct Map {
        XSortedMap<Names, Entry> inOrder;
        XNameIndex<XLXParentChildCache*, 3> byNames;
        bool answers = true; ///< false: the last load failed; the relations are kept only to be refreshed later
    };
    using MapPtr = std::shared_ptr<const Map>; // immutable once published

    // Loading
    MapPtr Load();
    void LoadAllPCRelation(ILXConfigFactory& factory, const XStamp& stamp, const Map* former, Map& fresh);
    static std::vector<XLXCFCDataTransfer::XILXPCData> AskForRelations(ILXConfigFactory& factory);
    void AddRelation(Map& map, XLXCFCDataTransfer::XILXPCData record, const Map* former, const XRequestTime& requested,
                     XRetired& retired) const;
    /// Calls visit(relation) for the relations of a former map that are not in its successor. They are detached under
    /// the map's lock, so that clients that hold them can still read their values, and terminated without it.
    template <class Visit> static void ForEachDropped(const Map& former, const Map& kept, Visit&& visit) noexcept;

    // Queries
    /// The relations to answer from, loaded unless fresh; an empty map after a failed load.
    MapPtr Loaded();
    /// Calls visit(names, entry) for the relations between two types, as in Collect, until it returns false.
    template <class Visit> void VisitRelations(XLXTextView parentType, XLXTextView childType, Visit&& visit);
    /// Calls take(child, list, relation) for the relations that Collect returns.
    template <class Take>
    void VisitShown(XLXTextView parentType, XLXTextView childType, XLXTextView browserId, LONG filter, Take&& take);
    bool ShowsPlanTypes(XLXTextView browserId, bool newOnly);

    XRelationHost& m_host;
    const XClockPtr m_clock;
    const XRefillPtr m_refill;
    const XFactorySourcePtr m_source;
    XSharedLoaded<Map> m_relations{XLockLevel::Relations};
};

#endif
