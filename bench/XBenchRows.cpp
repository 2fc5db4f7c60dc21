// SPDX-License-Identifier: MIT
#include "XBenchRows.h"

#include <cstdlib>
#include <map>
#include <stdexcept>

namespace {
/// Collects the time of each run by the benchmark's name, and prints nothing.
class XCollector final : public benchmark::BenchmarkReporter {
public:
    explicit XCollector(bool wall) : m_wall(wall) {}
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) { throw std::runtime_error(run.benchmark_name() + ": " + run.error_message); }
            if (run.run_type == Run::RT_Iteration) {
                m_times[run.run_name.function_name].push_back(m_wall ? run.GetAdjustedRealTime()
                                                                     : run.GetAdjustedCPUTime());
            }
        }
    }

    double Median(const std::string& name) const { return XBenchTable::MedianOf(m_times.at(name)); }

private:
    const bool m_wall;
    std::map<std::string, std::vector<double>> m_times;
};
} // namespace

void LXSettleHeap() {
    constexpr std::size_t LargeBlock = 100000;
    void* block = std::malloc(LargeBlock);
    benchmark::DoNotOptimize(block);
    std::free(block);
}

void XBenchRows::Time(const std::string& title, const Body& work, const std::vector<Against>& against, const How& how) {
    if (!Wants(title)) { return; }
    const auto add = [&how](const char* name, const Body& body) {
        auto* const made = benchmark::RegisterBenchmark(name, body);
        made->Repetitions(how.runs)->Unit(benchmark::kNanosecond)->Threads(how.threads);
        if (how.iterations != 0) {
            made->Iterations(how.iterations);
        } else {
            made->MinTime(how.seconds);
        }
        if (how.clock == Clock::Wall) {
            made->UseRealTime();
        } else if (how.clock == Clock::Manual) {
            made->UseManualTime();
        }
    };
    benchmark::ClearRegisteredBenchmarks();
    add("work", work);
    for (const Against& one : against) {
        add(one.name, one.body);
    }
    XCollector collected(how.clock != Clock::Cpu);
    benchmark::RunSpecifiedBenchmarks(&collected, "all");
    for (const Against& one : against) {
        Add({title, one.name, "ns", collected.Median("work"), collected.Median(one.name), one.bar, one.aim, how.runs});
    }
}
