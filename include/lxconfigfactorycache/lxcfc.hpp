// SPDX-License-Identifier: MIT
//
// The typed layer for clients: the cache and what it hands out as C++ objects. It stands on LXConfigFactoryCache.h and
// needs C++17; nothing is linked but ole32 and oleaut32 (elsewhere than on Windows the platform's library).
//
//     const lxcfc::Apartment apartment;
//     const lxcfc::Cache cache(server, update);
//     for (const auto& attribute : cache.Type(L"Pump").Attributes()) { Print(attribute.Text(lx::Unit)); }
//
// Ownership  An object here owns one reference; a copy of it is a second reference to the same object. What a call gives
//            belongs to who called. A Cache owns the cache's life: its destructor ends it. Objects may outlive it and
//            answer from what they have. The server gets no reference to an object of the caller's.
// Threading  All questions may be asked from any thread, several at once, as of the interfaces below; one variable is
//            for one thread at a time while it is assigned to. A Cache is constructed, moved and ended by one thread
//            while no other uses that variable. The function that is told of changes (Changed) comes on the server's
//            threads.
// Errors     A failing call raises Error. An object that must be there and is not raises Error with NotFound; the
//            look-ups named Find... give an empty object instead. Using an empty object raises Error with E_POINTER. Lack
//            of memory is std::bad_alloc. Destructors raise nothing.
#ifndef LXCFC_HPP
#define LXCFC_HPP

#include <LXConfigFactoryCache.h>
#include <LXProperties.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace lxcfc {
/// A text as the interfaces have it: std::wstring on Windows, std::u16string elsewhere.
using String = std::basic_string<OLECHAR>;

// ---- texts

namespace detail {
constexpr std::uint32_t Replacement = 0xFFFD; // stands for what is no character
constexpr std::uint32_t Surrogates = 0xD800;  // high ones, from 0xDC00 low ones

/// The text of anything that is one.
inline std::string_view ViewOf(std::string_view text) { return text; }
inline std::wstring_view ViewOf(std::wstring_view text) { return text; }
inline std::u16string_view ViewOf(std::u16string_view text) { return text; }

/// Takes the character at the front of a text that is not empty.
template <class C> std::uint32_t TakeCharacter(std::basic_string_view<C>& text) {
    const auto unit = [&text](std::size_t i) {
        return i < text.size() ? static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<C>>(text[i])) : 0;
    };
    std::uint32_t character = unit(0);
    std::size_t units = 1;
    if constexpr (sizeof(C) == 1) {
        const std::size_t more = character < 0x80 ? 0 : character < 0xE0 ? 1 : character < 0xF0 ? 2 : 3;
        const bool isLead = character < 0x80 || (character >= 0xC2 && character < 0xF5);
        if (more != 0) { character &= 0x3FU >> more; }
        while (isLead && units <= more && (unit(units) & 0xC0) == 0x80) {
            character = character << 6 | (unit(units++) & 0x3F);
        }
        const std::uint32_t least[] = {0, 0x80, 0x800, 0x10000};
        if (!isLead || units <= more || character < least[more]) { character = Replacement; }
    } else if constexpr (sizeof(C) == 2) {
        if (character - Surrogates < 0x400 && unit(1) - (Surrogates + 0x400) < 0x400) {
            character = 0x10000 + ((character - Surrogates) << 10) + (unit(1) - (Surrogates + 0x400));
            units = 2;
        }
    }
    text.remove_prefix(units);
    return character - Surrogates < 0x800 || character > 0x10FFFF ? Replacement : character;
}

template <class C> void AddCharacter(std::basic_string<C>& text, std::uint32_t character) {
    if constexpr (sizeof(C) == 1) {
        const int more = character < 0x80 ? 0 : character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
        const std::uint32_t lead[] = {0, 0xC0, 0xE0, 0xF0};
        text += static_cast<C>(lead[more] | character >> (6 * more));
        for (int shift = 6 * (more - 1); shift >= 0; shift -= 6) {
            text += static_cast<C>(0x80 | ((character >> shift) & 0x3F));
        }
    } else if (sizeof(C) == 2 && character >= 0x10000) {
        text += static_cast<C>(Surrogates + ((character - 0x10000) >> 10));
        text += static_cast<C>(Surrogates + 0x400 + ((character - 0x10000) & 0x3FF));
    } else {
        text += static_cast<C>(character);
    }
}

/// A text in another encoding; between types of one width as it is, whatever it has in it.
template <class To, class C> To Recode(std::basic_string_view<C> text) {
    To encoded;
    encoded.reserve(text.size());
    if constexpr (sizeof(C) == sizeof(typename To::value_type)) {
        encoded.assign(text.begin(), text.end());
    } else {
        while (!text.empty()) {
            AddCharacter(encoded, TakeCharacter(text));
        }
    }
    return encoded;
}
} // namespace detail

/// A text in another encoding: std::string is UTF-8, the others UTF-16 or UTF-32 by the width of their characters. What
/// is no character becomes U+FFFD.
/// @param text  anything with which a std::string_view, std::wstring_view or std::u16string_view can be made
template <class To, class Text> To Encode(const Text& text) { return detail::Recode<To>(detail::ViewOf(text)); }

/// Owns a BSTR. Names and keys are passed as one, which any text becomes; a std::string is UTF-8.
class Bstr {
public:
    Bstr() noexcept = default;
    /// Copies a text.
    template <class Text, class = decltype(detail::ViewOf(std::declval<const Text&>()))> Bstr(const Text& text) {
        const String encoded = Encode<String>(text);
        m_text = SysAllocStringLen(encoded.data(), static_cast<UINT>(encoded.size()));
        if (m_text == nullptr) { throw std::bad_alloc(); }
    }
    Bstr(Bstr&& other) noexcept : m_text(other.Detach()) {}
    Bstr& operator=(Bstr&& other) noexcept {
        std::swap(m_text, other.m_text);
        return *this;
    }
    ~Bstr() { SysFreeString(m_text); }

