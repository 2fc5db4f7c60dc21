// SPDX-License-Identifier: MIT
//
// XLXPCPartCacheMng: all relations of the server, by parent type, child type and child list.
//
// They are loaded once, with one bulk read, and again after a notification says that they changed; relations that
// come again stay the same objects. Questions are answered, and PC infos asked for, with no lock held.
//
// Threading  Any thread may call. The map's lock is held for copying and swapping the pointer to it alone.
// Lifetime   One for each connection.
// Errors     A failing load raises; whoever asks stands at a boundary.
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

    /// @param host    outlives every question
    /// @param refill  by which the relations' values are read together: with RefillRelations; null: one by one
    /// @param source  of the server objects of relations whose records come without
    XLXPCPartCacheMng(XRelationHost& host, XClockPtr clock, XRefillPtr refill = {}, XFactorySourcePtr source = {});
    XLXPCPartCacheMng(const XLXPCPartCacheMng&) = delete;
    XLXPCPartCacheMng& operator=(const XLXPCPartCacheMng&) = delete;
    ~XLXPCPartCacheMng();

    /// Loads the relations unless they are loaded. A failure is raised once, and there are no relations then until a
    /// notification says that they changed.
    void InternalFillParentChildMap() { (void)Load(); }

    /// Reads the values of all relations that are there, with one call. Raises a failure of the server.
    void RefillRelations() const;

    /// The relations from a parent type to a child type (empty: any) that a browser shows (empty: all) and a filter
    /// (LXPCFilter) lets through. With both types empty all of them.
    Relations Collect(XLXTextView parentType, XLXTextView childType, XLXTextView browserId, LONG filter);
    /// The same for a type and its base types, nearest first. A base's relation to a child in a child list is left out
    /// when something nearer has one.
    Relations CollectWithBases(XLXTextView parentType, XLXTextView browserId, LONG filter);

    // S_FALSE, and nothing handed out: there is no such relation

    /// @param internal  one that is internal to the system counts too
    HRESULT PPRRelationExists(XLXTextView parentType, XLXTextView childType, bool internal);
    /// The first relation of a parent type in a child list.
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
    /// The relations in order, and by their three names for look-ups.
    struct Map {
        XSortedMap<Names, Entry> inOrder;
        XNameIndex<XLXParentChildCache*, 3> byNames;
        bool answers = true; ///< false: the last load failed; the relations wait to be refreshed
    };
    using MapPtr = std::shared_ptr<const Map>; // a map that is in use never changes

    // Loading: the fill mutex is held but for the first and the last
    MapPtr Load();
    void LoadAllPCRelation(ILXConfigFactory& factory, const Map* former, Map& fresh);
    static std::vector<XLXCFCDataTransfer::XILXPCData> AskForRelations(ILXConfigFactory& factory);
    void AddRelation(Map& map, XLXCFCDataTransfer::XILXPCData record, const Map* former, const XMoment& moment,
                     XRetired& retired) const;
    static void TerminateDropped(const Map& former, const Map& kept) noexcept;

    // Asking
    /// The relations to answer from, loaded first when needed.
    MapPtr Loaded();
    /// Calls visit(names, entry) for the relations between two types as with Collect, until it answers false.
    template <class Visit> void VisitRelations(XLXTextView parentType, XLXTextView childType, Visit&& visit);
    /// Calls take(child, list, relation) for what Collect collects.
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
