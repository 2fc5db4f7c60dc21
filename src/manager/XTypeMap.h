// SPDX-License-Identifier: MIT
//
// The manager's map of types by name.
#ifndef XTYPEMAP_H
#define XTYPEMAP_H

#include "XNameIndex.h"
#include "XNotificationEpoch.h"
#include "XTypeLoad.h"

class XTypeMap
{
public:
    /// How far a type is while all types are linked to their bases.
    enum class Link : std::uint8_t
    {
        Pending,
        OnPath, ///< its base comes first
        Done
    };
    struct Entry
    {
        XLXComPtr<XLXTypeCache> type; ///< null: the server has no type of that name
        XLXText name;
        XLXText baseName;
        Link link = Link::Pending;
    };
    using Map = std::map<XCFGStringKey, Entry>;

    XTypeMap(std::shared_ptr<const XTransferModeSupplier> mode, const XNotificationEpoch& epoch)
        : m_mode(std::move(mode)), m_epoch(epoch)
    {}

    enum class Found
    {
        Nothing, ///< the name was never looked for
        NoType,  ///< the server has no such type
        Type
    };
    Found Find(XLXTextView name, XLXComPtr<XLXTypeCache>& type) const;

    /// Enters types: a type that the map has already is refreshed in place, all others are added; then every
    /// type is linked to its base. Objects are made and old ones destroyed with no lock held.
    /// @param noted  the epoch noted before the server was asked: what a notification overtook is entered,
    /// and is then
    ///               asked for again when it is read
    /// @param filled the filled flag's note when this is the whole map, which then counts as filled
    void Enter(std::vector<XTypeLoad> loads, std::uint64_t noted, std::optional<std::uint64_t> filled);

    /// Notes that the server has no type of that name, unless the map knows better.
    void EnterNegative(XLXTextView name, std::uint64_t noted);

    /// All types, in key order.
    std::vector<Entry> Types() const;
    /// Changes whenever the types or their links may have changed.
    std::uint64_t Version() const noexcept { return m_version.load(); }

    /// Offers a notification to every type, in key order; ends at the first answer other than S_OK.
    HRESULT Notify(const XChangeNotification& notification) const;

    XFilledFlag& Filled() noexcept { return m_lTypeMapFilled; }
    XFillMutex& FillMutex() noexcept { return m_fill; }

    /// Terminates every type and empties the map.
    void TerminateAndClear();

private:
    /// The map, and the way that look-ups take. A null pointer in the index is a negative answer.
    struct Known
    {
        Map map;
        XNameIndex<XLXTypeCache*> index;
    };
    struct Change;
    void Apply(Known& known, std::vector<Change>& changes, std::uint64_t noted, XRetired& retired);
    static void LinkBases(Map& map, XRetired& retired, std::vector<XLXText>& messages);
    static Entry* BaseOf(Map& map, const Entry& entry, std::vector<XLXText>& messages);
    XLXComPtr<XLXTypeCache> MakeType() const;

    std::shared_ptr<const XTransferModeSupplier> m_mode;
    const XNotificationEpoch& m_epoch;
    XFilledFlag m_lTypeMapFilled;
    XFillMutex m_fill{XLockLevel::TypeMapFill};
    std::atomic<std::uint64_t> m_version{1}; // raised under the map's write lock
    mutable XCritDataCFC<Known> m_mapType{XLockLevel::TypeMap};
};

#endif
