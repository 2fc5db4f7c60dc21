// SPDX-License-Identifier: MIT
//
// lxsqlitedemo DATABASE [SQL]: two servers over one database, each with a cache in front of it. Prints an attribute's
// unit from both caches, waits until another program sets it to l/s, and prints it again. If a statement is given, it
// is run on a separate connection to make that edit.
#include "SqliteServer.h"

#include <cstdio>
#include <lxcfc.hpp>

namespace {
constexpr std::chrono::seconds EditWait{60};

/// A server, and an application's cache in front of it.
class Side {
public:
    explicit Side(const std::string& path) : Side(lx::Connect(OpenSqliteServer(path))) {}

    /// The unit of Pump/RatedFlow, read through the cache.
    lxcfc::String Unit() const { return m_cache.Type("Pump").Attribute("RatedFlow").Text(lx::Unit); }

private:
    explicit Side(const lx::Ref<lx::Connection>& server) : m_cache(server, server) {} // one object has both services

    lxcfc::Cache m_cache;
};

void Show(const std::string& database, const char* sql) {
    const Side first(database);
    const Side second(database);
    std::puts("Two servers over one database; both caches return cubic metres per hour as the unit of RatedFlow.");
    std::fflush(stdout);
    if (sql != nullptr) { Database(database).Run(sql); }
    const lxcfc::String edited = OLESTR("l/s");
    const auto start = std::chrono::steady_clock::now();
    while (first.Unit() != edited || second.Unit() != edited) {
        if (std::chrono::steady_clock::now() - start > EditWait) {
            throw std::runtime_error("the unit was not edited within the time limit");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    std::puts("Another connection ran an UPDATE: both caches now return l/s.");
}
} // namespace

int main(int argc, char** argv) {
    try {
        const lxcfc::Apartment apartment;
        Show(argc > 1 ? argv[1] : "", argc > 2 ? argv[2] : nullptr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lxsqlitedemo: %s\n", error.what());
        return 1;
    }
    return 0;
}
