// SPDX-License-Identifier: MIT
//
// The smallest configuration server that the cache can be put in front of. What it offers is what the cache asks for:
//
//   ILXConfigFactoryEx   all types, or one, as a flat array: names, then records
//   ILXConfigFactory     one type, or all, as objects (server mode); the rest has nothing to give
//   ILXType              its values, and its attributes as a flat array
//   ILXAttribute         its values; setting one notifies
//   ILXDataUpdate        clients' callbacks
//
// All values are texts, at the index of their property; an empty text is an empty value.
#include "minimal_server.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#define NOT_OFFERED(...)                                                                                               \
    HRESULT STDMETHODCALLTYPE __VA_ARGS__ override { return E_NOTIMPL; }
#define NOTHING_OF(Method, Enumerator)                                                                                 \
    HRESULT STDMETHODCALLTYPE Method(Enumerator** ppEnum) override {                                                   \
        *ppEnum = nullptr;                                                                                             \
        return S_FALSE;                                                                                                \
    }

namespace {
using Text = std::basic_string<OLECHAR>;
using Values = std::vector<Text>;

Text TextOf(BSTR text) { return text != nullptr ? Text(text, SysStringLen(text)) : Text(); }

BSTR NewBstr(const Text& text) { return SysAllocStringLen(text.data(), static_cast<UINT>(text.size())); }

/// The flat arrays that travel to the cache: one value after the other, each of exactly the type that is expected.
class FlatArray {
public:
    FlatArray() = default;
    FlatArray(const FlatArray&) = delete;
    FlatArray& operator=(const FlatArray&) = delete;
    ~FlatArray() {
        for (VARIANT& value : m_values) {
            VariantClear(&value);
        }
    }

    void Number(LONG number) { V_I4(&Add(VT_I4)) = number; }
    void Count(std::size_t count) { V_UI4(&Add(VT_UI4)) = static_cast<ULONG>(count); }
    void Flag(bool flag) { V_BOOL(&Add(VT_BOOL)) = flag ? VARIANT_TRUE : VARIANT_FALSE; }
    void Name(const Text& name) { V_BSTR(&Add(VT_BSTR)) = NewBstr(name); }
    /// Takes over the reference.
    void Object(IUnknown* object) { V_UNKNOWN(&Add(VT_UNKNOWN)) = object; }
    void All(const Values& values) {
        for (const Text& value : values) {
            value.empty() ? (void)Add(VT_EMPTY) : Name(value);
        }
    }
    LONG Size() const { return static_cast<LONG>(m_values.size()); }
    /// Moves the values of another array to the end of this one.
    void Append(FlatArray& other) {
        m_values.insert(m_values.end(), other.m_values.begin(), other.m_values.end());
        other.m_values.clear();
    }

    HRESULT CopyTo(SAFEARRAY** array) const {
        *array = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(m_values.size()));
        HRESULT result = *array != nullptr ? S_OK : E_OUTOFMEMORY;
        for (LONG i = 0; result == S_OK && i < Size(); ++i) {
            VARIANT value = m_values[static_cast<std::size_t>(i)];
            result = SafeArrayPutElement(*array, &i, &value);
        }
        return result;
    }

private:
    VARIANT& Add(VARTYPE type) {
        m_values.emplace_back();
        VariantInit(&m_values.back());
        V_VT(&m_values.back()) = type;
        return m_values.back();
    }

    std::vector<VARIANT> m_values;
};

/// What the server knows. Its mutex guards everything in it, and is not held while a client is called.
struct Model {
    struct Type {
        Values values;                     // 0 the name, 1 the label, 2 the base type
        std::map<Text, Values> attributes; // each has 60 values: 0 the name, 2 the label, 4 the unit
    };

    Model() {
        AddType(OLESTR("Part"), OLESTR("Part"), OLESTR(""));
        AddType(OLESTR("Pump"), OLESTR("Centrifugal pump"), OLESTR("Part"));
        AddAttribute(OLESTR("Part"), OLESTR("Weight"), OLESTR("kg"));
        AddAttribute(OLESTR("Pump"), OLESTR("RatedFlow"), OLESTR("m3/h"));
    }
    void AddType(const Text& name, const Text& label, const Text& base) { types[name].values = {name, label, base}; }
    void AddAttribute(const Text& type, const Text& name, const Text& unit) {
        Values& values = types[type].attributes[name];
        values.resize(60);
        values[0] = values[2] = name;
        values[4] = unit;
    }
    void Notify(const Text& dataId);

