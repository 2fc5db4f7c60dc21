// SPDX-License-Identifier: MIT
#ifndef LXGLOBALATTRIBUTEFORMATSPECCACHE_H
#define LXGLOBALATTRIBUTEFORMATSPECCACHE_H

#include "XLXFormatOwner.h"

/// A set of formats by format type that is not bound to one attribute.
class XLXGlobalAttributeFormatSpecCache final
    : public XLXFormatOwner<XLXGlobalAttributeFormatSpecCache, XCachedFacts::GlobalFormatSpec,
                            XOwnedFormats::OfGlobalFormatSpec, ILXGlobalAttributeFormatSpec, int> {
public:
    XLXGlobalAttributeFormatSpecCache(XLXComPtr<IUnknown> server, XClockPtr clock);
    ~XLXGlobalAttributeFormatSpecCache();

    /// The live instance of this class behind a pointer, or null when the pointer is something else.
    static XLXComPtr<XLXGlobalAttributeFormatSpecCache> FromFace(ILXGlobalAttributeFormatSpec* face);

    /// Clears the formats and releases the server object. Callers that still hold the format spec read its cached
    /// values; whatever needs the server is refused with E_POINTER.
    void Terminate() noexcept;
};

#endif
