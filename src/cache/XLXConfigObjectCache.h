// SPDX-License-Identifier: MIT
//
// The common model of all cached configuration objects.
//
// A cached object implements the interface of the server object that it mirrors, and the callback interface for change
// notifications sent directly to it. The first read fetches all values of the server object in one call; later reads
// are answered from the property store while its stamp equals the current one.
//
// Ownership  The object holds one reference to its server object and one to the clock of its connection. The last
//            Release destroys it.
// Threading  Any thread may call. The store has its own lock. The server is called with no lock held, so two threads
//            may both fetch; an older answer never replaces a newer one.
#ifndef XLXCONFIGOBJECTCACHE_H
#define XLXCONFIGOBJECTCACHE_H

#include "LXComInterfaceProxy.h"
#include "XLoaded.h"
#include "XNotificationRule.h"
#include "XPropertyMethods.h"
#include "XRefill.h"
#include "XRetired.h"
#include "XUnknown.h"
#include "associations.h"
#include "cachedobjectfacts.h"
#include "lxcfctools.h"

#include <atomic>

/// @tparam Derived    the class itself; it may hide the functions that are called on self()
/// @tparam Facts      its row of cachedobjectfacts.h
/// @tparam Interface  the mirrored interface
/// @tparam MoreFaces  further interfaces that QueryInterface supports
template <class Derived, const XCachedObjectFacts& Facts, class Interface, class... MoreFaces>
class XLXConfigObjectCache
    : public XPropertyMethods<XUnknown<Derived, Interface, MoreFaces..., ILXCallbackUpdate>, Facts.kind> {
public:
    /// @param clock  the clock of the connection; null: nothing on the server can make the object stale
    XLXConfigObjectCache(XLXComPtr<IUnknown> server, XClockPtr clock)
        : m_clock(std::move(clock)), m_server(Facts.proxyScope, std::move(server)), m_store(Facts.slots) {}

    static HRESULT RefuseNullFace() noexcept {
        return XLXError::RefusePointer(OLESTR("ppv"), Facts.At("QueryInterface"));
    }

    // ILXConfigObject
    HRESULT STDMETHODCALLTYPE GetProperty(int iLXCF_Member, VARIANT* pvarValue) override {
        return XLXError::Guarded(Facts.At("GetProperty"), [&]() -> HRESULT {
            XLXError::CheckPointer(pvarValue, OLESTR("pvarValue"), Facts.At("GetProperty"));
            XLXComVariant value;
            const HRESULT result = ReadProperty(iLXCF_Member, value);
            return result == S_OK ? LXHandOutValue(std::move(value), pvarValue) : result;
        });
    }
    HRESULT STDMETHODCALLTYPE SetProperty(int iLXCF_Member, VARIANT varValue) override {
        if constexpr (Facts.readOnly) { return E_NOTIMPL; }
        return XLXError::Guarded(Facts.At("SetProperty"), [&]() -> HRESULT {
            XLXComVariant value = XLXComVariant::CopyOf(varValue);
            if (FAILED(m_store.Write(iLXCF_Member, value))) { LXRaisePropertyIndex(iLXCF_Member); }
            return S_OK;
        });
    }

    // ILXCallback, ILXCallbackUpdate
    HRESULT STDMETHODCALLTYPE CheckCallbackValid() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ServerIsTerminating() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetCallbackId(LONG) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetClientInfo(tagLXClientInfo* pClientInfo) override {
        return XLXError::Guarded(Facts.At("GetClientInfo"), [&] {
            // The text of a browser id names the class of attribute types on purpose: programs search logs for it.
            constexpr const auto& named = &Facts == &XCachedFacts::BrowserId ? XCachedFacts::AttributeType : Facts;
            return LXGetClientInfo(pClientInfo, named.className, Facts.At("GetClientInfo"));
        });
    }
    HRESULT STDMETHODCALLTYPE DataObjectChanged(BSTR bstrDataID, BSTR, ULONG, ULONG, ULONG, tagLXUpdateInfo*) override {
        return XLXError::Guarded(Facts.At("DataObjectChanged"), [&] {
            const XDataId id = XDataId::Parse(LXBstrView(bstrDataID));
            const XAspectSet concerned = XNotificationRule::Concerned(id, id.mode);
            XAspectSet touched;
            if (m_clock) {
                NotifyDirectly({concerned, id.kind == LXDataIdKind::ParentChild, m_clock->DrawDirect()}, touched);
            }
            LXTraceInvalidated(touched);
            return S_OK;
        });
    }

    // For owners

    /// Handles a notification that was sent directly to the object or its owner. Takes only the locks of maps that the
    /// object owns.
    /// @param touched  receives the aspects that became stale
    void NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) {
        m_direct.Raise(notification.number); // before the own counts: see XBasicDirectNumber
        if (m_place.load() != Place::InMap) {
            // The notification may be meant for the object's successor in the map.
            m_clock->Advance(notification.concerned);
            m_place.store(Place::Stale);
        }
        AdvanceIf(Facts.values, notification.concerned, m_store, touched);
        self().OnDirectNotification(notification, touched);
    }

    /// Takes over the number of the owner's last direct notification when the object enters the owner's map, so that no
    /// answer requested before the notification can refresh the object later. If the notification came after the
    /// moment, the object missed it: all that it has loaded becomes stale. Called under the map's lock.
    void TakeOwnersNumber(const XDirectNumber& ofOwner, const XMoment& moment) {
        if (const std::uint64_t number = ofOwner.Now(); number > m_direct.Now()) {
            XAspectSet touched;
            NotifyDirectly({{}, false, number}, touched); // concerns nothing, but reaches the parts
        }
        if (ofOwner.IsNewerThan(moment)) { AdvanceAll(); }
    }

    /// Reads a value as GetProperty does, into an empty variant. Returns a failure of the server; raises those of the
    /// component itself.
    HRESULT ReadProperty(int index, XLXComVariant& value) {
        HRESULT result = m_store.Read(index, value, Now());
        if (result == S_FALSE && m_place.load(std::memory_order_acquire) == Place::Detached) {
            result = m_store.ReadStale(index, value);
        }
        if (result == S_FALSE && TryRefillWithOthers()) { result = m_store.Read(index, value, Now()); }
        if (result == S_FALSE) { return FetchAndRead(index, value); }
        if (result == E_INVALIDARG) { LXRaisePropertyIndex(index); }
        if (result == E_OUTOFMEMORY) { throw std::bad_alloc(); }
        return result;
    }

    /// Reads a value; returns nullopt on failure and sets no error information.
    std::optional<XLXComVariant> TryRead(int index) {
        XLXComVariant value;
        const HRESULT result = LXWithoutRaising([&] { return ReadProperty(index, value); });
        return SUCCEEDED(result) ? std::optional<XLXComVariant>(std::move(value)) : std::nullopt;
    }

    /// A value from the store; empty if it is missing or stale. Does not ask the server.
    XLXComVariant Peek(int index) const {
        XLXComVariant value;
        if (m_store.Read(index, value, Now()) == E_OUTOFMEMORY) { throw std::bad_alloc(); }
        return value;
    }

    /// Sets the refill that reads stale values together with those of other objects; null: none. Called before the
    /// object is handed out.
    void SetRefill(XRefillPtr refill) noexcept { m_refill = std::move(refill); }
    const XRefillPtr& Refill() const noexcept { return m_refill; }

    /// Takes only the values of a bulk answer, unless the store has newer ones, or the object got another server object
    /// since the moment: then the answer may be that of the former one.
    void RefillValues(XVariantRow values, const XMoment& moment, XRetired& retired) {
        const XStamp stamp = LXStampFrom(moment, Facts.values, m_store.Own(), m_direct);
        if (!m_serverReplaced.IsNewerThan(moment)) { // read after the own count, which advances later
            AmendAndAssign(values, stamp, retired);
        }
        retired.Take(std::move(values));
    }
    bool AreValuesFresh() const { return m_store.IsFresh(Now()); }

    /// Takes a record of an answer, unless a newer one was taken before. Its server object replaces the present one,
    /// and its values replace older ones. A new object takes its first record in the same way, because an older answer
    /// may still arrive.
    ///
    /// Everything loaded through a former server object becomes stale: the pointer is replaced first and the own counts
    /// are advanced afterwards, while readers take a stamp first and the pointer afterwards. An object that a
    /// source supplied, or is about to supply, counts as a former one.
    /// @param source  supplies the server object on first use, if the record has none
    /// @return false: a newer record was taken before, and nothing changed
    bool TakeRecord(XLXComPtr<IUnknown> server, XVariantRow values, const XRequestTime& requested, XRetired& retired,
                    XServerSourcePtr source = {}) {
        const IUnknown* const wanted = server.Get();
        typename Proxy::Link link{std::move(server), {}, std::move(source)};
        const bool isTaken = m_server.Swap(link, requested.stamp);
        if (isTaken) {
            if (!link.held || link.held.Get() != wanted) {
                m_serverReplaced.Raise(m_clock->DrawDirect());
                AdvanceAll();
            }
            AmendAndAssign(values, LXStampFrom(requested.moment, Facts.values, m_store.Own(), m_direct), retired);
        }
        retired.Take(std::move(values));
        retired.Take(std::move(link.held));
        retired.Take(XLXComPtr<IUnknown>(std::move(link.typed)));
        return isTaken;
    }

    /// Makes everything stale that the object or its parts have loaded. Takes no lock.
    void AdvanceAll() noexcept {
        m_store.Advance();
        self().AdvanceParts();
    }

    /// Marks the object as being in its owner's map; it may have left the map before. Called under the map's lock.
    void Attach() noexcept {
        if (m_place.load(std::memory_order_relaxed) != Place::InMap) { m_place.store(Place::InMap); }
    }
    /// Marks the object as having left its owner's map. If its values are fresh now, it keeps answering with them.
    void Detach() noexcept {
        bool areFresh = false;
        try {
            areFresh = m_store.IsFresh(Now());
        } catch (const std::bad_alloc&) {
            // The lock's table of threads cannot grow. The values count as stale.
        }
        m_place.store(areFresh ? Place::Detached : Place::Stale);
    }
    /// Whether the object was notified directly after that moment. Called after Detach.
    bool WasNotifiedSince(const XMoment& moment) const noexcept { return m_direct.IsNewerThan(moment); }

    const XClockPtr& Clock() const noexcept { return m_clock; }
    const XDirectNumber& Direct() const noexcept { return m_direct; }

    /// Called by the owner when it drops the object.
    void Terminate() noexcept {}

