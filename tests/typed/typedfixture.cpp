// SPDX-License-Identifier: MIT
#include "typedfixture.h"

#include "lxconfigfactorycachemanager.h"
#include "lxtestrunner.h"

namespace {
const LXLiveCounter g_cacheObjects("objects of the component", [] { return XModuleCount::LiveObjects(); });
const LXLiveCounter g_kitObjects("objects of the server kit", [] { return lx::liveObjects.load(); });

class ClassObject final : public lx::Object<IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** out) override {
        const lx::Ref<ILXConfigFactoryCache> cache(new XLXConfigFactoryCacheManager);
        return cache->QueryInterface(iid, out);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};
} // namespace

std::shared_ptr<lx::ModelServer> MakeServer() {
    lx::Model model;
    lx::TypeRecord& part = model.AddType(OLESTR("Part"));
    part.Set(lx::TypeLabel, OLESTR("Part")).Set(lx::Searchable, false);
    part.AddPage(1).Set(lx::PageLabel, OLESTR("General"));
    part.AddPage(2).Set(lx::PageLabel, OLESTR("More"));
    part.AddGroup(1).Set(lx::GroupPage, 1);
    part.AddGroup(2).Set(lx::GroupPage, 2).Set(lx::ParentGroup, 1);
    part.groups[2].format.emplace().Set(lx::FormatPattern, OLESTR("two columns"));
    lx::AttributeRecord& weight = part.AddAttribute(OLESTR("Weight"));
    weight.Set(lx::Unit, OLESTR("kg")).Set(lx::Minimum, 0.5).Set(lx::ShowInEditor, true).Set(lx::AttributeGroup, 2);
    weight.AddType(OLESTR("net")).Set(lx::AttributeTypeLabel, OLESTR("Net weight"));
    weight.AddFormat(2).Set(lx::FormatWidth, 12);
    lx::TypeRecord& pump = model.AddType(OLESTR("Pump"), OLESTR("Part"));
    pump.AddAttribute(OLESTR("RatedFlow")).Set(lx::Unit, OLESTR("m\u00B3/h"));
    pump.AddEditor(OLESTR("Pump.Editor")).Set(lx::EditorBrowserId, OLESTR("Tree")).Set(lx::DefaultEditor, true);
    pump.AddEditor(OLESTR("Pump.New")).Set(lx::EditorBrowserId, OLESTR("Tree")).Set(lx::DefaultNewEditor, true);
    model.AddBrowserId(OLESTR("Tree")).Set(lx::BrowserIdLabel, OLESTR("Project tree"));
    model.AddRelation(OLESTR("Part"), OLESTR("Pump"), OLESTR("parts")).AddInfo(OLESTR("Tree")).Set(lx::PCInfoNew, 1);
    model.AddRelation(OLESTR("Part"), OLESTR("Part"), OLESTR("spares"));
    model.AddRelation(OLESTR("Pump"), OLESTR("Part"), OLESTR("seals"));
    model.AddSpec(OLESTR("Format.kg")).AddFormat(0).Set(lx::FormatPattern, OLESTR("0.000"));
    return std::make_shared<lx::ModelServer>(std::move(model));
}

lxcfc::Ptr<ILXConfigFactory> FactoryOf(const lx::ServerPtr& server) { return lx::Connect(server).Get(); }

Typed::Typed() {
    const lx::Ref<ClassObject> object = lx::Make<ClassObject>();
    lxcfc::Check(CoRegisterClassObject(__uuidof(LXConfigFactoryCache), object.Get(), CLSCTX_INPROC_SERVER,
                                       REGCLS_MULTIPLEUSE, &m_registration),
                 "CoRegisterClassObject");
}

Typed::~Typed() { CoRevokeClassObject(m_registration); }
