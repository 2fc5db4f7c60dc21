// SPDX-License-Identifier: MIT
//
// Unloading the module. This platform has no type library service and no client that needs one: clients use the header.
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
