// SPDX-License-Identifier: MIT
//
// Class objects: those that the process registered, and those of modules that the registry names.
//
// One mutex guards the table of class objects, the list of modules and the apartment counts. While it is held, no
// module is called, and of class objects only AddRef.
#include <objbase.h>
#include <winbase.h>
#include <winreg.h>

#include <condition_variable>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace {
struct ClassObject {
    CLSID id;
    DWORD context;
    IUnknown* object; // one reference
};

struct Module {
    std::u16string path;
    HMODULE handle;
    int users = 0;        // calls to its DllGetClassObject in progress
    bool closing = false; // a thread is calling its DllCanUnloadNow
};

struct Tables {
    std::mutex mutex;
    std::condition_variable moduleKept; // a module was kept or unloaded
    std::map<DWORD, ClassObject> classes;
    std::list<Module> modules;
    DWORD lastCookie = 0;
    ULONG multithreaded = 0; // initialisations of all threads
    ULONG initialisations = 0;
};

/// Never destroyed, because objects that are destroyed at exit may still use it.
Tables& TheTables() {
    static Tables& tables = *new Tables;
    return tables;
}

struct Apartment {
    ULONG initialisations = 0;
    DWORD model = COINIT_MULTITHREADED;
};
thread_local Apartment t_apartment;

bool IsInitialised(const Tables& tables) { return t_apartment.initialisations != 0 || tables.multithreaded != 0; }

/// The object registered for a class, with a reference added; null when there is none.
IUnknown* FindClassObject(Tables& tables, REFCLSID id, DWORD context) {
    for (const auto& [cookie, entry] : tables.classes) {
        if (entry.id == id && (entry.context & context) != 0) {
            entry.object->AddRef();
            return entry.object;
        }
    }
    return nullptr;
}

/// A text value of an open key; empty when it does not exist.
std::u16string TextValue(HKEY key, const OLECHAR* name) {
    DWORD size = 0;
    if (RegQueryValueExW(key, name, nullptr, nullptr, nullptr, &size) != ERROR_SUCCESS) { return {}; }
    std::vector<OLECHAR> text(size / sizeof(OLECHAR) + 1);
    const LSTATUS status = RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<LPBYTE>(text.data()), &size);
    return status == ERROR_SUCCESS ? std::u16string(text.data()) : std::u16string();
}

/// The path of the module that the registry names for a class; empty when the class is not registered.
std::u16string ServerOf(REFCLSID id) {
    OLECHAR text[39];
    StringFromGUID2(id, text, 39);
    const std::u16string name = std::u16string(u"CLSID\\") + text + u"\\InprocServer32";
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, name.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) { return {}; }
    const std::u16string server = TextValue(key, nullptr);
    RegCloseKey(key);
    return server;
}

/// The server's module with its user count incremented; loads it if necessary. Null when it cannot be loaded. The
/// loader is called without the mutex, because it runs the module's code.
Module* UseModule(Tables& tables, const std::u16string& server) {
    std::unique_lock lock(tables.mutex);
    for (bool again = true; again;) {
        again = false;
        for (Module& module : tables.modules) {
            if (module.path == server && !module.closing) {
                ++module.users;
                return &module;
            }
            again = again || module.path == server;
        }
        if (again) { tables.moduleKept.wait(lock); }
    }
    lock.unlock();
    const HMODULE handle = LoadLibraryW(server.c_str());
    if (handle == nullptr) { return nullptr; }
    lock.lock();
    Module& module = tables.modules.emplace_back(Module{server, handle});
    ++module.users;
    return &module;
}

template <typename F> F Export(HMODULE module, const char* name) {
    return reinterpret_cast<F>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

HRESULT GetFromModule(Tables& tables, REFCLSID id, REFIID riid, LPVOID* ppv) {
    const std::u16string server = ServerOf(id);
    if (server.empty()) { return REGDB_E_CLASSNOTREG; }
    Module* const module = UseModule(tables, server);
    if (module == nullptr) { return HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND); }
    const auto getClassObject = Export<LPFNGETCLASSOBJECT>(module->handle, "DllGetClassObject");
    const HRESULT result = getClassObject == nullptr ? CO_E_ERRORINDLL : getClassObject(id, riid, ppv);
    const std::lock_guard guard(tables.mutex);
    --module->users;
    return result;
}

