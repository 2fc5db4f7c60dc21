// SPDX-License-Identifier: MIT
#ifndef XREGISTEREDSAMPLE_H
#define XREGISTEREDSAMPLE_H

#include "XToolServer.h"

/// The sample server behind an object; null when the object belongs to another server. Windows only, because only there
/// the sample server can run in a separate process.
std::unique_ptr<XToolServer> LXRegisteredSample(IUnknown& server);

#endif
