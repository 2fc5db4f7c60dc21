// SPDX-License-Identifier: MIT
//
// A notification service that breaks its contract. It forwards all calls to the sample server's.
#ifndef BROKENSERVER_H
#define BROKENSERVER_H

#include "XServerVerifier.h"
#include "hostileserver.h"

/// The faults of a notification service. They are used from any thread once the verification runs.
struct Faults {
    /// Changes a notification; false suppresses it.
    std::function<bool(LONG client, XLXText& dataId, ULONG& id)> notification;
    bool hideAnswers = false;        ///< ignore the results of callbacks
    bool keepNoReference = false;    ///< keep no reference to a callback
    bool releaseNoReference = false; ///< do not release the reference to a callback
    std::atomic<bool> notifying{false};
};
using FaultsPtr = std::shared_ptr<Faults>;

XLXComPtr<ILXDataUpdate> BrokenUpdate(const std::shared_ptr<XSampleServer>& server, const FaultsPtr& faults);

/// The elements of an array.
std::span<VARIANT> ElementsOf(SAFEARRAY* array);
void Replace(VARIANT& element, XLXComVariant value);

#endif
