// SPDX-License-Identifier: MIT
//
// Base classes for servers. A derived class supplies the configuration (Snapshot) and handles changes that clients make
// (SetValue).
//
//     class MyServer final : public lx::ConfigServer {
//         lx::ModelPtr Snapshot() override { return m_newest.load(); }  // what clients read
//     };
//     server->Notify(lx::ValueChanged(lx::Key::OfAttribute(OLESTR("Pump"), OLESTR("RatedFlow")), lx::Unit));
//
// For a configuration in memory use ModelServer directly. lx::Connect (Connection.h) creates the object that a client
// receives.
//
// Ownership  A server is owned by std::shared_ptr; each object that it returned to clients keeps it alive. It keeps
//            each registered callback until the client unregisters, is gone or hangs, or until the server is destroyed.
// Threading  Thread-safe; Snapshot and SetValue are called concurrently too. A snapshot is immutable; a change
//            publishes a new one. Notify waits for clients, at most Notifier::AnswerWait, and clients may call back
//            meanwhile. So call Notify after the change is in place, and without a lock that Snapshot needs.
// Errors     Exceptions of Snapshot and SetValue become the result of the method that the client called (Object.h).
#ifndef LXSERVER_CONFIGSERVER_H
#define LXSERVER_CONFIGSERVER_H

#include <lxserver/BulkStore.h>
#include <lxserver/Model.h>
#include <lxserver/Notifier.h>

#include <set>

namespace lx {
using ModelPtr = std::shared_ptr<const Model>;

/// Key of a stored array: the names of its types and the transfer mode. No names and -1 mean the relations.
using BulkKey = std::pair<std::set<Text>, LONG>;

/// A notification. Its data id is kind/object/number/mode.
struct Change {
    /// "objects": an element was added or removed; "properties": a value changed; "pc": a relation or PC info was added,
    /// removed or changed; "searchable": a type's searchable flag changed
    const char* kind;
    Text object; ///< the name of the changed element or of its owner
    int number;  ///< the index of a value, or the number of a page, a group or a format
    int mode;    ///< the kinds of data concerned: bits of the update mode (LXUM_...)

    Text DataId() const {
        return WidenAscii(kind) + OLESTR("/") + Escaped(object) + OLESTR("/") + WidenAscii(std::to_string(number)) +
               OLESTR("/") + WidenAscii(std::to_string(mode));
    }

private:
    static Text Escaped(const Text& name) {
        Text escaped;
        for (const OLECHAR c : name) {
            escaped += c == '/' ? Text(OLESTR("%2F")) : c == '%' ? Text(OLESTR("%25")) : Text(1, c);
        }
        return escaped;
    }
};

/// The bit of the update mode for a kind of element.
inline int ModeOf(Kind kind) noexcept {
    switch (kind) {
    case Kind::Type: return LXUM_TYPES;
    case Kind::Page: return LXUM_PAGES;
    case Kind::Group: return LXUM_GROUPS;
    case Kind::GroupFormat: return LXUM_GROUPFORMATS;
    case Kind::Editor: return LXUM_EDITORS;
    case Kind::Attribute: return LXUM_ATTRIBUTES;
    case Kind::AttributeType: return LXUM_ATTRIBUTETYPES;
    case Kind::AttributeFormat: return LXUM_ATTRIBUTEFORMATS;
    case Kind::Relation:
    case Kind::PCInfo: return LXUM_PARENTCHILD;
    case Kind::BrowserId: return LXUM_BROWSERIDS;
    default: return LXUM_GLOBALFORMATSPECS; // global format specs and their formats
    }
}

/// The notification for an element that was added or removed.
inline Change SetChanged(const Key& key) {
    const bool isRelation = ModeOf(key.kind) == LXUM_PARENTCHILD;
    return {isRelation ? "pc" : "objects", key.owner, isRelation ? 0 : key.number, ModeOf(key.kind)};
}

/// The notification that anything may have changed.
inline Change EverythingChanged() { return {"objects", {}, 0, LXUM_EVERYTHING}; }

/// The notifications for a changed value. A new base type changes the set of derived types, so it is notified like an
/// added type. The searchable flag of a type needs a second notification, of kind "searchable".
inline std::vector<Change> ValueChanged(const Key& key, int index) {
    if (ModeOf(key.kind) == LXUM_PARENTCHILD || (key.kind == Kind::Type && index == BaseTypeName)) {
        return {SetChanged(key)};
    }
    std::vector<Change> changes{{"properties", key.owner, key.number != 0 ? key.number : index, ModeOf(key.kind)}};
    if (key.kind == Kind::Type && index == Searchable) {
        changes.push_back({"searchable", key.owner, index, ModeOf(key.kind)});
    }
    return changes;
}

/// Whether a property is the key of its element, and therefore read-only.
inline bool IsKey(Kind kind, int index) noexcept {
    switch (kind) {
    case Kind::Page: return index == PageNumber;
    case Kind::Group: return index == GroupNumber;
    case Kind::Editor: return index == ProgId;
    case Kind::AttributeType: return index == AttributeTypeName;
    case Kind::AttributeFormat:
    case Kind::GroupFormat:
    case Kind::GlobalSpecFormat: return index == FormatType;
    case Kind::Relation: return index == ChildList || index == ChildName || index == ParentName;
    case Kind::PCInfo: return index == PCInfoBrowser;
    default: return index == 0; // the name
    }
}

class ConfigServer : public std::enable_shared_from_this<ConfigServer> {
public:
    ConfigServer() = default;
    ConfigServer(const ConfigServer&) = delete;
    ConfigServer& operator=(const ConfigServer&) = delete;
    virtual ~ConfigServer() = default;

