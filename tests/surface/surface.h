// SPDX-License-Identifier: MIT
//
// All interfaces of the definitions as data: their methods in slot order, the parameters, and for each method a
// callable that calls it with arguments chosen by a test. The table is generated from the definitions at build time, so
// it includes new methods automatically.
#ifndef SURFACE_H
#define SURFACE_H

#include "XLXComPtr.h"

#include <string>
#include <type_traits>
#include <vector>

enum class XRole { In, Out, InOut };

/// The kind of a parameter. An array of fixed size has the kind of a pointer to its element.
enum class XKind {
    Number,    ///< an integer or an enumeration
    Text,      ///< BSTR
    Variant,   ///< VARIANT by value
    Object,    ///< an interface pointer
    Array,     ///< SAFEARRAY*
    Id,        ///< REFIID
    Texts,     ///< BSTR*: an input array, or one output text
    Variants,  ///< VARIANT*: an input array, or one output value
    Named,     ///< tagLXNamedValue*
    Objects,   ///< an output interface pointer
    Arrays,    ///< an output SAFEARRAY**
    TextLists, ///< an output BSTR**: an array of texts that the caller frees
    Client,    ///< tagLXClientInfo*
    Other
};

struct XParameter {
    const char* name;
    XRole role;
    int count; ///< index of the parameter with the number of elements; -1: a single one
    XKind kind = XKind::Other;
    const IID* iid = nullptr; ///< of an object
    bool isSigned = true;     ///< of a number

    bool IsPointer() const { return kind != XKind::Number && kind != XKind::Variant && kind != XKind::Id; }
    /// Whether the caller owns the pointed-to result, which is null if there is none.
    bool HandsOver() const {
        return role == XRole::Out &&
               (kind == XKind::Objects || kind == XKind::Arrays || kind == XKind::TextLists || kind == XKind::Texts);
    }
};

/// One argument of a call.
struct XArgument {
    void* pointer = nullptr;
    long long number = 0;
    VARIANT variant = {};

    template <class T> T To() const {
        using Plain = std::remove_cvref_t<T>;
        if constexpr (std::is_same_v<Plain, VARIANT>) {
            return variant;
        } else if constexpr (std::is_reference_v<T>) {
            return *static_cast<const Plain*>(pointer);
        } else if constexpr (std::is_pointer_v<T>) {
            return static_cast<T>(pointer);
        } else {
            return static_cast<T>(number);
        }
    }
};

struct XMethod {
    const char* name;
    std::vector<XParameter> parameters;
    HRESULT (*call)(void* face, const XArgument* arguments);
};

struct XInterface {
    const char* name;
    const IID* iid;
    std::vector<XMethod> methods; ///< from slot 3 on, beginning with those of its bases
};

/// All interfaces in the order of the definitions, followed by the platform's interfaces that the component implements.
const std::vector<XInterface>& LXSurface();

/// The interfaces that an object supports, without those that are bases of others in the list.
struct XFace {
    const XInterface* interface_;
    void* face; ///< without a reference: valid while the object is held
};
std::vector<XFace> LXFacesOf(IUnknown& object);

#endif
