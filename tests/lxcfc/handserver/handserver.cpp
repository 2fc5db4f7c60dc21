// SPDX-License-Identifier: MIT
#include "handserver.h"

#include <objbase.h>
#include <winreg.h>

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#define NOT_HERE(...)                                                                                                  \
    HRESULT STDMETHODCALLTYPE __VA_ARGS__ override { return E_NOTIMPL; }
#define NONE(...)                                                                                                      \
    HRESULT STDMETHODCALLTYPE __VA_ARGS__ override {                                                                   \
        *result = nullptr;                                                                                             \
        return S_FALSE;                                                                                                \
    }

namespace {
constexpr CLSID Class = {0x5A1C63D0, 0x2F0E, 0x4B61, {0x9D, 0x2C, 0x77, 0x10, 0xE4, 0x5B, 0xA8, 0x31}};
using Text = std::basic_string<OLECHAR>;
using Value = std::variant<std::monostate, Text, bool>;
using Values = std::vector<Value>;

struct Item {
    Values values = Values(28);
    std::map<Text, Values> attributes;
};

/// The catalogue; its mutex guards everything in it.
struct Catalogue {
    Catalogue() {
        AddType(OLESTR("Item"), OLESTR("Anything in stock"), OLESTR(""));
        AddType(OLESTR("Bolt"), OLESTR("Bolts"), OLESTR("Item"));
        AddType(OLESTR("Washer"), OLESTR("Washers"), OLESTR("Item"));
        AddAttribute(OLESTR("Item"), OLESTR("Weight"), OLESTR("Miller"));
        AddAttribute(OLESTR("Item"), OLESTR("Code"), OLESTR("Smith"));
        AddAttribute(OLESTR("Bolt"), OLESTR("Thread"), OLESTR("Smith"));
    }
    void AddType(const Text& name, const Text& label, const Text& base) {
        Values& values = items[name].values;
        values[0] = name;
        values[1] = label;
        values[2] = base;
        values[14] = true;
    }
    void AddAttribute(const Text& type, const Text& name, const Text& supplier) {
        Values& values = items[type].attributes[name];
        values.resize(60);
        values[0] = values[2] = name;
        values[3] = supplier;
        values[7] = values[8] = true;
        values[9] = values[19] = values[28] = values[32] = false;
    }
    Text BaseOf(const Text& type) { return std::get<Text>(items[type].values[2]); }

    std::mutex mutex;
    std::map<Text, Item> items;
    std::map<LONG, ILXCallbackUpdate*> clients; // counted
    LONG lastClient = 0;
    ULONG lastNotification = 0;
};

Catalogue& TheCatalogue() {
    static Catalogue& catalogue = *new Catalogue; // the thread that edits may outlive main()
    return catalogue;
}

Text TextOf(BSTR text) { return text != nullptr ? Text(text, SysStringLen(text)) : Text(); }
BSTR NewBstr(const Text& text) { return SysAllocStringLen(text.data(), static_cast<UINT>(text.size())); }

VARIANT VariantOf(const Value& value) {
    VARIANT variant;
    VariantInit(&variant);
    if (const Text* const text = std::get_if<Text>(&value); text != nullptr && !text->empty()) {
        V_VT(&variant) = VT_BSTR;
        V_BSTR(&variant) = NewBstr(*text);
    } else if (const bool* const flag = std::get_if<bool>(&value)) {
        V_VT(&variant) = VT_BOOL;
        V_BOOL(&variant) = *flag ? VARIANT_TRUE : VARIANT_FALSE;
    }
    return variant;
}

VARIANT Number(LONG number, VARTYPE type = VT_I4) {
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = type;
    V_I4(&variant) = number;
    return variant;
}

/// A flat array in the making.
struct Flat : std::vector<VARIANT> {
    void Flag(std::size_t flag) { push_back(Number(static_cast<LONG>(flag), VT_UI4)); }
    void Of(const Values& values) {
        for (const Value& value : values) {
            push_back(VariantOf(value));
        }
    }
    /// Takes the reference over. In the place of an attribute nothing may stand: the cache asks for one when it needs it.
    void Server(IUnknown* object) {
        push_back(Number(0));
        V_VT(&back()) = VT_UNKNOWN;
        V_UNKNOWN(&back()) = object;
    }
    HRESULT HandOut(SAFEARRAY** array) {
        *array = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(size()));
        for (LONG i = 0; i < static_cast<LONG>(size()); ++i) {
            SafeArrayPutElement(*array, &i, &(*this)[static_cast<std::size_t>(i)]);
            VariantClear(&(*this)[static_cast<std::size_t>(i)]);
        }
        return S_OK;
    }
};

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
    virtual bool Offers(REFIID) const { return true; }

