// SPDX-License-Identifier: MIT
//
// A call of any method of the surface, with meaningful arguments unless a test replaces one.
#ifndef XCALL_H
#define XCALL_H

#include "XLXSafeArray.h"
#include "objectworld.h"

#include <array>
#include <cstdint>
#include <cstring>

class XCall {
public:
    XCall(const XObjectWorld& world, const XMethod& method)
        : m_world(world), m_method(method), m_arguments(method.parameters.size()), m_targets(m_arguments.size()) {
        for (std::size_t i = 0; i < m_arguments.size(); ++i) {
            Prepare(i);
        }
    }
    XCall(const XCall&) = delete;
    XCall& operator=(const XCall&) = delete;
    ~XCall() {
        for (std::size_t i = 0; i < m_arguments.size(); ++i) {
            Free(i);
        }
    }

    const XMethod& Method() const { return m_method; }
    XArgument& operator[](std::size_t parameter) { return m_arguments[parameter]; }
    void SetText(std::size_t parameter, XLXTextView text) {
        m_texts.emplace_back(text);
        m_arguments[parameter].pointer = m_texts.back().Get();
    }

    /// Replaces an element of an input array by a null of a type, and its name or text by null.
    void SpoilElement(std::size_t parameter, std::size_t index, VARTYPE type) {
        Target& target = m_targets[parameter];
        if (m_method.parameters[parameter].kind == XKind::Texts) { target.pointers[index] = nullptr; }
        V_UNKNOWN(&target.variants[index]) = nullptr;
        V_VT(&target.variants[index]) = type;
        target.named[index] = {type == VT_EMPTY ? nullptr : target.named[index].bstrName, target.variants[index]};
    }

    HRESULT Run(void* face) { return m_method.call(face, m_arguments.data()); }

    /// The state of an out parameter after the call: null, a result, or unchanged.
    enum class Left { Null, Something, Untouched };
    Left What(std::size_t parameter) const {
        const void* const value = m_targets[parameter].pointers[0];
        return value == nullptr ? Left::Null : value == Poison() ? Left::Untouched : Left::Something;
    }

private:
    /// The initial content of out variables: an invalid value that nobody may use.
    static void* Poison() { return reinterpret_cast<void*>(std::uintptr_t{0x5A5A5A5A5A5A}); }

    /// A meaningful text for most parameters with a name.
    static const OLECHAR* TextFor(const std::string& parameter) {
        const auto has = [&](const char* part) { return parameter.find(part) != std::string::npos; };
        return has("Child") && has("List") ? OLESTR("parts")
               : has("Browser")            ? OLESTR("Tree")
               : has("TypenameChild")      ? OLESTR("Pump")
               : has("ypename")            ? OLESTR("Equipment")
               : has("ProgId")             ? OLESTR("E.Pump")
               : has("AttributeProperyID") ? OLESTR("Area")
               : has("AttributeName")      ? OLESTR("Head")
               : has("Key")                ? OLESTR("LXCFG_attributename")
               : has("DataID")             ? OLESTR("objects/x/0/0")
               : has("DataTyp")            ? OLESTR("cfc_specific")
                                           : OLESTR("text");
    }

    static constexpr std::size_t Room = 64;
    /// The targets of the pointers.
    struct Target {
        std::array<void*, Room> pointers{};
        std::array<VARIANT, Room> variants{};
        std::array<tagLXNamedValue, Room> named{};
        tagLXClientInfo client{};
    };

    void Prepare(std::size_t parameter) {
        const XParameter& what = m_method.parameters[parameter];
        Target& target = m_targets[parameter];
        XArgument& argument = m_arguments[parameter];
        if (what.count >= 0) {
            m_arguments[static_cast<std::size_t>(what.count)].number = static_cast<long long>(CountFor(what));
        }
        if (what.role == XRole::In) {
            PrepareIn(parameter, target);
            return;
        }
        if (what.kind == XKind::Client) {
            argument.pointer = &target.client;
        } else if (what.kind == XKind::Variants) {
            argument.pointer = target.variants.data();
        } else {
            argument.pointer = target.pointers.data();
            target.pointers[0] = what.HandsOver() && what.count < 0 ? Poison() : nullptr;
        }
    }

