// SPDX-License-Identifier: MIT
//
// Enumerations of attributes.
#include "benches.h"

namespace {
constexpr LONG ShownInEditor = 1;

/// Requests an enumeration and releases it.
template <class Make> XBenchRows::Body Loop(Make make) {
    return [make](benchmark::State& state) {
        HRESULT result = S_OK;
        for (auto step : state) {
            ILXAttributeEnum* made = nullptr;
            result = make(&made);
            if (made != nullptr) { made->Release(); }
        }
        if (result != S_OK) { state.SkipWithError("the enumeration cannot be made"); }
    };
}

std::vector<XLXComPtr<ILXAttribute>> All(ILXAttributeEnum& attributes) {
    std::vector<XLXComPtr<ILXAttribute>> all;
    XLXComPtr<ILXAttribute> attribute;
    while (attributes.GetSingleNext(attribute.Put()) == S_OK) {
        all.push_back(attribute);
    }
    return all;
}
} // namespace

void LXBenchLists(XBenchRows& rows, const XWorldSource& world) {
    constexpr const char* title = "GetAttributeEnum of 500 attributes";
    constexpr const char* displayTitle = "GetDisplayAttributeEnum of 500, facts known";
    if (!rows.Wants(title) && !rows.Wants(displayTitle)) { return; }
    const auto type = world().Type("Wide5");
    XLXComPtr<ILXAttributeEnum> attributes;
    LXExpectOk(type->GetAttributeEnum(attributes.Put()), "GetAttributeEnum");
    const auto pointers = All(*attributes.Get());
    LXExpectOk(type->GetDisplayAttributeEnum(ShownInEditor, attributes.Put()), "GetDisplayAttributeEnum");
    LXExpectOk(pointers.size() == LXWideAttributes && All(*attributes.Get()) == pointers ? S_OK : E_FAIL,
               "the number of attributes");

    const auto enumerate = Loop([&](ILXAttributeEnum** out) { return type->GetAttributeEnum(out); });
    const auto copy = [&](benchmark::State& state) {
        for (auto step : state) {
            std::vector<XLXComPtr<ILXAttribute>> copied(pointers);
            benchmark::DoNotOptimize(copied.data());
        }
    };
    rows.Time(title, enumerate, {{"copying 500 counted pointers", copy, 2.0}});
    rows.Time(displayTitle,
              Loop([&](ILXAttributeEnum** out) { return type->GetDisplayAttributeEnum(ShownInEditor, out); }),
              {{"GetAttributeEnum of the same", enumerate, 2.0}});
}
