// SPDX-License-Identifier: MIT
//
// How the module is unloaded. There is no type library service here, and nobody to ask for one: clients use the header.
#include "XComModule.h"
#include "XModuleFile.h"

namespace {
struct Attachment {
    ~Attachment() { theModule.Term(); }
};

const Attachment attachment;
} // namespace

HRESULT LXRegisterTypeLibrary(const XLXText&) { return S_OK; }

HRESULT LXUnregisterTypeLibrary() { return S_OK; }
