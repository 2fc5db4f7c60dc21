// SPDX-License-Identifier: MIT
//
// Readers without a lock: who is let in, who is sent to the lock, and that writers get their turn.
#include "logcapture.h"
#include "synctools.h"

namespace
{
using Delegator = XLFCritSectionDelegator<XBasicRefCountCritSection<XProbeTraitsCFC>, XSteppedWord>;

struct ProbedDelegator final : Delegator
{
    XProbeLock& probe = XProbeLock::Last();
};

class LockFreeRead : public testing::Test
{
protected:
    /// @param stopAfter  operations on the word after which the reader stops; 0: it does not
    std::future<bool> StartRead(XActor& actor, int stopAfter = 0)
    {
        return actor.Start([this, stopAfter] {
            XSteppedWord::StopAfter(stopAfter);
            const bool locked = m_data.LockLFRead();
            XSteppedWord::StopAfter(0);
            return locked;
        });
    }
    bool Read(XActor& actor) { return StartRead(actor).get(); }
    void EndRead(XActor& actor, bool locked)
    {
        actor.Do([this, locked] { m_data.UnlockLFRead(locked); });
    }
    std::future<void> StartWrite(XActor& actor)
    {
        return actor.Start([this] { m_data.LockWrite(); });
    }
    void EndWrite(XActor& actor)
    {
        actor.Do([this] { m_data.UnlockWrite(); });
    }

