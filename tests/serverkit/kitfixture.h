// SPDX-License-Identifier: MIT
//
// A cache in front of a server of the kit, and what both say.
#ifndef KITFIXTURE_H
#define KITFIXTURE_H

#include <lxserver/Connection.h>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

/// A cache that was initialised with a server's services; terminated with the object.
class KitCache {
public:
    /// @param mode  what comes in bulk
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

/// A string for the time of a call.
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

/// The object that a call gives; null for anything but S_OK.
template <class I, class F> lx::Ref<I> Got(F&& call) {
    I* object = nullptr;
    const HRESULT result = call(&object);
    lx::Ref<I> owned(object);
    if (object != nullptr) { object->Release(); }
    EXPECT_EQ(result == S_OK, object != nullptr) << "0x" << std::hex << result;
    return owned;
}

/// A value as text: "" for an empty one.
std::string ValueOf(ILXConfigObject& object, int index);
lx::Ref<ILXAttribute> AttributeOf(ILXConfigFactory& factory, const OLECHAR* type, const OLECHAR* name);

/// All that there is: types with their components, relations, browser ids and specs, with all their values.
/// @param only  the types that are wanted, by name as ValueOf gives it; all when there are none
std::string Dump(ILXConfigFactory& factory, const std::set<std::string>& only = {});

/// Where two of them differ first: the lines of both; "" when they are the same.
std::string Difference(const std::string& left, const std::string& right);

/// Waits until a condition holds; false when it does not in time.
template <class Condition> bool WaitFor(Condition&& condition, std::chrono::milliseconds limit = 20s) {
    const auto until = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) { return false; }
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

/// A client's callback that notes what it is told.
class Listener final : public lx::Object<ILXCallbackUpdate> {
public:
    struct Told {
        std::string dataId;
        ULONG id;
    };
    /// @param answer  HRESULT answer(), for each notification after it was noted
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

/// Registers a callback for notifications about the configuration, as clients do.
/// @return  the client's id
LONG Register(ILXDataUpdate& update, ILXCallbackUpdate& callback);

#endif
