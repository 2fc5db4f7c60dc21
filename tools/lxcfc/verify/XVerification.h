// SPDX-License-Identifier: MIT
//
// The state of a verification: the functions with which the families of rules call the server, and shared results.
// Rules that hold for every call are checked here.
#ifndef XVERIFICATION_H
#define XVERIFICATION_H

#include "XAspect.h"
#include "XBulkArrays.h"
#include "XServerCalls.h"
#include "XServerVerifier.h"
#include "XToolCom.h"

#include <atomic>
#include <set>

/// The expected result of a call.
enum class XWanted {
    Answer,          ///< success
    AnswerIfOffered, ///< success or E_NOTIMPL
    Nothing,         ///< not found (S_FALSE)
    NothingIfOffered
};

template <class T> struct XAnswered {
    std::string call;
    HRESULT result = E_FAIL;
    XLXComPtr<T> object;

    bool Has() const { return result == S_OK && object; }
    bool IsOffered() const { return result != E_NOTIMPL; }
};

class XVerification : public std::enable_shared_from_this<XVerification> {
public:
    XVerification(XServerToVerify server, const XVerifierOptions& options);

    const XServerToVerify& Server() const { return m_server; }
    const XVerifierOptions& Options() const { return m_options; }
    XFindings& Findings() { return m_findings; }
    XServerCalls& Calls() { return m_calls; }
    ILXConfigFactory& Factory() const { return *m_server.factory; }
    /// Null if the server does not implement the interface.
    ILXConfigFactoryEx* Bulk() const { return m_bulk.Get(); }

    /// Makes a call that returns an object, and checks its result.
    template <class T, class F>
    XAnswered<T> Ask(XWanted wanted, const std::string& method, const std::string& arguments, F&& call) {
        XAnswered<T> answer;
        answer.call = method + "(" + arguments + ")";
        T* const untouched = m_server.inProcess ? static_cast<T*>(Untouched()) : nullptr;
        T* out = untouched;
        answer.result = m_calls.Make(method, answer.call, [&] { return call(&out); });
        Judge(wanted, answer.call, answer.result, LeftIn(out, untouched));
        if (SUCCEEDED(answer.result) && out != untouched) { answer.object = LXAttach(out); }
        return answer;
    }
    /// Makes a call that returns an array, and checks its result. Returns null if there is no array.
    template <class F>
    SAFEARRAY* AskArray(XWanted wanted, const std::string& method, const std::string& call, F&& ask) {
        SAFEARRAY* const untouched = m_server.inProcess ? static_cast<SAFEARRAY*>(Untouched()) : nullptr;
        SAFEARRAY* out = untouched;
        const HRESULT result = m_calls.Make(method, call, [&] { return ask(&out); });
        Judge(wanted, call, result, LeftIn(out, untouched));
        return result == S_OK && out != untouched ? out : nullptr;
    }
    /// Checks that an object that was missing in a record has been found by other means.
    void JudgeMissing(const XReadRecord& record, bool isFound, const std::string& call) {
        if (record.object != nullptr) { return; }
        m_findings.Check(isFound, XRule::NullObjects, call,
                         record.path + " has no object in the array, and none is found");
    }
    /// A property of an object; nullopt if the call fails.
    std::optional<XLXComVariant> AskValue(ILXConfigObject& object, XElementKind kind, const std::string& who,
                                          int index);
    /// The key of an object: its name, or its number as text.
    std::string AskKey(ILXConfigObject& object, XElementKind kind, const std::string& who);
    /// A property as text, with its type.
    std::optional<std::string> AskProperty(ILXConfigObject& object, XElementKind kind, const std::string& who,
                                           int index);
    /// Compares the values of GetProperties with GetProperty, one by one.
    void CompareProperties(ILXConfigObject& object, XElementKind kind, const std::string& who, const XRow& row);
    /// All values of an object as texts; nullopt if they cannot be read.
    std::optional<XRow> AskProperties(ILXConfigObject& object, XElementKind kind, const std::string& who);

    // The bulk reads; they add findings. They return nullopt if there is no array or it violates the format.
    std::optional<XReadTypes> AskTypes(LONG mode);
    std::optional<XReadTypes> AskNamedType(const std::string& name, bool withBases, LONG mode, XWanted wanted);
    std::optional<XReadTypes> AskTypeList(const std::vector<std::string>& names, bool withBases, LONG mode);
    std::optional<XReadArray<XReadComponents>> AskComponents(ILXType& type, const std::string& name, LONG mode);
    std::optional<XReadArray<std::vector<XReadRecord>>> AskRelations();
    XLXComPtr<ILXType> AskType(const std::string& name);

    /// All elements of an enumeration; none if there is no enumeration or it does not end properly.
    template <class Element, class Enumerator>
    std::vector<XLXComPtr<Element>> AskAll(const XAnswered<Enumerator>& enumeration, ULONG batch = 50);
    /// Calls RemNext once.
    template <class Element, class Enumerator>
    HRESULT AskNext(const XAnswered<Enumerator>& enumeration, ULONG count, std::vector<XLXComPtr<Element>>& into);