    /// The BSTR, which stays this object's; null when there is none.
    BSTR Get() const noexcept { return m_text; }
    /// Where a call puts a BSTR that this object is to own.
    BSTR* Put() noexcept {
        SysFreeString(std::exchange(m_text, nullptr));
        return &m_text;
    }
    /// Gives the BSTR away.
    BSTR Detach() noexcept { return std::exchange(m_text, nullptr); }
    /// The text; empty when there is none.
    std::basic_string_view<OLECHAR> View() const noexcept {
        return m_text != nullptr ? std::basic_string_view<OLECHAR>(m_text, SysStringLen(m_text))
                                 : std::basic_string_view<OLECHAR>();
    }

private:
    BSTR m_text = nullptr;
};

// ---- errors and references

/// The result of a look-up of something that must be there and is not.
constexpr HRESULT NotFound = static_cast<HRESULT>(0x80070490);

/// A call that failed.
class Error : public std::exception {
public:
    /// @param source  where it was noticed; may be empty
    Error(HRESULT result, String text, String source = {})
        : m_facts(std::make_shared<const Facts>(Facts{result, std::move(text), std::move(source)})) {}
    /// Takes the calling thread's error information.
    /// @param what  what was called: stands in where there is no information
    static Error OfThread(HRESULT result, const char* what);

    /// The failing HRESULT.
    HRESULT Result() const noexcept { return m_facts->result; }
    /// What went wrong, as the error information says it.
    const String& Text() const noexcept { return m_facts->text; }
    /// Where it was noticed, as the error information says it; empty when there is none.
    const String& Source() const noexcept { return m_facts->source; }
    /// Text, result and source in one line, in UTF-8.
    const char* what() const noexcept override { return m_facts->what.c_str(); }

private:
    struct Facts {
        Facts(HRESULT r, String t, String s) : result(r), text(std::move(t)), source(std::move(s)) {
            char code[16];
            std::snprintf(code, sizeof(code), " (0x%08X", static_cast<unsigned>(result));
            what = Encode<std::string>(text) + code + (source.empty() ? "" : ", " + Encode<std::string>(source)) + ")";
        }
        HRESULT result;
        String text;
        String source;
        std::string what;
    };
    std::shared_ptr<const Facts> m_facts; // shared, so that copies cannot fail
};

/// Raises Error, with the thread's error information, when a call of the caller's own failed.
/// @param what  what was called
/// @return      the result, which is a success
inline HRESULT Check(HRESULT result, const char* what) {
    if (FAILED(result)) { throw Error::OfThread(result, what); }
    return result;
}

