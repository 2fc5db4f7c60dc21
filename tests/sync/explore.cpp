// SPDX-License-Identifier: MIT
#include "explore.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <thread>

namespace {
constexpr std::size_t MostSteps = 2000; // of a schedule; more count as a livelock

/// A binary semaphore that starts and stops a thread. The C++ library's semaphores lose wake-ups on systems without
/// futexes.
class Turn {
public:
    void Give() {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_isHere = true;
        }
        m_wake.notify_one();
    }
    void Await() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wake.wait(lock, [this] { return m_isHere; });
        m_isHere = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_isHere = false;
};
} // namespace

struct Explorer::Thread {
    Schedules* schedules = nullptr;
    unsigned number = 0; // starts at 0
    std::function<void()> body;
    Turn turn;
    std::thread thread;

    // State of one schedule:
    bool hasStarted = false;
    bool isThrough = false;
    const void* object = nullptr; // of the next step
    CanGo canGo = nullptr;        // null: the step is never blocked
    void* pointer = nullptr;
    std::uint64_t changes = 0;            // made by this thread
    std::uint64_t changesAtPause = ~0ull; // made by others before its last pause

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

    void RunOne();
    /// Advances to the next schedule; false when there is none.
    bool Advance();
    std::string Steps() const;

    void AtStep(Thread& self, const char* what, const void* object, CanGo canGo);
    void Pause(Thread& self);
    void Changed(Thread& self) noexcept {
        ++m_changes;
        ++self.changes;
    }
    void Fail(std::string what) {
        if (m_failure.empty()) { m_failure = std::move(what); }
    }
    const std::string& Failure() const noexcept { return m_failure; }

private:
    struct Decision {
        unsigned chosen; // index in candidates
        unsigned count;
        unsigned candidates[MostThreads];
    };
    struct Taken {
        unsigned thread;
        const char* what;
        const void* object;
    };

    void Live(Thread& self);
    void Reset() noexcept;
    /// Gives the turn to a thread that is not blocked, possibly the calling one. Ends the schedule when there is none.
    /// @param self  the thread with the turn; null: none
    void HandOver(Thread* self, bool ofItsOwn);
    Thread* Choose(const Decision& among);
    bool CanGo(const Thread& thread) const {
        return !thread.isThrough && (!thread.canGo || thread.canGo(thread.object));
    }
    void Record(unsigned thread, const char* what, const void* object);
    /// Ends the process, because no thread can go on.
    [[noreturn]] void Stop(const char* why);
    std::uint64_t ChangesByOthers(const Thread& thread) const noexcept { return m_changes - thread.changes; }
    static bool SomethingChanged(const void* thread);

    const unsigned m_mostPreemptions;
    std::vector<std::unique_ptr<Thread>> m_threads;
    std::vector<Decision> m_path;
    Turn m_over; // signals the end of the schedule
    bool m_isEnding = false;

    // State of one schedule:
    std::size_t m_depth = 0; // decisions made so far
    unsigned m_preemptions = 0;
    std::uint64_t m_changes = 0;
    std::vector<Taken> m_steps;
    std::string m_failure;
};

