// SPDX-License-Identifier: MIT
//
// Verifies the contract of a server: makes all kinds of calls, checks each result against the rules, and measures the
// durations.
//
// Threading  The calls are made on separate threads in the multithreaded apartment. If a call never returns, the report
//            says so and the threads are abandoned. The program can then only print the report and exit.
#ifndef XSERVERVERIFIER_H
#define XSERVERVERIFIER_H

#include "XContract.h"
#include "XLXComPtr.h"

#include <chrono>
#include <functional>
#include <map>

/// The server to verify.
struct XServerToVerify {
    XLXComPtr<ILXConfigFactory> factory;
    XLXComPtr<ILXDataUpdate> update; ///< may be null
    XLXComPtr<ILX_Query> query;      ///< may be null
    bool inProcess = true;           ///< calls go to the server directly, without proxies
    /// Makes a visible change to the configuration, a different one each time. Empty if the server cannot be changed.
    std::function<void()> edit;
    /// Returns the number of the server's objects and of references to them (0 if not counted). Empty if the server
    /// does not count objects.
    std::function<std::pair<LONG, LONG>()> live;
};

struct XVerifierOptions {
    std::chrono::milliseconds limit{10000};       ///< longest call
    std::chrono::milliseconds notification{5000}; ///< longest wait for a notification after a change
    std::chrono::milliseconds silence{300};       ///< silence that ends the wait for notifications
    std::size_t types = 50;                       ///< number of types that are read one by one
    unsigned threads = 4;
    std::size_t elements = 200000; ///< an enumeration with more elements counts as endless
};

struct XVerifierReport {
    std::vector<XVerdict> verdicts;                   ///< in the order of the contract
    std::map<std::string, std::vector<double>> times; ///< durations by method in milliseconds, sorted
    std::size_t types = 0;                            ///< number of types
    std::size_t listed = 0;                           ///< number of listed types
    std::string hanging;                              ///< the call that never returned; empty if there was none
};

XVerifierReport LXVerifyServer(const XServerToVerify& server, const XVerifierOptions& options = {});

#endif
