// SPDX-License-Identifier: MIT
//
// The SQLite server: edits of the database by other programs reach the caches of all clients of all its servers.
#include "kitfixture.h"

#include "SqliteServer.h"

#include <filesystem>

namespace {
using Ids = std::vector<std::string>;

lxcfc::ConfigFactory Direct(const lx::ServerPtr& server) { return lxcfc::ConfigFactory(FactoryOf(server)); }

/// A new database for each test, and a connection through which other programs edit it.
class Sqlite : public WithComponent {
protected:
    Sqlite() {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        m_path = testing::TempDir() + "serverkit-" + test->name() + ".db";
        Remove();
        std::filesystem::copy_file(LX_PLANT_DATABASE, m_path);
        m_connection.emplace(m_path);
    }
    ~Sqlite() override {
        m_connection.reset();
        Remove();
    }
    void Edit(const std::string& sql) { m_connection->Run(sql); }
    const std::string& Path() const { return m_path; }

private:
    void Remove() const {
        for (const char* const suffix : {"", "-wal", "-shm"}) {
            std::filesystem::remove(m_path + suffix);
        }
    }

    std::string m_path;
    std::optional<Database> m_connection;
};

/// A server over the database with two clients: a cache, and one that records notifications.
struct Side {
    explicit Side(const std::string& path)
        : server(OpenSqliteServer(path)),
          cache(CacheOf(server)),
          listener(lx::Make<Listener>()),
          client(Register(*lx::Connect(server), *listener)) {}
    ~Side() { server->Clients().Unregister(client); }
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;

    std::string Unit() const { return FlowOf(cache).Text<std::string>(lx::Unit); }

    lx::ServerPtr server;
    lxcfc::Cache cache;
    lx::Ref<Listener> listener;
    LONG client;
};

TEST_F(Sqlite, EditsReachTheClientsOfAllServers) {
    const Side first(Path());
    const Side second(Path());
    ASSERT_EQ(first.Unit(), "m\xC2\xB3/h");
    Edit("UPDATE attribute SET unit = 'l/s' WHERE type = 'Pump' AND name = 'RatedFlow'");
    for (const Side* const side : {&first, &second}) {
        EXPECT_TRUE(WaitFor([&] { return side->Unit() == "l/s"; }));
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
        EXPECT_TRUE(WaitFor([&] { return static_cast<bool>(side->cache.Type("Pump").FindAttribute("A/B")); }));
        EXPECT_TRUE(WaitFor([&] { return side->listener->All().size() >= expected.size() + 1; }));
        std::set<std::string> kinds;
        for (const std::string& id : side->listener->DataIds()) {
            kinds.insert(id.substr(0, id.find('/')) + id.substr(id.rfind('/')));
        }
        EXPECT_EQ(kinds, expected);
        const lxcfc::Type pump = side->cache.Type("Pump");
        EXPECT_EQ(pump.Pages()[0].Text(lx::PageLabel), OLESTR("x"));
        EXPECT_TRUE(pump.Editors().empty());
        EXPECT_EQ(pump.Attribute("A/B").Text(lx::Unit), OLESTR("m"));
    }
}

TEST_F(Sqlite, AServersOwnEditsAreWrittenToTheDatabase) {
    const Side first(Path());
    const Side second(Path());
    const lxcfc::Attribute flow = FlowOf(Direct(first.server));
    const lxcfc::Value unit("gal/min");
    flow.Set(lx::Unit, unit);
    EXPECT_EQ(first.Unit(), "gal/min") << "at once";
    EXPECT_TRUE(WaitFor([&] { return second.Unit() == "gal/min"; }));
    EXPECT_TRUE(WaitFor([&] { return second.listener->DataIds() == Ids{"properties/Pump/4/512"}; }));
    EXPECT_EQ(flow.Raw().SetProperty(0, *unit), E_INVALIDARG);
    Edit("DELETE FROM attribute WHERE type = 'Pump' AND name = 'RatedFlow'");
    EXPECT_EQ(flow.Raw().SetProperty(4, *unit), E_INVALIDARG) << "it was removed";
}

TEST_F(Sqlite, EditsMadeWhileNoServerRunsAreVisible) {
    { EXPECT_EQ(Side(Path()).Unit(), "m\xC2\xB3/h"); }
    Edit("UPDATE attribute SET unit = 'l/s' WHERE name = 'RatedFlow'");
    const Side side(Path());
    EXPECT_EQ(side.Unit(), "l/s");
    Edit("DELETE FROM change; UPDATE attribute SET unit = 'l/min' WHERE name = 'RatedFlow'; DELETE FROM change");
    Edit("INSERT INTO change (tbl, key1) VALUES ('type', 'Pump')");
    EXPECT_TRUE(WaitFor([&] { return side.Unit() == "l/min"; }))
        << "change rows were deleted before the server read them";
    EXPECT_TRUE(WaitFor([&] { return side.listener->DataIds() == Ids{"objects//0/1"}; }));
}
} // namespace
