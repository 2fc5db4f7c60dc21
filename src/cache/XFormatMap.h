// SPDX-License-Identifier: MIT
//
// The formats of an attribute, a group or a global format spec, by format type.
//
// Formats are asked for one at a time. A null entry is a negative answer: the server has no such format. A
// notification only marks the map as no longer valid; the next operation empties it.
#ifndef XFORMATMAP_H
#define XFORMATMAP_H

#include "XBasicCritSection.h"
#include "XFilledFlag.h"
#include "cachedobjectfacts.h"
#include "lxcfctools.h"

#include <functional>
#include <map>

class XFormatMap
{
public:
    using Map = std::map<int, XLXComPtr<ILXFormat>>;
    /// Asks the server object for a format: its GetFormat or CreateFormat.
    using Ask = std::function<HRESULT(ILXFormat**)>;

    /// Answers from the map, and asks the server on a miss. A failure of the server is reported at the
    /// location, returned, and not kept.
    HRESULT Get(int type, ILXFormat** out, const Ask& askServer, const LXErrorLocation& failedAt);

    /// Asks the server to create a format and keeps it. Anything but S_OK from the server is reported and
    /// returned.
    HRESULT Create(int type, ILXFormat** out, const Ask& askServer, const LXErrorLocation& failedAt);

    /// Drops the entry of a format that the server has deleted.
    void Erase(int type);

    /// Marks the map as no longer valid. Waits for nobody.
    void Invalidate() noexcept { m_valid.Invalidate(); }

    /// Offers a notification to every format; ends at the first answer other than S_OK.
    HRESULT Forward(const XChangeNotification& notification) const;

    /// Empties the map.
    void Terminate();

private:
    void EmptyIfInvalid();
    bool Find(int type, XLXComPtr<ILXFormat>& format) const;
    void Store(int type, XLXComPtr<ILXFormat> format, std::uint64_t noted);

    mutable XCritDataCFC<Map> m_mapFormatCache{XLockLevel::ObjectMap};
    XFilledFlag m_valid;
};

#endif
