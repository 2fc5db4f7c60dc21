// SPDX-License-Identifier: MIT
//
// The manager's map of types by name, with the names that the server does not know.
//
// Threading  Thread-safe. Look-ups are lock-free reads. Answers enter one at a time (m_entering); the map's lock is
//            held only to publish them. No foreign code is called under either lock.
#ifndef XTYPEMAP_H
#define XTYPEMAP_H

#include "XLoaded.h"
#include "XNameIndex.h"
#include "XTypeRecord.h"

#include <deque>

/// What types need from their connection, which they may outlive.
struct XTypeHost {
    XRefillPtr refill; ///< reads the stale values of all types together
    /// The server's type of that name; null if there is none or the connection is over. Raises failures.
    std::function<XLXComPtr<ILXType>(XLXTextView)> getType;
};
using XTypeHostPtr = std::shared_ptr<const XTypeHost>;

class XTypeMap {
public:
    /// The limit of negative answers; beyond it the oldest are dropped.
    static constexpr std::size_t MaxNegativeAnswers = 10000;

    /// State of a type while all types are being linked to their bases.
    enum class Link : std::uint8_t {
        Pending,
        OnPath, ///< waits for its base to be linked
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
        bool isFresh = false;         ///< the map is fresh
        bool isKnown = false;         ///< the map has the type, or a negative answer for the name
        XLXComPtr<XLXTypeCache> type; ///< null: negative answer or unknown name
    };
    Answer Find(XLXTextView name) const;
    bool IsFresh() const;
    /// Whether all types were read since the connection began.
    bool IsFilled() const;

    /// The stamp and the moment that are taken before the server is asked.
    struct Request {
        XStamp stamp;
        XClockPtr clock;
        std::shared_ptr<const XMoment> moment;
    };
    Request Now(const XClockPtr& clock) const;

    /// Enters types: refreshes known ones in place, adds the others, and links every type to its base. Objects are
    /// created and refreshed without the map's lock; server objects are released with no lock held. Raises E_INVALIDARG
    /// if a record has no name.
    /// @param isWhole  the records are all types of the server: the map becomes fresh and drops its negative answers
    /// @return false: the connection of the request is over, and nothing was entered
    bool Enter(XTypeRecords& records, const Request& requested, bool isWhole);

    /// Records that the server has no type of that name, unless the map has the type or a notification arrived since
    /// the request.
    void EnterNegative(XLXTextView name, const Request& requested);

    /// All types, in key order.
    std::vector<Map::value_type> Types() const;
    /// A number that changes whenever the map may have changed its types or their links.
    std::uint64_t Version() const noexcept { return m_version.load(); }

    XFillMutex& FillMutex() noexcept { return m_fill; }
    XFillCount& Fills() noexcept { return m_fills; }

    /// Empties the map and accepts answers of the connection with that clock from now on.
    /// @param host  null: types are not refilled together, and have a server object only if their record has one
    void Begin(const XClockPtr& clock, XTypeHostPtr host = {});
    /// Passes the values of records to the known types of the connection with that clock.
    void Refill(XTypeRecords& records, const XClockPtr& clock, const std::shared_ptr<const XMoment>& moment) const;
    /// Empties the map, terminates its types, and accepts no more answers. Does nothing if the map belongs to another
    /// connection.
    void End(const XClockPtr& clock);

private:
    struct Known {
        Map map;
        XNameIndex<XLXTypeCache*> index;  ///< of the map, for look-ups
        XNameSet negative;                ///< names that the server does not know
        std::deque<XCFGStringKey> oldest; ///< the negative names, oldest first
        XStamp stamp;
        XClockPtr clock; ///< of the connection; null: no connection
    };
    /// Whether a stamp is the current one.
    bool IsNow(const XStamp& stamp, const Known& known) const noexcept {
        return known.clock && stamp == XStamp{known.clock->Now(XAspect::TypeMap)};
    }
    void Refresh(XTypeRecords& records, const Request& requested, XRetired& retired) LX_NEEDS(m_entering);
    static void Apply(Known& known, XTypeRecords& records);
    static void ForgetNegative(Known& known, std::size_t most);

    std::shared_ptr<const XTransferModeSupplier> m_mode;
    XFillMutex m_fill;
    XFillCount m_fills;
    XLeafMutex m_entering{XLockLevel::TypeEntry}; // one answer enters at a time
    XTypeHostPtr m_host LX_GUARDED_BY(m_entering);
    std::atomic<std::uint64_t> m_version{1}; // incremented under the map's write lock
    mutable XCritDataCFC<Known> m_mapType{XLockLevel::TypeMap};
};

/// The type map to answer from: the manager's (not owned: an aliasing pointer without a count), or one created for an
/// answer that arrived after its connection was over.
using XTypeMapPtr = std::shared_ptr<const XTypeMap>;

#endif
