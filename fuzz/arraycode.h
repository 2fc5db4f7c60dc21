// SPDX-License-Identifier: MIT
//
// A byte code for arrays in which every byte string is valid, and a small change of the bytes is a small change of the
// array. The first byte selects the container; each further one starts an element.
#ifndef ARRAYCODE_H
#define ARRAYCODE_H

#include "XLXSafeArray.h"

#include <cstdint>
#include <span>
#include <string_view>

using XBytes = std::span<const std::uint8_t>;

/// Decisions from the fuzzer's bytes; 0 when they are used up.
class Decisions {
public:
    explicit Decisions(XBytes bytes) noexcept : m_bytes(bytes) {}
    bool Empty() const noexcept { return m_bytes.empty(); }
    std::uint8_t Byte() noexcept {
        if (m_bytes.empty()) { return 0; }
        const std::uint8_t first = m_bytes.front();
        m_bytes = m_bytes.subspan(1);
        return first;
    }
    /// A number from 0 to count - 1.
    int Of(int count) noexcept { return Byte() % count; }
    template <class T> auto& OneOf(const T& choices) noexcept { return choices[Byte() % std::size(choices)]; }

private:
    XBytes m_bytes;
};

/// Ends the process unless the condition holds.
void LXRequire(bool holds, std::string_view what);

/// The containers for values of the first byte; any other value also means Plain.
enum class EContainer : std::uint8_t { Plain = 0, LowerBoundNegative, LowerBoundLarge, NoArray, Texts, TwoDimensions };

/// Decodes an array of at most 4096 elements.
XLXSafeArray DecodeArray(XBytes bytes);

#endif
