// SPDX-License-Identifier: MIT
#ifndef XSERVERSOURCE_H
#define XSERVERSOURCE_H

#include "XLXComPtr.h"

#include <memory>

/// Supplies a server object on demand when its record did not bring it. Thread-safe.
class XServerSource {
public:
    XServerSource() = default;
    XServerSource(const XServerSource&) = delete;
    XServerSource& operator=(const XServerSource&) = delete;
    virtual ~XServerSource() = default;

    /// The object; null when there is none or the connection is over. Raises a failure of the server. Must not be
    /// called while a lock is held that a notification could wait for.
    virtual XLXComPtr<IUnknown> Ask() const = 0;
};

using XServerSourcePtr = std::shared_ptr<const XServerSource>;

#endif
