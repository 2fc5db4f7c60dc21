// SPDX-License-Identifier: MIT
#include "surface.h"

#include <stdexcept>
#include <utility>

namespace {
template <class T> constexpr XKind KindOf() {
    if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
        return XKind::Number;
    } else if constexpr (std::is_same_v<T, BSTR>) {
        return XKind::Text;
    } else if constexpr (std::is_same_v<T, VARIANT>) {
        return XKind::Variant;
    } else if constexpr (std::is_same_v<std::remove_cvref_t<T>, IID>) {
        return XKind::Id;
    } else {
        using Target = std::remove_pointer_t<T>;
        return std::is_same_v<Target, SAFEARRAY>         ? XKind::Array
               : std::is_same_v<Target, SAFEARRAY*>      ? XKind::Arrays
               : std::is_same_v<Target, BSTR>            ? XKind::Texts
               : std::is_same_v<Target, BSTR*>           ? XKind::TextLists
               : std::is_same_v<Target, VARIANT>         ? XKind::Variants
               : std::is_same_v<Target, tagLXNamedValue> ? XKind::Named
               : std::is_same_v<Target, tagLXClientInfo> ? XKind::Client
               : std::is_base_of_v<IUnknown, Target>     ? XKind::Object
               : std::is_pointer_v<Target>               ? XKind::Objects
                                                         : XKind::Other;
    }
}

template <class T> void Describe(XParameter& parameter) {
    parameter.kind = KindOf<T>();
    parameter.isSigned = std::is_signed_v<T>;
    if constexpr (KindOf<T>() == XKind::Object) { parameter.iid = &LXIid<std::remove_pointer_t<T>>(); }
}

/// Calls a method through its interface.
template <auto method, class Signature = decltype(method)> struct Caller;

template <auto method, class C, class... T> struct Caller<method, HRESULT (STDMETHODCALLTYPE C::*)(T...)> {
    static HRESULT Call(void* face, const XArgument* arguments) {
        return Call(face, arguments, std::index_sequence_for<T...>());
    }
    template <std::size_t... i>
    static HRESULT Call(void* face, [[maybe_unused]] const XArgument* arguments, std::index_sequence<i...>) {
        return (static_cast<C*>(face)->*method)(arguments[i].template To<T>()...);
    }
    static void DescribeAll(std::vector<XParameter>& parameters) {
        if (parameters.size() != sizeof...(T)) { throw std::logic_error("the definitions and the header disagree"); }
        [[maybe_unused]] auto parameter = parameters.begin();
        (Describe<T>(*parameter++), ...);
    }
};

template <auto method> XMethod Method(const char* name, std::vector<XParameter> parameters) {
    Caller<method>::DescribeAll(parameters);
    return {name, std::move(parameters), &Caller<method>::Call};
}

template <class I> XInterface Interface(const char* name, std::vector<XMethod> methods) {
    return {name, &LXIid<I>(), std::move(methods)};
}
} // namespace

const std::vector<XInterface>& LXSurface() {
    static const std::vector<XInterface> surface = {
#include "surfacetable.inc"
    };
    return surface;
}

std::vector<XFace> LXFacesOf(IUnknown& object) {
    std::vector<XFace> faces;
    for (const XInterface& candidate : LXSurface()) {
        XLXComPtr<IUnknown> face;
        if (FAILED(object.QueryInterface(*candidate.iid, face.PutVoid()))) { continue; }
        bool isKnown = false;
        for (XFace& known : faces) {
            if (known.face == face.Get()) {
                isKnown = true;
                if (candidate.methods.size() > known.interface_->methods.size()) { known.interface_ = &candidate; }
            }
        }
        if (!isKnown) { faces.push_back({&candidate, face.Get()}); }
    }
    return faces;
}
