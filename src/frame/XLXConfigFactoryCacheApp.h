// SPDX-License-Identifier: MIT
//
// The application object: what happens when the module is loaded and unloaded. It is constant initialised and has no
// destructor, so it exists before and after everything else in the module.
#ifndef XLXCONFIGFACTORYCACHEAPP_H
#define XLXCONFIGFACTORYCACHEAPP_H

#include "XComModule.h"

class XLXConfigFactoryCacheApp
{
public:
    void InitInstance() noexcept;
    void ExitInstance() noexcept { m_module.Term(); }

    XComModule& Module() noexcept { return m_module; }

private:
    XComModule m_module;
};

extern XLXConfigFactoryCacheApp theApp;

#endif