    std::mutex mutex;
    std::map<Text, Type> types;
    std::map<LONG, ILXCallbackUpdate*> clients; // counted
    LONG lastClient = 0;
    ULONG lastNotification = 0;
};
using ModelPtr = std::shared_ptr<Model>;

/// Tells every client that asked for notifications. A client may call us from its notification.
void Model::Notify(const Text& dataId) {
    std::vector<ILXCallbackUpdate*> called;
    std::unique_lock<std::mutex> lock(mutex);
    const ULONG id = ++lastNotification;
    for (const auto& client : clients) {
        client.second->AddRef();
        called.push_back(client.second);
    }
    lock.unlock();
    BSTR dataIdText = NewBstr(dataId), dataType = SysAllocString(OLESTR("cfc_specific"));
    for (ILXCallbackUpdate* callback : called) {
        callback->DataObjectChanged(dataIdText, dataType, 0x100, id, 0, nullptr);
        callback->Release();
    }
    SysFreeString(dataIdText);
    SysFreeString(dataType);
}

/// Counting and interfaces of an object that answers for I and IUnknown.
template <class I>
class Counted : public I {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == __uuidof(I) || iid == __uuidof(IUnknown);
        *object = known ? static_cast<I*>(this) : nullptr;
        return known ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --m_references;
        if (left == 0) { delete this; }
        return left;
    }

protected:
    virtual ~Counted() = default; // behind all slots of the interface

private:
    std::atomic<ULONG> m_references{1};
};

