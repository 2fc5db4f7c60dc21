// SPDX-License-Identifier: MIT
//
// The reentrant lock: its state table, its messages, many threads, and the lock switch.
#include "logcapture.h"
#include "synctools.h"

namespace {
using Lock = XBasicRefCountCritSection<XProbeLock>;

constexpr const OLECHAR* NotLocked =
    OLESTR("trying to unlock the critical section without having it locked for the running thread");
constexpr const OLECHAR* AlreadyUnlocked =
    OLESTR("trying to unlock the critical section being already unlocked for the running thread before");
constexpr const OLECHAR* NotRemoved =
    OLESTR("critical section reference count entry found for a thread expected to be removed");

void Apply(Lock& lock, char action) {
    switch (action) {
    case 'r': lock.AddReadLockRef(); break;
    case 'w': lock.AddLockRef(); break;
    default: lock.ReleaseLockRef();
    }
}

void ApplyAll(XActor& actor, Lock& lock, std::string_view actions) {
    actor.Do([&lock, actions] {
        for (const char action : actions) {
            Apply(lock, action);
        }
    });
}

constexpr auto Free = LockState::Free;
constexpr auto Shared = LockState::Shared;
constexpr auto Exclusive = LockState::Exclusive;

/// How the lock is held by a thread that acquired it in this order.
LockState StateOf(std::string_view held) { return held.empty() ? Free : held.front() == 'w' ? Exclusive : Shared; }

/// A lock between two threads.
struct Contested {
    LogCapture log;
    Lock lock;
    XProbeLock& probe = XProbeLock::Last();
    XActor me;
    XActor other;
};

void ExpectRefusal(const XLXException& error) {
    EXPECT_EQ(E_FAIL, error.Code());
    EXPECT_EQ(OLESTR("unable to add a write lock reference to a read lock"), error.Message());
    EXPECT_STREQ("XBasicCritSection", error.Location().source);
    EXPECT_STREQ("XBasicRefCountCritSection", error.Location().scope);
    EXPECT_STREQ("AddLockRef()", error.Location().method);
    EXPECT_EQ(111, error.Location().line);
}

void ExpectLogged(const LogCapture& log, std::size_t count) {
    const auto entries = log.Entries();
    ASSERT_EQ(count, entries.size());
    for (const auto& entry : entries) {
        EXPECT_EQ(NotLocked, entry.text);
        EXPECT_EQ("XBasicCritSection", entry.source);
        EXPECT_EQ("XBasicRefCountCritSection::ReleaseLockRef()", entry.function);
        EXPECT_EQ(216, entry.line);
        EXPECT_EQ(8, entry.severity);
    }
}

/// One action (r: acquire read, w: acquire write, u: release), then all releases.
void ActAndRelease(std::string_view mine, std::string_view others, char action) {
    Contested at;
    ApplyAll(at.me, at.lock, mine);
    ApplyAll(at.other, at.lock, others);
    const auto error = at.me.Do([&] { return Raised([&] { Apply(at.lock, action); }); });
    ASSERT_EQ(action == 'w' && StateOf(mine) == Shared, error.has_value());
    if (error) { ExpectRefusal(*error); }
    std::string held(mine); // a refused action counts too
    if (action != 'u') {
        held += action;
    } else if (!held.empty()) {
        held.pop_back();
    }
    for (std::size_t left = held.size(); left > 0; --left) { // only the last release changes the lock's state
        EXPECT_EQ(StateOf(held), at.probe.State()) << left << " references left";
        ApplyAll(at.me, at.lock, "u");
    }
    EXPECT_EQ(StateOf(others), at.probe.State());
    for (std::size_t i = 0; i < others.size(); ++i) {
        ApplyAll(at.other, at.lock, "u");
    }
    EXPECT_EQ(Free, at.probe.State());
    ApplyAll(at.me, at.lock, "u"); // the lock has forgotten the thread
    ExpectLogged(at.log, mine.empty() && action == 'u' ? 2 : 1);
    // Only a thread's first reference locks, and only its last release unlocks.
    const int first = !others.empty() + (!mine.empty() || action != 'u');
    EXPECT_EQ(first, at.probe.lockCalls);
    EXPECT_EQ(first, at.probe.unlockCalls);
}

// Actions that wait: test_explore_lockfree.cpp.
TEST(CountedLock, HandlesEachActionInEachState) {
    constexpr std::pair<std::string_view, std::string_view> states[] = {{"", ""},   {"r", ""}, {"rr", ""}, {"w", ""},
                                                                        {"wr", ""}, {"", "r"}, {"", "w"},  {"r", "r"}};
    for (const auto& [mine, others] : states) {
        for (const char action : {'r', 'w', 'u'}) {
            if (mine.empty() && !others.empty() && action != 'u' && (action == 'w' || others == "w")) { continue; }
            SCOPED_TRACE(testing::Message() << "mine '" << mine << "', others '" << others << "', then " << action);
            ActAndRelease(mine, others, action);
        }
    }
}

// The unlock of the underlying lock releases once more on the same thread; only that triggers the other two messages.
TEST(CountedLock, LogsAReleaseDuringARelease) {
    const LogCapture log;
    Lock lock;
    XProbeLock& probe = XProbeLock::Last();
    lock.AddLockRef();
    probe.onUnlock = [&] { lock.ReleaseLockRef(); };
    lock.ReleaseLockRef();
    const auto entries = log.Entries();
    ASSERT_EQ(2u, entries.size());
    EXPECT_EQ(AlreadyUnlocked, entries[0].text);
    EXPECT_EQ(180, entries[0].line);
    EXPECT_EQ(NotRemoved, entries[1].text);
    EXPECT_EQ(206, entries[1].line);
    EXPECT_EQ(Free, probe.State());
}

TEST(CountedLock, CountsMoreThreadsThanItHasInlineSlots) {
    constexpr int Threads = 8;
    const LogCapture log;
    Lock lock;
    XProbeLock& probe = XProbeLock::Last();
    XActor actors[Threads];
    for (int round = 0; round < 2; ++round) {
        for (XActor& actor : actors) {
            ApplyAll(actor, lock, "rr");
        }
        EXPECT_EQ((round + 1) * Threads, probe.lockCalls);
        // Threads in the overflow map keep their kind of reference: a write inside a thread's own read is refused too.
        EXPECT_TRUE(actors[Threads - 1].Do([&] { return Raised([&] { lock.AddLockRef(); }).has_value(); }));
        ApplyAll(actors[Threads - 1], lock, "u");
        for (XActor& actor : actors) {
            ApplyAll(actor, lock, "u");
        }
        for (XActor& actor : actors) {
            EXPECT_EQ(Shared, probe.State());
            ApplyAll(actor, lock, "u");
        }
        EXPECT_EQ(Free, probe.State());
    }
    EXPECT_TRUE(log.Entries().empty());
}

class LockSwitch : public testing::Test {
protected:
    ~LockSwitch() override {
        XLockSwitchTestAccess::TurnOn();
        EXPECT_EQ(Free, m_at.probe.State());
        EXPECT_TRUE(m_at.log.Entries().empty());
    }
    void Me(std::string_view actions) { ApplyAll(m_at.me, m_at.lock, actions); }
    void Other(std::string_view actions) { ApplyAll(m_at.other, m_at.lock, actions); }

