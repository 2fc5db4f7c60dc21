// SPDX-License-Identifier: MIT
//
// The error library: error information, the boundary, the logbook and its sink.
#include "logcapture.h"
#include "testtexts.h"

#include <gtest/gtest.h>

#include <future>
#include <stdexcept>

namespace {
constexpr LXErrorLocation Here{"source", "Scope", "Method()", 42};

struct Thrown {
    void (*raise)();
    HRESULT code;
    const OLECHAR* description;
    const OLECHAR* source;
};

TEST(Guarded, TranslatesEachKindOfException) {
    constexpr const OLECHAR* FromHere = OLESTR("Scope::Method() (source, line 42)");
    constexpr Thrown Kinds[] = {
        {[] {
             XLXError::Raise(E_ACCESSDENIED, OLESTR("no entry"), {"file", nullptr, "Free", 7});
         },
         E_ACCESSDENIED, OLESTR("no entry"), OLESTR("Free (file, line 7)")},
        {[] { XLXError::RaiseIfFailed(E_NOTIMPL, {}, Here); }, E_NOTIMPL, OLESTR(""), FromHere},
        {[] { XLXError::CheckPointer(nullptr, OLESTR("ppType"), Here); }, E_POINTER, OLESTR("invalid pointer: ppType"),
         FromHere},
        {[] { throw std::bad_alloc(); }, E_OUTOFMEMORY, OLESTR("out of memory"), FromHere},
        {[] { throw std::runtime_error("went \xE4 wrong"); }, E_FAIL, OLESTR("went \u00E4 wrong"), FromHere},
        {[] { throw 5; }, E_UNEXPECTED, OLESTR("unknown error"), FromHere},
    };
    for (const Thrown& kind : Kinds) {
        SCOPED_TRACE(LXNarrow(kind.description));
        const auto raise = [&] {
            kind.raise();
            return S_OK;
        };
        SetErrorInfo(0, nullptr);
        EXPECT_EQ(kind.code, XLXError::Guarded(Here, raise));
        const auto text = LXErrorInformation::Take();
        EXPECT_TRUE(text.present);
        EXPECT_EQ(kind.description, text.description);
        EXPECT_EQ(kind.source, text.source);
    }
}

TEST(Guarded, LeavesErrorInformationAloneWithoutAnException) {
    for (const HRESULT result : {S_OK, S_FALSE, E_INVALIDARG}) {
        EXPECT_EQ(E_ABORT, XLXError::SetComAppError(E_ABORT, OLESTR("earlier"), Here));
        EXPECT_EQ(result, XLXError::Guarded(Here, [&] {
                      XLXError::RaiseIfFailed(S_FALSE, OLESTR("no failure"), Here);
                      XLXError::CheckPointer(&result, OLESTR("result"), Here);
                      return result;
                  }));
        EXPECT_EQ(OLESTR("earlier"), LXErrorInformation::Take().description);
        EXPECT_FALSE(LXErrorInformation::Take().present);
    }
}

TEST(Logbook, HasAFailureWithTheLocationOfTheCleanUp) {
    const LogCapture log;
    XLXError::LogFailure(OLESTR("cleaning up"), Here, [] {
        XLXError::Raise(E_ABORT, OLESTR("no use"), {"inner", "A", "B", 3});
    });
    XLXError::LogFailure(OLESTR("never seen"), Here, [] {});
    const auto entries = log.Entries();
    ASSERT_EQ(1u, entries.size());
    EXPECT_EQ("CFC_Error", entries[0].categoryName);
    EXPECT_EQ(OLESTR("cleaning up: no use"), entries[0].text);
    EXPECT_EQ(E_ABORT, entries[0].code);
    EXPECT_EQ("source", entries[0].source);
}

void TraceAll() {
    for (const auto category : {LX_LOG_UPDATE, LX_LOG_SERVER, LX_LOG_INVALIDATE}) {
        XLXError::WriteTrace(category, OLESTR("title"), OLESTR("text"), Here);
    }
}

TEST(Logbook, TracesOnlyTheCategoriesOfTheSink) {
    {
        const LogCapture log;
        TraceAll();
        EXPECT_TRUE(log.Entries().empty());
    }
    {
        const LogCapture log(1u << LX_LOG_SERVER);
        EXPECT_TRUE(XLXError::TraceEnabled(LX_LOG_SERVER));
        EXPECT_FALSE(XLXError::TraceEnabled(LX_LOG_INVALIDATE));
        TraceAll();
        XLXError::WriteErrorToLogBook(E_FAIL, 6, OLESTR("not wanted"), Here);
        const auto entries = log.Entries();
        ASSERT_EQ(1u, entries.size());
        EXPECT_EQ(LX_LOG_SERVER, entries[0].category);
        EXPECT_EQ("CFC_Server", entries[0].categoryName);
        EXPECT_EQ(OLESTR("title"), entries[0].title);
        EXPECT_EQ(OLESTR("text"), entries[0].text);
        EXPECT_EQ(S_OK, entries[0].code);
    }
    EXPECT_FALSE(XLXError::TraceEnabled(LX_LOG_SERVER));
}

/// A sink that blocks its caller until it is released.
struct SlowSink {
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released{release.get_future()};

    static void STDMETHODCALLTYPE Receive(const LXLogEntry*, void* context) {
        auto& self = *static_cast<SlowSink*>(context);
        self.entered.set_value();
        self.released.wait();
    }
};

TEST(Logbook, NoThreadIsInsideAReplacedSink) {
    using namespace std::chrono_literals;
    SlowSink slow;
    LXErrorSetLogSink(&SlowSink::Receive, &slow, 1u << LX_LOG_ERROR);
    auto writer = std::async(std::launch::async,
                             [] { XLXError::WriteErrorToLogBook(E_FAIL, 6, OLESTR("to the slow sink"), Here); });
    slow.entered.get_future().wait();
    std::promise<void> replaced;
    auto checked = std::async(std::launch::async, [&] {
        const LogCapture log;
        replaced.set_value();
        XLXError::WriteErrorToLogBook(E_FAIL, 6, OLESTR("to the new sink"), Here);
        return log.Entries();
    });
    auto done = replaced.get_future();
    EXPECT_EQ(std::future_status::timeout, done.wait_for(50ms)) << "a thread is still inside the old sink";
    slow.release.set_value();
    ASSERT_EQ(std::future_status::ready, done.wait_for(30s));
    writer.get();
    const auto entries = checked.get();
    ASSERT_EQ(1u, entries.size());
    EXPECT_EQ(OLESTR("to the new sink"), entries[0].text);
}
} // namespace
