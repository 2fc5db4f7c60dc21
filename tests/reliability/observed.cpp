// SPDX-License-Identifier: MIT
#include "observed.h"

#include <algorithm>

XObserved::XObserved(const char* name, Edit edit, Edit remove, Direct direct, unsigned effort)
    : m_name(name),
      m_edit(std::move(edit)),
      m_remove(std::move(remove)),
      m_direct(std::move(direct)),
      m_effort(effort) {}

XObserved& XObserved::Add(XQuestion question) {
    m_questions.push_back(std::move(question));
    return *this;
}

bool XObserved::Send(const XSampleServer& server, const Edit& edit, int number, bool directly) {
    XLXComPtr<ILXCallbackUpdate> receiver;
    if (directly) {
        const std::lock_guard lock(m_receiverMutex);
        receiver = m_receiver;
    }
    bool notified = false;
    if (receiver) {
        edit(server.Edit(), number, XNotify::No);
        const XLXComBSTR id(LXFromUtf8(m_direct.dataId));
        const XLXComBSTR type(OLESTR("cfc_specific"));
        notified = receiver->DataObjectChanged(id.Get(), type.Get(), 0, 0, 0, nullptr) == S_OK;
    } else {
        const XNotification sent = edit(server.Edit(), number, XNotify::Here);
        notified = sent.clients > 0 && sent.result == S_OK;
    }
    m_notifications.fetch_add(notified ? 1 : 0);
    return notified;
}

void XObserved::Raise(const XSampleServer& server, bool directly) {
    const std::unique_lock lock(m_raising, std::try_to_lock);
    if (!lock || m_calls.fetch_add(1) % m_effort != 0) { return; }
    const int number = m_adding.fetch_add(1) + 1;
    if (Send(server, m_edit, number, directly)) { m_added.store(number); }
    if (m_remove && number > 1) {
        m_removing.store(number - 1);
        if (Send(server, m_remove, number - 1, directly)) { m_removed.store(number - 1); }
    }
}

XNoted XObserved::Applied() {
    const std::lock_guard lock(m_raising);
    return {m_adding.load(), m_removing.load()};
}

void XObserved::Begin(const XNoted& applied, const XCachePtr& cache) {
    {
        const std::lock_guard lock(m_raising);
        m_added.store(std::max(m_added.load(), applied.added));
        m_removed.store(std::max(m_removed.load(), applied.removed));
    }
    const XCachedPtr object = m_direct.receiver ? m_direct.receiver(cache) : nullptr;
    const std::lock_guard lock(m_receiverMutex);
    m_receiver = object ? object.As<ILXCallbackUpdate>() : nullptr;
}

void XObserved::End() {
    XLXComPtr<ILXCallbackUpdate> former;
    const std::lock_guard lock(m_receiverMutex);
    m_receiver.Swap(former);
}

XObserved::Reading XObserved::Ask(const XQuestion& question, const XNoted& noted, const XAsked& asked, XCachedPtr* held,
                                  std::string& details) const {
    XCachedPtr object = held != nullptr ? *held : nullptr;
    if (!object && question.find) {
        object = question.find(asked.cache);
        if (!object) {
            details = "nobody to ask";
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
                  ", asked for " + std::to_string(asked.number) + ", came";
        for (const int number : numbers) {
            details += " " + std::to_string(number);
        }
        details += ", now " + std::to_string(m_adding.load());
    } else if (held != nullptr) {
        *held = std::move(object);
    }
    return reading;
}

// Read after the answer arrived, the numbers that the server may have reached bound the answer from above.
XObserved::Reading XObserved::Judge(const XQuestion& question, const XNoted& noted, const XAsked& asked,
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
