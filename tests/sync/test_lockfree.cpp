// SPDX-License-Identifier: MIT
//
// Lock-free readers on the real system: which reads take the real lock, and that writers are not starved.
// test_explore_lockfree.cpp tests all interleavings.
#include "synctools.h"

namespace {
using Delegator = XLFCritSectionDelegator<XBasicRefCountCritSection<XProbeLock>>;

struct ProbedDelegator final : Delegator {
    XProbeLock& probe = XProbeLock::Last();
};

class LockFreeRead : public testing::Test {
protected:
    Delegator::Slot* Read(XActor& actor) {
        return actor.Do([this] { return m_data.LockLFRead(); });
    }
    void EndRead(XActor& actor, Delegator::Slot* slot) {
        actor.Do([this, slot] { m_data.UnlockLFRead(slot); });
    }
    std::future<void> StartWrite(XActor& actor) {
        return actor.Start([this] { m_data.LockWrite(); });
    }
    void EndWrite(XActor& actor) {
        actor.Do([this] { m_data.UnlockWrite(); });
    }

    ProbedDelegator m_data;
    XProbeLock& m_probe = m_data.probe;
    XActor m_writer;
    XActor m_first;
    XActor m_second;
};

TEST_F(LockFreeRead, TakesNoLockBesideOtherReadersOrAfterAWrite) {
    StartWrite(m_writer).get();
    EndWrite(m_writer);
    m_writer.Do([&] { m_data.AddReadLockRef(); });
    auto* const first = Read(m_first);
    auto* const second = Read(m_second);
    EXPECT_TRUE(first != nullptr && second != nullptr && first != second);
    EndRead(m_first, first);
    EndRead(m_second, second);
    m_writer.Do([&] { m_data.ReleaseLockRef(); });
    const auto index = [] { return XSystemSync::ThreadIndex(); };
    EXPECT_NE(m_first.Do(index), m_second.Do(index)) << "threads share a slot for no reason";
}

TEST_F(LockFreeRead, ARefusedWriteDoesNotBlockReaders) {
    m_first.Do([&] { m_data.AddReadLockRef(); });
    EXPECT_TRUE(m_first.Do([&] { return Raised([&] { m_data.LockWrite(); }).has_value(); }));
    auto* const second = Read(m_second);
    EXPECT_NE(nullptr, second);
    EndRead(m_second, second);
    m_first.Do([&] { m_data.ReleaseLockRef(); });
    EXPECT_EQ(LockState::Shared, m_probe.State()); // the refused write still counts as a reference of its thread
    m_first.Do([&] { m_data.ReleaseLockRef(); });
    EXPECT_EQ(LockState::Free, m_probe.State());
}

TEST_F(LockFreeRead, AReaderThatArrivesAfterAWaitingWriterWaitsForIt) {
    auto* const first = Read(m_first);
    auto write = StartWrite(m_writer);
    ASSERT_TRUE(WaitFor([&] { return m_probe.State() == LockState::Exclusive; }));
    auto second = m_second.Start([this] { return m_data.LockLFRead(); });
    ASSERT_TRUE(WaitFor([&] { return m_probe.waiting == 1; })) << "a stream of readers starves the writer";
    EXPECT_FALSE(IsReady(write, std::chrono::milliseconds(0)));
    EndRead(m_first, first);
    ASSERT_TRUE(IsReady(write));
    EndWrite(m_writer);
    EXPECT_EQ(nullptr, second.get());
    EndRead(m_second, nullptr);
}

} // namespace
