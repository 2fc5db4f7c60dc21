// SPDX-License-Identifier: MIT
// A client on the typed layer: puts the cache in front of a server and lists what a type has.
#include "minimal_server.h"

#include <iostream>
#include <lxcfc.hpp>

int main() {
    try {
        const lxcfc::Apartment apartment;
        lxcfc::Ptr<ILXConfigFactory> server; // both come from your connection to the server
        lxcfc::Ptr<ILXDataUpdate> update;
        lxcfc::Check(CreateMinimalServer(server.Put(), update.Put()), "CreateMinimalServer");

        const lxcfc::Cache cache(server, update); // reads all types; ended by its destructor
        for (const auto& attribute : cache.Type(L"Pump").Attributes()) {
            std::cout << attribute.Text<std::string>(lx::Label) << " in " << attribute.Text<std::string>(lx::Unit)
                      << '\n';
        }
        return 0;
    } catch (const lxcfc::Error& error) {
        std::cerr << error.what() << '\n'; // what went wrong, the HRESULT, and where
        return 1;
    }
}
