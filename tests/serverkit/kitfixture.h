// SPDX-License-Identifier: MIT
//
// A cache in front of a server on the kit, and functions to compare both.
#ifndef KITFIXTURE_H
#define KITFIXTURE_H

#include <lxserver/Connection.h>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

/// A cache that is initialised with a server's services and terminated by the destructor.
class KitCache {
public:
    /// @param mode  the components to read in bulk
    KitCache(ILXConfigFactory* factory, ILX_Query* query, ILXDataUpdate* update, LONG mode = 15);
    explicit KitCache(const lx::ServerPtr& server, LONG mode = 15);
    ~KitCache();
    KitCache(const KitCache&) = delete;
    KitCache& operator=(const KitCache&) = delete;

    ILXConfigFactory& Factory() const { return *m_factory; }
    ILXConfigFactoryCache& Cache() const { return *m_cache; }

private:
    lx::Ref<ILXConfigFactoryCache> m_cache;
    lx::Ref<ILXConfigFactory> m_factory;
};

/// A BSTR as a call's argument.
class Name {
public:
    Name(const OLECHAR* text) : m_text(SysAllocString(text)) {}
    ~Name() { SysFreeString(m_text); }
    Name(const Name&) = delete;
    Name& operator=(const Name&) = delete;
    operator BSTR() const { return m_text; }

private:
    BSTR m_text;
};

/// The object that a call returns; null if the result is not S_OK.
template <class I, class F> lx::Ref<I> Got(F&& call) {
    I* object = nullptr;
    const HRESULT result = call(&object);
    lx::Ref<I> owned(object);
    if (object != nullptr) { object->Release(); }
    EXPECT_EQ(result == S_OK, object != nullptr) << "0x" << std::hex << result;
    return owned;
}

/// A value as text; "" if empty.
std::string ValueOf(ILXConfigObject& object, int index);
lx::Ref<ILXAttribute> AttributeOf(ILXConfigFactory& factory, const OLECHAR* type, const OLECHAR* name);

/// The whole configuration as text: types with their components, relations, browser ids and specs, with all values.
/// @param only  limits the types to those with these names, in the form of ValueOf; all if empty
std::string Dump(ILXConfigFactory& factory, const std::set<std::string>& only = {});

/// The first lines of two dumps that differ; "" if the dumps are equal.
std::string Difference(const std::string& left, const std::string& right);

/// Waits until a condition holds; returns false on timeout.
template <class Condition> bool WaitFor(Condition&& condition, std::chrono::milliseconds limit = 20s) {
    const auto until = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) { return false; }
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

/// A client's callback that records notifications.
class Listener final : public lx::Object<ILXCallbackUpdate> {
public:
    struct Told {
        std::string dataId;
        ULONG id;
    };
    /// @param answer  HRESULT answer(): the result of a notification, called after recording it
    explicit Listener(std::function<HRESULT()> answer = [] { return S_OK; }) : m_answer(std::move(answer)) {}

    std::vector<Told> All() const {
        const std::lock_guard lock(m_mutex);
        return m_told;
    }
    std::vector<std::string> DataIds() const;

    HRESULT STDMETHODCALLTYPE CheckCallbackValid() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ServerIsTerminating() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetCallbackId(LONG) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetClientInfo(tagLXClientInfo*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DataObjectChanged(BSTR dataId, BSTR dataType, ULONG type, ULONG id, ULONG,
                                                tagLXUpdateInfo*) override;

private:
    const std::function<HRESULT()> m_answer;
    mutable std::mutex m_mutex;
    std::vector<Told> m_told;
};

/// Registers a callback for notifications about the configuration, like the cache.
/// @return  the client's id
LONG Register(ILXDataUpdate& update, ILXCallbackUpdate& callback);

#endif
