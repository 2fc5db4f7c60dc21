// SPDX-License-Identifier: MIT
//
// XLXPCPartCacheMng: all relations of the server, by parent type, child type and child list.
//
// They are loaded once, with one bulk read, and again after a notification says that they changed; relations that
// come again stay the same objects. Questions are answered, and PC infos asked for, with no lock held.
//
// Threading  Any thread may call. The map's lock is held for copying and swapping the pointer to it alone.
// Lifetime   One for each connection.
#ifndef LXPCPARTCACHEMNG_H
#define LXPCPARTCACHEMNG_H

#include "XCFCDataTransfer.h"
#include "XNameIndex.h"
#include "lxparentchildcache.h"
#include "lxpcbasemng.h"

#include <exception>

class XLXPCPartCacheMng final : public XLXPCBaseMng
{
public:
    XLXPCPartCacheMng(XRelationHost& host, XClockPtr clock);
    ~XLXPCPartCacheMng() override;

    HRESULT GetParentChildEnum(BSTR typeName, ILXParentChildEnum** ppEnum) override;
    HRESULT GetPPRRelationsEnum(BSTR parentType, ILXParentChildEnum** ppEnum) override;
    HRESULT GetPPRRelationsEnumByDO(ILX_BaseDataObject* parent, ILXParentChildEnum** ppEnum) override;
    HRESULT GetPossiblePPRRelations(BSTR parentType, BSTR childType, ILXParentChildEnum** ppEnum) override;
    HRESULT GetPossiblePPRRelationsByDO(ILX_BaseDataObject* parent, ILX_BaseDataObject* child,
                                        ILXParentChildEnum** ppEnum) override;
    HRESULT PPRRelationExists(BSTR parentType, BSTR childType, bool internal) override;
    HRESULT PPRRelationExistsByDO(ILX_BaseDataObject* parent, ILX_BaseDataObject* child, bool internal) override;
    HRESULT GetPCRelation(BSTR parentType, BSTR childList, ILXParentChild** ppPC) override;
    HRESULT GetSinglePCRelation(BSTR parentType, BSTR childType, BSTR childList, ILXParentChild** ppPC) override;
    HRESULT GetSinglePCRelationByDO(ILX_BaseDataObject* parent, ILX_BaseDataObject* relationship,
                                    ILXParentChild** ppPC) override;
    HRESULT GetPCEnum(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, bool withPlantypes,
                      ILXParentChildEnum** ppEnum) override;
    HRESULT GetPCEnum2(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, LONG filter,
                       ILXParentChildEnum** ppEnum) override;
    HRESULT GetPossiblePPRRelations2(BSTR parentType, BSTR childType, BSTR browserId, LONG filter,
                                     ILXParentChildEnum** ppEnum) override;
    HRESULT GetPCEnumAll(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, LONG filter,
                         ILXParentChildEnum** ppEnum) override;
    HRESULT InternalFillParentChildMap() override;

protected:
    HRESULT CollectPCRelationsByDO(XLXText& parentType, XLXText& childType, ILX_BaseDataObject* parent,
                                   ILX_BaseDataObject* child, XLXTextView browserId, LONG filter,
                                   Relations& result) override;
    HRESULT CollectPCRelations(XLXTextView parentType, XLXTextView childType, XLXTextView browserId, LONG filter,
                               Relations& result) override;

private:
    struct Entry
    {
        XLXComPtr<XLXParentChildCache> relation;
        bool ppr = false;
        bool systemInternal = false;
    };
    using ListMap = XNameMap<Entry>;
    using ChildMap = XNameMap<ListMap>;
    /// The relations in order, and by their three names for look-ups.
    struct ParentMap
    {
        ParentMap() = default;
        ParentMap(ParentMap&&) = default;
        ParentMap& operator=(ParentMap&&) = default;

