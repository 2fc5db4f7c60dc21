// SPDX-License-Identifier: MIT
//
// Functions that the owners of cached objects share: answering methods, asking the server, keeping maps.
#ifndef LXCFCTOOLS_H
#define LXCFCTOOLS_H

#include "XClock.h"
#include "XLXComBSTR.h"
#include "XLXComPtr.h"
#include "XLXEnumWithDelete.h"
#include "XLXError.h"
#include "XRefill.h"
#include "XRetired.h"
#include "XServerSource.h"
#include "XVariantRow.h"

#include <utility>

/// Runs a method that has an out pointer, within the exception boundary. Checks and nulls the out pointer first.
/// @param answer  HRESULT answer(); an exception becomes the method's failure
template <class T, class Answer>
HRESULT LXAnswer(const LXErrorLocation& at, const OLECHAR* outName, T** out, Answer&& answer) {
    return XLXError::Guarded(at, [&]() -> HRESULT {
        LXCheckOut(out, outName, at);
        return answer();
    });
}

/// Hands out an object; S_FALSE and null if there is none.
template <class Object, class Interface> HRESULT LXHandOut(XLXComPtr<Object> object, Interface** out) noexcept {
    *out = object.Detach();
    return *out != nullptr ? S_OK : S_FALSE;
}

/// The value with a key in a map, which may be null; a default value if there is none.
template <class Map> typename Map::mapped_type LXFind(const Map* map, const auto& key) {
    const auto found = map != nullptr ? map->find(key) : typename Map::const_iterator();
    return map != nullptr && found != map->end() ? found->second : typename Map::mapped_type();
}

/// Hands out an enumerator of the objects of a map, which may be null, in key order.
template <class Interface, class Map, class Enumerator>
HRESULT LXHandOutAll(const std::shared_ptr<const Map>& map, Enumerator** out) {
    std::vector<XLXComPtr<Interface>> objects;
    if (map) {
        objects.reserve(map->size());
        for (const auto& [key, object] : *map) {
            objects.emplace_back(object);
        }
    }
    return LXHandOutEnumerator(std::move(objects), out);
}

/// Runs a callable that returns an HRESULT; turns an XLXException into its code, without error information.
/// std::bad_alloc passes through, because running out of memory must not be cached as an answer of the server.
template <class F> HRESULT LXWithoutRaising(F&& body) {
    try {
        return body();
    } catch (const XLXException& error) { return error.Code(); }
}

/// Runs a callable; an XLXException is raised again with this location.
template <class F> auto LXRaisedAt(const LXErrorLocation& at, F&& body) {
    try {
        return body();
    } catch (const XLXException& failure) { XLXError::Raise(failure.Code(), failure.Message(), at); }
}

/// Runs a step of a load and keeps the failure that it raises, so that the data read before the failure can be
/// published first. LXRaiseKept raises the failure afterwards.
template <class F> void LXKeepFailure(std::exception_ptr& failure, F&& step) {
    try {
        step();
    } catch (const XLXException&) { failure = std::current_exception(); }
}
inline void LXRaiseKept(const std::exception_ptr& failure) {
    if (failure) { std::rethrow_exception(failure); }
}

/// An enumeration of the server that reaches this many elements is treated as endless.
constexpr ULONG LXMaxElements = 1000000;

/// Precedes every call to the server: writes a trace entry if enabled and, in debug builds, asserts that no lock is
/// held that a notification could wait for.
void LXServerCall(const char* method) noexcept;

/// How S_OK of the server with a null result is treated.
enum class LXNoResult {
    Nothing,     ///< like S_FALSE
    Empty,       ///< as a valid result: the empty text
    PointerError ///< raises E_POINTER
};

