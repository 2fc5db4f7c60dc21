// SPDX-License-Identifier: MIT
//
// The lifetime of a cache in the typed layer, and the change function.
#include "kitfixture.h"

namespace {
using Typed = WithComponent;

/// A notification service that sends notifications on the calling thread, on request of the test.
class Service final : public lx::DataUpdateRefusals<lx::Object<ILXDataUpdate>> {
public:
    std::function<void()> whenRegistered = [] {};
    bool releasesCallback = false; ///< in UnregisterCallback; some servers keep it
    bool isRegistered = false;

    HRESULT Notify() {
        const lxcfc::Bstr id(OLESTR("properties/Pump/4/512")), type(lx::CfcSpecific);
        return m_callback.Get()->DataObjectChanged(id.Get(), type.Get(), 0x100, ++m_lastId, 0, nullptr);
    }

    HRESULT STDMETHODCALLTYPE RegisterCallback(BSTR, ULONG, ILXCallbackUpdate* callback, LONG* client) override {
        m_callback = callback;
        isRegistered = true;
        *client = 1;
        whenRegistered();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE UnregisterCallback(LONG) override {
        isRegistered = false;
        if (releasesCallback) { m_callback = nullptr; }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnableAdvicesDataType(LONG, BSTR, LONG, ULONG) override { return S_OK; }

private:
    lx::Ref<ILXCallbackUpdate> m_callback;
    ULONG m_lastId = 0;
};

/// Changes the unit of RatedFlow without a notification.
void SetUnit(lx::ModelServer& server, const OLECHAR* unit) {
    server.Edit([unit](lx::Model& model) {
        model.types[OLESTR("Pump")].attributes[OLESTR("RatedFlow")].Set(lx::Unit, unit);
        return std::vector<lx::Change>();
    });
}
} // namespace

TEST_F(Typed, TheFunctionReadsTheNewValues) {
    const auto server = MakeServer();
    const auto service = lx::Make<Service>();
    service->whenRegistered = [&] { EXPECT_EQ(service->Notify(), E_POINTER); }; // the cache has no relations yet
    int calls = 0;
    std::vector<std::string> seen;
    lxcfc::Attribute flow;
    lxcfc::Cache cache(FactoryOf(server), service.Get(), [&](const lxcfc::Change& change) {
        ++calls;
        EXPECT_TRUE(change.Concerns(LXUM_ATTRIBUTES));
        EXPECT_FALSE(change.Concerns(LXUM_TYPES | LXUM_PARENTCHILD));
        seen.push_back(flow.Text<std::string>(lx::Unit));
        if (seen.size() == 1) { throw std::runtime_error("the caller's own"); }
    });
    EXPECT_EQ(calls, 0) << "no call before the cache exists";
    flow = cache.Type("Pump").Attribute("RatedFlow");
    EXPECT_EQ(flow.Text<std::string>(lx::Unit), "m\xC2\xB3/h");
    SetUnit(*server, OLESTR("l/s"));
    EXPECT_EQ(flow.Text<std::string>(lx::Unit), "m\xC2\xB3/h") << "there was no notification";
    EXPECT_EQ(service->Notify(), S_OK) << "an exception of the function does not reach the server";
    SetUnit(*server, OLESTR("l/min"));
    EXPECT_EQ(service->Notify(), S_OK);
    EXPECT_EQ(seen, (std::vector<std::string>{"l/s", "l/min"}));
    // Moving a Cache moves the registration, and the change function stays in use.
    lxcfc::Cache moved = std::move(cache);
    SetUnit(*server, OLESTR("l/h"));
    EXPECT_EQ(service->Notify(), S_OK);
    EXPECT_EQ(seen.back(), "l/h");
    moved = lxcfc::Cache(FactoryOf(server));
    EXPECT_FALSE(service->isRegistered) << "the assignment ends the previous cache";
    EXPECT_EQ(moved.Type("Pump").Attribute("RatedFlow").Text<std::string>(lx::Unit), "l/h");
}

TEST_F(Typed, EndWaitsForTheFunctionAndPreventsFurtherCalls) {
    const auto service = lx::Make<Service>(); // a service that keeps the callback
    const auto token = std::make_shared<int>();
    std::promise<void> entered, leave;
    std::atomic<int> calls{0}, done{0};
    lxcfc::Cache cache(FactoryOf(MakeServer()), service.Get(), [&, token](const lxcfc::Change&) {
        if (++calls == 1) {
            entered.set_value();
            leave.get_future().wait();
        }
        ++done;
    });
    std::thread notifier([&] { EXPECT_EQ(service->Notify(), S_OK); });
    entered.get_future().wait();
    auto ended = std::async(std::launch::async, [&] {
        cache.End();
        EXPECT_EQ(done, 1) << "End returned while the function was running";
        EXPECT_EQ(token.use_count(), 1) << "the function is freed although the service keeps the callback";
        EXPECT_EQ(service->Notify(), RPC_E_DISCONNECTED);
    });
    EXPECT_EQ(ended.wait_for(100ms), std::future_status::timeout);
    EXPECT_EQ(service->Notify(), S_OK) << "the cache still takes notifications, but no longer calls the function";
    leave.set_value();
    ended.get();
    notifier.join();
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(service->isRegistered);
}

TEST_F(Typed, TheFunctionMayEndTheCache) {
    const auto service = lx::Make<Service>();
    service->releasesCallback = true;
    std::unique_ptr<lxcfc::Cache> cache;
    cache = std::make_unique<lxcfc::Cache>(FactoryOf(MakeServer()), service.Get(),
                                           [&](const lxcfc::Change&) { cache.reset(); });
    EXPECT_EQ(service->Notify(), S_OK);
    EXPECT_EQ(cache, nullptr);
    EXPECT_FALSE(service->isRegistered);
}

TEST_F(Typed, AFailedStartLeavesNothingBehind) {
    class Broken final : public lx::ConfigServer {
        lx::ModelPtr Snapshot() override { throw std::runtime_error("no configuration"); }
    };
    const auto service = lx::Make<Service>();
    const auto token = std::make_shared<int>();
    const auto start = [&] {
        const lxcfc::Cache cache(FactoryOf(std::make_shared<Broken>()), service.Get(), [token](const auto&) {});
    };
    EXPECT_THROW(start(), lxcfc::Error);
    EXPECT_EQ(token.use_count(), 1) << "the function is freed";
    EXPECT_FALSE(service->isRegistered);
    EXPECT_EQ(service->Notify(), RPC_E_DISCONNECTED);
    const lxcfc::Cache none;
    EXPECT_THROW((void)none.Types(), lxcfc::Error);
}
