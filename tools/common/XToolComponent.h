// SPDX-License-Identifier: MIT
//
// Registers and activates the component.
#ifndef XTOOLCOMPONENT_H
#define XTOOLCOMPONENT_H

#include "XLXComPtr.h"

/// Initialises COM and registers the component where the registry is private to the process. On Windows regsvr32 must
/// have registered the DLL. Release all objects of the component before destroying this object.
class XToolComponent {
public:
    XToolComponent();
    ~XToolComponent();
    XToolComponent(const XToolComponent&) = delete;
    XToolComponent& operator=(const XToolComponent&) = delete;

    /// A new cache, not yet initialised.
    XLXComPtr<ILXConfigFactoryCache> Activate() const;
};

#endif
