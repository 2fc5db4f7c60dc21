// SPDX-License-Identifier: MIT
//
// A configuration server over a SQLite database (schema.sql). Any program may edit the database; each of its servers
// detects changes and notifies its clients.
//
//     const std::shared_ptr<lx::ConfigServer> server = OpenSqliteServer("plant.db");
//     const lx::Ref<lx::Connection> connection = lx::Connect(server);
//
// Ownership  The server owns its connection to the database, and a thread that watches the database.
// Threading  Thread-safe. m_databaseMutex guards the connection, m_mutex the snapshot; neither is held while clients
//            are notified.
// Errors     OpenSqliteServer throws std::runtime_error if the file is not such a database. A later read that fails,
//            for example because of a lock, is retried; until then clients see the last snapshot.
#ifndef SQLITESERVER_H
#define SQLITESERVER_H

#include "Database.h"

#include <lxserver/Connection.h>

class SqliteServer final : public lx::ConfigServer {
public:
    static constexpr std::chrono::milliseconds TimeBetweenLooks{100}; ///< interval of checks for changes

    /// @param path  path of the database, in UTF-8
    explicit SqliteServer(const std::string& path);
    ~SqliteServer() override;

    lx::ModelPtr Snapshot() override;
    /// Writes the value to the database, like any other program.
    HRESULT SetValue(const lx::Key& key, int index, const lx::Value& value) override;

private:
    /// The property index of each column that is a property, by table and column.
    using PropertyColumns = std::map<std::string, std::map<std::string, int>>;

    PropertyColumns ReadPropertyColumns() const;
    lx::ModelPtr ReadModel() const;
    std::optional<std::vector<lx::Key>> ReadChangedKeys(std::int64_t& newest) const;
    std::int64_t DataVersion() const;
    bool IsOutdated();
    void Refresh();
    void Watch();

    std::mutex m_databaseMutex; // taken before m_mutex
    Database m_database;
    std::int64_t m_version = 0;    // version of the data that was read
    std::int64_t m_lastChange = 0; // newest row read from the change table
    std::mutex m_mutex;            // guards the members below
    lx::ModelPtr m_model;
    bool m_end = false;
    std::condition_variable m_ends;
    std::thread m_watcher;
};

std::shared_ptr<lx::ConfigServer> OpenSqliteServer(const std::string& path);

#endif
