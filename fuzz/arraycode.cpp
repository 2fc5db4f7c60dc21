// SPDX-License-Identifier: MIT
#include "arraycode.h"
#include "XLXComVariant.h"
#include "XUnknown.h"

#include <cstdio>
#include <cstdlib>

namespace {
constexpr std::size_t MaxElements = 4096;

class FuzzObject final : public XUnknown<FuzzObject, IUnknown> {
public:
    static HRESULT RefuseNullFace() noexcept { return E_POINTER; }
};

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

    XLXVariantVector Elements() {
        while (!m_bytes.Empty() && m_elements.size() < MaxElements) {
            const std::uint8_t byte = m_bytes.Byte();
            Element(byte & 0xF, byte >> 4);
        }
        return std::move(m_elements);
    }

private:
    ULONG Number() {
        ULONG number = 0;
        for (int i = 0; i < 4; ++i) {
            number = (number << 8) | m_bytes.Byte();
        }
        return number;
    }

    void Add(XLXComVariant value) { m_elements.push_back(std::move(value)); }

    void AddZero(VARTYPE type) {
        XLXComVariant value;
        value.Get() = VARIANT{};
        V_VT(&value.Get()) = type;
        Add(std::move(value));
    }

    void AddText(int length) {
        XLXText text;
        for (int i = 0; i < length; ++i) {
            text.push_back(static_cast<OLECHAR>(m_bytes.Byte()));
        }
        Add(XLXComVariant::FromBstr(text));
    }

    void AddNested() {
        SAFEARRAYBOUND bound = {1, 0};
        XLXSafeArray array(SafeArrayCreate(VT_VARIANT, 1, &bound));
        LONG index = 0;
        const auto object = XLXComVariant::FromUnknown(new FuzzObject);
        (void)SafeArrayPutElement(array.Get(), &index, const_cast<VARIANT*>(&object.Get()));
        XLXComVariant value;
        V_VT(&value.Get()) = VT_ARRAY | VT_VARIANT;
        V_ARRAY(&value.Get()) = array.Detach();
        Add(std::move(value));
    }

    void Element(int code, int argument) {
        switch (code) {
        case Empties:
            for (int i = 0; i <= argument; ++i) {
                Add({});
            }
            break;
        case SmallLong: return Add(XLXComVariant::FromI4(argument));
        case Long: return Add(XLXComVariant::FromI4(static_cast<LONG>(Number())));
        case SmallUnsigned: return Add(XLXComVariant::FromUI4(static_cast<ULONG>(argument)));
        case Unsigned: return Add(XLXComVariant::FromUI4(Number()));
        case Text: return AddText(argument);
        case Object: return Add(XLXComVariant::FromUnknown(new FuzzObject));
        case Boolean: return Add(XLXComVariant::FromBool(argument != 0));
        case NegativeLong: return Add(XLXComVariant::FromI4(-1 - argument));
        case Short: return AddZero(VT_I2);
        case Real: return Add(XLXComVariant::FromDouble(argument / 4.0));
        case NullObject: return AddZero(VT_UNKNOWN);
        case Nested: return AddNested();
        case Longs:
            for (int i = 0; i <= argument; ++i) {
                Add(XLXComVariant::FromI4(i));
            }
            break;
        case NullDispatch: return AddZero(VT_DISPATCH);
        default: return AddZero(static_cast<VARTYPE>(argument));
        }
    }

    Decisions m_bytes;
    XLXVariantVector m_elements;
};

XLXSafeArray Create(EContainer container, ULONG count) {
    constexpr LONG large = 0x7FFFFFFE;
    SAFEARRAYBOUND bounds[] = {{count, 0}, {1, 0}};
    switch (container) {
    case EContainer::NoArray: return {};
    case EContainer::Texts: return XLXSafeArray(SafeArrayCreate(VT_BSTR, 1, bounds));
    case EContainer::TwoDimensions: return XLXSafeArray(SafeArrayCreate(VT_VARIANT, 2, bounds));
    default:
        bounds[0].lLbound = container == EContainer::LowerBoundNegative ? -5
                            : container == EContainer::LowerBoundLarge  ? large
                                                                        : 0;
        return XLXSafeArray(SafeArrayCreate(VT_VARIANT, 1, bounds));
    }
}
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
    XLXVariantVector elements = Decoder(decisions).Elements();
    XLXSafeArray array = Create(container, static_cast<ULONG>(elements.size()));
    if (array && container != EContainer::Texts) {
        VARIANT* element = static_cast<VARIANT*>(array.Get()->pvData);
        for (XLXComVariant& value : elements) {
            value.DetachTo(element++);
        }
    }
    return array;
}
