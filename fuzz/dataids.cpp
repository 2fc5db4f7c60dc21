// SPDX-License-Identifier: MIT
//
// Notifications of every form.
#include "XDataId.h"
#include "cachetargets.h"

namespace {
constexpr const char* DataTypes[] = {"cfc_specific", "cfc", "", "CFC_SPECIFIC"};
constexpr const char* Pieces[] = {
    "objects",    "properties", "pc", "searchable",       "/", "//", "0",   "1",       "2",           "512", "-1",
    "2147483648", "Pump",       "64", "\xF0\x90\x80\x80", " ", "+",  "0x2", "Objects", "cfc_forward/"};

/// Any text: common pieces, narrow characters, and units that may be invalid UTF-16.
XLXText TextFrom(Decisions& decisions) {
    XLXText text;
    while (!decisions.Empty()) {
        const std::uint8_t piece = decisions.Byte();
        if (piece < std::size(Pieces)) {
            text += LXFromUtf8(Pieces[piece]);
        } else if (piece == 0xFF) {
            const int high = decisions.Byte();
            text.push_back(static_cast<OLECHAR>(high << 8 | decisions.Byte()));
        } else {
            text.push_back(piece);
        }
    }
    return text;
}

/// The callback of a cached object, or the manager's.
XLXComPtr<ILXCallbackUpdate> Receiver(const FuzzCache& cache, int which) {
    const auto type = cache.Type(OLESTR("Pump"));
    XLXComPtr<ILXAttribute> attribute;
    XLXComPtr<ILXFormat> format;
    type->GetAttribute(XLXComBSTR(OLESTR("Head")).Get(), attribute.Put());
    switch (which) {
    case 0: return cache.Cache().As<ILXCallbackUpdate>();
    case 1: return type.As<ILXCallbackUpdate>();
    case 2: return attribute.As<ILXCallbackUpdate>();
    default: attribute->GetFormat(1, format.Put()); return format.As<ILXCallbackUpdate>();
    }
}

/// One cache for all executions, so that each one begins with values that were read.
FuzzCache& SharedCache() {
    static FuzzCache& cache = *[] {
        auto* const made = new FuzzCache;
        made->Start(15);
        return made;
    }();
    return cache;
}

/// One question of each kind: a notification through the manager concerns kinds, not single objects.
void CompareKinds(const FuzzCache& cache) {
    const XLXText pump = OLESTR("Pump");
    static const XInquiry inquiries[] = {{XTopic::TypeValues, pump},
                                         {XTopic::Groups, pump},
                                         {XTopic::AttributeValues, pump, OLESTR("Head")},
                                         {XTopic::AttributeValues, pump, OLESTR("Name")},
                                         {XTopic::AttributeFormats, pump, OLESTR("Head"), 1},
                                         {XTopic::SearchableTypes},
                                         {XTopic::BrowserIds},
                                         {XTopic::Specs},
                                         {XTopic::Relations}};
    for (const XInquiry& inquiry : inquiries) {
        cache.Compare(inquiry);
    }
}
} // namespace

bool FuzzDataId(XBytes bytes) {
    static int executions = 0;
    FuzzCache& cache = SharedCache();
    Decisions decisions(bytes);
    const auto receiver = Receiver(cache, decisions.Of(4));
    const XLXComBSTR dataType(LXFromUtf8(decisions.OneOf(DataTypes)));
    const ULONG notificationId = 0x80000000U | decisions.Byte(); // never one of the server's
    const XLXText text = TextFrom(decisions);
    const XLXComBSTR id(text);
    const HRESULT result = receiver->DataObjectChanged(id.Get(), dataType.Get(), 256, notificationId, 0, nullptr);
    LXRequire(result == S_OK, "a notification is accepted, whatever its data id");
    CompareKinds(cache);
    // The next notification must not be suppressed either.
    cache.Server().Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, std::to_string(++executions % 10));
    CompareKinds(cache);
    return XDataId::Parse(text).kind != LXDataIdKind::Other;
}
