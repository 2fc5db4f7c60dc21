// SPDX-License-Identifier: MIT
//
// The formats of an attribute, a group or a global format spec, by format type.
//
// Formats are requested one at a time. A null entry is a negative answer: the server has no such format. All entries
// have the same stamp; the first operation after a notification clears the map. When two threads get a first answer for
// the same format type, both return the one that was published first.
#ifndef XFORMATMAP_H
#define XFORMATMAP_H

#include "XLoaded.h"
#include "lxcfctools.h"
#include "lxformatcache.h"

#include <deque>
#include <functional>
#include <map>

class XFormatMap {
public:
    /// The limit of negative answers; beyond it the oldest are dropped.
    static constexpr std::size_t MaxNegativeAnswers = 64;

    /// Calls GetFormat or CreateFormat of the server object.
    using Ask = std::function<HRESULT(ILXFormat**)>;

    /// Answers from the map and asks the server on a miss. A failure of the server is reported at the location,
    /// returned, and not cached.
    HRESULT Get(const XObjectTime& time, int type, ILXFormat** out, const char* method, const Ask& askServer,
                const LXErrorLocation& failedAt);

    /// Asks the server to create a format and caches it. Any result of the server other than S_OK is reported and
    /// returned. The former entry is dropped in either case.
    HRESULT Create(const XObjectTime& time, int type, ILXFormat** out, const char* method, const Ask& askServer,
                   const LXErrorLocation& failedAt);

    /// Drops the entry of a format that the server has deleted.
    void Erase(const XObjectTime& time, int type);

    /// Makes the map stale. Takes no lock.
    void Advance() noexcept { m_own.Advance(); }

    /// Passes a direct notification on to every format.
    void NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) const;

    /// Clears the map.
    void Terminate(const XObjectTime& time);

private:
    using Format = XLXComPtr<XLXFormatCache>;
    using Map = std::map<int, Format>;
    struct Formats {
        Map map;
        std::deque<int> negative; ///< the types of the negative answers, oldest first
        XStamp stamp;
        std::uint64_t changes = 0; ///< formats created or deleted here; an answer overtaken by one is not cached
    };

    XStamp Now(const XObjectTime& time) const noexcept { return {time.Now(), m_own.Now()}; }
    void EmptyIfStale(Formats& formats, const XObjectTime& time, Map& dropped) const;
    void Enter(const XObjectTime& time, int type, Format& format, const XStamp& stamp, std::uint64_t changes);
    void Replace(const XObjectTime& time, int type, const Format& format, const XStamp& stamp);
    static void DetachAll(const Map& dropped) noexcept;

    XOwnCount m_own;
    XMutexGuarded<Formats> m_mapFormatCache;
};

#endif
