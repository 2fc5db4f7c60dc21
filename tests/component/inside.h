// SPDX-License-Identifier: MIT
//
// Runs work inside calls to the server and inside the last release of a server object; sends notifications directly to
// cached objects.
#ifndef INSIDE_H
#define INSIDE_H

#include "cachefixture.h"

#include <lxserver/Object.h>

#include <atomic>
#include <future>

/// Runs work once inside the next call of a method, on the calling thread; by default after the answer was created.
class Inside {
public:
    Inside(XCallMonitor& calls, const char* method, std::function<void()> work, XCallPoint point = XCallPoint::Answer)
        : m_calls(calls) {
        m_calls.SetHook([this, method, point, work = std::move(work)](const XServerCall& call) {
            if (call.name == method && call.point == point && !m_happened.exchange(true)) { work(); }
        });
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
    ~Inside() {
        EXPECT_TRUE(m_happened.load()) << "the call was not made";
        m_calls.SetHook({});
    }

private:
    XCallMonitor& m_calls;
    std::atomic<bool> m_happened{false};
};

/// A server object that runs work when it is destroyed.
class WorkAtRelease final : public lx::Object<IUnknown> {
public:
    explicit WorkAtRelease(std::function<void()> work) : m_work(std::move(work)) {}

protected:
    ~WorkAtRelease() override { m_work(); }

private:
    const std::function<void()> m_work;
};

/// Sends a notification directly to a cached object, or to the cache.
template <class Interface>
void LXNotifyStraight(const XLXComPtr<Interface>& object, const std::string& dataId, ULONG number = 900) {
    EXPECT_EQ(LXCall(*object.template As<ILXCallbackUpdate>(), &ILXCallbackUpdate::DataObjectChanged, dataId,
                     "cfc_specific", 256u, number, 0u, nullptr),
              S_OK);
}

#endif
