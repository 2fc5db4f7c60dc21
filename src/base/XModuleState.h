// SPDX-License-Identifier: MIT
#ifndef XMODULESTATE_H
#define XMODULESTATE_H

#include "XModuleCount.h"

/// Module-wide state, held in a function-local static. It is destroyed when the module is unloaded. When the process
/// exits while clients still hold objects, it is leaked, because those objects may use it after static destruction.
template <class T> class XModuleState {
public:
    XModuleState() : m_value(new T) {}
    XModuleState(const XModuleState&) = delete;
    XModuleState& operator=(const XModuleState&) = delete;
    ~XModuleState() {
        if (XModuleCount::IsIdle()) { delete m_value; }
    }

    T& operator*() const noexcept { return *m_value; }

private:
    T* const m_value;
};

#endif
