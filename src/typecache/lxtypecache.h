// SPDX-License-Identifier: MIT
//
// XLXTypeCache: the cached ILXType.
//
// It answers queries for pages, groups, attributes and editors from four component maps. Only queries for top-level
// groups and for the type's own attributes ask the server each time. The first query of each kind completes its map,
// with one bulk call to the server if nothing was delivered before. Methods that would change the configuration return
// E_NOTIMPL.
//
// Ownership  A type holds references to its server type, its components and its base type. Groups, and the sources of
//            components' server objects, link back to the type weakly.
// Threading  Any thread may call. The type's fill mutex serialises the completion of its maps; it is held across calls
//            to the server and never taken by notifications. Locks of the maps: see XMapInheritedComp.h.
#ifndef LXTYPECACHE_H
#define LXTYPECACHE_H

#include "XCFCDataTransfer.h"
#include "XInstanceRegistry.h"
#include "XMapInheritedComp.h"

#include <tuple>

/// The data transfer mode of a manager, shared with the types that it created, which may outlive it.
class XTransferModeSupplier {
public:
    LONG Get() const noexcept { return m_mode.load(std::memory_order_relaxed); }
    void Set(LONG mode) noexcept { m_mode.store(mode, std::memory_order_relaxed); }
    /// Sets the mode if it was never set.
    void SetIfUnset(LONG mode) noexcept {
        LONG unset = LXTM_UNSET;
        m_mode.compare_exchange_strong(unset, mode);
    }

private:
    std::atomic<LONG> m_mode{LXTM_UNSET};
};

