// SPDX-License-Identifier: MIT
//
// A server that breaks its contract in one way. It forwards all calls to the sample server, and a test modifies the
// results.
#ifndef BROKENSERVER_H
#define BROKENSERVER_H

#include "XServerVerifier.h"
#include "hostileserver.h"

/// The faults of a server. They are used from any thread once the verification runs.
struct Faults {
    /// Changes the result of a method, and the target of its out parameter.
    using Answer = std::function<HRESULT(std::string_view method, HRESULT result, void** out)>;

    Answer factory; ///< for methods of the config factory
    Answer type;    ///< for methods of types from GetType
    /// The same for GetProperty of these types.
    std::function<HRESULT(int index, HRESULT result, VARIANT* value)> property;
    /// Replaces the argument that requests base types.
    std::optional<LONG> withBases;

    /// Changes a notification; false suppresses it.
    std::function<bool(LONG client, XLXText& dataId, ULONG& id)> notification;
    bool hideAnswers = false;        ///< ignore the results of callbacks
    bool keepNoReference = false;    ///< keep no reference to a callback
    bool releaseNoReference = false; ///< do not release the reference to a callback
    bool knowEveryClient = false;
    std::atomic<bool> notifying{false};
};
using FaultsPtr = std::shared_ptr<Faults>;

XLXComPtr<ILXConfigFactory> BrokenFactory(const std::shared_ptr<XSampleServer>& server, const FaultsPtr& faults);
XLXComPtr<ILXDataUpdate> BrokenUpdate(const std::shared_ptr<XSampleServer>& server, const FaultsPtr& faults);

/// The elements of an array.
std::span<VARIANT> ElementsOf(SAFEARRAY* array);
void Replace(VARIANT& element, XLXComVariant value);

#endif
