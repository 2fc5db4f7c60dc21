// SPDX-License-Identifier: MIT
//
// What these tests do inside a call to the server, and past the manager.
#ifndef INSIDE_H
#define INSIDE_H

#include "cachefixture.h"

#include <atomic>

/// Does something inside the next call of a method, on the calling thread; by default when its answer is made.
class Inside
{
public:
    Inside(XCallMonitor& calls, const char* method, std::function<void()> work, XCallPoint point = XCallPoint::Answer)
        : m_calls(calls)
    {
        m_calls.SetHook([this, method, point, work = std::move(work)](const XServerCall& call) {
            if (call.name == method && call.point == point && !m_happened.exchange(true))
            {
                work();
            }
        });
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
    ~Inside()
    {
        EXPECT_TRUE(m_happened.load()) << "the call was not made";
        m_calls.SetHook({});
    }

private:
    XCallMonitor& m_calls;
    std::atomic<bool> m_happened{false};
};

/// Sends a notification straight to a cached object.
template <class Interface>
void LXNotifyStraight(const XLXComPtr<Interface>& object, const OLECHAR* dataId)
{
    const XLXComBSTR dataType(OLESTR("cfc_specific"));
    EXPECT_EQ(object.template As<ILXCallbackUpdate>()->DataObjectChanged(XLXComBSTR(XLXText(dataId)).Get(),
                                                                         dataType.Get(), 256, 900, 0, nullptr),
              S_OK);
}

#endif
