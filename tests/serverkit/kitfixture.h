// SPDX-License-Identifier: MIT
//
// Caches in front of servers on the kit, and clients that record notifications.
#ifndef KITFIXTURE_H
#define KITFIXTURE_H

#include "waiting.h"

#include <lxcfc.hpp>
#include <lxserver/Connection.h>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

/// Registers the component in this process.
class WithComponent : public testing::Test {
protected:
    WithComponent();
    ~WithComponent() override;

private:
    const lxcfc::Apartment m_apartment;
    DWORD m_registration = 0;
};

/// A server with elements of all kinds, values of all types, and an attribute that two types define.
std::shared_ptr<lx::ModelServer> MakeServer();
lxcfc::Ptr<ILXConfigFactory> FactoryOf(const lx::ServerPtr& server);
/// A cache that a server notifies.
/// @param bulk  the components to read in bulk
lxcfc::Cache CacheOf(const lx::ServerPtr& server, LONG bulk = 15);
/// The attribute RatedFlow of the type Pump; null if there is none.
inline lxcfc::Attribute FlowOf(const lxcfc::ConfigFactory& factory) {
    return factory.Type(OLESTR("Pump")).FindAttribute(OLESTR("RatedFlow"));
}

/// A client's callback that records notifications.
class Listener final : public lx::Object<ILXCallbackUpdate> {
public:
    struct Notification {
        std::string dataId;
        ULONG id;
    };
    /// @param answer  HRESULT answer(): the result of a notification, called after recording it
    explicit Listener(std::function<HRESULT()> answer = [] { return S_OK; }) : m_answer(std::move(answer)) {}

    std::vector<Notification> All() const {
        const std::lock_guard lock(m_mutex);
        return m_received;
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
    std::vector<Notification> m_received;
};

/// Registers a callback for notifications about the configuration, like the cache.
/// @return  the client's id
LONG Register(ILXDataUpdate& update, ILXCallbackUpdate& callback);

#endif
