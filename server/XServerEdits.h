// SPDX-License-Identifier: MIT
//
// Edits of the sample server's model, each with the notification that a server sends for it. docs/sample-server.md has
// the table of edits and their data ids.
//
// Threading  Thread-safe; may also be called from hooks and clients' callbacks. The model is changed under its lock;
//            the notification is sent after the lock is released.
// Errors     An unknown or duplicate name, or a property index out of range, raises std::invalid_argument or
//            std::out_of_range. Then nothing is changed or sent.
#ifndef XSERVEREDITS_H
#define XSERVEREDITS_H

#include "XServerModel.h"

#include <lxserver/Notifier.h>

class XServerCore;

/// Whether and on which thread the notification of an edit is sent.
enum class XNotify {
    No,
    Here,    ///< on the calling thread, before the edit returns
    OnThread ///< on a thread of each client; XSampleServer::FlushNotifications waits for them
};

/// The outcome of a notification; the id is 0 if none was sent. With OnThread only the id is known when the edit
/// returns.
using XNotification = lx::Notifier::Outcome;

class XServerEdits {
public:
    explicit XServerEdits(std::shared_ptr<XServerCore> core) noexcept : m_core(std::move(core)) {}

    // Types. Setting Searchable also sends "searchable", because type records carry that flag.
    XNotification AddType(const XText& name, const XText& base = "", XNotify notify = XNotify::Here);
    XNotification RemoveType(const XText& name, XNotify notify = XNotify::Here);
    XNotification SetTypeProperty(const XText& type, int index, const XModelValue& value,
                                  XNotify notify = XNotify::Here);
    XNotification SetTypeListed(const XText& type, bool listed, XNotify notify = XNotify::Here);

    // Components of a type
    XNotification AddAttribute(const XText& type, const XText& name, int group = 0, XNotify notify = XNotify::Here);
    XNotification RemoveAttribute(const XText& type, const XText& name, XNotify notify = XNotify::Here);
    XNotification SetAttributeProperty(const XText& type, const XText& name, int index, const XModelValue& value,
                                       XNotify notify = XNotify::Here);
    XNotification AddAttributeType(const XText& type, const XText& attribute, const XText& name,
                                   XNotify notify = XNotify::Here);
    XNotification RemoveAttributeType(const XText& type, const XText& attribute, const XText& name,
                                      XNotify notify = XNotify::Here);
    XNotification SetAttributeTypeProperty(const XText& type, const XText& attribute, const XText& name, int index,
                                           const XModelValue& value, XNotify notify = XNotify::Here);
    XNotification AddGroup(const XText& type, int number, int page = 0, int parentGroup = 0,
                           XNotify notify = XNotify::Here);
    XNotification RemoveGroup(const XText& type, int number, XNotify notify = XNotify::Here);
    XNotification SetGroupProperty(const XText& type, int number, int index, const XModelValue& value,
                                   XNotify notify = XNotify::Here);
    XNotification AddPage(const XText& type, int number, XNotify notify = XNotify::Here);
    XNotification RemovePage(const XText& type, int number, XNotify notify = XNotify::Here);
    XNotification SetPageProperty(const XText& type, int number, int index, const XModelValue& value,
                                  XNotify notify = XNotify::Here);
    XNotification AddEditor(const XText& type, const XText& progId, const XText& browserId, bool isDefault = false,
                            bool isDefaultNew = false, XNotify notify = XNotify::Here);
    XNotification RemoveEditor(const XText& type, const XText& progId, XNotify notify = XNotify::Here);
    XNotification SetEditorProperty(const XText& type, const XText& progId, int index, const XModelValue& value,
                                    XNotify notify = XNotify::Here);

    // Formats of an attribute, a group or a global spec
    XNotification AddAttributeFormat(const XText& type, const XText& attribute, int formatType,
                                     XNotify notify = XNotify::Here);
    XNotification RemoveAttributeFormat(const XText& type, const XText& attribute, int formatType,
                                        XNotify notify = XNotify::Here);
    XNotification SetAttributeFormatProperty(const XText& type, const XText& attribute, int formatType, int index,
                                             const XModelValue& value, XNotify notify = XNotify::Here);
    XNotification AddGroupFormat(const XText& type, int number, XNotify notify = XNotify::Here);
    XNotification RemoveGroupFormat(const XText& type, int number, XNotify notify = XNotify::Here);
    XNotification SetGroupFormatProperty(const XText& type, int number, int index, const XModelValue& value,
                                         XNotify notify = XNotify::Here);
    XNotification AddGlobalSpecFormat(const XText& propertyId, int formatType, XNotify notify = XNotify::Here);
    XNotification RemoveGlobalSpecFormat(const XText& propertyId, int formatType, XNotify notify = XNotify::Here);
    XNotification SetGlobalSpecFormatProperty(const XText& propertyId, int formatType, int index,
                                              const XModelValue& value, XNotify notify = XNotify::Here);

    // Global specs and browser ids
    XNotification AddGlobalSpec(const XText& propertyId, XNotify notify = XNotify::Here);
    XNotification RemoveGlobalSpec(const XText& propertyId, XNotify notify = XNotify::Here);
    XNotification SetGlobalSpecProperty(const XText& propertyId, int index, const XModelValue& value,
                                        XNotify notify = XNotify::Here);
    XNotification AddBrowserId(const XText& name, XNotify notify = XNotify::Here);
    XNotification RemoveBrowserId(const XText& name, XNotify notify = XNotify::Here);
    XNotification SetBrowserIdProperty(const XText& name, int index, const XModelValue& value,
                                       XNotify notify = XNotify::Here);

    // Relations and their PC infos. If two PC infos of a relation have the same browser, the edits change the first
    // one.
    XNotification AddRelation(const XText& parent, const XText& child, const XText& childList, int pprRelationType = 0,
                              bool systemInternal = false, XNotify notify = XNotify::Here);
    XNotification RemoveRelation(const XText& parent, const XText& child, const XText& childList,
                                 XNotify notify = XNotify::Here);
    XNotification SetRelationProperty(const XText& parent, const XText& child, const XText& childList, int index,
                                      const XModelValue& value, XNotify notify = XNotify::Here);
    XNotification AddPCInfo(const XText& parent, const XText& child, const XText& childList, const XText& browserId,
                            bool isNew = false, XNotify notify = XNotify::Here);
    XNotification RemovePCInfo(const XText& parent, const XText& child, const XText& childList, const XText& browserId,
                               XNotify notify = XNotify::Here);
    XNotification SetPCInfoProperty(const XText& parent, const XText& child, const XText& childList,
                                    const XText& browserId, int index, const XModelValue& value,
                                    XNotify notify = XNotify::Here);

    /// Makes any other change of the model, such as of plan types and data objects, and sends the data id unless it is
    /// empty. The function runs under the model's lock, so it must not call the server.
    XNotification Change(const std::function<void(XServerModel&)>& change, const XText& dataId = "",
                         XNotify notify = XNotify::Here);

private:
    std::shared_ptr<XServerCore> m_core;
};

#endif
