// SPDX-License-Identifier: MIT
//
// Any server: one that COM can activate, or one in a shared library.
#ifdef _WIN32
#include "XRegisteredSample.h"
#else
#include <dlfcn.h>
#endif
#include "XModelValue.h"
#include "XToolCom.h"
#include "XToolServer.h"

#include <objbase.h>

#include <filesystem>

namespace {
/// A library with the exported functions that lxserver/ServerLibrary.h describes.
class ServerLibrary {
public:
    explicit ServerLibrary(const std::string& name) {
        const std::filesystem::path path = std::filesystem::absolute(std::filesystem::path(LXFromUtf8(name)));
        const std::basic_string<OLECHAR> file = path.string<OLECHAR>();
#ifdef _WIN32
        m_module = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH); // finds DLLs beside the file
        const std::string why = LXResultName(HRESULT_FROM_WIN32(GetLastError()));
#else
        m_module = LoadLibraryW(file.c_str());
        const char* const reason = m_module == nullptr ? dlerror() : nullptr;
        const std::string why = reason != nullptr ? reason : "it cannot be loaded";
#endif
        LXExpectThat(m_module != nullptr, "the server library " + name + " cannot be used: " + why);
        connect = Export<Connect>("LXConnectServer");
        LXExpectThat(connect != nullptr, "the library " + name +
                                             " contains no server: it does not export LXConnectServer "
                                             "(LX_SERVER_LIBRARY in lxserver/ServerLibrary.h)");
        count = Export<Count>("LXCountServerObjects");
        edit = Export<Edit>("LXEditServer");
    }

    using Connect = HRESULT (*)(REFIID iid, void** object);
    using Count = LONG (*)();
    using Edit = HRESULT (*)(LONG number);
    Connect connect;
    Count count; ///< null if not exported
    Edit edit;   ///< null if not exported

private:
    template <class F> F Export(const char* name) const {
        return reinterpret_cast<F>(reinterpret_cast<void (*)()>(GetProcAddress(m_module, name)));
    }

    HMODULE m_module; // never unloaded, because threads of the server may still run
};

class ForeignServer final : public XToolServer {
public:
    ForeignServer(std::string name, XLXComPtr<ILXConfigFactory> factory, std::optional<ServerLibrary> library = {})
        : m_name(std::move(name)), m_factory(std::move(factory)), m_library(library) {}

    XLXComPtr<ILXConfigFactory> ConfigFactory() override { return m_factory; }
    XLXComPtr<ILX_Query> Query() override { return m_factory.As<ILX_Query>(); }
    XLXComPtr<ILXDataUpdate> DataUpdate() override { return m_factory.As<ILXDataUpdate>(); }
    bool IsSample() const override { return false; }
    bool IsLocal() const override {
#ifdef _WIN32
        return !m_factory.As<IClientSecurity>(); // only proxies implement it
#else
        return true;
#endif
    }
    bool CountsObjects() const override { return m_library && m_library->count != nullptr; }
    XServerObjectCount LiveObjects() override {
        if (!CountsObjects()) { Refuse("counts live objects"); }
        return {m_library->count(), 0};
    }
    bool EditsItself() const override { return m_library && m_library->edit != nullptr; }
    void EditItself(LONG number) override {
        if (EditsItself()) { LXExpect(m_library->edit(number), "LXEditServer"); }
    }

    XLXComPtr<ILX_BaseDataObject> DataObject(const std::string&) override { Refuse("creates data objects"); }
    XLXComPtr<ILX_BaseDataObject> StoredObject(const std::string&) override { Refuse("finds data objects"); }
    XCallCounts CallCounts() override { Refuse("counts calls"); }
    void SetDelay(std::chrono::microseconds) override { Refuse("delays calls"); }
    XNotification Edit(const std::string&) override { Refuse("makes edits"); }

private:
    [[noreturn]] void Refuse(const char* what) const {
        throw XToolFailure(m_name + " is not the sample server; only the sample server " + what);
    }

    std::string m_name;
    XLXComPtr<ILXConfigFactory> m_factory;
    std::optional<ServerLibrary> m_library;
};

CLSID ClassOf(const std::string& name) {
#ifdef _WIN32
    constexpr const char* Advice = "";
#else
    constexpr const char* Advice = "; on this platform a server is a library: --server ./libserver.so";
#endif
    CLSID clsid = {};
    const HRESULT known = name.starts_with('{') ? CLSIDFromString(LXBstr(name).Get(), &clsid)
                                                : CLSIDFromProgID(LXBstr(name).Get(), &clsid);
    LXExpectThat(SUCCEEDED(known),
                 "there is no server registered as " + name + " (" + LXResultName(known) + ")" + Advice);
    return clsid;
}
} // namespace

bool LXIsServerLibrary(const std::string& name) {
    return name.ends_with(".so") || name.ends_with(".dll") || name.find(".so.") != std::string::npos;
}

std::unique_ptr<XToolServer> LXLibraryToolServer(const std::string& file) {
    const ServerLibrary library(file);
    XLXComPtr<IUnknown> server;
    LXExpect(library.connect(IID_IUnknown, server.PutVoid()), "LXConnectServer");
    auto factory = server.As<ILXConfigFactory>();
    LXExpectThat(static_cast<bool>(factory), "the server of " + file + " has no ILXConfigFactory");
    return std::make_unique<ForeignServer>(file, std::move(factory), library);
}

std::unique_ptr<XToolServer> LXRegisteredToolServer(const std::string& name) {
    XLXComPtr<IUnknown> server;
    LXExpect(CoCreateInstance(ClassOf(name), nullptr, CLSCTX_LOCAL_SERVER | CLSCTX_INPROC_SERVER, IID_IUnknown,
                              server.PutVoid()),
             ("starting " + name).c_str());
#ifdef _WIN32
    if (auto sample = LXRegisteredSample(*server)) { return sample; }
#endif
    auto factory = server.As<ILXConfigFactory>();
    LXExpectThat(static_cast<bool>(factory),
                 name + " has no ILXConfigFactory, or the proxies for it are not registered (LXConfigFactoryCachePS)");
    return std::make_unique<ForeignServer>(name, std::move(factory));
}
