// SPDX-License-Identifier: MIT
#include "XVerifierCallback.h"

#include "XLXComBSTR.h"
#include "XLXComPtr.h"
#include "XModelValue.h"

#include <memory>

XVerifierCallback& XVerifierCallback::New() {
    static std::mutex mutex;
    static std::vector<std::unique_ptr<XVerifierCallback>> all;
    const std::lock_guard lock(mutex);
    return *all.emplace_back(std::make_unique<XVerifierCallback>());
}

void XVerifierCallback::Inside(std::function<void()> inside) {
    const std::lock_guard lock(m_mutex);
    m_inside = std::move(inside);
}

std::vector<XHeard> XVerifierCallback::Heard() const {
    const std::lock_guard lock(m_mutex);
    return m_heard;
}

std::size_t XVerifierCallback::Count() const {
    const std::lock_guard lock(m_mutex);
    return m_heard.size();
}

HRESULT XVerifierCallback::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) { return E_POINTER; }
    const bool known = iid == IID_IUnknown || iid == LXIid<ILXCallback>() || iid == LXIid<ILXCallbackUpdate>();
    *object = known ? static_cast<ILXCallbackUpdate*>(this) : nullptr;
    if (known) { AddRef(); }
    return known ? S_OK : E_NOINTERFACE;
}

HRESULT XVerifierCallback::DataObjectChanged(BSTR dataId, BSTR dataType, ULONG, ULONG id, ULONG, tagLXUpdateInfo*) {
    return XLXError::Guarded(LXHere("XVerifierCallback", "XVerifierCallback", "DataObjectChanged"), [&]() -> HRESULT {
        XHeard heard{LXToUtf8(LXBstrView(dataId)), LXToUtf8(LXBstrView(dataType)), id};
        std::function<void()> inside;
        {
            const std::lock_guard lock(m_mutex);
            if (heard.dataType == "cfc_specific") { inside = m_inside; }
        }
        if (inside) { inside(); }
        const std::lock_guard lock(m_mutex);
        m_heard.push_back(std::move(heard));
        return m_answer;
    });
}
