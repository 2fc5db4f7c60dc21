// SPDX-License-Identifier: MIT
//
// A server on the kit with mistakes of its author, as a shared library. With LX_FAULTY=creation, it cannot be created;
// with LX_FAULTY=names, it names types that do not exist. Each edit looks for an attribute in a type that only inherits
// it.
#include <lxserver/ServerLibrary.h>

#include <cstdlib>
#include <string>

namespace {
std::shared_ptr<lx::ModelServer> MakeServer() {
    const char* const variable = std::getenv("LX_FAULTY");
    const std::string fault = variable != nullptr ? variable : "";
    if (fault == "creation") { throw std::runtime_error("the catalogue of Mül is locked"); }
    lx::Model model;
    model.AddType(OLESTR("Part")).AddAttribute(OLESTR("Weight"));
    model.AddType(OLESTR("Pump"), OLESTR("Part"));
    if (fault == "names") {
        model.AddType(OLESTR("Stray"), OLESTR("Gone"));
        model.AddRelation(OLESTR("Part"), OLESTR("Nothing"), OLESTR("parts"));
    }
    return std::make_shared<lx::ModelServer>(std::move(model));
}

void Edit(lx::ModelServer& server, int) {
    server.Edit([](lx::Model& model) {
        const lx::Key weight = lx::Key::OfAttribute(OLESTR("Pump"), OLESTR("Weight"));
        lx::At(model, weight).Set(lx::Unit, OLESTR("t"));
        return lx::ValueChanged(weight, lx::Unit);
    });
}
} // namespace

LX_SERVER_LIBRARY(MakeServer)
LX_SERVER_LIBRARY_EDITS(MakeServer, Edit)
