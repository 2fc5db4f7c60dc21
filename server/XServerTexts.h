// SPDX-License-Identifier: MIT
//
// What a tool and a server say to each other as JSON texts, so that it passes through a BSTR between processes: edits
// of the model and their outcome, numbers of calls, and the server's state.
//
// Errors     A text that cannot be understood, and an edit that the model refuses, raise std::invalid_argument or
//            std::out_of_range with the reason; nothing has changed then.
#ifndef XSERVERTEXTS_H
#define XSERVERTEXTS_H

#include "XSampleServer.h"

/// Applies one edit of XServerEdits, {"edit": its name, and its arguments by name}:
/// {"edit":"SetAttributeProperty","type":"Pump","name":"RatedFlow","index":4,"value":"Flow"} A value is null, a
/// boolean, a number or a text.
XNotification LXApplyEdit(XServerEdits edits, std::string_view json);
/// The edits with their arguments, one a line; a "?" marks one that may be left out.
std::string LXEditUsage();

/// {"id":7,"clients":2,"result":0}
std::string LXFormatNotification(const XNotification& sent);
/// Raises std::invalid_argument with the reason when the text is that of a refusal.
XNotification LXParseNotification(std::string_view json);
/// {"refused":"the model has no such type"}
std::string LXFormatRefusal(const std::string& reason);

/// {"ILXType::GetPage":3,...}
std::string LXFormatCounts(const XCallCounts& counts);
XCallCounts LXParseCounts(std::string_view json);

/// What a server says of itself.
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