class XLXTypeCache final : public XLXConfigObjectCache<XLXTypeCache, XCachedFacts::Type, ILXType, ILXTypeCache,
                                                       ILXTypeInheritance, XGroupOwner> {
public:
    XLXTypeCache(XLXComPtr<IUnknown> server, XClockPtr clock);
    ~XLXTypeCache();

    /// The identity (IUnknown) is the ILXTypeCache face, by which base types are referred to.
    void* FindFace(REFIID iid) noexcept {
        return XLXConfigObjectCache::FindFace(IsEqualIID(iid, IID_IUnknown) ? LXIid<ILXTypeCache>() : iid);
    }

    // ILXType: pages and groups
    HRESULT STDMETHODCALLTYPE AddPage(ILXPage** ppPage) override { return LXNotOffered(ppPage); }
    HRESULT STDMETHODCALLTYPE RemovePage(ILXPage*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPageEnum(ILXPageEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetPage(int iPageNumber, ILXPage** ppPage) override;
    HRESULT STDMETHODCALLTYPE AddGroup(ILXGroup** ppGroup) override { return LXNotOffered(ppGroup); }
    HRESULT STDMETHODCALLTYPE RemoveGroup(ILXGroup*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetGroupEnum(ILXGroupEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetToplevelGroupEnum(ILXGroupEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetPageGroupEnum(int iPageNumber, ILXGroupEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetPageToplevelGroupEnum(int iPageNumber, ILXGroupEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetGroup(int iGroupNumber, ILXGroup** ppGroup) override;
    // ILXType: attributes
    HRESULT STDMETHODCALLTYPE GetDisplayAttributeEnum(LONG lMask, ILXAttributeEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetDisplayGroupAttributeEnum(LONG mask, int group, ILXAttributeEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE AddAttribute(ILXAttribute** ppAttribute) override { return LXNotOffered(ppAttribute); }
    HRESULT STDMETHODCALLTYPE RemoveAttribute(ILXAttribute*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAttributeEnum(ILXAttributeEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetGroupAttributeEnum(int iGroupNumber, ILXAttributeEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetAttribute(BSTR bstrAttributeName, ILXAttribute** ppAttribute) override;
    // ILXType: editors
    HRESULT STDMETHODCALLTYPE AddConfObjEditor(ILXConfObjEditor** ppEditor) override { return LXNotOffered(ppEditor); }
    HRESULT STDMETHODCALLTYPE RemoveConfObjEditor(ILXConfObjEditor*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetConfObjEditorEnum(ILXConfObjEditorEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetConfObjEditor(BSTR progId, BSTR, BSTR, ILXConfObjEditor** ppEditor) override;
    HRESULT STDMETHODCALLTYPE GetDefaultEditor(BSTR bstrBrowserId, ILXConfObjEditor** ppEditor) override;
    HRESULT STDMETHODCALLTYPE Copy(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDefaultNewEditor(BSTR bstrBrowserId, ILXConfObjEditor** ppEditor) override;
    HRESULT STDMETHODCALLTYPE GetTypeComponentData(LONG, SAFEARRAY** psaValues) override {
        return LXNotOffered(psaValues);
    }

    // ILXTypeCache
    HRESULT STDMETHODCALLTYPE Reserved3() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved4() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetBaseType(ILXTypeCache* pBaseType) override;
    HRESULT STDMETHODCALLTYPE GetServerType(ILXType** ppType) override;

    // ILXTypeInheritance
    HRESULT STDMETHODCALLTYPE GetAttributeEnum(LONG bWithInherited, ILXAttributeEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE Reserved5() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved6(LONG, void*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved7() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved8() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved9() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved10() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved11() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved12() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved13() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved14() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved15() override { return E_NOTIMPL; }

    // XGroupOwner
    HRESULT GetChildGroupEnum(LONG iGroupNumber, ILXGroupEnum** ppEnum) override;
    bool TryAddRef() noexcept override { return TryAddReference(); }
    void RefillComponents() override;
    XLXComPtr<ILXType> ServerType() const override { return HasServer() ? Server() : XLXComPtr<ILXType>(); }

    // For the manager

    /// Sets the source of the data transfer mode. Called before the type is handed out.
    void SetModeSupplier(std::shared_ptr<const XTransferModeSupplier> supplier) noexcept {
        m_modeSupplier = std::move(supplier);
    }
    /// Sets the refill of the connection's types, and creates the one of this type's components. Called before the type
    /// is handed out.
    void SetRefills(const XRefillPtr& refill);
    /// Sets the type's name for the logbook. Called before the type is handed out.
    void SetName(XLXText name) noexcept { m_name = std::move(name); }
    /// Stores the two flags of the type's record: whether type enumerations list it, and whether it is searchable.
    void SetFlags(bool listed, bool searchable) noexcept { m_flags.store((listed ? 1 : 0) | (searchable ? 2 : 0)); }
    bool IsListed() const noexcept { return (m_flags.load() & 1) != 0; }
    bool IsSearchable() const noexcept { return (m_flags.load() & 2) != 0; }

    /// Takes the record of a bulk answer: server object, values and components replace the present ones.
    /// @param source      provides the server object on first use, if the record has none
    /// @param components  delivered for the data transfer mode `mode`; mode 0: no components were requested
    /// @param stamp       of the answer, by which records are ordered
    /// @param retired     receives what is replaced
    /// @return false: the answer is older than the last one, and changes nothing
    bool TakeTypeRecord(XLXComPtr<IUnknown> server, XServerSourcePtr source, XVariantRow values,
                        XLXCFCDataTransfer::XILXTypeComp components, LONG mode, const XStamp& stamp,
                        const std::shared_ptr<const XMoment>& moment, XRetired& retired);

    /// Takes from a bulk answer the values of the type and of its existing components.
    /// @param mode  the data transfer mode of the request for the components
    void TakeValues(XVariantRow values, XLXCFCDataTransfer::XILXTypeComp components, LONG mode,
                    const std::shared_ptr<const XMoment>& moment, XRetired& retired);

    /// Links the type to its base; null clears the link. Returns false, and changes nothing, if the link would close a
    /// cycle. Calls no foreign code.
    [[nodiscard]] bool LinkBase(XLXTypeCache* base, XRetired& retired) { return Link(base, base, retired); }
    XLXComPtr<XLXTypeCache> BaseType() const noexcept;

    /// Empties the component maps. A failure is logged.
    void Terminate() noexcept;

    /// The live instance of this class behind a face; null for a foreign object.
    static XLXComPtr<XLXTypeCache> FromFace(ILXTypeCache* face);

private:
    friend XLXConfigObjectCache;
    template <const auto& Kind> using ComponentMap = XLXTypeCacheComp::XMapInheritedComp<Kind, XLXTypeCache>;
    template <const auto& Kind, class Owner> friend class XLXTypeCacheComp::XMapInheritedComp;

    // Common model
    XLXComPtr<IUnknown> AmendValues(XVariantRow& values);
    void AdvanceParts() noexcept;
    void OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched);
    bool Link(ILXTypeCache* face, XLXTypeCache* base, XRetired& retired);
    void ReleaseBase() noexcept;

    // Components
    template <const auto& Kind> ComponentMap<Kind>& MapOf() noexcept { return std::get<ComponentMap<Kind>>(m_maps); }
    void ForEachMap(auto&& visit) {
        std::apply([&](auto&... map) { (visit(map), ...); }, m_maps);
    }
    /// Fetches the components of one kind from the server and returns them. The same call requests the other kinds that
    /// the data transfer mode includes and the type lacks; these are delivered to their maps. Called with no lock held.
    XLXTypeCacheComp::XStampedRecords FetchTypeCacheComponents(LONG mode);
    LONG ModeToFetch(LONG requested);

    std::tuple<ComponentMap<XLXTypeCacheComp::Attributes>, ComponentMap<XLXTypeCacheComp::Pages>,
               ComponentMap<XLXTypeCacheComp::Groups>, ComponentMap<XLXTypeCacheComp::Editors>>
        m_maps;
    XLXCFCDataTransfer::XILXTypeComp AskForComponents(LONG mode, const LXErrorLocation& at) const;
    LONG DefaultMode() const noexcept;
    /// Reports stale waiting records to the refill of all types, which may call the server. True: all types were read.
    bool TryRefillAllTypes();
    std::shared_ptr<const XTransferModeSupplier> m_modeSupplier;
    XRefillPtr m_componentRefill; // constant once the type is handed out
    XLXText m_name;               // constant once the type is handed out; empty for a type that has none yet
    std::atomic<LONG> m_flags{0};
    XFillMutex m_fetch;
    mutable XLeafMutex m_baseMutex; // writers also hold g_linkMutex
    XLXComPtr<ILXTypeCache> m_pBaseFace LX_GUARDED_BY(m_baseMutex);
    // The same object if it is of this class; m_pBaseFace holds the reference.
    XLXTypeCache* m_pBase LX_GUARDED_BY(m_baseMutex) = nullptr;
    XWeakLink<XGroupOwner> m_selfLink;
};

#endif
