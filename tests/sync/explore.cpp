// SPDX-License-Identifier: MIT
#include "explore.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace {
constexpr std::size_t MaxSteps = 2000; // of a schedule; more count as a livelock

/// A binary semaphore that starts and stops a thread. The C++ library's semaphores lose wake-ups on systems without
/// futexes.
class Turn {
public:
    void Give() {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_isGiven = true;
        }
        m_wake.notify_one();
    }
    void Await() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wake.wait(lock, [this] { return m_isGiven; });
        m_isGiven = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_isGiven = false;
};
} // namespace

struct Explorer::Thread {
    Schedules* schedules = nullptr;
    unsigned number = 0; // starts at 0
    std::function<void()> body;
    Turn turn;
    std::thread thread;

    struct State {
        bool hasStarted = false;
        bool isThrough = false;
        const void* object = nullptr;      // of the next step
        CanContinue canContinue = nullptr; // null: the step is never blocked
        void* pointer = nullptr;
        std::uint64_t changes = 0;            // made by this thread
        std::uint64_t changesAtPause = ~0ull; // made by others before its last pause
    } now;                                    // of one schedule

    static thread_local Thread* t_self; // null outside explored threads
};

thread_local Explorer::Thread* Explorer::Thread::t_self = nullptr;

/// All schedules of one Run. Only the thread with the turn accesses the state; Run does while no thread has it.
class Explorer::Schedules {
public:
    Schedules(unsigned preemptions, const std::vector<std::function<void()>>& bodies);
    Schedules(const Schedules&) = delete;
    Schedules& operator=(const Schedules&) = delete;
    ~Schedules();

    /// The schedules whose check is running.
    static inline Schedules* s_checked = nullptr;

    void RunOne() {
        m_now = {};
        for (const auto& thread : m_threads) {
            thread->now = {};
        }
        HandOver(nullptr, true);
        m_over.Await();
    }

    /// Advances to the next schedule; false when there is none.
    bool Advance() {
        while (!m_path.empty() && ++m_path.back().chosen == m_path.back().count) {
            m_path.pop_back();
        }
        return !m_path.empty();
    }

    std::string Steps() const {
        std::string steps;
        for (const Taken& taken : m_now.steps) {
            steps += "thread " + std::to_string(taken.thread) + ": " + taken.what + '\n';
        }
        return steps;
    }

    void AtStep(Thread& self, const char* what, const void* object, Explorer::CanContinue canContinue) {
        self.now.object = object;
        self.now.canContinue = canContinue;
        // The first choice of a thread, at its start, also covers its first step.
        if (self.now.hasStarted || !CanContinue(self)) { HandOver(&self, false); }
        self.now.hasStarted = true;
        self.now.canContinue = nullptr;
        Record(self.number, what);
    }

    // The check after the last pause saw all changes before that pause. Unless others have changed something since, the
    // next check would have the same result, so the thread is blocked.
    void Pause(Thread& self) {
        self.now.object = &self;
        self.now.canContinue = SomethingChanged;
        self.now.hasStarted = true;
        HandOver(&self, true);
        self.now.canContinue = nullptr;
        self.now.changesAtPause = ChangesByOthers(self);
        Record(self.number, "pause");
    }

    void Changed(Thread& self) noexcept {
        ++m_now.changes;
        ++self.now.changes;
    }
    void Fail(std::string what) {
        if (m_now.failure.empty()) { m_now.failure = std::move(what); }
    }
    const std::string& Failure() const noexcept { return m_now.failure; }

private:
    struct Decision {
        unsigned chosen; // index in candidates
        unsigned count;
        unsigned candidates[MaxThreads];
    };
    struct Taken {
        unsigned thread;
        const char* what;
    };

    void Live(Thread& self) {
        Thread::t_self = &self;
        for (;;) {
            self.turn.Await();
            if (m_isEnding) { return; }
            try {
                self.body();
            } catch (...) { Fail("an exception"); }
            self.now.isThrough = true;
            HandOver(&self, true);
        }
    }

    /// Gives the turn to a thread that is not blocked, possibly the calling one. Ends the schedule when there is none.
    /// @param self  the thread with the turn; null: none
    void HandOver(Thread* self, bool ofItsOwn) {
        Decision among{};
        const bool continues = self != nullptr && CanContinue(*self);
        if (continues) { among.candidates[among.count++] = self->number; }
        if (!continues || ofItsOwn || m_now.preemptions < m_maxPreemptions) {
            for (const auto& thread : m_threads) {
                if (thread.get() != self && CanContinue(*thread)) { among.candidates[among.count++] = thread->number; }
            }
        }
        Thread* const next = among.count > 1    ? Choose(among)
                             : among.count == 1 ? m_threads[among.candidates[0]].get()
                                                : nullptr;
        if (next == self && self != nullptr) { return; }
        m_now.preemptions += continues && !ofItsOwn;
        const bool waits = self != nullptr && !self->now.isThrough;
        if (next != nullptr) {
            next->turn.Give();
        } else if (std::all_of(m_threads.begin(), m_threads.end(),
                               [](const auto& thread) { return thread->now.isThrough; })) {
            m_over.Give();
        } else {
            Stop("deadlock: no thread can continue");
        }
        if (waits) { self->turn.Await(); }
    }

