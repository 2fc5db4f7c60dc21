// SPDX-License-Identifier: MIT
#ifndef XAPARTMENT_H
#define XAPARTMENT_H

#include <objbase.h>

/// Keeps the calling thread in the multithreaded apartment.
class XApartment {
public:
    XApartment() : m_entered(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
    ~XApartment() {
        if (m_entered) { CoUninitialize(); }
    }
    XApartment(const XApartment&) = delete;
    XApartment& operator=(const XApartment&) = delete;

private:
    const bool m_entered;
};

#endif
