// SPDX-License-Identifier: MIT
//
// A configuration server on the server kit: the configuration is described, and the kit makes of it everything that
// clients ask for. It offers what the guide lists: all types in bulk, some, or one, and each as an object; components and
// values; relations, browser ids and global format specs; and notifications of what clients change.
#include "minimal_server.h"

#include <lxserver/Connection.h>

namespace {
void AddAttribute(lx::TypeRecord& type, const lx::Text& name, const lx::Text& unit) {
    lx::AttributeRecord& attribute = type.AddAttribute(name);
    attribute.Set(lx::Label, name).Set(lx::Unit, unit).Set(lx::ShowInEditor, true);
    attribute.Set(lx::AttributeGroup, 1);
    attribute.AddFormat(0).Set(lx::FormatPattern, OLESTR("0.0"));
}

/// Two types with an attribute each, a page with a group, an editor, and a relation: pumps may stand below parts.
lx::Model Describe() {
    lx::Model model;
    lx::TypeRecord& part = model.AddType(OLESTR("Part"));
    part.Set(lx::TypeLabel, OLESTR("Part"));
    part.AddPage(1).Set(lx::PageLabel, OLESTR("General"));
    part.AddGroup(1).Set(lx::GroupLabel, OLESTR("Data")).Set(lx::GroupPage, 1);
    AddAttribute(part, OLESTR("Weight"), OLESTR("kg"));

    lx::TypeRecord& pump = model.AddType(OLESTR("Pump"), OLESTR("Part"));
    pump.Set(lx::TypeLabel, OLESTR("Centrifugal pump"));
    AddAttribute(pump, OLESTR("RatedFlow"), OLESTR("m3/h"));
    lx::EditorRecord& editor = pump.AddEditor(OLESTR("Pump.Editor"));
    editor.Set(lx::EditorBrowserId, OLESTR("Tree")).Set(lx::DefaultEditor, true);

    model.AddBrowserId(OLESTR("Tree"));
    model.AddRelation(OLESTR("Part"), OLESTR("Pump"), OLESTR("parts")).AddInfo(OLESTR("Tree"));
    return model;
}
} // namespace

HRESULT CreateMinimalServer(ILXConfigFactory** ppConfigFactory, ILXDataUpdate** ppDataUpdate) {
    const auto server = std::make_shared<lx::ModelServer>(Describe());
    const lx::Ref<lx::Connection> connection = lx::Connect(server);
    *ppConfigFactory = lx::Ref<ILXConfigFactory>(connection).Detach();
    *ppDataUpdate = lx::Ref<ILXDataUpdate>(connection).Detach();
    return S_OK;
}
