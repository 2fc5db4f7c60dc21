// SPDX-License-Identifier: MIT
//
// The records of the interfaces lie in memory as 32-bit clients have them.
#include <LXConfigFactoryCache.h>
#include <stddef.h>

#if defined(_WIN32) && !defined(_WIN64)
_Static_assert(sizeof(tagLXNotifications) == 12 && offsetof(tagLXNotifications, ulNotificationsDesired) == 8, "");
_Static_assert(sizeof(tagLXUpdateInfo) == 8 && offsetof(tagLXUpdateInfo, bstrObjectType) == 4, "");
_Static_assert(sizeof(tagLXDataUpdateChanges) == 24 && offsetof(tagLXDataUpdateChanges, pUpdateInfo) == 20, "");
_Static_assert(sizeof(tagLXClientInfo) == 32 && offsetof(tagLXClientInfo, pInterface) == 28, "");
_Static_assert(sizeof(tagLXNamedValue) == 24 && offsetof(tagLXNamedValue, varValue) == 8, "");
#else
int unused;
#endif
