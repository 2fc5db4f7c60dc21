// SPDX-License-Identifier: MIT
//
// What a server's author derives from: where the configuration comes from, and what is done when a client changes it.
//
//     class MyServer final : public lx::ConfigServer {
//         lx::ModelPtr Snapshot() override { return m_newest.load(); }  // what clients read
//     };
//     server->Notify(lx::ValueChanged(lx::Key::OfAttribute(OLESTR("Pump"), OLESTR("RatedFlow")), lx::Unit));
//
// A server whose configuration is in memory takes ModelServer as it is. lx::Connect (Connection.h) makes the object that
// a client is given.
//
// Ownership  A server is held by a std::shared_ptr; every object that it handed out holds it. It keeps a reference to
//            each registered callback until that is unregistered, gone, or the server ends.
// Threading  Everything may be called from any thread, Snapshot and SetValue too, several at once. A snapshot is never
//            changed; a new one takes its place. Notify waits for clients (Notifier::AnswerWait at most), which may call
//            back meanwhile: it is called after the change is in place, and with no lock held that Snapshot takes.
// Errors     What Snapshot and SetValue raise becomes the answer of the method that a client called (Object.h).
#ifndef LXSERVER_CONFIGSERVER_H
#define LXSERVER_CONFIGSERVER_H

#include <lxserver/BulkStore.h>
#include <lxserver/Model.h>
#include <lxserver/Notifier.h>

#include <set>

namespace lx {
using ModelPtr = std::shared_ptr<const Model>;

/// Which array: the names of types, and the transfer mode; no names and -1: the relations.
using BulkKey = std::pair<std::set<Text>, LONG>;

/// A notification: what changed, told as kind/object/number/mode.
struct Change {
    const char* kind; ///< "objects": something was added or removed; "properties": a value; "pc", "searchable"
    Text object;      ///< the name that it is told with
    int number;       ///< a value's index; or the number of a page, a group or a format
    int mode;         ///< whom it concerns: bits of the update mode

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

/// The bits of the update mode that concern a kind of element.
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

/// The notification that an element was added or removed.
inline Change SetChanged(const Key& key) {
    const bool isRelation = ModeOf(key.kind) == LXUM_PARENTCHILD;
    return {isRelation ? "pc" : "objects", key.owner, isRelation ? 0 : key.number, ModeOf(key.kind)};
}

/// The notification that anything may have changed.
inline Change EverythingChanged() { return {"objects", {}, 0, LXUM_EVERYTHING}; }

/// The notifications that a value changed. A base type says which types there are below which, and the searchable flag
/// of a type has a kind of its own.
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

/// Whether an element is found by that property, so that it cannot change.
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

    /// The configuration as it is now; never null. Objects that were handed out find their values in it at each read.
    virtual ModelPtr Snapshot() = 0;
    /// A client sets a value: SetProperty or Set. The server changes its configuration, then notifies.
    /// @param index  in the kind's range
    /// @return       S_OK, or why not
    virtual HRESULT SetValue(const Key& /*key*/, int /*index*/, const Value& /*value*/) { return E_NOTIMPL; }
    /// Data objects of a table that fulfil all criteria, for clients' queries: plan types are found so.
    virtual std::vector<Ref<ILX_BaseDataObject>> Search(const Text& /*table*/,
                                                        const std::map<Text, Value>& /*criteria*/) {
        return {};
    }
    /// The data object of an id; null when there is none.
    virtual Ref<ILX_BaseDataObject> FindObject(const Text& /*id*/) { return {}; }

    /// Tells the clients of changes that are in place, in that order.
    void Notify(const std::vector<Change>& changes) {
        for (const Change& change : changes) {
            m_notifier.Send(change.DataId());
        }
    }
    void Notify(const Change& change) { Notify(std::vector<Change>{change}); }
    Notifier& Clients() noexcept { return m_notifier; }
    /// The arrays without objects, by snapshot.
    BulkStore<ModelPtr, BulkKey>& KeptArrays() noexcept { return m_keptArrays; }

    /// Whether bulk reads carry the objects of types, components and relations with the values. Without, a client asks for an
    /// object when it needs one, the factory or the type: each interface pointer in an array costs a client in another
    /// process some tenths of a millisecond, and few are ever needed.
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
    /// Changes the configuration and notifies. What the function raises leaves the configuration as it was, and comes
    /// back to the caller.
    /// @param change  std::vector<Change> change(Model&): what is to be notified (ValueChanged, SetChanged,
    ///                EverythingChanged); nothing for a change that no client can see
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
    std::mutex m_editMutex; // one edit at a time; taken before m_mutex
    std::mutex m_mutex;     // guards m_model
    ModelPtr m_model;
};
} // namespace lx

#endif
