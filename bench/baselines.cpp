// SPDX-License-Identifier: MIT
#include "baselines.h"

#include <stdexcept>

HRESULT XPlainValue::GetProperty(VARIANT* out) const { return VariantCopy(out, const_cast<VARIANT*>(&value.Get())); }

void XSharedRelations::Add(XLXTextView parent, XLXTextView child, XLXTextView list,
                           XLXComPtr<ILXParentChild> relation) {
    m_relations[{LXToUtf8(parent), LXToUtf8(child), LXToUtf8(list)}] = std::move(relation);
}

HRESULT XSharedRelations::Find(XLXTextView parent, XLXTextView child, XLXTextView list, ILXParentChild** out) const {
    const Key key(LXToUtf8(parent), LXToUtf8(child), LXToUtf8(list));
    const std::shared_lock<std::shared_mutex> lock(m_mutex);
    const auto found = m_relations.find(key);
    if (found == m_relations.end()) { return S_FALSE; }
    found->second.CopyTo(out);
    return S_OK;
}

void LXCopyElementByElement(SAFEARRAY* from, SAFEARRAY* to) {
    const auto count = static_cast<LONG>(from->rgsabound[0].cElements);
    for (LONG i = 0; i < count; ++i) {
        XLXComVariant element;
        if (FAILED(SafeArrayGetElement(from, &i, &element.Get())) ||
            FAILED(SafeArrayPutElement(to, &i, &element.Get()))) {
            throw std::runtime_error("an element cannot be copied");
        }
    }
}