/// Owns one reference to an object with the interface I; may be empty.
template <class I> class Ptr {
public:
    /// Shares the object: counts a reference.
    Ptr(I* object = nullptr) noexcept : m_object(object) {
        if (object != nullptr) { object->AddRef(); }
    }
    /// Shares the object of another owner that has a Get(), such as lx::Ref of the server kit: of one object with
    /// several interfaces each Ptr takes its own.
    template <class Owner,
              class = std::enable_if_t<std::is_convertible_v<decltype(std::declval<const Owner&>().Get()), I*>>>
    Ptr(const Owner& owner) noexcept : Ptr(static_cast<I*>(owner.Get())) {}
    Ptr(const Ptr& other) noexcept : Ptr(other.m_object) {}
    Ptr(Ptr&& other) noexcept : m_object(other.Detach()) {}
    Ptr& operator=(Ptr other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Ptr() {
        if (m_object != nullptr) { m_object->Release(); }
    }
    /// Takes over a reference that somebody has counted already.
    static Ptr Take(I* object) noexcept {
        Ptr taken;
        taken.m_object = object;
        return taken;
    }

    I* Get() const noexcept { return m_object; }
    I* operator->() const noexcept { return m_object; }
    I& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    /// Where a call puts an object that this one is to own.
    I** Put() noexcept {
        *this = Ptr();
        return &m_object;
    }
    /// Gives the reference away.
    I* Detach() noexcept { return std::exchange(m_object, nullptr); }
    /// The object by another of its interfaces; empty when it does not have it, or there is no object.
    template <class J> Ptr<J> As() const noexcept {
        Ptr<J> other;
        if (m_object != nullptr) { m_object->QueryInterface(__uuidof(J), reinterpret_cast<void**>(other.Put())); }
        return other;
    }

private:
    I* m_object = nullptr;
};

inline Error Error::OfThread(HRESULT result, const char* what) {
    Ptr<IErrorInfo> info;
    Bstr text;
    Bstr source;
    if (GetErrorInfo(0, info.Put()) == S_OK && info) {
        info->GetDescription(text.Put());
        info->GetSource(source.Put());
    }
    return Error(result, text.View().empty() ? Encode<String>(what + std::string(" failed")) : String(text.View()),
                 String(source.View()));
}

// ---- values

/// Owns a VARIANT: a property's value.
class Value {
public:
    /// Empty.
    Value() noexcept { VariantInit(&m_value); }
    /// A flag, or a number of at most 32 bits.
    template <class T, std::enable_if_t<std::is_integral_v<T> && sizeof(T) <= sizeof(LONG), int> = 0>
    Value(T value) noexcept : Value() {
        if constexpr (std::is_same_v<T, bool>) {
            V_VT(&m_value) = VT_BOOL;
            V_BOOL(&m_value) = value ? VARIANT_TRUE : VARIANT_FALSE;
        } else {
            V_VT(&m_value) = VT_I4;
            V_I4(&m_value) = static_cast<LONG>(value);
        }
    }
    Value(double value) noexcept : Value() {
        V_VT(&m_value) = VT_R8;
        V_R8(&m_value) = value;
    }
    /// Copies a text; a std::string is UTF-8.
    template <class Text, class = decltype(detail::ViewOf(std::declval<const Text&>()))>
    Value(const Text& text) : Value() {
        V_BSTR(&m_value) = Bstr(text).Detach();
        V_VT(&m_value) = VT_BSTR;
    }
    Value(const Value& other) : Value() {
        Check(VariantCopy(&m_value, const_cast<VARIANT*>(&other.m_value)), "VariantCopy");
    }
    Value(Value&& other) noexcept : m_value(other.m_value) { VariantInit(&other.m_value); }
    Value& operator=(Value other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Value() { VariantClear(&m_value); }

    /// Whether there is no value.
    bool IsEmpty() const noexcept { return V_VT(&m_value) == VT_EMPTY || V_VT(&m_value) == VT_NULL; }
    /// As a text, empty for no value. Numbers and flags as VariantChangeType writes them: on Windows the user's locale
    /// chooses the decimal point, and true is "-1".
    template <class S = String> S Text() const { return TextOf<S>(IsEmpty() ? Value(OLESTR("")) : As(VT_BSTR)); }
    /// As a number, 0 for no value. Raises Error for what is none (DISP_E_TYPEMISMATCH) or does not fit.
    LONG Number() const { return IsEmpty() ? 0 : V_I4(&*As(VT_I4)); }
    /// As a real number, 0 for no value.
    double Real() const { return IsEmpty() ? 0 : V_R8(&*As(VT_R8)); }
    /// As a flag, false for no value.
    bool Flag() const { return !IsEmpty() && V_BOOL(&*As(VT_BOOL)) != VARIANT_FALSE; }
    /// The object by one of its interfaces; empty for anything else.
    template <class I> Ptr<I> Object() const noexcept {
        const bool isObject = V_VT(&m_value) == VT_UNKNOWN || V_VT(&m_value) == VT_DISPATCH;
        return isObject ? Ptr<IUnknown>(V_UNKNOWN(&m_value)).template As<I>() : Ptr<I>();
    }
    /// The value itself.
    const VARIANT& Get() const noexcept { return m_value; }
    const VARIANT& operator*() const noexcept { return m_value; }
    /// Where a call puts a value that this object is to own.
    VARIANT* Put() noexcept {
        VariantClear(&m_value);
        return &m_value;
    }

private:
    Value As(VARTYPE type) const {
        Value converted;
        Check(VariantChangeType(&converted.m_value, const_cast<VARIANT*>(&m_value), 0, type), "VariantChangeType");
        return converted;
    }
    template <class S> static S TextOf(const Value& text) {
        BSTR const bstr = V_BSTR(&text.m_value);
        return detail::Recode<S>(bstr != nullptr ? std::basic_string_view<OLECHAR>(bstr, SysStringLen(bstr))
                                                 : std::basic_string_view<OLECHAR>());
    }

    VARIANT m_value;
};

// ---- calls

namespace detail {
/// Makes a call and raises its failure. Error information that an earlier call left does not count.
/// @param ask  HRESULT ask()
template <class F> HRESULT Call(const char* what, F&& ask) {
    SetErrorInfo(0, nullptr);
    return Check(ask(), what);
}

template <class I> I& Must(const Ptr<I>& object) {
    if (!object) { throw Error(E_POINTER, OLESTR("the object is empty")); }
    return *object;
}

[[noreturn]] inline void RaiseNotFound(const char* kind, const Bstr& key) {
    throw Error(NotFound, Encode<String>("there is no " + std::string(kind) + " '") + String(key.View()) + OLESTR("'"));
}
[[noreturn]] inline void RaiseNotFound(const char* kind, int key) { RaiseNotFound(kind, Bstr(std::to_string(key))); }

/// What a look-up found, which must be something.
template <class T, class Key> T Must(T found, const char* kind, const Key& key) {
    if (!found) { RaiseNotFound(kind, key); }
    return found;
}
} // namespace detail

/// What an enumeration had when it was asked for, as a range: its elements do not change, may be gone through any number
/// of times, and stay when the type or the cache that they came from is let go.
template <class T> class Range {
public:
    using value_type = T;
    using const_iterator = typename std::vector<T>::const_iterator;
    using iterator = const_iterator;

    /// No elements.
    Range() = default;
    /// All elements from where an enumerator stands. It may give fewer than it is asked for at a time; it ends when it
    /// says so (S_FALSE) or gives none.
    explicit Range(typename T::Enumerator& all) {
        constexpr ULONG atOnce = 64;
        for (;;) {
            typename T::Interface* block[atOnce] = {};
            ULONG fetched = 0;
            if (m_elements.capacity() - m_elements.size() < atOnce) {
                m_elements.reserve(m_elements.size() * 2 + atOnce);
            }
            const HRESULT result = detail::Call("RemNext", [&] { return all.RemNext(atOnce, block, &fetched); });
            for (ULONG i = 0; i < (std::min)(fetched, atOnce); ++i) { // there is room, so that none is lost
                auto element = Ptr<typename T::Interface>::Take(block[i]);
                if (element) { m_elements.emplace_back(std::move(element)); }
            }
            if (result != S_OK || fetched == 0) { return; }
        }
    }

    const_iterator begin() const noexcept { return m_elements.begin(); }
    const_iterator end() const noexcept { return m_elements.end(); }
    std::size_t size() const noexcept { return m_elements.size(); }
    bool empty() const noexcept { return m_elements.empty(); }
    const T& operator[](std::size_t i) const noexcept { return m_elements[i]; }

private:
    std::vector<T> m_elements;
};

namespace detail {
/// A look-up: what it finds; empty when there is nothing (S_FALSE).
template <class T, class I, class M, class... Arguments>
T Find(const char* what, I& object, M method, Arguments... arguments) {
    Ptr<typename T::Interface> found;
    Call(what, [&] { return (object.*method)(arguments..., found.Put()); });
    return T(std::move(found));
}

/// An enumeration: its elements; none when there is nothing (S_FALSE).
template <class T, class I, class M, class... Arguments>
Range<T> List(const char* what, I& object, M method, Arguments... arguments) {
    Ptr<typename T::Enumerator> all;
    Call(what, [&] { return (object.*method)(arguments..., all.Put()); });
    return all ? Range<T>(*all) : Range<T>();
}
} // namespace detail

// ---- configuration objects

/// What every configuration object has: properties, by index (lx::Unit and the like, LXProperties.h) or by name. It may
/// be empty, as a Find... that found nothing gives it.
template <class I, class IEnumX = void> class ConfigObject {
public:
    using Interface = I;
    using Enumerator = IEnumX;

    /// Empty.
    ConfigObject() = default;
    /// An object that the caller has, of the cache or of a server.
    explicit ConfigObject(Ptr<I> object) noexcept : m_object(std::move(object)) {}

    explicit operator bool() const noexcept { return static_cast<bool>(m_object); }
    /// The interface itself, for what this layer does not have.
    I& Raw() const { return detail::Must(m_object); }

    /// A property's value; empty when it has none.
    Value Get(int index) const {
        Value value;
        detail::Call("GetProperty", [&] { return Raw().GetProperty(index, value.Put()); });
        return value;
    }
    Value Get(const Bstr& name) const {
        Value value;
        detail::Call("Get", [&] { return Raw().Get(name.Get(), value.Put()); });
        return value;
    }
    /// A property as a text: Text(lx::Unit) as String, Text<std::string>(lx::Unit) in UTF-8. Empty when it has no value.
    template <class S = String> S Text(int index) const { return Get(index).template Text<S>(); }
    template <class S = String> S Text(const Bstr& name) const { return Get(name).template Text<S>(); }
    /// A property as a number; 0 when it has no value.
    LONG Number(int index) const { return Get(index).Number(); }
    LONG Number(const Bstr& name) const { return Get(name).Number(); }
    /// A property as a real number; 0 when it has no value.
    double Real(int index) const { return Get(index).Real(); }
    double Real(const Bstr& name) const { return Get(name).Real(); }
    /// A property as a flag; false when it has no value.
    bool Flag(int index) const { return Get(index).Flag(); }
    bool Flag(const Bstr& name) const { return Get(name).Flag(); }

    /// Sets a property. A server's object changes the configuration; a cached one only what it says itself, until the
    /// next notification.
    void Set(int index, const Value& value) const {
        detail::Call("SetProperty", [&] { return Raw().SetProperty(index, value.Get()); });
    }
    void Set(const Bstr& name, const Value& value) const {
        detail::Call("Set", [&] { return Raw().Set(name.Get(), value.Get()); });
    }

private:
    Ptr<I> m_object;
};

/// A page of a type's dialog.
using Page = ConfigObject<ILXPage, ILXPageEnum>;
/// How a value is shown.
using Format = ConfigObject<ILXFormat>;
/// A value type of an attribute.
using AttributeType = ConfigObject<ILXAttributeType, ILXAttributeTypeEnum>;
/// An editor that is registered for a type.
using Editor = ConfigObject<ILXConfObjEditor, ILXConfObjEditorEnum>;
/// How one browser shows a relation.
using PCInfo = ConfigObject<ILXPCInfo, ILXPCInfoEnum>;
/// A browser that the server knows.
using BrowserId = ConfigObject<ILXBrowserId, ILXBrowserIdEnum>;

/// What has formats by format type. Creating and deleting are done on the server.
template <class I, class IEnumX> class FormatOwner : public ConfigObject<I, IEnumX> {
public:
    using ConfigObject<I, IEnumX>::ConfigObject;

    /// The format of a format type.
    lxcfc::Format Format(int formatType) const { return detail::Must(FindFormat(formatType), "format", formatType); }
    lxcfc::Format FindFormat(int formatType) const {
        return detail::Find<lxcfc::Format>("GetFormat", this->Raw(), &I::GetFormat, formatType);
    }
    lxcfc::Format CreateFormat(int formatType) const {
        return detail::Find<lxcfc::Format>("CreateFormat", this->Raw(), &I::CreateFormat, formatType);
    }
    void DeleteFormat(int formatType) const {
        detail::Call("DeleteFormat", [&] { return this->Raw().DeleteFormat(formatType); });
    }
};

/// Formats by format type that belong to no attribute.
using GlobalSpec = FormatOwner<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>;

/// An attribute of a type.
class Attribute : public FormatOwner<ILXAttribute, ILXAttributeEnum> {
public:
    using FormatOwner::FormatOwner;

    /// Its value types, by name.
    Range<AttributeType> Types() const {
        return detail::List<AttributeType>("GetAttributeTypeEnum", Raw(), &ILXAttribute::GetAttributeTypeEnum);
    }
};

/// A group of attributes.
class Group : public ConfigObject<ILXGroup, ILXGroupEnum> {
public:
    using ConfigObject::ConfigObject;

    /// The groups that lie in it.
    Range<Group> Children() const {
        return detail::List<Group>("GetChildGroupEnum", Raw(), &ILXGroup::GetChildGroupEnum);
    }
    /// Its format; empty when it has none.
    Format FindFormat() const { return detail::Find<Format>("GetFormat", Raw(), &ILXGroup::GetFormat); }
    /// Makes its format on the server.
    Format CreateFormat() const { return detail::Find<Format>("CreateFormat", Raw(), &ILXGroup::CreateFormat); }
    /// Deletes its format on the server.
    void DeleteFormat() const {
        detail::Call("DeleteFormat", [&] { return Raw().DeleteFormat(); });
    }
};

/// A relation: which type of object may stand below which, in which child list.
class Relation : public ConfigObject<ILXParentChild, ILXParentChildEnum> {
public:
    using ConfigObject::ConfigObject;

    /// How browsers show it.
    Range<PCInfo> Infos() const { return detail::List<PCInfo>("GetPCInfoEnum", Raw(), &ILXParentChild::GetPCInfoEnum); }
    /// How one browser shows it.
    PCInfo Info(const Bstr& browserId) const { return detail::Must(FindInfo(browserId), "PC info", browserId); }
    PCInfo FindInfo(const Bstr& browserId) const {
        return detail::Find<PCInfo>("GetPCInfo", Raw(), &ILXParentChild::GetPCInfo, browserId.Get());
    }
};

/// A type of the object model. Its attributes are its own and those of its base types.
class Type : public ConfigObject<ILXType, ILXTypeEnum> {
public:
    using ConfigObject::ConfigObject;

    /// All attributes, by name.
    Range<lxcfc::Attribute> Attributes() const {
        return detail::List<lxcfc::Attribute>("GetAttributeEnum", Raw(), &ILXType::GetAttributeEnum);
    }
    /// The attributes of one group.
    Range<lxcfc::Attribute> AttributesOf(int group) const {
        return detail::List<lxcfc::Attribute>("GetGroupAttributeEnum", Raw(), &ILXType::GetGroupAttributeEnum, group);
    }
    /// The attributes that a place shows.
    /// @param displays  bits of LXDisplay; 0 for all attributes
    Range<lxcfc::Attribute> DisplayAttributes(LONG displays) const {
        return detail::List<lxcfc::Attribute>("GetDisplayAttributeEnum", Raw(), &ILXType::GetDisplayAttributeEnum,
                                              displays);
    }
    /// The same of one group.
    Range<lxcfc::Attribute> DisplayAttributes(LONG displays, int group) const {
        return detail::List<lxcfc::Attribute>("GetDisplayGroupAttributeEnum", Raw(),
                                              &ILXType::GetDisplayGroupAttributeEnum, displays, group);
    }
    /// The attribute of a name.
    lxcfc::Attribute Attribute(const Bstr& name) const { return detail::Must(FindAttribute(name), "attribute", name); }
    lxcfc::Attribute FindAttribute(const Bstr& name) const {
        return detail::Find<lxcfc::Attribute>("GetAttribute", Raw(), &ILXType::GetAttribute, name.Get());
    }

    /// The groups, by number.
    Range<lxcfc::Group> Groups() const {
        return detail::List<lxcfc::Group>("GetGroupEnum", Raw(), &ILXType::GetGroupEnum);
    }
    /// The groups on a page.
    Range<lxcfc::Group> GroupsOf(int page) const {
        return detail::List<lxcfc::Group>("GetPageGroupEnum", Raw(), &ILXType::GetPageGroupEnum, page);
    }
    /// The groups that lie in no other group. The server is asked each time.
    Range<lxcfc::Group> ToplevelGroups() const {
        return detail::List<lxcfc::Group>("GetToplevelGroupEnum", Raw(), &ILXType::GetToplevelGroupEnum);
    }
    /// The same of one page.
    Range<lxcfc::Group> ToplevelGroupsOf(int page) const {
        return detail::List<lxcfc::Group>("GetPageToplevelGroupEnum", Raw(), &ILXType::GetPageToplevelGroupEnum, page);
    }
    /// The group of a number.
    lxcfc::Group Group(int number) const { return detail::Must(FindGroup(number), "group", number); }
    lxcfc::Group FindGroup(int number) const {
        return detail::Find<lxcfc::Group>("GetGroup", Raw(), &ILXType::GetGroup, number);
    }

    /// The pages, by number.
    Range<lxcfc::Page> Pages() const { return detail::List<lxcfc::Page>("GetPageEnum", Raw(), &ILXType::GetPageEnum); }
    /// The page of a number.
    lxcfc::Page Page(int number) const { return detail::Must(FindPage(number), "page", number); }
    lxcfc::Page FindPage(int number) const {
        return detail::Find<lxcfc::Page>("GetPage", Raw(), &ILXType::GetPage, number);
    }

    /// The editors, by ProgId.
    Range<lxcfc::Editor> Editors() const {
        return detail::List<lxcfc::Editor>("GetConfObjEditorEnum", Raw(), &ILXType::GetConfObjEditorEnum);
    }
    /// The editor of a ProgId.
    lxcfc::Editor Editor(const Bstr& progId) const { return detail::Must(FindEditor(progId), "editor", progId); }
    lxcfc::Editor FindEditor(const Bstr& progId) const {
        return detail::Find<lxcfc::Editor>("GetConfObjEditor", Raw(), &ILXType::GetConfObjEditor, progId.Get(),
                                           BSTR(nullptr), BSTR(nullptr));
    }
    /// The default editor of a browser; empty when there is none.
    lxcfc::Editor FindDefaultEditor(const Bstr& browserId) const {
        return detail::Find<lxcfc::Editor>("GetDefaultEditor", Raw(), &ILXType::GetDefaultEditor, browserId.Get());
    }
    /// The default editor of a browser for new objects; empty when there is none.
    lxcfc::Editor FindDefaultNewEditor(const Bstr& browserId) const {
        return detail::Find<lxcfc::Editor>("GetDefaultNewEditor", Raw(), &ILXType::GetDefaultNewEditor,
                                           browserId.Get());
    }

    /// The base type; empty when it has none. (Of the cache; a server need not have it.)
    Type FindBase() const { return Type(Get(lx::BaseType).Object<ILXType>()); }
};

// ---- the config factory

/// A config factory: a server's own, or the cache that stands in for it.
class ConfigFactory {
public:
    /// Empty.
    ConfigFactory() = default;
    explicit ConfigFactory(Ptr<ILXConfigFactory> factory) noexcept : m_factory(std::move(factory)) {}

    explicit operator bool() const noexcept { return static_cast<bool>(m_factory); }
    /// The interface itself, for what this layer does not have.
    ILXConfigFactory& Raw() const { return detail::Must(m_factory); }

    /// All types that are listed.
    Range<lxcfc::Type> Types() const {
        return detail::List<lxcfc::Type>("GetTypeEnum", Raw(), &ILXConfigFactory::GetTypeEnum, BSTR(nullptr));
    }
    /// Those that are searchable.
    Range<lxcfc::Type> SearchableTypes() const {
        return detail::List<lxcfc::Type>("GetSearchableTypeEnum", Raw(), &ILXConfigFactory::GetSearchableTypeEnum);
    }
    /// The type of a name.
    lxcfc::Type Type(const Bstr& name) const { return detail::Must(FindType(name), "type", name); }
    lxcfc::Type FindType(const Bstr& name) const {
        return detail::Find<lxcfc::Type>("GetType", Raw(), &ILXConfigFactory::GetType, name.Get(), BSTR(nullptr));
    }
    /// The relations of a parent type; all relations without a name.
    Range<lxcfc::Relation> Relations(const Bstr& parent = {}) const {
        return detail::List<lxcfc::Relation>("GetParentChildEnum", Raw(), &ILXConfigFactory::GetParentChildEnum,
                                             parent.Get(), BSTR(nullptr));
    }
    /// All browser ids.
    Range<BrowserId> BrowserIds() const {
        return detail::List<BrowserId>("GetBrowserIdEnum", Raw(), &ILXConfigFactory::GetBrowserIdEnum);
    }
    /// All global format specs.
    Range<GlobalSpec> GlobalSpecs() const {
        return detail::List<GlobalSpec>("GetAllGlobalAttributeFormatSpecs", Raw(),
                                        &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs);
    }
    /// The version of the configuration. The server is asked each time.
    String Version() const {
        Bstr version;
        detail::Call("GetVersion", [&] { return Raw().GetVersion(version.Put()); });
        return String(version.View());
    }

private:
    Ptr<ILXConfigFactory> m_factory;
};

// ---- changes

/// What a notification of the server says.
struct Change {
    String dataId;   ///< kind/object/sub number/update mode
    String dataType; ///< "cfc_specific" for the configuration
    ULONG id = 0;    ///< rises from one to the next

    /// The update mode; -1 when the data id has none.
    LONG Mode() const noexcept {
        std::size_t at = 0;
        for (int slashes = 0; slashes < 3; ++slashes) {
            at = dataId.find(OLECHAR('/'), at);
            if (at++ == String::npos) { return -1; }
        }
        LONG mode = at < dataId.size() ? 0 : -1;
        for (; at < dataId.size() && dataId[at] >= '0' && dataId[at] <= '9' && mode < 0x1000000; ++at) {
            mode = mode * 10 + static_cast<LONG>(dataId[at] - '0');
        }
        return mode;
    }
    /// Whether it says that any of these may have changed.
    /// @param modes  bits of LXUpdateMode, such as LXUM_ATTRIBUTES
    bool Concerns(LONG modes) const noexcept { return Mode() < 1 || (Mode() & (modes | LXUM_EVERYTHING)) != 0; }
};

/// Is told of each change after the cache knows it: what it reads through the cache is the new state. It is called on
/// the thread on which the server notifies; on several at once if the server does. The server may wait for it, so it
/// does little: it marks a window as stale, or posts a message. It must not wait for the thread that ends the cache,
/// which waits for it. What it raises ends here and is lost.
///
/// It is let go when the cache ends; a call that ends the cache itself lets it go when it returns.
using Changed = std::function<void(const Change&)>;

namespace detail {
/// Stands between a server's notification service and the cache: to the cache it is the service, and to the server the
/// callback. So a notification goes to the cache first, and to the caller's function when the cache has taken it.
///
/// It holds the server's service and the cache's callback until UnregisterCallback, which the cache calls in Terminate,
/// and so makes no cycle that lasts. No lock is held while anything is called or let go.
class Relay final : public ILXDataUpdate, public ILXCallbackUpdate {
public:
    Relay(Ptr<ILXDataUpdate> server, Changed function)
        : m_server(std::move(server)), m_function(std::make_shared<const Changed>(std::move(function))) {}
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    /// From here on the function is told. Nobody has read anything before.
    void Open() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isOpen = true;
    }
    /// The function is not called any more, nor under way when this returns, but for a call that this one comes from.
    void Close() noexcept {
        std::shared_ptr<const Changed> function; // let go with no lock held
        std::unique_lock<std::mutex> lock(m_mutex);
        m_isOpen = false;
        function.swap(m_function);
        m_left.wait(lock, [this] {
            const auto mine = std::count(m_inside.begin(), m_inside.end(), std::this_thread::get_id());
            return static_cast<std::size_t>(mine) == m_inside.size();
        });
        lock.unlock();
    }

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) { return E_POINTER; }
        const bool isCallback = iid == __uuidof(ILXCallbackUpdate) || iid == __uuidof(ILXCallback);
        const bool isService = iid == __uuidof(ILXDataUpdate) || iid == __uuidof(IUnknown);
        *out = isCallback  ? static_cast<void*>(static_cast<ILXCallbackUpdate*>(this))
               : isService ? static_cast<void*>(static_cast<ILXDataUpdate*>(this))
                           : nullptr;
        if (*out == nullptr) { return E_NOINTERFACE; }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --m_references;
        if (left == 0) { delete this; }
        return left;
    }

    // ILXDataUpdate, for the cache
    HRESULT STDMETHODCALLTYPE RegisterCallback(BSTR computer, ULONG process, ILXCallbackUpdate* callback,
                                               LONG* client) override {
        Replace(m_cache, callback);
        const HRESULT result =
            Pass(m_server, [&](auto& server) { return server.RegisterCallback(computer, process, this, client); });
        if (FAILED(result)) { Replace(m_cache, nullptr); }
        return result;
    }
    HRESULT STDMETHODCALLTYPE UnregisterCallback(LONG client) override {
        const HRESULT result = Pass(m_server, [&](auto& server) { return server.UnregisterCallback(client); });
        Replace(m_cache, nullptr);
        Replace(m_server, nullptr); // which may keep its callback for longer
        return result;
    }
    HRESULT STDMETHODCALLTYPE EnableAdvicesDataObject(LONG client, BSTR dataId, BSTR dataType, LONG enable,
                                                      ULONG advices) override {
        return Pass(m_server, [&](auto& server) {
            return server.EnableAdvicesDataObject(client, dataId, dataType, enable, advices);
        });
    }
    HRESULT STDMETHODCALLTYPE EnableAdvicesDataObjects(LONG client, ULONG count,
                                                       tagLXNotifications* notifications) override {
        return Pass(m_server,
                    [&](auto& server) { return server.EnableAdvicesDataObjects(client, count, notifications); });
    }
    HRESULT STDMETHODCALLTYPE EnableAdvicesDataType(LONG client, BSTR dataType, LONG enable, ULONG advices) override {
        return Pass(m_server,
                    [&](auto& server) { return server.EnableAdvicesDataType(client, dataType, enable, advices); });
    }
    HRESULT STDMETHODCALLTYPE DataObjectChanged(LONG client, BSTR dataId, BSTR dataType, ULONG type, ULONG count,
                                                tagLXUpdateInfo* info) override {
        return Pass(m_server, [&](auto& server) {
            return server.DataObjectChanged(client, dataId, dataType, type, count, info);
        });
    }
    HRESULT STDMETHODCALLTYPE DataObjectsChanged(LONG client, ULONG count, tagLXDataUpdateChanges* changes) override {
        return Pass(m_server, [&](auto& server) { return server.DataObjectsChanged(client, count, changes); });
    }
    HRESULT STDMETHODCALLTYPE IsNotificationRegisteredByClient(LONG client, BSTR dataId, BSTR dataType,
                                                               ULONG type) override {
        return Pass(m_server, [&](auto& server) {
            return server.IsNotificationRegisteredByClient(client, dataId, dataType, type);
        });
    }

    // ILXCallbackUpdate, for the server
    HRESULT STDMETHODCALLTYPE CheckCallbackValid() override {
        return Pass(m_cache, [](auto& cache) { return cache.CheckCallbackValid(); });
    }
    HRESULT STDMETHODCALLTYPE ServerIsTerminating() override {
        return Pass(m_cache, [](auto& cache) { return cache.ServerIsTerminating(); });
    }
    HRESULT STDMETHODCALLTYPE SetCallbackId(LONG client) override {
        return Pass(m_cache, [&](auto& cache) { return cache.SetCallbackId(client); });
    }
    HRESULT STDMETHODCALLTYPE GetClientInfo(tagLXClientInfo* info) override {
        return Pass(m_cache, [&](auto& cache) { return cache.GetClientInfo(info); });
    }
    HRESULT STDMETHODCALLTYPE DataObjectChanged(BSTR dataId, BSTR dataType, ULONG type, ULONG id, ULONG count,
                                                tagLXUpdateInfo* info) override {
        return Pass(m_cache, [&](auto& cache) {
            const HRESULT result = cache.DataObjectChanged(dataId, dataType, type, id, count, info);
            Tell(dataId, dataType, id);
            return result;
        });
    }

private:
    ~Relay() = default;

    template <class I> void Replace(Ptr<I>& ours, std::common_type_t<I*> object) {
        Ptr<I> other(object); // what was there is let go with no lock held
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::swap(ours, other);
    }
    /// Calls one of the two sides. Who calls when the callback was unregistered is told that nobody is there.
    template <class I, class F> HRESULT Pass(const Ptr<I>& ours, F&& call) {
        const Ptr<Relay> self(this); // the call may end the cache, and the server let go meanwhile
        std::unique_lock<std::mutex> lock(m_mutex);
        const Ptr<I> other = ours;
        lock.unlock();
        return other ? call(*other) : RPC_E_DISCONNECTED;
    }
    void Tell(BSTR dataId, BSTR dataType, ULONG id) noexcept {
        bool isInside = false;
        try {
            const auto text = [](BSTR bstr) { return bstr != nullptr ? String(bstr, SysStringLen(bstr)) : String(); };
            const Change change{text(dataId), text(dataType), id};
            std::unique_lock<std::mutex> lock(m_mutex);
            if (!m_isOpen) { return; }
            m_inside.push_back(std::this_thread::get_id());
            isInside = true;
            const std::shared_ptr<const Changed> function = m_function; // let go before the call counts as over
            lock.unlock();
            (*function)(change);
        } catch (...) {} // the caller's; a server must not see it
        if (!isInside) { return; }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_inside.erase(std::find(m_inside.begin(), m_inside.end(), std::this_thread::get_id()));
        m_left.notify_all();
    }

    std::atomic<ULONG> m_references{0};
    std::mutex m_mutex; // guards the following
    std::condition_variable m_left;
    Ptr<ILXDataUpdate> m_server;
    Ptr<ILXCallbackUpdate> m_cache; // its callback
    std::shared_ptr<const Changed> m_function;
    std::vector<std::thread::id> m_inside; // of the function
    bool m_isOpen = false;
};