    Thread* Choose(const Decision& among) {
        const std::size_t depth = m_now.depth++;
        if (depth == m_path.size()) { m_path.push_back(among); }
        Decision& decision = m_path[depth];
        if (!std::equal(among.candidates, among.candidates + among.count, decision.candidates,
                        decision.candidates + decision.count)) {
            Fail("the case depends on something besides the order of its steps");
            decision = among;
        }
        return m_threads[decision.candidates[decision.chosen]].get();
    }

    bool CanContinue(const Thread& thread) const {
        return !thread.now.isThrough && (!thread.now.canContinue || thread.now.canContinue(thread.now.object));
    }
    void Record(unsigned thread, const char* what) {
        m_now.steps.push_back({thread, what});
        if (m_now.steps.size() == MaxSteps) { Stop("livelock: too many steps"); }
    }

    /// Ends the process, because no thread can continue.
    [[noreturn]] void Stop(const char* why) {
        std::fprintf(stderr, "%s\n%s", why, Steps().c_str());
        std::abort();
    }

    std::uint64_t ChangesByOthers(const Thread& thread) const noexcept { return m_now.changes - thread.now.changes; }
    static bool SomethingChanged(const void* object) {
        const auto& thread = *static_cast<const Thread*>(object);
        return thread.schedules->ChangesByOthers(thread) != thread.now.changesAtPause;
    }

    const unsigned m_maxPreemptions;
    std::vector<std::unique_ptr<Thread>> m_threads;
    std::vector<Decision> m_path;
    Turn m_over; // signals the end of the schedule
    bool m_isEnding = false;

    struct State {
        std::size_t depth = 0; // decisions made so far
        unsigned preemptions = 0;
        std::uint64_t changes = 0;
        std::vector<Taken> steps;
        std::string failure;
    } m_now; // of one schedule
};

Explorer::Schedules::Schedules(unsigned preemptions, const std::vector<std::function<void()>>& bodies)
    : m_maxPreemptions(preemptions) {
    for (const auto& body : bodies) {
        auto& thread = m_threads.emplace_back(std::make_unique<Thread>());
        thread->schedules = this;
        thread->number = static_cast<unsigned>(m_threads.size() - 1);
        thread->body = body;
    }
    for (const auto& thread : m_threads) {
        thread->thread = std::thread([this, &self = *thread] { Live(self); });
    }
}

Explorer::Schedules::~Schedules() {
    m_isEnding = true;
    for (const auto& thread : m_threads) {
        thread->turn.Give();
        thread->thread.join();
    }
}

std::uint64_t Explorer::Explore(unsigned preemptions, const std::function<void()>& make,
                                const std::vector<std::function<void()>>& bodies, const std::function<void()>& check) {
    Schedules schedules(preemptions, bodies);
    std::uint64_t count = 0;
    do {
        make();
        schedules.RunOne();
        ++count;
        Schedules::s_checked = &schedules;
        check();
        Schedules::s_checked = nullptr;
    } while (schedules.Failure().empty() && schedules.Advance());
    EXPECT_EQ("", schedules.Failure()) << schedules.Steps();
    return count;
}

void Explorer::AtStep(const char* what, const void* object, CanContinue canContinue) {
    if (Thread* const self = Thread::t_self; self != nullptr) {
        self->schedules->AtStep(*self, what, object, canContinue);
    }
}

void Explorer::Changed() noexcept {
    if (Thread* const self = Thread::t_self; self != nullptr) { self->schedules->Changed(*self); }
}

void Explorer::Expect(bool holds, const char* what) {
    if (!holds) {
        Thread* const self = Thread::t_self;
        (self != nullptr ? self->schedules : Schedules::s_checked)->Fail(what);
    }
}

DWORD ExploringSync::ThreadId() noexcept {
    const auto* const self = Explorer::Thread::t_self;
    return self != nullptr ? self->number + 1 : 0;
}

void*& ExploringSync::ThreadPointer() noexcept {
    static thread_local void* t_outside = nullptr;
    auto* const self = Explorer::Thread::t_self;
    return self != nullptr ? self->now.pointer : t_outside;
}

void ExploringSync::Pause() noexcept {
    if (auto* const self = Explorer::Thread::t_self; self != nullptr) {
        self->schedules->Pause(*self);
    } else {
        std::this_thread::yield();
    }
}
