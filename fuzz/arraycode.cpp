// SPDX-License-Identifier: MIT
#include "arraycode.h"

#include <lxserver/FlatArray.h>

#include <cstdio>
#include <cstdlib>

namespace {
constexpr LONG MaxElements = 4096;

/// The code in the lower half of an element's byte; the upper half is an argument from 0 to 15.
enum ECode : std::uint8_t {
    Empties = 0, ///< argument + 1 empty elements
    SmallLong,
    Long, ///< four bytes follow
    SmallUnsigned,
    Unsigned, ///< four bytes follow
    Text,     ///< the argument is the number of characters that follow
    Object,
    Boolean,
    NegativeLong, ///< -1 - argument
    Short,
    Real,
    NullObject,
    Nested,
    Longs, ///< 0 to argument
    NullDispatch,
    AnyType ///< the argument is the type; the value is all zeros
};

class Decoder {
public:
    explicit Decoder(Decisions bytes) : m_bytes(bytes) {}

    XLXSafeArray Array() {
        while (!m_bytes.Empty() && m_array.Size() < MaxElements) {
            const std::uint8_t byte = m_bytes.Byte();
            Element(byte & 0xF, byte >> 4);
        }
        return XLXSafeArray(m_array.Detach());
    }

private:
    ULONG Number() {
        ULONG number = 0;
        for (int i = 0; i < 4; ++i) {
            number = (number << 8) | m_bytes.Byte();
        }
        return number;
    }

    VARIANT& AddZero(VARTYPE type) {
        VARIANT& added = *m_array.Next();
        V_VT(&added) = type;
        return added;
    }

    void AddText(int length) {
        lx::Text text;
        for (int i = 0; i < length; ++i) {
            text.push_back(static_cast<OLECHAR>(m_bytes.Byte()));
        }
        m_array.Name(text);
    }

    static void AddObject(lx::FlatArray& to) { to.Object(lx::Make<lx::Object<IUnknown>>()); }

    void AddNested() {
        lx::FlatArray inner;
        AddObject(inner);
        SAFEARRAY* const array = inner.Detach();
        V_ARRAY(&AddZero(VT_ARRAY | VT_VARIANT)) = array;
    }

    void Element(int code, int argument) {
        switch (code) {
        case Empties:
            for (int i = 0; i <= argument; ++i) {
                AddZero(VT_EMPTY);
            }
            break;
        case SmallLong: m_array.Number(argument); break;
        case Long: m_array.Number(static_cast<LONG>(Number())); break;
        case SmallUnsigned: m_array.Count(static_cast<ULONG>(argument)); break;
        case Unsigned: m_array.Count(Number()); break;
        case Text: AddText(argument); break;
        case Object: AddObject(m_array); break;
        case Boolean: m_array.Flag(argument != 0); break;
        case NegativeLong: m_array.Number(-1 - argument); break;
        case Short: AddZero(VT_I2); break;
        case Real: V_R8(&AddZero(VT_R8)) = argument / 4.0; break;
        case NullObject: AddZero(VT_UNKNOWN); break;
        case Nested: AddNested(); break;
        case Longs:
            for (int i = 0; i <= argument; ++i) {
                m_array.Number(i);
            }
            break;
        case NullDispatch: AddZero(VT_DISPATCH); break;
        default: AddZero(static_cast<VARTYPE>(argument));
        }
    }

    Decisions m_bytes;
    lx::FlatArray m_array;
};
} // namespace

void LXRequire(bool holds, std::string_view what) {
    if (!holds) {
        std::fprintf(stderr, "violated: %.*s\n", static_cast<int>(what.size()), what.data());
        std::abort();
    }
}

XLXSafeArray DecodeArray(XBytes bytes) {
    Decisions decisions(bytes);
    const auto container = static_cast<EContainer>(decisions.Byte());
    XLXSafeArray array = Decoder(decisions).Array();
    SAFEARRAYBOUND bounds[] = {array.Get()->rgsabound[0], {1, 0}};
    switch (container) {
    case EContainer::NoArray: return {};
    case EContainer::Texts: return XLXSafeArray(SafeArrayCreate(VT_BSTR, 1, bounds));
    case EContainer::TwoDimensions: return XLXSafeArray(SafeArrayCreate(VT_VARIANT, 2, bounds));
    case EContainer::LowerBoundNegative: array.Get()->rgsabound[0].lLbound = -5; break;
    case EContainer::LowerBoundLarge: array.Get()->rgsabound[0].lLbound = 0x7FFFFFFE; break;
    default: break;
    }
    return array;
}
