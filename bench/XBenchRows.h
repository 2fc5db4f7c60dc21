// SPDX-License-Identifier: MIT
//
// The rows of the table: a piece of work and its baselines.
//
// The work and the baselines of a row run in one process, interleaved at random, many times. The ratio is that of the
// medians.
#ifndef XBENCHROWS_H
#define XBENCHROWS_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Makes the heap merge freed blocks. It otherwise defers that until a larger block is requested, which would add the
/// time for one round's blocks to the next round.
void LXSettleHeap();

class XBenchRows {
public:
    using Body = std::function<void(benchmark::State&)>;

    struct Against {
        const char* name;
        Body body;
        double bar;       ///< the maximum ratio of the work's time to this one
        bool aim = false; ///< shown, but not a bar
    };

    enum class Clock {
        Cpu,   ///< processor time of one thread, which other programs affect less
        Wall,  ///< several threads
        Manual ///< the body measures itself
    };
    struct How {
        int threads = 1;
        Clock clock = Clock::Cpu;
        std::int64_t iterations = 0; ///< 0: as many as fit into the time
        double seconds = 0.03;       ///< of one run
        int runs = 15;
    };

    /// @param only  measures only rows with this text in their titles; empty: all rows
    explicit XBenchRows(std::string only) : m_only(std::move(only)) {}

    bool Wants(std::string_view title) const noexcept { return title.find(m_only) != std::string_view::npos; }
    /// Measures a row now.
    void Time(const std::string& title, const Body& work, const std::vector<Against>& against, const How& how);
    void Time(const std::string& title, const Body& work, const std::vector<Against>& against) {
        Time(title, work, against, How());
    }
    /// Adds a row with times that the caller measured alternately, in seconds.
    void Taken(const std::string& title, std::vector<double> work, const char* against, std::vector<double> baseline,
               double bar, bool aim = false);
    /// Adds a row with counted figures.
    void Figure(const std::string& title, const char* unit, double work, const char* against, double baseline,
                double bar);
    /// Writes all rows as JSON, with a text about the models.
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
