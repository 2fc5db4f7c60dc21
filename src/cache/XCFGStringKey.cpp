// SPDX-License-Identifier: MIT
#include "XCFGStringKey.h"

namespace {
/// Whether the unit at that index is a surrogate of this kind: 0xD800 for high ones, 0xDC00 for low ones.
bool IsSurrogate(XLXTextView text, std::size_t at, unsigned kind) {
    return at < text.size() && (static_cast<unsigned>(text[at]) & 0xFC00) == kind;
}

/// The sort rank of the first unit that differs: halves of a surrogate pair sort after all other units.
unsigned RankOf(XLXTextView text, std::size_t at) {
    constexpr unsigned high = 0xD800;
    constexpr unsigned low = 0xDC00;
    const bool isPaired = (IsSurrogate(text, at, high) && IsSurrogate(text, at + 1, low)) ||
                          (IsSurrogate(text, at, low) && IsSurrogate(text, at - 1, high));
    return static_cast<unsigned>(text[at]) + (isPaired ? 0x10000 : 0);
}
} // namespace

std::optional<XCFGStringKey> XCFGStringKey::Of(const XLXVariantView& name) {
    if (name.Type() == VT_BSTR) {
        return XCFGStringKey(LXBstrView(V_BSTR(&name.Get()))); // the usual case; saves a copy of the text
    }
    const auto text = name.Empty() ? std::nullopt : name.AsText();
    return text ? std::optional<XCFGStringKey>(*text) : std::nullopt;
}

std::strong_ordering XCFGStringKey::CompareSurrogates(XLXTextView left, XLXTextView right, std::size_t at) noexcept {
    return RankOf(left, at) <=> RankOf(right, at);
}
