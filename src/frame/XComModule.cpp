// SPDX-License-Identifier: MIT
#include "XComModule.h"

#include "XLXError.h"
#include "XModuleFile.h"
#include "XRegistryScript.h"

IClassFactory* XComModule::Factory() {
    IClassFactory* current = m_factory.load(std::memory_order_acquire);
    if (current == nullptr) {
        IClassFactory* const fresh = m_createFactory();
        if (m_factory.compare_exchange_strong(current, fresh, std::memory_order_acq_rel)) { return fresh; }
        fresh->Release(); // another thread created one first
    }
    return current;
}

void XComModule::Term() noexcept {
    if (IClassFactory* const factory = m_factory.exchange(nullptr); factory != nullptr) { factory->Release(); }
}

HRESULT XComModule::GetClassObject(REFCLSID clsid, REFIID iid, void** out) {
    LXCheckOut(out, OLESTR("ppv"), LXHere("XComModule", "XComModule", "GetClassObject"));
    return clsid == m_clsid ? Factory()->QueryInterface(iid, out) : CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT XComModule::RegisterServer() {
    const XLXText path = LXModulePath();
    HRESULT result = XRegistryScript::Register(HKEY_CLASSES_ROOT, path);
    if (SUCCEEDED(result)) { result = LXRegisterTypeLibrary(path); }
    if (FAILED(result)) { (void)UnregisterServer(); }
    return result;
}

HRESULT XComModule::UnregisterServer() {
    const HRESULT keys = XRegistryScript::Unregister(HKEY_CLASSES_ROOT);
    const HRESULT library = LXUnregisterTypeLibrary();
    return FAILED(keys) ? keys : library;
}
