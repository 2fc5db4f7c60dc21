// SPDX-License-Identifier: MIT
//
// The common model of all cached configuration objects.
//
// A cached object answers through the interface of the server object that it mirrors, and is a callback for the
// change notifications that concern it. It reads all values of the server object in one call when the first one is
// wanted, and answers from its property store while the store's stamp is what would be noted now.
//
// Ownership  The object holds one reference to its server object and one to the clock of its connection. It is
//            destroyed by the last Release.
// Threading  Any thread may call. The store has its own lock; the server is called with no lock held, so two threads
//            may both read from it, and the later answer is kept.
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

/// @tparam Derived    the class itself; it may replace what is called on self()
/// @tparam Facts      its row of cachedobjectfacts.h
/// @tparam Interface  the mirrored interface
/// @tparam MoreFaces  further interfaces, answered by their own ids
template <class Derived, const XCachedObjectFacts& Facts, class Interface, class... MoreFaces>
class XLXConfigObjectCache
    : public XPropertyMethods<XUnknown<Derived, Interface, MoreFaces..., ILXCallbackUpdate>, Facts.kind> {
public:
    /// @param clock  of the connection; null: nothing on the server can make the object stale
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
            // That of a browser id names the attribute type's class; programs search logs for that text.
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

    /// Takes a notification that came straight to the object or its owner. Waits for nobody but for who looks a map
    /// up.
    /// @param touched  receives what became stale
    void NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) {
        m_direct.Raise(notification.number); // before the own counts: see XBasicDirectNumber
        if (m_place.load() != Place::InMap) {
            // Meant for whatever has taken the object's place in the map.
            m_clock->Advance(notification.concerned);
            m_place.store(Place::Stale);
        }
        AdvanceIf(Facts.values, notification.concerned, m_store, touched);
        self().OnDirectNotification(notification, touched);
    }

    /// Takes the number of the last notification that came straight to the owner, whose map the object enters. An
    /// answer from before that notification must not give the object values later, although it was not yet in the map
    /// when the notification passed; what it has of such an answer is stale. Called under the map's lock.
    void TakeOwnersNumber(const XDirectNumber& ofOwner, const XMoment& moment) {
        if (const std::uint64_t number = ofOwner.Now(); number > m_direct.Now()) {
            XAspectSet touched;
            NotifyDirectly({{}, false, number}, touched); // concerns nothing, but reaches the parts
        }
        if (ofOwner.IsNewerThan(moment)) { AdvanceAll(); }
    }

    /// Reads a value as GetProperty does, into a variant that must be empty. Raises failures of the component itself.
    HRESULT ReadProperty(int index, XLXComVariant& value) {
        HRESULT result = m_store.Read(index, value, Now());
        if (result == S_FALSE && m_place.load(std::memory_order_acquire) == Place::Detached) {
            result = m_store.ReadStale(index, value);
        }
        if (result == S_FALSE && IsReadWithOthers()) { result = m_store.Read(index, value, Now()); }
        if (result == S_FALSE) { return FetchAndRead(index, value); }
        if (result == E_INVALIDARG) { LXRaisePropertyIndex(index); }
        if (result == E_OUTOFMEMORY) { throw std::bad_alloc(); }
        return result;
    }

    /// Reads a value where a failure counts as having none: nullopt, and no error information.
    std::optional<XLXComVariant> TryRead(int index) {
        XLXComVariant value;
        const HRESULT result = LXWithoutRaising([&] { return ReadProperty(index, value); });
        return SUCCEEDED(result) ? std::optional<XLXComVariant>(std::move(value)) : std::nullopt;
    }

    /// A value that can be had without asking the server: empty when there is none.
    XLXComVariant Peek(int index) const {
        XLXComVariant value;
        if (m_store.Read(index, value, Now()) == E_OUTOFMEMORY) { throw std::bad_alloc(); }
        return value;
    }

    /// Gives a new object the values that came with it.
    void AssignProperties(XVariantRow values, const XMoment& moment) {
        Assign(values, LXStampFrom(moment, Facts.values, m_store.Own(), m_direct));
    }

    /// Says by what stale values are read together with those of other objects; called before the object is handed
    /// out. Null: by nothing.
    void SetRefill(XRefillPtr refill) noexcept { m_refill = std::move(refill); }
    const XRefillPtr& Refill() const noexcept { return m_refill; }

    /// Takes the values of a bulk answer, and nothing else of it, unless newer ones are there.
    void RefillValues(XVariantRow values, const XMoment& moment, XRetired& retired) {
        if (!values.empty()) {
            retired.Take(self().AmendValues(values));
            Assign(values, LXStampFrom(moment, Facts.values, m_store.Own(), m_direct));
            retired.Take(std::move(values));
        }
    }
    /// Whether values that are fresh are there.
    bool AreValuesFresh() const { return m_store.IsFresh(Now()); }

    /// Says where a new object asks for its server object, which it has not.
    void SetSource(XServerSourcePtr source) noexcept {
        typename Proxy::Link link{{}, {}, std::move(source)};
        m_server.Swap(link, 0);
    }

    /// Takes a record of a bulk answer: its server object replaces the one that is there, and its values do unless
    /// newer ones are there. Without values the next read asks the server. What was loaded through a former server
    /// object is stale then: the pointer is replaced first and the own counts are advanced after, while whoever asks
    /// notes first and takes the pointer after. An object that was asked for, or is being asked for, is a former one.
    /// @param source  of a server object that did not come
    /// @return false: a later record was there already, and nothing changed
    bool TakeRecord(XLXComPtr<IUnknown> server, XVariantRow values, const XMoment& moment, XRetired& retired,
                    XServerSourcePtr source = {}) {
        const IUnknown* const wanted = server.Get();
        typename Proxy::Link link{std::move(server), {}, std::move(source)};
        const bool isTaken = m_server.Swap(link, moment.At(Facts.set));
        if (isTaken) {
            if (link.held ? link.held.Get() != wanted : link.source != nullptr) { AdvanceAll(); }
            RefillValues(std::move(values), moment, retired);
        }
        retired.Take(std::move(link.held));
        retired.Take(XLXComPtr<IUnknown>(std::move(link.typed)));
        retired.Take(std::move(values));
        return isTaken;
    }

    /// Makes everything stale that the object or a part of it has loaded. Waits for nobody.
    void AdvanceAll() noexcept {
        m_store.Advance();
        self().AdvanceParts();
    }

    /// Says that the object enters a map, under the map's lock: it may have left it meanwhile.
    void Attach() noexcept {
        if (m_place.load(std::memory_order_relaxed) != Place::InMap) { m_place.store(Place::InMap); }
    }
    /// Says that the object has left its map: who still holds it goes on reading the values that it has, if they were
    /// fresh until then.
    void Detach() noexcept {
        bool areFresh = false;
        try {
            areFresh = m_store.IsFresh(Now());
        } catch (const std::bad_alloc&) {
            // the lock's table of threads is full: the server is asked then
        }
        m_place.store(areFresh ? Place::Detached : Place::Stale);
    }
    /// Whether a notification came straight to the object after that moment. For an object that was detached before.
    bool WasNotifiedSince(const XMoment& moment) const noexcept { return m_direct.IsNewerThan(moment); }

    const XClockPtr& Clock() const noexcept { return m_clock; }
    const XDirectNumber& Direct() const noexcept { return m_direct; }

    /// Called by an owner that drops the object.
    void Terminate() noexcept {}

