// SPDX-License-Identifier: MIT
//
// Wrappers for SQLite: a connection, and its statements.
//
// Ownership  A statement refers to its connection, which must outlive it.
// Threading  Not thread-safe.
// Errors     std::runtime_error with SQLite's text.
#ifndef DATABASE_H
#define DATABASE_H

#include <lxserver/Model.h>

#include <sqlite3.h>

class Database {
public:
    static constexpr int BusyLimit = 5000; ///< milliseconds to wait for other writers

    /// @param path  in UTF-8; the file must exist
    explicit Database(const std::string& path) {
        const int result = sqlite3_open_v2(path.c_str(), &m_database, SQLITE_OPEN_READWRITE, nullptr);
        if (result != SQLITE_OK) {
            const std::string reason = sqlite3_errmsg(m_database);
            sqlite3_close(m_database);
            throw std::runtime_error(path + ": " + reason);
        }
        sqlite3_busy_timeout(m_database, BusyLimit);
    }
    ~Database() { sqlite3_close(m_database); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    sqlite3* Get() const noexcept { return m_database; }
    void Check(int result) const {
        if (result != SQLITE_OK) { throw std::runtime_error(sqlite3_errmsg(m_database)); }
    }
    /// Runs statements that return no rows.
    void Run(const std::string& sql) const { Check(sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, nullptr)); }
    /// The number of rows that the last statement changed.
    int Changed() const { return sqlite3_changes(m_database); }

private:
    sqlite3* m_database = nullptr;
};

class Statement {
public:
    Statement(const Database& database, const std::string& sql) : m_database(database) {
        database.Check(sqlite3_prepare_v2(database.Get(), sql.c_str(), -1, &m_statement, nullptr));
        for (int i = 0; i < sqlite3_column_count(m_statement); ++i) {
            m_columns.emplace(sqlite3_column_name(m_statement, i), i);
        }
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    /// Moves to the next row; false if there is none.
    bool Next() {
        const int result = sqlite3_step(m_statement);
        if (result != SQLITE_ROW && result != SQLITE_DONE) {
            throw std::runtime_error(sqlite3_errmsg(m_database.Get()));
        }
        return result == SQLITE_ROW;
    }
    /// Sets a parameter of the statement.
    /// @param number  from 1
    void Bind(int number, const lx::Value& value) {
        VARIANT variant;
        value.CopyTo(&variant);
        int result = SQLITE_OK;
        switch (V_VT(&variant)) {
        case VT_BSTR:
            result = sqlite3_bind_text16(m_statement, number, V_BSTR(&variant),
                                         static_cast<int>(SysStringByteLen(V_BSTR(&variant))), SQLITE_TRANSIENT);
            break;
        case VT_R8: result = sqlite3_bind_double(m_statement, number, V_R8(&variant)); break;
        case VT_BOOL: result = sqlite3_bind_int(m_statement, number, value.AsBool() ? 1 : 0); break;
        case VT_I4: result = sqlite3_bind_int(m_statement, number, value.AsNumber()); break;
        default: result = sqlite3_bind_null(m_statement, number); break;
        }
        VariantClear(&variant);
        m_database.Check(result);
    }

    const std::map<std::string, int>& Columns() const noexcept { return m_columns; }
    lx::Text TextAt(int column) const {
        const auto* const text = static_cast<const OLECHAR*>(sqlite3_column_text16(m_statement, column));
        return text != nullptr
                   ? lx::Text(text, static_cast<std::size_t>(sqlite3_column_bytes16(m_statement, column)) / 2)
                   : lx::Text();
    }
    std::string NarrowAt(int column) const {
        const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return text != nullptr ? text : "";
    }
    std::int64_t NumberAt(int column) const { return sqlite3_column_int64(m_statement, column); }
    /// The value with its stored type; a number in a column declared as BOOLEAN is a flag.
    lx::Value ValueAt(int column) const {
        const char* const declared = sqlite3_column_decltype(m_statement, column);
        switch (sqlite3_column_type(m_statement, column)) {
        case SQLITE_NULL: return {};
        case SQLITE_INTEGER:
            if (declared != nullptr && std::string_view(declared) == "BOOLEAN") { return NumberAt(column) != 0; }
            return static_cast<std::int32_t>(NumberAt(column));
        case SQLITE_FLOAT: return sqlite3_column_double(m_statement, column);
        default: return TextAt(column);
        }
    }

private:
    const Database& m_database;
    sqlite3_stmt* m_statement = nullptr;
    std::map<std::string, int> m_columns;
};

#endif