private:
    template <class I, class... More> void* Find(REFIID iid) {
        if (iid == __uuidof(I)) { return Offers(iid) ? static_cast<I*>(this) : nullptr; }
        if constexpr (sizeof...(More) > 0) { return Find<More...>(iid); }
        return nullptr;
    }

    std::atomic<ULONG> m_count{1};
};

/// Hands out new objects of some names, one after the other.
template <class Enumerator, class Element, class Made> class Enumeration final : public Object<Enumerator> {
public:
    explicit Enumeration(std::vector<std::pair<Text, Text>> of) : m_of(std::move(of)) {}
    HRESULT STDMETHODCALLTYPE RemNext(ULONG count, Element** elements, ULONG* fetched) override {
        for (*fetched = 0; *fetched < count && m_next < m_of.size(); ++*fetched, ++m_next) {
            elements[*fetched] = new Made(m_of[m_next].first, m_of[m_next].second);
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
    std::vector<std::pair<Text, Text>> m_of;
    std::atomic<std::size_t> m_next{0};
};

/// A type, or an attribute of it.
template <class I> class Configured : public Object<I> {
public:
    explicit Configured(Text type, Text attribute = {}) : m_type(std::move(type)), m_attribute(std::move(attribute)) {}
    HRESULT STDMETHODCALLTYPE GetProperty(int index, VARIANT* value) override {
        VariantInit(value);
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        const Values& values = Own();
        if (index < 0 || static_cast<std::size_t>(index) >= values.size()) { return E_INVALIDARG; }
        *value = VariantOf(values[static_cast<std::size_t>(index)]);
        return V_VT(value) == VT_EMPTY ? S_FALSE : S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetProperties(SAFEARRAY** array) override {
        Flat flat;
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        flat.Of(Own());
        return flat.HandOut(array);
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
    const Text m_type;
    const Text m_attribute;
};

class Attribute final : public Configured<ILXAttribute> {
public:
    using Configured::Configured;
    NONE(GetAttributeTypeEnum(ILXAttributeTypeEnum** result))
    NONE(GetFormat(int, ILXFormat** result))
    NOT_HERE(AddAttributeType(ILXAttributeType**))
    NOT_HERE(RemoveAttributeType(ILXAttributeType*, LONG*))
    NOT_HERE(CreateFormat(int, ILXFormat**))
    NOT_HERE(DeleteFormat(int))
};

/// The attributes of a type with those of its bases, by name, with the type that each is from. Under the mutex.
std::map<Text, Text> AttributesOf(const Text& type) {
    std::map<Text, Text> from;
    for (Text at = type; !at.empty(); at = TheCatalogue().BaseOf(at)) {
        for (const auto& attribute : TheCatalogue().items[at].attributes) {
            from[attribute.first] = at;
        }
    }
    return from;
}

/// No pages, groups and editors; the own attributes. Under the mutex.
void AppendComponents(Flat& flat, const Text& type) {
    Flat attributes;
    for (const auto& attribute : TheCatalogue().items[type].attributes) {
        attributes.Server(nullptr);
        attributes.Of(attribute.second);
        attributes.push_back(Number(0));
    }
    for (int i = 0; i < 3; ++i) {
        flat.Flag(0);
    }
    flat.Flag(1);
    flat.push_back(Number(static_cast<LONG>(attributes.size())));
    flat.insert(flat.end(), attributes.begin(), attributes.end());
}

class Type final : public Configured<ILXType> {
public:
    using Configured::Configured;
    HRESULT STDMETHODCALLTYPE GetAttribute(BSTR name, ILXAttribute** attribute) override {
        *attribute = nullptr;
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        const auto from = AttributesOf(m_type);
        const auto found = from.find(TextOf(name));
        if (found == from.end()) { return S_FALSE; }
        *attribute = new Attribute(found->second, found->first);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetDisplayAttributeEnum(LONG mask, ILXAttributeEnum** attributes) override {
        const std::map<LONG, std::size_t> displays = {{1, 8}, {2, 9}, {4, 7}, {8, 28}, {32, 19}};
        std::vector<std::pair<Text, Text>> shown;
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        for (const auto& attribute : AttributesOf(m_type)) {
            const Values& values = TheCatalogue().items[attribute.second].attributes[attribute.first];
            bool isShown = mask == 0;
            for (const auto& display : displays) {
                isShown = isShown || ((mask & display.first) != 0 && std::get<bool>(values[display.second]));
            }
            if (isShown) { shown.emplace_back(attribute.second, attribute.first); }
        }
        *attributes = new Enumeration<ILXAttributeEnum, ILXAttribute, Attribute>(std::move(shown));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeComponentData(LONG, SAFEARRAY** components) override {
        Flat flat;
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        flat.push_back(Number(4));
        flat.push_back(Number(4));
        AppendComponents(flat, m_type);
        return flat.HandOut(components);
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
    NOT_HERE(AddPage(ILXPage**))
    NOT_HERE(RemovePage(ILXPage*, LONG*))
    NOT_HERE(AddGroup(ILXGroup**))
    NOT_HERE(RemoveGroup(ILXGroup*, LONG*))
    NOT_HERE(AddAttribute(ILXAttribute**))
    NOT_HERE(RemoveAttribute(ILXAttribute*, LONG*))
    NOT_HERE(AddConfObjEditor(ILXConfObjEditor**))
    NOT_HERE(RemoveConfObjEditor(ILXConfObjEditor*, LONG*))
    NOT_HERE(Copy(BSTR))
};

class Server final : public Object<ILXConfigFactory, ILXConfigFactoryEx, ILXDataUpdate> {
public:
    explicit Server(bool offersUpdate) : m_offersUpdate(offersUpdate) {}

    HRESULT STDMETHODCALLTYPE GetTypeArrayEx(LONG, SAFEARRAY** types) override { return Types(nullptr, true, types); }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameEx(BSTR name, LONG withBases, LONG, SAFEARRAY** types) override {
        const std::vector<Text> wanted = {TextOf(name)};
        return Types(&wanted, withBases != 0, types);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameArrayEx(SAFEARRAY* names, LONG withBases, LONG,
                                                            SAFEARRAY** types) override {
        std::vector<Text> wanted;
        LONG last = -1;
        SafeArrayGetUBound(names, 1, &last);
        for (LONG i = 0; i <= last; ++i) {
            BSTR name = nullptr;
            SafeArrayGetElement(names, &i, &name);
            wanted.push_back(TextOf(name));
            SysFreeString(name);
        }
        return Types(&wanted, withBases != 0, types);
    }
    HRESULT STDMETHODCALLTYPE GetType(BSTR name, BSTR, ILXType** type) override {
        *type = nullptr;
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        if (TheCatalogue().items.count(TextOf(name)) == 0) { return S_FALSE; }
        *type = new Type(TextOf(name));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeEnum(BSTR, ILXTypeEnum** types) override {
        std::vector<std::pair<Text, Text>> names;
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        for (const auto& item : TheCatalogue().items) {
            names.emplace_back(item.first, Text());
        }
        *types = new Enumeration<ILXTypeEnum, ILXType, Type>(std::move(names));
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
    NOT_HERE(AddType(ILXType**))
    NOT_HERE(RemoveType(ILXType*, LONG*))
    NOT_HERE(GetPlanTypeEnum(BSTR, ILXTypeEnum**))
    NOT_HERE(AddParentChild(ILXParentChild**))
    NOT_HERE(RemoveParentChild(ILXParentChild*, LONG*))
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
    bool Offers(REFIID iid) const override { return m_offersUpdate || iid != __uuidof(ILXDataUpdate); }

    /// The names of all types, and the records of those that are wanted, or of all.
    static HRESULT Types(const std::vector<Text>* wanted, bool withBases, SAFEARRAY** array) {
        *array = nullptr;
        const std::lock_guard<std::mutex> lock(TheCatalogue().mutex);
        std::map<Text, std::size_t> all, given;
        for (const auto& item : TheCatalogue().items) {
            all.emplace(item.first, all.size());
        }
        for (const auto& entry : all) {
            if (wanted == nullptr) { given.insert(entry); }
        }
        for (std::size_t i = 0; wanted != nullptr && i < wanted->size(); ++i) {
            for (Text at = (*wanted)[i]; all.count(at) != 0; at = withBases ? TheCatalogue().BaseOf(at) : Text()) {
                given.emplace(at, all[at]);
            }
        }
        if (given.empty()) { return S_FALSE; }
        Flat flat;
        flat.push_back(Number(1));
        flat.push_back(Number(0));
        flat.Flag(all.size());
        flat.Flag(given.size());
        for (const auto& entry : all) {
            flat.Of({entry.first});
            flat.Flag(entry.second);
        }
        for (const auto& entry : given) {
            AppendType(flat, entry.first, all);
        }
        return flat.HandOut(array);
    }
    static void AppendType(Flat& flat, const Text& name, const std::map<Text, std::size_t>& indexes) {
        const Values& values = TheCatalogue().items[name].values;
        const auto base = indexes.find(TheCatalogue().BaseOf(name));
        flat.Flag(indexes.at(name));
        flat.Server(new Type(name));
        flat.push_back(Number(static_cast<LONG>(values.size())));
        flat.Of(values);
        AppendComponents(flat, name);
        flat.push_back(Number(base != indexes.end() ? static_cast<LONG>(base->second) : -1));
        flat.Of({true, true});
    }

    const bool m_offersUpdate;
};

/// Changes a supplier and tells all clients, which may call back meanwhile.
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

/// Makes new references to the one server.
class Factory final : public Object<IClassFactory> {
public:
    explicit Factory(Server* server) : m_server(server) {}
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** out) override {
        return m_server->QueryInterface(iid, out);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    ~Factory() override { m_server->Release(); }
    Server* const m_server; // counted
};

/// The ProgID for everybody who asks this machine's, or this process's, registry.
void RegisterName() {
    OLECHAR text[39];
    StringFromGUID2(Class, text, 39);
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, OLESTR("LXHandServer.Catalogue\\CLSID"), 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                    nullptr);
    RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), sizeof(text));
    RegCloseKey(key);
}
} // namespace

HRESULT LXRegisterHandServer(bool offersUpdate, bool edits, DWORD* cookie) {
    RegisterName();
    if (edits) { KeepEditing(); }
    auto* const factory = new Factory(new Server(offersUpdate));
    const HRESULT result = CoRegisterClassObject(Class, static_cast<IClassFactory*>(factory), CLSCTX_LOCAL_SERVER,
                                                 REGCLS_MULTIPLEUSE, cookie);
    factory->Release();
    return result;
}

HRESULT LXConnectHandServer(bool offersUpdate, bool edits, REFIID iid, void** object) {
    if (edits) { KeepEditing(); }
    auto* const server = new Server(offersUpdate);
    const HRESULT result = server->QueryInterface(iid, object);
    server->Release();
    return result;
}
