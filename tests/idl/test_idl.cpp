// SPDX-License-Identifier: MIT
//
// The interface identifiers, from the C++ header and from the identifier source.
#include "XLXComPtr.h"
#include "recordlayout.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {
struct Identifier {
    const char* name;
    const GUID* linked; // from the identifier source
    const char* text;
    const GUID* attached; // attached to the type in the header; null for other identifiers than interfaces
};

template <class T> Identifier Interface(const char* name, const IID& linked, const char* text) {
    return {name, &linked, text, &LXIid<T>()};
}
#define INTERFACE_ID(type, text) Interface<type>(#type, IID_##type, text)

const Identifier identifiers[] = {
    INTERFACE_ID(ILXConfigFactoryCache, "75C6D1CE-9742-46E3-B2B4-A17D12B086E9"),
    INTERFACE_ID(ILXConfigFactory, "8918EDA0-4027-11D3-9A40-004005A1A59E"),
    INTERFACE_ID(ILXConfigObject, "FC256B8D-7BAE-4077-969A-1FCE3CD35282"),
    INTERFACE_ID(ILXType, "4952BF1A-3EA4-11D3-9A40-004005A1A59E"),
    INTERFACE_ID(ILXPage, "215C5820-3F48-11D3-9A40-004005A1A59E"),
    INTERFACE_ID(ILXGroup, "84F46D10-3F49-11D3-9A40-004005A1A59E"),
    INTERFACE_ID(ILXFormat, "B3C09875-1A05-4859-AAFB-46939AA42F67"),
    INTERFACE_ID(ILXAttribute, "C10B91A0-3F49-11D3-9A40-004005A1A59E"),
    INTERFACE_ID(ILXAttributeType, "E58A9820-401E-11D3-9A40-004005A1A59E"),
    INTERFACE_ID(ILXConfObjEditor, "B733B441-0993-403B-842B-A81FA5F4F7F1"),
    INTERFACE_ID(ILXParentChild, "FCB9A460-401E-11D3-9A40-004005A1A59E"),
    INTERFACE_ID(ILXPCInfo, "CEB94535-2294-4909-8AF1-17CE872FFA5D"),
    INTERFACE_ID(ILXBrowserId, "F74E33F0-458A-11D3-9A42-004005A1A59E"),
    INTERFACE_ID(ILXGlobalAttributeFormatSpec, "F8D21110-D44F-4DF9-9761-7C04AD68EAF0"),
    INTERFACE_ID(ILXTypeEnum, "AF443B53-441B-11D3-9A41-004005A6492D"),
    INTERFACE_ID(ILXPageEnum, "4F1629C0-4431-11D3-9A41-004005A6492D"),
    INTERFACE_ID(ILXGroupEnum, "5FBBF7B0-4431-11D3-9A41-004005A6492D"),
    INTERFACE_ID(ILXAttributeEnum, "68BF5CD0-4431-11D3-9A41-004005A6492D"),
    INTERFACE_ID(ILXAttributeTypeEnum, "71D82690-4431-11D3-9A41-004005A6492D"),
    INTERFACE_ID(ILXConfObjEditorEnum, "782F2DEC-48B8-404A-9078-411C4EB43A3B"),
    INTERFACE_ID(ILXParentChildEnum, "7A11D6F0-4431-11D3-9A41-004005A6492D"),
    INTERFACE_ID(ILXPCInfoEnum, "532E3750-7407-4645-9F28-E183D440776A"),
    INTERFACE_ID(ILXBrowserIdEnum, "8D734CD0-458A-11D3-9A42-004005A1A59E"),
    INTERFACE_ID(ILXGlobalAttributeFormatSpecEnum, "970DD6B3-5E5A-4A59-B736-92F3E6820B5F"),
    INTERFACE_ID(IEnumBaseDataObject, "FB1CBE60-3AB3-11D3-8A20-004005A1D91C"),
    INTERFACE_ID(ILX_Query, "CDB6FD2E-17F3-40AF-9051-68983F77DBE2"),
    INTERFACE_ID(ILX_BaseDataObject, "1E72CFD1-23BB-11D3-A3C2-004005A64960"),
    INTERFACE_ID(ILXDataUpdate, "C3319BAC-2FAD-11D3-8A16-004005A1D91C"),
    INTERFACE_ID(ILXCallback, "3517A600-32D8-11D3-8A17-004005A1D91C"),
    INTERFACE_ID(ILXCallbackUpdate, "86535410-77FB-11D3-8A42-004005A1D91C"),
    INTERFACE_ID(IDPFObject, "5D648827-D651-4B6C-B016-262A9BC5CFBD"),
    INTERFACE_ID(ILXServerEntryPoint, "063A84F0-7A3F-11D3-8A43-004005A1D91C"),
    INTERFACE_ID(ILXConfigFactoryEx, "858698CF-15E4-4923-BCB9-98B48800F18E"),
    INTERFACE_ID(ILXTypeCache, "DF019180-44E8-45EC-935E-3001B3038D25"),
    INTERFACE_ID(ILXTypeInheritance, "4463C251-9C1C-407B-A23D-DE06EE9B0B39"),
    INTERFACE_ID(ILXRelation, "9C1FD5BC-A8E6-48B5-8BC5-7D07EE759788"),
    INTERFACE_ID(IXCfgCacheCallback, "85FC821C-453F-45A9-B3EE-B6C4C8047018"),
    {"XCfgCacheCallback", &CLSID_XCfgCacheCallback, "6675C3C3-D0E2-4C53-BC04-DE4AFC185F15", nullptr},
    {"LXConfigFactoryCache", &CLSID_LXConfigFactoryCache, "C82DB2BE-0F06-4AD5-AF6F-6DADD1EAAF2E", nullptr},
    {"LXCONFIGFACTORYCACHELib", &LIBID_LXCONFIGFACTORYCACHELib, "3B700219-CA40-4C9A-B2E6-85B56601D125", nullptr},
};

std::string Text(const GUID& id) {
    char text[40];
    const auto* const d = id.Data4;
    std::snprintf(text, sizeof(text), "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                  static_cast<unsigned>(id.Data1), id.Data2, id.Data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
    return text;
}

TEST(Identifiers, AreThePublishedOnes) {
    for (const Identifier& id : identifiers) {
        EXPECT_EQ(Text(*id.linked), id.text) << id.name;
        if (id.attached != nullptr) { EXPECT_EQ(Text(*id.attached), id.text) << id.name; }
    }
}
} // namespace
