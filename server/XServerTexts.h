// SPDX-License-Identifier: MIT
//
// The JSON texts that a tool and a server exchange as BSTRs between processes: edits of the model and their outcome,
// numbers of calls, and the server's state.
//
// Errors     An invalid text or edit raises std::invalid_argument or std::out_of_range with the reason. Then nothing is
//            changed.
#ifndef XSERVERTEXTS_H
#define XSERVERTEXTS_H

#include "XSampleServer.h"

/// Applies one edit of XServerEdits, given as an object with the edit's name and its arguments, such as
/// {"edit":"SetAttributeProperty","type":"Pump","name":"RatedFlow","index":4,"value":"Flow"}. A value is null, a
/// boolean, a number or a text.
XNotification LXApplyEdit(XServerEdits edits, std::string_view json);
/// The edits with their arguments, one per line; a "?" marks optional arguments.
std::string LXEditUsage();

/// {"id":7,"clients":2,"result":0}
std::string LXFormatNotification(const XNotification& sent);
/// Raises std::invalid_argument with the reason if the text is a refusal.
XNotification LXParseNotification(std::string_view json);
/// {"refused":"the model has no such type"}
std::string LXFormatRefusal(const std::string& reason);

/// {"ILXType::GetPage":3,...}
std::string LXFormatCounts(const XCallCounts& counts);
XCallCounts LXParseCounts(std::string_view json);

/// A server's state.
struct XServerStatus {
    struct Client {
        LONG id = 0;
        std::string computer;
        ULONG process = 0;
    };
    ULONG process = 0; ///< the server's own
    std::vector<Client> clients;
    XServerObjectCount live;
};

/// {"process":30,"clients":[{"id":1,"computer":"A","process":32}],"objects":4,"references":9}
std::string LXFormatStatus(const XSampleServer& server);
XServerStatus LXParseStatus(std::string_view json);

#endif
