// SPDX-License-Identifier: MIT
//
// What the owners of cached objects share.
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

/// Answers a method with an out pointer: the boundary, and the pointer checked and nulled before anything else.
/// @param answer  HRESULT answer(); what it raises is the method's failure
template <class T, class Answer>
HRESULT LXAnswer(const LXErrorLocation& at, const OLECHAR* outName, T** out, Answer&& answer) {
    return XLXError::Guarded(at, [&]() -> HRESULT {
        LXCheckOut(out, outName, at);
        return answer();
    });
}

/// Hands an object out; S_FALSE and null when there is none.
template <class Object, class Interface> HRESULT LXHandOut(XLXComPtr<Object> object, Interface** out) noexcept {
    *out = object.Detach();
    return *out != nullptr ? S_OK : S_FALSE;
}

/// What a map, which may be null, has under a key; empty when it has nothing.
template <class Map> typename Map::mapped_type LXFind(const Map* map, const auto& key) {
    const auto found = map != nullptr ? map->find(key) : typename Map::const_iterator();
    return map != nullptr && found != map->end() ? found->second : typename Map::mapped_type();
}

/// Hands the objects of a map out, which may be null, in key order.
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

/// Runs a callable that returns an HRESULT; a failure that is raised becomes its code, and no error information.
/// std::bad_alloc passes: the component's own lack of memory is no answer of the server, and must not be cached.
template <class F> HRESULT LXWithoutRaising(F&& body) {
    try {
        return body();
    } catch (const XLXException& error) { return error.Code(); }
}

/// Runs a callable; what it raises is raised again as noticed by the caller.
template <class F> auto LXRaisedAt(const LXErrorLocation& at, F&& body) {
    try {
        return body();
    } catch (const XLXException& failure) { XLXError::Raise(failure.Code(), failure.Message(), at); }
}

/// Runs a step of a load; a failure that it raises is kept, to be raised once when what came before it is published.
template <class F> void LXKeepFailure(std::exception_ptr& failure, F&& step) {
    try {
        step();
    } catch (const XLXException&) { failure = std::current_exception(); }
}
inline void LXRaiseKept(const std::exception_ptr& failure) {
    if (failure) { std::rethrow_exception(failure); }
}

/// A server's enumeration that yields more than this many elements never ends.
constexpr ULONG LXMostElements = 1000000;

/// Says that a method of the server is about to be called: writes the trace entry when one is wanted, and in debug
/// builds asserts that no lock is held that a notification could wait for.
void LXServerCall(const char* method) noexcept;

/// What a success of the server without a result means.
enum class LXNoResult {
    Nothing,     ///< the same as S_FALSE
    Empty,       ///< a result: the empty text
    PointerError ///< raises E_POINTER
};

/// Asks the server: nulls the result, writes the trace entry, and calls. A failing call leaves nothing to release,
/// whatever the server left in the result.
/// @param result  an owner: XLXComPtr, XLXSafeArray, XLXComBSTR, or XLXComVariant, which is never without a result
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

/// Asks for a property of a configuration object of the server.
HRESULT LXAskProperty(ILXConfigObject& server, int member, XLXComVariant& value);
/// Asks for an attribute of a data object.
HRESULT LXAskAttribute(ILX_BaseDataObject& object, const OLECHAR* name, XLXComVariant& value);
/// Asks for the type name of a data object; one without a text is empty.
HRESULT LXAskTypeName(ILX_BaseDataObject& object, XLXComBSTR& name);

/// A caller's variable, as an owner of which nothing is left after a failure.
template <class Result> struct XCallersOut {
    Result** out; ///< may be null: that is for the server to refuse
    Result** Put() noexcept {
        LXEmptyOut(out);
        return out;
    }
    void Detach() noexcept { LXEmptyOut(out); }
};

/// Answers a method by the same one of a server object.
/// @param server     gives the object, or raises
/// @param method     of its interface; the out pointer is the last argument
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

/// Reads all property values of a server object in one call. Anything but S_OK is returned as the server gave it,
/// with nothing read; a failure is written to the logbook. An element that cannot be read is skipped. Raises
/// E_POINTER when the server says S_OK without values.
HRESULT LXFetchProperties(ILXConfigObject& server, const LXErrorLocation& at, XVariantRow& values);

