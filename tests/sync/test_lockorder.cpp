// SPDX-License-Identifier: MIT
//
// Debug builds abort when locks are taken in the wrong order. That they accept the right order, all other tests show.
#include "XFill.h"
#include "synctools.h"

#if !defined(NDEBUG) && !defined(_WIN32)
namespace {
using Data = XCritDataCFC<int>;

Data& Types() {
    static Data data(XLockLevel::TypeMap);
    return data;
}
Data& Store() {
    static Data data(XLockLevel::PropertyStore);
    return data;
}
Data& OtherStore() {
    static Data data(XLockLevel::PropertyStore);
    return data;
}
XFillMutex& Fetch() {
    static XFillMutex mutex;
    return mutex;
}

template <class Outer, class Inner, class OuterLock, class InnerLock> void Nest(OuterLock& outer, InnerLock& inner) {
    const Outer first(outer);
    const Inner second(inner);
}

TEST(LockOrderDeathTest, FindsTheWrongOrder) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    constexpr std::pair<const char*, void (*)()> Cases[] = {
        {"taking TypeMap while PropertyStore", [] { Nest<XCritProxy<int>, XCritReadProxy<int>>(Store(), Types()); }},
        {"taking PropertyStore while PropertyStore",
         [] { Nest<XCritProxy<int>, XCritLFReadProxy<int>>(Store(), OtherStore()); }},
        {"taking PropertyStore while PropertyStore",
         [] { Nest<XCritLFReadProxy<int>, XCritLFReadProxy<int>>(Store(), Store()); }},
        {"taking PropertyStore while PropertyStore",
         [] { Nest<XCritLFReadProxy<int>, XCritProxy<int>>(Store(), Store()); }},
        {"taking PropertyStore while PropertyStore",
         [] { Nest<XCritLFReadProxy<int>, XCritReadProxy<int>>(Store(), Store()); }},
        {"taking Fill while TypeMap",
         [] {
             const XCritReadProxy<int> types(Types());
             const XFill fill(Fetch(), &Fetch());
         }},
        {"calling out below Fill while PropertyStore",
         [] {
             const XFill fill(Fetch(), &Fetch());
             const XCritLFReadProxy<int> read(Store());
             XLockPlace::AssertNoneHeld();
         }},
    };
    for (const auto& [message, run] : Cases) {
        EXPECT_DEATH(run(), message);
    }
}
} // namespace
#endif
