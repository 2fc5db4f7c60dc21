// SPDX-License-Identifier: MIT
#include "kitfixture.h"

#include "lxconfigfactorycachemanager.h"
#include "lxtestrunner.h"

#include <sstream>

namespace {
const LXLiveCounter g_cacheObjects("objects of the component", [] { return XModuleCount::LiveObjects(); });
const LXLiveCounter g_kitObjects("objects of the server kit", [] { return lx::liveObjects.load(); });

std::string Narrow(lx::TextView text) {
    std::string narrow;
    for (const OLECHAR c : text) {
        narrow += c < 0x80 ? static_cast<char>(c) : '?';
    }
    return narrow;
}

void DumpValues(std::ostream& to, ILXConfigObject& object, int count) {
    for (int i = 0; i < count; ++i) {
        if (const std::string value = ValueOf(object, i); !value.empty()) { to << ' ' << i << '=' << value; }
    }
    to << '\n';
}

/// Calls a function for each object of an enumerator.
/// @param each  each(object)
template <class I, class IEnumX, class F> void ForAll(const lx::Ref<IEnumX>& all, F&& each) {
    I* object = nullptr;
    while (all && all->GetSingleNext(&object) == S_OK) {
        const lx::Ref<I> owned(object);
        object->Release();
        each(*object);
    }
}

void DumpAttribute(std::ostream& to, ILXAttribute& attribute) {
    to << "  attribute";
    DumpValues(to, attribute, 60);
    ForAll<ILXAttributeType>(Got<ILXAttributeTypeEnum>([&](auto** out) { return attribute.GetAttributeTypeEnum(out); }),
                             [&](ILXAttributeType& type) {
                                 to << "   attribute type";
                                 DumpValues(to, type, 7);
                             });
    for (int i = 0; i < 3; ++i) {
        const auto format = Got<ILXFormat>([&](auto** out) { return attribute.GetFormat(i, out); });
        if (format) { DumpValues(to << "   format " << i, *format, 60); }
    }
}

void DumpComponents(std::ostream& to, ILXType& type) {
    ForAll<ILXPage>(Got<ILXPageEnum>([&](auto** out) { return type.GetPageEnum(out); }),
                    [&](ILXPage& page) { DumpValues(to << "  page", page, 7); });
    ForAll<ILXGroup>(Got<ILXGroupEnum>([&](auto** out) { return type.GetGroupEnum(out); }), [&](ILXGroup& group) {
        DumpValues(to << "  group", group, 16);
        const auto format = Got<ILXFormat>([&](auto** out) { return group.GetFormat(out); });
        if (format) { DumpValues(to << "   format", *format, 60); }
    });
    ForAll<ILXConfObjEditor>(Got<ILXConfObjEditorEnum>([&](auto** out) { return type.GetConfObjEditorEnum(out); }),
                             [&](ILXConfObjEditor& editor) { DumpValues(to << "  editor", editor, 5); });
    ForAll<ILXAttribute>(Got<ILXAttributeEnum>([&](auto** out) { return type.GetDisplayAttributeEnum(0, out); }),
                         [&](ILXAttribute& attribute) { DumpAttribute(to, attribute); });
}
} // namespace

KitCache::KitCache(ILXConfigFactory* factory, ILX_Query* query, ILXDataUpdate* update, LONG mode)
    : m_cache(static_cast<ILXConfigFactoryCache*>(new XLXConfigFactoryCacheManager)) {
    VARIANT values[6] = {};
    IUnknown* const services[] = {factory, query, update};
    for (int i = 0; i < 3; ++i) {
        V_VT(&values[i]) = VT_UNKNOWN;
        V_UNKNOWN(&values[i]) = services[i];
    }
    V_VT(&values[3]) = V_VT(&values[4]) = VT_BOOL;
    V_VT(&values[5]) = VT_I4;
    V_I4(&values[5]) = mode;
    const auto lifetime = Got<IDPFObject>(
        [&](auto** out) { return m_cache->QueryInterface(__uuidof(IDPFObject), reinterpret_cast<void**>(out)); });
    EXPECT_EQ(lifetime->Initialize(6, values), S_OK);
    m_factory = Got<ILXConfigFactory>(
        [&](auto** out) { return m_cache->QueryInterface(__uuidof(ILXConfigFactory), reinterpret_cast<void**>(out)); });
}

KitCache::KitCache(const lx::ServerPtr& server, LONG mode)
    : KitCache(lx::Connect(server).Get(), lx::Connect(server).Get(), lx::Connect(server).Get(), mode) {}

KitCache::~KitCache() {
    const auto lifetime = Got<IDPFObject>(
        [&](auto** out) { return m_cache->QueryInterface(__uuidof(IDPFObject), reinterpret_cast<void**>(out)); });
    EXPECT_EQ(lifetime->Terminate(), S_OK);
}

