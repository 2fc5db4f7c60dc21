// SPDX-License-Identifier: MIT
//
// The rows of the table: a piece of work and what it is measured against.
//
// All of one row runs in one process, interleaved at random, many times; a row's ratio is that of the medians.
#ifndef XBENCHROWS_H
#define XBENCHROWS_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Makes the heap join what was freed, which it puts off until somebody asks for a larger block: what one round has
/// freed is no part of the next one's time.
void LXSettleHeap();

class XBenchRows {
public:
    using Body = std::function<void(benchmark::State&)>;

    struct Against {
        const char* name;
        Body body;
        double bar;       ///< the largest ratio of the work's time to this one's
        bool aim = false; ///< shown, but not a bar
    };

    enum class Clock {
        Cpu,   ///< one thread: what others do on the machine counts less
        Wall,  ///< several threads
        Manual ///< the body measures itself
    };
    struct How {
        int threads = 1;
        Clock clock = Clock::Cpu;
        std::int64_t iterations = 0; ///< 0: as many as fill the time
        double seconds = 0.03;       ///< of one run
        int runs = 15;
    };

    /// @param only  measures the rows with this text in their titles; empty: all
    explicit XBenchRows(std::string only) : m_only(std::move(only)) {}

    bool Wants(std::string_view title) const noexcept { return title.find(m_only) != std::string_view::npos; }
    /// Measures a row now.
    void Time(const std::string& title, const Body& work, const std::vector<Against>& against, const How& how);
    void Time(const std::string& title, const Body& work, const std::vector<Against>& against) {
        Time(title, work, against, How());
    }
    /// Enters times that were taken by the caller, in seconds, alternating.
    void Taken(const std::string& title, std::vector<double> work, const char* against, std::vector<double> baseline,
               double bar, bool aim = false);
    /// Enters figures that were counted.
    void Figure(const std::string& title, const char* unit, double work, const char* against, double baseline,
                double bar);
    /// All rows as JSON, with a text about the models.
    void Write(const std::string& path, const std::string& histogram) const;

private:
    struct Row {
        std::string title;
        std::string against;
        std::string unit;
        double work;
        double baseline;
        double bar;
        bool aim;
        int runs;
    };

    const std::string m_only;
    std::vector<Row> m_rows;
};

#endif
