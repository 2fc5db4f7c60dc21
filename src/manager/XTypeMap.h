// SPDX-License-Identifier: MIT
//
// The manager's map of types by name.
#ifndef XTYPEMAP_H
#define XTYPEMAP_H

#include "XLoaded.h"
#include "XNameIndex.h"
#include "XTypeRecord.h"

#include <deque>

/// What types want of the connection that they belong to, and may want when it is over.
struct XTypeHost {
    XRefillPtr refill; ///< by which their values are read together
    /// The server's type of a name; null when there is none, or the connection is over. Raises a failure.
    std::function<XLXComPtr<ILXType>(XLXTextView)> getType;
};
using XTypeHostPtr = std::shared_ptr<const XTypeHost>;

class XTypeMap {
public:
    /// Names that the server has no type of; of more the oldest are forgotten.
    static constexpr std::size_t MostNegativeAnswers = 10000;

    /// How far a type is while all types are linked to their bases.
    enum class Link : std::uint8_t {
        Pending,
        OnPath, ///< its base comes first
        Done
    };
    struct Entry {
        XLXComPtr<XLXTypeCache> type;
        XLXText baseName;
        Link link = Link::Pending;
    };
    using Map = XNameMap<Entry>;

    explicit XTypeMap(std::shared_ptr<const XTransferModeSupplier> mode) : m_mode(std::move(mode)) {}

    struct Answer {
        bool isFresh = false;         ///< the map holds what the server has
        bool isKnown = false;         ///< the name was looked for
        XLXComPtr<XLXTypeCache> type; ///< null: the server has no such type, as far as is known
    };
    Answer Find(XLXTextView name) const;
    bool IsFresh() const;
    /// Whether all types were read since the connection began.
    bool IsFilled() const;

    /// What is noted before the server is asked.
    struct Note {
        XStamp stamp;
        XClockPtr clock;
        std::shared_ptr<const XMoment> moment;
    };
    Note TakeNote(const XClockPtr& clock) const;

    /// Enters types: a type that the map has already is refreshed in place, all others are added; then every type is
    /// linked to its base. Objects are made and refreshed without the map's lock, and server objects are released
    /// with no lock held.
    /// @param isWhole  these are all types of the server: the map is fresh then, and forgets negative answers
    /// @return false: the connection of the note is over, and nothing was entered
    bool Enter(XTypeRecords& records, const Note& noted, bool isWhole);

    /// Notes that the server has no type of that name, unless the map knows better or a notification came.
    void EnterNegative(XLXTextView name, const Note& noted);

    /// All types, in key order.
    std::vector<Map::value_type> Types() const;
    /// Changes whenever the types or their links may have changed.
    std::uint64_t Version() const noexcept { return m_version.load(); }

    XFillMutex& FillMutex() noexcept { return m_fill; }
    XFillCount& Fills() noexcept { return m_fills; }

    /// From now on answers of the connection with that clock are entered.
    /// @param host  null: types read for themselves, and have no server objects but those that come with records
    void Begin(const XClockPtr& clock, XTypeHostPtr host = {});
    /// Gives the values of records to the types that are there, and of the connection that was asked.
    void Refill(XTypeRecords& records, const XClockPtr& clock, const std::shared_ptr<const XMoment>& moment) const;
    /// Terminates every type, empties the map, and enters nothing more, unless the map is of another connection.
    void End(const XClockPtr& clock);

private:
    /// The map, and the way that look-ups take.
    struct Known {
        Map map;
        XNameIndex<XLXTypeCache*> index;
        XNameSet negative;                ///< names that the server has no type of
        std::deque<XCFGStringKey> oldest; ///< the same and former ones, the oldest first
        XStamp stamp;
        XClockPtr clock; ///< of the connection; null: there is none
    };
    /// Whether a stamp is what would be noted now.
    bool IsNow(const XStamp& stamp, const Known& known) const noexcept {
        return known.clock && stamp == XStamp{known.clock->Now(XAspect::TypeMap), m_own.Now()};
    }
    void Refresh(XTypeRecords& records, const Note& noted, XRetired& retired);
    static void Apply(Known& known, XTypeRecords& records);
    static void ForgetNegative(Known& known, std::size_t most);

    std::shared_ptr<const XTransferModeSupplier> m_mode;
    XOwnCount m_own;
    XFillMutex m_fill;
    XFillCount m_fills;
    XLeafMutex m_entering{XLockLevel::TypeEntry}; // one bulk answer enters at a time
    XTypeHostPtr m_host;                          // guarded by that
    std::atomic<std::uint64_t> m_version{1};      // raised under the map's write lock
    mutable XCritDataCFC<Known> m_mapType{XLockLevel::TypeMap};
};

/// The type map to answer from: the manager's, or one made for an answer that arrived after its connection was over.
using XTypeMapPtr = std::shared_ptr<const XTypeMap>;

#endif
