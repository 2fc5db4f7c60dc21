// SPDX-License-Identifier: MIT
//
// Observed kinds: data in the cache that carries a number, which each edit increments, and queries that show the
// number. A thread notes the number notified last and then queries; the answer must not be older.
//
// Threading  Thread-safe. Only one edit of a kind runs at a time; a concurrent second one is skipped. No lock is held
//            during a query.
#ifndef OBSERVED_H
#define OBSERVED_H

#include "clientlife.h"

#include <algorithm>
#include <atomic>
#include <mutex>

/// The cache under test.
using XCachePtr = XLXComPtr<ILXConfigFactoryCache>;
using XCachedPtr = XLXComPtr<ILXConfigObject>;

/// How the answer to a query shows the number.
enum class XShows {
    Value,    ///< one number: that of the newest edit
    Elements, ///< the numbers of all elements: each edit adds an element and then removes the previous one
    Lookup,   ///< whether the element with the requested number exists
    Parity    ///< something exists while the number is odd
};

/// The notified numbers, noted before a query. Numbers are consecutive from 1.
struct XNoted {
    int added = 0;
    int removed = 0;
};

struct XAsked {
    const XCachePtr& cache;
    const XSampleServer& server;
    int number; ///< the element to look up
};

using XNumbers = std::vector<int>;
/// Finds the object of a query; null if the cache does not return it.
using XFind = std::function<XCachedPtr(const XCachePtr&)>;
/// Adds the numbers in the answer; 1 or 0 for Lookup and Parity. False: no answer.
using XRead = std::function<bool(const XCachedPtr&, const XAsked&, XNumbers&)>;

struct XQuestion {
    const char* name;
    XShows shows;
    XFind find; ///< empty: the query is for the cache itself
    XRead read;
    bool holds = true;        ///< an object found earlier in the same connection must also show the newest number
    bool showsRemoval = true; ///< a removed element must be missing once its removal was notified
};

class XObserved {
public:
    using Edit = std::function<XNotification(XServerEdits, int, XNotify)>;
    /// The object for direct notifications, which stays the same during a connection.
    struct Direct {
        XFind receiver;
        const char* dataId;
    };

    /// @param remove  removes the element with a number; empty if edits leave nothing to remove
    /// @param effort  only every effort-th edit is made
    XObserved(const char* name, Edit edit, Edit remove, Direct direct, unsigned effort = 1)
        : m_name(name),
          m_edit(std::move(edit)),
          m_remove(std::move(remove)),
          m_direct(std::move(direct)),
          m_effort(effort) {}

    const std::string& Name() const noexcept { return m_name; }
    XObserved& Add(XQuestion question) {
        m_questions.push_back(std::move(question));
        return *this;
    }
    const std::vector<XQuestion>& Questions() const noexcept { return m_questions; }

    XNoted Note() const noexcept { return {m_added.load(), m_removed.load()}; }
    /// Makes an edit that increments the number. It counts as notified if a client or the direct receiver accepted the
    /// notification.
    void Raise(const XSampleServer& server, bool directly) {
        const std::unique_lock lock(m_raising, std::try_to_lock);
        if (!lock || m_calls.fetch_add(1) % m_effort != 0) { return; }
        const int number = m_adding.fetch_add(1) + 1;
        if (Send(server, m_edit, number, directly)) { m_added.store(number); }
        if (m_remove && number > 1) {
            m_removing.store(number - 1);
            if (Send(server, m_remove, number - 1, directly)) { m_removed.store(number - 1); }
        }
    }

    int Notifications() const noexcept { return m_notifications.load(); }

    /// The number that the server has now. Begin makes it the minimum that a new connection must show.
    XNoted Applied() {
        const std::lock_guard lock(m_raising);
        return {m_adding.load(), m_removing.load()};
    }

    void Begin(const XNoted& applied, const XCachePtr& cache) {
        {
            const std::lock_guard lock(m_raising);
            m_added.store(std::max(m_added.load(), applied.added));
            m_removed.store(std::max(m_removed.load(), applied.removed));
        }
        const XCachedPtr object = m_direct.receiver ? m_direct.receiver(cache) : nullptr;
        const std::lock_guard lock(m_receiverMutex);
        m_receiver = object ? object.As<ILXCallbackUpdate>() : nullptr;
    }

    /// Ends a connection: its objects receive no more notifications.
    void End() {
        XLXComPtr<ILXCallbackUpdate> former;
        const std::lock_guard lock(m_receiverMutex);
        m_receiver.Swap(former);
    }

