// SPDX-License-Identifier: MIT
//
// A configuration server on the server kit. It describes a configuration, and the kit implements all interfaces from
// the description: types in bulk or one by one, their components and values, relations, browser ids, global format
// specs, and notifications of changes by clients or by the server. Built as a shared library, lxcfc can inspect and
// verify it.
#include "minimal_server.h"

#include <lxserver/ServerLibrary.h>

namespace {
/// Adds a type with a page and a group. Unlike attributes, these are not inherited, so each type needs its own.
lx::TypeRecord& AddType(lx::Model& model, const lx::Text& name, const lx::Text& label, const lx::Text& base = {}) {
    lx::TypeRecord& type = model.AddType(name, base);
    type.Set(lx::TypeLabel, label);
    type.AddPage(1).Set(lx::PageLabel, OLESTR("General"));
    type.AddGroup(1).Set(lx::GroupLabel, OLESTR("Data")).Set(lx::GroupPage, 1);
    return type;
}

void AddAttribute(lx::TypeRecord& type, const lx::Text& name, const lx::Text& unit) {
    lx::AttributeRecord& attribute = type.AddAttribute(name);
    attribute.Set(lx::Label, name).Set(lx::Unit, unit).Set(lx::ShowInEditor, true);
    attribute.Set(lx::AttributeGroup, 1);
    attribute.AddFormat(0).Set(lx::FormatPattern, OLESTR("0.0"));
}

/// Two types with one attribute each, an editor, and a relation: a part may have pumps as children.
lx::Model Describe() {
    lx::Model model;
    AddAttribute(AddType(model, OLESTR("Part"), OLESTR("Part")), OLESTR("Weight"), OLESTR("kg"));
    lx::TypeRecord& pump = AddType(model, OLESTR("Pump"), OLESTR("Centrifugal pump"), OLESTR("Part"));
    AddAttribute(pump, OLESTR("RatedFlow"), OLESTR("m3/h"));
    lx::EditorRecord& editor = pump.AddEditor(OLESTR("Pump.Editor"));
    editor.Set(lx::EditorBrowserId, OLESTR("Tree")).Set(lx::DefaultEditor, true);

    model.AddBrowserId(OLESTR("Tree"));
    model.AddRelation(OLESTR("Part"), OLESTR("Pump"), OLESTR("parts")).AddInfo(OLESTR("Tree"));
    return model;
}

std::shared_ptr<lx::ModelServer> MakeServer() { return std::make_shared<lx::ModelServer>(Describe()); }

/// Changes the configuration in the server. When the change is in place, Edit sends the notifications that the function
/// returns. Objects that clients hold then return the new value.
void ChangeUnit(lx::ModelServer& server, int number) {
    server.Edit([number](lx::Model& model) {
        const lx::Key flow = lx::Key::OfAttribute(OLESTR("Pump"), OLESTR("RatedFlow"));
        lx::At(model, flow).Set(lx::Unit, number % 2 == 0 ? OLESTR("m3/h") : OLESTR("l/s"));
        return lx::ValueChanged(flow, lx::Unit);
    });
}
} // namespace

LX_SERVER_LIBRARY(MakeServer)
LX_SERVER_LIBRARY_EDITS(MakeServer, ChangeUnit) // lets lxcfc verify-server change the server

HRESULT CreateMinimalServer(ILXConfigFactory** ppConfigFactory, ILXDataUpdate** ppDataUpdate) {
    const lx::Ref<lx::Connection> connection = lx::Connect(MakeServer());
    *ppConfigFactory = lx::Ref<ILXConfigFactory>(connection).Detach();
    *ppDataUpdate = lx::Ref<ILXDataUpdate>(connection).Detach();
    return S_OK;
}
