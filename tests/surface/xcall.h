// SPDX-License-Identifier: MIT
//
// A call of any method of the surface, with meaningful arguments unless a test replaces one.
#ifndef XCALL_H
#define XCALL_H

#include "XLXSafeArray.h"
#include "objectworld.h"

#include <array>

class XCall {
public:
    XCall(const XObjectWorld& world, const XMethod& method);
    XCall(const XCall&) = delete;
    XCall& operator=(const XCall&) = delete;
    ~XCall();

    const XMethod& Method() const { return m_method; }
    XArgument& operator[](std::size_t parameter) { return m_arguments[parameter]; }
    void SetText(std::size_t parameter, XLXTextView text);
    /// Replaces an element of an input array by a null of a type, and its name or text by null.
    void SpoilElement(std::size_t parameter, std::size_t index, VARTYPE type);

    HRESULT Run(void* face);

    /// The state of an out parameter after the call: null, a result, or unchanged.
    enum class Left { Null, Something, Untouched };
    Left What(std::size_t parameter) const;

private:
    static constexpr std::size_t Room = 64;
    /// The targets of the pointers.
    struct Target {
        std::array<void*, Room> pointers{};
        std::array<VARIANT, Room> variants{};
        std::array<tagLXNamedValue, Room> named{};
        std::array<tagLXUpdateInfo, Room> updates{};
        tagLXClientInfo client{};
    };

    void Prepare(std::size_t parameter);
    void PrepareIn(std::size_t parameter, Target& target);
    std::size_t CountFor(const XParameter& array) const;
    void Free(std::size_t parameter);

    const XObjectWorld& m_world;
    const XMethod& m_method;
    std::vector<XArgument> m_arguments;
    std::vector<std::unique_ptr<Target>> m_targets;
    std::vector<XLXComBSTR> m_texts;
    std::vector<XLXComPtr<IUnknown>> m_objects;
    std::vector<XLXSafeArray> m_arrays;
};

#endif
