// SPDX-License-Identifier: MIT
#include "SqliteServer.h"

namespace {
/// During its lifetime, all reads see the same state of the database.
class ReadTransaction {
public:
    explicit ReadTransaction(const Database& database) : m_database(database) { database.Run("BEGIN"); }
    ~ReadTransaction() { sqlite3_exec(m_database.Get(), "COMMIT", nullptr, nullptr, nullptr); }
    ReadTransaction(const ReadTransaction&) = delete;
    ReadTransaction& operator=(const ReadTransaction&) = delete;

private:
    const Database& m_database;
};

struct KeyColumn {
    const char* name;
    lx::Text lx::Key::*text; // null: the key's number
};

/// A table: the kind of its elements, and the columns of its primary key.
struct Table {
    const char* name;
    lx::Kind kind;
    std::vector<KeyColumn> keys;

    std::string Where() const {
        std::string where;
        for (const KeyColumn& key : keys) {
            where += (where.empty() ? " WHERE " : " AND ") + std::string(key.name) + " = ?";
        }
        return where;
    }
};

/// In the order in which they are read: owners before their parts.
const std::vector<Table>& Tables() {
    using lx::Key;
    using lx::Kind;
    static const KeyColumn type{"type", &Key::owner};
    static const KeyColumn attribute{"attribute", &Key::name};
    static const KeyColumn formatType{"format_type", nullptr};
    static const KeyColumn number{"number", nullptr};
    static const std::vector<KeyColumn> relation{{"parent", &Key::owner}, {"child", &Key::name}, {"list", &Key::part}};
    static const std::vector<Table> tables{
        {"browser_id", Kind::BrowserId, {{"name", &Key::owner}}},
        {"type", Kind::Type, {{"name", &Key::owner}}},
        {"page", Kind::Page, {type, number}},
        {"attribute_group", Kind::Group, {type, number}},
        {"group_format", Kind::GroupFormat, {type, {"group_number", nullptr}}},
        {"editor", Kind::Editor, {type, {"prog_id", &Key::name}}},
        {"attribute", Kind::Attribute, {type, {"name", &Key::name}}},
        {"attribute_type", Kind::AttributeType, {type, attribute, {"name", &Key::part}}},
        {"attribute_format", Kind::AttributeFormat, {type, attribute, formatType}},
        {"relation", Kind::Relation, relation},
        {"pc_info", Kind::PCInfo, {relation[0], relation[1], relation[2], {"browser", &Key::browser}}},
        {"global_spec", Kind::GlobalSpec, {{"id", &Key::owner}}},
        {"global_spec_format", Kind::GlobalSpecFormat, {{"spec", &Key::owner}, formatType}}};
    return tables;
}

/// @param column  returns the statement's column for the i-th key column of the table
template <class F> lx::Key ReadKey(const Table& table, const Statement& row, F&& column) {
    lx::Key key{table.kind};
    for (std::size_t i = 0; i < table.keys.size(); ++i) {
        if (table.keys[i].text != nullptr) {
            key.*table.keys[i].text = row.TextAt(column(i));
        } else {
            key.number = static_cast<int>(row.NumberAt(column(i)));
        }
    }
    return key;
}

/// Adds a part to an attribute; null if there is no such attribute.
lx::Record* AddPart(lx::TypeRecord& type, const lx::Key& key) {
    const auto attribute = type.attributes.find(key.name);
    if (attribute == type.attributes.end()) { return nullptr; }
    return key.kind == lx::Kind::AttributeType ? static_cast<lx::Record*>(&attribute->second.AddType(key.part))
                                               : &attribute->second.AddFormat(key.number);
}

/// Adds a component to a type; null if its owner does not exist.
lx::Record* AddComponent(lx::TypeRecord& type, const lx::Key& key) {
    switch (key.kind) {
    case lx::Kind::Page: return &type.AddPage(key.number);
    case lx::Kind::Group: return &type.AddGroup(key.number);
    case lx::Kind::GroupFormat: {
        const auto group = type.groups.find(key.number);
        return group != type.groups.end() ? &group->second.format.emplace() : nullptr;
    }
    case lx::Kind::Editor: return &type.AddEditor(key.name);
    case lx::Kind::Attribute: return &type.AddAttribute(key.name);
    default: return AddPart(type, key);
    }
}

/// Adds an element; null if its owner does not exist.
lx::Record* Add(lx::Model& model, const lx::Key& key) {
    switch (key.kind) {
    case lx::Kind::BrowserId: return &model.AddBrowserId(key.owner);
    case lx::Kind::Type: return &model.AddType(key.owner);
    case lx::Kind::Relation: return &model.AddRelation(key.owner, key.name, key.part);
    case lx::Kind::PCInfo: {
        lx::Key relation = key;
        relation.kind = lx::Kind::Relation;
        auto* const found = static_cast<lx::RelationRecord*>(lx::Find(model, relation));
        return found != nullptr ? &found->AddInfo(key.browser) : nullptr;
    }
    case lx::Kind::GlobalSpec: return &model.AddSpec(key.owner);
    case lx::Kind::GlobalSpecFormat: {
        const auto spec = model.specs.find(key.owner);
        return spec != model.specs.end() ? &spec->second.AddFormat(key.number) : nullptr;
    }
    default: {
        const auto type = model.types.find(key.owner);
        return type != model.types.end() ? AddComponent(type->second, key) : nullptr;
    }
    }
}

void ReadTable(const Database& database, const Table& table, const std::map<std::string, int>& properties,
               lx::Model& model) {
    Statement row(database, std::string("SELECT * FROM ") + table.name + " ORDER BY rowid");
    while (row.Next()) {
        const auto column = [&](std::size_t i) { return row.Columns().at(table.keys[i].name); };
        lx::Record* const record = Add(model, ReadKey(table, row, column));
        if (record == nullptr) { continue; }
        for (const auto& [name, index] : properties) {
            record->Set(index, row.ValueAt(row.Columns().at(name)));
        }
        if (table.kind == lx::Kind::Type) {
            static_cast<lx::TypeRecord*>(record)->listed = row.NumberAt(row.Columns().at("listed")) != 0;
        }
    }
}

/// The changes of an element between two snapshots.
std::vector<lx::Change> Compare(const lx::Model& before, const lx::Model& after, const lx::Key& key) {
    const lx::Record* const old = lx::Find(before, key);
    const lx::Record* const now = lx::Find(after, key);
    if (old == nullptr && now == nullptr) { return {}; }
    const auto isListed = [](const lx::Record* type) { return static_cast<const lx::TypeRecord*>(type)->listed; };
    if (old == nullptr || now == nullptr || (key.kind == lx::Kind::Type && isListed(old) != isListed(now))) {
        return {lx::SetChanged(key)};
    }
    std::vector<lx::Change> changes;
    for (int i = 0; i < now->Count(); ++i) {
        if ((*old)[i] == (*now)[i]) { continue; }
        for (lx::Change& change : lx::ValueChanged(key, i)) {
            changes.push_back(std::move(change));
        }
    }
    return changes;
}

/// One change of each kind for each update mode, because clients apply a notification to all elements.
std::vector<lx::Change> CompareAll(const lx::Model& before, const lx::Model& after, const std::vector<lx::Key>& keys) {
    std::vector<lx::Change> changes;
    std::set<std::pair<std::string, int>> told;
    for (const lx::Key& key : keys) {
        for (lx::Change& change : Compare(before, after, key)) {
            if (told.emplace(change.kind, change.mode).second) { changes.push_back(std::move(change)); }
        }
    }
    return changes;
}
} // namespace

