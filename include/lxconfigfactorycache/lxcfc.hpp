// SPDX-License-Identifier: MIT
//
// The typed layer for clients: C++ classes for the cache and the objects that it returns. It is built on
// LXConfigFactoryCache.h and needs C++17. Link ole32 and oleaut32 on Windows, the platform library elsewhere.
//
//     const lxcfc::Apartment apartment;
//     const lxcfc::Cache cache(server, update);
//     for (const auto& attribute : cache.Type(L"Pump").Attributes()) { Print(attribute.Text(lx::Unit)); }
//
// Ownership  Each object owns one COM reference; a copy adds a reference to the same COM object. The caller owns what a
//            call returns. A Cache that started the component terminates it in its destructor. Other objects may
//            outlive the Cache; they then answer from the data that they hold. The server never receives a reference to
//            an object of the caller.
// Threading  All queries may be made from any thread, concurrently, as on the interfaces below. Assigning to a variable
//            needs exclusive access to that variable. So does constructing, moving or ending a Cache. The server calls
//            the change function (Changed) on its own threads.
// Errors     A failing call throws Error. A look-up that finds nothing throws Error with NotFound; look-ups named
//            Find... return an empty object instead. Using an empty object throws Error with E_POINTER. Out of memory
//            is std::bad_alloc. Destructors do not throw.
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
/// The string type of the interfaces: std::wstring on Windows, std::u16string elsewhere.
using String = std::basic_string<OLECHAR>;

// ---- texts

namespace detail {
constexpr std::uint32_t Replacement = 0xFFFD; // replaces invalid input
constexpr std::uint32_t Surrogates = 0xD800;  // first high surrogate; the low ones start at 0xDC00

/// A view of any type that converts to a string.
inline std::string_view ViewOf(std::string_view text) { return text; }
inline std::wstring_view ViewOf(std::wstring_view text) { return text; }
inline std::u16string_view ViewOf(std::u16string_view text) { return text; }

/// Removes the first character from a text and returns it. The text must not be empty.
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

/// Converts a text to another encoding. Between types of the same width it copies the units without checking them.
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

/// Converts a text to another encoding: std::string is UTF-8, other types are UTF-16 or UTF-32, depending on the width
/// of their characters. Invalid input becomes U+FFFD.
/// @param text  anything that converts to std::string_view, std::wstring_view or std::u16string_view
template <class To, class Text> To Encode(const Text& text) { return detail::Recode<To>(detail::ViewOf(text)); }

/// Owns a BSTR. Functions take names and keys as Bstr, so that a string of any type may be passed; a std::string is
/// UTF-8.
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

    /// The BSTR, still owned by this object; may be null.
    BSTR Get() const noexcept { return m_text; }
    /// The address for an out parameter; this object owns the BSTR stored there. Frees the current one.
    BSTR* Put() noexcept {
        SysFreeString(std::exchange(m_text, nullptr));
        return &m_text;
    }
    /// Returns the BSTR and gives up its ownership.
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

/// The result in the Error that a look-up throws when it finds nothing (ERROR_NOT_FOUND).
constexpr HRESULT NotFound = static_cast<HRESULT>(0x80070490);

/// A call that failed.
class Error : public std::exception {
public:
    /// @param source  where the error was detected; may be empty
    Error(HRESULT result, String text, String source = {})
        : m_facts(std::make_shared<const Facts>(Facts{result, std::move(text), std::move(source)})) {}
    /// Makes an Error from the calling thread's error information, which it consumes.
    /// @param what  the call that failed; used as the text when there is no error information
    static Error OfThread(HRESULT result, const char* what);

