// SPDX-License-Identifier: MIT
#ifndef XLAZYPART_H
#define XLAZYPART_H

#include <atomic>
#include <memory>

/// A member that most objects never use. The first thread that needs it creates it; it lives as long as the object.
template <class T> class XLazyPart {
public:
    ~XLazyPart() { delete m_part.load(std::memory_order_acquire); }

    /// Returns the part and creates it on first use. When two threads create one at the same time, one is kept.
    T& Make() {
        if (T* const part = Find(); part != nullptr) { return *part; }
        auto made = std::make_unique<T>();
        T* first = nullptr;
        if (m_part.compare_exchange_strong(first, made.get(), std::memory_order_acq_rel)) { first = made.release(); }
        return *first;
    }

    /// The part, or null.
    T* Find() const noexcept { return m_part.load(std::memory_order_acquire); }

private:
    std::atomic<T*> m_part{nullptr};
};

#endif
