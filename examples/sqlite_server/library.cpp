// SPDX-License-Identifier: MIT
//
// The SQLite server as a shared library, over the database that an environment variable names:
//
//     LX_SQLITE_DATABASE=plant.db lxcfc types --server ./sqlite_server.so
#include "SqliteServer.h"

#include <lxserver/ServerLibrary.h>

#include <cstdlib>

namespace {
lx::ServerPtr OpenDatabase() {
    const char* const path = std::getenv("LX_SQLITE_DATABASE");
    return OpenSqliteServer(path != nullptr ? path : "plant.db");
}
} // namespace

LX_SERVER_LIBRARY(OpenDatabase)
