// SPDX-License-Identifier: MIT
//
// The common part of transient objects: configuration objects without a server object, with a fixed table of properties
// of which most are constant.
#ifndef XLXTRANSIENTOBJECT_H
#define XLXTRANSIENTOBJECT_H

#include "XLXComVariant.h"
#include "XLeafMutex.h"
#include "XPropertyMethods.h"
#include "XUnknown.h"

#include <algorithm>
#include <span>

/// A property of a transient object and its initial value.
struct XTransientProperty {
    int index;
    VARTYPE type; ///< VT_I4, VT_BOOL, VT_R8 or VT_BSTR
    LONG number = 0;
    const OLECHAR* text = OLESTR("");

    XLXComVariant Value() const {
        switch (type) {
        case VT_BOOL: return XLXComVariant::FromBool(number != 0);
        case VT_R8: return XLXComVariant::FromDouble(number);
        case VT_BSTR: return XLXComVariant::FromBstr(text);
        default: return XLXComVariant::FromI4(number);
        }
    }
};

/// The differences between the transient objects.
struct XTransientFacts {
    std::span<const XTransientProperty> properties;
    LXErrorLocation get;
    std::optional<LXErrorLocation> unknown; ///< for an unknown index; none: only E_INVALIDARG is returned
};

/// Reference counting for objects whose lifetime does not depend on references. Each reference locks the module, so
/// that the object's code stays loaded while somebody holds it. Thread-safe.
template <class Derived, class Interface> class XModuleReferences : public XFaces<Derived, Interface> {
public:
    ULONG STDMETHODCALLTYPE AddRef() override {
        XModuleCount::Lock();
        m_count.fetch_add(1, std::memory_order_relaxed);
        return Answer;
    }
    /// A Release without a matching AddRef does not unlock the module.
    ULONG STDMETHODCALLTYPE Release() override {
        ULONG count = m_count.load(std::memory_order_relaxed);
        while (count != 0 && !m_count.compare_exchange_weak(count, count - 1, std::memory_order_relaxed)) {}
        if (count != 0) { XModuleCount::Unlock(); }
        return Answer;
    }

protected:
    ~XModuleReferences() = default;

private:
    static constexpr ULONG Answer = 1; // a constant, so that callers conclude nothing from it

    std::atomic<ULONG> m_count{0};
};

/// Supports its own interface and IUnknown, but no callback. Thread-safe.
/// @tparam Base  the interface's implementation: an XUnknown or an XModuleReferences
template <class Base, EConfigElementKind kind> class XLXTransientObject : public XPropertyMethods<Base, kind> {
public:
    static HRESULT RefuseNullFace() noexcept {
        return XLXError::RefusePointer(OLESTR("ppv"),
                                       LXHere("XLXTransientObject", "XLXTransientObject", "QueryInterface"));
    }

    HRESULT STDMETHODCALLTYPE GetProperty(int iLXCF_Member, VARIANT* pvarValue) override {
        return XLXError::Guarded(m_facts.get, [&]() -> HRESULT {
            XLXError::CheckPointer(pvarValue, OLESTR("pvarValue"), m_facts.get);
            const auto place = Find(iLXCF_Member);
            if (!place && m_facts.unknown) { RaiseUnknownIndex(iLXCF_Member, *m_facts.unknown); }
            return place ? LXHandOutValue(ValueAt(*place), pvarValue) : E_INVALIDARG;
        });
    }

protected:
    explicit XLXTransientObject(const XTransientFacts& facts) : m_facts(facts) {
        for (const XTransientProperty& property : facts.properties) {
            m_values.push_back(property.Value());
        }
    }
    ~XLXTransientObject() = default;

    /// The position of a property in the table, or nothing for an unknown index.
    std::optional<std::size_t> Find(int index) const noexcept {
        const auto found = std::ranges::find(m_facts.properties, index, &XTransientProperty::index);
        return found != m_facts.properties.end() ? std::optional<std::size_t>(found - m_facts.properties.begin())
                                                 : std::nullopt;
    }
    XLXComVariant ValueAt(std::size_t place) const {
        const XLeafLock lock(m_mutex);
        return m_values[place].Copy();
    }
    /// Replaces the value of a property. The property must exist.
    void Store(int index, XLXComVariant value) {
        const XLeafLock lock(m_mutex);
        std::swap(m_values[*Find(index)], value);
    }

    [[noreturn]] static void RaiseUnknownIndex(int index, const LXErrorLocation& at) {
        XLXError::Raise(E_INVALIDARG, XLXFormat() << "property index (" << LONG{index} << ") is unknown", at);
    }

    const XTransientFacts& m_facts;
    mutable XLeafMutex m_mutex; // nothing is called while it is held

private:
    XLXVariantVector m_values LX_GUARDED_BY(m_mutex); // in table order
};

#endif
