// SPDX-License-Identifier: MIT
//
// A verification under way: how the families of rules ask the server, and what they have read. What holds for every
// answer is judged here, whatever was asked.
#ifndef XVERIFICATION_H
#define XVERIFICATION_H

#include "XAspect.h"
#include "XBulkArrays.h"
#include "XServerCalls.h"
#include "XServerVerifier.h"
#include "XToolCom.h"

#include <atomic>
#include <set>

/// What is known beforehand of an answer.
enum class XWanted {
    Answer,          ///< not a failure
    AnswerIfOffered, ///< or E_NOTIMPL
    Nothing,         ///< there is no such thing
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
    /// Null when the server has none.
    ILXConfigFactoryEx* Bulk() const { return m_bulk.Get(); }

    /// Asks for an object.
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
    /// Asks for an array; null unless it is there.
    template <class F>
    SAFEARRAY* AskArray(XWanted wanted, const std::string& method, const std::string& call, F&& ask) {
        SAFEARRAY* const untouched = m_server.inProcess ? static_cast<SAFEARRAY*>(Untouched()) : nullptr;
        SAFEARRAY* out = untouched;
        const HRESULT result = m_calls.Make(method, call, [&] { return ask(&out); });
        Judge(wanted, call, result, LeftIn(out, untouched));
        return result == S_OK && out != untouched ? out : nullptr;
    }
    /// Judges whether the object that a record came without is found by other means.
    void JudgeMissing(const XReadRecord& record, bool isFound, const std::string& call) {
        if (record.object != nullptr) { return; }
        m_findings.Check(isFound, XRule::NullObjects, call, record.path + " came without an object, and none is found");
    }
    /// A property of an object; nothing when the call fails.
    std::optional<XLXComVariant> AskValue(ILXConfigObject& object, XElementKind kind, const std::string& who,
                                          int index);
    /// What an object is found by: its name, or its number as a text.
    std::string AskKey(ILXConfigObject& object, XElementKind kind, const std::string& who);
    /// A property as a text, with its type.
    std::optional<std::string> AskProperty(ILXConfigObject& object, XElementKind kind, const std::string& who,
                                           int index);
    /// Compares the values of GetProperties with GetProperty, one by one.
    void CompareProperties(ILXConfigObject& object, XElementKind kind, const std::string& who, const XRow& row);
    /// All values of an object as texts; nothing when they cannot be had.
    std::optional<XRow> AskProperties(ILXConfigObject& object, XElementKind kind, const std::string& who);

    // The bulk reads, each with its findings. Nothing when there is nothing, or when it does not fit the format.
    std::optional<XReadTypes> AskTypes(LONG mode);
    std::optional<XReadTypes> AskNamedType(const std::string& name, bool withBases, LONG mode, XWanted wanted);
    std::optional<XReadTypes> AskTypeList(const std::vector<std::string>& names, bool withBases, LONG mode);
    std::optional<XReadArray<XReadComponents>> AskComponents(ILXType& type, const std::string& name, LONG mode);
    std::optional<XReadArray<std::vector<XReadRecord>>> AskRelations();
    XLXComPtr<ILXType> AskType(const std::string& name);

    /// All elements of an enumeration, as far as it is one.
    template <class Element, class Enumerator>
    std::vector<XLXComPtr<Element>> AskAll(const XAnswered<Enumerator>& enumeration, ULONG batch = 50);
    /// Calls RemNext once.
    template <class Element, class Enumerator>
    HRESULT AskNext(const XAnswered<Enumerator>& enumeration, ULONG count, std::vector<XLXComPtr<Element>>& into);

    // What was read at first, for all families.
    std::optional<XReadTypes> types;
    std::optional<XReadArray<std::vector<XReadRecord>>> relations;
    std::vector<const XReadType*> sample;    ///< types of which everything is asked one by one
    std::atomic<int> insideNotifications{0}; ///< of calls of the verification's callbacks

    static constexpr LONG AllInBulk = 15;
    /// Why references cannot be counted.
    static constexpr const char* BehindProxies =
        "the server is called through proxies: it runs in another process or apartment";

private:
    enum class Left { Null, Untouched, Something };

    /// What stands in an out parameter before the call: no answer, whatever the server does with it.
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
    constexpr ULONG Margin = 16; // for a server that writes too many
    std::vector<Element*> elements(count + Margin);
    ULONG fetched = 0;
    const std::string call = enumeration.call + "->RemNext(" + std::to_string(count) + ")";
    const HRESULT result =
        m_calls.Make("RemNext", call, [&] { return enumeration.object->RemNext(count, elements.data(), &fetched); });
    const ULONG given = static_cast<ULONG>(
        std::distance(elements.begin(), std::find(elements.begin(), elements.end(), static_cast<Element*>(nullptr))));
    const bool right = fetched <= count && given == fetched && result == (fetched == count ? S_OK : S_FALSE);
    m_findings.Check(right, XRule::EnumCounts, call,
                     LXResultName(result) + ", said to give " + std::to_string(fetched) + ", gave " +
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
                     "after " + std::to_string(all.size()) + " elements there are still more");
    if (!ended) { all.clear(); }
    return all;
}

/// Compares the object in a record with the record's values. A record may come without one.
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

// The families of rules, in the order in which they are tested. The first reads what the others compare with.
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

/// A thing that the server has, and what a change of it makes stale.
struct XStateEntry {
    XAspect set;    ///< when it comes or goes
    XAspect values; ///< when its values change
    XRow row;

    bool operator==(const XStateEntry&) const = default;
};
/// All that can be read in bulk, by a path such as: type "Pump", attribute "Head".
using XState = std::map<std::string, XStateEntry>;
/// Nothing when the types cannot be read.
std::optional<XState> LXStateOf(XVerification& verification);
/// What has become stale from one state to another.
XAspectSet LXChanged(const XState& before, const XState& after);
/// One path whose entry differs; for messages.
std::string LXDifference(const XState& before, const XState& after);

#endif