/// A cache of its own.
inline Ptr<ILXConfigFactoryCache> CreateCache() {
    Ptr<ILXConfigFactoryCache> cache;
    const auto create = [&cache] {
        return CoCreateInstance(__uuidof(LXConfigFactoryCache), nullptr, CLSCTX_INPROC_SERVER,
                                __uuidof(ILXConfigFactoryCache), reinterpret_cast<void**>(cache.Put()));
    };
#ifndef _WIN32
    // There is no registry: each process registers the component for itself.
    if (create() == REGDB_E_CLASSNOTREG) {
        HMODULE const module = LoadLibraryW(OLESTR("LXConfigFactoryCache32.so"));
        const FARPROC enter = module != nullptr ? GetProcAddress(module, "DllRegisterServer") : nullptr;
        if (enter != nullptr) { reinterpret_cast<HRESULT (*)()>(reinterpret_cast<void (*)()>(enter))(); }
    }
#endif
    Call("CoCreateInstance(LXConfigFactoryCache)", create);
    return cache;
}
} // namespace detail

// ---- the cache

/// Enters the multithreaded apartment for the calling thread, which must leave it last: an object of this class stands
/// before all others. Raises Error with RPC_E_CHANGED_MODE in a thread that is in another apartment already.
class Apartment {
public:
    Apartment() { Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx"); }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

/// What a start of the cache may be given besides.
struct Options {
    Ptr<ILX_Query> query; ///< of the server, for the cache alone; without it there are no plan types
    LONG bulk = LXTM_ATTRIBUTES | LXTM_GROUPS | LXTM_PAGES | LXTM_EDITORS; ///< what comes with the types at the start
};

/// A cache in front of a server, from its start to its end (client mode), and the questions that only a cache answers.
class Cache : public ConfigFactory {
public:
    /// Empty.
    Cache() = default;
    /// Starts a cache: it registers for notifications and reads all types. When that fails nothing of it is left.
    /// One object with all services (lx::Connect of the server kit gives such) is passed for each: Cache(server, server).
    /// @param server   the server's config factory
    /// @param update   its notification service; without it nothing that was read is ever read again
    /// @param changed  is told of changes from here on, until End; may be empty
    explicit Cache(const Ptr<ILXConfigFactory>& server, Ptr<ILXDataUpdate> update = {}, Changed changed = {},
                   const Options& options = {})
        : Cache(detail::CreateCache()) {
        m_lifetime = m_cache.As<IDPFObject>(); // from here on the destructor ends it, if this raises too
        if (update && changed) {
            m_relay = Ptr<detail::Relay>(new detail::Relay(std::move(update), std::move(changed)));
            update = Ptr<ILXDataUpdate>(m_relay.Get());
        }
        VARIANT values[6] = {}; // they borrow what is in them
        IUnknown* const services[] = {server.Get(), options.query.Get(), update.Get()};
        for (int i = 0; i < 3; ++i) {
            V_VT(&values[i]) = VT_UNKNOWN;
            V_UNKNOWN(&values[i]) = services[i];
        }
        V_VT(&values[3]) = VT_BOOL;
        V_BOOL(&values[3]) = update ? VARIANT_FALSE : VARIANT_TRUE; // no notifications?
        V_VT(&values[4]) = VT_BOOL;                                 // no separate callback object
        V_VT(&values[5]) = VT_I4;
        V_I4(&values[5]) = options.bulk;
        detail::Call("IDPFObject::Initialize", [&] { return detail::Must(m_lifetime).Initialize(6, values); });
        if (m_relay) { m_relay->Open(); }
    }
    /// Uses a cache that somebody else has initialised, and ends.
    explicit Cache(Ptr<ILXConfigFactoryCache> cache)
        : ConfigFactory(cache.As<ILXConfigFactory>()), m_cache(std::move(cache)) {}
    Cache(Cache&& other) noexcept = default;
    Cache& operator=(Cache&& other) noexcept {
        if (this != &other) {
            End();
            ConfigFactory::operator=(std::move(other));
            m_cache = std::move(other.m_cache);
            m_lifetime = std::move(other.m_lifetime);
            m_relay = std::move(other.m_relay);
        }
        return *this;
    }
    ~Cache() { End(); }

    /// Ends the cache; it is empty then. The function that is told of changes is neither called nor under way any more,
    /// unless this is called from it, and is let go. A failure of the server's is in the logbook.
    void End() noexcept {
        if (m_relay) { m_relay->Close(); }
        if (m_lifetime) { m_lifetime->Terminate(); }
        m_relay = {};
        m_lifetime = {};
        m_cache = {};
        ConfigFactory::operator=(ConfigFactory());
    }

    /// The interface itself, for what this layer does not have. (Raw() is its config factory.)
    ILXConfigFactoryCache& RawCache() const { return detail::Must(m_cache); }

    /// The type of a data object. The object is asked for its type's name each time.
    lxcfc::Type TypeOf(ILX_BaseDataObject* object) const {
        lxcfc::Type found = FindTypeOf(object);
        if (!found) {
            Bstr name;
            object->GetTypeName(name.Put());
            detail::RaiseNotFound("type", name);
        }
        return found;
    }
    lxcfc::Type FindTypeOf(ILX_BaseDataObject* object) const {
        return detail::Find<lxcfc::Type>("GetCachedType", RawCache(), &ILXConfigFactoryCache::GetCachedType, object,
                                         BSTR(nullptr));
    }
    /// Whether the type of a data object is a plan type.
    bool IsPlanType(ILX_BaseDataObject* object) const {
        return detail::Call("IsPlantype", [&] { return RawCache().IsPlantype(object); }) == S_OK;
    }

    /// The relations of a parent type that a filter lets through (LXPCFilter), of one browser when one is named.
    Range<lxcfc::Relation> FilteredRelations(const Bstr& parent, LONG filter, const Bstr& browserId = {}) const {
        return detail::List<lxcfc::Relation>("GetPCEnum2", RawCache(), &ILXConfigFactoryCache::GetPCEnum2,
                                             static_cast<ILX_BaseDataObject*>(nullptr), parent.Get(), browserId.Get(),
                                             filter);
    }
    /// The same with the relations of its base types.
    Range<lxcfc::Relation> AllRelations(const Bstr& parent, LONG filter = LXPCF_NONE,
                                        const Bstr& browserId = {}) const {
        return detail::List<lxcfc::Relation>("GetPCEnumAll", RawCache(), &ILXConfigFactoryCache::GetPCEnumAll,
                                             static_cast<ILX_BaseDataObject*>(nullptr), parent.Get(), browserId.Get(),
                                             filter);
    }
    /// The relation between two types in a child list; empty when there is none.
    lxcfc::Relation FindRelation(const Bstr& parent, const Bstr& child, const Bstr& childList) const {
        return detail::Find<lxcfc::Relation>("GetSinglePCRelation", RawCache(),
                                             &ILXConfigFactoryCache::GetSinglePCRelation, parent.Get(), child.Get(),
                                             BSTR(nullptr), childList.Get());
    }

    /// Whether a type is, or derives from, another one.
    bool DerivesFrom(const Bstr& type, const Bstr& base) const {
        LONG answer = 0;
        BSTR bases[] = {base.Get()};
        detail::Call("CheckTypeDerivesFrom",
                     [&] { return RawCache().CheckTypeDerivesFrom(type.Get(), 1, bases, &answer); });
        return answer != 0;
    }
    /// The names of all types that derive from a type.
    std::vector<String> DerivedTypes(const Bstr& type) const {
        LONG count = 0;
        BSTR* names = nullptr;
        detail::Call("GetAllDerivedTypes", [&] { return RawCache().GetAllDerivedTypes(type.Get(), &count, &names); });
        const std::unique_ptr<BSTR, decltype(&CoTaskMemFree)> buffer(names, CoTaskMemFree);
        std::vector<Bstr> owned(static_cast<std::size_t>(count));
        std::vector<String> derived;
        for (LONG i = 0; i < count; ++i) {
            *owned[static_cast<std::size_t>(i)].Put() = names[i];
            derived.emplace_back(owned[static_cast<std::size_t>(i)].View());
        }
        return derived;
    }

private:
    Ptr<ILXConfigFactoryCache> m_cache;
    Ptr<IDPFObject> m_lifetime; // of a cache that this one ends
    Ptr<detail::Relay> m_relay; // when somebody is told of changes
};
} // namespace lxcfc

#endif
