// SPDX-License-Identifier: MIT
//
// One value of every kind of cached object, which an edit raises by one each time and any thread can check:
// what is read was once on the server, and nothing older than what the server had notified before the reading
// began.
#ifndef OBSERVED_H
#define OBSERVED_H

#include "clientlife.h"

#include <atomic>

/// The cache that the readers use; null while there is none.
using XCachePtr = XLXComPtr<ILXConfigFactoryCache>;

class XObserved
{
public:
    using Edit = std::function<XNotification(XServerEdits, const XModelValue&)>;
    /// Finds the object; null when the cache does not give it.
    using Find = std::function<XLXComPtr<ILXConfigObject>(const XCachePtr&)>;

    /// @param staysCurrent  an object that a client holds shows the newest value too
    XObserved(const char* name, int member, bool staysCurrent, Edit edit, Find find);

    const std::string& Name() const noexcept { return m_name; }

    /// Raises the value on the server, with its notification. One thread at a time.
    HRESULT Raise(XSampleServer& server);

    enum class Reading
    {
        Right,
        NotThere, ///< the object or the value could not be had
        Stale,
        Impossible ///< a value that the server never had
    };
    /// Reads through an object that is asked for now, or one that was held since an earlier reading.
    Reading Read(const XCachePtr& cache, XLXComPtr<ILXConfigObject>* held = nullptr) const;
    bool StaysCurrent() const noexcept { return m_staysCurrent; }

private:
    const std::string m_name;
    const int m_member;
    const bool m_staysCurrent;
    const Edit m_edit;
    const Find m_find;
    std::atomic<int> m_attempted{0}; // the highest value that the server may have
    std::atomic<int> m_notified{0};  // the highest value whose notification has returned
};

/// One of each kind, over LXLifeModel.
std::vector<std::unique_ptr<XObserved>> LXEveryKind();

#endif