        XNameMap<ChildMap> byParent;
        XNameIndex<XLXParentChildCache*, 3> byNames;
    };
    using ParentMapPtr = std::shared_ptr<const ParentMap>; // a map that is in use never changes
    struct RelationMap
    {
        ParentMapPtr relations; ///< null: there never were any
        bool answers = false;   ///< false: the last load failed; the relations wait to be refreshed
    };
    using RelationMapPtr = std::shared_ptr<const RelationMap>;
    struct Names;
    struct Found
    {
        XLXComPtr<ILXParentChild> relation;
        XCFGStringKey child;
        XCFGStringKey list;
    };

    // Loading: the fill mutex is held
    RelationMapPtr LoadAllPCRelation(ILXConfigFactory& factory, const ParentMap* former);
    RelationMapPtr LoadOrKeepFailure(ILXConfigFactory& factory, RelationMapPtr& refreshed, std::exception_ptr& failure);
    ParentMap MakeMap(std::vector<XLXCFCDataTransfer::XILXPCData> records, const ParentMap* former,
                      const XMoment& moment, XRetired& retired) const;
    XLXComPtr<XLXParentChildCache> Refresh(XLXComPtr<XLXParentChildCache> relation,
                                           XLXCFCDataTransfer::XILXPCData record, const XMoment& moment,
                                           XRetired& retired) const;
    static bool ReadNames(const XVariantRow& values, Names& names, Entry& entry);
    static XLXParentChildCache* Find(const ParentMap& map, XLXTextView parent, XLXTextView child, XLXTextView list);
    static const ChildMap* Below(const ParentMap& map, XLXTextView parent);
    template <class Visit>
    static void ForEach(const ParentMap& map, Visit&& visit);
    static void TerminateDropped(const ParentMap* former, const ParentMap& kept) noexcept;
    RelationMapPtr Load();

    // Asking
    /// The relations to answer from, loaded first when needed.
    ParentMapPtr Loaded();
    /// Calls visit(child, list, entry) for the relations from a parent to a child (empty: to any), until it answers
    /// false.
    template <class Visit>
    void VisitRelations(XLXTextView parentType, XLXTextView childType, Visit&& visit);
    void Collect(XLXTextView parentType, XLXTextView childType, XLXTextView browserId, LONG filter,
                 std::vector<Found>& found);
    void AddPlanTypeRelations(XLXTextView parentType, XLXTextView childType, XLXTextView browserId, bool newOnly,
                              std::vector<Found>& found);
    HRESULT EnumerateBelow(const char* method, ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, LONG filter,
                           ILXParentChildEnum** ppEnum);
    HRESULT EnumerateBetween(const char* method, ILX_BaseDataObject* parent, ILX_BaseDataObject* child, LONG filter,
                             ILXParentChildEnum** ppEnum);
    HRESULT Exists(XLXTextView parentType, XLXTextView childType, bool internal);
    static HRESULT ResolveTypeNames(XLXText& parentType, XLXText& childType, ILX_BaseDataObject* parent,
                                    ILX_BaseDataObject* child);

    const XClockPtr m_clock;
    XSharedLoaded<RelationMap> m_relations{XLockLevel::Relations};
};

template <class Visit>
void XLXPCPartCacheMng::ForEach(const ParentMap& map, Visit&& visit)
{
    for (const auto& [parent, children] : map.byParent)
    {
        for (const auto& [child, lists] : children)
        {
            for (const auto& [list, entry] : lists)
            {
                visit(parent, child, list, entry);
            }
        }
    }
}

template <class Visit>
void XLXPCPartCacheMng::VisitRelations(XLXTextView parentType, XLXTextView childType, Visit&& visit)
{
    const ParentMapPtr relations = Loaded();
    const ChildMap* const children = relations ? Below(*relations, parentType) : nullptr;
    if (children == nullptr)
    {
        return;
    }
    const auto first = childType.empty() ? children->begin() : children->find(childType);
    const auto last = childType.empty() || first == children->end() ? children->end() : std::next(first);
    for (auto child = first; child != last; ++child)
    {
        for (const auto& [list, entry] : child->second)
        {
            if (!visit(child->first, list, entry))
            {
                return;
            }
        }
    }
}

#endif
