// SPDX-License-Identifier: MIT
//
// Registers the component in this process, and provides a server for it.
#ifndef TYPEDFIXTURE_H
#define TYPEDFIXTURE_H

#include <lxcfc.hpp>
#include <lxserver/Connection.h>

#include <gtest/gtest.h>

/// A server with elements of all kinds.
std::shared_ptr<lx::ModelServer> MakeServer();
lxcfc::Ptr<ILXConfigFactory> FactoryOf(const lx::ServerPtr& server);

class Typed : public testing::Test {
protected:
    Typed();
    ~Typed() override;

private:
    const lxcfc::Apartment m_apartment;
    DWORD m_registration = 0;
};

#endif