std::string ValueOf(ILXConfigObject& object, int index) {
    VARIANT value;
    VariantInit(&value);
    const HRESULT result = object.GetProperty(index, &value);
    EXPECT_EQ(result, V_VT(&value) == VT_EMPTY ? S_FALSE : S_OK) << "property " << index;
    std::ostringstream text;
    switch (V_VT(&value)) {
    case VT_EMPTY: break;
    case VT_BSTR: text << '\'' << Narrow(lx::ViewOf(V_BSTR(&value))) << '\''; break;
    case VT_BOOL: text << (V_BOOL(&value) != VARIANT_FALSE ? "true" : "false"); break;
    case VT_I4: text << V_I4(&value); break;
    case VT_R8: text << V_R8(&value) << "r"; break;
    default: text << "type " << V_VT(&value); break;
    }
    VariantClear(&value);
    return text.str();
}

lx::Ref<ILXAttribute> AttributeOf(ILXConfigFactory& factory, const OLECHAR* type, const OLECHAR* name) {
    const auto found = Got<ILXType>([&](auto** out) { return factory.GetType(Name(type), nullptr, out); });
    if (!found) { return {}; }
    return Got<ILXAttribute>([&](auto** out) { return found->GetAttribute(Name(name), out); });
}

std::string Dump(ILXConfigFactory& factory, const std::set<std::string>& only) {
    std::map<std::string, std::string> types; // sorted, because the order of types is unspecified
    ForAll<ILXType>(Got<ILXTypeEnum>([&](auto** out) { return factory.GetTypeEnum(nullptr, out); }),
                    [&](ILXType& type) {
                        if (!only.empty() && !only.contains(ValueOf(type, lx::TypeName))) { return; }
                        std::ostringstream text;
                        DumpValues(text << " type", type, 27); // value 27 exists only in the cache
                        DumpComponents(text, type);
                        types[ValueOf(type, lx::TypeName)] = text.str();
                    });
    std::ostringstream all;
    for (const auto& [name, text] : types) {
        all << text;
    }
    std::set<std::string> relations; // sorted for the same reason
    ForAll<ILXParentChild>(
        Got<ILXParentChildEnum>([&](auto** out) { return factory.GetParentChildEnum(nullptr, nullptr, out); }),
        [&](ILXParentChild& relation) {
            std::ostringstream text;
            DumpValues(text << "relation", relation, 37);
            std::set<std::string> infos;
            ForAll<ILXPCInfo>(Got<ILXPCInfoEnum>([&](auto** out) { return relation.GetPCInfoEnum(out); }),
                              [&](ILXPCInfo& info) {
                                  std::ostringstream line;
                                  DumpValues(line << " info", info, 10);
                                  infos.insert(line.str());
                              });
            for (const std::string& info : infos) {
                text << info;
            }
            relations.insert(text.str());
        });
    for (const std::string& relation : relations) {
        all << relation;
    }
    std::set<std::string> browserIds;
    ForAll<ILXBrowserId>(Got<ILXBrowserIdEnum>([&](auto** out) { return factory.GetBrowserIdEnum(out); }),
                         [&](ILXBrowserId& browserId) {
                             std::ostringstream line;
                             DumpValues(line << "browser id", browserId, 2);
                             browserIds.insert(line.str());
                         });
    for (const std::string& browserId : browserIds) {
        all << browserId;
    }
    ForAll<ILXGlobalAttributeFormatSpec>(Got<ILXGlobalAttributeFormatSpecEnum>(
                                             [&](auto** out) { return factory.GetAllGlobalAttributeFormatSpecs(out); }),
                                         [&](ILXGlobalAttributeFormatSpec& spec) {
                                             DumpValues(all << "spec", spec, 60);
                                             const auto format =
                                                 Got<ILXFormat>([&](auto** out) { return spec.GetFormat(0, out); });
                                             if (format) { DumpValues(all << " format", *format, 60); }
                                         });
    return all.str();
}

std::string Difference(const std::string& left, const std::string& right) {
    std::istringstream leftLines(left);
    std::istringstream rightLines(right);
    std::string leftLine;
    std::string rightLine;
    for (bool more = true; more;) {
        const bool hasLeft = static_cast<bool>(std::getline(leftLines, leftLine));
        const bool hasRight = static_cast<bool>(std::getline(rightLines, rightLine));
        more = hasLeft && hasRight;
        if (hasLeft != hasRight || (more && leftLine != rightLine)) { return leftLine + "\n" + rightLine; }
    }
    return "";
}

std::vector<std::string> Listener::DataIds() const {
    std::vector<std::string> ids;
    for (const Told& told : All()) {
        ids.push_back(told.dataId);
    }
    return ids;
}

HRESULT STDMETHODCALLTYPE Listener::DataObjectChanged(BSTR dataId, BSTR dataType, ULONG type, ULONG id, ULONG,
                                                      tagLXUpdateInfo*) {
    EXPECT_EQ(lx::ViewOf(dataType), lx::CfcSpecific);
    EXPECT_EQ(type, lx::Notifier::AdvicesOfChanges);
    {
        const std::lock_guard lock(m_mutex);
        m_told.push_back({Narrow(lx::ViewOf(dataId)), id});
    }
    return m_answer();
}

LONG Register(ILXDataUpdate& update, ILXCallbackUpdate& callback) {
    LONG client = 0;
    EXPECT_EQ(update.RegisterCallback(nullptr, 1, &callback, &client), S_OK);
    EXPECT_EQ(update.EnableAdvicesDataType(client, Name(lx::CfcSpecific.c_str()), 1, 0x100), S_OK);
    return client;
}