protected:
    ~XLXConfigObjectCache() = default;

    /// Changes values that are about to enter the store; returns the object that this displaced.
    XLXComPtr<IUnknown> AmendValues(XVariantRow&) { return {}; }
    /// Called under the store's lock with values that enter it.
    void OnAssigned(const XVariantRow&, const XStamp&) noexcept {}
    /// Makes everything stale that the object has loaded besides its values. Waits for nobody.
    void AdvanceParts() noexcept {}
    /// Takes a notification for the parts that the object owns.
    void OnDirectNotification(const XDirectNotification&, XAspectSet&) {}

    /// Advances the own count of a holder when a notification concerns its aspect.
    template <class Holder>
    static void AdvanceIf(XAspect aspect, const XAspectSet& concerned, Holder& holder, XAspectSet& touched) noexcept {
        if (concerned.Has(aspect)) {
            holder.Advance();
            touched.Add(aspect);
        }
    }

    /// What would be noted now of the values.
    std::uint64_t Now() const noexcept { return m_clock ? m_clock->Now(Facts.values) : 1; }
    XObjectTime TimeOf(XAspect aspect) const noexcept { return {m_clock.Get(), aspect}; }
    /// The whole clock as it is now.
    XMoment Moment() const noexcept { return m_clock ? m_clock->Copy() : XMoment::Timeless(); }

    /// Whether stale values were read now, together with those of other objects: they may be there.
    bool IsReadWithOthers() {
        return m_refill && m_place.load() == Place::InMap && !AreValuesFresh() && m_refill->OnStale(Facts.values);
    }

    /// Asks the server for all values. Anything but S_OK is returned.
    /// @param use  called with the values, and with the stamp noted before the server was asked
    template <class Use> HRESULT Fetch(Use&& use) {
        const XStamp noted{Now(), m_store.Own().Now()};
        XVariantRow values;
        const auto ask = [&, server = Server()] { return LXFetchProperties(*server, Facts.At("GetProperty"), values); };
        const HRESULT fetched = m_refill ? m_refill->Costs()->Timed(ask) : ask();
        if (fetched != S_OK) { return fetched; }
        const XLXComPtr<IUnknown> displaced = self().AmendValues(values);
        use(static_cast<const XVariantRow&>(values));
        Assign(values, noted);
        return S_OK;
    }

    XLXComPtr<Interface> Server() const { return *m_server; }
    bool HasServer() const noexcept { return m_server.HasObject(); }
    /// Lets go of the server object for good: nothing becomes stale by that.
    void ReleaseServer() noexcept {
        typename Proxy::Link none;
        m_server.Swap(none, ~std::uint64_t{0});
    }
    static constexpr const XCachedObjectFacts& TheFacts = Facts;

    XPropertyStore& Store() noexcept { return m_store; }
    const XPropertyStore& Store() const noexcept { return m_store; }

