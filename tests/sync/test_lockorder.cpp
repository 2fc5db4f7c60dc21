// SPDX-License-Identifier: MIT
//
// Debug builds end the process at a lock taken in the wrong order.
#include "XFillMutex.h"
#include "synctools.h"

namespace
{
using Data = XCritDataCFC<int>;

Data& Types()
{
    static Data data(XLockLevel::TypeMap);
    return data;
}
Data& Store()
{
    static Data data(XLockLevel::PropertyStore);
    return data;
}
Data& OtherStore()
{
    static Data data(XLockLevel::PropertyStore);
    return data;
}
XFillMutex& Fetch()
{
    static XFillMutex mutex(XLockLevel::TypeFetch);
    return mutex;
}

template <class Outer, class Inner, class OuterLock, class InnerLock>
void Nest(OuterLock& outer, InnerLock& inner)
{
    const Outer first(outer);
    const Inner second(inner);
}

TEST(LockOrder, LetsTheRightOrderPass)
{
    XFillMutex base(XLockLevel::TypeFetch);
    for (int round = 0; round < 2; ++round)
    {
        const XFillGuard derivedFetch(Fetch());
        const XFillGuard baseFetch(base);
        XLockOrder::AssertNoneHeld();
        const XCritReadProxy<int> types(Types());
        Nest<XCritProxy<int>, XCritLFReadProxy<int>>(Store(), Store());
        Nest<XCritProxy<int>, XCritReadProxy<int>>(OtherStore(), OtherStore());
    }
    XLockOrder::AssertNoneHeld();
    SUCCEED();
}

#if !defined(NDEBUG) && !defined(_WIN32)
struct WrongOrder
{
    const char* what;
    void (*run)();
};

TEST(LockOrderDeathTest, FindsTheWrongOrder)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    constexpr WrongOrder Cases[] = {
        {"taking TypeMap while PropertyStore",
         [] { Nest<XCritProxy<int>, XCritReadProxy<int>>(Store(), Types()); }},
        {"taking PropertyStore while PropertyStore",
         [] { Nest<XCritProxy<int>, XCritLFReadProxy<int>>(Store(), OtherStore()); }},
        {"taking PropertyStore while PropertyStore",
         [] { Nest<XCritLFReadProxy<int>, XCritLFReadProxy<int>>(Store(), Store()); }},
        {"taking PropertyStore while PropertyStore",
         [] { Nest<XCritLFReadProxy<int>, XCritProxy<int>>(Store(), Store()); }},
        {"taking PropertyStore while PropertyStore",
         [] { Nest<XCritLFReadProxy<int>, XCritReadProxy<int>>(Store(), Store()); }},
        {"taking TypeFetch while TypeMap", [] { Nest<XCritReadProxy<int>, XFillGuard>(Types(), Fetch()); }},
        {"calling out below ObjectFill while PropertyStore",
         [] {
             const XCritLFReadProxy<int> read(Store());
             XLockOrder::AssertNoneHeld();
         }},
    };
    for (const WrongOrder& wrong : Cases)
    {
        EXPECT_DEATH(wrong.run(), wrong.what);
    }
}
#endif
} // namespace
