// SPDX-License-Identifier: MIT
//
// Options of the fuzz target for the whole cache.
#include <vector>

// Records short stacks, because there are many allocations.
extern "C" const char* __asan_default_options() { return "malloc_context_size=2:quarantine_size_mb=32"; }

// Turns off weighting seeds by the rarity of their coverage, which takes as long as running them.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    static std::vector<char*> all(*arguments, *arguments + *count);
    static char option[] = "-entropic=0";
    all.insert(all.begin() + 1, option);
    all.push_back(nullptr);
    *arguments = all.data();
    ++*count;
    return 0;
}
