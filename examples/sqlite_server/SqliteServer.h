// SPDX-License-Identifier: MIT
//
// A configuration server over a SQLite database (schema.sql). Any program may edit the database; each server over it
// notices, and notifies its clients of what changed.
//
//     const std::shared_ptr<lx::ConfigServer> server = OpenSqliteServer("plant.db");
//     const lx::Ref<lx::Connection> connection = lx::Connect(server);
//
// Ownership  The server owns its connection to the database, and a thread that watches it until the server ends.
// Threading  Everything may be called from any thread. m_databaseMutex guards the connection, m_mutex the snapshot;
//            neither is held while clients are notified.
// Errors     OpenSqliteServer raises std::runtime_error for a file that is no such database. What cannot be read later
//            (a lock that lasts) is tried again; clients go on with what was read last.
#ifndef SQLITESERVER_H
#define SQLITESERVER_H

#include "Database.h"

#include <lxserver/Connection.h>

class SqliteServer final : public lx::ConfigServer {
public:
    static constexpr std::chrono::milliseconds TimeBetweenLooks{100}; ///< at whether somebody changed the database

    /// @param path  of the database, in UTF-8
    explicit SqliteServer(const std::string& path);
    ~SqliteServer() override;

    lx::ModelPtr Snapshot() override;
    /// Writes the value to the database, as any other program might.
    HRESULT SetValue(const lx::Key& key, int index, const lx::Value& value) override;

private:
    /// The columns that are properties, with their indexes, by table.
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
    std::int64_t m_version = 0;    // of the data that was read
    std::int64_t m_lastChange = 0; // the newest row of the change table that was read
    std::mutex m_mutex;            // guards the following
    lx::ModelPtr m_model;
    bool m_end = false;
    std::condition_variable m_ends;
    std::thread m_watcher;
};

std::shared_ptr<lx::ConfigServer> OpenSqliteServer(const std::string& path);

#endif
