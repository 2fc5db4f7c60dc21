// SPDX-License-Identifier: MIT
//
// How the demo gets the component: registered, then activated.
#ifndef XDEMOCOMPONENT_H
#define XDEMOCOMPONENT_H

#include "XLXComPtr.h"

/// COM in this process, and the registration of the component where the registry belongs to the process alone
/// (everywhere but on Windows, where regsvr32 has registered the DLL). The component's objects must be gone
/// before it is destroyed.
class XDemoComponent
{
public:
    XDemoComponent();
    ~XDemoComponent();
    XDemoComponent(const XDemoComponent&) = delete;
    XDemoComponent& operator=(const XDemoComponent&) = delete;

    /// A new cache, not initialised yet.
    XLXComPtr<ILXConfigFactoryCache> Activate() const;
};

#endif
