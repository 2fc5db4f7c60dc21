// SPDX-License-Identifier: MIT
#include "XComModule.h"

#include "XModuleCount.h"
#include "XModuleFile.h"
#include "XRegistryScript.h"

IClassFactory* XObjectMapEntry::Factory() {
    IClassFactory* current = factory.load(std::memory_order_acquire);
    if (current == nullptr) {
        IClassFactory* const fresh = createFactory();
        if (factory.compare_exchange_strong(current, fresh, std::memory_order_acq_rel)) { return fresh; }
        fresh->Release(); // another thread was first
    }
    return current;
}

void XComModule::Term() noexcept {
    for (XObjectMapEntry& entry : m_objectMap) {
        if (IClassFactory* const factory = entry.factory.exchange(nullptr); factory != nullptr) { factory->Release(); }
    }
    m_objectMap = {};
}

HRESULT XComModule::GetClassObject(REFCLSID clsid, REFIID iid, void** out) {
    LXCheckOut(out, OLESTR("ppv"), LXHere("XComModule", "XComModule", "GetClassObject"));
    for (XObjectMapEntry& entry : m_objectMap) {
        if (*entry.clsid == clsid) { return entry.Factory()->QueryInterface(iid, out); }
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

bool XComModule::CanUnload() const noexcept { return XModuleCount::LiveObjects() == 0 && XModuleCount::Locks() == 0; }

HRESULT XComModule::RegisterServer() {
    const XRegistryScript script(XModuleFile::RegistryScript());
    const XLXText path = XModuleFile::Path();
    HRESULT result = script.Register(HKEY_CLASSES_ROOT, path);
    if (SUCCEEDED(result)) { result = LXRegisterTypeLibrary(path); }
    if (FAILED(result)) {
        script.Unregister(HKEY_CLASSES_ROOT);
        LXUnregisterTypeLibrary();
    }
    return result;
}

HRESULT XComModule::UnregisterServer() {
    const XRegistryScript script(XModuleFile::RegistryScript());
    const HRESULT keys = script.Unregister(HKEY_CLASSES_ROOT);
    const HRESULT library = LXUnregisterTypeLibrary();
    return FAILED(keys) ? keys : library;
}
