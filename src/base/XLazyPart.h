// SPDX-License-Identifier: MIT
#ifndef XLAZYPART_H
#define XLAZYPART_H

#include <atomic>
#include <memory>

/// A part of an object that most objects never use: made by whoever needs it first, and kept until the object goes.
template <class T> class XLazyPart {
public:
    ~XLazyPart() { delete m_part.load(std::memory_order_acquire); }

    /// The part; made when there is none yet. Of two threads that make one, one keeps it.
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
