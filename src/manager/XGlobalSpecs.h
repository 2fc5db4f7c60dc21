// SPDX-License-Identifier: MIT
//
// The manager's global attribute format specs.
//
// Threading  Any thread may call. The set's lock is held for copying and changing the pointers alone; specs are read
//            and terminated without it.
#ifndef XGLOBALSPECS_H
#define XGLOBALSPECS_H

#include "LXGlobalAttributeFormatSpecCache.h"
#include "XConnection.h"
#include "XLoaded.h"

#include <exception>

class XLXConfigFactoryCacheManager;

class XGlobalSpecs {
public:
    using Spec = XLXComPtr<XLXGlobalAttributeFormatSpecCache>;
    using Specs = std::vector<Spec>;

    /// @param manager  outlives the specs
    explicit XGlobalSpecs(const XLXConfigFactoryCacheManager& manager) noexcept : m_manager(manager) {}

    /// The specs in the server's order, read from the server unless they are there; none when the server says that it
    /// has none, which is kept. An enumeration that fails on the way is raised once, and leaves what came before as
    /// the whole.
    Specs InternalFillGlobalFormatSpecCache();

    /// Drops a spec that the server has removed: this object, and whichever has that id. What is being read from the
    /// server at the moment is older.
    void Drop(const XLXGlobalAttributeFormatSpecCache* spec, XLXTextView id);

    /// From now on answers of the connection with that clock are kept.
    void Begin(const XClockPtr& clock);
    /// Terminates the specs of a connection, and keeps nothing more.
    void End(const XClockPtr& clock);

private:
    std::shared_ptr<const Specs> Fetch(const XServerAccess& server, std::exception_ptr& failure) const;
    void TakeAll(ILXGlobalAttributeFormatSpecEnum& serverSpecs, const XClockPtr& clock, Specs& fresh) const;

    const XLXConfigFactoryCacheManager& m_manager;
    XSharedLoaded<Specs> m_setGlobalAttributeFormatSpecCache{XLockLevel::GlobalSpecs};
};

#endif
