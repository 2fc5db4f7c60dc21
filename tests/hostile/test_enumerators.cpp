// SPDX-License-Identifier: MIT
//
// Enumerators that never end, report more elements than requested, leave null elements, or return elements with a
// failure. The cache releases everything and uses only non-null elements. One function reads enumerators of all kinds;
// the suites of the other kinds test what a failure means for them (tests/relations, tests/freshness).
#include "hostileserver.h"

namespace {
using Enumerators = HostileTest;

struct Behaviour {
    const char* name;
    HRESULT result;
    ULONG put;                          ///< number of elements to return
    std::function<ULONG(ULONG)> report; ///< the reported number, by the requested one
    HRESULT expected;                   ///< the cache's result for its own enumeration
};

TEST_F(Enumerators, AreReadUntilTheyEnd) {
    const auto asAsked = [](ULONG asked) { return asked; };
    const Behaviour behaviours[] = {
        {"never ends, null elements", S_OK, 0, asAsked, E_FAIL},
        {"never ends, no elements", S_OK, 0, [](ULONG) { return 0; }, E_FAIL},
        {"reports more than requested", S_FALSE, 3, [](ULONG asked) { return asked * 1000; }, S_OK},
        {"some null elements", S_FALSE, 9, asAsked, S_OK},
        {"only null elements", S_FALSE, 0, asAsked, S_FALSE},
        {"fails with elements", E_ABORT, 9, [](ULONG) { return 5; }, E_ABORT},
    };
    const auto element = LXElements(LXGet(m_server->ConfigFactory(), &ILXConfigFactory::GetBrowserIdEnum)).at(0);
    for (const Behaviour& behaviour : behaviours) {
        SCOPED_TRACE(behaviour.name);
        const auto next = [&](ULONG asked, ILXBrowserId** elements, ULONG* fetched) {
            for (ULONG i = 0; i < behaviour.put; i += 2) { // leaves every second element null
                elements[i] = element.Get();
                SUCCEEDED(behaviour.result) ? element->AddRef() : 0; // a failed call leaves nothing to release
            }
            *fetched = behaviour.report(asked);
            return behaviour.result;
        };
        m_factory->browserIds = [next](ILXBrowserIdEnum** out) {
            XLXComPtr<ILXBrowserIdEnum>(new HostileEnum<ILXBrowserIdEnum, ILXBrowserId>(next)).CopyTo(out);
            return S_OK;
        };
        ASSERT_EQ(StartHostile(), S_OK);
        XLXComPtr<ILXBrowserIdEnum> browserIds;
        EXPECT_EQ(Factory()->GetBrowserIdEnum(browserIds.Put()), behaviour.expected);
        EXPECT_EQ(LXErrorInformation::Take().present, FAILED(behaviour.expected));
        const auto elements = LXElements(browserIds);
        EXPECT_EQ(elements.empty(), behaviour.expected != S_OK);
        for (const auto& browserId : elements) {
            EXPECT_EQ(LXRead(browserId.Get(), 0), OLESTR("Tree"));
        }
        Terminate();
    }
}
} // namespace
