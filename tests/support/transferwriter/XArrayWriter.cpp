// SPDX-License-Identifier: MIT
#include "XArrayWriter.h"
#include "XArrayReader.h"

namespace XLXCFCDataTransfer {
namespace {
LONG CountOf(std::size_t size) { return static_cast<LONG>(size); }

void AddAll(XArrayWriter& to, std::span<XLXComVariant> values) {
    for (XLXComVariant& value : values) {
        to.Add(std::move(value));
    }
}

void AddAll(XArrayWriter& to, XVariantRow& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        XLXComVariant value;
        values.Exchange(i, value);
        to.Add(std::move(value));
    }
}
} // namespace

XArrayWriter::XArrayWriter(EMappingAlgorithm algorithm, EWrapperId wrapper) {
    Put(static_cast<LONG>(algorithm), static_cast<LONG>(wrapper));
}

XLXSafeArray XArrayWriter::Finish() {
    SAFEARRAYBOUND bound = {static_cast<ULONG>(CountOf(m_elements.size())), 0};
    XLXSafeArray array(SafeArrayCreate(VT_VARIANT, 1, &bound));
    void* data = nullptr;
    XLXError::RaiseIfFailed(array ? SafeArrayAccessData(array.Get(), &data) : E_OUTOFMEMORY,
                            OLESTR("the transfer array cannot be made"), TransferAt("ToSafeArray"));
    VARIANT* element = static_cast<VARIANT*>(data);
    for (XLXComVariant& value : m_elements) {
        value.DetachTo(element++);
    }
    SafeArrayUnaccessData(array.Get());
    m_elements.clear();
    return array;
}

void ToSafeArray(XArrayWriter& to, LONG value) { to.Add(XLXComVariant::FromI4(value)); }
void ToSafeArray(XArrayWriter& to, ULONG value) { to.Add(XLXComVariant::FromUI4(value)); }
void ToSafeArray(XArrayWriter& to, XLXTextView value) { to.Add(XLXComVariant::FromBstr(value)); }
void ToSafeArray(XArrayWriter& to, IUnknown* value) { to.Add(XLXComVariant::FromUnknown(value)); }
void ToSafeArray(XArrayWriter& to, XLXComVariant value) { to.Add(std::move(value)); }

void ToSafeArray(XArrayWriter& to, XVariantRow values) {
    to.Put(CountOf(values.size()));
    AddAll(to, values);
}

void ToSafeArray(XArrayWriter& to, XLXSafeArray list) {
    XArrayReader from(std::move(list), 0, "ToSafeArray", {"list to be written", {}});
    to.Put(CountOf(from.Remaining()));
    AddAll(to, from.Next(from.Remaining(), "ToSafeArray"));
}

void ToSafeArray(XArrayWriter& to, XILXConfigData record) { to.Put(record.object.Get(), std::move(record.values)); }

void ToSafeArray(XArrayWriter& to, XILXTypeComp record) {
    const auto put = [&to](XLXSafeArray& list) {
        if (list) { to.Put(std::move(list)); }
    };
    const auto present = [](const XLXSafeArray& list) { return ULONG{list ? 1U : 0U}; };
    to.Put(present(record.pages), present(record.groups), present(record.editors));
    put(record.pages);
    put(record.groups);
    put(record.editors);
    to.Put(present(record.attributes));
    put(record.attributes);
}

void ToSafeArray(XArrayWriter& to, XILXTypeData record) {
    to.Put(std::move(record.config), std::move(record.components));
    to.Put(record.baseIndex, record.listed, record.searchable);
}

void ToSafeArray(XArrayWriter& to, XILXAttributeData record) {
    to.Put(record.object.Get());
    AddAll(to, record.values);
    to.Put(CountOf(record.types.size()));
    for (XILXConfigData& type : record.types) {
        AddAll(to, type.values);
        to.Put(type.object.Get());
    }
}
} // namespace XLXCFCDataTransfer
