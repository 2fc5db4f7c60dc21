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

/// The first element of an enumerator.
template <class Element, class Enumerator> XLXComPtr<Element> First(const XLXComPtr<Enumerator>& all) {
    XLXComPtr<Element> element;
    if (all) {
        all->Reset();
        all->GetSingleNext(element.Put());
    }
    return element;
}

/// The object that a call returns.
template <class I, class F> XLXComPtr<I> Got(F&& get) {
    XLXComPtr<I> object;
    get(object.Put());
    return object;
}
template <class Owner, class I>
XLXComPtr<I> Got(const XLXComPtr<Owner>& owner, HRESULT (STDMETHODCALLTYPE Owner::*get)(I**)) {
    return Got<I>([&](I** out) { (*owner.*get)(out); });
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
        Initialize(stage);
        MakeObjects();
        MakeRelationObjects();
        MakeEnumerators();
        if (stage == XStage::Terminated || stage == XStage::ServerTerminated) { m_cache.As<IDPFObject>()->Terminate(); }
    }
}

XObjectWorld::~XObjectWorld() {
    if (m_cache) { m_cache.As<IDPFObject>()->Terminate(); }
}

void XObjectWorld::Initialize(XStage stage) {
    HRESULT result = E_FAIL;
    if (stage == XStage::Server || stage == XStage::ServerTerminated) {
        result =
            m_cache->Initialize(m_server->ConfigFactory().Get(), m_server->Query().Get(), m_server->DataUpdate().Get());
    } else {
        auto values = LXArguments(*m_server, 15, stage == XStage::Silent);
        result = m_cache.As<IDPFObject>()->Initialize(6, &values[0].Get());
    }
    if (result != S_OK) { throw std::runtime_error("the cache cannot be initialised"); }
}

template <class I> void XObjectWorld::Add(const char* kind, const XLXComPtr<I>& object) {
    if (!object) { throw std::runtime_error(std::string("there is no ") + kind); }
    m_objects.emplace_back(kind, object.template As<IUnknown>());
}

void XObjectWorld::MakeObjects() {
    const auto type =
        Got<ILXType>([&](auto out) { m_cache->GetCachedType(m_server->DataObject("Pump").Get(), nullptr, out); });
    Add("type", type);
    Add("page", Got<ILXPage>([&](auto out) { type->GetPage(1, out); }));
    const auto group = Got<ILXGroup>([&](auto out) { type->GetGroup(7, out); });
    Add("group", group);
    const XLXComBSTR head(OLESTR("Head"));
    const auto attribute = Got<ILXAttribute>([&](auto out) { type->GetAttribute(head.Get(), out); });
    Add("attribute", attribute);
    Add("attribute type", First<ILXAttributeType>(Got(attribute, &ILXAttribute::GetAttributeTypeEnum)));
    Add("format", Got<ILXFormat>([&](auto out) { attribute->GetFormat(1, out); }));
    Add("editor", First<ILXConfObjEditor>(Got(type, &ILXType::GetConfObjEditorEnum)));
    const auto factory = m_cache.As<ILXConfigFactory>();
    Add("global format spec",
        First<ILXGlobalAttributeFormatSpec>(Got(factory, &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs)));
    Add("browser id", First<ILXBrowserId>(Got(factory, &ILXConfigFactory::GetBrowserIdEnum)));
}

void XObjectWorld::MakeRelationObjects() {
    const XLXComBSTR equipment(OLESTR("Equipment"));
    const XLXComBSTR parts(OLESTR("parts"));
    const XLXComBSTR plan(OLESTR("Plan"));
    const auto relation =
        Got<ILXParentChild>([&](auto out) { m_cache->GetPCRelation(equipment.Get(), nullptr, parts.Get(), out); });
    Add("relation", relation);
    const XLXComPtr<XLXParentChildCacheInherited> inherited(new XLXParentChildCacheInherited(relation));
    inherited->SetNames(OLESTR("Derived"), OLESTR("Below"));
    Add("inherited relation", inherited);
    Add("PC info", First<ILXPCInfo>(Got(relation, &ILXParentChild::GetPCInfoEnum)));
    const auto transient = First<ILXParentChild>(
        Got<ILXParentChildEnum>([&](auto out) { m_cache->GetPCEnum2(nullptr, plan.Get(), nullptr, 2, out); }));
    Add("transient relation", transient);
    Add("PC info of a transient relation", First<ILXPCInfo>(Got(transient, &ILXParentChild::GetPCInfoEnum)));
}

void XObjectWorld::MakeEnumerators() {
    const auto factory = m_cache.As<ILXConfigFactory>();
    const auto type = Of<ILXType>("type");
    Add("enumerator of types", Got<ILXTypeEnum>([&](auto out) { factory->GetTypeEnum(nullptr, out); }));
    Add("enumerator of pages", Got(type, &ILXType::GetPageEnum));
    Add("enumerator of groups", Got(type, &ILXType::GetGroupEnum));
    Add("enumerator of attributes", Got(type, &ILXType::GetAttributeEnum));
    Add("enumerator of attribute types", Got(Of<ILXAttribute>("attribute"), &ILXAttribute::GetAttributeTypeEnum));
    Add("enumerator of editors", Got(type, &ILXType::GetConfObjEditorEnum));
    Add("enumerator of relations", Got<ILXParentChildEnum>([&](auto out) {
            m_cache->GetPPRRelationsEnum(XLXComBSTR(OLESTR("Equipment")).Get(), nullptr, out);
        }));
    Add("enumerator of PC infos", Got(Of<ILXParentChild>("relation"), &ILXParentChild::GetPCInfoEnum));
    Add("enumerator of browser ids", Got(factory, &ILXConfigFactory::GetBrowserIdEnum));
    Add("enumerator of global format specs", Got(factory, &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs));
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