/// Calls the server: nulls the result, writes the trace entry, and calls. After a failure the result is forgotten and
/// not released, whatever the server left in it.
/// @param result  an owner: XLXComPtr, XLXSafeArray, XLXComBSTR or XLXComVariant; LXNoResult does not apply to the last
/// @param call    HRESULT call(out pointer)
template <class Owner, class Call>
HRESULT LXAsk(const char* method, Owner& result, LXNoResult withoutResult, const OLECHAR* resultName,
              const LXErrorLocation& at, Call&& call) {
    auto* const out = result.Put();
    LXServerCall(method);
    const HRESULT answer = call(out);
    if (FAILED(answer)) {
        (void)result.Detach();
        return answer;
    }
    if constexpr (!std::is_same_v<Owner, XLXComVariant>) {
        if (answer == S_OK && out != nullptr && *out == nullptr && withoutResult != LXNoResult::Empty) {
            if (withoutResult == LXNoResult::Nothing) { return S_FALSE; }
            XLXError::RaisePointer(resultName, at);
        }
    }
    return answer;
}

/// Asks a configuration object of the server for a property.
HRESULT LXAskProperty(ILXConfigObject& server, int member, XLXComVariant& value);
/// Asks a data object for an attribute.
HRESULT LXAskAttribute(ILX_BaseDataObject& object, const OLECHAR* name, XLXComVariant& value);
/// Asks a data object for its type name; a null text is an empty name.
HRESULT LXAskTypeName(ILX_BaseDataObject& object, XLXComBSTR& name);

/// Adapts a client's out pointer to LXAsk, which nulls it before the call and after a failure.
template <class Result> struct XCallersOut {
    Result** out; ///< may be null: the server refuses that
    Result** Put() noexcept {
        LXEmptyOut(out);
        return out;
    }
    void Detach() noexcept { LXEmptyOut(out); }
};

/// Forwards a method to a server object.
/// @param server  returns the object, or raises
/// @param method  the method of its interface; the out pointer is the last argument
template <class Server, class Method, class Result, class... Arguments>
HRESULT LXPassOn(const LXErrorLocation& at, const char* name, LXNoResult withoutResult, Server&& server, Method method,
                 Result** out, Arguments... arguments) {
    XCallersOut<Result> callers{out};
    callers.Put();
    return XLXError::Guarded(at, [&] {
        return LXAsk(name, callers, withoutResult, OLESTR("object of the server"), at,
                     [&, object = server()](Result** to) { return (object.Get()->*method)(arguments..., to); });
    });
}

/// Reads all property values of a server object in one call. Any result of the server other than S_OK is returned, with
/// nothing read; a failure is logged. Raises E_POINTER if the server returns S_OK without values, and faults of the
/// array.
HRESULT LXFetchProperties(ILXConfigObject& server, const LXErrorLocation& at, XVariantRow& values);

namespace LXCFCTOOLS {
/// Creates a cached object for a server object, which may be null.
/// @param clock  the clock of the object's connection; null: nothing makes the object stale
template <class Cached> XLXComPtr<Cached> Make(XLXComPtr<IUnknown> server, XClockPtr clock) {
    return XLXComPtr<Cached>(new Cached(std::move(server), std::move(clock)));
}
} // namespace LXCFCTOOLS

/// Detaches the objects of a former map (which may be null) that are not in its successor, and attaches those of the
/// successor. Called under the map's lock.
template <class Map> void LXReplaceMap(const Map* former, const Map& map) noexcept {
    if (former != nullptr) {
        for (const auto& [key, object] : *former) {
            if (const auto kept = map.find(key); kept == map.end() || kept->second != object) { object->Detach(); }
        }
    }
    for (const auto& [key, object] : map) {
        object->Attach();
    }
}

/// The object for a record of the server: the known one, refreshed in place because clients may hold it, or a new one.
/// @param known   may be null
/// @param refill  the refill of a new object
/// @param source  supplies the server object on first use, if the record has none
template <class Cached>
XLXComPtr<Cached> LXMakeOrRefresh(XLXComPtr<Cached> known, XLXComPtr<IUnknown> server, XVariantRow values,
                                  const XRequestTime& requested, const XClockPtr& clock, XRetired& retired,
                                  const XRefillPtr& refill = {}, XServerSourcePtr source = {}) {
    if (!known) {
        known = LXCFCTOOLS::Make<Cached>(nullptr, clock);
        known->SetRefill(refill);
    }
    known->TakeRecord(std::move(server), std::move(values), requested, retired, std::move(source));
    return known;
}

