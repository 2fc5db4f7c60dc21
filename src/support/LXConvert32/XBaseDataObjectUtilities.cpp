// SPDX-License-Identifier: MIT
#include "XBaseDataObjectUtilities.h"

namespace {
constexpr ULONG Batch = 100;
constexpr std::size_t MostObjects = 1000000;
} // namespace

HRESULT XBaseDataObjectUtilities::GetChildrenVector(ILX_BaseDataObject& object, BSTR childList, Objects& children,
                                                    BeforeCall beforeCall) {
    XLXComPtr<IEnumBaseDataObject> found;
    beforeCall("ILX_BaseDataObject::GetChildren");
    const HRESULT result = object.GetChildren(childList, found.Put());
    if (FAILED(result)) {
        (void)found.Detach(); // a failing call leaves nothing to release
        return result;
    }
    return found ? GetVector(*found, children, beforeCall) : S_OK;
}

HRESULT XBaseDataObjectUtilities::GetVector(IEnumBaseDataObject& objects, Objects& all, BeforeCall beforeCall) {
    HRESULT result = S_OK;
    for (std::size_t asked = 0; result == S_OK; asked += Batch) {
        if (asked >= MostObjects) { return E_FAIL; }
        XLXComPtr<ILX_BaseDataObject> owned[Batch];
        ILX_BaseDataObject* raw[Batch] = {};
        ULONG fetched = 0;
        beforeCall("IEnumBaseDataObject::RemNext");
        result = objects.RemNext(Batch, raw, &fetched);
        if (FAILED(result)) {
            return result; // a failing call leaves nothing to release
        }
        for (ULONG i = 0; i < Batch; ++i) {
            owned[i].Attach(raw[i]); // released even past the count that is claimed
        }
        for (ULONG i = 0; i < fetched && i < Batch; ++i) {
            if (owned[i]) { all.push_back(std::move(owned[i])); }
        }
    }
    return S_OK;
}