    /// The current configuration; never null. Objects call it at each read.
    virtual ModelPtr Snapshot() = 0;
    /// Called when a client sets a value (SetProperty or Set). Changes the configuration, then notifies.
    /// @param index  a valid property index of the key's kind
    /// @return       the result for the client; S_OK if the value was set
    virtual HRESULT SetValue(const Key& /*key*/, int /*index*/, const Value& /*value*/) { return E_NOTIMPL; }
    /// Answers clients' queries: the data objects of a table that meet all criteria. The cache uses it to find plan
    /// types.
    virtual std::vector<Ref<ILX_BaseDataObject>> Search(const Text& /*table*/,
                                                        const std::map<Text, Value>& /*criteria*/) {
        return {};
    }
    /// The data object with an id; null if there is none.
    virtual Ref<ILX_BaseDataObject> FindObject(const Text& /*id*/) { return {}; }

    /// Notifies the clients of changes, in the given order. Call it when the changes are in place.
    void Notify(const std::vector<Change>& changes) {
        for (const Change& change : changes) {
            m_notifier.Send(change.DataId());
        }
    }
    void Notify(const Change& change) { Notify(std::vector<Change>{change}); }
    Notifier& Clients() noexcept { return m_notifier; }
    /// The store of bulk arrays, for the newest snapshot. Not used while component objects are delivered.
    BulkStore<ModelPtr, BulkKey>& KeptArrays() noexcept { return m_keptArrays; }

    /// Whether bulk arrays contain the objects of types, components and relations beside their values. Without them a
    /// client asks the factory or the type for an object when it needs one. Turn it off for clients in other processes:
    /// each interface pointer in an array costs them some tenths of a millisecond, and few are ever needed.
    void DeliverComponentObjects(bool deliver) noexcept { m_componentObjects = deliver; }
    bool DeliversComponentObjects() const noexcept { return m_componentObjects; }

private:
    Notifier m_notifier;
    BulkStore<ModelPtr, BulkKey> m_keptArrays;
    std::atomic<bool> m_componentObjects{true};
};
using ServerPtr = std::shared_ptr<ConfigServer>;

/// A server whose configuration is in memory. Clients may set values.
class ModelServer : public ConfigServer {
public:
    explicit ModelServer(Model model) : m_model(std::make_shared<const Model>(std::move(model))) {}

    ModelPtr Snapshot() override {
        const std::lock_guard lock(m_mutex);
        return m_model;
    }
    HRESULT SetValue(const Key& key, int index, const Value& value) override {
        if (IsKey(key.kind, index)) { return E_INVALIDARG; }
        Edit([&](Model& model) {
            Record* const record = Find(model, key);
            if (record == nullptr) { throw std::invalid_argument("the element was removed"); }
            record->Set(index, value);
            return ValueChanged(key, index);
        });
        return S_OK;
    }
    /// Changes the configuration and notifies. If the function throws, the configuration stays as it was and the caller
    /// gets the exception.
    /// @param change  std::vector<Change> change(Model&): changes the model and returns the notifications to send
    ///                (ValueChanged, SetChanged, EverythingChanged); none if clients cannot see the change
    template <class F> void Edit(F&& change) {
        std::vector<Change> changes;
        {
            const std::lock_guard edit(m_editMutex);
            auto model = std::make_shared<Model>(*Snapshot());
            changes = change(*model);
            const std::lock_guard lock(m_mutex);
            m_model = std::move(model);
        }
        Notify(changes);
    }

private:
    std::mutex m_editMutex; // serialises edits; taken before m_mutex
    std::mutex m_mutex;     // guards m_model
    ModelPtr m_model;
};
} // namespace lx

#endif
