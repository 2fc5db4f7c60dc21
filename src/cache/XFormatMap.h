// SPDX-License-Identifier: MIT
//
// The formats of an attribute, a group or a global format spec, by format type.
//
// Formats are asked for one at a time. A null entry is a negative answer: the server has no such format. The map
// holds for one stamp; the first operation after a notification empties it. Of two first answers for a format type
// everybody gets the one that was published first.
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
    /// Negative answers that are kept; of more the oldest go.
    static constexpr std::size_t MostNegativeAnswers = 64;

    /// Asks the server object for a format: its GetFormat or CreateFormat.
    using Ask = std::function<HRESULT(ILXFormat**)>;

    /// Answers from the map, and asks the server on a miss. A failure of the server is reported at the location,
    /// returned, and not kept.
    HRESULT Get(const XObjectTime& time, int type, ILXFormat** out, const char* method, const Ask& askServer,
                const LXErrorLocation& failedAt);

    /// Asks the server to create a format and keeps it. Anything but S_OK from the server is reported and returned.
    HRESULT Create(const XObjectTime& time, int type, ILXFormat** out, const char* method, const Ask& askServer,
                   const LXErrorLocation& failedAt);

    /// Drops the entry of a format that the server has deleted.
    void Erase(const XObjectTime& time, int type);

    /// Makes the map stale. Waits for nobody.
    void Advance() noexcept { m_own.Advance(); }

    /// Offers a notification to every format.
    void NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) const;

    /// Empties the map.
    void Terminate();

private:
    using Format = XLXComPtr<XLXFormatCache>;
    using Map = std::map<int, Format>;
    struct Formats {
        Map map;
        std::deque<int> negative; ///< the types of the negative answers, the oldest first
        XStamp stamp;
        std::uint64_t changes = 0; ///< by this process: an answer that one overtook is not entered
    };

    XStamp Now(const XObjectTime& time) const noexcept { return {time.Now(), m_own.Now()}; }
    void EmptyIfStale(Formats& formats, const XObjectTime& time, Map& dropped) const;
    void Enter(const XObjectTime& time, int type, Format& format, const XStamp& noted, std::uint64_t changes);
    void Replace(const XObjectTime& time, int type, const Format& format, const XStamp& noted);
    static void DetachAll(const Map& dropped) noexcept;

    XOwnCount m_own;
    XMutexGuarded<Formats> m_mapFormatCache;
};

#endif
