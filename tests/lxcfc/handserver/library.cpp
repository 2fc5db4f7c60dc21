// SPDX-License-Identifier: MIT
//
// The hand-written server as a shared library: one C function, without the kit. The environment says what it is to be.
#include "handserver.h"

#include <LXCompiler.h>

#include <cstdlib>
#include <string>

extern "C" LX_EXPORT HRESULT LXConnectServer(REFIID iid, void** object) {
    const char* const wish = std::getenv("LX_HANDSERVER");
    return LXConnectHandServer(wish == nullptr || wish != std::string("silent"),
                               wish != nullptr && wish == std::string("edits"), iid, object);
}
