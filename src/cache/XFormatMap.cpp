// SPDX-License-Identifier: MIT
#include "XFormatMap.h"

HRESULT XFormatMap::Get(const XObjectTime& time, int type, ILXFormat** out, const char* method, const Ask& askServer,
                        const LXErrorLocation& failedAt) {
    *out = nullptr;
    const XStamp stamp = Now(time);
    std::uint64_t changes = 0;
    Format format;
    const bool isKnown = m_mapFormatCache.Read([&](const Formats& formats) {
        changes = formats.changes;
        const auto found = formats.stamp == stamp ? formats.map.find(type) : formats.map.end();
        if (found != formats.map.end()) { format = found->second; }
        return found != formats.map.end();
    });
    if (isKnown) { return LXHandOut(std::move(format), out); }
    XLXComPtr<ILXFormat> server;
    const HRESULT result = LXAsk(method, server, LXNoResult::Nothing, {}, failedAt, askServer);
    if (FAILED(result)) {
        return XLXError::SetComAppError(result, OLESTR("the server failed to get the format"), failedAt);
    }
    if (result != S_FALSE && server) {
        format = LXCFCTOOLS::Make<XLXFormatCache>(std::move(server), XClockPtr(time.clock));
    }
    Enter(time, type, format, stamp, changes);
    return LXHandOut(std::move(format), out);
}

HRESULT XFormatMap::Create(const XObjectTime& time, int type, ILXFormat** out, const char* method, const Ask& askServer,
                           const LXErrorLocation& failedAt) {
    *out = nullptr;
    const XStamp stamp = Now(time);
    XLXComPtr<ILXFormat> server;
    const HRESULT result =
        LXAsk(method, server, LXNoResult::PointerError, OLESTR("created format"), failedAt, askServer);
    Format format;
    if (result == S_OK) { format = LXCFCTOOLS::Make<XLXFormatCache>(std::move(server), XClockPtr(time.clock)); }
    Replace(time, type, format, stamp);
    if (result != S_OK) {
        return XLXError::SetComAppError(result, OLESTR("the server did not create the format"), failedAt);
    }
    return LXHandOut(std::move(format), out);
}

void XFormatMap::Erase(const XObjectTime& time, int type) { Replace(time, type, nullptr, XStamp{}); }

// Drops an answer that a notification, a creation or a deletion overtook; the next request asks again.
void XFormatMap::Enter(const XObjectTime& time, int type, Format& format, const XStamp& stamp, std::uint64_t changes) {
    Map dropped; // destroyed after the lock is released, as is `late`
    Format late;
    m_mapFormatCache.Write([&](Formats& formats) {
        EmptyIfStale(formats, time, dropped);
        if (formats.stamp != stamp || formats.changes != changes) { return; }
        const auto [entry, isNew] = formats.map.try_emplace(type, format);
        if (!isNew) {
            late = entry->second;
            late.Swap(format); // the first published answer wins
            return;
        }
        if (!format) {
            formats.negative.push_back(type);
            if (formats.negative.size() > MaxNegativeAnswers) {
                formats.map.erase(formats.negative.front());
                formats.negative.pop_front();
            }
        }
    });
}

// Enters a format that the server has created, or removes one that it has deleted. The change count makes answers that
// are still on their way older.
void XFormatMap::Replace(const XObjectTime& time, int type, const Format& format, const XStamp& stamp) {
    Map dropped;
    m_mapFormatCache.Write([&](Formats& formats) {
        EmptyIfStale(formats, time, dropped);
        ++formats.changes;
        if (auto former = formats.map.extract(type); !former.empty()) {
            std::erase(formats.negative, type);
            dropped.insert(std::move(former));
        }
        DetachAll(dropped);
        if (format && formats.stamp == stamp) { formats.map.emplace(type, format); }
    });
}

void XFormatMap::EmptyIfStale(Formats& formats, const XObjectTime& time, Map& dropped) const {
    if (const XStamp now = Now(time); formats.stamp != now) {
        dropped.swap(formats.map);
        DetachAll(dropped);
        formats.negative.clear();
        formats.stamp = now;
    }
}

// Called under the map's lock. A notification finds its format either in the map or detached; in the second case it
// reaches the successor through the clock.
void XFormatMap::DetachAll(const Map& dropped) noexcept {
    for (const auto& [type, format] : dropped) {
        if (format) { format->Detach(); }
    }
}

// Receivers only advance counts, so they may be called under the lock.
void XFormatMap::NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) const {
    m_mapFormatCache.Read([&](const Formats& formats) {
        for (const auto& [type, format] : formats.map) {
            if (format) { format->NotifyDirectly(notification, touched); }
        }
    });
}

void XFormatMap::Terminate(const XObjectTime& time) {
    Map dropped;
    Advance();
    m_mapFormatCache.Write([&](Formats& formats) { EmptyIfStale(formats, time, dropped); });
}