    Contested m_at;
};

TEST_F(LockSwitch, TurnedOffWhileHeldAndWaitedFor) {
    for (const char* const wanted : {"r", "w"}) {
        Me("w");
        auto waits = m_at.other.Start([&] { Apply(m_at.lock, *wanted); });
        ASSERT_TRUE(WaitFor([&] { return m_at.probe.waiting == 1; }));
        XLockSwitch::TurnOff();
        Me("u");
        ASSERT_TRUE(IsReady(waits)) << "the holder did not release the lock";
        EXPECT_EQ(*wanted == 'w' ? Exclusive : Shared, m_at.probe.State());
        Other("u");
        EXPECT_EQ(Free, m_at.probe.State());
        XLockSwitchTestAccess::TurnOn();
    }
}

TEST_F(LockSwitch, ReferencesFromWhileItWasOffAreReleasedWithoutTheLock) {
    XLockSwitch::TurnOff();
    Me("ww");
    Other("w"); // two writers at once: the lock does nothing now
    EXPECT_EQ(Free, m_at.probe.State());
    EXPECT_EQ(0, m_at.probe.lockCalls);
    Other("u");
    XLockSwitchTestAccess::TurnOn();
    Other("w");
    EXPECT_EQ(Exclusive, m_at.probe.State());
    Me("uu");
    EXPECT_EQ(Exclusive, m_at.probe.State()) << "the lock of another thread was released";
    Other("u");
}

} // namespace
