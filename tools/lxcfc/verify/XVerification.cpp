// SPDX-License-Identifier: MIT
#include "XVerification.h"

#include <objbase.h>

namespace {
/// Makes an array of strings, as an argument of a call.
XLXSafeArray NamesArray(const std::vector<std::string>& names) {
    XLXSafeArray array(SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(names.size())));
    LXExpectThat(static_cast<bool>(array), "there is not enough memory for an array of names");
    LONG at = 0;
    for (const std::string& name : names) {
        LXExpect(SafeArrayPutElement(array.Get(), &at, LXBstr(name).Get()), "SafeArrayPutElement");
        ++at;
    }
    return array;
}

std::string ModeText(LONG mode) { return " mode " + std::to_string(mode); }
} // namespace

XVerification::XVerification(XServerToVerify server, const XVerifierOptions& options)
    : m_server(std::move(server)), m_options(options), m_bulk(m_server.factory.As<ILXConfigFactoryEx>()) {}

void* XVerification::Untouched() {
    alignas(std::max_align_t) static unsigned char nowhere[256];
    return nowhere;
}

void XVerification::Judge(XWanted wanted, const std::string& call, HRESULT result, Left left) {
    const std::string came = LXResultName(result) + (left == Left::Null        ? " with null"
                                                     : left == Left::Untouched ? " with an untouched out parameter"
                                                                               : " with a result");
    const bool expectsNothing = wanted == XWanted::Nothing || wanted == XWanted::NothingIfOffered;
    const bool mayBeRefused = wanted == XWanted::AnswerIfOffered || wanted == XWanted::NothingIfOffered;
    if (FAILED(result)) {
        m_findings.Check(left == Left::Null, XRule::FailureLeavesNull, call, came);
        if (!mayBeRefused || result != E_NOTIMPL) {
            m_findings.Broken(expectsNothing ? XRule::UnknownName : XRule::Offered, call, came);
        }
        return;
    }
    const bool isRight = result == S_OK ? left == Left::Something : result == S_FALSE && left == Left::Null;
    m_findings.Check(isRight, XRule::Nothing, call, came);
    expectsNothing ? (void)m_findings.Check(left != Left::Something, XRule::UnknownName, call, came)
                   : m_findings.Kept(XRule::Offered);
}

std::optional<XLXComVariant> XVerification::AskValue(ILXConfigObject& object, XElementKind kind, const std::string& who,
                                                     int index) {
    const std::string call = who + ": GetProperty(" + std::to_string(index) + ")";
    XLXComVariant value;
    if (m_server.inProcess) { value = XLXComVariant::FromI4(0x5EAF00D); }
    const HRESULT result = m_calls.Make(std::string("GetProperty, ") + LXKindName(kind), call,
                                        [&] { return object.GetProperty(index, &value.Get()); });
    if (result != S_OK) {
        m_findings.Check(value.Empty(), FAILED(result) ? XRule::FailureLeavesNull : XRule::Nothing, call,
                         LXResultName(result) + " with " + LXValueText(value.Get()));
    }
    if (FAILED(result)) { m_findings.Broken(XRule::Offered, call, LXResultName(result)); }
    if (FAILED(result)) { return {}; }
    return result == S_OK ? std::optional(std::move(value)) : std::optional(XLXComVariant());
}

std::optional<std::string> XVerification::AskProperty(ILXConfigObject& object, XElementKind kind,
                                                      const std::string& who, int index) {
    const auto value = AskValue(object, kind, who, index);
    return value ? std::optional(LXValueText(value->Get())) : std::nullopt;
}

std::string XVerification::AskKey(ILXConfigObject& object, XElementKind kind, const std::string& who) {
    const auto value = AskValue(object, kind, who, LXKeyOf(kind));
    return value ? LXKeyText(value->Get()) : "";
}

void XVerification::CompareProperties(ILXConfigObject& object, XElementKind kind, const std::string& who,
                                      const XRow& row) {
    for (std::size_t i = 0; i < row.size(); ++i) {
        const auto value = AskProperty(object, kind, who, static_cast<int>(i));
        if (!value) { continue; }
        m_findings.Check(*value == row[i], XRule::AgreeProperty, who + ": GetProperty(" + std::to_string(i) + ")",
                         "GetProperties has " + row[i] + ", GetProperty " + *value);
    }
}

