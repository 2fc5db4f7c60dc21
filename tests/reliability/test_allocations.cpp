// SPDX-License-Identifier: MIT
//
// Repeats a client's complete session. In each run one allocation of the component fails, a later one each time, until
// a run completes without a failure. Each run must give correct answers or "out of memory", leak nothing, and allow a
// clean second session.
#include "allocations.h"
#include "clientlife.h"

#ifndef _WIN32
#include "lxallocationgate.h"
#endif

namespace {
/// A session in which the n-th allocation of the component fails; 0: none.
XLifeSteps RunSession(std::size_t failing, std::size_t& count) {
    const auto server = XSampleServer::Create(LXLifeModel());
    XLifeSteps steps;
    {
        XClientLife life(*server, &XAllocationWatch::Heed);
        const XAllocationWatch watch(failing);
        XAllocationWatch::Heed(false); // allocations of the test and the server do not count
        steps = life.Run();
        count = watch.Count();
    }
    EXPECT_EQ(server->LiveObjects().objects, 0) << failing;
    return steps;
}

/// The changes that a failed allocation may cause in a step that then succeeds: the format specs that were read before
/// the failure count as the whole set until the next notification, and a failed enumeration or removal affects the next
/// enumeration.
bool IsPrescribed(const std::string& name, const XLifeStep& step) {
    return name == "GetAllGlobalAttributeFormatSpecs(after removal)" &&
           (step.result == S_FALSE || step.answer == "Area Length " || step.answer == "Length NewSpec1 ");
}
} // namespace

TEST(Allocations, EachFailsInTurn) {
    XAllocationWatch::ExceptWhile(&XInsideServer::Here);
#ifndef _WIN32
    LXSetAllocationGate([] { return XAllocationWatch::Allow(); });
#endif
    std::size_t all = 0;
    RunSession(0, all); // for allocations that happen once per process
    const XLifeSteps undisturbed = RunSession(0, all);
    ASSERT_GT(all, 300u);
    for (std::size_t n = 1; n <= all; ++n) {
        std::size_t count = 0;
        SCOPED_TRACE("allocation " + std::to_string(n));
        LXExpectSteps(RunSession(n, count), undisturbed, [](const std::string& name, const XLifeStep& step) {
            return step.result == E_OUTOFMEMORY || IsPrescribed(name, step);
        });
        RunSession(0, count);
        ASSERT_EQ(count, all);
    }
    RecordProperty("points", static_cast<int>(all));
}