Explorer::Schedules::Schedules(unsigned preemptions, const std::vector<std::function<void()>>& bodies)
    : m_mostPreemptions(preemptions) {
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

void Explorer::Schedules::Live(Thread& self) {
    Thread::t_self = &self;
    for (;;) {
        self.turn.Await();
        if (m_isEnding) { return; }
        try {
            self.body();
        } catch (const std::exception& error) { Fail(std::string("an exception: ") + error.what()); } catch (...) {
            Fail("an exception");
        }
        self.isThrough = true;
        HandOver(&self, true);
    }
}

void Explorer::Schedules::Reset() noexcept {
    m_depth = 0;
    m_preemptions = 0;
    m_changes = 0;
    m_steps.clear();
    for (const auto& thread : m_threads) {
        thread->hasStarted = false;
        thread->isThrough = false;
        thread->canGo = nullptr;
        thread->pointer = nullptr;
        thread->changes = 0;
        thread->changesAtPause = ~0ull;
    }
}

void Explorer::Schedules::RunOne() {
    Reset();
    HandOver(nullptr, true);
    m_over.Await();
}

bool Explorer::Schedules::Advance() {
    while (!m_path.empty() && ++m_path.back().chosen == m_path.back().count) {
        m_path.pop_back();
    }
    return !m_path.empty();
}

void Explorer::Schedules::HandOver(Thread* self, bool ofItsOwn) {
    Decision among{};
    const bool goesOn = self != nullptr && CanGo(*self);
    if (goesOn) { among.candidates[among.count++] = self->number; }
    if (!goesOn || ofItsOwn || m_preemptions < m_mostPreemptions) {
        for (const auto& thread : m_threads) {
            if (thread.get() != self && CanGo(*thread)) { among.candidates[among.count++] = thread->number; }
        }
    }
    Thread* const next = among.count > 1    ? Choose(among)
                         : among.count == 1 ? m_threads[among.candidates[0]].get()
                                            : nullptr;
    if (next == self && self != nullptr) { return; }
    m_preemptions += goesOn && !ofItsOwn;
    const bool waits = self != nullptr && !self->isThrough;
    if (next != nullptr) {
        next->turn.Give();
    } else if (std::all_of(m_threads.begin(), m_threads.end(), [](const auto& thread) { return thread->isThrough; })) {
        m_over.Give();
    } else {
        Stop("deadlock: nobody can go on");
    }
    if (waits) { self->turn.Await(); }
}

Explorer::Thread* Explorer::Schedules::Choose(const Decision& among) {
    const std::size_t depth = m_depth++;
    if (depth == m_path.size()) { m_path.push_back(among); }
    Decision& decision = m_path[depth];
    if (!std::equal(among.candidates, among.candidates + among.count, decision.candidates,
                    decision.candidates + decision.count)) {
        Fail("the case depends on something besides the order of its steps");
        decision = among;
    }
    return m_threads[decision.candidates[decision.chosen]].get();
}

void Explorer::Schedules::Stop(const char* why) {
    std::fprintf(stderr, "%s\n%s", why, Steps().c_str());
    std::abort();
}

void Explorer::Schedules::AtStep(Thread& self, const char* what, const void* object, Explorer::CanGo canGo) {
    self.object = object;
    self.canGo = canGo;
    // The first choice of a thread, at its start, also covers its first step.
    if (self.hasStarted || !CanGo(self)) { HandOver(&self, false); }
    self.hasStarted = true;
    self.canGo = nullptr;
    Record(self.number, what, object);
}

void Explorer::Schedules::Record(unsigned thread, const char* what, const void* object) {
    m_steps.push_back({thread, what, object});
    if (m_steps.size() == MostSteps) { Stop("livelock: too many steps"); }
}

bool Explorer::Schedules::SomethingChanged(const void* object) {
    const auto& thread = *static_cast<const Thread*>(object);
    return thread.schedules->ChangesByOthers(thread) != thread.changesAtPause;
}

// The check after the last pause saw all changes before that pause. Unless others have changed something since, the
// next check would have the same result, so the thread is blocked.
void Explorer::Schedules::Pause(Thread& self) {
    self.object = &self;
    self.canGo = SomethingChanged;
    self.hasStarted = true;
    HandOver(&self, true);
    self.canGo = nullptr;
    self.changesAtPause = ChangesByOthers(self);
    Record(self.number, "pause", nullptr);
}

std::string Explorer::Schedules::Steps() const {
    std::map<const void*, std::size_t> numbers;
    std::string steps;
    for (const Taken& taken : m_steps) {
        steps += "thread " + std::to_string(taken.thread) + ": " + taken.what;
        if (taken.object != nullptr) {
            steps += " #" + std::to_string(numbers.try_emplace(taken.object, numbers.size()).first->second);
        }
        steps += '\n';
    }
    return steps;
}

Explorer::Result Explorer::Explore(unsigned preemptions, const std::function<void()>& make,
                                   const std::vector<std::function<void()>>& bodies,
                                   const std::function<void()>& check) {
    Schedules schedules(preemptions, bodies);
    Result result;
    do {
        make();
        schedules.RunOne();
        ++result.schedules;
        Schedules::s_checked = &schedules;
        check();
        Schedules::s_checked = nullptr;
        result.failure = schedules.Failure();
    } while (result.failure.empty() && schedules.Advance());
    if (!result.failure.empty()) { result.steps = schedules.Steps(); }
    return result;
}

void Explorer::AtStep(const char* what, const void* object, CanGo canGo) {
    if (Thread* const self = Thread::t_self; self != nullptr) { self->schedules->AtStep(*self, what, object, canGo); }
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

void ExploringSync::SharedMutex::lock() noexcept {
    Explorer::AtStep("lock", this, [](const void* mutex) { return static_cast<const SharedMutex*>(mutex)->IsFree(); });
    m_isWritten = true;
    Explorer::Changed();
}

bool ExploringSync::SharedMutex::try_lock() noexcept {
    Explorer::AtStep("try_lock", this);
    if (!IsFree()) { return false; }
    m_isWritten = true;
    Explorer::Changed();
    return true;
}

void ExploringSync::SharedMutex::unlock() noexcept {
    Explorer::AtStep("unlock", this);
    Explorer::Expect(m_isWritten, "a lock is given back that is not held");
    m_isWritten = false;
    Explorer::Changed();
}

void ExploringSync::SharedMutex::lock_shared() noexcept {
    Explorer::AtStep("lock_shared", this,
                     [](const void* mutex) { return !static_cast<const SharedMutex*>(mutex)->m_isWritten; });
    ++m_readers;
    Explorer::Changed();
}

void ExploringSync::SharedMutex::unlock_shared() noexcept {
    Explorer::AtStep("unlock_shared", this);
    Explorer::Expect(m_readers > 0, "a shared lock is given back that is not held");
    --m_readers;
    Explorer::Changed();
}

void ExploringSync::Condition::Wait(Mutex& lock) noexcept {
    lock.unlock();
    Explorer::AtStep("wait", this,
                     [](const void* condition) { return static_cast<const Condition*>(condition)->m_isWoken; });
    m_isWoken = false;
    lock.lock();
}

void ExploringSync::Condition::WakeOne() noexcept {
    Explorer::AtStep("wake", this);
    m_isWoken = true;
    Explorer::Changed();
}

DWORD ExploringSync::ThreadId() noexcept {
    const auto* const self = Explorer::Thread::t_self;
    return self != nullptr ? self->number + 1 : 0;
}

void*& ExploringSync::ThreadPointer() noexcept {
    static thread_local void* t_outside = nullptr;
    auto* const self = Explorer::Thread::t_self;
    return self != nullptr ? self->pointer : t_outside;
}

void ExploringSync::Pause() noexcept {
    if (auto* const self = Explorer::Thread::t_self; self != nullptr) {
        self->schedules->Pause(*self);
    } else {
        std::this_thread::yield();
    }
}
