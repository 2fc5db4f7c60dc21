// SPDX-License-Identifier: MIT
//
// Eight threads that read every kind of object while edits fire, and the same with notifications of every
// sort, whole lives, terminations and new beginnings between. Values can be checked by whoever reads them.
// LX_STRESS_SECONDS sets the length of each; the seed is printed, and LX_STRESS_SEED repeats it.
#include "observed.h"

#include <cstdlib>
#include <random>

namespace
{
unsigned FromEnvironment(const char* name, unsigned otherwise)
{
    const char* const text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}
} // namespace

class Stress : public CacheTest
{
protected:
    static constexpr unsigned Readers = 8;

    Stress() : CacheTest(LXLifeModel())
    {
        std::printf("seed %u, %u s\n", m_seed, m_seconds);
        RecordProperty("seed", static_cast<int>(m_seed));
    }

    /// Runs a job in a thread again and again until the time is over.
    /// @param work  called with the thread's own random numbers
    void Run(std::function<void(std::mt19937&)> work)
    {
        m_threads.emplace_back([this, work = std::move(work), seed = m_seed + m_threads.size()] {
            std::mt19937 random(static_cast<unsigned>(seed));
            while (!m_over.load(std::memory_order_relaxed))
            {
                work(random);
                m_operations.fetch_add(1, std::memory_order_relaxed);
            }
        });
    }
    void UntilTheTimeIsOver()
    {
        for (unsigned tenth = 0; tenth < m_seconds * 10 && !HasFailure(); ++tenth)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        m_over = true;
        for (std::thread& thread : m_threads)
        {
            thread.join();
        }
        std::printf("%llu operations\n", m_operations.load());
        RecordProperty("operations", std::to_string(m_operations.load()));
    }

    const XObserved& Any(std::mt19937& random) const { return *m_observed[random() % m_observed.size()]; }
    void Expect(const XObserved& observed, XObserved::Reading reading, bool mayBeMissing) const
    {
        const bool right = reading == XObserved::Reading::Right ||
                           (mayBeMissing && (reading == XObserved::Reading::NotThere));
        EXPECT_TRUE(right) << observed.Name() << ": "
                           << (reading == XObserved::Reading::Stale        ? "stale"
                               : reading == XObserved::Reading::Impossible ? "impossible"
                                                                           : "not there");
    }

    const unsigned m_seed = FromEnvironment("LX_STRESS_SEED", std::random_device{}());
    const unsigned m_seconds = FromEnvironment("LX_STRESS_SECONDS", 3);
    const std::vector<std::unique_ptr<XObserved>> m_observed = LXEveryKind();
    std::atomic<bool> m_over{false};
    std::atomic<unsigned long long> m_operations{0};
    std::vector<std::thread> m_threads;
};

TEST_F(Stress, EveryReaderSeesNothingOlderThanWhatWasNotified)
{
    ASSERT_EQ(Start(1), S_OK);
    const XCachePtr cache = m_cache;
    for (unsigned reader = 0; reader < Readers; ++reader)
    {
        auto held = std::make_shared<std::vector<XLXComPtr<ILXConfigObject>>>(m_observed.size());
        Run([this, cache, held](std::mt19937& random) {
            const std::size_t i = random() % m_observed.size();
            const bool hold = m_observed[i]->StaysCurrent() && random() % 2 == 0;
            Expect(*m_observed[i], m_observed[i]->Read(cache, hold ? &(*held)[i] : nullptr), false);
        });
    }
    Run([this](std::mt19937& random) {
        EXPECT_EQ(m_observed[random() % m_observed.size()]->Raise(*m_server), S_OK);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
    });
    UntilTheTimeIsOver();
    for (const auto& observed : m_observed)
    {
        Expect(*observed, observed->Read(cache), false);
    }
    Terminate();
}

TEST_F(Stress, EverythingAtOnceWithTerminations)
{
    ASSERT_EQ(Start(1), S_OK);
    const XCachePtr cache = m_cache;
    for (unsigned reader = 0; reader < Readers - 3; ++reader)
    {
        Run([this, cache](std::mt19937& random) {
            const XObserved& observed = Any(random);
            // A value that was read before the cache ended may come back when it begins again.
            if (const auto reading = observed.Read(cache); reading != XObserved::Reading::Stale)
            {
                Expect(observed, reading, true);
            }
        });
    }
    Run([this, cache](std::mt19937& random) { // everything else that can be asked
        XLifeSteps steps;
        const XLXComBSTR name(LXFromUtf8(random() % 2 == 0 ? "Pump" : "Nothing"));
        XLXComPtr<ILXParentChildEnum> relations;
        const HRESULT asked = cache->GetPCEnumAll(nullptr, name.Get(), nullptr,
                                                  static_cast<LONG>(random() % 32), relations.Put());
        EXPECT_TRUE(asked == S_OK || asked == S_FALSE || asked == E_POINTER) << asked;
        BSTR names[] = {name.Get()};
        cache->LoadTypesByTypeNames(1, names, 1);
        LONG count = 0;
        BSTR* derived = nullptr;
        cache->GetAllDerivedTypes(name.Get(), &count, &derived);
        for (LONG i = 0; i < count; ++i)
        {
            SysFreeString(derived[i]);
        }
        CoTaskMemFree(derived);
        cache->IsPlantype(m_server->StoredObject("p").Get());
        XLXComPtr<ILXTypeEnum> types;
        cache.As<ILXConfigFactory>()->GetSearchableTypeEnum(types.Put());
    });
    Run([this](std::mt19937& random) { // notifications of every kind and mode
        static constexpr const char* Kinds[] = {"objects", "properties", "pc", "searchable", "other"};
        m_observed[random() % m_observed.size()]->Raise(*m_server);
        m_server->SendNotification(std::string(Kinds[random() % std::size(Kinds)]) + "/x/0/" +
                                   std::to_string(1 << (random() % 14)));
    });
    Run([this, cache](std::mt19937& random) { // the end, and a new beginning
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 20));
        EXPECT_EQ(cache.As<IDPFObject>()->Terminate(), S_OK);
        EXPECT_EQ(Start(static_cast<LONG>(random() % 16)), S_OK);
    });
    UntilTheTimeIsOver();
    m_server->SendNotification("objects/x/0/1");
    for (const auto& observed : m_observed)
    {
        Expect(*observed, observed->Read(cache), false);
    }
    Terminate();
}
