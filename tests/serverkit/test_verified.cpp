// SPDX-License-Identifier: MIT
//
// Servers on the kit keep the contract, as verified by lxcfc verify-server.
#include "XServerVerifier.h"
#include "kitfixture.h"
#include "minimal_server.h"
#ifdef LX_PLANT_DATABASE
#include "SqliteServer.h"

#include <filesystem>
#endif

namespace {
/// The broken rules with their first findings, and the rules that were not tested.
std::string Judged(ILXConfigFactory* factory, ILXDataUpdate* update, std::function<void(int number)> edit) {
    XServerToVerify server;
    server.factory = factory;
    server.update = update;
    server.query = server.factory.As<ILX_Query>();
    server.edit = [edit = std::move(edit), edits = 0]() mutable { edit(++edits); };
    std::string judged;
    for (const XVerdict& verdict : LXVerifyServer(server, {60s, 20s, 300ms, 50, 4, 200000}).verdicts) {
        if (verdict.IsBroken()) {
            judged += std::string(verdict.rule->id) + ": " + verdict.findings.front().call + " gave " +
                      verdict.findings.front().came + "\n";
        } else if (!verdict.IsKept()) {
            judged += std::string(verdict.rule->id) + " not tested\n";
        }
    }
    return judged;
}

void SetUnit(ILXConfigFactory& factory, int number) {
    VARIANT unit = {};
    V_VT(&unit) = VT_BSTR;
    V_BSTR(&unit) = SysAllocString(number % 2 == 0 ? OLESTR("l/s") : OLESTR("m3/h"));
    EXPECT_EQ(AttributeOf(factory, OLESTR("Pump"), OLESTR("RatedFlow"))->SetProperty(lx::Unit, unit), S_OK);
    VariantClear(&unit);
}

// In the client's process arrays contain all objects. The kit's enumerators do not implement Clone.
constexpr const char* NotTested = "null-objects not tested\nenum-clone not tested\n";
} // namespace

TEST(Verified, MinimalServer) {
    ILXConfigFactory* factory = nullptr;
    ILXDataUpdate* update = nullptr;
    ASSERT_EQ(CreateMinimalServer(&factory, &update), S_OK);
    EXPECT_EQ(Judged(factory, update, [factory](int number) { SetUnit(*factory, number + 1); }), NotTested);
    update->Release();
    factory->Release();
}

#ifdef LX_PLANT_DATABASE
TEST(Verified, SqliteServer) {
    const std::string path = testing::TempDir() + "serverkit-verified.db";
    std::filesystem::copy_file(LX_PLANT_DATABASE, path, std::filesystem::copy_options::overwrite_existing);
    {
        const auto server = OpenSqliteServer(path);
        const auto connection = lx::Connect(server);
        Database other(path);
        EXPECT_EQ(Judged(lx::Ref<ILXConfigFactory>(connection).Get(), lx::Ref<ILXDataUpdate>(connection).Get(),
                         [&](int number) {
                             other.Run("UPDATE attribute SET unit = 'edit " + std::to_string(number) +
                                       "' WHERE type = 'Pump' AND name = 'RatedFlow'");
                         }),
                  NotTested);
    }
    for (const char* const suffix : {"", "-wal", "-shm"}) {
        std::filesystem::remove(path + suffix);
    }
}
#endif
