// SPDX-License-Identifier: MIT
//
// What the transient objects have in common: configuration objects without a server object behind them, whose
// properties are a few fields and many constants.
#ifndef XLXTRANSIENTOBJECT_H
#define XLXTRANSIENTOBJECT_H

#include "XLXComVariant.h"
#include "XPropertyMethods.h"
#include "XUnknown.h"

#include <algorithm>
#include <span>

/// A property that a transient object has, with the value that it answers or starts with.
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

/// The property of an index; null when the table has none.
inline const XTransientProperty* LXFindProperty(std::span<const XTransientProperty> table, int index) noexcept {
    const auto found = std::ranges::find(table, index, &XTransientProperty::index);
    return found != table.end() ? &*found : nullptr;
}

/// An object whose life does not depend on the references to it. Each is a lock on the module, so that the object's
/// code is there as long as somebody holds it. Any thread may call.
template <class Derived, class Interface>
class XModuleReferences : public XFaces<Derived, Interface> {
public:
    ULONG STDMETHODCALLTYPE AddRef() override {
        XModuleCount::Lock();
        m_count.fetch_add(1, std::memory_order_relaxed);
        return Answer;
    }
    /// One that was never added takes no lock away.
    ULONG STDMETHODCALLTYPE Release() override {
        ULONG count = m_count.load(std::memory_order_relaxed);
        while (count != 0 && !m_count.compare_exchange_weak(count, count - 1, std::memory_order_relaxed)) {}
        if (count != 0) { XModuleCount::Unlock(); }
        return Answer;
    }

protected:
    ~XModuleReferences() = default;

private:
    static constexpr ULONG Answer = 1; // no count, since callers must not conclude anything from it

    std::atomic<ULONG> m_count{0};
};

/// It answers its interface and IUnknown, and no callback.
/// @tparam Base  its face: an XUnknown, or an XModuleReferences
template <class Base, EConfigElementKind kind>
class XLXTransientObject : public XPropertyMethods<Base, kind> {
public:
    static HRESULT RefuseNullFace() noexcept {
        return XLXError::RefusePointer(OLESTR("ppv"),
                                       LXHere("XLXTransientObject", "XLXTransientObject", "QueryInterface"));
    }

protected:
    ~XLXTransientObject() = default;

    /// Gives the value of a property to a caller's variable.
    /// @param unknownAt  where an unknown index is reported; none: it is refused with a bare code
    /// @param valueOf    valueOf(property) makes the value
    static HRESULT HandOutProperty(std::span<const XTransientProperty> table, int index, VARIANT* out,
                                   const LXErrorLocation& at, const std::optional<LXErrorLocation>& unknownAt,
                                   auto&& valueOf) {
        return XLXError::Guarded(at, [&]() -> HRESULT {
            XLXError::CheckPointer(out, OLESTR("pvarValue"), at);
            const XTransientProperty* const property = LXFindProperty(table, index);
            if (property == nullptr && unknownAt) { RaiseUnknownIndex(index, *unknownAt); }
            return property != nullptr ? LXHandOutValue(valueOf(*property), out) : E_INVALIDARG;
        });
    }

    [[noreturn]] static void RaiseUnknownIndex(int index, const LXErrorLocation& at) {
        XLXError::Raise(E_INVALIDARG, XLXFormat() << "property index (" << LONG{index} << ") is unknown", at);
    }
};

#endif
