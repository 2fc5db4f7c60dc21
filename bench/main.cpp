// SPDX-License-Identifier: MIT
//
// bench_cache OUTPUT.json [TEXT]: measures all rows, or only those with the text in their titles.
#include "benches.h"

#include <cstdio>
#include <exception>
#include <memory>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: bench_cache OUTPUT.json [TEXT]\n", stderr);
        return 2;
    }
    try {
        char program[] = "bench_cache";
        char interleaved[] = "--benchmark_enable_random_interleaving=true";
        char* flags[] = {program, interleaved, nullptr};
        int count = 2;
        benchmark::Initialize(&count, flags);
        XBenchRows rows(argc > 2 ? argv[2] : "");
        std::string histogram; // empty: the report has it from another process
        std::unique_ptr<XBenchWorld> made;
        const auto world = [&]() -> const XBenchWorld& {
            if (!made) {
                made = std::make_unique<XBenchWorld>(20000);
                histogram = LXHistogram(made->Server().Model());
                made->Start();
            }
            return *made;
        };
        LXBenchProperties(rows, world);
        LXBenchTypes(rows, world);
        LXBenchLists(rows, world);
        made.reset();
        LXBenchLoads(rows);
        LXBenchServerCalls(rows);
        LXBenchEdits(rows);
        rows.Write(argv[1], histogram);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_cache: %s\n", error.what());
        return 1;
    }
}
