// SPDX-License-Identifier: MIT
//
// Loading all types, notifications, and how both grow with the number of types; calls that reach the server.
#include "baselines.h"
#include "benches.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <random>

namespace {
/// The thread's processor time, which other programs affect less.
double Now() {
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// The time of a piece of work, divided by a number of things.
template <class Work> double TimeOf(Work&& work, double things) {
    LXSettleHeap();
    const double start = Now();
    work();
    return (Now() - start) / things;
}

/// A body that measures itself: measure() returns the seconds of one round.
template <class Measure> XBenchRows::Body Measured(Measure measure) {
    return [measure](benchmark::State& state) {
        for (auto step : state) {
            state.SetIterationTime(measure());
        }
    };
}

XBenchRows::How Rounds(std::int64_t iterations, int runs) {
    XBenchRows::How how;
    how.clock = XBenchRows::Clock::Manual;
    how.iterations = iterations;
    how.runs = runs;
    return how;
}

void LoadAll(XBenchWorld& world) {
    world.StartPrepared();
    world.CompleteAllTypes();
}

void BenchLoad(XBenchRows& rows, XBenchWorld& world) {
    world.Factory().Prepare(LXBenchMode, 1);
    const double elements = world.Factory().TypeElements();
    const auto load = [&world, elements] {
        world.Factory().Prepare(LXBenchMode, 1);
        const double time = TimeOf([&] { LoadAll(world); }, elements);
        world.Stop();
        return time;
    };
    const auto copy = [&world, elements] {
        const XLXSafeArray from = world.Factory().CopyOfTypes();
        SAFEARRAYBOUND bound = {world.Factory().TypeElements(), 0};
        const XLXSafeArray to(SafeArrayCreate(VT_VARIANT, 1, &bound));
        return TimeOf([&] { LXCopyElementByElement(from.Get(), to.Get()); }, elements);
    };
    rows.Time("whole type load, per array element (5,000 types)", Measured(load),
              {{"Get and Put of each element", Measured(copy), 0.45}}, Rounds(1, 11));
}

constexpr const char* NotificationTitle = "notification of everything, 20,000 types and their relations loaded";
constexpr const char* FirstNotifyTitle = "the first notify after a whole load of 20,000 types";

// Most of these notifications find everything stale already. BenchGrowth measures the first one after a load.
void BenchNotify(XBenchRows& rows, const XBenchWorld& small, const XBenchWorld& large) {
    const auto notify = [](const XBenchWorld& world) {
        return [&world, id = XLXComBSTR{XLXTextView(OLESTR("objects/T/0/1"))},
                type = XLXComBSTR{XLXTextView(OLESTR("cfc_specific"))}](benchmark::State& state) {
            const auto callback = XLXComPtr<ILXConfigFactoryCache>(&world.Cache()).As<ILXCallbackUpdate>();
            for (auto step : state) {
                LXExpectOk(
                    callback->DataObjectChanged(id.Get(), type.Get(), 256, world.NextNotificationId(), 0, nullptr),
                    "DataObjectChanged");
            }
        };
    };
    rows.Time(NotificationTitle, notify(large), {{"1,000 types", notify(small), 1.2}});
}

/// Load, notification and refill of a world.
struct XCycle {
    double load = 0;   ///< per type
    double notify = 0; ///< in total
    double refill = 0; ///< per type
};

XCycle RunCycle(XBenchWorld& world) {
    world.Factory().Prepare(LXBenchMode, 2);
    XCycle cycle;
    cycle.load = TimeOf([&] { LoadAll(world); }, world.Types());
    cycle.notify = TimeOf([&] { world.NotifyOfEverything(); }, 1);
    cycle.refill = TimeOf([&] { world.CompleteAllTypes(); }, world.Types());
    world.Stop();
    return cycle;
}

void BenchGrowth(XBenchRows& rows, XBenchWorld& small, XBenchWorld& middle, XBenchWorld& large) {
    constexpr int Runs = 10;
    std::vector<XCycle> cycles[3];
    for (int run = 0; run < Runs; ++run) {
        cycles[0].push_back(RunCycle(small));
        cycles[1].push_back(RunCycle(middle));
        cycles[2].push_back(RunCycle(large));
    }
    struct Part {
        const char* title;
        double XCycle::*time;
        bool aim;
    };
    for (const Part& part : {Part{"load, cost per type, 20,000 against 1,000 types", &XCycle::load, false},
                             Part{FirstNotifyTitle, &XCycle::notify, true},
                             Part{"refill, cost per type, 20,000 against 1,000 types", &XCycle::refill, false}}) {
        const auto times = [&](int size) {
            std::vector<double> all;
            std::transform(cycles[size].begin(), cycles[size].end(), std::back_inserter(all),
                           [&part](const XCycle& cycle) { return cycle.*part.time; });
            return all;
        };
        rows.Taken(part.title, times(2), "1,000 types", times(0), 2.0, part.aim);
        rows.Taken(part.title, times(2), "5,000 types", times(1), 2.0, true);
    }
}

constexpr int MixedReads = 10000;

/// The number of calls to configuration objects of the server, without those to data objects and to the services for
/// notifications and queries.
double ConfigurationCalls(const XCallCounts& calls) {
    double sum = 0;
    for (const auto& [name, count] : calls.byName) {
        const bool other = name.starts_with("ILX_BaseDataObject::") || name.starts_with("ILXDataUpdate::") ||
                           name.starts_with("ILX_Query::");
        sum += other ? 0 : static_cast<double>(count);
    }
    return sum;
}

template <class Interface, class Enumerator> void TakeAll(const XLXComPtr<Enumerator>& from) {
    XLXComPtr<Interface> one;
    while (from && from->GetSingleNext(one.Put()) == S_OK) {}
}

/// Makes one read of a kind through a config factory, the cache's or the server's.
void Read(const XServerModel& model, const XModelType& modelType, ILXConfigFactory& factory, int kind) {
    XLXComPtr<ILXType> type;
    const XLXComBSTR name(modelType.Name());
    LXExpectOk(factory.GetType(name.Get(), nullptr, type.Put()), "GetType");
    XLXComVariant value;
    switch (kind) {
    case 0: LXExpectOk(type->GetProperty(XProperty::TypeName, value.Put()), "GetProperty"); break;
    case 1:
        if (!modelType.attributes.empty()) {
            XLXComPtr<ILXAttribute> attribute;
            const XLXComBSTR text(modelType.attributes.front()->Text(XProperty::AttributeName));
            LXExpectOk(type->GetAttribute(text.Get(), attribute.Put()), "GetAttribute");
            LXExpectOk(attribute->GetProperty(XProperty::Label, value.Put()), "GetProperty");
        }
        break;
    case 2: {
        XLXComPtr<ILXGroup> group;
        LXExpectOk(type->GetGroup(modelType.groups.empty() ? 1 : 2, group.Put()) < 0 ? E_FAIL : S_OK, "GetGroup");
        break;
    }
    case 3: {
        XLXComPtr<ILXPage> page;
        LXExpectOk(type->GetPage(1, page.Put()) < 0 ? E_FAIL : S_OK, "GetPage");
        break;
    }
    case 4: {
        XLXComPtr<ILXConfObjEditorEnum> editors;
        type->GetConfObjEditorEnum(editors.Put());
        TakeAll<ILXConfObjEditor>(editors);
        break;
    }
    case 5: {
        XLXComPtr<ILXAttributeEnum> attributes;
        type->GetDisplayAttributeEnum(1, attributes.Put());
        TakeAll<ILXAttribute>(attributes);
        break;
    }
    default: {
        XLXComPtr<ILXParentChildEnum> relations;
        factory.GetParentChildEnum(name.Get(), nullptr, relations.Put());
        TakeAll<ILXParentChild>(relations);
        break;
    }
    }
    (void)model;
}

double CallsOf(XBenchWorld& world, const std::function<XLXComPtr<ILXConfigFactory>()>& start) {
    const XServerModel model = world.Server().Model();
    std::vector<const XModelType*> types;
    for (const auto& [name, type] : model.types) {
        types.push_back(&*type);
    }
    const XCallCounts before = world.Server().Calls().Counts();
    {
        const XLXComPtr<ILXConfigFactory> factory = start();
        std::mt19937 numbers(7);
        for (int i = 0; i < MixedReads; ++i) {
            Read(model, *types[numbers() % types.size()], *factory, i % 7);
        }
    }
    const XCallCounts made = world.Server().Calls().Counts().Since(before);
    std::fprintf(stderr, "  calls: %.100s\n", made.Text().c_str());
    return ConfigurationCalls(made);
}
} // namespace

void LXBenchServerCalls(XBenchRows& rows) {
    constexpr const char* title = "server calls: start-up in mode 15 and 10,000 mixed reads";
    if (!rows.Wants(title)) { return; }
    XBenchWorld world(1000);
    const double cached = CallsOf(world, [&] {
        world.Start();
        return XLXComPtr<ILXConfigFactoryCache>(&world.Cache()).As<ILXConfigFactory>();
    });
    world.Stop();
    const double direct = CallsOf(world, [&] { return world.Server().ConfigFactory(); });
    rows.Figure(title, "calls", cached, "asking the server directly", direct, 0.001);
}

void LXBenchLoads(XBenchRows& rows) {
    const bool load = rows.Wants("whole type load, per array element (5,000 types)");
    const bool growth = rows.Wants("load, cost per type, 20,000 against 1,000 types") || rows.Wants(FirstNotifyTitle) ||
                        rows.Wants("refill, cost per type, 20,000 against 1,000 types");
    if (load) {
        XServerModel model = LXBenchModel(5000);
        model.relations.clear(); // the row is about types
        XBenchWorld world(std::move(model));
        BenchLoad(rows, world);
    }
    if (rows.Wants(NotificationTitle)) {
        XBenchWorld small(1000);
        XBenchWorld large(20000);
        for (XBenchWorld* world : {&small, &large}) {
            world->Start();
            world->CompleteAllTypes();
            world->AskForAllRelations();
        }
        BenchNotify(rows, small, large);
    }
    if (growth) {
        XBenchWorld small(1000);
        XBenchWorld middle(5000);
        XBenchWorld large(20000);
        BenchGrowth(rows, small, middle, large);
    }
}
