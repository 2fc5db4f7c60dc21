// SPDX-License-Identifier: MIT
//
// Every interface of the definitions as data: its methods in slot order, their parameters, and for each method a
// callable that calls it with arguments that a test may choose one by one. The table is made from the definitions at
// build time, so that a new method is in it by being declared.
#ifndef SURFACE_H
#define SURFACE_H

#include "XLXComPtr.h"

#include <string>
#include <type_traits>
#include <vector>

enum class XRole { In, Out, InOut };

/// What a parameter takes. An array of a given size is of the kind of its element's pointer.
enum class XKind {
    Number,    ///< an integer or an enumeration
    Text,      ///< BSTR
    Variant,   ///< VARIANT by value
    Object,    ///< an interface pointer
    Array,     ///< SAFEARRAY*
    Id,        ///< REFIID
    Opaque,    ///< void*
    Texts,     ///< BSTR*: an array that is passed in, or one text out
    Variants,  ///< VARIANT*: an array that is passed in, or one value out
    Named,     ///< tagLXNamedValue*
    Updates,   ///< tagLXUpdateInfo*
    Numbers,   ///< a pointer to integers
    Objects,   ///< an interface pointer out
    Arrays,    ///< SAFEARRAY** out
    TextLists, ///< BSTR** out: an array of texts that the caller frees
    Client,    ///< tagLXClientInfo*
    Other
};

struct XParameter {
    const char* name;
    XRole role;
    int count; ///< index of the parameter that says how many elements there are, -1 for a single one
    XKind kind = XKind::Other;
    const IID* iid = nullptr; ///< of an object
    bool isSigned = true;     ///< of a number

    bool IsPointer() const { return kind != XKind::Number && kind != XKind::Variant && kind != XKind::Id; }
    /// Whether what it points to is owned by the caller afterwards, and is null when there is nothing.
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
    std::vector<XMethod> methods; ///< from slot 3 on, those of its bases first
};

/// All interfaces in the order of the definitions, those of the platform that the component has last.
const std::vector<XInterface>& LXSurface();

/// The interfaces that an object answers. One whose methods another one of them starts with is left out.
struct XFace {
    const XInterface* interface_;
    void* face; ///< not counted: for as long as the object is held
};
std::vector<XFace> LXFacesOf(IUnknown& object);

#endif
