// SPDX-License-Identifier: MIT
//
// Rows of the table that the benchmark library measures: the work and its baselines run in one process, interleaved at
// random, many times. The ratio is that of the medians.
#ifndef XBENCHROWS_H
#define XBENCHROWS_H

#include "XBenchTable.h"

#include <benchmark/benchmark.h>

#include <functional>

/// Makes the heap merge freed blocks. It otherwise defers that until a larger block is requested, which would add the
/// time for one round's blocks to the next round.
void LXSettleHeap();

class XBenchRows : public XBenchTable {
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

    using XBenchTable::XBenchTable;

    /// Measures a row now.
    void Time(const std::string& title, const Body& work, const std::vector<Against>& against, const How& how);
    void Time(const std::string& title, const Body& work, const std::vector<Against>& against) {
        Time(title, work, against, How());
    }
};

#endif
