// SPDX-License-Identifier: MIT
//
// The manager's global attribute format specs.
//
// Threading  Any thread may call. The set's lock is held for copying and changing the pointers alone; specs
// are
//            read, notified and terminated without it.
#ifndef XGLOBALSPECS_H
#define XGLOBALSPECS_H

#include "LXGlobalAttributeFormatSpecCache.h"
#include "XFillMutex.h"

class XLXConfigFactoryCacheManager;

class XGlobalSpecs
{
public:
    using Spec = XLXComPtr<XLXGlobalAttributeFormatSpecCache>;
    using Specs = std::vector<Spec>;

    /// @param manager  outlives the specs
    explicit XGlobalSpecs(const XLXConfigFactoryCacheManager& manager) noexcept : m_manager(manager) {}

    /// Reads the specs from the server unless they are there. S_FALSE: the server says that it has none, and
    /// is not asked again. An enumeration that fails on the way leaves what came before as the whole.
    HRESULT InternalFillGlobalFormatSpecCache();
    /// The specs, in the server's order.
    Specs All() const;

    /// Drops a spec that the server has removed, if it is there.
    void Drop(const XLXGlobalAttributeFormatSpecCache& spec);
    /// Drops the first spec of that id.
    void DropById(XLXTextView id);

    HRESULT Notify(const XChangeNotification& notification) const;
    /// Makes the next question ask the server. Waits for nobody.
    void Invalidate() noexcept { m_lGlobalFormatSpecsFilled.Invalidate(); }
    void TerminateAndClear();

private:
    void TakeAll(ILXGlobalAttributeFormatSpecEnum& serverSpecs, Specs& fresh) const;
    void Keep(Specs& fresh, std::uint64_t noted);

    const XLXConfigFactoryCacheManager& m_manager;
    XFilledFlag m_lGlobalFormatSpecsFilled;
    XFillMutex m_fill{XLockLevel::GlobalSpecFill};
    mutable XCritDataCFC<Specs> m_setGlobalAttributeFormatSpecCache{XLockLevel::GlobalSpecs};
};

#endif
