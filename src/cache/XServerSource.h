// SPDX-License-Identifier: MIT
#ifndef XSERVERSOURCE_H
#define XSERVERSOURCE_H

#include "XLXComPtr.h"

#include <memory>

/// Where a server object that did not come with its record is asked for when it is needed. Any thread may ask.
class XServerSource {
public:
    XServerSource() = default;
    XServerSource(const XServerSource&) = delete;
    XServerSource& operator=(const XServerSource&) = delete;
    virtual ~XServerSource() = default;

    /// The object; null when there is none, or nobody to ask any more. Raises a failure of the server. Called with no
    /// lock held that a notification could wait for.
    virtual XLXComPtr<IUnknown> Ask() const = 0;
};

using XServerSourcePtr = std::shared_ptr<const XServerSource>;

#endif
