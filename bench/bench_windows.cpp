// SPDX-License-Identifier: MIT
//
// bench_windows OUTPUT.json: GetProperty of a text in the module against the platform's VariantCopy alone; start and
// Terminate with a server in another process. It measures with its own loop, because the benchmark library is not
// available under Wine. Component, proxies and sample server must be registered.
#include "XBenchTable.h"
#include "XLXComVariant.h"
#include "XLXSafeArray.h"
#include "XSampleServer.h"
#include "XScaleServer.h"
#include "XToolCom.h"
#include "XToolComponent.h"
#include "modulefile.h"

#include <objbase.h>

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

/// The seconds of one call, measured over many.
template <class Read> double TimeOf(Read&& read) {
    VARIANT value;
    VariantInit(&value);
    ExpectOk(read(&value), "reading the value");
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < CallsPerRun; ++i) {
        read(&value);
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    VariantClear(&value);
    return time.count() / CallsPerRun;
}

void Measure(XBenchTable& table, ILXAttribute& attribute) {
    XLXComVariant plain;
    ExpectOk(attribute.GetProperty(XProperty::Label, plain.Put()), "GetProperty");
    std::vector<double> work;
    std::vector<double> bare;
    for (int run = 0; run < Runs; ++run) {
        work.push_back(TimeOf([&](VARIANT* out) { return attribute.GetProperty(XProperty::Label, out); }));
        bare.push_back(TimeOf([&](VARIANT* out) { return VariantCopy(out, &plain.Get()); }));
    }
    table.Taken("GetProperty of a text in the Windows DLL, under Wine", std::move(work), "VariantCopy there",
                std::move(bare), 1.5);
}

void MeasureProperty(XBenchTable& table) {
    const ModuleFile module;
    const auto server = XSampleServer::Create(OneAttribute());
    XLXComPtr<ILXConfigFactoryCache> cache;
    ExpectOk(module.Factory()->CreateInstance(nullptr, LXIid<ILXConfigFactoryCache>(), cache.PutVoid()),
             "CreateInstance");
    XLXComVariant values[4];
    values[0] = XLXComVariant::FromUnknown(server->ConfigFactory().Get());
    values[3] = XLXComVariant::FromBool(true);
    ExpectOk(cache.As<IDPFObject>()->Initialize(4, &values[0].Get()), "Initialize");
    {
        XLXComPtr<ILXType> type;
        XLXComPtr<ILXAttribute> attribute;
        const XLXComBSTR typeName{XLXTextView(OLESTR("Pump"))};
        const XLXComBSTR attributeName{XLXTextView(OLESTR("RatedFlow"))};
        ExpectOk(cache.As<ILXConfigFactory>()->GetType(typeName.Get(), nullptr, type.Put()), "GetType");
        ExpectOk(type->GetAttribute(attributeName.Get(), attribute.Put()), "GetAttribute");
        Measure(table, *attribute);
    }
    ExpectOk(cache.As<IDPFObject>()->Terminate(), "Terminate");
}

// ---- a server in another process

constexpr int Types = 1000;
constexpr int Starts = 5;

template <class Work> double SecondsOf(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct ProcessTimes {
    std::vector<double> arrays; ///< those of all types and relations, requested without a cache
    std::vector<double> start;
    std::vector<double> terminate;
};

/// One start and end of a cache, and the same array without one.
void MeasureOnce(const XToolComponent& component, XScaleServer& server, ProcessTimes& times) {
    times.arrays.push_back(SecondsOf([&] {
        XLXSafeArray types;
        ExpectOk(server.ConfigFactory().As<ILXConfigFactoryEx>()->GetTypeArrayEx(LXScaleMode, types.Put()),
                 "GetTypeArrayEx");
        XLXSafeArray relations;
        ExpectOk(server.ConfigFactory()->GetPCArray(relations.Put()), "GetPCArray");
    }));
    const auto cache = component.Activate();
    times.start.push_back(SecondsOf([&] {
        LXStartCache(server, *cache);
        const auto factory = cache.As<ILXConfigFactory>();
        const XLXComBSTR name = LXBstr(LXScaleTypeName(0));
        XLXComPtr<ILXType> type;
        ExpectOk(factory->GetType(name.Get(), nullptr, type.Put()), "GetType");
        XLXComPtr<ILXParentChildEnum> relations;
        ExpectOk(factory->GetParentChildEnum(name.Get(), nullptr, relations.Put()), "GetParentChildEnum");
    }));
    times.terminate.push_back(SecondsOf([&] { ExpectOk(cache.As<IDPFObject>()->Terminate(), "Terminate"); }));
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

void MeasureStart(XBenchTable& table) {
    const XToolComponent component;
    const ProcessTimes times = MeasureProcesses(component);
    table.Taken("start across processes, 1,000 types, under Wine", times.start,
                "its two arrays, which have no objects, without a cache", times.arrays, 1.3);
    table.Taken("Terminate across processes, 1,000 types, under Wine", times.terminate, "start", times.start, 0.5);
}
} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: bench_windows OUTPUT.json\n", stderr);
        return 2;
    }
    ExpectOk(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx");
    int exit = 0;
    try {
        XBenchTable table;
        MeasureProperty(table);
        MeasureStart(table);
        table.Write(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_windows: %s\n", error.what());
        exit = 1;
    }
    CoUninitialize();
    return exit;
}
