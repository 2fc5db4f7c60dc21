// SPDX-License-Identifier: MIT
//
// How the module is unloaded, and its registration script, which the build makes a header of.
#include "XComModule.h"
#include "XModuleFile.h"
#include "registryscript.h"

namespace {
struct Attachment {
    ~Attachment() { theModule.Term(); }
};

const Attachment attachment;
} // namespace

std::string_view XModuleFile::RegistryScript() { return RegistryScriptText; }