/// Unloads the modules that are not in use and whose DllCanUnloadNow returns S_OK.
void UnloadUnused(Tables& tables) {
    std::vector<std::list<Module>::iterator> unused;
    {
        const std::lock_guard guard(tables.mutex);
        for (auto module = tables.modules.begin(); module != tables.modules.end(); ++module) {
            if (module->users == 0 && !module->closing) {
                module->closing = true;
                unused.push_back(module);
            }
        }
    }
    for (const auto module : unused) {
        const auto canUnload = Export<LPFNCANUNLOADNOW>(module->handle, "DllCanUnloadNow");
        const bool unload = canUnload != nullptr && canUnload() == S_OK;
        if (unload) { FreeLibrary(module->handle); }
        const std::lock_guard guard(tables.mutex);
        module->closing = false;
        if (unload) { tables.modules.erase(module); }
        tables.moduleKept.notify_all();
    }
}

HRESULT GetClassObject(REFCLSID id, DWORD context, REFIID riid, LPVOID* ppv) {
    Tables& tables = TheTables();
    IUnknown* object = nullptr;
    {
        const std::lock_guard guard(tables.mutex);
        if (!IsInitialised(tables)) { return CO_E_NOTINITIALIZED; }
        object = FindClassObject(tables, id, context);
    }
    if (object != nullptr) {
        const HRESULT result = object->QueryInterface(riid, ppv);
        object->Release();
        return result;
    }
    return (context & CLSCTX_INPROC_SERVER) == 0 ? REGDB_E_CLASSNOTREG : GetFromModule(tables, id, riid, ppv);
}
} // namespace

HRESULT CoInitializeEx(LPVOID, DWORD dwCoInit) {
    const DWORD model = dwCoInit & COINIT_APARTMENTTHREADED;
    if (t_apartment.initialisations != 0 && t_apartment.model != model) { return RPC_E_CHANGED_MODE; }
    t_apartment.model = model;
    const bool first = t_apartment.initialisations++ == 0;
    Tables& tables = TheTables();
    const std::lock_guard guard(tables.mutex);
    ++tables.initialisations;
    tables.multithreaded += model == COINIT_MULTITHREADED ? 1 : 0;
    return first ? S_OK : S_FALSE;
}

void CoUninitialize() {
    if (t_apartment.initialisations == 0) { return; }
    --t_apartment.initialisations;
    Tables& tables = TheTables();
    std::map<DWORD, ClassObject> revoked;
    {
        const std::lock_guard guard(tables.mutex);
        tables.multithreaded -= t_apartment.model == COINIT_MULTITHREADED ? 1 : 0;
        if (--tables.initialisations != 0) { return; }
        revoked.swap(tables.classes);
    }
    for (const auto& [cookie, entry] : revoked) {
        entry.object->Release();
    }
    UnloadUnused(tables);
}

HRESULT CoRegisterClassObject(REFCLSID rclsid, IUnknown* pUnk, DWORD dwClsContext, DWORD, DWORD* lpdwRegister) {
    if (pUnk == nullptr || lpdwRegister == nullptr) { return E_INVALIDARG; }
    Tables& tables = TheTables();
    const std::lock_guard guard(tables.mutex);
    *lpdwRegister = 0;
    if (!IsInitialised(tables)) { return CO_E_NOTINITIALIZED; }
    pUnk->AddRef();
    *lpdwRegister = ++tables.lastCookie;
    tables.classes.emplace(*lpdwRegister, ClassObject{rclsid, dwClsContext, pUnk});
    return S_OK;
}

HRESULT CoRevokeClassObject(DWORD dwRegister) {
    Tables& tables = TheTables();
    IUnknown* object = nullptr;
    {
        const std::lock_guard guard(tables.mutex);
        const auto found = tables.classes.find(dwRegister);
        if (found == tables.classes.end()) { return E_INVALIDARG; }
        object = found->second.object;
        tables.classes.erase(found);
    }
    object->Release();
    return S_OK;
}

HRESULT CoCreateInstance(REFCLSID rclsid, IUnknown* pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv) {
    if (ppv == nullptr) { return E_POINTER; }
    *ppv = nullptr;
    IClassFactory* factory = nullptr;
    HRESULT result = GetClassObject(rclsid, dwClsContext, IID_PPV_ARGS(&factory));
    if (SUCCEEDED(result)) {
        result = factory->CreateInstance(pUnkOuter, riid, ppv);
        factory->Release();
    }
    return result;
}
