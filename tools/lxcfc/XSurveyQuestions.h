// SPDX-License-Identifier: MIT
//
// How a survey asks its questions and counts them, for the files that it is spread over.
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
template <class Ask>
auto XSurvey::Count(unsigned long long questions, Ask&& ask) {
    const unsigned long long before = m_calls ? m_calls() : 0;
    auto answer = ask();
    m_questions += questions;
    m_misses += m_calls ? std::min(questions, m_calls() - before) : 0;
    return answer;
}

template <class Element, class Enumerator, class Call>
std::vector<XLXComPtr<Element>> XSurvey::All(const char* what, Call&& call) {
    return Count(1, [&] { return LXList<Element, Enumerator>(what, call); });
}

template <class Element, class Enumerator, class Call>
XAnswer XSurvey::Names(const char* what, int member, Call&& call) {
    const auto elements = All<Element, Enumerator>(what, call);
    return LXNamesAnswer(Count(elements.size(), [&] { return LXTextsOf(elements, member); }));
}

template <class Owner>
void XSurvey::AddFormats(const std::string& path, Owner& owner) {
    for (const auto& [formatType, format] : Count(4, [&] { return LXFormatsOf(owner); })) {
        Add(path + "/format " + std::to_string(formatType), XElementKind::Format, *format);
        ++m_objects["formats"];
    }
}

#endif
