// SPDX-License-Identifier: MIT
#include "XTypeMap.h"

namespace {
/// Supplies the server's type if its record came without it.
class TypeSource final : public XServerSource {
public:
    TypeSource(XTypeHostPtr host, XLXTextView name) : m_host(std::move(host)), m_name(name) {}
    XLXComPtr<IUnknown> Ask() const override { return m_host->getType(m_name); }

private:
    const XTypeHostPtr m_host;
    const XLXText m_name;
};

using Map = XTypeMap::Map;

/// The entry of a type's base; null if the type has no base or its base is unknown, which adds a message.
Map::value_type* BaseOf(Map& map, const XTypeMap::Entry& entry, std::vector<XLXText>& messages) {
    if (entry.baseName.empty()) { return nullptr; }
    const auto found = map.find(XLXTextView(entry.baseName));
    if (found != map.end()) { return &*found; }
    messages.push_back(XLXFormat() << "base type referenced by name not found in type cache: " << entry.baseName);
    return nullptr;
}

// Links each chain from the top down. The types above a new base are then already linked, so an outdated link is not
// mistaken for a cycle. A link that would close a cycle is cleared and reported; the others are not affected.
void LinkBases(Map& map, XRetired& retired, std::vector<XLXText>& messages) {
    for (auto& [key, entry] : map) {
        entry.link = XTypeMap::Link::Pending;
    }
    std::vector<std::pair<Map::value_type*, Map::value_type*>> path; // types with their bases, upwards
    for (auto& first : map) {
        Map::value_type* above = &first;
        while (above != nullptr && above->second.link == XTypeMap::Link::Pending) {
            above->second.link = XTypeMap::Link::OnPath;
            path.emplace_back(above, BaseOf(map, above->second, messages));
            above = path.back().second;
        }
        // If the path ends in a cycle, its last type gets no base.
        bool closesCircle = above != nullptr && above->second.link == XTypeMap::Link::OnPath;
        for (; !path.empty(); path.pop_back()) {
            const auto [slot, base] = path.back();
            XLXTypeCache& type = *slot->second.type;
            if (!type.LinkBase(base != nullptr && !closesCircle ? base->second.type.Get() : nullptr, retired) ||
                closesCircle) {
                (void)type.LinkBase(nullptr, retired);
                messages.push_back(XLXFormat() << "This type has itself as base type " << slot->first.Text());
            }
            slot->second.link = XTypeMap::Link::Done;
            closesCircle = false;
        }
    }
}

} // namespace

bool XTypeMap::IsFresh() const {
    const XCritLFReadProxy<Known> known(m_mapType);
    return IsNow(known->stamp, *known);
}

bool XTypeMap::IsFilled() const { return !XCritLFReadProxy<Known>(m_mapType)->stamp.IsNone(); }

XTypeMap::Answer XTypeMap::Find(XLXTextView name) const {
    Answer answer;
    const XCritLFReadProxy<Known> known(m_mapType);
    answer.isFresh = IsNow(known->stamp, *known);
    if (XLXTypeCache* const* const found = known->index.Find({name}); found != nullptr) { answer.type = *found; }
    answer.isKnown = answer.type || known->negative.contains(name);
    return answer;
}

XTypeMap::Request XTypeMap::Now(const XClockPtr& clock) const {
    const XMoment moment = clock->Copy();
    return {{moment.At(XAspect::TypeMap)}, clock, std::make_shared<const XMoment>(moment)};
}

bool XTypeMap::Enter(XTypeRecords& records, const Request& requested, bool isWhole) {
    for (const XTypeRecord& record : records) {
        if (record.name.empty()) {
            XLXError::Raise(E_INVALIDARG, OLESTR("typename for CFC type cache entry must not be empty"),
                            LXManagerAt("AddToTypeCache"));
        }
    }
    XRetired retired;              // released after the locks
    std::vector<XLXText> messages; // logged after the locks are released
    {
        const XLeafLock entering(m_entering);
        if (!(XCritReadProxy<Known>(m_mapType)->clock == requested.clock)) { return false; }
        Refresh(records, requested, retired);
        const XCritProxy<Known> known(m_mapType);
        Apply(*known, records);
        if (isWhole) { ForgetNegative(*known, 0); }
        if (m_host) { m_host->refill->SetObjects(known->map.size()); }
        LinkBases(known->map, retired, messages);
        m_version.fetch_add(1);
        if (isWhole && !requested.stamp.IsOlderThan(known->stamp)) { known->stamp = requested.stamp; }
    }
    for (const XLXText& message : messages) {
        XLXError::WriteErrorToLogBook(E_FAIL, XLXError::SeverityError, message, LXManagerAt("CreateTypeCache"));
    }
    return true;
}

