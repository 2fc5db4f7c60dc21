// SPDX-License-Identifier: MIT
//
// The class factory alone, with classes whose creation fails.
#include "XFactoryNoPing.h"
#include "lxtestrunner.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>

namespace {
/// A class whose constructor runs code of the test.
class Fragile final : public IUnknown {
public:
    Fragile() {
        if (construct) { construct(); }
        ++alive;
    }
    ~Fragile() { --alive; }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        *out = iid == IID_IUnknown ? this : nullptr;
        return *out != nullptr ? AddRef(), S_OK : RPC_E_CALL_REJECTED;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --m_references;
        if (left == 0) { delete this; }
        return left;
    }

    static inline std::function<void()> construct;
    static inline long alive = 0;

private:
    ULONG m_references = 0;
};

const LXLiveCounter objects("objects", [] { return Fragile::alive; });
const LXLiveCounter locks("locks", [] { return static_cast<long>(XModuleCount::Locks()); });

class Factory : public testing::Test {
protected:
    void TearDown() override { Fragile::construct = nullptr; }

    /// Creates an object; an out pointer that is not null after a failure is released, and reported.
    HRESULT Create(REFIID iid = IID_IUnknown) {
        IUnknown* object = reinterpret_cast<IUnknown*>(&object);
        const HRESULT result = m_factory->CreateInstance(nullptr, iid, reinterpret_cast<void**>(&object));
        EXPECT_EQ(object != nullptr, SUCCEEDED(result));
        EXPECT_EQ(Fragile::alive, SUCCEEDED(result) ? 1 : 0);
        if (SUCCEEDED(result)) { EXPECT_EQ(object->Release(), 0u); }
        return result;
    }

private:
    // The module's own reference, which does not lock the module.
    const XLXComPtr<IClassFactory> m_factory = LXAttach(LXComClassFactory::XFactoryNoPing<Fragile>::Create());
};

TEST_F(Factory, AnswersTheFailureOfEachStepOfTheCreation) {
    EXPECT_EQ(Create(), S_OK);
    EXPECT_EQ(Create(IID_IClassFactory), RPC_E_CALL_REJECTED);
    Fragile::construct = [] { throw std::bad_alloc(); };
    EXPECT_EQ(Create(), E_OUTOFMEMORY);
    Fragile::construct = [] {
        XLXError::Raise(CO_E_OBJNOTREG, OLESTR("not today"), LXHere("test_factory", nullptr, "construct"));
    };
    EXPECT_EQ(Create(), CO_E_OBJNOTREG);
    EXPECT_EQ(XModuleCount::Locks(), 0);
}
} // namespace
