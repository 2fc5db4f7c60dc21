/* SPDX-License-Identifier: MIT
 *
 * Where the fields of the records lie, for C and for C++. */
#ifndef RECORDLAYOUT_H
#define RECORDLAYOUT_H

#include <assert.h>
#include <stddef.h>

#define FIELD(record, offset, field) static_assert(offsetof(record, field) == (offset), #record "." #field)
#define SIZE(record, size) static_assert(sizeof(record) == (size), #record)

FIELD(tagLXNotifications, 0, bstrObjectId);
FIELD(tagLXNotifications, 8, bstrObjectType);
FIELD(tagLXNotifications, 16, ulNotificationsDesired);
SIZE(tagLXNotifications, 24);

FIELD(tagLXUpdateInfo, 0, bstrObjectId);
FIELD(tagLXUpdateInfo, 8, bstrObjectType);
SIZE(tagLXUpdateInfo, 16);

FIELD(tagLXDataUpdateChanges, 0, bstrObjectId);
FIELD(tagLXDataUpdateChanges, 8, bstrObjectType);
FIELD(tagLXDataUpdateChanges, 16, ulNotificationId);
FIELD(tagLXDataUpdateChanges, 20, ulChangeType);
FIELD(tagLXDataUpdateChanges, 24, ulCount);
FIELD(tagLXDataUpdateChanges, 32, pUpdateInfo);
SIZE(tagLXDataUpdateChanges, 40);

FIELD(tagLXClientInfo, 0, ulProcessID);
FIELD(tagLXClientInfo, 4, ulLanguageID);
FIELD(tagLXClientInfo, 8, bSuperUserTask);
FIELD(tagLXClientInfo, 16, bstrTransactionName);
FIELD(tagLXClientInfo, 24, bstrComputerName);
FIELD(tagLXClientInfo, 32, bstrUserName);
FIELD(tagLXClientInfo, 40, bstrPWD);
FIELD(tagLXClientInfo, 48, pInterface);
SIZE(tagLXClientInfo, 56);

FIELD(tagLXNamedValue, 0, bstrName);
FIELD(tagLXNamedValue, 8, varValue);
SIZE(tagLXNamedValue, 32);

SIZE(VARIANT, 24);
SIZE(LONG, 4);
SIZE(LXRightType, 4);

#endif
