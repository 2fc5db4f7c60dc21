// SPDX-License-Identifier: MIT
#include "XDisplayFacts.h"

#include "LXCompiler.h"

namespace
{
enum AttributeMember : int
{
    ShowInBrowser = 7,
    ShowInEditor = 8,
    ShowInFinder = 9,
    GroupNumber = 17,
    InAVSet = 19,
    Printable = 28,
    NotInFinder = 32,
    Origin = 46
};

constexpr LONG OriginVendor = 0;

enum FactBit : std::uint64_t
{
    BitBrowser = 1,
    BitEditor = 2,
    BitFinder = 4,
    BitPrintable = 8,
    BitAVSet = 16,
    BitVendor = 32
};
constexpr int GroupNumberShift = 32;

/// The facts, from a function that gives the value of a member; an empty value is no answer.
template <class ValueOf>
XDisplayFacts FactsFrom(ValueOf&& valueOf)
{
    const auto flag = [&](int member) {
        const XLXComVariant& value = valueOf(member);
        return !value.Empty() && value.AsBool().value_or(false);
    };
    const auto number = [&](int member, LONG none) {
        const XLXComVariant& value = valueOf(member);
        return value.Empty() ? none : value.AsLong().value_or(none);
    };
    XDisplayFacts facts;
    facts.inBrowser = flag(ShowInBrowser);
    facts.inEditor = flag(ShowInEditor);
    facts.inFinder = flag(ShowInFinder) && !flag(NotInFinder);
    facts.printable = flag(Printable);
    facts.inAVSet = flag(InAVSet);
    facts.vendorDefined = number(Origin, OriginVendor - 1) == OriginVendor;
    facts.groupNumber = number(GroupNumber, 0);
    return facts;
}

std::uint64_t Pack(const XDisplayFacts& facts)
{
    const auto bit = [](bool set, FactBit value) { return set ? std::uint64_t{value} : std::uint64_t{0}; };
    return bit(facts.inBrowser, BitBrowser) | bit(facts.inEditor, BitEditor) |
           bit(facts.inFinder, BitFinder) | bit(facts.printable, BitPrintable) |
           bit(facts.inAVSet, BitAVSet) | bit(facts.vendorDefined, BitVendor) |
           (static_cast<std::uint64_t>(static_cast<std::uint32_t>(facts.groupNumber)) << GroupNumberShift);
}

XDisplayFacts Unpack(std::uint64_t packed)
{
    XDisplayFacts facts;
    facts.inBrowser = (packed & BitBrowser) != 0;
    facts.inEditor = (packed & BitEditor) != 0;
    facts.inFinder = (packed & BitFinder) != 0;
    facts.printable = (packed & BitPrintable) != 0;
    facts.inAVSet = (packed & BitAVSet) != 0;
    facts.vendorDefined = (packed & BitVendor) != 0;
    facts.groupNumber = static_cast<LONG>(static_cast<std::uint32_t>(packed >> GroupNumberShift));
    return facts;
}
static_assert(Origin == XDisplayFacts::LastMember);
} // namespace

XDisplayFacts XDisplayFacts::Of(const XVariantRow& values)
{
    static const XLXComVariant none;
    return FactsFrom([&](int member) -> const XLXComVariant& {
        return static_cast<std::size_t>(member) < values.size() ? values[static_cast<std::size_t>(member)] : none;
    });
}

void XDisplayFacts::Prefetch(const XVariantRow& values) noexcept
{
    for (const AttributeMember member :
         {ShowInBrowser, ShowInFinder, GroupNumber, InAVSet, Printable, NotInFinder, Origin})
    {
        if (const auto index = static_cast<std::size_t>(member); index < values.size())
        {
            LX_PREFETCH(&values[index]);
        }
    }
}

void XKeptDisplayFacts::Keep(const XDisplayFacts& facts, const XStamp& stamp) noexcept
{
    m_packed.store(Pack(facts), std::memory_order_release);
    m_stamp.store(stamp.IsNone() ? 0 : stamp.Sum(), std::memory_order_release);
}

// The facts are read after the stamp, and written before it: they are those of the stamp, or newer ones.
std::optional<XDisplayFacts> XKeptDisplayFacts::Fresh(const XStamp& now) const noexcept
{
    if (m_stamp.load(std::memory_order_acquire) != now.Sum())
    {
        return std::nullopt;
    }
    return Unpack(m_packed.load(std::memory_order_acquire));
}