std::optional<XRow> XVerification::AskProperties(ILXConfigObject& object, XElementKind kind, const std::string& who) {
    const std::string call = who + ": GetProperties()";
    SAFEARRAY* const array = AskArray(XWanted::Answer, std::string("GetProperties, ") + LXKindName(kind), call,
                                      [&](SAFEARRAY** out) { return object.GetProperties(out); });
    if (array == nullptr) { return {}; }
    const auto values = LXReadValues(array, m_findings, call);
    if (!values) { return {}; }
    LXJudgeValues(kind, values->content, m_findings, call);
    return LXRowOf(values->content);
}

std::optional<XReadTypes> XVerification::AskTypes(LONG mode) {
    const std::string call = "GetTypeArrayEx(" + std::to_string(mode) + ")";
    SAFEARRAY* const array = AskArray(XWanted::Answer, "GetTypeArrayEx" + ModeText(mode), call,
                                      [&](SAFEARRAY** out) { return m_bulk->GetTypeArrayEx(mode, out); });
    return array != nullptr ? LXReadTypes(array, m_findings, call) : std::nullopt;
}

std::optional<XReadTypes> XVerification::AskNamedType(const std::string& name, bool withBases, LONG mode,
                                                      XWanted wanted) {
    const std::string call = "GetTypeArrayByTypeNameEx(" + LXQuoted(name) + ", " + (withBases ? "1" : "0") + ", " +
                             std::to_string(mode) + ")";
    SAFEARRAY* const array = AskArray(wanted, "GetTypeArrayByTypeNameEx" + ModeText(mode), call, [&](SAFEARRAY** out) {
        return m_bulk->GetTypeArrayByTypeNameEx(LXBstr(name).Get(), withBases ? 1 : 0, mode, out);
    });
    return array != nullptr ? LXReadTypes(array, m_findings, call) : std::nullopt;
}

std::optional<XReadTypes> XVerification::AskTypeList(const std::vector<std::string>& names, bool withBases, LONG mode) {
    std::string call = "GetTypeArrayByTypeNameArrayEx({";
    for (const std::string& name : names) {
        call += (&name == &names.front() ? "" : ", ") + LXQuoted(name);
    }
    call += std::string("}, ") + (withBases ? "1" : "0") + ", " + std::to_string(mode) + ")";
    const XLXSafeArray wanted = NamesArray(names);
    SAFEARRAY* const array =
        AskArray(XWanted::Answer, "GetTypeArrayByTypeNameArrayEx" + ModeText(mode), call, [&](SAFEARRAY** out) {
            return m_bulk->GetTypeArrayByTypeNameArrayEx(wanted.Get(), withBases ? 1 : 0, mode, out);
        });
    return array != nullptr ? LXReadTypes(array, m_findings, call) : std::nullopt;
}

std::optional<XReadArray<XReadComponents>> XVerification::AskComponents(ILXType& type, const std::string& name,
                                                                        LONG mode) {
    const std::string call = "type " + LXQuoted(name) + ": GetTypeComponentData(" + std::to_string(mode) + ")";
    SAFEARRAY* const array = AskArray(XWanted::Answer, "GetTypeComponentData" + ModeText(mode), call,
                                      [&](SAFEARRAY** out) { return type.GetTypeComponentData(mode, out); });
    return array != nullptr ? LXReadComponents(array, name, m_findings, call) : std::nullopt;
}

std::optional<XReadArray<std::vector<XReadRecord>>> XVerification::AskRelations() {
    SAFEARRAY* const array = AskArray(XWanted::Answer, "GetPCArray", "GetPCArray()",
                                      [&](SAFEARRAY** out) { return Factory().GetPCArray(out); });
    return array != nullptr ? LXReadRelations(array, m_findings, "GetPCArray()") : std::nullopt;
}

XLXComPtr<ILXType> XVerification::AskType(const std::string& name) {
    const auto answer = Ask<ILXType>(XWanted::Answer, "GetType", LXQuoted(name), [&](ILXType** out) {
        return Factory().GetType(LXBstr(name).Get(), nullptr, out);
    });
    return answer.Has() ? answer.object : nullptr;
}