/// What types and attributes have in common: values by index.
template <class I>
class ConfigObject : public Counted<I> {
public:
    ConfigObject(ModelPtr model, Text type, Text attribute = {})
        : m_model(std::move(model)), m_type(std::move(type)), m_attribute(std::move(attribute)) {}
    HRESULT STDMETHODCALLTYPE GetProperty(int index, VARIANT* value) override {
        VariantInit(value);
        const std::lock_guard<std::mutex> lock(m_model->mutex);
        const Values& values = OwnValues();
        if (index < 0 || static_cast<std::size_t>(index) >= values.size()) { return E_INVALIDARG; }
        const Text& text = values[static_cast<std::size_t>(index)];
        if (text.empty()) { return S_FALSE; }
        V_VT(value) = VT_BSTR;
        V_BSTR(value) = NewBstr(text);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetProperty(int index, VARIANT value) override {
        {
            const std::lock_guard<std::mutex> lock(m_model->mutex);
            Values& values = OwnValues();
            if (V_VT(&value) != VT_BSTR || index < 1 || static_cast<std::size_t>(index) >= values.size()) {
                return E_INVALIDARG; // the name, value 0, is the key
            }
            values[static_cast<std::size_t>(index)] = TextOf(V_BSTR(&value));
        }
        m_model->Notify(ChangeOf(index));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetProperties(SAFEARRAY** values) override {
        FlatArray array;
        {
            const std::lock_guard<std::mutex> lock(m_model->mutex);
            array.All(OwnValues());
        }
        return array.CopyTo(values);
    }
    NOT_OFFERED(Get(BSTR, VARIANT*))
    NOT_OFFERED(Set(BSTR, VARIANT))
    NOT_OFFERED(Gets(SAFEARRAY*, SAFEARRAY**))
    NOT_OFFERED(Sets(SAFEARRAY*, SAFEARRAY**))
    NOT_OFFERED(SetProperties(SAFEARRAY*, SAFEARRAY**))

protected:
    /// Called under the model's mutex.
    Values& OwnValues() {
        Model::Type& type = m_model->types[m_type];
        return m_attribute.empty() ? type.values : type.attributes[m_attribute];
    }
    /// The data id of a changed property: kind, type, index, and whom it concerns (2 types, 512 attributes).
    Text ChangeOf(int index) const {
        Text id = OLESTR("properties/") + m_type + OLESTR("/");
        for (const char digit : std::to_string(index)) {
            id += static_cast<OLECHAR>(digit);
        }
        return id + (m_attribute.empty() ? OLESTR("/2") : OLESTR("/512"));
    }

    ModelPtr m_model;
    Text m_type;
    Text m_attribute; // empty for a type
};

class Attribute final : public ConfigObject<ILXAttribute> {
public:
    using ConfigObject::ConfigObject;
    NOT_OFFERED(AddAttributeType(ILXAttributeType**))
    NOT_OFFERED(RemoveAttributeType(ILXAttributeType*, LONG*))
    NOTHING_OF(GetAttributeTypeEnum, ILXAttributeTypeEnum)
    NOT_OFFERED(CreateFormat(int, ILXFormat**))
    HRESULT STDMETHODCALLTYPE GetFormat(int, ILXFormat** format) override {
        *format = nullptr;
        return S_FALSE;
    }
    NOT_OFFERED(DeleteFormat(int))
};

/// The attributes of a type, one after the other: the object, its 60 values, and no attribute types. Called under the
/// model's mutex.
void AppendAttributes(FlatArray& array, const ModelPtr& model, const Text& typeName) {
    for (const auto& attribute : model->types[typeName].attributes) {
        array.Object(new Attribute(model, typeName, attribute.first));
        array.All(attribute.second);
        array.Number(0);
    }
}

/// The components of a type: no pages, groups and editors; attributes, with how many elements they take. Called under
/// the model's mutex.
void AppendComponents(FlatArray& array, const ModelPtr& model, const Text& typeName) {
    FlatArray attributes;
    AppendAttributes(attributes, model, typeName);
    array.Count(0);
    array.Count(0);
    array.Count(0);
    array.Count(1);
    array.Number(attributes.Size());
    array.Append(attributes);
}

class Type final : public ConfigObject<ILXType> {
public:
    using ConfigObject::ConfigObject;
    HRESULT STDMETHODCALLTYPE GetAttribute(BSTR name, ILXAttribute** attribute) override {
        *attribute = nullptr;
        const std::lock_guard<std::mutex> lock(m_model->mutex);
        if (m_model->types[m_type].attributes.count(TextOf(name)) == 0) { return S_FALSE; }
        *attribute = new Attribute(m_model, m_type, TextOf(name));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeComponentData(LONG, SAFEARRAY** components) override {
        FlatArray array;
        array.Number(4); // one record ...
        array.Number(4); // ... of components
        {
            const std::lock_guard<std::mutex> lock(m_model->mutex);
            AppendComponents(array, m_model, m_type);
        }
        return array.CopyTo(components);
    }
    NOT_OFFERED(AddPage(ILXPage**))
    NOT_OFFERED(RemovePage(ILXPage*, LONG*))
    NOTHING_OF(GetPageEnum, ILXPageEnum)
    NOT_OFFERED(GetPage(int, ILXPage**))
    NOT_OFFERED(AddGroup(ILXGroup**))
    NOT_OFFERED(RemoveGroup(ILXGroup*, LONG*))
    NOTHING_OF(GetGroupEnum, ILXGroupEnum)
    NOTHING_OF(GetToplevelGroupEnum, ILXGroupEnum)
    NOT_OFFERED(GetPageGroupEnum(int, ILXGroupEnum**))
    NOT_OFFERED(GetPageToplevelGroupEnum(int, ILXGroupEnum**))
    NOT_OFFERED(GetGroup(int, ILXGroup**))
    NOT_OFFERED(GetDisplayAttributeEnum(LONG, ILXAttributeEnum**))
    NOT_OFFERED(GetDisplayGroupAttributeEnum(LONG, int, ILXAttributeEnum**))
    NOT_OFFERED(AddAttribute(ILXAttribute**))
    NOT_OFFERED(RemoveAttribute(ILXAttribute*, LONG*))
    NOTHING_OF(GetAttributeEnum, ILXAttributeEnum)
    NOT_OFFERED(GetGroupAttributeEnum(int, ILXAttributeEnum**))
    NOT_OFFERED(AddConfObjEditor(ILXConfObjEditor**))
    NOT_OFFERED(RemoveConfObjEditor(ILXConfObjEditor*, LONG*))
    NOTHING_OF(GetConfObjEditorEnum, ILXConfObjEditorEnum)
    NOT_OFFERED(GetConfObjEditor(BSTR, BSTR, BSTR, ILXConfObjEditor**))
    NOT_OFFERED(GetDefaultEditor(BSTR, ILXConfObjEditor**))
    NOT_OFFERED(Copy(BSTR))
    NOT_OFFERED(GetDefaultNewEditor(BSTR, ILXConfObjEditor**))
};

/// Hands out types in order.
class TypeEnum final : public Counted<ILXTypeEnum> {
public:
    TypeEnum(ModelPtr model, std::vector<Text> names) : m_model(std::move(model)), m_names(std::move(names)) {}
    HRESULT STDMETHODCALLTYPE RemNext(ULONG count, ILXType** types, ULONG* fetched) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (*fetched = 0; *fetched < count && m_next < m_names.size(); ++*fetched) {
            types[*fetched] = new Type(m_model, m_names[m_next++]);
        }
        return *fetched == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE GetSingleNext(ILXType** type) override {
        ULONG fetched = 0;
        *type = nullptr;
        return RemNext(1, type, &fetched);
    }
    NOT_OFFERED(Skip(ULONG))
    NOT_OFFERED(Reset())
    NOT_OFFERED(Clone(ILXTypeEnum**))

private:
    ModelPtr m_model;
    std::vector<Text> m_names;
    std::mutex m_mutex; // guards m_next
    std::size_t m_next = 0;
};

/// The service of configuration, with its second interface for bulk reads.
class ConfigFactory final : public Counted<ILXConfigFactory>, public ILXConfigFactoryEx {
public:
    explicit ConfigFactory(ModelPtr model) : m_model(std::move(model)) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (iid != __uuidof(ILXConfigFactoryEx)) { return Counted::QueryInterface(iid, object); }
        *object = static_cast<ILXConfigFactoryEx*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return Counted::AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return Counted::Release(); }

    HRESULT STDMETHODCALLTYPE GetTypeArrayEx(LONG, SAFEARRAY** types) override { return TypeArray(Text(), types); }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameEx(BSTR name, LONG withBases, LONG, SAFEARRAY** types) override {
        return TypeArray(withBases != 0 ? Text() : TextOf(name), types);
    }
    NOT_OFFERED(GetTypeArrayByTypeNameArrayEx(SAFEARRAY*, LONG, LONG, SAFEARRAY**))

    HRESULT STDMETHODCALLTYPE GetType(BSTR name, BSTR, ILXType** type) override {
        *type = nullptr;
        const std::lock_guard<std::mutex> lock(m_model->mutex);
        if (m_model->types.count(TextOf(name)) == 0) { return S_FALSE; }
        *type = new Type(m_model, TextOf(name));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeEnum(BSTR, ILXTypeEnum** types) override {
        std::vector<Text> names;
        {
            const std::lock_guard<std::mutex> lock(m_model->mutex);
            for (const auto& type : m_model->types) {
                names.push_back(type.first);
            }
        }
        *types = new TypeEnum(m_model, names);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetPCArray(SAFEARRAY** relations) override {
        *relations = nullptr;
        return S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE GetVersion(BSTR* version) override {
        *version = SysAllocString(OLESTR("1"));
        return S_OK;
    }
    NOTHING_OF(GetSearchableTypeEnum, ILXTypeEnum)
    NOTHING_OF(GetBrowserIdEnum, ILXBrowserIdEnum)
    NOTHING_OF(GetAllGlobalAttributeFormatSpecs, ILXGlobalAttributeFormatSpecEnum)
    NOT_OFFERED(AddType(ILXType**))
    NOT_OFFERED(RemoveType(ILXType*, LONG*))
    NOT_OFFERED(GetPlanTypeEnum(BSTR, ILXTypeEnum**))
    NOT_OFFERED(AddParentChild(ILXParentChild**))
    NOT_OFFERED(RemoveParentChild(ILXParentChild*, LONG*))
    NOT_OFFERED(GetParentChildEnum(BSTR, BSTR, ILXParentChildEnum**))
    NOT_OFFERED(AddBrowserId(BSTR, ILXBrowserId**))
    NOT_OFFERED(RemoveBrowserId(ILXBrowserId*, LONG*))
    NOT_OFFERED(DeleteDatabase())
    NOT_OFFERED(GetTypeArray(LONG, SAFEARRAY**))
    NOT_OFFERED(GetTypeArrayByTypeName(BSTR, LONG, LONG, SAFEARRAY**))
    NOT_OFFERED(GetTypeArrayByTypeNameArray(SAFEARRAY*, LONG, LONG, SAFEARRAY**))
    NOT_OFFERED(SetVersion(BSTR))
    NOT_OFFERED(CreateGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec**))
    NOT_OFFERED(RemoveGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec*))
    NOT_OFFERED(RemoveGlobalAttributeFormatSpecByID(BSTR))
    NOT_OFFERED(NotifyServerTermination())

private:
    /// The names of all types, so that a base has an index, and the records of one type or of all.
    HRESULT TypeArray(const Text& only, SAFEARRAY** array) const {
        *array = nullptr;
        FlatArray types;
        {
            const std::lock_guard<std::mutex> lock(m_model->mutex);
            std::map<Text, std::size_t> indexes;
            for (const auto& type : m_model->types) {
                indexes.emplace(type.first, indexes.size());
            }
            if (!only.empty() && indexes.count(only) == 0) { return S_FALSE; }
            types.Number(1); // a map ...
            types.Number(0); // ... of types
            types.Count(indexes.size());
            types.Count(only.empty() ? indexes.size() : 1);
            for (const auto& index : indexes) {
                types.Name(index.first);
                types.Count(index.second);
            }
            for (const auto& index : indexes) {
                if (only.empty() || only == index.first) {
                    types.Count(index.second);
                    AppendType(types, index.first, indexes);
                }
            }
        }
        return types.CopyTo(array);
    }
    /// A type: its object and values, its components, its base's index, and whether it is listed and searchable.
    void AppendType(FlatArray& array, const Text& name, const std::map<Text, std::size_t>& indexes) const {
        const Values& values = m_model->types[name].values;
        const auto base = indexes.find(values[2]);
        array.Object(new Type(m_model, name));
        array.Number(static_cast<LONG>(values.size()));
        array.All(values);
        AppendComponents(array, m_model, name);
        array.Number(base != indexes.end() ? static_cast<LONG>(base->second) : -1);
        array.Flag(true);
        array.Flag(true);
    }

    ModelPtr m_model;
};

/// The service of notifications.
class DataUpdate final : public Counted<ILXDataUpdate> {
public:
    explicit DataUpdate(ModelPtr model) : m_model(std::move(model)) {}
    HRESULT STDMETHODCALLTYPE RegisterCallback(BSTR, ULONG, ILXCallbackUpdate* callback, LONG* client) override {
        const std::lock_guard<std::mutex> lock(m_model->mutex);
        *client = ++m_model->lastClient;
        m_model->clients[*client] = callback;
        callback->AddRef();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE UnregisterCallback(LONG client) override {
        ILXCallbackUpdate* callback = nullptr;
        {
            const std::lock_guard<std::mutex> lock(m_model->mutex);
            const auto found = m_model->clients.find(client);
            if (found == m_model->clients.end()) { return E_INVALIDARG; }
            callback = found->second;
            m_model->clients.erase(found);
        }
        callback->Release();
        return S_OK;
    }
    /// Every client gets everything; one that wants nothing does not register.
    HRESULT STDMETHODCALLTYPE EnableAdvicesDataType(LONG, BSTR, LONG, ULONG) override { return S_OK; }
    NOT_OFFERED(EnableAdvicesDataObject(LONG, BSTR, BSTR, LONG, ULONG))
    NOT_OFFERED(EnableAdvicesDataObjects(LONG, ULONG, tagLXNotifications*))
    NOT_OFFERED(DataObjectChanged(LONG, BSTR, BSTR, ULONG, ULONG, tagLXUpdateInfo*))
    NOT_OFFERED(DataObjectsChanged(LONG, ULONG, tagLXDataUpdateChanges*))
    NOT_OFFERED(IsNotificationRegisteredByClient(LONG, BSTR, BSTR, ULONG))

private:
    ModelPtr m_model;
};
} // namespace

HRESULT CreateMinimalServer(ILXConfigFactory** ppConfigFactory, ILXDataUpdate** ppDataUpdate) {
    const auto model = std::make_shared<Model>();
    *ppConfigFactory = new ConfigFactory(model);
    *ppDataUpdate = new DataUpdate(model);
    return S_OK;
}
