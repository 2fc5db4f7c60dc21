// SPDX-License-Identifier: MIT
#ifndef XREGISTEREDSAMPLE_H
#define XREGISTEREDSAMPLE_H

#include "XToolServer.h"

/// The sample server behind an object; null if the object belongs to another server. Windows only, because the sample
/// server can run in a separate process only there.
std::unique_ptr<XToolServer> LXRegisteredSample(IUnknown& server);

#endif