private:
    using Proxy = LXComInterfaceProxy::XLazyIProxy<Interface>;

    Derived& self() noexcept { return static_cast<Derived&>(*this); }

    // The answer is that of this fetch, even when a notification overtook it: who asked did so before.
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

    void Assign(XVariantRow& values, const XStamp& stamp) {
        m_store.Assign(values, stamp, [&](const XVariantRow& assigned) { self().OnAssigned(assigned, stamp); });
    }

    enum class Place : unsigned char {
        InMap,    ///< its owner knows it, or it never had one
        Detached, ///< it has left its map, and its values stay readable
        Stale     ///< the same, but the values are stale: its server object is asked
    };

    const XClockPtr m_clock;
    XDirectNumber m_direct;
    std::atomic<Place> m_place{Place::InMap};
    Proxy m_server;
    XRefillPtr m_refill; // constant once the object is handed out
    XPropertyStore m_store;
};

/// A cached object that has its values and nothing else.
template <const XCachedObjectFacts& Facts, class Interface>
class XLXPlainObjectCache final : public XLXConfigObjectCache<XLXPlainObjectCache<Facts, Interface>, Facts, Interface> {
    using Base = XLXConfigObjectCache<XLXPlainObjectCache<Facts, Interface>, Facts, Interface>;

public:
    using Base::Base;

    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }
};

#endif