    void PrepareIn(std::size_t parameter, Target& target) {
        const XParameter& what = m_method.parameters[parameter];
        XArgument& argument = m_arguments[parameter];
        const XLXComPtr<IUnknown> services[] = {m_world.Server().ConfigFactory().As<IUnknown>(),
                                                m_world.Server().Query().As<IUnknown>(),
                                                m_world.Server().DataUpdate().As<IUnknown>()};
        const OLECHAR* const names[] = {OLESTR("Configfactory"), OLESTR("QueryEngine"), OLESTR("UpdateMng")};
        switch (what.kind) {
        case XKind::Number:
            argument.number = argument.number != 0 ? argument.number : 1; // an array may have set its count
            break;
        case XKind::Text: SetText(parameter, TextFor(what.name)); break;
        case XKind::Object:
            m_objects.push_back(m_world.Provider(*what.iid));
            argument.pointer = m_objects.back().Get();
            break;
        case XKind::Id: argument.pointer = const_cast<IID*>(&IID_IUnknown); break;
        case XKind::Array:
            m_arrays.emplace_back(SafeArrayCreateVector(VT_VARIANT, 0, 1));
            argument.pointer = m_arrays.back().Get();
            break;
        case XKind::Texts:
            for (std::size_t i = 0; i < Room; ++i) {
                m_texts.emplace_back(i % 2 == 0 ? OLESTR("Equipment") : OLESTR("Pump"));
                target.pointers[i] = m_texts.back().Get();
            }
            argument.pointer = target.pointers.data();
            break;
        case XKind::Variants:
        case XKind::Named:
            for (std::size_t i = 0; i < 3; ++i) {
                m_objects.push_back(services[i]);
                m_texts.emplace_back(names[i]);
                V_VT(&target.variants[i]) = VT_UNKNOWN;
                V_UNKNOWN(&target.variants[i]) = services[i].Get();
                target.named[i] = {m_texts.back().Get(), target.variants[i]};
            }
            argument.pointer =
                what.kind == XKind::Named ? static_cast<void*>(target.named.data()) : target.variants.data();
            break;
        default: argument.pointer = target.pointers.data(); break;
        }
    }

    std::size_t CountFor(const XParameter& array) const {
        return array.kind == XKind::Variants ? 6 : array.kind == XKind::Named ? 3 : 2;
    }

    void Free(std::size_t parameter) {
        const XParameter& what = m_method.parameters[parameter];
        Target& target = m_targets[parameter];
        if (what.role == XRole::In) { return; }
        VariantClear(&target.variants[0]);
        for (const BSTR text : {target.client.bstrComputerName, target.client.bstrUserName, target.client.bstrPWD,
                                target.client.bstrTransactionName}) {
            SysFreeString(text);
        }
        if (!what.HandsOver()) { return; }
        for (void* const value : target.pointers) {
            if (value == nullptr || value == Poison()) { continue; }
            if (what.kind == XKind::Objects) {
                static_cast<IUnknown*>(value)->Release();
            } else if (what.kind == XKind::Arrays) {
                SafeArrayDestroy(static_cast<SAFEARRAY*>(value));
            } else if (what.kind == XKind::Texts) {
                SysFreeString(static_cast<BSTR>(value));
            } else if (what.kind == XKind::TextLists) {
                LONG count = 0; // the preceding parameter has the number
                std::memcpy(&count, m_targets[parameter - 1].pointers.data(), sizeof(count));
                for (LONG i = 0; i < count; ++i) {
                    SysFreeString(static_cast<BSTR*>(value)[i]);
                }
                CoTaskMemFree(value);
            }
        }
    }

    const XObjectWorld& m_world;
    const XMethod& m_method;
    std::vector<XArgument> m_arguments;
    std::vector<Target> m_targets;
    std::vector<XLXComBSTR> m_texts;
    std::vector<XLXComPtr<IUnknown>> m_objects;
    std::vector<XLXSafeArray> m_arrays;
};

#endif
