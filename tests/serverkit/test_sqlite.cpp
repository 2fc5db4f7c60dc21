// SPDX-License-Identifier: MIT
//
// The SQLite server: edits of the database by other programs reach the caches of all clients of all its servers.
#include "kitfixture.h"

#include "SqliteServer.h"

#include <filesystem>

namespace {
using Ids = std::vector<std::string>;
constexpr const OLECHAR* Pump = OLESTR("Pump");
constexpr const OLECHAR* Flow = OLESTR("RatedFlow");
const std::set<std::string> SomeTypes{"'Site'", "'Pump'", "'PumpCentrifugal'", "'Vessel'"};

/// A new database for each test, and a connection to it that is not a server's.
class Sqlite : public testing::Test {
protected:
    Sqlite() {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        m_path = testing::TempDir() + "serverkit-" + test->name() + ".db";
        Remove();
        std::filesystem::copy_file(LX_PLANT_DATABASE, m_path);
        m_others.emplace(m_path);
    }
    ~Sqlite() override {
        m_others.reset();
        Remove();
    }
    void Edit(const std::string& sql) { m_others->Run(sql); }
    const std::string& Path() const { return m_path; }

private:
    void Remove() const {
        for (const char* const suffix : {"", "-wal", "-shm"}) {
            std::filesystem::remove(m_path + suffix);
        }
    }

    std::string m_path;
    std::optional<Database> m_others;
};

/// A server over the database with two clients: a cache, and one that records notifications.
struct Side {
    explicit Side(const std::string& path)
        : server(OpenSqliteServer(path)),
          cache(server),
          listener(lx::Make<Listener>()),
          client(Register(*lx::Connect(server), *listener)) {}
    ~Side() { server->Clients().Unregister(client); }
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;

    std::string Unit() const { return ValueOf(*AttributeOf(cache.Factory(), Pump, Flow), 4); }

    lx::ServerPtr server;
    KitCache cache;
    lx::Ref<Listener> listener;
    LONG client;
};
} // namespace

TEST_F(Sqlite, TheCacheShowsTheDatabase) {
    const lx::ServerPtr server = OpenSqliteServer(Path());
    const KitCache cache(server);
    const std::string all = Dump(*lx::Connect(server), SomeTypes);
    EXPECT_NE(all.find("4='m?/h'"), std::string::npos);
    EXPECT_EQ(Difference(Dump(cache.Factory(), SomeTypes), all), "");
}

TEST_F(Sqlite, EditsReachTheClientsOfAllServers) {
    const Side first(Path());
    const Side second(Path());
    ASSERT_EQ(first.Unit(), "'m?/h'");
    Edit("UPDATE attribute SET unit = 'l/s' WHERE type = 'Pump' AND name = 'RatedFlow'");
    for (const Side* const side : {&first, &second}) {
        EXPECT_TRUE(WaitFor([&] { return side->Unit() == "'l/s'"; }));
        EXPECT_TRUE(WaitFor([&] { return side->listener->DataIds() == Ids{"properties/Pump/4/512"}; }));
    }
    // Each kind of change has its own bits. An edit without effect is not notified, and many changes are combined.
    Edit("UPDATE attribute SET unit = 'l/s' WHERE type = 'Pump' AND name = 'RatedFlow'");
    Edit("BEGIN; INSERT INTO attribute (type, name, unit) VALUES ('Pump', 'A/B', 'm');"
         "UPDATE attribute SET description = 'text'; UPDATE type SET searchable = 0 WHERE name = 'Pump';"
         "UPDATE type SET listed = 0 WHERE name = 'Pump'; DELETE FROM editor WHERE type = 'Pump';"
         "UPDATE attribute_format SET width = width + 1; UPDATE relation SET label = 'x';"
         "UPDATE page SET label = 'x'; UPDATE global_spec_format SET width = 7; DELETE FROM browser_id; COMMIT");
    const std::set<std::string> expected{"objects/512",     "properties/512", "objects/2",     "objects/128",
                                         "properties/2048", "pc/4",           "properties/32", "properties/256",
                                         "objects/8",       "properties/512"};
    for (const Side* const side : {&first, &second}) {
        EXPECT_TRUE(WaitFor([&] { return AttributeOf(side->cache.Factory(), Pump, OLESTR("A/B")).Get() != nullptr; }));
        EXPECT_TRUE(WaitFor([&] { return side->listener->All().size() >= expected.size() + 1; }));
        std::set<std::string> told;
        for (const std::string& id : side->listener->DataIds()) {
            told.insert(id.substr(0, id.find('/')) + id.substr(id.rfind('/')));
        }
        EXPECT_EQ(told, expected);
        EXPECT_EQ(Difference(Dump(side->cache.Factory(), SomeTypes), Dump(*lx::Connect(side->server), SomeTypes)), "");
    }
}

TEST_F(Sqlite, AServersOwnEditsAreInTheDatabase) {
    const Side first(Path());
    const Side second(Path());
    VARIANT unit = {};
    V_VT(&unit) = VT_BSTR;
    V_BSTR(&unit) = SysAllocString(OLESTR("gal/min"));
    const auto flow = AttributeOf(*lx::Connect(first.server), Pump, Flow);
    EXPECT_EQ(flow->SetProperty(4, unit), S_OK);
    EXPECT_EQ(first.Unit(), "'gal/min'") << "at once";
    EXPECT_TRUE(WaitFor([&] { return second.Unit() == "'gal/min'"; }));
    EXPECT_TRUE(WaitFor([&] { return second.listener->DataIds() == Ids{"properties/Pump/4/512"}; }));
    EXPECT_EQ(flow->SetProperty(0, unit), E_INVALIDARG);
    Edit("DELETE FROM attribute WHERE type = 'Pump' AND name = 'RatedFlow'");
    EXPECT_EQ(flow->SetProperty(4, unit), E_INVALIDARG) << "it was removed";
    VariantClear(&unit);
}

TEST_F(Sqlite, WhatWasEditedWhileNoServerRanIsThere) {
    { EXPECT_EQ(Side(Path()).Unit(), "'m?/h'"); }
    Edit("UPDATE attribute SET unit = 'l/s' WHERE name = 'RatedFlow'");
    const Side side(Path());
    EXPECT_EQ(side.Unit(), "'l/s'");
    Edit("DELETE FROM change; UPDATE attribute SET unit = 'l/min' WHERE name = 'RatedFlow'; DELETE FROM change");
    Edit("INSERT INTO change (tbl, key1) VALUES ('type', 'Pump')");
    EXPECT_TRUE(WaitFor([&] { return side.Unit() == "'l/min'"; })) << "rows that were never read are missing";
    EXPECT_TRUE(WaitFor([&] { return side.listener->DataIds() == Ids{"objects//0/1"}; }));
}
