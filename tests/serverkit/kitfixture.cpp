// SPDX-License-Identifier: MIT
#include "kitfixture.h"

#include "XFactoryNoPing.h"
#include "lxconfigfactorycachemanager.h"
#include "lxtestrunner.h"

namespace {
const LXLiveCounter g_cacheObjects("objects of the component", [] { return XModuleCount::LiveObjects(); });
const LXLiveCounter g_kitObjects("objects of the server kit", [] { return lx::liveObjects.load(); });
} // namespace

WithComponent::WithComponent() {
    const auto factory = LXAttach(LXComClassFactory::XFactoryNoPing<XLXConfigFactoryCacheManager>::Create());
    lxcfc::Check(CoRegisterClassObject(__uuidof(LXConfigFactoryCache), factory.Get(), CLSCTX_INPROC_SERVER,
                                       REGCLS_MULTIPLEUSE, &m_registration),
                 "CoRegisterClassObject");
}

WithComponent::~WithComponent() { CoRevokeClassObject(m_registration); }

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
    weight.AddFormat(0).Set(lx::FormatPattern, OLESTR("0.0"));
    weight.AddFormat(2).Set(lx::FormatWidth, 12);
    lx::TypeRecord& pump = model.AddType(OLESTR("Pump"), OLESTR("Part"));
    pump.AddAttribute(OLESTR("Weight")).Set(lx::Unit, OLESTR("t")); // the base type's attribute takes precedence
    pump.AddAttribute(OLESTR("RatedFlow")).Set(lx::Unit, OLESTR("m\u00B3/h"));
    pump.AddEditor(OLESTR("Pump.Editor")).Set(lx::EditorBrowserId, OLESTR("Tree")).Set(lx::DefaultEditor, true);
    pump.AddEditor(OLESTR("Pump.New")).Set(lx::EditorBrowserId, OLESTR("Tree")).Set(lx::DefaultNewEditor, true);
    model.AddType(OLESTR("Hidden"), OLESTR("NoSuchBase")).listed = false;
    model.AddBrowserId(OLESTR("Tree")).Set(lx::BrowserIdLabel, OLESTR("Project tree"));
    model.AddRelation(OLESTR("Part"), OLESTR("Pump"), OLESTR("parts")).AddInfo(OLESTR("Tree")).Set(lx::PCInfoNew, 1);
    model.AddRelation(OLESTR("Part"), OLESTR("Part"), OLESTR("spares")).Set(lx::PPRRelationType, 2);
    model.AddRelation(OLESTR("Pump"), OLESTR("Part"), OLESTR("seals"));
    model.AddSpec(OLESTR("Format.kg")).AddFormat(0).Set(lx::FormatPattern, OLESTR("0.000"));
    return std::make_shared<lx::ModelServer>(std::move(model));
}

lxcfc::Ptr<ILXConfigFactory> FactoryOf(const lx::ServerPtr& server) { return lx::Connect(server).Get(); }

lxcfc::Cache CacheOf(const lx::ServerPtr& server, LONG bulk) {
    const auto connection = lx::Connect(server);
    return lxcfc::Cache(connection, connection, {}, {connection, bulk});
}

std::vector<std::string> Listener::DataIds() const {
    std::vector<std::string> ids;
    for (const Notification& notification : All()) {
        ids.push_back(notification.dataId);
    }
    return ids;
}

HRESULT STDMETHODCALLTYPE Listener::DataObjectChanged(BSTR dataId, BSTR dataType, ULONG type, ULONG id, ULONG,
                                                      tagLXUpdateInfo*) {
    EXPECT_EQ(lx::ViewOf(dataType), lx::CfcSpecific);
    EXPECT_EQ(type, lx::Notifier::AdvicesOfChanges);
    {
        const std::lock_guard lock(m_mutex);
        m_received.push_back({lx::ToUtf8(lx::ViewOf(dataId)), id});
    }
    return m_answer();
}

LONG Register(ILXDataUpdate& update, ILXCallbackUpdate& callback) {
    LONG client = 0;
    EXPECT_EQ(update.RegisterCallback(nullptr, 1, &callback, &client), S_OK);
    const lxcfc::Bstr dataType(lx::CfcSpecific);
    EXPECT_EQ(update.EnableAdvicesDataType(client, dataType.Get(), 1, 0x100), S_OK);
    return client;
}
