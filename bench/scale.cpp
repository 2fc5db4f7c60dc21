// SPDX-License-Identifier: MIT
//
// scale: many clients of one server that start at once while the configuration is edited.
//
//     scale --clients 200 --types 100                 server and clients in this process, one thread per client
//     scale --clients 200 --processes 8 --types 100   Windows: lxsampleserver, and the clients in eight processes
//
// It prints the time until all clients have started, the server's processor time and the memory per client. For an
// edit after which all clients read at once, it prints the times until all have been notified and until the last one
// has read the new value.
// docs/scaling.md has the figures.
#include "XScaleClients.h"
#include "XScaleServer.h"

#include "XLXSafeArray.h"
#include "XToolCom.h"

#include <CLI/CLI.hpp>

#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <thread>

namespace {
using namespace std::chrono_literals;

struct Options {
    int clients = 200;
    int processes = 0;
    int types = 100;
    int rounds = 20;
    bool withObjects = false;
    std::string child; // in a process started by this program: the name of the board
};

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void WaitFor(const XScaleBoard& board, const std::atomic<int>& count, int wanted) {
    while (count < wanted) {
        if (board.failed > 0) { throw std::runtime_error("a client failed"); }
        std::this_thread::sleep_for(1ms);
    }
}

/// Continuously edits data that nobody reads.
class Editor {
public:
    explicit Editor(XScaleServer& server)
        : m_thread([this, &server] {
              CoInitializeEx(nullptr, COINIT_MULTITHREADED);
              for (int i = 0; !m_stop; ++i) {
                  server.Edit(1, "while they start " + std::to_string(i));
                  ++m_edits;
                  std::this_thread::sleep_for(100ms);
              }
              CoUninitialize();
          }) {}
    ~Editor() { Stop(); }
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    int Stop() {
        m_stop = true;
        if (m_thread.joinable()) { m_thread.join(); }
        return m_edits;
    }

private:
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_edits{0};
    std::thread m_thread; // declared last, because it uses the other members
};

/// Prints the size of the array with which a client starts, and the times to build and to copy it.
void Describe(XScaleServer& server) {
    const auto factory = server.ConfigFactory().As<ILXConfigFactoryEx>();
    double times[2] = {};
    XLXSafeArray array;
    for (double& time : times) {
        const auto start = Clock::now();
        LXExpect(factory->GetTypeArrayEx(15, array.Put()), "GetTypeArrayEx");
        time = Milliseconds(Clock::now() - start);
    }
    LONG upper = -1;
    SafeArrayGetUBound(array.Get(), 1, &upper);
    std::printf("bulk array       %9.1f ms to build it, %.1f ms to copy the stored one; %ld elements", times[0],
                times[1], static_cast<long>(upper + 1));
#ifdef _WIN32
    ULONG flags = MAKELONG(MSHCTX_DIFFERENTMACHINE, NDR_LOCAL_DATA_REPRESENTATION);
    SAFEARRAY* sent = array.Get();
    std::printf(", %.2f MB on the network", LPSAFEARRAY_UserSize(&flags, 0, &sent) / 1e6);
#endif
    std::printf("\n");
    std::fflush(stdout);
}

void Start(XScaleBoard& board, XScaleServer& server, const Options& options) {
    WaitFor(board, board.waiting, options.clients);
    const double before = server.ProcessorSeconds();
    const auto start = Clock::now();
    Editor editor(server);
    board.turn = 1;
    WaitFor(board, board.started, options.clients);
    const double all = Milliseconds(Clock::now() - start);
    const int edits = editor.Stop();
    const double processor = server.ProcessorSeconds() - before;
    std::vector<double> each(board.times, board.times + options.clients);
    std::printf("all started      %9.1f ms, during %d edits; start of one client %.1f ms (median), %.1f (longest)\n",
                all, edits, Median(each), *std::max_element(each.begin(), each.end()));
    std::printf("server           %9.2f ms of processor time per client\n", processor * 1000 / options.clients);
    std::printf("memory           %9.2f MB per client\n", static_cast<double>(board.bytes) / 1e6 / options.clients);
}

void Edit(XScaleBoard& board, XScaleServer& server, const Options& options) {
    std::vector<double> told;
    std::vector<double> read;
    const double before = server.ProcessorSeconds();
    for (int round = 2; round < 2 + options.rounds; ++round) {
        board.read = 0;
        const auto start = Clock::now();
        server.Edit(0, LXScaleLabel(round));
        told.push_back(Milliseconds(Clock::now() - start));
        board.turn = round;
        WaitFor(board, board.read, options.clients);
        read.push_back(Milliseconds(Clock::now() - start));
    }
    const double processor = (server.ProcessorSeconds() - before) * 1000 / options.clients / options.rounds;
    std::printf("edit, notified   %9.1f ms (median), %.1f (longest)\n", Median(told),
                *std::max_element(told.begin(), told.end()));
    std::printf("edit, all read   %9.1f ms (median), %.1f (longest); server %.3f ms per client\n", Median(read),
                *std::max_element(read.begin(), read.end()), processor);
}

void End(XScaleBoard& board, const Options& options) {
    const auto start = Clock::now();
    board.turn = -1;
    WaitFor(board, board.ended, options.clients);
    std::vector<double> each(board.times, board.times + options.clients);
    std::printf("all terminated   %9.1f ms; one client %.1f ms (median)\n", Milliseconds(Clock::now() - start),
                Median(each));
}

void Run(const Options& options) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED); // until the process ends
    const auto board = XScaleMemory::Create();
    const auto server = LXScaleServer(options.types, options.processes > 0, options.withObjects);
    std::printf("%d clients in %d processes, %d types, %s\n", options.clients, std::max(options.processes, 1),
                options.types, options.withObjects ? "with objects" : "null objects");
    Describe(*server);
    const XScaleClients clients(*board, *server, options.clients, options.processes);
    Start(board->Board(), *server, options);
    Edit(board->Board(), *server, options);
    End(board->Board(), options);
}
} // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Many clients of one server that start at once.");
    app.add_option("--clients", options.clients, "Number of clients")->check(CLI::Range(1, XScaleBoard::MostClients));
    app.add_option("--processes", options.processes,
                   "Windows: number of processes for the clients; the server gets another one. 0: all in this process");
    app.add_option("--types", options.types, "Number of types of the generated model")->check(CLI::Range(2, 100000));
    app.add_option("--rounds", options.rounds, "Number of timed edits")->check(CLI::Range(1, 1000));
    app.add_flag("--objects", options.withObjects, "Deliver the server's objects with the records");
    app.add_option("--child", options.child, "For this program's own use");
    CLI11_PARSE(app, argc, argv);
    try {
        if (options.child.empty()) {
            Run(options);
        } else {
            LXPlayScaleClients(options.child, options.clients);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "scale: %s\n", error.what());
        return 1;
    }
}