    // The result of the first bulk reads, for all families.
    std::optional<XReadTypes> types;
    std::optional<XReadArray<std::vector<XReadRecord>>> relations;
    std::vector<const XReadType*> sample;    ///< types that are read one by one
    std::atomic<int> insideNotifications{0}; ///< number of callback calls in progress

    static constexpr LONG AllInBulk = 15;
    /// The reason why references cannot be counted.
    static constexpr const char* BehindProxies =
        "the server is called through proxies: it runs in another process or apartment";

private:
    enum class Left { Null, Untouched, Something };

    /// The initial value of out parameters, which shows whether the server has written to them.
    static void* Untouched();
    static Left LeftIn(const void* out, const void* untouched) {
        return out == nullptr ? Left::Null : out == untouched ? Left::Untouched : Left::Something;
    }
    void Judge(XWanted wanted, const std::string& call, HRESULT result, Left left);

    const XServerToVerify m_server;
    const XVerifierOptions m_options;
    const XLXComPtr<ILXConfigFactoryEx> m_bulk;
    XFindings m_findings;
    XServerCalls m_calls;
};

template <class Element, class Enumerator>
HRESULT XVerification::AskNext(const XAnswered<Enumerator>& enumeration, ULONG count,
                               std::vector<XLXComPtr<Element>>& into) {
    constexpr ULONG Margin = 16; // room for a server that writes too many elements
    std::vector<Element*> elements(count + Margin);
    ULONG fetched = 0;
    const std::string call = enumeration.call + "->RemNext(" + std::to_string(count) + ")";
    const HRESULT result =
        m_calls.Make("RemNext", call, [&] { return enumeration.object->RemNext(count, elements.data(), &fetched); });
    const ULONG given = static_cast<ULONG>(
        std::distance(elements.begin(), std::find(elements.begin(), elements.end(), static_cast<Element*>(nullptr))));
    const bool right = fetched <= count && given == fetched && result == (fetched == count ? S_OK : S_FALSE);
    m_findings.Check(right, XRule::EnumCounts, call,
                     LXResultName(result) + ", reported " + std::to_string(fetched) + " elements, returned " +
                         std::to_string(given));
    for (ULONG i = 0; SUCCEEDED(result) && i < std::min(given, count); ++i) {
        into.push_back(LXAttach(elements[i]));
    }
    return right ? result : E_UNEXPECTED;
}

template <class Element, class Enumerator>
std::vector<XLXComPtr<Element>> XVerification::AskAll(const XAnswered<Enumerator>& enumeration, ULONG batch) {
    std::vector<XLXComPtr<Element>> all;
    if (!enumeration.Has()) { return all; }
    HRESULT result = S_OK;
    for (std::size_t before = 0; result == S_OK && all.size() < m_options.elements; before = all.size()) {
        result = AskNext(enumeration, batch, all);
        if (result == S_OK && all.size() == before) { break; }
    }
    if (FAILED(result)) { return all; }
    std::vector<XLXComPtr<Element>> more;
    const bool ended = result == S_FALSE && AskNext(enumeration, 1, more) == S_FALSE && more.empty();
    m_findings.Check(ended, XRule::EnumEnds, enumeration.call,
                     "after " + std::to_string(all.size()) + " elements it has not ended");
    if (!ended) { all.clear(); }
    return all;
}

/// Compares the object in a record with the record's values. Does nothing if the record has no object.
template <class I> void LXVerifyRecordObject(XVerification& verification, const XReadRecord& record) {
    if (record.object == nullptr) { return; }
    const XLXComPtr<IUnknown> unknown(record.object);
    const XLXComPtr<I> object = unknown.As<I>();
    const std::string call = "the object of " + record.path;
    if (!verification.Findings().Check(static_cast<bool>(object), XRule::AgreeObjects, call,
                                       "it does not have the interface of its kind")) {
        return;
    }
    if (const auto row = verification.AskProperties(*object, record.kind, call)) {
        const std::string difference = LXDifference(LXRowOf(record.values), "the array", *row, "the object");
        verification.Findings().Check(difference.empty(), XRule::AgreeObjects, call, difference);
    }
}

// The families of rules, in test order. The first one reads the data that the others compare with.
void LXVerifyBulkReads(XVerification& verification);
void LXVerifyLookUps(XVerification& verification);
void LXVerifyTypes(XVerification& verification);
void LXVerifyParts(XVerification& verification);
void LXVerifyRelations(XVerification& verification);
void LXVerifySelections(XVerification& verification);
void LXVerifyEnumerations(XVerification& verification);
void LXVerifyThreads(XVerification& verification);
void LXVerifyReferences(XVerification& verification);
void LXVerifyNotifications(XVerification& verification);

/// An element of the server's configuration, and the cached data that a change to it makes stale.
struct XStateEntry {
    XAspect set;    ///< if it is added or removed
    XAspect values; ///< if its values change
    XRow row;

    bool operator==(const XStateEntry&) const = default;
};
/// All elements by path, such as: type "Pump", attribute "Head".
using XState = std::map<std::string, XStateEntry>;
/// Reads the server's state; nullopt if the types cannot be read.
std::optional<XState> LXStateOf(XVerification& verification);
/// The data that the changes between two states make stale.
XAspectSet LXChanged(const XState& before, const XState& after);
/// A difference between two states, for messages.
std::string LXDifference(const XState& before, const XState& after);

#endif
