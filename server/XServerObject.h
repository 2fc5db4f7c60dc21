// SPDX-License-Identifier: MIT
//
// The base of the sample server's objects: the kit's object, counted for its server, and the common frame of all
// methods.
//
// Ownership, threading and errors are those of lx::Object. The model's lock is the core's.
#ifndef XSERVEROBJECT_H
#define XSERVEROBJECT_H

#include "XServerCore.h"

#include "XLXComBSTR.h"
#include "XLXSafeArray.h"

#include <lxserver/Object.h>

/// The name of an interface in the names of calls.
template <class I> inline constexpr std::string_view XInterfaceName{};

#define LX_INTERFACE_NAME(Interface)                                                                                   \
    template <> inline constexpr std::string_view XInterfaceName<Interface> = #Interface
LX_INTERFACE_NAME(ILXConfigFactory);
LX_INTERFACE_NAME(ILXConfigFactoryEx);
LX_INTERFACE_NAME(ILXCallbackUpdate);
LX_INTERFACE_NAME(ILXType);
LX_INTERFACE_NAME(ILXPage);
LX_INTERFACE_NAME(ILXGroup);
LX_INTERFACE_NAME(ILXFormat);
LX_INTERFACE_NAME(ILXAttribute);
LX_INTERFACE_NAME(ILXAttributeType);
LX_INTERFACE_NAME(ILXConfObjEditor);
LX_INTERFACE_NAME(ILXParentChild);
LX_INTERFACE_NAME(ILXPCInfo);
LX_INTERFACE_NAME(ILXBrowserId);
LX_INTERFACE_NAME(ILXGlobalAttributeFormatSpec);
LX_INTERFACE_NAME(ILX_Query);
LX_INTERFACE_NAME(ILX_BaseDataObject);
LX_INTERFACE_NAME(ILXRelation);
LX_INTERFACE_NAME(ILXDataUpdate);
LX_INTERFACE_NAME(ILXTypeEnum);
LX_INTERFACE_NAME(ILXPageEnum);
LX_INTERFACE_NAME(ILXGroupEnum);
LX_INTERFACE_NAME(ILXAttributeEnum);
LX_INTERFACE_NAME(ILXAttributeTypeEnum);
LX_INTERFACE_NAME(ILXConfObjEditorEnum);
LX_INTERFACE_NAME(ILXParentChildEnum);
LX_INTERFACE_NAME(ILXPCInfoEnum);
LX_INTERFACE_NAME(ILXBrowserIdEnum);
LX_INTERFACE_NAME(ILXGlobalAttributeFormatSpecEnum);
LX_INTERFACE_NAME(IEnumBaseDataObject);
#undef LX_INTERFACE_NAME

/// A private interface by which the server finds the element behind an object that a client passes.
struct IXServerElement : IUnknown {
    virtual const void* Element() const noexcept = 0;
};
__CRT_UUID_DECL(IXServerElement, 0x6a2f1c1d, 0x0d5c, 0x4e0b, 0x9a, 0x41, 0x5b, 0x1f, 0x33, 0x7d, 0x20, 0xc8)

/// An object of the kit that is counted for its server and whose calls the monitor sees.
template <class First, class... Others> class XServerObject : public lx::Object<First, Others...> {
    using Counted = lx::Object<First, Others...>;

public:
    STDMETHODIMP_(ULONG) AddRef() override {
        m_core->references.fetch_add(1, std::memory_order_relaxed);
        return Counted::AddRef();
    }
    STDMETHODIMP_(ULONG) Release() override {
        m_core->references.fetch_sub(1, std::memory_order_relaxed);
        return Counted::Release();
    }
    bool AddRefIfAlive() noexcept {
        const bool isAlive = Counted::AddRefIfAlive();
        m_core->references.fetch_add(isAlive ? 1 : 0, std::memory_order_relaxed);
        return isAlive;
    }

protected:
    explicit XServerObject(XServerCorePtr core) noexcept : m_core(std::move(core)) {
        ++m_core->liveObjects;
        ++XServerCore::liveObjectsOfAll;
    }

    ~XServerObject() override {
        --m_core->liveObjects;
        --XServerCore::liveObjectsOfAll;
    }

    XServerCore& Core() const noexcept { return *m_core; }
    const XServerCorePtr& SharedCore() const noexcept { return m_core; }

    /// Runs a method of interface I: empties the out arguments, reports the call to the monitor, and runs the body.
    template <class I, class F, class... Outs> HRESULT Call(std::string_view method, F&& body, Outs*... outs) noexcept {
        const bool valid = ((outs != nullptr) && ... && true);
        (void(outs != nullptr ? lx::ClearOut(outs) : void()), ...);
        const XInsideServer inside;
        try {
            std::string name(XInterfaceName<I>);
            name.append("::").append(method);
            const XCallMonitor::Entry entry = m_core->Monitor().Enter(name);
            HRESULT result = entry.result ? *entry.result : valid ? lx::Guarded(body) : E_POINTER;
            if (entry.alteration && valid) {
                void* const targets[] = {outs..., nullptr};
                result = (*entry.alteration)(result, static_cast<void**>(targets[0]));
            }
            m_core->Monitor().Leave(name, entry.number);
            return result;
        } catch (...) {
            return E_OUTOFMEMORY; // from the monitor
        }
    }

    /// The same for the first interface.
    template <class F, class... Outs> HRESULT Call(std::string_view method, F&& body, Outs*... outs) noexcept {
        return Call<First>(method, std::forward<F>(body), outs...);
    }

    /// A method that this server does not implement.
    template <class... Outs> HRESULT Refuse(std::string_view method, Outs*... outs) noexcept {
        return Call<First>(
            method, [] { return E_NOTIMPL; }, outs...);
    }

    /// A look-up that never finds anything.
    template <class... Outs> HRESULT Nothing(std::string_view method, Outs*... outs) noexcept {
        return Call<First>(
            method, [] { return S_FALSE; }, outs...);
    }

private:
    const XServerCorePtr m_core;
};

template <class T, class... Arguments> XLXComPtr<T> LXMake(Arguments&&... arguments) {
    return XLXComPtr<T>(new T(std::forward<Arguments>(arguments)...));
}

/// The element behind an object of a sample server; null for any other object.
inline const void* LXElementOf(IUnknown* object) noexcept {
    XLXComPtr<IXServerElement> face;
    if (object == nullptr || FAILED(object->QueryInterface(LXIid<IXServerElement>(), face.PutVoid()))) {
        return nullptr;
    }
    return face->Element();
}

#endif
