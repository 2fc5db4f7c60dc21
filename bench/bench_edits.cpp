// SPDX-License-Identifier: MIT
//
// The effects of edits: the number and cost of further calls to the server, reads during a flood of notifications, and
// the longest wait for a reload.
#include "benches.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <thread>

namespace {
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

double Seconds(Clock::duration time) { return std::chrono::duration<double>(time).count(); }

double ProcessTime() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// During its lifetime, determines whether new caches use refills; by default the cost of calls decides.
class XRefillChoice {
public:
    explicit XRefillChoice(const char* choice) { setenv("LXREFILL", choice, 1); }
    XRefillChoice(const XRefillChoice&) = delete;
    XRefillChoice& operator=(const XRefillChoice&) = delete;
    ~XRefillChoice() { unsetenv("LXREFILL"); }
};

void Notify(const XBenchWorld& world, const OLECHAR* dataId) {
    const XLXComBSTR id{XLXTextView(dataId)};
    const XLXComBSTR type{XLXTextView(OLESTR("cfc_specific"))};
    LXExpectOk(XLXComPtr<ILXConfigFactoryCache>(&world.Cache())
                   .As<ILXCallbackUpdate>()
                   ->DataObjectChanged(id.Get(), type.Get(), 256, world.NextNotificationId(), 0, nullptr),
               "DataObjectChanged");
}

/// Reads the label of every attribute of `types` types.
void ReadAttributes(const XBenchWorld& world, int types) {
    XLXComVariant value;
    for (int i = 0; i < types; ++i) {
        XLXComPtr<ILXAttributeEnum> attributes;
        LXExpectOk(world.Type(LXBenchTypeName(i))->GetAttributeEnum(attributes.Put()), "GetAttributeEnum");
        XLXComPtr<ILXAttribute> attribute;
        while (attributes->GetSingleNext(attribute.Put()) == S_OK) {
            LXExpectOk(attribute->GetProperty(XProperty::Label, value.Put()), "GetProperty");
        }
    }
}

// ---- calls and processor time after one notification

/// A model of `types` types without bases, so that exactly the types that are read are concerned.
XServerModel PlainModel(int types) {
    XGeneratorOptions options;
    options.types = types;
    options.attributesPerType = 10;
    options.depth = 1;
    options.relationsPerType = 1;
    return LXGenerateModel(options);
}

void BenchCalls(XBenchRows& rows, int types, int read, double bar) {
    const std::string title = "server calls, attributes of " + std::to_string(read) + " of " + std::to_string(types) +
                              " types after one \"properties\" notification, 1 ms a call";
    if (!rows.Wants(title)) { return; }
    XBenchWorld world(PlainModel(types));
    world.Server().Calls().SetDelay(milliseconds(1));
    world.Start();
    world.CompleteAllTypes();
    Notify(world, OLESTR("properties/x/0/1"));
    const XCallCounts before = world.Server().Calls().Counts();
    const auto start = Clock::now();
    ReadAttributes(world, read);
    const XCallCounts made = world.Server().Calls().Counts().Since(before);
    std::fprintf(stderr, "  %.1f s, calls: %.200s\n", Seconds(Clock::now() - start), made.Text().c_str());
    rows.Figure(title, "calls", static_cast<double>(made.Total()), "types concerned", read, bar);
}

void BenchProcessorTime(XBenchRows& rows) {
    constexpr const char* title =
        "processor time, attributes of 1000 types after one \"properties\" notification, fast server";
    if (!rows.Wants(title)) { return; }
    constexpr int Types = 1000;
    constexpr int Runs = 11;
    constexpr const char* choices[] = {"by cost", "never", "always"};
    std::vector<std::unique_ptr<XBenchWorld>> worlds;
    for (const char* choice : choices) {
        const XRefillChoice chosen(choice);
        worlds.push_back(std::make_unique<XBenchWorld>(PlainModel(Types)));
        worlds.back()->Start();
        worlds.back()->CompleteAllTypes();
    }
    std::array<std::vector<double>, 3> times;
    const auto measure = [&](std::size_t i) {
        LXSettleHeap();
        Notify(*worlds[i], OLESTR("properties/x/0/1"));
        const double start = ProcessTime();
        ReadAttributes(*worlds[i], Types);
        times[i].push_back(ProcessTime() - start);
    };
    for (std::size_t run = 0; run < Runs; ++run) {
        measure(run % 2);
        measure(1 - run % 2);
    }
    for (std::size_t run = 0; run < Runs; ++run) {
        measure(2);
    }
    rows.Taken(title, times[0], "object by object", times[1], 1.2);
    rows.Taken(title, times[0], "with refills all the same", times[2], 1.2, true);
}

// ---- reads beside a flood

/// Repeats something on its own thread during its lifetime.
class XFlood {
public:
    explicit XFlood(std::function<void()> work)
        : m_work(std::move(work)), m_thread([this] {
              while (!m_ends.load()) {
                  m_work();
              }
          }) {}
    XFlood(const XFlood&) = delete;
    XFlood& operator=(const XFlood&) = delete;
    ~XFlood() {
        m_ends.store(true);
        m_thread.join();
    }

private:
    const std::function<void()> m_work;
    std::atomic<bool> m_ends{false};
    std::thread m_thread;
};

/// The 99th percentile of the times of reads.
double P99(const XLXComPtr<ILXAttribute>& attribute) {
    constexpr std::size_t Reads = 300000;
    std::vector<double> times;
    times.reserve(Reads);
    XLXComVariant value;
    for (std::size_t i = 0; i < Reads; ++i) {
        const auto start = Clock::now();
        LXExpectOk(attribute->GetProperty(XProperty::Label, value.Put()), "GetProperty");
        times.push_back(Seconds(Clock::now() - start));
    }
    const auto at = times.begin() + Reads * 99 / 100;
    std::nth_element(times.begin(), at, times.end());
    return *at;
}

void BenchBesideFlood(XBenchRows& rows) {
    constexpr const char* pcTitle = "p99 of reading a held text beside a flood of \"pc\" notifications";
    constexpr const char* refillsTitle = "p99 of reading a held text beside a flood of \"properties\" and refills";
    if (!rows.Wants(pcTitle) && !rows.Wants(refillsTitle)) { return; }
    constexpr int Runs = 11;
    const XRefillChoice always("always");
    XBenchWorld world(PlainModel(1000));
    world.Start();
    world.CompleteAllTypes();
    XLXComPtr<ILXAttributeEnum> attributes;
    XLXComPtr<ILXAttribute> held;
    LXExpectOk(world.Type(LXBenchTypeName(0))->GetAttributeEnum(attributes.Put()), "GetAttributeEnum");
    LXExpectOk(attributes->GetSingleNext(held.Put()), "GetSingleNext");
    std::vector<double> calm;
    std::vector<double> pc;
    std::vector<double> refills;
    for (int run = 0; run < Runs; ++run) {
        calm.push_back(P99(held));
        {
            const XFlood flood([&] { Notify(world, OLESTR("pc/x/0/4")); });
            pc.push_back(P99(held));
        }
        const XFlood flood([&] {
            Notify(world, OLESTR("properties/x/0/1"));
            ReadAttributes(world, 25);
        });
        refills.push_back(P99(held));
    }
    rows.Taken(pcTitle, pc, "calm", calm, 1.5);
    rows.Taken(refillsTitle, refills, "calm", calm, 3.0);
}

// ---- waiting for a reload

/// The longest query for a type, and the longest query that itself read all types.
struct XLongest {
    double question = 0;
    double reload = 0;