    /// The failing HRESULT.
    HRESULT Result() const noexcept { return m_facts->result; }
    /// The description from the error information.
    const String& Text() const noexcept { return m_facts->text; }
    /// The source from the error information: where the error was detected. May be empty.
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

/// Throws Error with the thread's error information if a result is a failure. For calls to the interfaces themselves.
/// @param what  the call, for the error's text
/// @return      the result, always a success code
inline HRESULT Check(HRESULT result, const char* what) {
    if (FAILED(result)) { throw Error::OfThread(result, what); }
    return result;
}

/// Owns one reference to an object with the interface I; may be empty.
template <class I> class Ptr {
public:
    /// Adds a reference to an object; null makes an empty Ptr.
    Ptr(I* object = nullptr) noexcept : m_object(object) {
        if (object != nullptr) { object->AddRef(); }
    }
    /// Adds a reference to the object of another smart pointer with a Get(), such as lx::Ref of the server kit. The
    /// object may implement several interfaces; the Ptr takes the one that it is declared with.
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
    /// Takes ownership of a reference without calling AddRef.
    static Ptr Take(I* object) noexcept {
        Ptr taken;
        taken.m_object = object;
        return taken;
    }

    I* Get() const noexcept { return m_object; }
    I* operator->() const noexcept { return m_object; }
    I& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    /// The address for an out parameter; this object owns the reference stored there. Releases the current one.
    I** Put() noexcept {
        *this = Ptr();
        return &m_object;
    }
    /// Returns the pointer and gives up the ownership of its reference.
    I* Detach() noexcept { return std::exchange(m_object, nullptr); }
    /// Another interface of the object; empty if the object does not implement it or this Ptr is empty.
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
    Value() noexcept { VariantInit(&m_value); }
    /// A boolean, or an integer of at most 32 bits.
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

    /// Whether the value is VT_EMPTY or VT_NULL.
    bool IsEmpty() const noexcept { return V_VT(&m_value) == VT_EMPTY || V_VT(&m_value) == VT_NULL; }
    /// The value as text; "" if empty. VariantChangeType converts numbers and booleans: on Windows it uses the decimal
    /// separator of the user's locale, and true becomes "-1". Throws Error if there is no conversion.
    template <class S = String> S Text() const { return TextOf<S>(IsEmpty() ? Value(OLESTR("")) : As(VT_BSTR)); }
    /// The value as an integer; 0 if empty. Throws Error if it is not a number (DISP_E_TYPEMISMATCH) or does not fit.
    LONG Number() const { return IsEmpty() ? 0 : V_I4(&*As(VT_I4)); }
    /// The value as a floating-point number; 0 if empty. Throws Error if there is no conversion.
    double Real() const { return IsEmpty() ? 0 : V_R8(&*As(VT_R8)); }
    /// The value as a boolean; false if empty. Throws Error if there is no conversion.
    bool Flag() const { return !IsEmpty() && V_BOOL(&*As(VT_BOOL)) != VARIANT_FALSE; }
    /// An interface of the object in the value; empty if there is no object or it does not implement the interface.
    template <class I> Ptr<I> Object() const noexcept {
        const bool isObject = V_VT(&m_value) == VT_UNKNOWN || V_VT(&m_value) == VT_DISPATCH;
        return isObject ? Ptr<IUnknown>(V_UNKNOWN(&m_value)).template As<I>() : Ptr<I>();
    }
    /// The VARIANT, still owned by this object.
    const VARIANT& Get() const noexcept { return m_value; }
    const VARIANT& operator*() const noexcept { return m_value; }
    /// The address for an out parameter; this object owns the value stored there. Clears the current one.
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
/// Makes a call and throws Error if it fails. Clears the thread's error information first, so that the Error does not
/// report that of an earlier call.
/// @param what  the call, for the error's text
/// @param ask   HRESULT ask()
template <class F> HRESULT Call(const char* what, F&& ask) {
    SetErrorInfo(0, nullptr);
    return Check(ask(), what);
}

/// The object of a Ptr; throws Error with E_POINTER if the Ptr is empty.
template <class I> I& Must(const Ptr<I>& object) {
    if (!object) { throw Error(E_POINTER, OLESTR("the object is empty")); }
    return *object;
}

[[noreturn]] inline void RaiseNotFound(const char* kind, const Bstr& key) {
    throw Error(NotFound, Encode<String>("there is no " + std::string(kind) + " '") + String(key.View()) + OLESTR("'"));
}
[[noreturn]] inline void RaiseNotFound(const char* kind, int key) { RaiseNotFound(kind, Bstr(std::to_string(key))); }

/// Returns the result of a look-up; throws Error with NotFound if it is empty.
template <class T, class Key> T Must(T found, const char* kind, const Key& key) {
    if (!found) { RaiseNotFound(kind, key); }
    return found;
}
} // namespace detail

/// A snapshot of an enumeration, as a range. The set of elements does not change, can be iterated any number of times
/// and outlives the type or cache that it came from.
template <class T> class Range {
public:
    using value_type = T;
    using const_iterator = typename std::vector<T>::const_iterator;
    using iterator = const_iterator;

    Range() = default;
    /// Reads all elements from an enumerator's current position. RemNext may return fewer elements than requested; the
    /// end is the first call that returns S_FALSE or no element.
    explicit Range(typename T::Enumerator& all) {
        constexpr ULONG atOnce = 64;
        for (;;) {
            typename T::Interface* block[atOnce] = {};
            ULONG fetched = 0;
            if (m_elements.capacity() - m_elements.size() < atOnce) {
                m_elements.reserve(m_elements.size() * 2 + atOnce);
            }
            const HRESULT result = detail::Call("RemNext", [&] { return all.RemNext(atOnce, block, &fetched); });
            // Cannot throw, because the capacity is reserved: no reference leaks.
            for (ULONG i = 0; i < (std::min)(fetched, atOnce); ++i) {
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
/// Calls a look-up method. Returns an empty object if it finds nothing (S_FALSE).
template <class T, class I, class M, class... Arguments>
T Find(const char* what, I& object, M method, Arguments... arguments) {
    Ptr<typename T::Interface> found;
    Call(what, [&] { return (object.*method)(arguments..., found.Put()); });
    return T(std::move(found));
}

/// Calls a method that returns an enumerator, and reads all elements; none for S_FALSE.
template <class T, class I, class M, class... Arguments>
Range<T> List(const char* what, I& object, M method, Arguments... arguments) {
    Ptr<typename T::Enumerator> all;
    Call(what, [&] { return (object.*method)(arguments..., all.Put()); });
    return all ? Range<T>(*all) : Range<T>();
}
} // namespace detail

// ---- configuration objects

/// Base of all configuration objects: access to properties by index (lx::Unit and so on, LXProperties.h) or by name. An
/// object may be empty: a Find... function that finds nothing returns one.
template <class I, class IEnumX = void> class ConfigObject {
public:
    using Interface = I;
    using Enumerator = IEnumX;

    ConfigObject() = default;
    /// Wraps an object of the cache or of a server.
    explicit ConfigObject(Ptr<I> object) noexcept : m_object(std::move(object)) {}

    explicit operator bool() const noexcept { return static_cast<bool>(m_object); }
    /// The interface, for methods that this layer does not wrap. Throws Error with E_POINTER if empty.
    I& Raw() const { return detail::Must(m_object); }

    /// The value of a property; may be empty.
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
    /// A property as text; "" if it has no value. Text(lx::Unit) is a String, Text<std::string>(lx::Unit) is UTF-8.
    template <class S = String> S Text(int index) const { return Get(index).template Text<S>(); }
    template <class S = String> S Text(const Bstr& name) const { return Get(name).template Text<S>(); }
    /// A property as an integer; 0 if it has no value.
    LONG Number(int index) const { return Get(index).Number(); }
    LONG Number(const Bstr& name) const { return Get(name).Number(); }
    /// A property as a floating-point number; 0 if it has no value.
    double Real(int index) const { return Get(index).Real(); }
    double Real(const Bstr& name) const { return Get(name).Real(); }
    /// A property as a boolean; false if it has no value.
    bool Flag(int index) const { return Get(index).Flag(); }
    bool Flag(const Bstr& name) const { return Get(name).Flag(); }

    /// Sets a property. On a server's object this changes the configuration. On a cached object it changes the cached
    /// value only, until the next notification that concerns it.
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
/// A display format of a value.
using Format = ConfigObject<ILXFormat>;
/// A value type that an attribute allows.
using AttributeType = ConfigObject<ILXAttributeType, ILXAttributeTypeEnum>;
/// An editor registered for a type.
using Editor = ConfigObject<ILXConfObjEditor, ILXConfObjEditorEnum>;
/// The display settings of a relation in one browser.
using PCInfo = ConfigObject<ILXPCInfo, ILXPCInfoEnum>;
/// A browser known to the server.
using BrowserId = ConfigObject<ILXBrowserId, ILXBrowserIdEnum>;

/// An object with one format per format type. CreateFormat and DeleteFormat change the server's configuration.
template <class I, class IEnumX> class FormatOwner : public ConfigObject<I, IEnumX> {
public:
    using ConfigObject<I, IEnumX>::ConfigObject;

    /// The format for a format type. Throws Error with NotFound if there is none.
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

/// A global format spec: formats that do not belong to an attribute.
using GlobalSpec = FormatOwner<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>;

/// An attribute of a type.
class Attribute : public FormatOwner<ILXAttribute, ILXAttributeEnum> {
public:
    using FormatOwner::FormatOwner;

    /// Its value types, sorted by name.
    Range<AttributeType> Types() const {
        return detail::List<AttributeType>("GetAttributeTypeEnum", Raw(), &ILXAttribute::GetAttributeTypeEnum);
    }
};

/// A group of attributes.
class Group : public ConfigObject<ILXGroup, ILXGroupEnum> {
public:
    using ConfigObject::ConfigObject;

    /// Its child groups.
    Range<Group> Children() const {
        return detail::List<Group>("GetChildGroupEnum", Raw(), &ILXGroup::GetChildGroupEnum);
    }
    /// Its format; empty if it has none.
    Format FindFormat() const { return detail::Find<Format>("GetFormat", Raw(), &ILXGroup::GetFormat); }
    /// Creates its format on the server.
    Format CreateFormat() const { return detail::Find<Format>("CreateFormat", Raw(), &ILXGroup::CreateFormat); }
    /// Deletes its format on the server.
    void DeleteFormat() const {
        detail::Call("DeleteFormat", [&] { return Raw().DeleteFormat(); });
    }
};

/// A parent-child relation: objects of one type may be children of objects of another, in a given child list.
class Relation : public ConfigObject<ILXParentChild, ILXParentChildEnum> {
public:
    using ConfigObject::ConfigObject;

    /// Its display settings, one per browser.
    Range<PCInfo> Infos() const { return detail::List<PCInfo>("GetPCInfoEnum", Raw(), &ILXParentChild::GetPCInfoEnum); }
    /// Its display settings in one browser. Throws Error with NotFound if there are none.
    PCInfo Info(const Bstr& browserId) const { return detail::Must(FindInfo(browserId), "PC info", browserId); }
    PCInfo FindInfo(const Bstr& browserId) const {
        return detail::Find<PCInfo>("GetPCInfo", Raw(), &ILXParentChild::GetPCInfo, browserId.Get());
    }
};

/// A type of the object model. Its attributes include those of its base types.
class Type : public ConfigObject<ILXType, ILXTypeEnum> {
public:
    using ConfigObject::ConfigObject;

    /// All attributes, sorted by name.
    Range<lxcfc::Attribute> Attributes() const {
        return detail::List<lxcfc::Attribute>("GetAttributeEnum", Raw(), &ILXType::GetAttributeEnum);
    }
    /// The attributes of one group.
    Range<lxcfc::Attribute> AttributesOf(int group) const {
        return detail::List<lxcfc::Attribute>("GetGroupAttributeEnum", Raw(), &ILXType::GetGroupAttributeEnum, group);
    }
    /// The attributes shown in certain displays.
    /// @param displays  bits of LXDisplay; 0 for all attributes
    Range<lxcfc::Attribute> DisplayAttributes(LONG displays) const {
        return detail::List<lxcfc::Attribute>("GetDisplayAttributeEnum", Raw(), &ILXType::GetDisplayAttributeEnum,
                                              displays);
    }
    /// The same, limited to one group.
    Range<lxcfc::Attribute> DisplayAttributes(LONG displays, int group) const {
        return detail::List<lxcfc::Attribute>("GetDisplayGroupAttributeEnum", Raw(),
                                              &ILXType::GetDisplayGroupAttributeEnum, displays, group);
    }
    /// An attribute by name. Throws Error with NotFound if there is none.
    lxcfc::Attribute Attribute(const Bstr& name) const { return detail::Must(FindAttribute(name), "attribute", name); }
    lxcfc::Attribute FindAttribute(const Bstr& name) const {
        return detail::Find<lxcfc::Attribute>("GetAttribute", Raw(), &ILXType::GetAttribute, name.Get());
    }

    /// The groups, sorted by number.
    Range<lxcfc::Group> Groups() const {
        return detail::List<lxcfc::Group>("GetGroupEnum", Raw(), &ILXType::GetGroupEnum);
    }
    /// The groups on a page.
    Range<lxcfc::Group> GroupsOf(int page) const {
        return detail::List<lxcfc::Group>("GetPageGroupEnum", Raw(), &ILXType::GetPageGroupEnum, page);
    }
    /// The groups without a parent group. Each call asks the server.
    Range<lxcfc::Group> ToplevelGroups() const {
        return detail::List<lxcfc::Group>("GetToplevelGroupEnum", Raw(), &ILXType::GetToplevelGroupEnum);
    }
    /// The same, limited to one page.
    Range<lxcfc::Group> ToplevelGroupsOf(int page) const {
        return detail::List<lxcfc::Group>("GetPageToplevelGroupEnum", Raw(), &ILXType::GetPageToplevelGroupEnum, page);
    }
    /// A group by number. Throws Error with NotFound if there is none.
    lxcfc::Group Group(int number) const { return detail::Must(FindGroup(number), "group", number); }
    lxcfc::Group FindGroup(int number) const {
        return detail::Find<lxcfc::Group>("GetGroup", Raw(), &ILXType::GetGroup, number);
    }

    /// The pages, sorted by number.
    Range<lxcfc::Page> Pages() const { return detail::List<lxcfc::Page>("GetPageEnum", Raw(), &ILXType::GetPageEnum); }
    /// A page by number. Throws Error with NotFound if there is none.
    lxcfc::Page Page(int number) const { return detail::Must(FindPage(number), "page", number); }
    lxcfc::Page FindPage(int number) const {
        return detail::Find<lxcfc::Page>("GetPage", Raw(), &ILXType::GetPage, number);
    }

    /// The editors, sorted by ProgID.
    Range<lxcfc::Editor> Editors() const {
        return detail::List<lxcfc::Editor>("GetConfObjEditorEnum", Raw(), &ILXType::GetConfObjEditorEnum);
    }
    /// An editor by ProgID. Throws Error with NotFound if there is none.
    lxcfc::Editor Editor(const Bstr& progId) const { return detail::Must(FindEditor(progId), "editor", progId); }
    lxcfc::Editor FindEditor(const Bstr& progId) const {
        return detail::Find<lxcfc::Editor>("GetConfObjEditor", Raw(), &ILXType::GetConfObjEditor, progId.Get(),
                                           BSTR(nullptr), BSTR(nullptr));
    }
    /// The default editor in a browser; empty if there is none.
    lxcfc::Editor FindDefaultEditor(const Bstr& browserId) const {
        return detail::Find<lxcfc::Editor>("GetDefaultEditor", Raw(), &ILXType::GetDefaultEditor, browserId.Get());
    }
    /// The default editor for new objects in a browser; empty if there is none.
    lxcfc::Editor FindDefaultNewEditor(const Bstr& browserId) const {
        return detail::Find<lxcfc::Editor>("GetDefaultNewEditor", Raw(), &ILXType::GetDefaultNewEditor,
                                           browserId.Get());
    }

    /// The base type; empty if there is none. The cache's types always provide it; a server's need not.
    Type FindBase() const { return Type(Get(lx::BaseType).Object<ILXType>()); }
};

// ---- the config factory

/// A config factory: that of a server or of a cache.
class ConfigFactory {
public:
    ConfigFactory() = default;
    explicit ConfigFactory(Ptr<ILXConfigFactory> factory) noexcept : m_factory(std::move(factory)) {}

    explicit operator bool() const noexcept { return static_cast<bool>(m_factory); }
    /// The interface, for methods that this layer does not wrap. Throws Error with E_POINTER if empty.
    ILXConfigFactory& Raw() const { return detail::Must(m_factory); }

    /// All types that the factory lists.
    Range<lxcfc::Type> Types() const {
        return detail::List<lxcfc::Type>("GetTypeEnum", Raw(), &ILXConfigFactory::GetTypeEnum, BSTR(nullptr));
    }
    /// The searchable types.
    Range<lxcfc::Type> SearchableTypes() const {
        return detail::List<lxcfc::Type>("GetSearchableTypeEnum", Raw(), &ILXConfigFactory::GetSearchableTypeEnum);
    }
    /// A type by name. Throws Error with NotFound if there is none.
    lxcfc::Type Type(const Bstr& name) const { return detail::Must(FindType(name), "type", name); }
    lxcfc::Type FindType(const Bstr& name) const {
        return detail::Find<lxcfc::Type>("GetType", Raw(), &ILXConfigFactory::GetType, name.Get(), BSTR(nullptr));
    }
    /// The relations of a parent type, or all relations if no name is given.
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
    /// The version of the configuration. Each call asks the server.
    String Version() const {
        Bstr version;
        detail::Call("GetVersion", [&] { return Raw().GetVersion(version.Put()); });
        return String(version.View());
    }

private:
    Ptr<ILXConfigFactory> m_factory;
};

// ---- changes

/// The content of a notification from the server.
struct Change {
    String dataId;   ///< kind/object/sub number/update mode
    String dataType; ///< "cfc_specific" for the configuration
    ULONG id = 0;    ///< increases with each notification

    /// The update mode; -1 if the data id contains none.
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
    /// Whether the update mode has one of these bits. Also true for a mode below 1 and for LXUM_EVERYTHING.
    /// @param modes  bits of LXUpdateMode, such as LXUM_ATTRIBUTES
    bool Concerns(LONG modes) const noexcept { return Mode() < 1 || (Mode() & (modes | LXUM_EVERYTHING)) != 0; }
};

/// Function that is called after the cache has processed a notification, so that reads through the cache return the new
/// state. It runs on the server's notifying thread, concurrently if the server notifies from several threads. The
/// server may wait for it, so it should return quickly: mark a window as stale, or post a message. It must not wait for
/// the thread that ends the cache, because that thread waits for it. Exceptions that it throws are discarded.
///
/// Ending the cache destroys the function. If the function itself ends the cache, it is destroyed after it returns.
using Changed = std::function<void(const Change&)>;

namespace detail {
/// Proxy between a server's notification service and the cache. The cache sees it as the service, the server as the
/// callback. It passes each notification to the cache first and then to the caller's function.
///
/// It references the server's service and the cache's callback until UnregisterCallback. The cache calls that in
/// Terminate, which breaks the reference cycle. No lock is held during a call or a release.
class Relay final : public ILXDataUpdate, public ILXCallbackUpdate {
public:
    Relay(Ptr<ILXDataUpdate> server, Changed function)
        : m_server(std::move(server)), m_function(std::make_shared<const Changed>(std::move(function))) {}
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    /// Starts to pass changes to the function. Earlier ones need not be passed: no client has read anything yet.
    void Open() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isOpen = true;
    }
    /// Stops calling the function and waits for calls in progress, except for those on the calling thread.
    void Close() noexcept {
        std::shared_ptr<const Changed> function; // destroyed after unlocking
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
        Replace(m_server, nullptr); // breaks the cycle even if the server keeps its callback
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
        Ptr<I> other(object); // releases the previous object after the lock
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::swap(ours, other);
    }
    /// Calls the server or the cache. Returns RPC_E_DISCONNECTED once the callback has been unregistered.
    template <class I, class F> HRESULT Pass(const Ptr<I>& ours, F&& call) {
        const Ptr<Relay> self(this); // the call may release the last other reference
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
            const std::shared_ptr<const Changed> function = m_function; // destroyed before Close stops waiting
            lock.unlock();
            (*function)(change);
        } catch (...) {} // exceptions of the caller's function must not reach the server
        if (!isInside) { return; }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_inside.erase(std::find(m_inside.begin(), m_inside.end(), std::this_thread::get_id()));
        m_left.notify_all();
    }

    std::atomic<ULONG> m_references{0};
    std::mutex m_mutex; // guards the members below
    std::condition_variable m_left;
    Ptr<ILXDataUpdate> m_server;
    Ptr<ILXCallbackUpdate> m_cache; // the cache's callback
    std::shared_ptr<const Changed> m_function;
    std::vector<std::thread::id> m_inside; // threads that are inside the function
    bool m_isOpen = false;
};

/// Creates an instance of the component.
inline Ptr<ILXConfigFactoryCache> CreateCache() {
    Ptr<ILXConfigFactoryCache> cache;
    const auto create = [&cache] {
        return CoCreateInstance(__uuidof(LXConfigFactoryCache), nullptr, CLSCTX_INPROC_SERVER,
                                __uuidof(ILXConfigFactoryCache), reinterpret_cast<void**>(cache.Put()));
    };
#ifndef _WIN32
    // There is no registry, so each process registers the component itself.
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

/// Enters the multithreaded apartment on the calling thread and leaves it in the destructor. Declare it before all COM
/// objects, so that it is destroyed last. Throws Error with RPC_E_CHANGED_MODE if the thread is already in a
/// single-threaded apartment.
class Apartment {
public:
    Apartment() { Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx"); }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

/// Optional settings for the start of a cache.
struct Options {
    Ptr<ILX_Query> query; ///< a query object of the server for the cache's exclusive use; needed for plan types
    /// The components to read with the types: bits of LXTransferMode.
    LONG bulk = LXTM_ATTRIBUTES | LXTM_GROUPS | LXTM_PAGES | LXTM_EDITORS;
};

/// A cache in front of a server (client mode): starts and ends the component, and has the queries that only a cache
/// answers.
class Cache : public ConfigFactory {
public:
    Cache() = default;
    /// Starts a cache: registers for notifications and reads all types. If that fails, it throws Error and undoes
    /// everything. An object with all services (such as that of lx::Connect of the server kit) is passed twice:
    /// Cache(server, server).
    /// @param server   the server's config factory
    /// @param update   its notification service; if empty, cached data is never refreshed
    /// @param changed  called for each change until End; may be empty
    /// @param options  further settings
    explicit Cache(const Ptr<ILXConfigFactory>& server, Ptr<ILXDataUpdate> update = {}, Changed changed = {},
                   const Options& options = {})
        : Cache(detail::CreateCache()) {
        m_lifetime = m_cache.As<IDPFObject>(); // the destructor terminates it, also if this constructor throws
        if (update && changed) {
            m_relay = Ptr<detail::Relay>(new detail::Relay(std::move(update), std::move(changed)));
            update = Ptr<ILXDataUpdate>(m_relay.Get());
        }
        VARIANT values[6] = {}; // not owning
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
    /// Uses a component that other code initialises and terminates.
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

    /// Ends the cache and leaves this object empty. When it returns, the change function no longer runs, except for the
    /// call that End itself is made from. Errors of the server are written to the logbook.
    void End() noexcept {
        if (m_relay) { m_relay->Close(); }
        if (m_lifetime) { m_lifetime->Terminate(); }
        m_relay = {};
        m_lifetime = {};
        m_cache = {};
        ConfigFactory::operator=(ConfigFactory());
    }

    /// The cache's interface, for methods that this layer does not wrap. (Raw() is its config factory.)
    ILXConfigFactoryCache& RawCache() const { return detail::Must(m_cache); }

    /// The type of a data object. Each call asks the object for the name of its type. Throws Error with NotFound if the
    /// cache has no such type.
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

    /// The relations of a parent type that pass a filter.
    /// @param filter     bits of LXPCFilter
    /// @param browserId  limits the result to one browser; may be empty
    Range<lxcfc::Relation> FilteredRelations(const Bstr& parent, LONG filter, const Bstr& browserId = {}) const {
        return detail::List<lxcfc::Relation>("GetPCEnum2", RawCache(), &ILXConfigFactoryCache::GetPCEnum2,
                                             static_cast<ILX_BaseDataObject*>(nullptr), parent.Get(), browserId.Get(),
                                             filter);
    }
    /// The same, including the relations of the base types.
    Range<lxcfc::Relation> AllRelations(const Bstr& parent, LONG filter = LXPCF_NONE,
                                        const Bstr& browserId = {}) const {
        return detail::List<lxcfc::Relation>("GetPCEnumAll", RawCache(), &ILXConfigFactoryCache::GetPCEnumAll,
                                             static_cast<ILX_BaseDataObject*>(nullptr), parent.Get(), browserId.Get(),
                                             filter);
    }
    /// The relation between two types in a child list; empty if there is none.
    lxcfc::Relation FindRelation(const Bstr& parent, const Bstr& child, const Bstr& childList) const {
        return detail::Find<lxcfc::Relation>("GetSinglePCRelation", RawCache(),
                                             &ILXConfigFactoryCache::GetSinglePCRelation, parent.Get(), child.Get(),
                                             BSTR(nullptr), childList.Get());
    }

    /// Whether a type is the base type or derives from it.
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
    Ptr<IDPFObject> m_lifetime; // empty if other code terminates the cache
    Ptr<detail::Relay> m_relay; // empty without a change function
};
} // namespace lxcfc

#endif
