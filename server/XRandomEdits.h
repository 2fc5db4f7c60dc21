// SPDX-License-Identifier: MIT
//
// Random edits of a sample server's model, for tests and tools: properties of every kind of element, and elements of
// every kind added and removed.
//
// Every edit leaves a valid model behind: names are unique, and nothing is removed that something else names. The
// same seed makes the same edits of the same model on every platform.
#ifndef XRANDOMEDITS_H
#define XRANDOMEDITS_H

#include "XSampleServer.h"

/// Makes that many edits and says how many of each kind, such as "set attribute" or "remove relation".
/// @param notify  how the edits are notified; with XNotify::OnThread the notifications may still be on their way when
///                the function returns
std::map<std::string, unsigned> LXRandomEdits(XServerEdits edits, unsigned seed, unsigned count,
                                              XNotify notify = XNotify::Here);
inline std::map<std::string, unsigned> LXRandomEdits(const XSampleServer& server, unsigned seed, unsigned count,
                                                     XNotify notify = XNotify::Here) {
    return LXRandomEdits(server.Edit(), seed, count, notify);
}

#endif