    ProbedDelegator m_data;
    XProbeLock& m_probe = m_data.probe;
    XActor m_writer;
    XActor m_first;
    XActor m_second;
    XActor m_third;
};

// A reader that finds a writer inside is stopped after each of its operations on the word in turn. At none of
// them may a second reader take it for one that is inside, and join it beside the writer.
TEST_F(LockFreeRead, NobodyJoinsAReaderThatIsAboutToTurnBack)
{
    int stops = 0;
    for (bool stopped = true; stopped; ++stops)
    {
        StartWrite(m_writer).get();
        auto first = StartRead(m_first, stops + 1);
        ASSERT_TRUE(Comes([&] { return XSteppedWord::IsStopped() || m_probe.waiting == 1; }));
        stopped = XSteppedWord::IsStopped();
        const int sentBefore = m_probe.waiting;
        auto second = StartRead(m_second);
        ASSERT_TRUE(Comes([&] { return m_probe.waiting > sentBefore || IsReady(second, {}); }));
        EXPECT_FALSE(IsReady(second, {})) << "read beside the writer, after " << stops + 1 << " operations";
        if (stopped)
        {
            XSteppedWord::Resume();
        }
        EndWrite(m_writer);
        ASSERT_TRUE(IsReady(first) && IsReady(second));
        EndRead(m_first, first.get());
        EndRead(m_second, second.get());
    }
    EXPECT_GT(stops, 1);
}

// The same with the writer coming in while the reader is stopped: one of the two must wait for the other.
TEST_F(LockFreeRead, AReaderAndAWriterThatMeetAreNotBothInside)
{
    int stops = 0;
    for (bool stopped = true; stopped; ++stops)
    {
        auto read = StartRead(m_first, stops + 1);
        ASSERT_TRUE(Comes([&] { return XSteppedWord::IsStopped() || IsReady(read, {}); }));
        stopped = XSteppedWord::IsStopped();
        auto write = StartWrite(m_writer);
        const bool writerIsIn = IsReady(write, MustNotHappen);
        if (stopped)
        {
            XSteppedWord::Resume();
        }
        ASSERT_TRUE(Comes([&] { return m_probe.waiting == 1 || IsReady(read, {}); }));
        const bool readerIsIn = IsReady(read, {});
        EXPECT_FALSE(readerIsIn && (writerIsIn || IsReady(write, {}))) << "after " << stops + 1;
        if (readerIsIn)
        {
            EndRead(m_first, read.get());
        }
        ASSERT_TRUE(IsReady(write));
        EndWrite(m_writer);
        if (!readerIsIn)
        {
            EndRead(m_first, read.get());
        }
    }
    EXPECT_GT(stops, 1);
}

// A reader that is on its way from the word to the lock is not inside either, and keeps no writer out.
TEST_F(LockFreeRead, NobodyJoinsAReaderThatWasSentToTheLock)
{
    StartWrite(m_writer).get();
    m_probe.gateClosed = true;
    auto first = StartRead(m_first);
    ASSERT_TRUE(Comes([&] { return m_probe.atGate == 1; }));
    auto second = StartRead(m_second);
    ASSERT_TRUE(Comes([&] { return m_probe.atGate == 2; })) << "read beside the writer";
    EndWrite(m_writer);
    // The two are still on their way. They keep no writer out ...
    EXPECT_FALSE(Read(m_third));
    EndRead(m_third, false);
    m_probe.gateClosed = false;
    ASSERT_TRUE(IsReady(first) && IsReady(second));
    EXPECT_TRUE(first.get());
    EXPECT_TRUE(second.get());
    auto again = StartWrite(m_writer); // ... before they hold the lock
    ASSERT_TRUE(Comes([&] { return m_probe.waiting == 1; }));
    EndRead(m_first, true);
    EndRead(m_second, true);
    ASSERT_TRUE(IsReady(again));
    EndWrite(m_writer);
    EXPECT_EQ(LockState::Free, m_probe.State());
}

// While the writer only waits, a second reader may take one that turns back for one that is inside. It is
// then inside itself, and the writer waits for it.
TEST_F(LockFreeRead, WhoJoinedAReaderThatTurnedBackKeepsTheWriterOut)
{
    m_third.Do([&] { m_data.AddReadLockRef(); });
    auto write = StartWrite(m_writer);
    ASSERT_TRUE(Comes([&] { return m_probe.waiting == 1; }));
    auto first = StartRead(m_first, 1);
    ASSERT_TRUE(Comes([&] { return XSteppedWord::IsStopped(); }));
    EXPECT_FALSE(Read(m_second));
    XSteppedWord::Resume();
    ASSERT_TRUE(Comes([&] { return m_probe.waiting == 2; }));
    m_third.Do([&] { m_data.ReleaseLockRef(); });
    ASSERT_TRUE(Comes([&] { return m_probe.State() == LockState::Exclusive; }));
    EXPECT_FALSE(IsReady(write, MustNotHappen));
    EndRead(m_second, false);
    ASSERT_TRUE(IsReady(write));
    EndWrite(m_writer);
    ASSERT_TRUE(IsReady(first));
    EndRead(m_first, first.get());
}

TEST_F(LockFreeRead, JoinsOneThatIsInsideAlsoPastAPendingWriter)
{
    m_third.Do([&] { m_data.AddReadLockRef(); }); // holds the writer up at the lock
    EXPECT_FALSE(Read(m_first));
    auto write = StartWrite(m_writer);
    ASSERT_TRUE(Comes([&] { return m_probe.waiting == 1; }));
    EXPECT_FALSE(Read(m_second));
    EndRead(m_first, false);
    EXPECT_FALSE(Read(m_first));
    EndRead(m_first, false);
    EndRead(m_second, false);
    auto late = StartRead(m_second); // nobody is inside any more
    ASSERT_TRUE(Comes([&] { return m_probe.waiting == 2 || IsReady(late, {}); }));
    m_third.Do([&] { m_data.ReleaseLockRef(); });
    ASSERT_TRUE(IsReady(write));
    EndWrite(m_writer);
    ASSERT_TRUE(IsReady(late));
    EXPECT_TRUE(late.get());
    EndRead(m_second, true);
    EXPECT_FALSE(Read(m_first)); // and the way is free again
    EndRead(m_first, false);
}

TEST_F(LockFreeRead, AWriterWaitsForTheLastReader)
{
    EXPECT_FALSE(Read(m_first));
    EXPECT_FALSE(Read(m_second));
    auto write = StartWrite(m_writer);
    ASSERT_TRUE(Comes([&] { return m_probe.State() == LockState::Exclusive; }));
    EndRead(m_first, false);
    EXPECT_FALSE(IsReady(write, MustNotHappen));
    EndRead(m_second, false);
    ASSERT_TRUE(IsReady(write));
    EndWrite(m_writer);
}

TEST_F(LockFreeRead, InsideOwnWriteIsAnotherReference)
{
    StartWrite(m_writer).get();
    EXPECT_TRUE(Read(m_writer));
    EndRead(m_writer, true);
    EXPECT_EQ(LockState::Exclusive, m_probe.State());
    m_writer.Do([&] { m_data.LockWrite(); }); // a nested write does not let readers in when it ends
    EndWrite(m_writer);
    auto reader = StartRead(m_first);
    ASSERT_TRUE(Comes([&] { return m_probe.waiting == 1; }));
    EndWrite(m_writer);
    ASSERT_TRUE(IsReady(reader));
    EndRead(m_first, reader.get());
}

TEST_F(LockFreeRead, ARefusedWriteDoesNotStayPending)
{
    m_first.Do([&] { m_data.AddReadLockRef(); });
    EXPECT_TRUE(m_first.Do([&] { return Raised([&] { m_data.LockWrite(); }).has_value(); }));
    EXPECT_FALSE(Read(m_second));
    EndRead(m_second, false);
    m_first.Do([&] { m_data.ReleaseLockRef(); });
    EXPECT_EQ(LockState::Shared, m_probe.State()); // its count stayed raised
    m_first.Do([&] { m_data.ReleaseLockRef(); });
    EXPECT_EQ(LockState::Free, m_probe.State());
}

// Readers that never let the count of readers inside reach 0 of their own accord.
class RestlessReaders
{
public:
    explicit RestlessReaders(ProbedDelegator& data)
    {
        for (std::thread& thread : m_threads)
        {
            thread = std::thread([this, &data] { Run(data); });
        }
    }
    ~RestlessReaders()
    {
        m_stop = true;
        for (std::thread& thread : m_threads)
        {
            thread.join();
        }
    }
    int Inside() const { return m_inside; }
    void Stop() { m_stop = true; }

private:
    void Run(ProbedDelegator& data)
    {
        while (!m_stop)
        {
            const bool locked = data.LockLFRead();
            if (!locked)
            {
                ++m_inside;
                Leave(data);
            }
            data.UnlockLFRead(locked);
        }
    }
    // Leaves while another one is inside, or once somebody was sent to the lock.
    void Leave(ProbedDelegator& data)
    {
        int inside = m_inside;
        while (inside < 2 || !m_inside.compare_exchange_weak(inside, inside - 1))
        {
            if (m_stop || data.probe.waiting > 0)
            {
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

TEST_F(LockFreeRead, AWriterGetsThroughRestlessReaders)
{
    using namespace std::chrono;
    RestlessReaders readers(m_data);
    ASSERT_TRUE(Comes([&] { return readers.Inside() >= 2; }));
    LONGLONG worst = 0;
    for (int round = 0; round < 5; ++round)
    {
        const auto start = steady_clock::now();
        auto write = StartWrite(m_writer);
        const bool through = IsReady(write, seconds(5)); // 0.1 s on a machine with nothing else to do
        worst = std::max<LONGLONG>(worst, duration_cast<milliseconds>(steady_clock::now() - start).count());
        if (!through)
        {
            readers.Stop();
        }
        ASSERT_TRUE(through) << "kept out by readers that join each other";
        EXPECT_EQ(0, readers.Inside());
        EndWrite(m_writer);
        ASSERT_TRUE(Comes([&] { return readers.Inside() >= 2; })) << "the door stayed closed";
    }
    RecordProperty("WorstMilliseconds", static_cast<int>(worst));
    std::printf("  the slowest writer took %d ms\n", static_cast<int>(worst));
}

TEST(GuardedData, SetDestroysTheOldValueWithNoLockHeld)
{
    XCritDataCFC<std::shared_ptr<int>> data(XLockLevel::ObjectMap);
    XActor other;
    bool entered = false;
    data.Set(std::shared_ptr<int>(new int(1), [&](int* old) {
        delete old;
        auto write = other.Start([&] { const XCritProxy<std::shared_ptr<int>> proxy(data); });
        entered = IsReady(write);
    }));
    data.Set(std::make_shared<int>(2));
    EXPECT_TRUE(entered);
    EXPECT_EQ(2, **XCritReadProxy<std::shared_ptr<int>>(data));
}

TEST(GuardedData, AnErrorUnderAProxyGivesTheLockBack)
{
    const LogCapture log;
    XCritDataCFC<int> data(XLockLevel::ObjectMap, 7);
    const auto fail = [](const int& value) {
        if (value == 7)
        {
            throw XLXException(E_FAIL, OLESTR("seven"), LXHere("test_lockfree", nullptr, "fail"));
        }
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
