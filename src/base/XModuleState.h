// SPDX-License-Identifier: MIT
#ifndef XMODULESTATE_H
#define XMODULESTATE_H

#include "XModuleCount.h"

/// A value of the module, for a static of a function. It goes when the module is unloaded. When the process ends
/// under clients that still hold objects, it stays: those objects may use it after the statics are destroyed.
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