    void Take(double time, bool isReload) {
        question = std::max(question, time);
        if (isReload) { reload = std::max(reload, time); }
    }
};

XLongest AskBesideFlood(const XBenchWorld& world, Clock::time_point end) {
    static thread_local Clock::time_point t_reload; // when the thread's last reload began
    world.Server().Calls().SetStandingHook([](const XServerCall& call) {
        if (call.name == "ILXConfigFactoryEx::GetTypeArrayEx" && call.point == XCallPoint::Arrival) {
            t_reload = Clock::now();
        }
    });
    constexpr int Threads = 4;
    std::array<XLongest, Threads> longest;
    {
        const XFlood flood([&] {
            Notify(world, OLESTR("objects/x/0/2"));
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        });
        std::vector<std::jthread> askers;
        for (XLongest& own : longest) {
            askers.emplace_back([&] {
                while (Clock::now() < end) {
                    const auto start = Clock::now();
                    world.Type(LXBenchTypeName(0));
                    const auto answered = Clock::now();
                    own.Take(Seconds(answered - start), false);
                    if (t_reload >= start) { own.Take(Seconds(answered - t_reload), true); }
                }
            });
        }
    }
    world.Server().Calls().SetStandingHook({});
    XLongest all;
    for (const XLongest& own : longest) {
        all.question = std::max(all.question, own.question);
        all.reload = std::max(all.reload, own.reload);
    }
    return all;
}

void BenchLongestQuestion(XBenchRows& rows) {
    constexpr const char* title = "longest question for a type beside a flood of notifications, 5,000 types";
    if (!rows.Wants(title)) { return; }
    XBenchWorld world(5000);
    world.Start();
    const XLongest longest = AskBesideFlood(world, Clock::now() + std::chrono::seconds(15));
    rows.Taken(title, {longest.question}, "longest reload", {longest.reload}, 2.2);
}
} // namespace

void LXBenchEdits(XBenchRows& rows) {
    BenchCalls(rows, 1000, 25, 2.0);
    BenchCalls(rows, 20000, 20000, 0.2);
    BenchProcessorTime(rows);
    BenchBesideFlood(rows);
    BenchLongestQuestion(rows);
}
