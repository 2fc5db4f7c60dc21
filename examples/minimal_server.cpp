// SPDX-License-Identifier: MIT
//
// A configuration server on the server kit: the configuration is described, and the kit makes of it everything that
// clients ask for. It offers what the guide lists: all types in bulk, some, or one, and each as an object; components and
// values; relations, browser ids and global format specs; and notifications of what clients, or the server itself,
// change. As a shared library it is a server that lxcfc looks into and verifies.
#include "minimal_server.h"

#include <lxserver/ServerLibrary.h>

namespace {
/// A type with a page and a group: unlike attributes these are not inherited, so that each type needs its own.
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

/// Two types with an attribute each, an editor, and a relation: pumps may stand below parts.
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

/// A change made in the server. What the function answers is notified when the change is in place; objects that clients
/// hold then show it.
void ChangeUnit(lx::ModelServer& server, int number) {
    server.Edit([number](lx::Model& model) {
        const lx::Key flow = lx::Key::OfAttribute(OLESTR("Pump"), OLESTR("RatedFlow"));
        lx::Find(model, flow)->Set(lx::Unit, number % 2 == 0 ? OLESTR("m3/h") : OLESTR("l/s"));
        return lx::ValueChanged(flow, lx::Unit);
    });
}
} // namespace

LX_SERVER_LIBRARY(MakeServer)
LX_SERVER_LIBRARY_EDITS(MakeServer, ChangeUnit) // lxcfc verify-server changes the server so

HRESULT CreateMinimalServer(ILXConfigFactory** ppConfigFactory, ILXDataUpdate** ppDataUpdate) {
    const lx::Ref<lx::Connection> connection = lx::Connect(MakeServer());
    *ppConfigFactory = lx::Ref<ILXConfigFactory>(connection).Detach();
    *ppDataUpdate = lx::Ref<ILXDataUpdate>(connection).Detach();
    return S_OK;
}