SqliteServer::SqliteServer(const std::string& path) : m_database(path) {
    Refresh();
    m_watcher = std::thread([this] { Watch(); });
}

SqliteServer::~SqliteServer() {
    {
        const std::lock_guard lock(m_mutex);
        m_end = true;
        m_ends.notify_all();
    }
    m_watcher.join();
}

lx::ModelPtr SqliteServer::Snapshot() {
    const std::lock_guard lock(m_mutex);
    return m_model;
}

HRESULT SqliteServer::SetValue(const lx::Key& key, int index, const lx::Value& value) {
    {
        const std::lock_guard lock(m_databaseMutex);
        for (const Table& table : Tables()) {
            if (table.kind != key.kind) { continue; }
            std::string column;
            const PropertyColumns columns = ReadPropertyColumns();
            for (const auto& [name, itsIndex] : columns.at(table.name)) {
                column = itsIndex == index ? name : column;
            }
            if (column.empty()) { return E_INVALIDARG; } // a key, or a property without a column
            Statement update(m_database,
                             std::string("UPDATE ") + table.name + " SET " + column + " = ?" + table.Where());
            update.Bind(1, value);
            for (std::size_t i = 0; i < table.keys.size(); ++i) {
                const auto text = table.keys[i].text;
                update.Bind(static_cast<int>(i) + 2, text != nullptr ? lx::Value(key.*text) : lx::Value(key.number));
            }
            update.Next();
        }
        if (m_database.Changed() == 0) { return E_INVALIDARG; } // the element was removed
    }
    Refresh();
    return S_OK;
}

