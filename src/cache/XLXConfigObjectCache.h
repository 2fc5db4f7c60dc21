// SPDX-License-Identifier: MIT
//
// The common model of all cached configuration objects.
//
// A cached object answers through the interface of the server object that it mirrors, and is a callback for
// the change notifications that concern it. It reads all values of the server object in one call when the
// first one is wanted, answers from its property store until a notification invalidates that, and then reads
// again.
//
// Ownership  The object holds one reference to its server object. It is destroyed by the last Release.
// Threading  Any thread may call. The store has its own lock; the server is called with no lock held, so two
// threads
//            may both read from it, and the later answer is kept.
#ifndef XLXCONFIGOBJECTCACHE_H
#define XLXCONFIGOBJECTCACHE_H

#include "LXComInterfaceProxy.h"
#include "XCritLong.h"
#include "XInvalidationLog.h"
#include "XModuleCount.h"
#include "XNotificationEpoch.h"
#include "associations.h"
#include "cachedobjectfacts.h"
#include "lxcfctools.h"

#include <atomic>

/// @tparam Derived    the class itself; it may replace AmendValues and OnNotification
/// @tparam Facts      its row of cachedobjectfacts.h
/// @tparam Interface  the mirrored interface
/// @tparam MoreFaces  further interfaces, answered by their own ids
template <class Derived, const XCachedObjectFacts& Facts, class Interface, class... MoreFaces>
class XLXConfigObjectCache : public Interface, public MoreFaces..., public ILXCallbackUpdate
{
public:
    explicit XLXConfigObjectCache(XLXComPtr<IUnknown> server, std::size_t slots = 0)
        : m_server(Facts.proxyScope, std::move(server)), m_store(slots)
    {}
    XLXConfigObjectCache(const XLXConfigObjectCache&) = delete;
    XLXConfigObjectCache& operator=(const XLXConfigObjectCache&) = delete;

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override
    {
        return XLXError::Guarded(Facts.At("QueryInterface"), [&]() -> HRESULT {
            XLXError::CheckPointer(ppv, OLESTR("ppv"), Facts.At("QueryInterface"));
            *ppv = self().FindFace(iid);
            if (*ppv == nullptr)
            {
                return E_NOINTERFACE;
            }
            AddRef();
            return S_OK;
        });
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return m_references.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0)
        {
            delete static_cast<Derived*>(this);
        }
        return left;
    }

    // ILXConfigObject
    HRESULT STDMETHODCALLTYPE Get(BSTR bstrKey, VARIANT* pvarValue) override
    {
        return this->GetProperty(XCfgPropertyConvert::Convert(Facts.kind, bstrKey), pvarValue);
    }
    HRESULT STDMETHODCALLTYPE Set(BSTR bstrKey, VARIANT varValue) override
    {
        return this->SetProperty(XCfgPropertyConvert::Convert(Facts.kind, bstrKey), varValue);
    }
    HRESULT STDMETHODCALLTYPE Gets(SAFEARRAY*, SAFEARRAY** psaValues) override
    {
        return LXNotOffered(psaValues);
    }
    HRESULT STDMETHODCALLTYPE Sets(SAFEARRAY*, SAFEARRAY** psaValues) override
    {
        return LXNotOffered(psaValues);
    }
    HRESULT STDMETHODCALLTYPE GetProperty(int iLXCF_Member, VARIANT* pvarValue) override
    {
        return XLXError::Guarded(Facts.At("GetProperty"), [&]() -> HRESULT {
            XLXError::CheckPointer(pvarValue, OLESTR("pvarValue"), Facts.At("GetProperty"));
            XLXComVariant value;
            HRESULT result = ReadProperty(iLXCF_Member, value);
            if (result == S_OK)
            {
                // The caller's old value is cleared here, with no lock held: what it releases may call back.
                result = LXClear(*pvarValue);
                if (SUCCEEDED(result))
                {
                    value.DetachTo(pvarValue);
                }
            }
            return result;
        });
    }
    HRESULT STDMETHODCALLTYPE SetProperty(int iLXCF_Member, VARIANT varValue) override
    {
        if constexpr (Facts.readOnly)
        {
            return E_NOTIMPL;
        }
        return XLXError::Guarded(Facts.At("SetProperty"), [&]() -> HRESULT {
            XLXComVariant value = XLXComVariant::CopyOf(varValue);
            if (FAILED(m_store.Write(iLXCF_Member, value)))
            {
                LXRaisePropertyIndex(iLXCF_Member);
            }
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE GetProperties(SAFEARRAY** psaValues) override
    {
        return LXNotOffered(psaValues);
    }
    HRESULT STDMETHODCALLTYPE SetProperties(SAFEARRAY*, SAFEARRAY** psaValues) override
    {
        return LXNotOffered(psaValues);
    }

    // ILXCallback, ILXCallbackUpdate
    HRESULT STDMETHODCALLTYPE CheckCallbackValid() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ServerIsTerminating() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetCallbackId(LONG lClientId) override
    {
        m_callbackId.Lock();
        m_callbackId = lClientId;
        m_callbackId.Unlock();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetClientInfo(tagLXClientInfo* pClientInfo) override
    {
        return XLXError::Guarded(Facts.At("GetClientInfo"), [&] {
            return LXGetClientInfo(pClientInfo, Facts.clientInfoClass, Facts.At("GetClientInfo"));
        });
    }
    HRESULT STDMETHODCALLTYPE DataObjectChanged(BSTR bstrDataID, BSTR bstrDataTyp, ULONG, ULONG, ULONG,
                                                tagLXUpdateInfo*) override
    {
        return XLXError::Guarded(Facts.At("DataObjectChanged"), [&] {
            const XInvalidationLog::Scope scope;
            XNotificationEpoch::AdvanceDirect(); // a bulk read may be under way with the old values
            return Notify({XDataId::Parse(LXBstrView(bstrDataID)), bstrDataTyp});
        });
    }

    // For owners

    /// Takes a notification: only flags are cleared and generations raised, so that it may be called under
    /// the locks of the owner's maps.
    HRESULT Notify(const XChangeNotification& notification) { return self().OnNotification(notification); }

    /// Reads a value as GetProperty does, into a variant that must be empty. Raises failures of the component
    /// itself.
    HRESULT ReadProperty(int index, XLXComVariant& value)
    {
        const HRESULT result = m_store.Read(index, value);
        if (result == E_INVALIDARG)
        {
            LXRaisePropertyIndex(index);
        }
        return result == S_FALSE ? FetchAndRead(index, value) : result;
    }

    /// Reads a value where a failure counts as having none: nothing, and no error information.
    std::optional<XLXComVariant> TryRead(int index)
    {
        XLXComVariant value;
        const HRESULT result = LXWithoutRaising([&] { return ReadProperty(index, value); });
        return SUCCEEDED(result) ? std::optional<XLXComVariant>(std::move(value)) : std::nullopt;
    }

    /// Replaces all values by those that a bulk read brought, so that reading needs no call to the server.
    /// @param noted  what the filler noted before the bulk read (NoteStore)
    void AssignProperties(XVariantRow values, std::uint64_t noted)
    {
        self().AmendValues(values);
        m_store.Assign(values, noted);
    }
    std::uint64_t NoteStore() const noexcept { return m_store.Note(); }
    std::uint64_t StoreGeneration() const noexcept { return m_store.Generation(); }
    /// Makes the next read ask the server. Waits for nobody.
    void InvalidateStore() noexcept
    {
        m_store.Invalidate();
        XInvalidationLog::Add(Facts.className, "properties");
    }

    /// Puts another server object in the place of the one that the object mirrors.
    void ReplaceServer(XLXComPtr<IUnknown> server) noexcept
    {
        XLXComPtr<Interface> typed;
        m_server.Swap(server, typed);
    }

    /// Called by an owner that drops the object.
    HRESULT Terminate() noexcept { return S_OK; }

protected:
    ~XLXConfigObjectCache() = default;

    /// The primary face answers for the mirrored interface and IUnknown, the callback face for itself.
    void* FindFace(REFIID iid) noexcept
    {
        if (IsEqualIID(iid, LXIid<Interface>()) || IsEqualIID(iid, IID_IUnknown))
        {
            return static_cast<Interface*>(this);
        }
        return IsEqualIID(iid, LXIid<ILXCallbackUpdate>()) ? static_cast<ILXCallbackUpdate*>(this) : nullptr;
    }

    /// Changes values that are about to enter the store.
    void AmendValues(XVariantRow&) {}

    HRESULT OnNotification(const XChangeNotification& notification)
    {
        InvalidateStoreFor(notification.id);
        return S_OK;
    }

    void InvalidateStoreFor(const XDataId& id) noexcept
    {
        if (Facts.Invalidates(id.kind, id.mode))
        {
            InvalidateStore();
        }
    }

    XLXComPtr<Interface> Server() const { return *m_server; }
    bool HasServer() const noexcept { return m_server.HasObject(); }
    /// Exchanges the server object; what is swapped out is released by the caller with no lock held.
    void SwapServer(XLXComPtr<IUnknown>& held, XLXComPtr<Interface>& typed) noexcept
    {
        m_server.Swap(held, typed);
    }

    /// Adds a reference unless the last one is gone already.
    bool TryAddReference() noexcept
    {
        ULONG count = m_references.load(std::memory_order_relaxed);
        while (count != 0 && !m_references.compare_exchange_weak(count, count + 1, std::memory_order_relaxed))
        {}
        return count != 0;
    }

    static constexpr const XCachedObjectFacts& TheFacts = Facts;

    XPropertyStore& Store() noexcept { return m_store; }

private:
    Derived& self() noexcept { return static_cast<Derived&>(*this); }

    // The answer is that of this fetch, even when a notification overtook it; it is then just not kept as
    // filled.
    HRESULT FetchAndRead(int index, XLXComVariant& value)
    {
        const std::uint64_t noted = m_store.Note();
        XVariantRow values;
        const HRESULT fetched =
            LXFetchProperties(*Server(), "ILXConfigObject::GetProperties", Facts.At("GetProperty"), values);
        if (fetched != S_OK)
        {
            if (FAILED(fetched))
            {
                XLXError::WriteErrorToLogBook(
                    fetched, XLXError::SeverityError,
                    OLESTR("some properties could not be read and will be ignored."),
                    Facts.At("GetProperty"));
            }
            return fetched;
        }
        self().AmendValues(values);
        const bool inRange = index >= 0 && static_cast<std::size_t>(index) < values.size();
        if (inRange && !values[static_cast<std::size_t>(index)].Empty())
        {
            value = values[static_cast<std::size_t>(index)].Copy();
        }
        m_store.Assign(values, noted);
        if (!inRange)
        {
            LXRaisePropertyIndex(index);
        }
        return value.Empty() ? S_FALSE : S_OK;
    }

    XLiveObject m_live;
    std::atomic<ULONG> m_references{0};
    XCritLong m_callbackId;
    LXComInterfaceProxy::XLazyIProxy<Interface> m_server;
    XPropertyStore m_store;
};

#endif
