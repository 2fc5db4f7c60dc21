// SPDX-License-Identifier: MIT
#ifndef LXGLOBALATTRIBUTEFORMATSPECCACHE_H
#define LXGLOBALATTRIBUTEFORMATSPECCACHE_H

#include "XFormatMap.h"
#include "XLXConfigObjectCache.h"
#include "XLazyPart.h"

/// Formats by format type that belong to no single attribute.
class XLXGlobalAttributeFormatSpecCache final
    : public XLXConfigObjectCache<XLXGlobalAttributeFormatSpecCache, XCachedFacts::GlobalFormatSpec,
                                  ILXGlobalAttributeFormatSpec>
{
public:
    XLXGlobalAttributeFormatSpecCache(XLXComPtr<IUnknown> server, XClockPtr clock);
    ~XLXGlobalAttributeFormatSpecCache();

    // ILXGlobalAttributeFormatSpec
    HRESULT STDMETHODCALLTYPE CreateFormat(int iFormatType, ILXFormat** ppFormat) override;
    HRESULT STDMETHODCALLTYPE GetFormat(int iFormatType, ILXFormat** ppFormat) override;
    HRESULT STDMETHODCALLTYPE DeleteFormat(int iFormatType) override;

    // For the owner

    /// One of this class's live instances behind a pointer, or null.
    static XLXComPtr<XLXGlobalAttributeFormatSpecCache> FromFace(ILXGlobalAttributeFormatSpec* face);

    /// Empties the formats and lets go of the server object: whoever still holds the format spec reads the values
    /// that it has, and gets E_POINTER for what only the server knows.
    HRESULT Terminate() noexcept;

private:
    friend XLXConfigObjectCache;
    void AdvanceParts() noexcept;
    void OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched);

    XLazyPart<XFormatMap> m_formats;
};

#endif
