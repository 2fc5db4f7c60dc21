// SPDX-License-Identifier: MIT
//
// Reading one value of one object.
#include "baselines.h"
#include "benches.h"

#include <pthread.h>

namespace {
constexpr const char* TypeName = "Wide2";
constexpr const char* AttributeName = "WideAttribute00200";
constexpr const char* OtherAttributeName = "WideAttribute00150";

/// Binds the calling thread to its own processor while a benchmark with several threads runs.
class XPinned {
public:
    explicit XPinned(const benchmark::State& state) {
        pthread_getaffinity_np(pthread_self(), sizeof m_before, &m_before);
        if (state.threads() > 1) {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(static_cast<unsigned>(state.thread_index()), &one);
            pthread_setaffinity_np(pthread_self(), sizeof one, &one);
        }
    }
    XPinned(const XPinned&) = delete;
    XPinned& operator=(const XPinned&) = delete;
    ~XPinned() { pthread_setaffinity_np(pthread_self(), sizeof m_before, &m_before); }

private:
    cpu_set_t m_before;
};

/// Calls read(out) repeatedly; out holds the previous value, like a client's variable.
template <class Read> XBenchRows::Body Loop(Read read) {
    return [read](benchmark::State& state) {
        const XPinned pinned(state);
        VARIANT value;
        VariantInit(&value);
        if (read(&value) != S_OK || V_VT(&value) == VT_EMPTY) { state.SkipWithError("the value cannot be read"); }
        for (auto step : state) {
            benchmark::DoNotOptimize(read(&value));
        }
        VariantClear(&value);
    };
}

/// The same, with a separate object for each thread.
template <class Objects> XBenchRows::Body EachOwn(const Objects& objects, int member) {
    return [&objects, member](benchmark::State& state) {
        const auto& object = objects[static_cast<std::size_t>(state.thread_index())];
        Loop([&object, member](VARIANT* out) { return object->GetProperty(member, out); })(state);
    };
}

void BenchMember(XBenchRows& rows, const XBenchWorld& world, int member, const std::string& title, bool isText) {
    const auto cached = world.Attribute(TypeName, AttributeName);
    const XLXComPtr<ILXAttribute> ofTwo[] = {cached, world.Attribute(TypeName, OtherAttributeName)};
    XLXComPtr<ILXType> serverType;
    XLXComPtr<ILXAttribute> direct;
    const XLXComBSTR typeName(XText(TypeName).Get());
    const XLXComBSTR attributeName(XText(AttributeName).Get());
    LXExpectOk(world.Server().ConfigFactory()->GetType(typeName.Get(), nullptr, serverType.Put()), "GetType");
    LXExpectOk(serverType->GetAttribute(attributeName.Get(), direct.Put()), "GetAttribute");

    XPlainValue plain;
    XSharedValues shared;
    XMutexValues locked;
    for (int i = 0; i < 60; ++i) {
        XLXComVariant value;
        direct->GetProperty(i, value.Put());
        if (i == member) { plain.value = value.Copy(); }
        shared.Add(i, value.Copy());
        locked.Add(i, value.Copy());
    }
    const auto work = Loop([&](VARIANT* out) { return cached->GetProperty(member, out); });
    const auto a = Loop([&](VARIANT* out) { return plain.GetProperty(out); });
    const auto b = Loop([&](VARIANT* out) { return shared.GetProperty(member, out); });
    const auto c = Loop([&](VARIANT* out) { return locked.GetProperty(member, out); });
    const auto d = Loop([&](VARIANT* out) { return direct->GetProperty(member, out); });
    if (!isText) {
        rows.Time(title, work, {{"(b) shared_mutex and map", b, 1.0}, {"(d) the server", d, 1.0, true}});
        return;
    }
    rows.Time(title, work,
              {{"(a) bare copy", a, 1.5},
               {"(b) shared_mutex and map", b, 1.0},
               {"(c) mutex and map", c, 1.0, true},
               {"(d) the server", d, 1.0, true}});
    XBenchRows::How two;
    two.threads = 2;
    two.clock = XBenchRows::Clock::Wall;
    two.seconds = 0.06;
    two.runs = 25;
    rows.Time(title + ", 2 threads on one object", work,
              {{"(b) shared_mutex and map", b, 0.8},
               {"(c) mutex and map", c, 1.0 / 1.2},
               {"2 threads on two objects", EachOwn(ofTwo, member), 1.15}},
              two);
}

constexpr const char* WriteTitle = "SetProperty of a text that GetProperty reads";

void BenchWrite(XBenchRows& rows, const XBenchWorld& world) {
    const auto cached = world.Attribute(TypeName, AttributeName);
    const auto write = [&](benchmark::State& state) {
        XLXComVariant value;
        LXExpectOk(cached->GetProperty(XProperty::Label, value.Put()), "GetProperty");
        for (auto step : state) {
            benchmark::DoNotOptimize(cached->SetProperty(XProperty::Label, value.Get()));
        }
    };
    rows.Time(
        WriteTitle, write,
        {{"GetProperty of it", Loop([&](VARIANT* out) { return cached->GetProperty(XProperty::Label, out); }), 5.0}});
}
} // namespace

void LXBenchProperties(XBenchRows& rows, const XWorldSource& world) {
    if (rows.Wants("GetProperty of a text") || rows.Wants("GetProperty of a text, 2 threads on one object")) {
        BenchMember(rows, world(), XProperty::Label, "GetProperty of a text", true);
    }
    if (rows.Wants("GetProperty of an integer")) {
        BenchMember(rows, world(), XProperty::DataType, "GetProperty of an integer", false);
    }
    if (rows.Wants(WriteTitle)) { BenchWrite(rows, world()); }
}
