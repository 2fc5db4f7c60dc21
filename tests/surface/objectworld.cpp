// SPDX-License-Identifier: MIT
#include "objectworld.h"

#include "XFactoryNoPing.h"
#include "lxconfigfactorycachemanager.h"
#include "lxparentchildcacheinherited.h"
#include "lxtransientattribute.h"
#include "lxtransientpc.h"
#include "lxtransientpcinfo.h"

#include <stdexcept>

namespace {
XServerModel WorldModel() {
    XServerModel model = LXLifeModel();
    model.types.at(OLESTR("Pump"))->AddPage(1);
    model.objects.at(OLESTR("plan"))->attributes[OLESTR("configtypename")] = "Plan"; // which has no other relations
    return model;
}
} // namespace

XObjectWorld::XObjectWorld(XStage stage)
    : m_server(XSampleServer::Create(WorldModel())), m_cache(new XLXConfigFactoryCacheManager) {
    Add("class factory", LXAttach(LXComClassFactory::XFactoryNoPing<XLXConfigFactoryCacheManager>::Create()));
    Add("manager", m_cache);
    const auto info = std::make_shared<XLXTransientPCInfo>(OLESTR("Tree"), true);
    Add("transient PC info", XLXComPtr<ILXPCInfo>(info.get()));
    m_uncounted = info;
    Add("transient attribute", XLXComPtr<ILXAttribute>(new XLXTransientAttribute(OLESTR("N"))));
    if (stage != XStage::Created) {
        Initialize(stage == XStage::Silent);
        MakeObjects();
        MakeRelationObjects();
        if (stage == XStage::Terminated) { m_cache.As<IDPFObject>()->Terminate(); }
    }
}

XObjectWorld::~XObjectWorld() {
    if (m_cache) { m_cache.As<IDPFObject>()->Terminate(); }
}

void XObjectWorld::Initialize(bool silent) {
    auto values = LXArguments(*m_server, 15, silent);
    const HRESULT result = LXServerMode() ? m_cache->Initialize(m_server->ConfigFactory().Get(),
                                                                m_server->Query().Get(), m_server->DataUpdate().Get())
                                          : m_cache.As<IDPFObject>()->Initialize(6, &values[0].Get());
    if (result != S_OK) { throw std::runtime_error("the cache cannot be initialised"); }
}

template <class I> void XObjectWorld::Add(const char* kind, const XLXComPtr<I>& object) {
    if (!object) { throw std::runtime_error(std::string("there is no ") + kind); }
    m_objects.emplace_back(kind, object.template As<IUnknown>());
}

template <class I> void XObjectWorld::AddEnumerated(const char* kind, const XLXComPtr<I>& elements) {
    Add(kind, LXElements(elements).at(0));
    elements->Reset();
    Add((std::string("enumerator of ") + kind + "s").c_str(), elements);
}

void XObjectWorld::MakeObjects() {
    const auto type =
        LXFind(m_cache, &ILXConfigFactoryCache::GetCachedType, m_server->DataObject("Pump").Get(), nullptr);
    Add("type", type);
    Add("page", LXFind(type, &ILXType::GetPage, 1));
    Add("group", LXFind(type, &ILXType::GetGroup, 7));
    const auto attribute = LXFind(type, &ILXType::GetAttribute, "Head");
    Add("attribute", attribute);
    AddEnumerated("attribute type", LXFind(attribute, &ILXAttribute::GetAttributeTypeEnum));
    Add("format", LXFind(attribute, &ILXAttribute::GetFormat, 1));
    AddEnumerated("editor", LXFind(type, &ILXType::GetConfObjEditorEnum));
    const auto factory = m_cache.As<ILXConfigFactory>();
    AddEnumerated("global format spec", LXFind(factory, &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs));
    AddEnumerated("browser id", LXFind(factory, &ILXConfigFactory::GetBrowserIdEnum));
    Add("enumerator of types", LXFind(factory, &ILXConfigFactory::GetTypeEnum, nullptr));
    Add("enumerator of pages", LXFind(type, &ILXType::GetPageEnum));
    Add("enumerator of groups", LXFind(type, &ILXType::GetGroupEnum));
    Add("enumerator of attributes", LXFind(type, &ILXType::GetAttributeEnum));
}

void XObjectWorld::MakeRelationObjects() {
    using Cache = ILXConfigFactoryCache;
    AddEnumerated("relation", LXFind(m_cache, &Cache::GetPPRRelationsEnum, "Equipment", nullptr));
    const auto relation = Object("relation").As<ILXParentChild>();
    const XLXComPtr<XLXParentChildCacheInherited> inherited(new XLXParentChildCacheInherited(relation));
    inherited->SetNames(OLESTR("Derived"), OLESTR("Below"));
    Add("inherited relation", inherited);
    AddEnumerated("PC info", LXFind(relation, &ILXParentChild::GetPCInfoEnum));
    const auto transients = LXFind(m_cache, &Cache::GetPCEnum2, nullptr, "Plan", nullptr, 2);
    Add("transient relation", LXElements(transients).at(0));
    const auto infos = LXFind(Object("transient relation").As<ILXParentChild>(), &ILXParentChild::GetPCInfoEnum);
    Add("PC info of a transient relation", LXElements(infos).at(0));
}

XLXComPtr<IUnknown> XObjectWorld::Object(const std::string& kind) const {
    for (const auto& [name, object] : m_objects) {
        if (name == kind) { return object; }
    }
    return nullptr;
}

XLXComPtr<IUnknown> XObjectWorld::Provider(REFIID iid) const {
    std::vector<XLXComPtr<IUnknown>> all = {m_server->DataObject("Pump").As<IUnknown>(),
                                            m_server->ConfigFactory().As<IUnknown>(), m_server->Query().As<IUnknown>(),
                                            m_server->DataUpdate().As<IUnknown>()};
    for (const auto& [kind, object] : m_objects) {
        all.push_back(object);
    }
    XLXComPtr<IUnknown> face;
    for (const auto& object : all) {
        if (SUCCEEDED(object->QueryInterface(iid, face.PutVoid()))) { return face; }
        (void)face.Detach();
    }
    return nullptr;
}
