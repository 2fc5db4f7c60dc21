// SPDX-License-Identifier: MIT
#include "XScaleClients.h"

#include "XToolCom.h"

#include <cstdio>

#ifdef _WIN32
#include <objbase.h>
#include <psapi.h>
#else
#include <malloc.h>
#endif

namespace {
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// The heap memory in use by the process; on Windows, where that is not available, the working set.
long long BytesInUse() {
#ifdef _WIN32
    PROCESS_MEMORY_COUNTERS counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<long long>(counters.WorkingSetSize);
#else
    const auto heap = mallinfo2();
    return static_cast<long long>(heap.uordblks + heap.hblkhd);
#endif
}
} // namespace

#ifdef _WIN32
XScaleMemory::XScaleMemory(std::string name)
    : m_name(name.empty() ? "lx-scale-" + std::to_string(GetCurrentProcessId()) : std::move(name)),
      m_mapping(
          CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(XScaleBoard), m_name.c_str())) {
    m_board = static_cast<XScaleBoard*>(MapViewOfFile(m_mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(XScaleBoard)));
    LXExpectThat(m_board != nullptr, "the memory shared by the processes cannot be opened");
}
XScaleMemory::~XScaleMemory() {
    UnmapViewOfFile(m_board);
    CloseHandle(m_mapping);
}
#else
XScaleMemory::XScaleMemory(std::string name) : m_name(std::move(name)), m_board(new XScaleBoard{}) {}
XScaleMemory::~XScaleMemory() { delete m_board; }
#endif

XScaleThreads::XScaleThreads(XScaleBoard& board, XScaleServer& server, int count)
    : m_board(board), m_before(BytesInUse()), m_count(count) {
    for (int i = 0; i < count; ++i) {
        m_threads.emplace_back([this, &server] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            try {
                Play(server);
            } catch (const std::exception& error) {
                std::fprintf(stderr, "client: %s\n", error.what());
                ++m_board.failed;
            }
            CoUninitialize();
        });
    }
    m_threads.emplace_back([this] { Poll(); });
}

XScaleThreads::~XScaleThreads() {
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

void XScaleThreads::Play(XScaleServer& server) {
    const int number = m_board.next++;
    ++m_board.waiting;
    TurnAfter(0);
    const auto start = Clock::now();
    const auto cache = m_component.Activate();
    LXStartCache(server, *cache);
    m_board.times[number] = MillisecondsSince(start);
    if (++m_started == m_count) { m_board.bytes += BytesInUse() - m_before; }
    ++m_board.started;
    ReadRounds(*cache.As<ILXConfigFactory>());
    const auto end = Clock::now();
    LXExpect(cache.As<IDPFObject>()->Terminate(), "Terminate");
    m_board.times[number] = MillisecondsSince(end);
    ++m_board.ended;
}

void XScaleThreads::ReadRounds(ILXConfigFactory& factory) {
    XLXComPtr<ILXType> type;
    XLXComPtr<ILXAttribute> attribute;
    LXExpect(factory.GetType(LXBstr(LXScaleTypeName(0)).Get(), nullptr, type.Put()), "GetType");
    LXExpect(type->GetAttribute(LXBstr(LXScaleAttributeName(0)).Get(), attribute.Put()), "GetAttribute");
    constexpr int Label = 2;
    for (int turn = TurnAfter(1); turn > 0; turn = TurnAfter(turn)) {
        const auto start = Clock::now();
        while (LXTextOf(*attribute, Label) != LXScaleLabel(turn)) { // a client that was slow is notified late
            LXExpectThat(Clock::now() - start < 60s, "the new value does not arrive");
            std::this_thread::sleep_for(1ms);
        }
        ++m_board.read;
    }
}

int XScaleThreads::TurnAfter(int former) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_turn != former; });
    return m_turn;
}

/// Polls the board, on one thread of the process, while there is nothing to do.
void XScaleThreads::Poll() {
    for (int turn = 0; turn >= 0;) {
        if (const int now = m_board.failed > 0 ? -1 : m_board.turn.load(); now != turn) {
            const std::lock_guard lock(m_mutex);
            m_turn = turn = now;
            m_changed.notify_all();
        }
        std::this_thread::sleep_for(1ms);
    }
}

XScaleClients::XScaleClients(const XScaleMemory& memory, XScaleServer& server, int clients, int processes)
    : m_board(memory.Board()) {
    if (processes == 0) {
        m_threads = std::make_unique<XScaleThreads>(m_board, server, clients);
        return;
    }
#ifdef _WIN32
    for (int i = 0; i < processes; ++i) {
        const int count = clients / processes + (i < clients % processes ? 1 : 0);
        std::string command = "scale.exe --child " + memory.Name() + " --clients " + std::to_string(count);
        STARTUPINFOA startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process = {};
        const bool runs = count > 0 && CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                                      nullptr, &startup, &process) != FALSE;
        LXExpectThat(runs, "a process for clients cannot be started");
        CloseHandle(process.hThread);
        m_processes.push_back(process.hProcess);
    }
#endif
}

XScaleClients::~XScaleClients() {
    m_board.turn = -1;
#ifdef _WIN32
    for (HANDLE const process : m_processes) {
        if (WaitForSingleObject(process, 60000) != WAIT_OBJECT_0) { TerminateProcess(process, 1); }
        CloseHandle(process);
    }
#endif
}

void LXPlayScaleClients(const std::string& board, int count) {
#ifdef _WIN32
    const auto memory = XScaleMemory::Open(board);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    {
        const auto server = LXRunningScaleServer();
        const XScaleThreads clients(memory->Board(), *server, count);
    }
    CoUninitialize();
#else
    LXExpectThat(false, board + ": separate processes for " + std::to_string(count) +
                            " clients are supported on Windows only");
#endif
}