namespace LXCFCTOOLS {
/// Makes a cached object around a server object, which may be null.
/// @param clock  of the connection that the object belongs to; null: nothing makes the object stale
template <class Cached> XLXComPtr<Cached> Make(XLXComPtr<IUnknown> server, XClockPtr clock) {
    return XLXComPtr<Cached>(new Cached(std::move(server), std::move(clock)));
}
} // namespace LXCFCTOOLS

/// Says that the objects of a map take the place of those of a former one (which may be null), under the map's lock.
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

/// The object for a record of the server: the one that is known (there may be none), refreshed, so that whoever holds it
/// reads the new values; or else a new one.
/// @param refill  by which the values of a new one are read with those of others
/// @param source  of a server object that did not come
template <class Cached>
XLXComPtr<Cached> LXMakeOrRefresh(XLXComPtr<Cached> known, XLXComPtr<IUnknown> server, XVariantRow values,
                                  const XMoment& moment, const XClockPtr& clock, XRetired& retired,
                                  const XRefillPtr& refill = {}, XServerSourcePtr source = {}) {
    if (known) {
        known->TakeRecord(std::move(server), std::move(values), moment, retired, std::move(source));
        return known;
    }
    known = LXCFCTOOLS::Make<Cached>(std::move(server), clock);
    if (source) { known->SetSource(std::move(source)); }
    known->SetRefill(refill);
    known->AssignProperties(std::move(values), moment);
    return known;
}

/// Enters the object for a record of the server into a map that is being made. What the former map (which may be null)
/// has under the key stays the same object.
template <class Map>
void LXEnterRecord(const Map* former, Map& to, typename Map::key_type key, XLXComPtr<IUnknown> server,
                   XVariantRow values, const XMoment& moment, const XClockPtr& clock, XRetired& retired,
                   const XRefillPtr& refill = {}, XServerSourcePtr source = {}) {
    auto object = LXMakeOrRefresh(LXFind(former, key), std::move(server), std::move(values), moment, clock, retired,
                                  refill, std::move(source));
    to.insert_or_assign(std::move(key), std::move(object));
}

/// Passes a notification that came straight to an owner on to the objects of its map, which may be null.
template <class Map, class Notification, class Touched>
void LXNotifyDirectly(const Map* map, const Notification& notification, Touched& touched) {
    if (map == nullptr) { return; }
    for (const auto& [key, object] : *map) {
        object->NotifyDirectly(notification, touched);
    }
}

/// Fills in computer, user, password and process of the calling process; leaves the other fields as given. A failure
/// is reported with "<className>::GetClientInfo -> GetComputerName".
HRESULT LXGetClientInfo(tagLXClientInfo* info, const char* className, const LXErrorLocation& at);

/// The name of this computer; raises the platform's code with the text.
XLXComBSTR LXComputerName(XLXTextView failureText, const LXErrorLocation& at);

/// Takes all elements of a server's enumeration, in batches, until it answers anything but S_OK. A failure ends the
/// enumeration and is returned; the elements fetched before it have been visited. Every element is released.
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
            return result; // a failing call leaves nothing to release
        }
        for (ULONG i = 0; i < BatchSize; ++i) {
            batch[i].Attach(raw[i]); // whatever the server put there is released, even past the count it claims
        }
        fetched = fetched < BatchSize ? fetched : BatchSize;
        for (ULONG i = 0; i < fetched; ++i) {
            if (batch[i]) { visit(std::move(batch[i])); }
        }
        total += fetched != 0 ? fetched : 1; // a server that never delivers anything must end too
        if (result == S_OK && total >= LXMostElements) {
            XLXError::Raise(E_FAIL, OLESTR("server enumeration does not end"), at);
        }
    }
    return S_OK;
}

/// The first element of a server's enumeration that fits; null when none does. Raises a failure with the text.
/// @param method  the call that gives the enumeration, ask(out)
/// @param next    the name of the enumeration's RemNext
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
