// SPDX-License-Identifier: MIT
//
// Random edits of a sample server's model, for tests and tools: properties of every kind of element, and elements of
// every kind added and removed.
//
// Every edit leaves a valid model: names are unique, and elements that others refer to are not removed. The same seed
// makes the same edits of the same model on every platform.
#ifndef XRANDOMEDITS_H
#define XRANDOMEDITS_H

#include "XSampleServer.h"

/// Makes `count` edits. Returns the number of each kind, such as "set attribute" or "remove relation".
/// @param notify  with XNotify::OnThread, notifications may still be in flight when the function returns
std::map<std::string, unsigned> LXRandomEdits(XServerEdits edits, unsigned seed, unsigned count,
                                              XNotify notify = XNotify::Here);
inline std::map<std::string, unsigned> LXRandomEdits(const XSampleServer& server, unsigned seed, unsigned count,
                                                     XNotify notify = XNotify::Here) {
    return LXRandomEdits(server.Edit(), seed, count, notify);
}

#endif
