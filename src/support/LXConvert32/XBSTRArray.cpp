// SPDX-License-Identifier: MIT
#include "XBSTRArray.h"

#include <new>

void XBSTRArray::Detach(LONG* count, BSTR** texts) {
    *count = 0;
    *texts = nullptr;
    if (m_texts.empty()) { return; }
    auto* const buffer = static_cast<BSTR*>(CoTaskMemAlloc(m_texts.size() * sizeof(BSTR)));
    if (buffer == nullptr) { throw std::bad_alloc(); }
    for (std::size_t i = 0; i < m_texts.size(); ++i) {
        buffer[i] = m_texts[i].Detach();
    }
    *count = static_cast<LONG>(m_texts.size());
    *texts = buffer;
    m_texts.clear();
}
