// SPDX-License-Identifier: MIT
//
// Look-ups of elements that do not exist.
#include "XVerification.h"

namespace {
constexpr const char* NoSuchName = "No such name, the verification asks";
constexpr int NoSuchNumber = -77777;

void VerifyRange(XVerification& verification, ILXConfigObject& object, const std::string& who) {
    for (const int index : {-1, 100000}) {
        XLXComVariant value;
        const std::string call = who + ": GetProperty(" + std::to_string(index) + ")";
        const HRESULT result = verification.Calls().Make("GetProperty out of range", call,
                                                         [&] { return object.GetProperty(index, value.Put()); });
        verification.Findings().Check(result == E_INVALIDARG, XRule::PropertyRange, call, LXResultName(result));
    }
}

void VerifyType(XVerification& verification, ILXType& type, const std::string& name) {
    const std::string who = "type " + LXQuoted(name) + ", ";
    const XLXComBSTR none = LXBstr(NoSuchName);
    const std::string quoted = LXQuoted(NoSuchName);
    const std::string number = std::to_string(NoSuchNumber);
    constexpr XWanted Wanted = XWanted::NothingIfOffered;
    verification.Ask<ILXAttribute>(Wanted, "GetAttribute", who + quoted,
                                   [&](ILXAttribute** out) { return type.GetAttribute(none.Get(), out); });
    verification.Ask<ILXPage>(Wanted, "GetPage", who + number,
                              [&](ILXPage** out) { return type.GetPage(NoSuchNumber, out); });
    verification.Ask<ILXGroup>(Wanted, "GetGroup", who + number,
                               [&](ILXGroup** out) { return type.GetGroup(NoSuchNumber, out); });
    verification.Ask<ILXConfObjEditor>(Wanted, "GetConfObjEditor", who + quoted, [&](ILXConfObjEditor** out) {
        return type.GetConfObjEditor(none.Get(), nullptr, nullptr, out);
    });
    VerifyRange(verification, type, "type " + LXQuoted(name));
}
} // namespace

void LXVerifyLookUps(XVerification& verification) {
    const XLXComBSTR none = LXBstr(NoSuchName);
    const auto answer =
        verification.Ask<ILXType>(XWanted::Nothing, "GetType", LXQuoted(NoSuchName), [&](ILXType** out) {
            return verification.Factory().GetType(none.Get(), nullptr, out);
        });
    if (verification.Bulk() != nullptr) {
        verification.AskNamedType(NoSuchName, false, XVerification::AllInBulk, XWanted::Nothing);
    }
    if (verification.sample.empty()) { return; }
    const std::string name = verification.sample.front()->head.Key();
    if (const auto type = verification.AskType(name)) { VerifyType(verification, *type, name); }
}
