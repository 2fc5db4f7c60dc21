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
    m_packed.store(facts.Packed(), std::memory_order_release);
    m_stamp.store(stamp.IsNone() ? 0 : stamp.Sum(), std::memory_order_release);
}
