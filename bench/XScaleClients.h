// SPDX-License-Identifier: MIT
//
// The clients, each a cache on its own thread, in this process or in others, and the board by which they receive
// commands and report results.
//
// Threading  Any thread of any process may use the board.
// Errors     A client that raises an exception is counted as failed on the board.
#ifndef XSCALECLIENTS_H
#define XSCALECLIENTS_H

#include "XScaleServer.h"
#include "XToolComponent.h"

#include <atomic>
#include <thread>

/// Located in memory shared by the processes; initially zero.
struct XScaleBoard {
    static constexpr int MostClients = 2000;

    std::atomic<int> turn; ///< 1: start; from 2 on: read the label of that round; -1: end
    std::atomic<int> waiting;
    std::atomic<int> started;
    std::atomic<int> read;
    std::atomic<int> ended;
    std::atomic<int> failed;
    std::atomic<int> next;        ///< the number of the next client
    std::atomic<long long> bytes; ///< memory that the clients keep
    double times[MostClients];    ///< durations per client in milliseconds: of the start, then of the end
};

/// Owns the memory of the board.
class XScaleMemory {
public:
    static std::unique_ptr<XScaleMemory> Create() { return std::unique_ptr<XScaleMemory>(new XScaleMemory({})); }
    /// Opens the board of another process.
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

/// Runs `count` clients of a running server until the board's turn is -1.
class XScaleThreads {
public:
    XScaleThreads(XScaleBoard& board, XScaleServer& server, int count);
    ~XScaleThreads();
    XScaleThreads(const XScaleThreads&) = delete;
    XScaleThreads& operator=(const XScaleThreads&) = delete;

private:
    void Play(XScaleServer& server);
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

/// The clients of a run: threads of this process, or processes with threads. The destructor ends those that still run.
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

/// The main function of a process that was started for `count` clients.
void LXPlayScaleClients(const std::string& board, int count);

#endif
