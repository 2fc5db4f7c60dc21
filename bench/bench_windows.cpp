// SPDX-License-Identifier: MIT
//
// bench_windows: GetProperty of a text in the module against the platform's VariantCopy alone; start and Terminate with
// a server in another process. Prints the rows as JSON. It has a loop of its own, since it runs under Wine, where
// nothing but the C++ library is at hand. Component, proxies and sample server must be registered.
#include "XLXComVariant.h"
#include "XLXSafeArray.h"
#include "XSampleServer.h"
#include "XScaleServer.h"
#include "XToolCom.h"
#include "XToolComponent.h"
#include "modulefile.h"

#include <objbase.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>

namespace {
constexpr int Runs = 201;
constexpr int CallsPerRun = 20000;

void ExpectOk(HRESULT result, const char* what) {
    if (result != S_OK) { throw std::runtime_error(what); }
}

XServerModel OneAttribute() {
    XServerModel model;
    model.AddType("Pump").AddAttribute("RatedFlow").properties.Set(XProperty::Label, "Label of T00001A00000");
    return model;
}

/// The nanoseconds of one call, measured over many.
template <class Read> double TimeOf(Read&& read) {
    VARIANT value;
    VariantInit(&value);
    ExpectOk(read(&value), "reading the value");
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < CallsPerRun; ++i) {
        read(&value);
    }
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
    VariantClear(&value);
    return time.count() / CallsPerRun;
}

