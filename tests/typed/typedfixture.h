// SPDX-License-Identifier: MIT
//
// The component as a class of this process, and a server for it.
#ifndef TYPEDFIXTURE_H
#define TYPEDFIXTURE_H

#include <lxcfc.hpp>
#include <lxserver/Connection.h>

#include <gtest/gtest.h>

/// A server with something of each kind.
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
