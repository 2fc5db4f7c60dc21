// SPDX-License-Identifier: MIT
//
// Rules for all enumerations: counts, GetSingleNext, Reset, Skip and Clone.
#include "XVerification.h"

namespace {
constexpr std::size_t MostTypes = 5; // number of types whose enumerations are tested

/// Verifies the enumeration of one kind of object. Each check gets a new enumerator.
template <class I, class E> class EnumerationVerifier {
public:
    using Make = std::function<HRESULT(E**)>;

    EnumerationVerifier(XVerification& verification, XElementKind kind, std::string method, std::string arguments,
                        Make make)
        : m_verification(verification),
          m_kind(kind),
          m_method(std::move(method)),
          m_arguments(std::move(arguments)),
          m_make(std::move(make)) {}

    void Verify() {
        const auto first = New();
        if (!first.Has()) { return; }
        const Names all = NamesOf(m_verification.AskAll<I>(first));
        const bool agrees = NamesOf(m_verification.AskAll<I>(New(), 3)) == all;
        m_verification.Findings().Check(agrees, XRule::EnumCounts, first.call,
                                        "in threes it returns other elements than in fifties");
        VerifyReset(first, all);
        VerifySingle(all);
        VerifySkip(all);
        VerifyClone(all);
    }

private:
    using Names = std::vector<std::string>;

    XAnswered<E> New() { return m_verification.Ask<E>(XWanted::AnswerIfOffered, m_method, m_arguments, m_make); }

    Names NamesOf(const std::vector<XLXComPtr<I>>& elements) {
        Names names;
        for (const auto& element : elements) {
            names.push_back(m_verification.AskKey(*element, m_kind, m_method));
        }
        return names;
    }

    template <class F> HRESULT Call(const XAnswered<E>& on, const std::string& method, F&& call) {
        return m_verification.Calls().Make(method, on.call + "->" + method, call);
    }

    void VerifySingle(const Names& all) {
        const auto enumeration = New();
        if (!enumeration.Has()) { return; }
        std::vector<XLXComPtr<I>> elements;
        for (std::size_t i = 0; i <= all.size(); ++i) {
            XLXComPtr<I> element;
            const HRESULT result =
                Call(enumeration, "GetSingleNext", [&] { return enumeration.object->GetSingleNext(element.Put()); });
            const bool right =
                result == (i < all.size() ? S_OK : S_FALSE) && static_cast<bool>(element) == (i < all.size());
            if (!m_verification.Findings().Check(right, XRule::EnumSingle, enumeration.call + "->GetSingleNext()",
                                                 LXResultName(result) + (element ? " with an" : " without an") +
                                                     " element, at " + std::to_string(i) + " of " +
                                                     std::to_string(all.size()))) {
                return;
            }
            if (element) { elements.push_back(std::move(element)); }
        }
        m_verification.Findings().Check(NamesOf(elements) == all, XRule::EnumSingle, enumeration.call,
                                        "GetSingleNext returns other elements than RemNext");
    }

    /// @param enumeration  an enumerator at its end
    void VerifyReset(const XAnswered<E>& enumeration, const Names& all) {
        const HRESULT result = Call(enumeration, "Reset", [&] { return enumeration.object->Reset(); });
        if (result == E_NOTIMPL) { return NotOffered(XRule::EnumReset, "Reset"); }
        const bool right = result == S_OK && NamesOf(m_verification.AskAll<I>(enumeration)) == all;
        m_verification.Findings().Check(right, XRule::EnumReset, enumeration.call + "->Reset()",
                                        LXResultName(result) + "; then it does not return all elements again");
    }

    void VerifySkip(const Names& all) {
        const auto enumeration = New();
        if (!enumeration.Has() || all.empty()) { return; }
        const HRESULT result = Call(enumeration, "Skip", [&] { return enumeration.object->Skip(1); });
        if (result == E_NOTIMPL) { return NotOffered(XRule::EnumSkip, "Skip"); }
        const bool right =
            result == S_OK && NamesOf(m_verification.AskAll<I>(enumeration)) == Names(all.begin() + 1, all.end());
        m_verification.Findings().Check(right, XRule::EnumSkip, enumeration.call + "->Skip(1)",
                                        LXResultName(result) + "; then it does not return the other elements");
    }

    void VerifyClone(const Names& all) {
        const auto enumeration = New();
        std::vector<XLXComPtr<I>> first;
        if (!enumeration.Has() || FAILED(m_verification.AskNext(enumeration, 1, first))) { return; }
        const auto clone = m_verification.Ask<E>(XWanted::AnswerIfOffered, "Clone", enumeration.call,
                                                 [&](E** out) { return enumeration.object->Clone(out); });
        if (!clone.IsOffered()) { return NotOffered(XRule::EnumClone, "Clone"); }
        const Names rest(all.begin() + std::min<std::ptrdiff_t>(1, static_cast<std::ptrdiff_t>(all.size())), all.end());
        const bool right = clone.Has() && NamesOf(m_verification.AskAll<I>(clone)) == rest;
        m_verification.Findings().Check(right, XRule::EnumClone, clone.call,
                                        "it does not return the remaining elements of the original");
    }

    void NotOffered(XRule rule, const char* method) {
        m_verification.Findings().NotTested(rule, std::string("no enumeration offers ") + method);
    }

    XVerification& m_verification;
    const XElementKind m_kind;
    const std::string m_method;
    const std::string m_arguments;
    const Make m_make;
};

template <class I, class E>
void Verify(XVerification& verification, XElementKind kind, const std::string& method, const std::string& arguments,
            std::function<HRESULT(E**)> make) {
    EnumerationVerifier<I, E>(verification, kind, method, arguments, std::move(make)).Verify();
}

void VerifyOfType(XVerification& verification, ILXType& type, const std::string& name) {
    const std::string who = "type " + LXQuoted(name);
    Verify<ILXPage, ILXPageEnum>(verification, XElementKind::Page, "GetPageEnum", who,
                                 [&](auto** out) { return type.GetPageEnum(out); });
    Verify<ILXGroup, ILXGroupEnum>(verification, XElementKind::Group, "GetGroupEnum", who,
                                   [&](auto** out) { return type.GetGroupEnum(out); });
    Verify<ILXAttribute, ILXAttributeEnum>(verification, XElementKind::Attribute, "GetAttributeEnum", who,
                                           [&](auto** out) { return type.GetAttributeEnum(out); });
    Verify<ILXConfObjEditor, ILXConfObjEditorEnum>(verification, XElementKind::Editor, "GetConfObjEditorEnum", who,
                                                   [&](auto** out) { return type.GetConfObjEditorEnum(out); });
}
} // namespace

void LXVerifyEnumerations(XVerification& verification) {
    ILXConfigFactory& factory = verification.Factory();
    Verify<ILXType, ILXTypeEnum>(verification, XElementKind::Type, "GetTypeEnum", "",
                                 [&](auto** out) { return factory.GetTypeEnum(nullptr, out); });
    Verify<ILXParentChild, ILXParentChildEnum>(
        verification, XElementKind::Relation, "GetParentChildEnum", "",
        [&](auto** out) { return factory.GetParentChildEnum(nullptr, nullptr, out); });
    Verify<ILXBrowserId, ILXBrowserIdEnum>(verification, XElementKind::BrowserId, "GetBrowserIdEnum", "",
                                           [&](auto** out) { return factory.GetBrowserIdEnum(out); });
    Verify<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
        verification, XElementKind::GlobalSpec, "GetAllGlobalAttributeFormatSpecs", "",
        [&](auto** out) { return factory.GetAllGlobalAttributeFormatSpecs(out); });
    for (std::size_t i = 0; i < std::min(MostTypes, verification.sample.size()); ++i) {
        const std::string name = verification.sample[i]->head.Key();
        if (const auto type = verification.AskType(name)) { VerifyOfType(verification, *type, name); }
    }
}
