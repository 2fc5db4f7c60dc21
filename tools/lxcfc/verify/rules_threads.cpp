// SPDX-License-Identifier: MIT
//
// Calls from several threads at once.
#include "XApartment.h"
#include "XVerification.h"

#include <atomic>
#include <future>
#include <thread>

namespace {
constexpr int Rounds = 3;

/// Makes the same calls as the other threads at the same time. Returns the first difference from a single thread's
/// results.
/// @param awaited  the number of threads that have not begun yet
std::string AskAtOnce(XVerification& verification, std::atomic<unsigned>& awaited, const XState& expected) {
    const XApartment apartment;
    --awaited;
    while (awaited.load() != 0) { // not std::barrier: that of MinGW's library can lose a wake-up, and then hangs
        std::this_thread::yield();
    }
    for (int round = 0; round < Rounds; ++round) {
        const auto state = LXStateOf(verification);
        if (!state) { return "the types cannot be read"; }
        if (*state != expected) { return LXDifference(expected, *state); }
        for (const XReadType* const record : verification.sample) {
            const XLXComPtr<ILXType> type = verification.AskType(record->head.Key());
            const auto row =
                type ? verification.AskProperties(*type, XElementKind::Type, record->head.path) : std::nullopt;
            if (!row || *row != LXRowOf(record->head.values)) { return record->head.path + " has other values"; }
        }
    }
    return "";
}
} // namespace

void LXVerifyThreads(XVerification& verification) {
    const unsigned count = verification.Options().threads;
    const std::optional<XState> expected = verification.types ? LXStateOf(verification) : std::nullopt;
    if (!expected) { return verification.Findings().NotTested(XRule::Threads, "the types cannot be read"); }
    verification.Calls().Count(false);
    std::atomic<unsigned> awaited{count};
    std::vector<std::future<std::string>> threads;
    for (unsigned i = 0; i < count; ++i) {
        threads.push_back(std::async(std::launch::async, [&] { return AskAtOnce(verification, awaited, *expected); }));
    }
    for (auto& thread : threads) {
        const std::string difference = thread.get();
        verification.Findings().Check(difference.empty(), XRule::Threads,
                                      "all types, relations, browser ids and format specs, from " +
                                          std::to_string(count) + " threads at once",
                                      difference);
    }
    verification.Calls().Count(true);
}
