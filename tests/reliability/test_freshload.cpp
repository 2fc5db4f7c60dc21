// SPDX-License-Identifier: MIT
//
// Freshness under load: no answer is older than what was notified before the query, for every observed kind, through
// new look-ups and through held objects, while edits are made both from outside and inside calls to the server.
//
// With the argument --server-mode the cache runs inside the server's process, with one thread and no locks.
// LX_STRESS_SECONDS sets the duration of each test, and LX_TEST_SEED repeats a seed.
#include "observed.h"

#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <shared_mutex>
#include <thread>

namespace {
using Reading = XObserved::Reading;
using Clock = std::chrono::steady_clock;

unsigned FromEnvironment(const char* name, unsigned otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

/// A thread that makes queries.
struct XReader {
    struct Held {
        unsigned connection = 0;
        XCachedPtr object;
    };

    std::mt19937 random;
    std::map<const XQuestion*, Held> held;
    XObserved* asking = nullptr; ///< the kind that it is querying
    XObserved* raised = nullptr; ///< the kind that it edited last from inside a call to the server
    bool quiet = false;          ///< it makes no edits
};

thread_local XReader* t_reader = nullptr;
} // namespace

class FreshLoad : public CacheTest, public testing::WithParamInterface<LONG> {
protected:
    static constexpr unsigned Readers = 8;

    FreshLoad() : CacheTest(LXObservedModel()) {
        std::printf("LX_TEST_SEED=%u, %u s\n", m_seed, m_seconds);
        RecordProperty("seed", static_cast<int>(m_seed));
        Calls().SetHook([this](const XServerCall&) { InsideTheServer(); });
    }

    // ---- connections
    /// Edits everything once, and begins the first connection.
    void BeginWithEdits() {
        for (const auto& observed : m_observed) {
            observed->Raise(*m_server, false);
        }
        Begin(GetParam());
    }
    // The new connection must show what the server has now; concurrent changes may or may not be notified.
    void Begin(LONG transferMode) {
        std::vector<XNoted> applied;
        for (const auto& observed : m_observed) {
            applied.push_back(observed->Applied());
        }
        ASSERT_EQ(LXServerMode() ? StartInServer() : Start(transferMode), S_OK);
        for (std::size_t i = 0; i < m_observed.size(); ++i) {
            m_observed[i]->Begin(applied[i], m_cache);
        }
        m_connection.fetch_add(1);
    }
    // Excludes edits, because one in progress could notify a cache that is just being emptied.
    void End() {
        m_ending = true;
        const std::unique_lock edits(m_edits);
        m_ending = false;
        m_connection.fetch_add(1);
        for (const auto& observed : m_observed) {
            observed->End();
        }
        Terminate();
    }

    // ---- threads
    /// Repeats a job in a thread until the time is over.
    void Run(std::function<void(XReader&)> work) {
        m_threads.emplace_back([this, work = std::move(work), seed = m_seed + m_threads.size()] {
            XReader reader{std::mt19937(static_cast<unsigned>(seed)), {}};
            t_reader = &reader;
            while (!m_over.load(std::memory_order_relaxed)) {
                work(reader);
            }
            t_reader = nullptr;
        });
    }

    void UntilTheTimeIsOver() {
        WaitForQuestions(~0ULL, std::chrono::seconds(m_seconds));
        m_over = true;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        m_threads.clear();
    }

