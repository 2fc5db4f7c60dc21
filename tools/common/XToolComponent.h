// SPDX-License-Identifier: MIT
//
// How the programs get the component: registered, then activated.
#ifndef XTOOLCOMPONENT_H
#define XTOOLCOMPONENT_H

#include "XLXComPtr.h"

/// COM in this process, and the registration of the component where the registry belongs to the process alone
/// (everywhere but on Windows, where regsvr32 has registered the DLL). The component's objects must be gone before it
/// is destroyed.
class XToolComponent {
public:
    XToolComponent();
    ~XToolComponent();
    XToolComponent(const XToolComponent&) = delete;
    XToolComponent& operator=(const XToolComponent&) = delete;

    /// A new cache, not initialised yet.
    XLXComPtr<ILXConfigFactoryCache> Activate() const;
};

#endif