protected:
    ~XLXConfigObjectCache() = default;

    /// Amends values that are about to enter the store. Returns the object that this displaced.
    XLXComPtr<IUnknown> AmendValues(XVariantRow&) { return {}; }
    /// Called under the store's lock with the new values.
    void OnAssigned(const XVariantRow&, const XStamp&) noexcept {}
    /// Makes everything stale that the object has loaded besides its values. Takes no lock.
    void AdvanceParts() noexcept {}
    /// Handles a direct notification for the parts that the object owns.
    void OnDirectNotification(const XDirectNotification&, XAspectSet&) {}

    /// Advances the own count of a holder if a notification concerns its aspect.
    template <class Holder>
    static void AdvanceIf(XAspect aspect, const XAspectSet& concerned, Holder& holder, XAspectSet& touched) noexcept {
        if (concerned.Has(aspect)) {
            holder.Advance();
            touched.Add(aspect);
        }
    }

    /// The clock's number of the values' aspect.
    std::uint64_t Now() const noexcept { return m_clock ? m_clock->Now(Facts.values) : 1; }
    XObjectTime TimeOf(XAspect aspect) const noexcept { return {m_clock.Get(), aspect}; }
    /// A copy of the whole clock.
    XMoment Moment() const noexcept { return m_clock ? m_clock->Copy() : XMoment::Timeless(); }

    /// Refills stale values together with those of other objects. True: a refill has run, so the store may have fresh
    /// values now.
    bool TryRefillWithOthers() {
        return m_refill && m_place.load() == Place::InMap && !AreValuesFresh() && m_refill->OnStale(Facts.values);
    }

    /// Asks the server for all values and stores them. Any result of the server other than S_OK is returned.
    /// @param use  called with the values before they are stored
    template <class Use> HRESULT Fetch(Use&& use) {
        const XStamp stamp{Now(), m_store.Own().Now()};
        XVariantRow values;
        const auto ask = [&, server = Server()] { return LXFetchProperties(*server, Facts.At("GetProperty"), values); };
        const HRESULT fetched = m_refill ? m_refill->Costs()->Timed(ask) : ask();
        if (fetched != S_OK) { return fetched; }
        const XLXComPtr<IUnknown> displaced = self().AmendValues(values);
        use(static_cast<const XVariantRow&>(values));
        Assign(values, stamp);
        return S_OK;
    }

    XLXComPtr<Interface> Server() const { return *m_server; }
    bool HasServer() const noexcept { return m_server.HasObject(); }
    /// Releases the server object and accepts no other one. Makes nothing stale.
    void ReleaseServer() noexcept {
        typename Proxy::Link none;
        constexpr std::uint64_t last = ~std::uint64_t{0};
        m_server.Swap(none, {last, last});
    }
    static constexpr const XCachedObjectFacts& TheClass = Facts;

    XPropertyStore& Store() noexcept { return m_store; }
    const XPropertyStore& Store() const noexcept { return m_store; }

