// SPDX-License-Identifier: MIT
//
// Makes and counts the queries of a survey; shared by its source files.
#ifndef XSURVEYQUESTIONS_H
#define XSURVEYQUESTIONS_H

#include "XSurvey.h"

#include <algorithm>

inline XAnswer LXNamesAnswer(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    return {std::nullopt, std::vector<XJson>(names.begin(), names.end())};
}

inline XAnswer LXNamesAnswer(const std::set<std::string>& names) {
    return {std::nullopt, std::vector<XJson>(names.begin(), names.end())};
}
template <class Ask> auto XSurvey::Count(unsigned long long questions, Ask&& ask) {
    const unsigned long long before = m_calls ? m_calls() : 0;
    auto answer = ask();
    m_questions += questions;
    m_misses += m_calls ? std::min(questions, m_calls() - before) : 0;
    return answer;
}

template <class Element, class Enumerator, class Call>
std::vector<XLXComPtr<Element>> XSurvey::All(const char* what, Call&& call) {
    if (!IsOffered(what)) { return {}; }
    return Count(1, [&] {
        XLXComPtr<Enumerator> elements;
        const HRESULT result = call(elements.Put());
        if (IsOffered(what, result) && result != S_FALSE) { LXExpect(result, what); }
        return LXAllOf<Element>(elements);
    });
}

template <class Element, class Enumerator, class Call>
void XSurvey::AddNames(const std::string& path, const char* what, int member, Call&& call) {
    const auto elements = All<Element, Enumerator>(what, call);
    if (IsOffered(what)) {
        m_answers[path] = LXNamesAnswer(Count(elements.size(), [&] { return LXTextsOf(elements, member); }));
    }
}

/// Records the name of the object that a query returns, or the result if it returns none.
template <class Element, class Call>
void XSurvey::AddOne(const std::string& path, const char* what, int member, Call&& call) {
    if (!IsOffered(what)) { return; }
    XLXComPtr<Element> element;
    const HRESULT result = Count(1, [&] { return call(element.Put()); });
    if (IsOffered(what, result)) {
        m_answers[path] = LXNamesAnswer(std::vector{element ? LXTextOf(*element, member) : LXResultName(result)});
    }
}

template <class Owner> void XSurvey::AddFormats(const std::string& path, Owner& owner) {
    for (const auto& [formatType, format] : Count(4, [&] { return LXFormatsOf(owner); })) {
        Add(path + "/format " + std::to_string(formatType), XElementKind::Format, *format);
        ++m_objects["formats"];
    }
}

#endif
