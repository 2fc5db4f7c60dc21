// SPDX-License-Identifier: MIT
//
// The locking family of the caches: a read/write lock that is reentrant per thread and counts each thread's
// references, lock-free reading over it, and data that is reached only through proxies which hold the lock.
//
// Threading  A reference is given back by the thread that took it. A thread may read inside its own write; it may not
//            write inside its own read.
#ifndef XBASICCRITSECTION_H
#define XBASICCRITSECTION_H

#include "XCountedLock.h"
#include "XCritData.h"
#include "XLFCritSectionDelegator.h"
#include "XSmartCritSection.h"

#endif
