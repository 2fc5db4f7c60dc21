// SPDX-License-Identifier: MIT
//
// The clients, each a cache on a thread of its own, in this process or in others; and the board by which they are told
// what to do and say what it took.
//
// Threading  The board is for any thread of any process.
// Errors     What a client raises counts as failed on the board.
#ifndef XSCALECLIENTS_H
#define XSCALECLIENTS_H

#include "XScaleServer.h"
#include "XToolComponent.h"

#include <atomic>
#include <thread>

/// In memory that the processes share, zero at first.
struct XScaleBoard {
    static constexpr int MostClients = 2000;

    std::atomic<int> turn; ///< 1: start; from 2 on: read the label of that round; -1: end
    std::atomic<int> waiting;
    std::atomic<int> started;
    std::atomic<int> read;
    std::atomic<int> ended;
    std::atomic<int> failed;
    std::atomic<int> next;        ///< a client takes its number here
    std::atomic<long long> bytes; ///< that the clients keep
    double times[MostClients];    ///< of a client's start, then of its end: milliseconds
};

/// The memory of the board.
class XScaleMemory {
public:
    static std::unique_ptr<XScaleMemory> Create() { return std::unique_ptr<XScaleMemory>(new XScaleMemory({})); }
    /// That of another process.
    static std::unique_ptr<XScaleMemory> Open(const std::string& name) {
        return std::unique_ptr<XScaleMemory>(new XScaleMemory(name));
    }
    ~XScaleMemory();
    XScaleMemory(const XScaleMemory&) = delete;
    XScaleMemory& operator=(const XScaleMemory&) = delete;

    XScaleBoard& Board() const noexcept { return *m_board; }
    const std::string& Name() const noexcept { return m_name; }

private:
    explicit XScaleMemory(std::string name);

    std::string m_name;
    void* m_mapping = nullptr;
    XScaleBoard* m_board = nullptr;
};

/// So many clients of a server that runs, until they are told to end.
class XScaleThreads {
public:
    XScaleThreads(XScaleBoard& board, XScaleServer& server, int count);
    ~XScaleThreads();
    XScaleThreads(const XScaleThreads&) = delete;
    XScaleThreads& operator=(const XScaleThreads&) = delete;

private:
    void Play(XScaleServer& server);
    void StartCache(XScaleServer& server, ILXConfigFactoryCache& cache) const;
    void ReadRounds(ILXConfigFactory& factory);
    int TurnAfter(int former);
    void Poll();

    XScaleBoard& m_board;
    const long long m_before; // bytes in use without clients
    const int m_count;
    std::atomic<int> m_started{0};
    XToolComponent m_component;
    std::mutex m_mutex; // guards m_turn
    std::condition_variable m_changed;
    int m_turn = 0;
    std::vector<std::thread> m_threads;
};

/// The clients of a run: threads here, or processes with threads. Ends them, when they have not ended by themselves.
class XScaleClients {
public:
    XScaleClients(const XScaleMemory& memory, XScaleServer& server, int clients, int processes);
    ~XScaleClients();
    XScaleClients(const XScaleClients&) = delete;
    XScaleClients& operator=(const XScaleClients&) = delete;

private:
    XScaleBoard& m_board;
    std::unique_ptr<XScaleThreads> m_threads;
    std::vector<void*> m_processes;
};

/// The part of a process that was started for so many clients.
void LXPlayScaleClients(const std::string& board, int count);

#endif
