// SPDX-License-Identifier: MIT
//
// A server in a shared library, written by hand and from the guide alone, as a third party would. One object is the
// config factory with its bulk reads and, unless LX_HANDSERVER is "silent", the notification service. There is no query
// object. Property 3 of an attribute is the supplier; property 4, elsewhere the unit, is empty. With LX_HANDSERVER
// "edits", the supplier of Item/Weight changes continuously while there are clients.
#include <LXCompiler.h>
#include <LXConfigFactoryCache.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#define NOT_HERE(...)                                                                                                  \
    HRESULT STDMETHODCALLTYPE __VA_ARGS__ override { return E_NOTIMPL; }
#define ADD_AND_REMOVE(What, I)                                                                                        \
    NOT_HERE(Add##What(I**))                                                                                           \
    NOT_HERE(Remove##What(I*, LONG*))
#define NONE(...)                                                                                                      \
    HRESULT STDMETHODCALLTYPE __VA_ARGS__ override {                                                                   \
        *result = nullptr;                                                                                             \
        return S_FALSE;                                                                                                \
    }

namespace {
using Text = std::basic_string<OLECHAR>;
using Value = std::variant<std::monostate, Text, bool, LONG, ULONG, IUnknown*>;
using Values = std::vector<Value>; ///< of an object, or a flat array under construction
using Key = std::pair<Text, Text>; ///< attribute, if it is one, and type

Values TypeValues(const Text& name, const Text& label, const Text& base) {
    Values values(28);
    values[0] = name;
    values[1] = label;
    values[2] = base;
    values[14] = true;
    return values;
}
std::pair<const Text, Values> Attributed(const Text& name, const Text& supplier) {
    Values values(60);
    values[0] = values[2] = name;
    values[3] = supplier;
    values[7] = values[8] = true;
    values[9] = values[19] = values[28] = values[32] = false;
    return {name, values};
}

struct Item {
    Values values;
    std::map<Text, Values> attributes;
};

/// The catalogue; its mutex guards suppliers and clients. Types and attributes never change.
struct Catalogue {
    Text BaseOf(const Text& type) { return std::get<Text>(items[type].values[2]); }
    /// The index of a type; -1 if there is no type with that name.
    LONG IndexOf(const Text& type) {
        const auto found = items.find(type);
        return found != items.end() ? static_cast<LONG>(std::distance(items.begin(), found)) : -1;
    }
    std::set<Text> Names() const {
        std::set<Text> names;
        for (const auto& item : items) {
            names.insert(item.first);
        }
        return names;
    }
    /// The attributes of a type and its bases, by name.
    std::map<Text, Text> AttributesOf(const Text& type) {
        std::map<Text, Text> from;
        for (Text at = type; !at.empty(); at = BaseOf(at)) {
            for (const auto& attribute : items[at].attributes) {
                from[attribute.first] = at;
            }
        }
        return from;
    }

    std::mutex mutex;
    std::map<Text, Item> items{
        {OLESTR("Item"),
         {TypeValues(OLESTR("Item"), OLESTR("Anything in stock"), OLESTR("")),
          {Attributed(OLESTR("Weight"), OLESTR("Miller")), Attributed(OLESTR("Code"), OLESTR("Smith"))}}},
        {OLESTR("Bolt"),
         {TypeValues(OLESTR("Bolt"), OLESTR("Bolts"), OLESTR("Item")),
          {Attributed(OLESTR("Thread"), OLESTR("Smith"))}}},
        {OLESTR("Washer"), {TypeValues(OLESTR("Washer"), OLESTR("Washers"), OLESTR("Item")), {}}}};
    std::map<LONG, ILXCallbackUpdate*> clients; // each with a reference
    LONG lastClient = 0;
    ULONG lastNotification = 0;
};

Catalogue& TheCatalogue() {
    static Catalogue& catalogue = *new Catalogue; // the editing thread may outlive main()
    return catalogue;
}

Text TextOf(BSTR text) { return text != nullptr ? Text(text, SysStringLen(text)) : Text(); }

/// Takes ownership of an object's reference.
VARIANT VariantOf(const Value& value) {
    VARIANT variant = {};
    if (const Text* const text = std::get_if<Text>(&value); text != nullptr && !text->empty()) {
        V_VT(&variant) = VT_BSTR;
        V_BSTR(&variant) = SysAllocStringLen(text->data(), static_cast<UINT>(text->size()));
    } else if (const bool* const flag = std::get_if<bool>(&value)) {
        V_VT(&variant) = VT_BOOL;
        V_BOOL(&variant) = *flag ? VARIANT_TRUE : VARIANT_FALSE;
    } else if (const LONG* const number = std::get_if<LONG>(&value)) {
        V_VT(&variant) = VT_I4;
        V_I4(&variant) = *number;
    } else if (const ULONG* const count = std::get_if<ULONG>(&value)) {
        V_VT(&variant) = VT_UI4;
        V_UI4(&variant) = *count;
    } else if (IUnknown* const* const object = std::get_if<IUnknown*>(&value)) {
        V_VT(&variant) = VT_UNKNOWN;
        V_UNKNOWN(&variant) = *object;
    }
    return variant;
}

ULONG CountOf(std::size_t size) { return static_cast<ULONG>(size); }
void Append(Values& flat, const Values& values) { flat.insert(flat.end(), values.begin(), values.end()); }

HRESULT HandOut(const Values& flat, SAFEARRAY** array) {
    *array = SafeArrayCreateVector(VT_VARIANT, 0, CountOf(flat.size()));
    LONG i = 0;
    for (const Value& value : flat) {
        VARIANT variant = VariantOf(value);
        SafeArrayPutElement(*array, &i, &variant);
        VariantClear(&variant);
        ++i;
    }
    return S_OK;
}

template <class First, class... Others> class Object : public First, public Others... {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        *out = iid == __uuidof(IUnknown) ? static_cast<First*>(this) : Find<First, Others...>(iid);
        return *out != nullptr ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_count; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --m_count;
        if (left == 0) { delete this; }
        return left;
    }

protected:
    virtual ~Object() = default;

private:
    template <class I, class... More> void* Find(REFIID iid) {
        if (iid == __uuidof(I)) { return static_cast<I*>(this); }
        if constexpr (sizeof...(More) > 0) { return Find<More...>(iid); }
        return nullptr;
    }

    std::atomic<ULONG> m_count{1};
};

/// Returns new objects, one for each key.
template <class Enumerator, class Element, class Made> class Enumeration final : public Object<Enumerator> {
public:
    explicit Enumeration(std::vector<Key> of) : m_of(std::move(of)) {}
    HRESULT STDMETHODCALLTYPE RemNext(ULONG count, Element** elements, ULONG* fetched) override {
        for (*fetched = 0; *fetched < count && m_next < m_of.size(); ++*fetched, ++m_next) {
            elements[*fetched] = new Made(m_of[m_next]);
        }
        return *fetched == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE GetSingleNext(Element** element) override {
        ULONG fetched = 0;
        *element = nullptr;
        return RemNext(1, element, &fetched);
    }
    NOT_HERE(Skip(ULONG))
    NOT_HERE(Reset())
    NOT_HERE(Clone(Enumerator**))

private:
    const std::vector<Key> m_of;
    std::atomic<std::size_t> m_next{0};
};

/// A type, or an attribute of it.
template <class I> class Configured : public Object<I> {
public:
    explicit Configured(Key key) : m_attribute(std::move(key.first)), m_type(std::move(key.second)) {}
    HRESULT STDMETHODCALLTYPE GetProperty(int index, VARIANT* value) override {
        VariantInit(value);
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        const Values& values = Own();
        if (index < 0 || static_cast<std::size_t>(index) >= values.size()) { return E_INVALIDARG; }
        *value = VariantOf(values[static_cast<std::size_t>(index)]);
        return V_VT(value) == VT_EMPTY ? S_FALSE : S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetProperties(SAFEARRAY** array) override {
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        return HandOut(Own(), array);
    }
    NOT_HERE(SetProperty(int, VARIANT))
    NOT_HERE(Get(BSTR, VARIANT*))
    NOT_HERE(Set(BSTR, VARIANT))
    NOT_HERE(Gets(SAFEARRAY*, SAFEARRAY**))
    NOT_HERE(Sets(SAFEARRAY*, SAFEARRAY**))
    NOT_HERE(SetProperties(SAFEARRAY*, SAFEARRAY**))

protected:
    const Values& Own() const {
        const Item& item = TheCatalogue().items[m_type];
        return m_attribute.empty() ? item.values : item.attributes.at(m_attribute);
    }
    const Text m_attribute;
    const Text m_type;
};

class Attribute final : public Configured<ILXAttribute> {
public:
    using Configured::Configured;
    NONE(GetAttributeTypeEnum(ILXAttributeTypeEnum** result))
    NONE(GetFormat(int, ILXFormat** result))
    ADD_AND_REMOVE(AttributeType, ILXAttributeType)
    NOT_HERE(CreateFormat(int, ILXFormat**))
    NOT_HERE(DeleteFormat(int))
};

/// Appends no pages, groups and editors, and the type's own attributes. Their objects are null: the cache requests one
/// when it needs it. The caller holds the mutex.
void AppendComponents(Values& flat, const Text& type) {
    Values attributes;
    for (const auto& attribute : TheCatalogue().items[type].attributes) {
        attributes.emplace_back(static_cast<IUnknown*>(nullptr));
        Append(attributes, attribute.second);
        attributes.emplace_back(LONG{0});
    }
    Append(flat, {ULONG{0}, ULONG{0}, ULONG{0}, ULONG{1}, static_cast<LONG>(attributes.size())});
    Append(flat, attributes);
}

class Type final : public Configured<ILXType> {
public:
    using Configured::Configured;
    HRESULT STDMETHODCALLTYPE GetAttribute(BSTR name, ILXAttribute** attribute) override {
        *attribute = nullptr;
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        const auto from = TheCatalogue().AttributesOf(m_type);
        const auto found = from.find(TextOf(name));
        if (found == from.end()) { return S_FALSE; }
        *attribute = new Attribute(*found);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetDisplayAttributeEnum(LONG mask, ILXAttributeEnum** attributes) override {
        std::map<Text, Text> shown;
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        if (mask == 0 || (mask & (1 | 4)) != 0) { shown = TheCatalogue().AttributesOf(m_type); } // as their values say
        *attributes = new Enumeration<ILXAttributeEnum, ILXAttribute, Attribute>({shown.begin(), shown.end()});
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeComponentData(LONG, SAFEARRAY** components) override {
        Values flat{LONG{4}, LONG{4}};
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        AppendComponents(flat, m_type);
        return HandOut(flat, components);
    }
    NONE(GetPageEnum(ILXPageEnum** result))
    NONE(GetPage(int, ILXPage** result))
    NONE(GetGroupEnum(ILXGroupEnum** result))
    NONE(GetToplevelGroupEnum(ILXGroupEnum** result))
    NONE(GetPageGroupEnum(int, ILXGroupEnum** result))
    NONE(GetPageToplevelGroupEnum(int, ILXGroupEnum** result))
    NONE(GetGroup(int, ILXGroup** result))
    NONE(GetDisplayGroupAttributeEnum(LONG, int, ILXAttributeEnum** result))
    NONE(GetAttributeEnum(ILXAttributeEnum** result))
    NONE(GetGroupAttributeEnum(int, ILXAttributeEnum** result))
    NONE(GetConfObjEditorEnum(ILXConfObjEditorEnum** result))
    NONE(GetConfObjEditor(BSTR, BSTR, BSTR, ILXConfObjEditor** result))
    NONE(GetDefaultEditor(BSTR, ILXConfObjEditor** result))
    NONE(GetDefaultNewEditor(BSTR, ILXConfObjEditor** result))
    ADD_AND_REMOVE(Page, ILXPage)
    ADD_AND_REMOVE(Group, ILXGroup)
    ADD_AND_REMOVE(Attribute, ILXAttribute)
    ADD_AND_REMOVE(ConfObjEditor, ILXConfObjEditor)
    NOT_HERE(Copy(BSTR))
};

class Server final : public Object<ILXConfigFactory, ILXConfigFactoryEx, ILXDataUpdate> {
public:
    explicit Server(bool offersUpdate) : m_offersUpdate(offersUpdate) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return Object::QueryInterface(m_offersUpdate || iid != __uuidof(ILXDataUpdate) ? iid : IID_NULL, out);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayEx(LONG, SAFEARRAY** types) override {
        return Types(TheCatalogue().Names(), false, types);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameEx(BSTR name, LONG withBases, LONG, SAFEARRAY** types) override {
        return Types({TextOf(name)}, withBases != 0, types);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameArrayEx(SAFEARRAY* names, LONG withBases, LONG,
                                                            SAFEARRAY** types) override {
        std::set<Text> wanted;
        LONG last = -1;
        SafeArrayGetUBound(names, 1, &last);
        for (LONG i = 0; i <= last; ++i) {
            BSTR name = nullptr;
            SafeArrayGetElement(names, &i, &name);
            wanted.insert(TextOf(name));
            SysFreeString(name);
        }
        return Types(wanted, withBases != 0, types);
    }
    HRESULT STDMETHODCALLTYPE GetType(BSTR name, BSTR, ILXType** type) override {
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        const bool isThere = TheCatalogue().IndexOf(TextOf(name)) >= 0;
        *type = isThere ? new Type({Text(), TextOf(name)}) : nullptr;
        return isThere ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE GetTypeEnum(BSTR, ILXTypeEnum** types) override {
        std::vector<Key> keys;
        for (const Text& name : TheCatalogue().Names()) {
            keys.emplace_back(Text(), name);
        }
        *types = new Enumeration<ILXTypeEnum, ILXType, Type>(std::move(keys));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetVersion(BSTR* version) override {
        *version = SysAllocString(OLESTR("7"));
        return S_OK;
    }
    NONE(GetParentChildEnum(BSTR, BSTR, ILXParentChildEnum** result))
    NONE(GetPCArray(SAFEARRAY** result))
    NONE(GetBrowserIdEnum(ILXBrowserIdEnum** result))
    NONE(GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** result))
    NOT_HERE(GetSearchableTypeEnum(ILXTypeEnum**))
    ADD_AND_REMOVE(Type, ILXType)
    NOT_HERE(GetPlanTypeEnum(BSTR, ILXTypeEnum**))
    ADD_AND_REMOVE(ParentChild, ILXParentChild)
    NOT_HERE(AddBrowserId(BSTR, ILXBrowserId**))
    NOT_HERE(RemoveBrowserId(ILXBrowserId*, LONG*))
    NOT_HERE(DeleteDatabase())
    NOT_HERE(GetTypeArray(LONG, SAFEARRAY**))
    NOT_HERE(GetTypeArrayByTypeName(BSTR, LONG, LONG, SAFEARRAY**))
    NOT_HERE(GetTypeArrayByTypeNameArray(SAFEARRAY*, LONG, LONG, SAFEARRAY**))
    NOT_HERE(SetVersion(BSTR))
    NOT_HERE(CreateGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec**))
    NOT_HERE(RemoveGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec*))
    NOT_HERE(RemoveGlobalAttributeFormatSpecByID(BSTR))
    NOT_HERE(NotifyServerTermination())

    HRESULT STDMETHODCALLTYPE RegisterCallback(BSTR, ULONG, ILXCallbackUpdate* callback, LONG* client) override {
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        *client = ++TheCatalogue().lastClient;
        callback->AddRef();
        TheCatalogue().clients[*client] = callback;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE UnregisterCallback(LONG client) override {
        std::unique_lock<std::mutex> lock(TheCatalogue().mutex);
        const auto found = TheCatalogue().clients.find(client);
        if (found == TheCatalogue().clients.end()) { return E_INVALIDARG; }
        ILXCallbackUpdate* const callback = found->second;
        TheCatalogue().clients.erase(found);
        lock.unlock();
        callback->Release();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnableAdvicesDataType(LONG, BSTR, LONG, ULONG) override { return S_OK; }
    NOT_HERE(EnableAdvicesDataObject(LONG, BSTR, BSTR, LONG, ULONG))
    NOT_HERE(EnableAdvicesDataObjects(LONG, ULONG, tagLXNotifications*))
    NOT_HERE(DataObjectChanged(LONG, BSTR, BSTR, ULONG, ULONG, tagLXUpdateInfo*))
    NOT_HERE(DataObjectsChanged(LONG, ULONG, tagLXDataUpdateChanges*))
    NOT_HERE(IsNotificationRegisteredByClient(LONG, BSTR, BSTR, ULONG))

private:
    /// The names of all types, and the records of the requested ones.
    static HRESULT Types(const std::set<Text>& wanted, bool withBases, SAFEARRAY** array) {
        *array = nullptr;
        Catalogue& catalogue = TheCatalogue();
        const std::lock_guard<std::mutex> lock(catalogue.mutex);
        std::set<Text> given;
        for (const Text& name : wanted) {
            for (Text at = name; catalogue.IndexOf(at) >= 0; at = withBases ? catalogue.BaseOf(at) : Text()) {
                given.insert(at);
            }
        }
        if (given.empty()) { return S_FALSE; }
        Values flat{LONG{1}, LONG{0}, CountOf(catalogue.items.size()), CountOf(given.size())};
        for (const auto& item : catalogue.items) {
            Append(flat, {item.first, static_cast<ULONG>(catalogue.IndexOf(item.first))});
        }
        for (const Text& name : given) {
            const Values& values = catalogue.items[name].values;
            IUnknown* const type = new Type({Text(), name});
            Append(flat, {static_cast<ULONG>(catalogue.IndexOf(name)), type, static_cast<LONG>(values.size())});
            Append(flat, values);
            AppendComponents(flat, name);
            Append(flat, {catalogue.IndexOf(catalogue.BaseOf(name)), true, true});
        }
        return HandOut(flat, array);
    }

    const bool m_offersUpdate;
};

/// Changes a supplier and notifies all clients, which may call back meanwhile.
void EditOnce(int number) {
    std::vector<ILXCallbackUpdate*> called;
    Catalogue& catalogue = TheCatalogue();
    std::unique_lock<std::mutex> lock(catalogue.mutex);
    if (catalogue.clients.empty()) { return; }
    const std::string digits = std::to_string(number);
    catalogue.items[OLESTR("Item")].attributes[OLESTR("Weight")][3] = Text(digits.begin(), digits.end());
    const ULONG id = ++catalogue.lastNotification;
    for (const auto& client : catalogue.clients) {
        client.second->AddRef();
        called.push_back(client.second);
    }
    lock.unlock();
    BSTR dataId = SysAllocString(OLESTR("properties/Item/3/512"));
    BSTR dataType = SysAllocString(OLESTR("cfc_specific"));
    for (ILXCallbackUpdate* const callback : called) {
        callback->DataObjectChanged(dataId, dataType, 0x100, id, 0, nullptr);
        callback->Release();
    }
    SysFreeString(dataId);
    SysFreeString(dataType);
}

void KeepEditing() {
    std::thread([] {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        for (int number = 1;; ++number) {
            EditOnce(number);
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }).detach();
}
} // namespace

extern "C" LX_EXPORT HRESULT LXConnectServer(REFIID iid, void** object) {
    const char* const set = std::getenv("LX_HANDSERVER");
    const std::string wish = set != nullptr ? set : "";
    if (wish == "edits") { KeepEditing(); }
    auto* const server = new Server(wish != "silent");
    const HRESULT result = server->QueryInterface(iid, object);
    server->Release();
    return result;
}