SqliteServer::PropertyColumns SqliteServer::ReadPropertyColumns() const {
    PropertyColumns columns;
    Statement row(m_database, "SELECT tbl, col, idx FROM property");
    while (row.Next()) {
        columns[row.NarrowAt(0)][row.NarrowAt(1)] = static_cast<int>(row.NumberAt(2));
    }
    return columns;
}

lx::ModelPtr SqliteServer::ReadModel() const {
    auto model = std::make_shared<lx::Model>();
    PropertyColumns columns = ReadPropertyColumns();
    for (const Table& table : Tables()) {
        ReadTable(m_database, table, columns[table.name], *model);
    }
    return model;
}

/// The keys of elements changed since the last read; nullopt if unknown: then everything counts as changed.
std::optional<std::vector<lx::Key>> SqliteServer::ReadChangedKeys(std::int64_t& newest) const {
    Statement range(m_database, "SELECT ifnull(min(id), 1), ifnull(max(id), 0) FROM change");
    range.Next();
    newest = range.NumberAt(1);
    if (range.NumberAt(0) > m_lastChange + 1 || newest < m_lastChange) {
        return {};
    } // rows of the change table were deleted, or nothing was read yet
    std::vector<lx::Key> keys;
    Statement row(m_database, "SELECT DISTINCT tbl, key1, key2, key3, key4 FROM change WHERE id > " +
                                  std::to_string(m_lastChange) + " ORDER BY id");
    while (row.Next()) {
        const std::string name = row.NarrowAt(0);
        const auto table =
            std::find_if(Tables().begin(), Tables().end(), [&](const Table& t) { return t.name == name; });
        if (table == Tables().end()) { return {}; } // the meaning of the columns was changed
        keys.push_back(ReadKey(*table, row, [](std::size_t i) { return static_cast<int>(i) + 1; }));
    }
    return keys;
}

std::int64_t SqliteServer::DataVersion() const {
    Statement version(m_database, "PRAGMA data_version");
    version.Next();
    return version.NumberAt(0);
}

/// Reads the changes of other programs or of SetValue, and notifies the clients.
void SqliteServer::Refresh() {
    std::vector<lx::Change> changes;
    {
        const std::lock_guard lock(m_databaseMutex);
        const std::int64_t version = DataVersion();
        const ReadTransaction transaction(m_database);
        std::int64_t newest = 0;
        const auto keys = ReadChangedKeys(newest);
        const lx::ModelPtr before = Snapshot();
        if (before == nullptr || !keys || !keys->empty()) {
            const lx::ModelPtr after = ReadModel();
            if (before != nullptr) {
                changes = keys ? CompareAll(*before, *after, *keys) : std::vector<lx::Change>{lx::EverythingChanged()};
            }
            const std::lock_guard modelLock(m_mutex);
            m_model = after;
        }
        m_version = version;
        m_lastChange = newest;
    }
    Notify(changes);
}

bool SqliteServer::IsOutdated() {
    const std::lock_guard lock(m_databaseMutex);
    return DataVersion() != m_version;
}

void SqliteServer::Watch() {
    std::unique_lock lock(m_mutex);
    while (!m_ends.wait_for(lock, TimeBetweenLooks, [this] { return m_end; })) {
        lock.unlock();
        (void)lx::Guarded([this] { // failures are retried
            if (IsOutdated()) { Refresh(); }
            return S_OK;
        });
        lock.lock();
    }
}

std::shared_ptr<lx::ConfigServer> OpenSqliteServer(const std::string& path) {
    return std::make_shared<SqliteServer>(path);
}
