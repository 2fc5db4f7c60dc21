// SPDX-License-Identifier: MIT
//
// Tests of an object of each kind, in an application.
#ifndef OBJECTTEST_H
#define OBJECTTEST_H

#include "objectworld.h"

class ObjectTest : public testing::Test {
protected:
    template <class I> XLXComPtr<I> Of(const char* kind) const { return m_world.Object(kind).As<I>(); }
    unsigned long long CallsOf(const std::string& method) const { return m_world.Server().Calls().Of(method); }

    XObjectWorld m_world{XStage::Client};
};

#endif
