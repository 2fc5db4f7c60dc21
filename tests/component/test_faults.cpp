// SPDX-License-Identifier: MIT
//
// Repeats a client's complete session. Each run makes one call to the server fail, a later one each time, until a run
// completes without a fault. Each run must give correct answers or failures, leak nothing, and allow a clean second
// session.
#include "clientlife.h"

#include <algorithm>
#include <regex>

namespace {
/// The changes that a failed call may cause in a step which then succeeds. The reliability document gives the reasons.
struct XPrescribed {
    const char* call;
    const char* step; ///< a regular expression
    std::string_view answer;
};
constexpr XPrescribed Prescribed[] = {
    // Cached until the next notification: relations, PC infos of a relation, part of the format specs, plan types.
    {"ILXConfigFactory::GetPCArray", "P(C|PR|arentChild)", "*"},
    {"ILXParentChild::GetPCInfoEnum", "PCInfo|GetPCEnum", ""},
    {"ILXPCInfoEnum::RemNext", "PCInfo|GetPCEnum", ""},
    {"ILXPCInfo::GetProperties", "PCInfo|GetPCEnum", ""},
    {"ILXGlobalAttributeFormatSpecEnum::RemNext", "GetAllGlobal", ""},
    {"ILXGlobalAttributeFormatSpecEnum::RemNext", "after removal", "Length NewSpec1 "}, // read again
    {"ILX_Query::", "plan types|IsPlantype", "*"},
    {"IEnumBaseDataObject::RemNext", "plan types", "*"},
    {"ILX_BaseDataObject::GetChildren", "plan types|IsPlantype", "*"},
    {"ILX_BaseDataObject::GetAttribute", "plan types|IsPlantype", "*"},
    // The failed call changed nothing on the server.
    {"ILXAttribute::CreateFormat", "DeleteFormat", ""},
    {"ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID", "after removal", "Area Length "},
    {"ILXConfigFactory::GetAllGlobalAttributeFormatSpecs", "after removal", "Length NewSpec1 "}, // first read
    // The server reports that there is nothing: no values, no types, no format, an object without a type.
    {"::GetProperties", "Format|GetBrowserIdEnum", "*"},
    {"ILXConfigFactoryEx::GetTypeArrayEx", "Initialize", ""},
    {"ILXConfigFactoryEx::GetTypeArrayEx", "then GetTypeEnum", "Document Equipment Item Pump "},
    {"::GetFormat", "GetFormat", ""},
    {"ILX_BaseDataObject::GetTypeName", "GetCachedType|PC|PPR|IsPlantype", ""},
};

bool IsPrescribed(const std::string& call, const std::string& name, const XLifeStep& step) {
    return std::any_of(std::begin(Prescribed), std::end(Prescribed), [&](const XPrescribed& row) {
        return call.find(row.call) != std::string::npos && std::regex_search(name, std::regex(row.step)) &&
               (row.answer == "*" || row.answer == step.answer);
    });
}

} // namespace

class Faults : public testing::TestWithParam<HRESULT> {
protected:
    /// @param failing  the number of the call to fail; 0: none
    /// @param failed   set to the name of that call; empty when there were fewer calls
    static XLifeSteps RunSession(unsigned long long failing, std::string& failed) {
        const auto server = XSampleServer::Create(LXLifeModel());
        if (failing != 0) { server->Calls().FailCall("", GetParam(), failing); }
        unsigned long long count = 0;
        server->Calls().SetHook([&](const XServerCall& call) {
            if (call.point == XCallPoint::Arrival && ++count == failing) { failed = call.name; }
        });
        const XLifeSteps steps = XClientLife(*server).Run();
        server->Calls().SetHook({});
        EXPECT_EQ(server->LiveObjects().objects, 0) << failed;
        return steps;
    }
};

TEST_P(Faults, EachCallFailsInTurn) {
    std::string none;
    const XLifeSteps undisturbed = RunSession(0, none);
    unsigned long long points = 0;
    for (std::string failed = "-"; !failed.empty(); ++points) {
        failed.clear();
        const XLifeSteps steps = RunSession(points + 1, failed);
        SCOPED_TRACE("failed: " + failed);
        LXExpectSteps(steps, undisturbed, [&](const std::string& name, const XLifeStep& step) {
            const bool isNothing = GetParam() == S_FALSE && step.result == S_FALSE;
            return FAILED(step.result) || isNothing || IsPrescribed(failed, name, step);
        });
        LXExpectSteps(RunSession(0, none), undisturbed, [](auto&&...) { return false; });
    }
    EXPECT_GT(points, 50u);
    RecordProperty("points", static_cast<int>(points - 1));
}

INSTANTIATE_TEST_SUITE_P(Result, Faults, testing::Values(E_FAIL, S_FALSE, S_OK), [](const auto& test) {
    return std::string(test.param == E_FAIL ? "Failure" : test.param == S_FALSE ? "Nothing" : "SuccessWithoutResult");
});
