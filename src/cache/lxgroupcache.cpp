// SPDX-License-Identifier: MIT
#include "lxgroupcache.h"

namespace {
constexpr int MemberGroupNumber = 2;
} // namespace

HRESULT XLXGroupCache::GetChildGroupEnum(ILXGroupEnum** ppEnum) {
    return XLXError::Guarded(TheClass.At("GetChildGroupEnum"), [&] {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), TheClass.At("GetChildGroupEnum", 275));
        const LONG number = OwnNumber();
        if (number == 0) {
            XLXError::Raise(E_INVALIDARG, OLESTR("invalid group number 0"), TheClass.At("GetChildGroupEnum", 287));
        }
        const auto owner = m_owner.Lock();
        if (!owner) {
            XLXError::Raise(E_POINTER, OLESTR("owner type association not initialized"),
                            TheClass.At("GetChildGroupEnum", 289));
        }
        return owner->GetChildGroupEnum(number, ppEnum);
    });
}

// An empty value converts to 0.
LONG XLXGroupCache::OwnNumber() {
    const auto value = TryRead(MemberGroupNumber);
    const auto number = value ? value->AsLong() : std::nullopt;
    if (!number) {
        XLXError::Raise(E_INVALIDARG, OLESTR("accessing group property LXCFG_groupnumber failed"),
                        TheClass.At("GetChildGroupEnum", 294));
    }
    return *number;
}
