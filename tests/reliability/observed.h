// SPDX-License-Identifier: MIT
//
// Observed things: data in the cache that carries a number, which each edit increments, and queries that show the
// number. A thread notes the number notified last and then queries; the answer must not be older.
//
// Threading  Thread-safe. Only one edit of a thing runs at a time; a concurrent second one is skipped. No lock is held
//            during a query.
#ifndef OBSERVED_H
#define OBSERVED_H

#include "clientlife.h"

#include <atomic>
#include <mutex>

/// The cache under test.
using XCachePtr = XLXComPtr<ILXConfigFactoryCache>;
using XCachedPtr = XLXComPtr<ILXConfigObject>;

/// How the answer to a query shows the number.
enum class XShows {
    Value,    ///< one number: that of the newest edit
    Elements, ///< the numbers of all elements: each edit adds one and then removes the one before
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
    bool holds = true;        ///< an object found earlier in the same life must also show the newest number
    bool showsRemoval = true; ///< a removed element must be missing once its removal was notified
};

class XObserved {
public:
    using Edit = std::function<XNotification(XServerEdits, int, XNotify)>;
    /// The object for direct notifications, which stays the same during a life of the cache.
    struct Direct {
        XFind receiver;
        const char* dataId;
    };

    /// @param remove  removes the element with a number; empty if edits leave nothing to remove
    /// @param effort  only every effort-th edit is made
    XObserved(const char* name, Edit edit, Edit remove, Direct direct, unsigned effort = 1);

    const std::string& Name() const noexcept { return m_name; }
    XObserved& Add(XQuestion question);
    const std::vector<XQuestion>& Questions() const noexcept { return m_questions; }

    XNoted Note() const noexcept { return {m_added.load(), m_removed.load()}; }
    /// Makes an edit that increments the number. It counts as notified if a client or the direct receiver accepted the
    /// notification.
    void Raise(const XSampleServer& server, bool directly);
    int Notifications() const noexcept { return m_notifications.load(); }

    /// The number that the server has now. Begin makes it the minimum that a new life must show.
    XNoted Applied();
    void Begin(const XNoted& applied, const XCachePtr& cache);
    /// Ends a life: its objects receive no more notifications.
    void End();

    enum class Reading {
        Right,
        Missing,   ///< the object or the answer is missing
        Stale,     ///< older than the noted number
        Impossible ///< a number that the server never had
    };
    /// Makes a query, through the object held in the slot if there is one; otherwise the slot receives the found
    /// object.
    /// @param details  receives the expected and the actual numbers
    Reading Ask(const XQuestion& question, const XNoted& noted, const XAsked& asked, XCachedPtr* held,
                std::string& details) const;

private:
    bool Send(const XSampleServer& server, const Edit& edit, int number, bool directly);
    Reading Judge(const XQuestion& question, const XNoted& noted, const XAsked& asked, const XNumbers& numbers) const;

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
