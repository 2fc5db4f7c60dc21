// SPDX-License-Identifier: MIT
//
// A notification costs the same however much is cached: it needs no memory, and takes no locks but leaf mutexes,
// whatever other threads are fetching.
#include "XLockOrder.h"
#include "allocations.h"
#include "logcapture.h"
#include "observedparts.h"

#include <future>

#ifndef _WIN32
#include "lxallocationgate.h"
#endif

using namespace LXObserving;

namespace {
class NotificationCost : public CacheTest {
protected:
    NotificationCost() : CacheTest(LXObservedModel()) {}
    void SetUp() override {
        ASSERT_EQ(Start(1), S_OK);
        for (const auto& observed : m_kinds) {
            observed->Raise(*m_server, false); // some elements exist only after the first edit
        }
    }

    /// Reads something of each kind: types and all their parts, formats, relations and their PC infos, plan types.
    void LoadEverything() {
        for (const auto& observed : m_kinds) {
            for (const XQuestion& question : observed->Questions()) {
                std::string details;
                EXPECT_EQ(observed->Ask(question, {}, {m_cache, *m_server, 0}, nullptr, details),
                          XObserved::Reading::Right)
                    << observed->Name() << ": " << question.name << ": " << details;
            }
        }
    }

    /// Calls visit(text, send) for each kind of notification with each mode; send() delivers it.
    template <class Visit> void ForEachNotification(Visit&& visit) {
        const auto callback = m_cache.As<ILXCallbackUpdate>();
        const XLXComBSTR dataType(OLESTR("cfc_specific"));
        for (const char* kind : {"objects", "properties", "pc", "searchable", "other"}) {
            for (const int mode : {0, 1, 2, 512}) {
                const std::string text = std::string(kind) + "/Pump/0/" + std::to_string(mode);
                const XLXComBSTR dataId(LXFromUtf8(text));
                visit(text, [&, id = ++m_lastId] {
                    return callback->DataObjectChanged(dataId.Get(), dataType.Get(), 256, id, 0, nullptr);
                });
            }
        }
    }

    /// Requests an enumeration on another thread, whose call to the server then waits at a gate.
    template <class Owner, class Method, class... Arguments>
    void Hold(const char* call, const XLXComPtr<Owner>& owner, Method list, Arguments... arguments) {
        m_gates.push_back(Calls().PauseAt(call, XCallPoint::Answer));
        m_asked.push_back(std::async(std::launch::async, [=] { LXGet(owner, list, arguments...); }));
        m_gates.back().WaitUntilArrived();
    }
    void LetGo() {
        m_gates.clear();
        m_asked.clear();
    }

private:
    const XObservedList m_kinds = LXEveryKind();
    ULONG m_lastId = 1000; // greater than the server's
    std::vector<std::future<void>> m_asked;
    std::vector<XCallGate> m_gates; // opened before waiting for the queries
};
} // namespace

TEST_F(NotificationCost, NothingIsAllocated) {
    const LogCapture log(1u << LX_LOG_ERROR); // without entries about notifications, whose texts need memory
#ifndef _WIN32
    LXSetAllocationGate([] { return XAllocationWatch::Allow(); });
#endif
    ForEachNotification([&](const std::string& text, const auto& send) {
        LoadEverything();
        const XAllocationWatch watch;
        const HRESULT result = send();
        const std::size_t count = watch.Count();
        XAllocationWatch::Heed(false);
        EXPECT_EQ(result, S_OK) << text;
        EXPECT_EQ(count, 0u) << text;
    });
    const XAllocationWatch watch; // the last notification concerned attributes
    LoadEverything();
    EXPECT_GT(watch.Count(), 100u) << "allocations are not counted";
}

TEST_F(NotificationCost, OnlyLeafLocksAreTakenWhileEverythingIsBeingRead) {
    LoadEverything();
    const auto type = Type("Pump");
    const auto relation = RelationOf(m_cache, "Pump", "parts");
    const auto factory = Factory();
    ASSERT_TRUE(relation);
    ForEachNotification([&](const std::string&, const auto& send) { EXPECT_EQ(send(), S_OK); });
    Hold("ILXType::GetTypeComponentData", type, &ILXType::GetAttributeEnum);
    Hold("ILXPCInfoEnum::RemNext", relation, &ILXParentChild::GetPCInfoEnum);
    Hold("ILXConfigFactory::GetPCArray", factory, &ILXConfigFactory::GetParentChildEnum, "", nullptr);
    Hold("ILXGlobalAttributeFormatSpecEnum::RemNext", factory, &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs);
    Hold("ILXConfigFactoryEx::GetTypeArrayEx", factory, &ILXConfigFactory::GetTypeEnum, nullptr);

    auto sent = std::async(std::launch::async, [&] {
        const XLockPlace innermost{XLockLevel::PropertyStore}; // in debug builds, another lock now ends the process
        innermost.Enter(&innermost);
        ForEachNotification([&](const std::string& text, const auto& send) { EXPECT_EQ(send(), S_OK) << text; });
        innermost.Leave(&innermost);
    });
    EXPECT_EQ(sent.wait_for(std::chrono::seconds(10)), std::future_status::ready) << "a notification waits";
    LetGo();
    sent.get();
}