private:
    using Proxy = LXComInterfaceProxy::XLazyIProxy<Interface>;

    Derived& self() noexcept { return static_cast<Derived&>(*this); }

    // Answers from this fetch even if a notification overtook it, because the caller asked before the notification.
    HRESULT FetchAndRead(int index, XLXComVariant& value) {
        bool inRange = false;
        const HRESULT fetched = Fetch([&](const XVariantRow& values) {
            inRange = index >= 0 && static_cast<std::size_t>(index) < values.size();
            if (inRange) { value = values[static_cast<std::size_t>(index)].Copy(); }
        });
        if (fetched != S_OK) { return fetched; }
        if (!inRange) { LXRaisePropertyIndex(index); }
        return value.Empty() ? S_FALSE : S_OK;
    }

    void AmendAndAssign(XVariantRow& values, const XStamp& stamp, XRetired& retired) {
        if (values.empty()) { return; }
        retired.Take(self().AmendValues(values));
        Assign(values, stamp);
    }
    void Assign(XVariantRow& values, const XStamp& stamp) {
        m_store.Assign(values, stamp, [&](const XVariantRow& assigned) { self().OnAssigned(assigned, stamp); });
    }

    enum class Place : unsigned char {
        InMap,    ///< in its owner's map, or it never had an owner
        Detached, ///< has left the map with fresh values, which stay readable
        Stale     ///< has left the map with stale values: reads ask the server object
    };

    const XClockPtr m_clock;
    XDirectNumber m_direct;
    XDirectNumber m_serverReplaced; // drawn when a record replaces the server object, before the own counts advance
    std::atomic<Place> m_place{Place::InMap};
    Proxy m_server;
    XRefillPtr m_refill; // constant once the object is handed out
    XPropertyStore m_store;
};

/// A cached object without methods beyond those of the common model.
template <const XCachedObjectFacts& Facts, class Interface>
class XLXPlainObjectCache final : public XLXConfigObjectCache<XLXPlainObjectCache<Facts, Interface>, Facts, Interface> {
    using Base = XLXConfigObjectCache<XLXPlainObjectCache<Facts, Interface>, Facts, Interface>;

public:
    using Base::Base;

    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }
};

#endif
