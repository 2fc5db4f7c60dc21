// SPDX-License-Identifier: MIT
#ifndef LXGLOBALATTRIBUTEFORMATSPECCACHE_H
#define LXGLOBALATTRIBUTEFORMATSPECCACHE_H

#include "XLXFormatOwner.h"

/// Formats by format type that belong to no single attribute.
class XLXGlobalAttributeFormatSpecCache final
    : public XLXFormatOwner<XLXGlobalAttributeFormatSpecCache, XCachedFacts::GlobalFormatSpec,
                            XOwnedFormats::OfGlobalFormatSpec, ILXGlobalAttributeFormatSpec, int> {
public:
    XLXGlobalAttributeFormatSpecCache(XLXComPtr<IUnknown> server, XClockPtr clock);
    ~XLXGlobalAttributeFormatSpecCache();

    /// One of this class's live instances behind a pointer, or null.
    static XLXComPtr<XLXGlobalAttributeFormatSpecCache> FromFace(ILXGlobalAttributeFormatSpec* face);

    /// Empties the formats and lets go of the server object: whoever still holds the format spec reads the values
    /// that it has, and gets E_POINTER for what only the server knows.
    void Terminate() noexcept;
};

#endif
