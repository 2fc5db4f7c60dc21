// SPDX-License-Identifier: MIT
//
// Debug builds abort when locks are taken in the wrong order. That they accept the right order, all other tests show.
#include "XFill.h"
#include "synctools.h"

#if !defined(NDEBUG) && !defined(_WIN32)
namespace {
using Data = XCritDataCFC<int>;

template <class Outer, class Inner, class OuterLock, class InnerLock> void Nest(OuterLock& outer, InnerLock& inner) {
    const Outer first(outer);
    const Inner second(inner);
}

TEST(LockOrderDeathTest, FindsTheWrongOrder) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Data types(XLockLevel::TypeMap);
    Data store(XLockLevel::PropertyStore);
    Data otherStore(XLockLevel::PropertyStore);
    XFillMutex fetch;
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"taking TypeMap while PropertyStore", [&] { Nest<XCritProxy<int>, XCritReadProxy<int>>(store, types); }},
        {"taking PropertyStore while PropertyStore",
         [&] { Nest<XCritProxy<int>, XCritLFReadProxy<int>>(store, otherStore); }},
        {"taking PropertyStore while PropertyStore",
         [&] { Nest<XCritLFReadProxy<int>, XCritLFReadProxy<int>>(store, store); }},
        {"taking PropertyStore while PropertyStore",
         [&] { Nest<XCritLFReadProxy<int>, XCritProxy<int>>(store, store); }},
        {"taking PropertyStore while PropertyStore",
         [&] { Nest<XCritLFReadProxy<int>, XCritReadProxy<int>>(store, store); }},
        {"taking Fill while TypeMap",
         [&] {
             const XCritReadProxy<int> read(types);
             const XFill fill(fetch, &fetch);
         }},
        {"calling out below Fill while PropertyStore",
         [&] {
             const XFill fill(fetch, &fetch);
             const XCritLFReadProxy<int> read(store);
             XLockPlace::AssertNoneHeld();
         }},
        {"calling out below Fill while PropertyStore", // released in the order of acquisition
         [&] {
             std::optional<XCritReadProxy<int>> read(types);
             const XCritLFReadProxy<int> last(store);
             read.reset();
             XLockPlace::AssertNoneHeld();
         }},
    };
    for (const auto& [message, run] : cases) {
        EXPECT_DEATH(run(), message);
    }
}
} // namespace
#endif
