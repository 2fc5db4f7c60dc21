// SPDX-License-Identifier: MIT
//
// Filling: who fills, and what a notification that comes meanwhile does to the answer.
#include "XFillMutex.h"
#include "XFilledFlag.h"
#include "synctools.h"

namespace
{
/// A course of events. Two fillers: n and N note the generation, s and S set the flag with that note;
/// i invalidates.
struct Course
{
    const char* events;
    bool filled;
};

TEST(FilledFlag, CountsOnlyAnAnswerThatNothingOvertook)
{
    constexpr Course Courses[] = {
        {"", false},     {"ns", true},     {"nsi", false},   {"nis", false},
        {"nisi", false}, {"nisns", true},  {"nsins", true},  {"nNsS", true},
        {"nNSs", true},  {"nNiSs", false}, {"niNS", true},   {"nNSis", false},
        {"niiNS", true}, {"nisNS", true},  {"niNSs", false}, // the late answer replaced the newer data, and
                                                             // is not taken for it
    };
    for (const Course& course : Courses)
    {
        XFilledFlag flag;
        std::uint64_t notes[2] = {};
        for (const char* event = course.events; *event != '\0'; ++event)
        {
            std::uint64_t& note = notes[*event == 'N' || *event == 'S'];
            switch (*event)
            {
            case 'n':
            case 'N':
                note = flag.Note();
                break;
            case 'i':
                flag.Invalidate();
                break;
            default:
                flag.SetFilled(note);
            }
        }
        EXPECT_EQ(course.filled, flag.IsFilled()) << course.events;
    }
}

/// A server whose value changes, two threads that fill a cache from it, and one that reads the cache.
class Notified
{
public:
    void Run()
    {
        std::thread threads[] = {std::thread([this] { Change(); }), std::thread([this] { Fill(); }),
                                 std::thread([this] { Fill(); })};
        while (m_told < Changes)
        {
            Read();
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
        Read();
    }
    int filledReads = 0;
    int staleReads = 0;

private:
    static constexpr int Changes = 1000;

    void Change()
    {
        for (int value = 1; value <= Changes; ++value)
        {
            m_server = value;
            m_flag.Invalidate();
            m_told = value;
            std::this_thread::yield();
        }
    }
    void Fill()
    {
        while (m_told < Changes || !m_flag.IsFilled())
        {
            const std::uint64_t note = m_flag.Note();
            const int answer = m_server;
            const XCritProxy<int> cached(m_cached);
            *cached = answer;
            m_flag.SetFilled(note);
        }
    }
    // What the cache calls filled is at least as new as the last notification that had returned.
    void Read()
    {
        const int told = m_told;
        const XCritReadProxy<int> cached(m_cached);
        if (m_flag.IsFilled())
        {
            ++filledReads;
            staleReads += *cached < told;
        }
    }

    std::atomic<int> m_server{0};
    std::atomic<int> m_told{0};
    XFilledFlag m_flag;
    XCritDataCFC<int> m_cached{XLockLevel::ObjectMap, 0};
};

TEST(FilledFlag, NoNotificationIsLostBetweenThreads)
{
    Notified notified;
    notified.Run();
    EXPECT_EQ(0, notified.staleReads);
    EXPECT_GT(notified.filledReads, 0); // at the end at the latest
}

TEST(FillMutex, LetsItsOwnThreadInAndNoOther)
{
    XFillMutex mutex(XLockLevel::TypeFetch);
    XActor other;
    std::future<bool> waits;
    {
        const XFillGuard fill(mutex);
        EXPECT_FALSE(fill.Reentered());
        {
            const XFillGuard inner(mutex);
            EXPECT_TRUE(inner.Reentered());
        }
        EXPECT_TRUE(XFillGuard(mutex).Reentered()) << "the inner guard gave the mutex away";
        waits = other.Start([&] { return XFillGuard(mutex).Reentered(); });
        EXPECT_FALSE(IsReady(waits, MustNotHappen));
    }
    ASSERT_TRUE(IsReady(waits));
    EXPECT_FALSE(waits.get());
    EXPECT_FALSE(XFillGuard(mutex).Reentered());
}

TEST(FillMutex, IsGivenBackByAnError)
{
    XFillMutex mutex(XLockLevel::TypeFetch);
    const auto fill = [&] {
        const XFillGuard guard(mutex);
        XLXError::Raise(E_FAIL, OLESTR("the server failed"), LXHere("test_fill", nullptr, "fill"));
    };
    EXPECT_THROW(fill(), XLXException);
    XActor other;
    auto next = other.Start([&] { return XFillGuard(mutex).Reentered(); });
    ASSERT_TRUE(IsReady(next));
    EXPECT_FALSE(next.get());
}
} // namespace
