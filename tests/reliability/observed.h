// SPDX-License-Identifier: MIT
//
// What a test watches of the cache: things that carry a number which edits raise, and the questions that show the
// number. Whoever asks notes first which number was notified; nothing older may come.
//
// Threading  Everything may be called from any thread. Edits of one thing exclude each other; a second one that comes
//            meanwhile is left out. No lock is held while the cache is asked.
#ifndef OBSERVED_H
#define OBSERVED_H

#include "clientlife.h"

#include <atomic>
#include <mutex>

/// The cache that is asked.
using XCachePtr = XLXComPtr<ILXConfigFactoryCache>;
using XCachedPtr = XLXComPtr<ILXConfigObject>;

/// How the answer to a question shows the number.
enum class XShows {
    Value,    ///< one number: that of the newest edit
    Elements, ///< the numbers of all elements: each edit adds one and then removes the one before
    Lookup,   ///< whether the element with the number that is asked for is there
    Parity    ///< something is there while the number is odd
};

/// What was notified, for the asker to note. Numbers rise from 1.
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
/// The object that a question is put to; null when the cache does not give it.
using XFind = std::function<XCachedPtr(const XCachePtr&)>;
/// Adds the numbers that the answer shows; 1 or 0 for Lookup and Parity. False: there was no answer.
using XRead = std::function<bool(const XCachedPtr&, const XAsked&, XNumbers&)>;

struct XQuestion {
    const char* name;
    XShows shows;
    XFind find; ///< empty for a question to the cache itself
    XRead read;
    bool holds = true;        ///< an object found earlier in the same life must show the newest number too
    bool showsRemoval = true; ///< a removed element is gone when that was notified
};

class XObserved {
public:
    using Edit = std::function<XNotification(XServerEdits, int, XNotify)>;
    /// Who can be notified directly: an object that stays the same for a life of the cache.
    struct Direct {
        XFind receiver;
        const char* dataId;
    };

    /// @param remove  removes the element of a number; empty where an edit leaves nothing behind
    /// @param effort  every edit but each so many-th is left out
    XObserved(const char* name, Edit edit, Edit remove, Direct direct, unsigned effort = 1);

    const std::string& Name() const noexcept { return m_name; }
    XObserved& Add(XQuestion question);
    const std::vector<XQuestion>& Questions() const noexcept { return m_questions; }

    XNoted Note() const noexcept { return {m_added.load(), m_removed.load()}; }
    /// Raises the number. It counts as notified when a client or the direct receiver took the notification.
    void Raise(const XSampleServer& server, bool directly);
    int Notifications() const noexcept { return m_notifications.load(); }

    /// What the server has now, for a life that begins afterwards: Begin makes it the least that is expected.
    XNoted Applied();
    void Begin(const XNoted& applied, const XCachePtr& cache);
    /// The life ends: its objects are notified of nothing any more.
    void End();

    enum class Reading {
        Right,
        Missing,   ///< the thing, or any answer, could not be had
        Stale,     ///< older than what was noted
        Impossible ///< a number that the server never had
    };
    /// Asks, through a held object when there is one; else the slot receives the object that was found.
    /// @param details  receives what was expected and what came
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
    std::mutex m_raising; // held for an edit
    std::atomic<unsigned> m_calls{0};
    std::atomic<int> m_adding{0};   // the highest number that the server may have
    std::atomic<int> m_removing{0}; // the highest number that it may have removed
    std::atomic<int> m_added{0};    // the highest number that was notified
    std::atomic<int> m_removed{0};
    std::atomic<int> m_notifications{0};
    std::mutex m_receiverMutex; // guards the next
    XLXComPtr<ILXCallbackUpdate> m_receiver;
};

using XObservedList = std::vector<std::unique_ptr<XObserved>>;

/// The kinds that are part of types.
void LXAddKindsOfTypes(XObservedList& all);
/// One of each kind, over LXObservedModel.
XObservedList LXEveryKind();

/// LXLifeModel with a base type of many attributes and two more types below Pump: Centrifugal, and Sealed below that.
XServerModel LXObservedModel();

#endif
