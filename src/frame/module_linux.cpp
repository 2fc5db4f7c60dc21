// SPDX-License-Identifier: MIT
//
// How the module is loaded and unloaded, and its registration script, which the build makes a header of.
#include "XLXConfigFactoryCacheApp.h"
#include "XModuleFile.h"
#include "registryscript.h"

namespace
{
struct Attachment
{
    Attachment() { theApp.InitInstance(); }
    ~Attachment() { theApp.ExitInstance(); }
};

const Attachment attachment;
} // namespace

std::string_view XModuleFile::RegistryScript()
{
    return RegistryScriptText;
}
