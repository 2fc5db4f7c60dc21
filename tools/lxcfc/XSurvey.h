// SPDX-License-Identifier: MIT
//
// Makes every possible query. A survey uses only the config factory's interface, which cache and server share; it uses
// the cache's own interface only for the bases of types.
#ifndef XSURVEY_H
#define XSURVEY_H

#include "XCfcObjects.h"

#include <functional>
#include <set>

/// The answer to one query: the values of an object, or names.
struct XAnswer {
    std::optional<XElementKind> kind; ///< of the object; empty for names
    std::vector<XJson> values;
};

/// Answers by a path such as "Pump/RatedFlow" or "Pump/pages".
using XAnswers = std::map<std::string, XAnswer>;

class XSurvey {
public:
    /// Queries the server itself.
    explicit XSurvey(ILXConfigFactory& factory);
    /// Queries a cache.
    /// @param factory  the cache's ILXConfigFactory
    /// @param calls    returns the number of calls to the server that this thread has caused so far; may be empty
    XSurvey(ILXConfigFactory& factory, ILXConfigFactoryCache& cache, std::function<unsigned long long()> calls = {});

    /// Sets the server's answers to the next queries. For each object, the survey then reads first the values that the
    /// server has, and then the others until the first empty answer: that one comes from the server and refreshes all
    /// values of the object, so later reads would prove nothing. Without expected answers the survey reads only
    /// properties with names.
    void Expect(const XAnswers& answers) { m_expected = &answers; }

    /// Skips queries that the server itself does not implement (E_NOTIMPL). Without this, a query that returns
    /// E_NOTIMPL is skipped from then on.
    void LeaveOut(const std::set<std::string>& notOffered) { m_leftOut = &notOffered; }
    const std::set<std::string>& NotOffered() const { return m_notOffered; }

    /// Makes every query once.
    void AskEverything(const char* progress);

    /// The names of all types that enumerations, bases, relations and derived types lead to.
    std::set<std::string> TypeNames();
    /// The base of each of these types, without the types that do not exist.
    std::map<std::string, std::string> BasesOf(const std::set<std::string>& names);

    /// Enumerations, relations with their PC infos, browser ids and format specs.
    /// @param browsers  the browsers to query, here and for each type
    XAnswers General(const std::vector<std::string>& browsers);
    std::vector<std::string> Browsers();
    /// Everything about a type.
    /// @param bases  the bases of all known types
    XAnswers OfType(const std::string& name, const std::map<std::string, std::string>& bases);

    /// The number of queries, and of those that caused calls to the server.
    unsigned long long Questions() const { return m_questions; }
    unsigned long long Misses() const { return m_misses; }
    /// The number of objects of each kind that were read.
    const std::map<std::string, std::size_t>& Objects() const { return m_objects; }

private:
    /// An attribute that was read; it is held so that no other object gets its address.
    struct Read {
        XLXComPtr<ILXAttribute> attribute;
        XAnswer answer;
    };

    template <class Ask> auto Count(unsigned long long questions, Ask&& ask);
    template <class Element, class Enumerator, class Call>
    std::vector<XLXComPtr<Element>> All(const char* what, Call&& call);
    template <class Element, class Enumerator, class Call>
    void AddNames(const std::string& path, const char* what, int member, Call&& call);
    template <class Element, class Call>
    void AddOne(const std::string& path, const char* what, int member, Call&& call);
    bool IsOffered(const char* what) const;
    bool IsOffered(const char* what, HRESULT result);
    void Add(const std::string& path, XElementKind kind, ILXConfigObject& object);
    std::vector<XJson> Values(const std::string& path, XElementKind kind, ILXConfigObject& object) const;
    template <class Owner> void AddFormats(const std::string& path, Owner& owner);

    void AddRelations();
    void AddSpecs();
    void AddPages(const std::string& path, ILXType& type);
    void AddGroups(const std::string& path, ILXType& type);
    void AddEditors(const std::string& path, ILXType& type);
    void AddAttributes(const std::string& name, const std::string& base, ILXType& type);
    std::string AddAttribute(const std::string& path, const XLXComPtr<ILXAttribute>& attribute);
    void AddOwnAttribute(const std::string& path, ILXType& owner, const std::string& name, ILXAttribute& attribute);
    void AddRelationsOf(const std::string& path, const std::string& name);
    void AddDerivation(const std::string& path, const std::string& name,
                       const std::map<std::string, std::string>& bases);
    std::set<std::string> DerivesFrom(const std::string& name, const std::map<std::string, std::string>& bases);
    std::vector<XLXComPtr<ILXAttribute>> AttributesOf(ILXType& type);
    const std::set<std::string>& AttributeNames(const std::string& type);

    ILXConfigFactory& m_factory;
    ILXConfigFactoryCache* const m_cache;
    const std::function<unsigned long long()> m_calls;
    const XAnswers* m_expected = nullptr;
    const std::set<std::string>* m_leftOut = nullptr;
    std::set<std::string> m_notOffered;
    std::vector<std::string> m_browsers;
    XAnswers m_answers;
    std::map<std::string, std::set<std::string>> m_attributeNames; ///< by type
    std::map<ILXAttribute*, Read> m_attributes;
    unsigned long long m_questions = 0;
    unsigned long long m_misses = 0;
    std::map<std::string, std::size_t> m_objects;
};

/// A name as a part of a path: "/" and "%" become "%2F" and "%25".
std::string LXPathPart(const std::string& name);

#endif