    /// Waits until that many further queries were answered or the time is over.
    void WaitForQuestions(unsigned long long count, Clock::duration limit) {
        const unsigned long long before = m_asked.load();
        const Clock::time_point until = Clock::now() + limit;
        while (!m_over.load() && m_asked.load() - before < count && Clock::now() < until) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    // ---- jobs
    /// Chooses one of the two focused kinds, or any other. Threads collide most in kinds that all of them query.
    XObserved& Any(std::mt19937& random) const {
        const bool free = m_alone || random() % 4 == 0;
        const std::size_t any = free ? random() : m_focus.load() + random() % 2;
        return *m_observed[any % m_observed.size()];
    }
    void EditSomething(std::mt19937& random) {
        Raise(Any(random), random);
        WaitForQuestions(random() % 64, std::chrono::milliseconds(5));
        if (random() % 16 == 0) { m_focus = random(); }
    }

    void Raise(XObserved& observed, std::mt19937& random) {
        if (m_ending.load() || !m_edits.try_lock_shared()) { return; }
        const std::shared_lock edit(m_edits, std::adopt_lock);
        observed.Raise(*m_server, random() % 2 == 0);
    }

    // Something overtakes the call to the server: the queried data changes, other data changes, or other threads make
    // progress.
    void InsideTheServer() {
        XReader* const reader = t_reader;
        if (reader == nullptr || reader->quiet) { return; }
        const auto choice = reader->random() % 16;
        if (choice < 4 && reader->asking != nullptr && reader->raised == nullptr) {
            reader->raised = choice == 0 ? &Any(reader->random) : reader->asking;
            Raise(*reader->raised, reader->random);
        } else if (choice == 4 && !m_alone) {
            const unsigned long long until = m_asked.load() + Readers;
            for (int i = 0; i < 16 && m_asked.load() < until; ++i) {
                std::this_thread::yield();
            }
        }
    }

    // Then queries what was edited inside the call: that edit must not be lost.
    void AskSomething(XReader& reader) {
        XObserved& observed = Any(reader.random);
        const std::size_t question = reader.random() % observed.Questions().size();
        reader.raised = nullptr;
        Ask(reader, observed, question);
        if (XObserved* const raised = reader.raised; raised != nullptr) {
            reader.quiet = true;
            Ask(reader, *raised, raised == &observed ? question : reader.random() % raised->Questions().size());
            reader.quiet = false;
        }
    }

    // Objects of an ended connection are not notified any more, and there are no answers between two connections. But
    // an answer that is older than the noted number is always wrong.
    void Ask(XReader& reader, XObserved& observed, std::size_t question) {
        const XQuestion& what = observed.Questions()[question];
        const unsigned number = m_connection.load();
        const XNoted noted = observed.Note();
        const int numbers[] = {noted.added, noted.added, noted.removed, noted.added + 1};
        const XAsked asked{m_cache, *m_server, numbers[reader.random() % std::size(numbers)]};
        XReader::Held* const held = reader.random() % (what.holds ? 2 : 4) == 0 ? &reader.held[&what] : nullptr;
        if (held != nullptr && held->connection != number) { *held = {number, nullptr}; }
        const bool through = held != nullptr && held->object;
        std::string details;
        reader.asking = &observed;
        const Reading reading = observed.Ask(what, noted, asked, held != nullptr ? &held->object : nullptr, details);
        reader.asking = nullptr;
        const bool isSame = number % 2 == 0 && m_connection.load() == number;
        const bool counts = through ? what.holds && isSame : isSame || reading != Reading::Missing;
        if (counts && reading != Reading::Right) { Fail(observed, what, reading, through, details); }
        m_asked.fetch_add(1, std::memory_order_relaxed);
    }

    void Fail(const XObserved& observed, const XQuestion& question, Reading reading, bool held,
              const std::string& details) {
        static constexpr const char* Readings[] = {"right", "missing", "stale", "impossible"};
        const std::lock_guard lock(m_failedMutex);
        if (m_failed.insert(&question).second) {
            ADD_FAILURE() << observed.Name() << ", " << question.name << ": " << Readings[static_cast<int>(reading)]
                          << (held ? ", held" : "") << ", mode " << (LXServerMode() ? -1 : GetParam()) << ", seed "
                          << m_seed << ": " << details;
        }
    }

    void MakeNoise(std::mt19937& random) {
        static constexpr const char* Kinds[] = {"objects", "properties", "pc", "searchable", "other"};
        m_server->SendNotification(std::string(Kinds[random() % std::size(Kinds)]) + "/x/0/" +
                                   std::to_string(1 << (random() % 14)));
        const char* const name = random() % 2 == 0 ? "Pump" : "Nothing";
        LoadByName(name);
        const HRESULT asked = LXResult(m_cache, &ILXConfigFactoryCache::GetPCEnumAll, nullptr, name, nullptr,
                                       static_cast<LONG>(random() % 32));
        EXPECT_TRUE(asked == S_OK || asked == S_FALSE || asked == E_POINTER) << asked;
    }

    // Every kind was queried, and none stays stale: after one more edit of each, all answers show it.
    void ExpectNothingStale() {
        XReader reader{std::mt19937(m_seed), {}};
        for (const auto& observed : m_observed) {
            for (int i = 0; i < 4; ++i) // rarely edited kinds skip some edits
            {
                observed->Raise(*m_server, false);
            }
            for (std::size_t question = 0; question < observed->Questions().size(); ++question) {
                Ask(reader, *observed, question);
            }
            EXPECT_GT(observed->Notifications(), 0) << observed->Name();
        }
        std::printf("%llu questions\n", m_asked.load());
        RecordProperty("questions", std::to_string(m_asked.load()));
    }

    const unsigned m_seed = FromEnvironment("LX_TEST_SEED", std::random_device{}());
    const unsigned m_seconds = FromEnvironment("LX_STRESS_SECONDS", 2);
    const XObservedList m_observed = LXEveryKind();
    std::vector<std::thread> m_threads;
    std::mutex m_failedMutex;            // guards the next member
    std::set<const XQuestion*> m_failed; // those with a wrong answer; one report for each
    bool m_alone = false;                // one thread does everything; set before the start
    std::atomic<bool> m_over{false};
    std::atomic<unsigned long long> m_asked{0};
    std::atomic<unsigned> m_connection{1}; // even during a connection, odd between two
    std::atomic<bool> m_ending{false};
    std::atomic<std::size_t> m_focus{0};
    std::shared_mutex m_edits; // shared during an edit, exclusive at the end of a connection
};

TEST_P(FreshLoad, NothingOlderThanWhatWasNotified) {
    ASSERT_NO_FATAL_FAILURE(BeginWithEdits());
    for (unsigned reader = 0; reader < Readers; ++reader) {
        Run([this](XReader& self) { AskSomething(self); });
    }
    Run([this](XReader& self) { EditSomething(self.random); });
    UntilTheTimeIsOver();
    ExpectNothingStale();
}

// Deterministic: queries are overtaken only from inside their own calls to the server.
TEST_P(FreshLoad, NothingOlderInOneThread) {
    ASSERT_NO_FATAL_FAILURE(BeginWithEdits());
    XReader reader{std::mt19937(m_seed), {}};
    t_reader = &reader;
    m_alone = true;
    for (const auto until = Clock::now() + std::chrono::seconds(m_seconds); Clock::now() < until;) {
        AskSomething(reader);
        if (reader.random() % 8 == 0) { Raise(Any(reader.random), reader.random); }
    }
    t_reader = nullptr;
    ExpectNothingStale();
}

INSTANTIATE_TEST_SUITE_P(TransferModes, FreshLoad, testing::Values(0, 1, 15));

class FreshLives : public FreshLoad {};

TEST_P(FreshLives, EndAndBegin) {
    ASSERT_NO_FATAL_FAILURE(BeginWithEdits());
    for (unsigned reader = 0; reader < Readers - 1; ++reader) {
        Run([this](XReader& self) { AskSomething(self); });
    }
    Run([this](XReader& self) {
        EditSomething(self.random);
        if (self.random() % 16 == 0) { MakeNoise(self.random); }
    });
    Run([this](XReader& self) {
        static constexpr LONG Modes[] = {0, 1, 15};
        self.quiet = true;
        WaitForQuestions(self.random() % 2000, std::chrono::milliseconds(100));
        End();
        for (int i = 0; i < 8; ++i) {
            Raise(Any(self.random), self.random);
        }
        Begin(Modes[self.random() % std::size(Modes)]);
    });
    UntilTheTimeIsOver();
    ExpectNothingStale();
}

INSTANTIATE_TEST_SUITE_P(TransferModes, FreshLives, testing::Values(15));
