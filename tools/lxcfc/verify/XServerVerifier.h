// SPDX-License-Identifier: MIT
//
// Proves the contract of a server: asks it everything, judges each answer by the rules, and times the calls.
//
// Threading  The questions are asked on threads of their own, which have entered the multithreaded apartment. When a
//            call makes no end the report says so and the threads are left to themselves: a program can do nothing
//            but print it and end.
#ifndef XSERVERVERIFIER_H
#define XSERVERVERIFIER_H

#include "XContract.h"
#include "XLXComPtr.h"

#include <chrono>
#include <functional>
#include <map>

/// The server, and what can be done with it.
struct XServerToVerify {
    XLXComPtr<ILXConfigFactory> factory;
    XLXComPtr<ILXDataUpdate> update; ///< null when the server has none
    XLXComPtr<ILX_Query> query;      ///< null when the server has none
    bool inProcess = true;           ///< and called without proxies
    /// Makes a change that can be seen in the server's answers, and another one each time. Empty when nobody can.
    std::function<void()> edit;
    /// The objects of the server and the references to them (0: these are not counted); empty when it counts nothing.
    std::function<std::pair<LONG, LONG>()> live;
};

struct XVerifierOptions {
    std::chrono::milliseconds limit{10000};       ///< for each call
    std::chrono::milliseconds notification{5000}; ///< from a change to its notification
    std::chrono::milliseconds silence{300};       ///< after which no notification comes any more
    std::size_t types = 50;                       ///< of which everything is asked one by one
    unsigned threads = 4;
    std::size_t elements = 200000; ///< with more of them an enumeration has no end
};

struct XVerifierReport {
    std::vector<XVerdict> verdicts;                   ///< in the order of the contract
    std::map<std::string, std::vector<double>> times; ///< milliseconds of calls by method, in rising order
    std::size_t types = 0;                            ///< that the server has
    std::size_t listed = 0;                           ///< of these
    std::string hanging;                              ///< the call that made no end; empty when all did
};

XVerifierReport LXVerifyServer(const XServerToVerify& server, const XVerifierOptions& options = {});

#endif
