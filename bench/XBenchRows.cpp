// SPDX-License-Identifier: MIT
#include "XBenchRows.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>

namespace {
double MedianOf(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const std::size_t middle = times.size() / 2;
    return times.size() % 2 != 0 ? times[middle] : (times[middle - 1] + times[middle]) / 2;
}

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

    double Median(const std::string& name) const { return MedianOf(m_times.at(name)); }

private:
    const bool m_wall;
    std::map<std::string, std::vector<double>> m_times;
};

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '\n') {
            quoted += "\\n";
            continue;
        }
        if (c == '"' || c == '\\') { quoted += '\\'; }
        quoted += c;
    }
    return quoted + '"';
}
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
        m_rows.push_back(
            {title, one.name, "ns", collected.Median("work"), collected.Median(one.name), one.bar, one.aim, how.runs});
        std::fprintf(stderr, "  %-60s %-28s %10.1f %10.1f  %.2f\n", title.c_str(), one.name, m_rows.back().work,
                     m_rows.back().baseline, m_rows.back().work / m_rows.back().baseline);
    }
}

void XBenchRows::Taken(const std::string& title, std::vector<double> work, const char* against,
                       std::vector<double> baseline, double bar, bool aim) {
    constexpr double Nano = 1e9;
    const int runs = static_cast<int>(work.size());
    m_rows.push_back(
        {title, against, "ns", MedianOf(std::move(work)) * Nano, MedianOf(std::move(baseline)) * Nano, bar, aim, runs});
    std::fprintf(stderr, "  %-60s %-28s %10.1f %10.1f  %.2f\n", title.c_str(), against, m_rows.back().work,
                 m_rows.back().baseline, m_rows.back().work / m_rows.back().baseline);
}

void XBenchRows::Figure(const std::string& title, const char* unit, double work, const char* against, double baseline,
                        double bar) {
    m_rows.push_back({title, against, unit, work, baseline, bar, false, 1});
    std::fprintf(stderr, "  %-60s %-28s %10.1f %10.1f\n", title.c_str(), against, work, baseline);
}

void XBenchRows::Write(const std::string& path, const std::string& histogram) const {
    std::FILE* const file = std::fopen(path.c_str(), "w");
    if (file == nullptr) { throw std::runtime_error("cannot write " + path); }
    std::fprintf(file, "{\n \"model\": %s,\n \"rows\": [", Quoted(histogram).c_str());
    const char* separator = "\n";
    for (const Row& row : m_rows) {
        std::fprintf(file,
                     "%s  {\"work\": %s, \"against\": %s, \"unit\": %s, \"value\": %.9g, \"baseline\": %.9g, "
                     "\"bar\": %.9g, \"aim\": %s, \"runs\": %d}",
                     separator, Quoted(row.title).c_str(), Quoted(row.against).c_str(), Quoted(row.unit).c_str(),
                     row.work, row.baseline, row.bar, row.aim ? "true" : "false", row.runs);
        separator = ",\n";
    }
    std::fprintf(file, "\n ]\n}\n");
    std::fclose(file);
}