    enum class Reading {
        Right,
        Missing,   ///< the object or the answer is missing
        Stale,     ///< older than the noted number
        Impossible ///< a number that the server never had
    };
    /// Makes a query, through the object held in the slot if there is one; otherwise the slot receives the found
    /// object.
    /// @param details  receives the expected and the actual numbers
    XObserved::Reading Ask(const XQuestion& question, const XNoted& noted, const XAsked& asked, XCachedPtr* held,
                           std::string& details) const {
        XCachedPtr object = held != nullptr ? *held : nullptr;
        if (!object && question.find) {
            object = question.find(asked.cache);
            if (!object) {
                details = "the object was not found";
                return Reading::Missing;
            }
        }
        XNumbers numbers;
        if (!question.read(object, asked, numbers)) {
            details = "no answer";
            return Reading::Missing;
        }
        const Reading reading = Judge(question, noted, asked, numbers);
        if (reading != Reading::Right) {
            details = "noted " + std::to_string(noted.added) + ", removed " + std::to_string(noted.removed) +
                      ", looked up " + std::to_string(asked.number) + ", got";
            for (const int number : numbers) {
                details += " " + std::to_string(number);
            }
            details += ", now " + std::to_string(m_adding.load());
        } else if (held != nullptr) {
            *held = std::move(object);
        }
        return reading;
    }

private:
    bool Send(const XSampleServer& server, const Edit& edit, int number, bool directly) {
        XLXComPtr<ILXCallbackUpdate> receiver;
        if (directly) {
            const std::lock_guard lock(m_receiverMutex);
            receiver = m_receiver;
        }
        bool notified = false;
        if (receiver) {
            edit(server.Edit(), number, XNotify::No);
            notified = LXCall(*receiver, &ILXCallbackUpdate::DataObjectChanged, m_direct.dataId, "cfc_specific", 0u, 0u,
                              0u, nullptr) == S_OK;
        } else {
            const XNotification sent = edit(server.Edit(), number, XNotify::Here);
            notified = sent.clients > 0 && sent.result == S_OK;
        }
        m_notifications.fetch_add(notified ? 1 : 0);
        return notified;
    }

    // Read after the answer arrived, the numbers that the server may have reached bound the answer from above.
    XObserved::Reading Judge(const XQuestion& question, const XNoted& noted, const XAsked& asked,
                             const XNumbers& numbers) const {
        const int newest = numbers.empty() ? 0 : *std::max_element(numbers.begin(), numbers.end());
        const int oldest = numbers.empty() ? 0 : *std::min_element(numbers.begin(), numbers.end());
        const int adding = m_adding.load();
        if (question.shows == XShows::Lookup) {
            const bool there = newest != 0;
            const bool mustBe = asked.number <= noted.added && asked.number > m_removing.load();
            const bool mustNotBe = question.showsRemoval && asked.number <= noted.removed;
            return there && mustNotBe ? Reading::Stale : !there && mustBe ? Reading::Missing : Reading::Right;
        }
        if (question.shows == XShows::Parity) // an answer overtaken by an edit may have either value
        {
            const bool right = adding != noted.added || newest == noted.added % 2;
            return right ? Reading::Right : newest != 0 ? Reading::Stale : Reading::Missing;
        }
        const bool keepsRemoved =
            question.shows == XShows::Elements && question.showsRemoval && oldest != 0 && oldest <= noted.removed;
        return newest > adding                        ? Reading::Impossible
               : newest == 0 && noted.added > 0       ? Reading::Missing
               : newest < noted.added || keepsRemoved ? Reading::Stale
                                                      : Reading::Right;
    }

    const std::string m_name;
    const Edit m_edit;
    const Edit m_remove;
    const Direct m_direct;
    const unsigned m_effort;
    std::vector<XQuestion> m_questions;
    std::mutex m_raising; // held during an edit
    std::atomic<unsigned> m_calls{0};
    std::atomic<int> m_adding{0};   // the highest number that the server may have
    std::atomic<int> m_removing{0}; // the highest number that it may have removed
    std::atomic<int> m_added{0};    // the highest number that was notified
    std::atomic<int> m_removed{0};
    std::atomic<int> m_notifications{0};
    std::mutex m_receiverMutex; // guards the next member
    XLXComPtr<ILXCallbackUpdate> m_receiver;
};

using XObservedList = std::vector<std::unique_ptr<XObserved>>;

/// The kinds that are part of types.
void LXAddKindsOfTypes(XObservedList& all);
/// One of each kind, over LXObservedModel.
XObservedList LXEveryKind();

/// LXLifeModel with a base type that has many attributes, and two more types: Centrifugal, derived from Pump, and
/// Sealed, derived from Centrifugal.
XServerModel LXObservedModel();

#endif
