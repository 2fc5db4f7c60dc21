// SPDX-License-Identifier: MIT
//
// A server on the kit with mistakes of its author, as a shared library. With LX_FAULTY set, it cannot be created.
// Otherwise, each edit looks for an attribute in a type that only inherits it.
#include <lxserver/ServerLibrary.h>

#include <cstdlib>

namespace {
std::shared_ptr<lx::ModelServer> MakeServer() {
    if (std::getenv("LX_FAULTY") != nullptr) { throw std::runtime_error("the catalogue of Mül is locked"); }
    lx::Model model;
    model.AddType(OLESTR("Part")).AddAttribute(OLESTR("Weight"));
    model.AddType(OLESTR("Pump"), OLESTR("Part"));
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
