// SPDX-License-Identifier: MIT
//
// XLXSafeArray owns a SAFEARRAY with its elements.
#ifndef XLXSAFEARRAY_H
#define XLXSAFEARRAY_H

#include "LXConfigFactoryCache.h"

#include <utility>

class XLXSafeArray {
public:
    XLXSafeArray() noexcept = default;
    explicit XLXSafeArray(SAFEARRAY* array) noexcept : m_array(array) {}
    XLXSafeArray(XLXSafeArray&& other) noexcept : m_array(std::exchange(other.m_array, nullptr)) {}
    ~XLXSafeArray() { Reset(); }
    XLXSafeArray& operator=(XLXSafeArray other) noexcept {
        Swap(other);
        return *this;
    }

    SAFEARRAY* Get() const noexcept { return m_array; }
    explicit operator bool() const noexcept { return m_array != nullptr; }
    void Swap(XLXSafeArray& other) noexcept { std::swap(m_array, other.m_array); }
    void Reset() noexcept {
        if (SAFEARRAY* const old = std::exchange(m_array, nullptr); old != nullptr) { SafeArrayDestroy(old); }
    }
    SAFEARRAY** Put() noexcept {
        Reset();
        return &m_array;
    }
    [[nodiscard]] SAFEARRAY* Detach() noexcept { return std::exchange(m_array, nullptr); }

private:
    SAFEARRAY* m_array = nullptr;
};

#endif
