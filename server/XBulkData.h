// SPDX-License-Identifier: MIT
//
// What the server delivers in bulk: gathered from the model under its lock, and written in the transfer format
// without it.
#ifndef XBULKDATA_H
#define XBULKDATA_H

#include "XServerObject.h"

struct XBulkRecord {
    XLXComPtr<IUnknown> object;
    XLXVariantVector values;
    std::vector<XBulkRecord> types; ///< attribute types, of an attribute
};

/// The components of one type that a mode asks for. A kind of which there are none is not delivered.
struct XBulkComponents {
    std::vector<XBulkRecord> pages;
    std::vector<XBulkRecord> groups;
    std::vector<XBulkRecord> editors;
    std::vector<XBulkRecord> attributes;

    bool Empty() const noexcept { return pages.empty() && groups.empty() && editors.empty() && attributes.empty(); }
};

struct XBulkType {
    ULONG index = 0;
    XBulkRecord head;
    XBulkComponents components;
    LONG baseIndex = -1; ///< -1: no base, or one that the model does not have
    bool listed = false;
    bool searchable = false;
};

struct XBulkTypes {
    std::map<XLXText, ULONG> names; ///< of all records, and of bases that are not carried
    std::vector<XBulkType> records;
};

// The model's lock is held for these.
XBulkComponents LXComponentsOf(const XServerCorePtr& core, const std::shared_ptr<XModelType>& type, LONG mode);
/// The named types that exist, each once, with all their bases when asked for.
XBulkTypes LXTypesOf(const XServerCorePtr& core, const XServerModel& model, const std::vector<XLXText>& names,
                     bool withBases, LONG mode);
std::vector<XBulkRecord> LXRelationsOf(const XServerCorePtr& core, const XServerModel& model);

// No lock is held for these.
XLXSafeArray LXWriteComponents(XBulkComponents components);
XLXSafeArray LXWriteTypes(XBulkTypes types);
XLXSafeArray LXWriteRelations(std::vector<XBulkRecord> relations);

#endif
