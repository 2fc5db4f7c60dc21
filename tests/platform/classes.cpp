// SPDX-License-Identifier: MIT
//
// Class objects: those registered by the process, and those of modules that the registry names.
#include "contract.h"
#include "testmodule.h"

#include <thread>

namespace {
const CLSID g_own = {0x8f0e1c22, 0x77aa, 0x4b7e, {0x80, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77}};

/// Runs a test in an apartment, on a separate thread, so that the main thread stays outside.
template <typename F> void InApartment(DWORD model, F test) {
    std::thread([&] {
        ASSERT_EQ(S_OK, CoInitializeEx(nullptr, model));
        test();
        CoUninitialize();
    }).join();
}

HRESULT CreateInstance(REFCLSID id, REFIID iid, IClassFactory** out) {
    return CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, iid, reinterpret_cast<void**>(out));
}

/// Registers the test module's class, with the name "Platform.Contract", during its lifetime.
class RegisteredModule {
public:
    explicit RegisteredModule(const OLECHAR* threadingModel) {
        OLECHAR id[39];
        StringFromGUID2(g_testClass, id, 39);
        m_class = Text(OLESTR("CLSID\\")) + id;
        OLECHAR path[1024];
        Text file(path, GetModuleFileNameW(nullptr, path, 1024));
        const std::string name = LX_TESTMODULE;
        file.resize(file.find_last_of(OLESTR("\\/")) + 1);
        file.append(name.begin(), name.end());
        Write(m_class + OLESTR("\\InprocServer32"), nullptr, file);
        Write(m_class + OLESTR("\\InprocServer32"), OLESTR("ThreadingModel"), threadingModel);
        Write(OLESTR("Platform.Contract\\CLSID"), nullptr, id);
    }
    ~RegisteredModule() {
        RegDeleteTreeW(HKEY_CLASSES_ROOT, m_class.c_str());
        RegDeleteTreeW(HKEY_CLASSES_ROOT, OLESTR("Platform.Contract"));
    }

private:
    static void Write(const Text& path, const OLECHAR* name, const Text& value) {
        HKEY key = nullptr;
        ASSERT_EQ(ERROR_SUCCESS,
                  RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr));
        EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                                                static_cast<DWORD>((value.size() + 1) * sizeof(OLECHAR))));
        RegCloseKey(key);
    }

    Text m_class;
};

/// Creates an object of the test module's class and returns its number since the module was loaded.
HRESULT NumberOfNewObject() {
    IClassFactory* object = nullptr;
    const HRESULT result = CreateInstance(g_testClass, IID_IClassFactory, &object);
    if (FAILED(result)) { return result; }
    const HRESULT number = object->LockServer(FALSE);
    CoFreeUnusedLibraries(); // the module is in use
    EXPECT_LE(number, object->LockServer(FALSE));
    object->Release();
    return number;
}
} // namespace

TEST(Classes, NeedAnApartment) {
    IClassFactory* out = nullptr;
    EXPECT_EQ(CO_E_NOTINITIALIZED, CreateInstance(g_own, IID_IUnknown, &out));
    InApartment(COINIT_APARTMENTTHREADED, [] {
        EXPECT_EQ(S_FALSE, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
        EXPECT_EQ(RPC_E_CHANGED_MODE, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        CoUninitialize();
    });
    InApartment(COINIT_MULTITHREADED, [] {
        std::thread([] { // a thread without an apartment is in the multithreaded one, if there is one
            IClassFactory* unused = nullptr;
            EXPECT_EQ(REGDB_E_CLASSNOTREG, CreateInstance(g_own, IID_IUnknown, &unused));
        })
            .join();
    });
}

TEST(Classes, RegisteredByTheProcess) {
    InApartment(COINIT_MULTITHREADED, [] {
        IClassFactory* out = reinterpret_cast<IClassFactory*>(1);
        EXPECT_EQ(REGDB_E_CLASSNOTREG, CreateInstance(g_own, IID_IUnknown, &out));
        EXPECT_EQ(nullptr, out);
        CountedObject factory;
        DWORD cookie = 0;
        EXPECT_EQ(E_INVALIDARG,
                  CoRegisterClassObject(g_own, nullptr, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie));
        ASSERT_EQ(S_OK, CoRegisterClassObject(g_own, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie));
        EXPECT_EQ(1, factory.references);
        ASSERT_EQ(S_OK, CreateInstance(g_own, IID_IClassFactory, &out));
        EXPECT_EQ(&factory, out);
        EXPECT_EQ(2, factory.references);
        EXPECT_EQ(1u, out->Release());
        EXPECT_EQ(E_NOINTERFACE, CreateInstance(g_own, IID_IErrorInfo, &out));
        EXPECT_EQ(nullptr, out);
        CountedObject outer;
        EXPECT_EQ(CLASS_E_NOAGGREGATION,
                  CoCreateInstance(g_own, &outer, CLSCTX_INPROC_SERVER, IID_IUnknown, reinterpret_cast<void**>(&out)));
        EXPECT_EQ(E_POINTER, CreateInstance(g_own, IID_IUnknown, nullptr));
        EXPECT_EQ(S_OK, CoRevokeClassObject(cookie));
        EXPECT_EQ(E_INVALIDARG, CoRevokeClassObject(cookie));
        EXPECT_EQ(0, factory.references);
        EXPECT_EQ(REGDB_E_CLASSNOTREG, CreateInstance(g_own, IID_IUnknown, &out));
    });
}

TEST(Classes, AreRevokedWithTheLastApartment) {
    CountedObject factory;
    InApartment(COINIT_MULTITHREADED, [&] {
        DWORD cookie = 0;
        ASSERT_EQ(S_OK, CoRegisterClassObject(g_own, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie));
    });
    EXPECT_EQ(0, factory.references);
}

TEST(Classes, FromAModule) {
    const RegisteredModule registered(OLESTR("Apartment"));
    InApartment(COINIT_APARTMENTTHREADED, [] {
        CLSID id = {};
        EXPECT_EQ(S_OK, CLSIDFromProgID(OLESTR("platform.contract"), &id));
        EXPECT_TRUE(g_testClass == id);
        EXPECT_EQ(1, NumberOfNewObject());
        EXPECT_EQ(2, NumberOfNewObject());
        CoFreeUnusedLibraries();
        EXPECT_EQ(1, NumberOfNewObject()) << "the module was unloaded and begins anew";
    });
    InApartment(COINIT_APARTMENTTHREADED, [] { EXPECT_EQ(1, NumberOfNewObject()) << "left with the last apartment"; });
}

TEST(Classes, AModuleOfAnyThreadStaysForAWhile) {
    const RegisteredModule registered(OLESTR("Both"));
    InApartment(COINIT_MULTITHREADED, [] {
        std::atomic<int> failures{0};
        const auto create = [&] {
            for (int i = 0; i < 200; ++i) {
                failures += NumberOfNewObject() > 0 ? 0 : 1;
                CoFreeUnusedLibraries();
            }
        };
        std::thread other(create);
        create();
        other.join();
        EXPECT_EQ(0, failures);
        EXPECT_EQ(401, NumberOfNewObject());
        CoFreeUnusedLibrariesEx(0, 0);
        EXPECT_EQ(1, NumberOfNewObject());
    });
}
