// SPDX-License-Identifier: MIT
//
// bench_windows: measures GetProperty of a text in the module against the platform's VariantCopy alone, and prints the
// row as JSON. It has its own measuring loop, because only the C++ library is available under Wine.
#include "XLXComVariant.h"
#include "XSampleServer.h"
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

void Measure(ILXAttribute& attribute) {
    XLXComVariant plain;
    ExpectOk(attribute.GetProperty(XProperty::Label, plain.Put()), "GetProperty");
    std::vector<double> work;
    std::vector<double> bare;
    for (int run = 0; run < Runs; ++run) {
        work.push_back(TimeOf([&](VARIANT* out) { return attribute.GetProperty(XProperty::Label, out); }));
        bare.push_back(TimeOf([&](VARIANT* out) { return VariantCopy(out, &plain.Get()); }));
    }
    std::printf("{\n \"rows\": [\n  {\"work\": \"GetProperty of a text in the Windows DLL, under Wine\", "
                "\"against\": \"VariantCopy there\", \"unit\": \"ns\", \"value\": %.9g, \"baseline\": %.9g, "
                "\"bar\": 1.5, \"aim\": false, \"runs\": %d}\n ]\n}\n",
                Median(work), Median(bare), Runs);
}

void Run() {
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
        Measure(*attribute.Get());
    }
    ExpectOk(cache.As<IDPFObject>()->Terminate(), "Terminate");
}
} // namespace

int main() {
    ExpectOk(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx");
    int exit = 0;
    try {
        Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_windows: %s\n", error.what());
        exit = 1;
    }
    CoUninitialize();
    return exit;
}
