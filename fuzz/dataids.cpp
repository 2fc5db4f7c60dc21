// SPDX-License-Identifier: MIT
//
// Notifications of every shape.
#include "XDataId.h"
#include "cachetargets.h"

namespace {
constexpr const char* DataTypes[] = {"cfc_specific", "cfc", "", "CFC_SPECIFIC"};
constexpr const char* Pieces[] = {
    "objects",    "properties", "pc", "searchable",       "/", "//", "0",   "1",       "2",           "512", "-1",
    "2147483648", "Pump",       "64", "\xF0\x90\x80\x80", " ", "+",  "0x2", "Objects", "cfc_forward/"};

/// Text of any kind: common pieces, narrow characters, and units that need not be valid UTF-16.
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

/// One of the cached objects' own callbacks, or the manager's.
XLXComPtr<ILXCallbackUpdate> Receiver(ILXConfigFactory& cache, int which) {
    XLXComPtr<ILXType> type;
    XLXComPtr<ILXAttribute> attribute;
    XLXComPtr<ILXGroup> group;
    XLXComPtr<ILXPage> page;
    XLXComPtr<ILXFormat> format;
    XLXComPtr<ILXBrowserIdEnum> browsers;
    XLXComPtr<ILXBrowserId> browser;
    XLXComPtr<ILXParentChildEnum> relations;
    XLXComPtr<ILXParentChild> relation;
    cache.GetType(XLXComBSTR(OLESTR("Pump")).Get(), nullptr, type.Put());
    type->GetAttribute(XLXComBSTR(OLESTR("Head")).Get(), attribute.Put());
    switch (which) {
    case 0: return XLXComPtr<ILXConfigFactory>(&cache).As<ILXCallbackUpdate>();
    case 1: return type.As<ILXCallbackUpdate>();
    case 2: return attribute.As<ILXCallbackUpdate>();
    case 3: type->GetGroup(3, group.Put()); return group.As<ILXCallbackUpdate>();
    case 4:
        cache.GetType(XLXComBSTR(OLESTR("Item")).Get(), nullptr, type.Put());
        type->GetPage(1, page.Put());
        return page.As<ILXCallbackUpdate>();
    case 5: attribute->GetFormat(1, format.Put()); return format.As<ILXCallbackUpdate>();
    case 6:
        cache.GetBrowserIdEnum(browsers.Put());
        browsers->GetSingleNext(browser.Put());
        return browser.As<ILXCallbackUpdate>();
    default:
        cache.GetParentChildEnum(XLXComBSTR(OLESTR("Pump")).Get(), nullptr, relations.Put());
        relations->GetSingleNext(relation.Put());
        return relation.As<ILXCallbackUpdate>();
    }
}

/// One cache for all executions: every one begins with values that were read.
FuzzCache& SharedCache() {
    static FuzzCache& cache = *[] {
        auto* const made = new FuzzCache;
        made->Start(15);
        return made;
    }();
    return cache;
}

void CompareAll(const FuzzCache& cache) {
    for (const Question& question :
         {Question{Question::TypeProperty, "Pump", "", 0, XProperty::TypeLabel},
          Question{Question::AttributeProperty, "Pump", "Head", 0, XProperty::Label},
          Question{Question::AttributeProperty, "Pump", "Name", 0, XProperty::Label},
          Question{Question::AttributeFormat, "Pump", "Head", 1, 0},
          Question{Question::GroupProperty, "Pump", "", 3, XProperty::GroupLabel},
          Question{Question::BrowserIds, "", "", 0, 0}, Question{Question::Relations, "Pump", "", 0, 0},
          Question{Question::GlobalSpecs, "", "", 1, 0}, Question{Question::SearchableTypes, "", "", 0, 0}}) {
        cache.Compare(question);
    }
}
} // namespace

bool FuzzDataId(XBytes bytes) {
    static int executions = 0;
    FuzzCache& cache = SharedCache();
    Decisions decisions(bytes);
    const auto receiver = Receiver(*cache.Cache().Get(), decisions.Of(8));
    const XLXComBSTR dataType(LXFromUtf8(decisions.OneOf(DataTypes)));
    const ULONG notificationId = 0x80000000U | decisions.Byte(); // never one of the server's
    const XLXText text = TextFrom(decisions);
    const XLXComBSTR id(text);
    const HRESULT result = receiver->DataObjectChanged(id.Get(), dataType.Get(), 256, notificationId, 0, nullptr);
    LXRequire(result == S_OK, "a notification is taken whatever its data id is");
    CompareAll(cache);
    // It must not stand in the way of the next one either.
    cache.Server().Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, std::to_string(++executions % 10));
    CompareAll(cache);
    return XDataId::Parse(text).kind != LXDataIdKind::Other;
}
