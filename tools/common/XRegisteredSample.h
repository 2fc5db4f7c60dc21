// SPDX-License-Identifier: MIT
#ifndef XREGISTEREDSAMPLE_H
#define XREGISTEREDSAMPLE_H

#include "XToolServer.h"

/// The sample server behind an object; null when the object is that of another server. Windows only, where the sample
/// server can be a process of its own.
std::unique_ptr<XToolServer> LXRegisteredSample(IUnknown& server);

#endif
