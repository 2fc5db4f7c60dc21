// SPDX-License-Identifier: MIT
//
// Lock-free readers on the real system: which reads take the real lock, and that writers are not starved.
// test_explore_lockfree.cpp tests all interleavings.
#include "logcapture.h"
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

TEST_F(LockFreeRead, TakesNoLockBesideReadersOfAllKindsAndAfterAWrite) {
    StartWrite(m_writer).get();
    EndWrite(m_writer);
    m_writer.Do([&] { m_data.AddReadLockRef(); });
    const int lockCalls = m_probe.lockCalls;
    for (int round = 0; round < 2; ++round) {
        auto* const first = Read(m_first);
        auto* const second = Read(m_second);
        EXPECT_TRUE(first != nullptr && second != nullptr && first != second);
        EndRead(m_first, first);
        EndRead(m_second, second);
    }
    EXPECT_EQ(lockCalls, m_probe.lockCalls);
    m_writer.Do([&] { m_data.ReleaseLockRef(); });
}

TEST_F(LockFreeRead, ARefusedWriteDoesNotStayCounted) {
    m_first.Do([&] { m_data.AddReadLockRef(); });
    EXPECT_TRUE(m_first.Do([&] { return Raised([&] { m_data.LockWrite(); }).has_value(); }));
    auto* const second = Read(m_second);
    EXPECT_NE(nullptr, second);
    EndRead(m_second, second);
    m_first.Do([&] { m_data.ReleaseLockRef(); });
    EXPECT_EQ(LockState::Shared, m_probe.State()); // its count stayed raised
    m_first.Do([&] { m_data.ReleaseLockRef(); });
    EXPECT_EQ(LockState::Free, m_probe.State());
}

// Keeps at least one reader inside at any time, unless readers have to take the lock.
class RestlessReaders {
public:
    explicit RestlessReaders(ProbedDelegator& data) {
        for (std::thread& thread : m_threads) {
            thread = std::thread([this, &data] { Run(data); });
        }
    }
    ~RestlessReaders() {
        m_stop = true;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }
    int Inside() const { return m_inside; }
    void Stop() { m_stop = true; }

private:
    void Run(ProbedDelegator& data) {
        while (!m_stop) {
            auto* const slot = data.LockLFRead();
            if (slot != nullptr) {
                ++m_inside;
                Leave(data);
            }
            data.UnlockLFRead(slot);
        }
    }
    // Leaves when another reader is inside or when a thread waits for the lock.
    void Leave(ProbedDelegator& data) {
        int inside = m_inside;
        while (inside < 2 || !m_inside.compare_exchange_weak(inside, inside - 1)) {
            if (m_stop || data.probe.waiting > 0) {
                --m_inside;
                return;
            }
            std::this_thread::yield();
            inside = m_inside;
        }
    }

    std::atomic<bool> m_stop{false};
    std::atomic<int> m_inside{0};
    std::thread m_threads[8];
};

TEST_F(LockFreeRead, AWriterGetsThroughRestlessReaders) {
    RestlessReaders readers(m_data);
    ASSERT_TRUE(Comes([&] { return readers.Inside() >= 2; }));
    for (int round = 0; round < 5; ++round) {
        auto write = StartWrite(m_writer);
        const bool through = IsReady(write, std::chrono::seconds(5)); // takes 0.1 s on an idle machine
        if (!through) { readers.Stop(); }
        ASSERT_TRUE(through) << "kept out by readers that come while it waits";
        EXPECT_EQ(0, readers.Inside());
        EndWrite(m_writer);
        ASSERT_TRUE(Comes([&] { return readers.Inside() >= 2; })) << "readers are kept out";
    }
}

TEST(GuardedData, AnErrorUnderAProxyGivesTheLockBack) {
    const LogCapture log;
    XCritDataCFC<int> data(XLockLevel::Relations, 7);
    const auto fail = [](const int& value) {
        if (value == 7) { throw XLXException(E_FAIL, OLESTR("seven"), LXHere("test_lockfree", nullptr, "fail")); }
    };
    EXPECT_THROW(fail(*XCritProxy<int>(data)), XLXException);
    EXPECT_THROW(fail(*XCritReadProxy<int>(data)), XLXException);
    EXPECT_THROW(fail(*XCritLFReadProxy<int>(data)), XLXException);
    XActor other;
    auto write = other.Start([&] { *XCritProxy<int>(data) = 8; });
    ASSERT_TRUE(IsReady(write));
    EXPECT_EQ(8, *XCritLFReadProxy<int>(data));
    EXPECT_TRUE(log.Entries().empty());
}
} // namespace