/// Passes each record to the known type of its name, or to a new one. Clears the name of a record that is older than
/// what the type has, so that Apply skips it.
void XTypeMap::Refresh(XTypeRecords& records, const Request& requested, XRetired& retired) {
    for (XTypeRecord& record : records) {
        XLXComPtr<XLXTypeCache> type = Find(record.name).type;
        if (!type) {
            record.made = LXCFCTOOLS::Make<XLXTypeCache>(nullptr, requested.clock);
            record.made->SetModeSupplier(m_mode);
            record.made->SetName(record.name);
            record.made->SetRefills(m_host ? m_host->refill : nullptr);
            type = record.made;
        }
        XServerSourcePtr source =
            m_host && !record.config.object ? std::make_shared<const TypeSource>(m_host, record.name) : nullptr;
        if (type->TakeTypeRecord(std::move(record.config.object), std::move(source), std::move(record.config.values),
                                 std::move(record.components), record.mode, requested.stamp, requested.moment,
                                 retired)) {
            type->SetFlags(record.listed, record.searchable);
        } else {
            record.name.clear();
        }
    }
}

void XTypeMap::Apply(Known& known, XTypeRecords& records) {
    for (XTypeRecord& record : records) {
        if (record.name.empty()) { continue; }
        const auto slot = known.map.try_emplace(XCFGStringKey(record.name)).first;
        Entry& entry = slot->second;
        if (record.made) {
            entry.type.Swap(record.made); // if two records have the same name, the last one counts
        }
        known.index.Set({slot->first.Text()}, entry.type.Get());
        entry.baseName = std::move(record.baseName);
    }
}

/// Drops the oldest negative answers until at most that many are left.
void XTypeMap::ForgetNegative(Known& known, std::size_t most) {
    for (; known.oldest.size() > most; known.oldest.pop_front()) {
        known.negative.erase(known.oldest.front());
    }
}

void XTypeMap::EnterNegative(XLXTextView name, const Request& requested) {
    XCFGStringKey key(name);
    const XCritProxy<Known> known(m_mapType);
    const bool isCurrent = known->clock == requested.clock && IsNow(requested.stamp, *known);
    if (isCurrent && !known->map.contains(key) && !known->negative.contains(key)) {
        known->oldest.push_back(key);
        known->negative.insert(std::move(key));
        ForgetNegative(*known, MaxNegativeAnswers);
    }
}

std::vector<XTypeMap::Map::value_type> XTypeMap::Types() const {
    const XCritReadProxy<Known> known(m_mapType);
    return {known->map.begin(), known->map.end()};
}

void XTypeMap::Refill(XTypeRecords& records, const XClockPtr& clock,
                      const std::shared_ptr<const XMoment>& moment) const {
    XRetired retired;
    for (XTypeRecord& record : records) {
        if (const auto type = Find(record.name).type; type && type->Clock() == clock) {
            type->TakeValues(std::move(record.config.values), std::move(record.components), record.mode, moment,
                             retired);
        }
    }
}

void XTypeMap::Begin(const XClockPtr& clock, XTypeHostPtr host) {
    Known fresh;
    fresh.clock = clock;
    const XLeafLock entering(m_entering);
    m_host.swap(host);
    const XCritProxy<Known> known(m_mapType);
    std::swap(*known, fresh);
    m_version.fetch_add(1);
}

void XTypeMap::End(const XClockPtr& clock) {
    Known dropped;
    XTypeHostPtr host;
    {
        const XLeafLock entering(m_entering);
        const XCritProxy<Known> known(m_mapType);
        if (!(known->clock == clock)) { return; }
        std::swap(*known, dropped);
        m_host.swap(host);
        m_version.fetch_add(1);
    }
    for (auto& [key, entry] : dropped.map) {
        entry.type->Terminate();
    }
}
