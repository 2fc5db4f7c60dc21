// SPDX-License-Identifier: MIT
#include "xcall.h"

#include <cstdint>
#include <cstring>

namespace {
/// The initial content of out variables: an invalid value that nobody may use.
void* Poison() { return reinterpret_cast<void*>(std::uintptr_t{0x5A5A5A5A5A5A}); }

/// A meaningful text for most parameters with a name.
const OLECHAR* TextFor(const std::string& parameter) {
    const auto has = [&](const char* part) { return parameter.find(part) != std::string::npos; };
    return has("Child") && has("List") ? OLESTR("nodes")
           : has("Browser")            ? OLESTR("Tree")
           : has("TypenameChild")      ? OLESTR("Node")
           : has("ypename")            ? OLESTR("Area")
           : has("ProgId")             ? OLESTR("E.Area")
           : has("AttributeProperyID") ? OLESTR("Other")
           : has("AttributeName")      ? OLESTR("Size")
           : has("Key")                ? OLESTR("LXCFG_attributename")
           : has("DataID")             ? OLESTR("objects/x/0/0")
           : has("DataTyp")            ? OLESTR("cfc_specific")
                                       : OLESTR("text");
}
} // namespace

XCall::XCall(const XObjectWorld& world, const XMethod& method)
    : m_world(world), m_method(method), m_arguments(method.parameters.size()) {
    for (std::size_t i = 0; i < m_arguments.size(); ++i) {
        m_targets.push_back(std::make_unique<Target>());
    }
    for (std::size_t i = 0; i < m_arguments.size(); ++i) {
        Prepare(i);
    }
}

XCall::~XCall() {
    for (std::size_t i = 0; i < m_arguments.size(); ++i) {
        Free(i);
    }
}

void XCall::SetText(std::size_t parameter, XLXTextView text) {
    m_texts.emplace_back(text);
    m_arguments[parameter].pointer = m_texts.back().Get();
}

void XCall::SpoilElement(std::size_t parameter, std::size_t index, VARTYPE type) {
    Target& target = *m_targets[parameter];
    if (m_method.parameters[parameter].kind == XKind::Texts) { target.pointers[index] = nullptr; }
    V_UNKNOWN(&target.variants[index]) = nullptr;
    V_VT(&target.variants[index]) = type;
    target.named[index] = {type == VT_EMPTY ? nullptr : target.named[index].bstrName, target.variants[index]};
}

HRESULT XCall::Run(void* face) { return m_method.call(face, m_arguments.data()); }

std::size_t XCall::CountFor(const XParameter& array) const {
    return array.kind == XKind::Variants ? 6 : array.kind == XKind::Named ? 3 : 2;
}

void XCall::Prepare(std::size_t parameter) {
    const XParameter& what = m_method.parameters[parameter];
    Target& target = *m_targets[parameter];
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

void XCall::PrepareIn(std::size_t parameter, Target& target) {
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
            m_texts.emplace_back(i % 2 == 0 ? OLESTR("Area") : OLESTR("Node"));
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
        argument.pointer = what.kind == XKind::Named ? static_cast<void*>(target.named.data()) : target.variants.data();
        break;
    case XKind::Updates: argument.pointer = target.updates.data(); break;
    default: argument.pointer = target.pointers.data(); break;
    }
}

XCall::Left XCall::What(std::size_t parameter) const {
    const void* const value = m_targets[parameter]->pointers[0];
    return value == nullptr ? Left::Null : value == Poison() ? Left::Untouched : Left::Something;
}

void XCall::Free(std::size_t parameter) {
    const XParameter& what = m_method.parameters[parameter];
    Target& target = *m_targets[parameter];
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
            std::memcpy(&count, m_targets[parameter - 1]->pointers.data(), sizeof(count));
            for (LONG i = 0; i < count; ++i) {
                SysFreeString(static_cast<BSTR*>(value)[i]);
            }
            CoTaskMemFree(value);
        }
    }
}
