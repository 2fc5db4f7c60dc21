// SPDX-License-Identifier: MIT
//
// The clients in separate processes.
#include "outofprocess.h"

#include "LXError32.h"

#include <atomic>
#include <cstdio>
#include <thread>

namespace {
constexpr auto LimitOfRole = 60s;

void SayReady(const wchar_t* event) {
    HANDLE const ready = OpenEventW(EVENT_MODIFY_STATE, FALSE, event);
    SetEvent(ready);
    CloseHandle(ready);
}

struct Notifications {
    std::chrono::milliseconds time; // duration of each notification
    std::atomic<int> taken{0};

    static void STDMETHODCALLTYPE Take(const LXLogEntry*, void* context) {
        auto& self = *static_cast<Notifications*>(context);
        std::this_thread::sleep_for(self.time);
        ++self.taken;
    }
};

int Hold(const wchar_t* event) {
    const auto server = LXConnect();
    const CacheClient client(*server);
    SayReady(event);
    std::this_thread::sleep_for(LimitOfRole);
    return 1; // the process was not killed
}

int Follow(const wchar_t* event, const std::string& label, int count, std::chrono::milliseconds time) {
    Notifications notifications{time};
    const auto server = LXConnect();
    CacheClient client(*server);
    LXErrorSetLogSink(Notifications::Take, &notifications, 1U << LX_LOG_UPDATE);
    SayReady(event);
    const bool came = LXWaitFor([&] { return client.Label() == label && notifications.taken >= count; }, LimitOfRole);
    XLXComPtr<ILXConfigFactory> factory;
    XLXComPtr<ILX_Query> query;
    XLXComPtr<ILXDataUpdate> update;
    LXExpect(server->GetServices(factory.Put(), query.Put(), update.Put()), "GetServices");
    const bool agrees = came && LXSnapshot(*client.Factory()) == LXSnapshot(*factory);
    const bool ends = client.Terminate() == S_OK;
    LXErrorSetLogSink(nullptr, nullptr, 0);
    return !came ? 2 : !agrees ? 3 : !ends ? 4 : 0;
}
} // namespace

void LXPlayRole() {
    if (__argc < 4 || std::string_view(__argv[1]) != "--role") { return; }
    const std::string name = __argv[2];
    const std::wstring event(name.begin(), name.end());
    int code = 5;
    try {
        code = std::string_view(__argv[3]) == "hold" ? Hold(event.c_str())
                                                     : Follow(event.c_str(), __argv[4], std::atoi(__argv[5]),
                                                              std::chrono::milliseconds(std::atoi(__argv[6])));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "client %lu: %s\n", GetCurrentProcessId(), error.what());
    }
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
}