double Median(std::vector<double>& times) {
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

struct Row {
    const char* work;
    const char* against;
    const char* unit;
    double value;
    double baseline;
    double bar;
    bool isAim;
    int runs;
};

void Print(const std::vector<Row>& rows) {
    std::printf("{\n \"rows\": [");
    const char* between = "\n";
    for (const Row& row : rows) {
        std::printf("%s  {\"work\": \"%s\", \"against\": \"%s\", \"unit\": \"%s\", \"value\": %.9g, "
                    "\"baseline\": %.9g, \"bar\": %.9g, \"aim\": %s, \"runs\": %d}",
                    between, row.work, row.against, row.unit, row.value, row.baseline, row.bar,
                    row.isAim ? "true" : "false", row.runs);
        between = ",\n";
    }
    std::printf("\n ]\n}\n");
}

Row Measure(ILXAttribute& attribute) {
    XLXComVariant plain;
    ExpectOk(attribute.GetProperty(XProperty::Label, plain.Put()), "GetProperty");
    std::vector<double> work;
    std::vector<double> bare;
    for (int run = 0; run < Runs; ++run) {
        work.push_back(TimeOf([&](VARIANT* out) { return attribute.GetProperty(XProperty::Label, out); }));
        bare.push_back(TimeOf([&](VARIANT* out) { return VariantCopy(out, &plain.Get()); }));
    }
    return {"GetProperty of a text in the Windows DLL, under Wine",
            "VariantCopy there",
            "ns",
            Median(work),
            Median(bare),
            1.5,
            false,
            Runs};
}

Row MeasureProperty() {
    const ModuleFile module;
    const auto server = XSampleServer::Create(OneAttribute());
    XLXComPtr<ILXConfigFactoryCache> cache;
    ExpectOk(module.Factory()->CreateInstance(nullptr, LXIid<ILXConfigFactoryCache>(), cache.PutVoid()),
             "CreateInstance");
    XLXComVariant values[4];
    values[0] = XLXComVariant::FromUnknown(server->ConfigFactory().Get());
    values[3] = XLXComVariant::FromBool(true);
    ExpectOk(cache.As<IDPFObject>()->Initialize(4, &values[0].Get()), "Initialize");
    const Row row = [&] {
        XLXComPtr<ILXType> type;
        XLXComPtr<ILXAttribute> attribute;
        const XLXComBSTR typeName{XLXTextView(OLESTR("Pump"))};
        const XLXComBSTR attributeName{XLXTextView(OLESTR("RatedFlow"))};
        ExpectOk(cache.As<ILXConfigFactory>()->GetType(typeName.Get(), nullptr, type.Put()), "GetType");
        ExpectOk(type->GetAttribute(attributeName.Get(), attribute.Put()), "GetAttribute");
        return Measure(*attribute);
    }();
    ExpectOk(cache.As<IDPFObject>()->Terminate(), "Terminate");
    return row;
}

// ---- a server in another process

constexpr int Types = 1000;
constexpr int Starts = 5;
constexpr LONG Everything = 15;

template <class Work> double MillisecondsOf(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

struct ProcessTimes {
    std::vector<double> arrays; ///< those of all types and relations, asked for without a cache
    std::vector<double> start;
    std::vector<double> terminate;
};

/// One start and end of a cache, and the same array without one.
void MeasureOnce(const XToolComponent& component, XScaleServer& server, ProcessTimes& times) {
    times.arrays.push_back(MillisecondsOf([&] {
        XLXSafeArray types;
        ExpectOk(server.ConfigFactory().As<ILXConfigFactoryEx>()->GetTypeArrayEx(Everything, types.Put()),
                 "GetTypeArrayEx");
        XLXSafeArray relations;
        ExpectOk(server.ConfigFactory()->GetPCArray(relations.Put()), "GetPCArray");
    }));
    const auto cache = component.Activate();
    XLXComVariant values[6];
    values[0] = XLXComVariant::FromUnknown(server.ConfigFactory().Get());
    values[1] = XLXComVariant::FromUnknown(server.Query().Get());
    values[2] = XLXComVariant::FromUnknown(server.DataUpdate().Get());
    values[3] = XLXComVariant::FromBool(false);
    values[4] = XLXComVariant::FromBool(false);
    values[5] = XLXComVariant::FromI4(Everything);
    times.start.push_back(MillisecondsOf([&] {
        ExpectOk(cache.As<IDPFObject>()->Initialize(6, &values[0].Get()), "Initialize");
        const auto factory = cache.As<ILXConfigFactory>();
        const XLXComBSTR name = LXBstr(LXScaleTypeName(0));
        XLXComPtr<ILXType> type;
        ExpectOk(factory->GetType(name.Get(), nullptr, type.Put()), "GetType");
        XLXComPtr<ILXParentChildEnum> relations;
        ExpectOk(factory->GetParentChildEnum(name.Get(), nullptr, relations.Put()), "GetParentChildEnum");
    }));
    times.terminate.push_back(MillisecondsOf([&] { ExpectOk(cache.As<IDPFObject>()->Terminate(), "Terminate"); }));
}

ProcessTimes MeasureProcesses(const XToolComponent& component) {
    const auto server = LXScaleServer(Types, true, false);
    ProcessTimes times;
    MeasureOnce(component, *server, times); // the server builds its array, the proxies are loaded
    times = {};
    for (int run = 0; run < Starts; ++run) {
        MeasureOnce(component, *server, times);
    }
    return times;
}

void AddProcessRows(std::vector<Row>& rows) {
    const XToolComponent component;
    ProcessTimes times = MeasureProcesses(component);
    const double start = Median(times.start);
    rows.push_back({"start across processes, 1,000 types, under Wine",
                    "its two arrays, which have no objects, without a cache", "ms", start, Median(times.arrays), 1.3,
                    false, Starts});
    rows.push_back({"Terminate across processes, 1,000 types, under Wine", "start", "ms", Median(times.terminate),
                    start, 0.5, false, Starts});
}
} // namespace

int main() {
    ExpectOk(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx");
    int exit = 0;
    try {
        std::vector<Row> rows{MeasureProperty()};
        AddProcessRows(rows);
        Print(rows);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_windows: %s\n", error.what());
        exit = 1;
    }
    CoUninitialize();
    return exit;
}
