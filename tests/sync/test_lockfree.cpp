// SPDX-License-Identifier: MIT
//
// Lock-free readers on the real system. test_explore_lockfree.cpp tests all interleavings.
#include "synctools.h"

namespace {
using Delegator = XLFCritSectionDelegator<XBasicRefCountCritSection<XProbeLock>>;

TEST(LockFreeRead, ARefusedWriteDoesNotBlockReaders) {
    Delegator data;
    data.AddReadLockRef();
    EXPECT_TRUE(Raised([&] { data.LockWrite(); }).has_value());
    data.ReleaseLockRef();
    data.ReleaseLockRef();
    auto* const slot = data.LockLFRead();
    EXPECT_NE(nullptr, slot);
    data.UnlockLFRead(slot);
}

TEST(LockFreeRead, AReaderThatArrivesAfterAWaitingWriterWaitsForIt) {
    Delegator data;
    XProbeLock& probe = XProbeLock::Last();
    XActor first;
    XActor second;
    XActor writer;
    auto* const slot = first.Do([&] { return data.LockLFRead(); });
    auto write = writer.Start([&] { data.LockWrite(); });
    ASSERT_TRUE(WaitFor([&] { return probe.State() == LockState::Exclusive; }));
    auto late = second.Start([&] { return data.LockLFRead(); });
    ASSERT_TRUE(WaitFor([&] { return probe.waiting == 1; })) << "a stream of readers starves the writer";
    EXPECT_FALSE(IsReady(write, std::chrono::milliseconds(0)));
    first.Do([&] { data.UnlockLFRead(slot); });
    ASSERT_TRUE(IsReady(write));
    writer.Do([&] { data.UnlockWrite(); });
    EXPECT_EQ(nullptr, late.get());
    second.Do([&] { data.UnlockLFRead(nullptr); });
    const auto index = [] { return XSystemSync::ThreadIndex(); };
    EXPECT_NE(first.Do(index), second.Do(index)) << "threads share a slot for no reason";
}
} // namespace