/// Adds the object for a record of the server to a map under construction. If the former map (which may be null) has an
/// object with this key, that object is refreshed and reused.
template <class Map>
void LXEnterRecord(const Map* former, Map& to, typename Map::key_type key, XLXComPtr<IUnknown> server,
                   XVariantRow values, const XRequestTime& requested, const XClockPtr& clock, XRetired& retired,
                   const XRefillPtr& refill = {}, XServerSourcePtr source = {}) {
    auto object = LXMakeOrRefresh(LXFind(former, key), std::move(server), std::move(values), requested, clock, retired,
                                  refill, std::move(source));
    to.insert_or_assign(std::move(key), std::move(object));
}

/// Passes a direct notification to an owner on to the objects of its map, which may be null.
template <class Map, class Notification, class Touched>
void LXNotifyDirectly(const Map* map, const Notification& notification, Touched& touched) {
    if (map == nullptr) { return; }
    for (const auto& [key, object] : *map) {
        object->NotifyDirectly(notification, touched);
    }
}

/// Fills in the computer name (also as the user name), an empty password and the process id; leaves the other fields
/// alone. Raises a failure with the text "<className>::GetClientInfo -> GetComputerName".
HRESULT LXGetClientInfo(tagLXClientInfo* info, const char* className, const LXErrorLocation& at);

/// The name of this computer. Raises the platform's error code with this text.
XLXComBSTR LXComputerName(XLXTextView failureText, const LXErrorLocation& at);

/// Visits all elements of a server's enumeration, in batches, until a call returns anything but S_OK. A failure is
/// returned; the elements fetched before it have been visited. All elements are released, except those of a failed
/// call.
/// @param visit  called with each non-null element, as XLXComPtr<Element>&&
template <ULONG BatchSize, class Element, class Enumerator, class Visit>
HRESULT LXForEachOf(Enumerator& enumerator, const char* method, const LXErrorLocation& at, Visit&& visit) {
    ULONG total = 0;
    for (HRESULT result = S_OK; result == S_OK;) {
        XLXComPtr<Element> batch[BatchSize];
        Element* raw[BatchSize] = {};
        ULONG fetched = 0;
        LXServerCall(method);
        result = enumerator.RemNext(BatchSize, raw, &fetched);
        if (FAILED(result)) {
            return result; // after a failure the elements are not released
        }
        for (ULONG i = 0; i < BatchSize; ++i) {
            batch[i].Attach(raw[i]); // releases all elements, even beyond the count that the server returned
        }
        fetched = fetched < BatchSize ? fetched : BatchSize;
        for (ULONG i = 0; i < fetched; ++i) {
            if (batch[i]) { visit(std::move(batch[i])); }
        }
        total += fetched != 0 ? fetched : 1; // also ends endless empty batches
        if (result == S_OK && total >= LXMaxElements) {
            XLXError::Raise(E_FAIL, OLESTR("server enumeration does not end"), at);
        }
    }
    return S_OK;
}

/// The first element of a server's enumeration for which `fits` returns true; null if there is none. Raises a failure
/// of the server with this text.
/// @param method  name of the method that returns the enumeration, which ask(out) calls
/// @param next    name of the enumeration's RemNext
template <ULONG BatchSize, class Element, class Enumerator, class Ask, class Fits>
XLXComPtr<Element> LXFindListed(const char* method, const char* next, const OLECHAR* failureText,
                                const LXErrorLocation& at, Ask&& ask, Fits&& fits) {
    XLXComPtr<Enumerator> elements;
    XLXError::RaiseIfFailed(LXAsk(method, elements, LXNoResult::Nothing, {}, at, ask), failureText, at);
    XLXComPtr<Element> found;
    const auto visit = [&](XLXComPtr<Element>&& element) {
        if (!found && fits(*element)) { found = std::move(element); }
    };
    if (elements) {
        XLXError::RaiseIfFailed(LXForEachOf<BatchSize, Element>(*elements, next, at, visit), failureText, at);
    }
    return found;
}

#endif
