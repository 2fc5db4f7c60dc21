// SPDX-License-Identifier: MIT
//
// What every kind of object must do alike, each in one table.
#include "objecttest.h"
#include "xcall.h"

#include "lxparentchildcache.h"

#include <iterator>
#include <set>
#include <sstream>

namespace {
class Methods : public ObjectTest {
protected:
    /// What a kind of object has of a configuration object, which it answers as a part of its own interface.
    ILXConfigObject* ConfigObject(const char* kind) const {
        for (const XFace& face : LXFacesOf(*m_world.Object(kind).Get())) {
            if (std::string(face.interface_->methods.front().name) == "Get") {
                return static_cast<ILXConfigObject*>(face.face);
            }
        }
        throw std::logic_error(std::string(kind) + " is no configuration object");
    }
    void ExpectNotOffered(const char* kind, const std::string& interface_, const std::set<std::string>& methods);
};

struct NotOffered {
    const char* kind;
    const char* interface_;
    const char* methods;
};
#define LX_BULK_ACCESS "Gets Sets GetProperties SetProperties "
constexpr NotOffered Refused[] = {
    {"manager", "ILXConfigFactory",
     "RemoveType GetPlanTypeEnum AddParentChild RemoveParentChild AddBrowserId RemoveBrowserId "
     "DeleteDatabase "
     "GetTypeArray GetTypeArrayByTypeName GetTypeArrayByTypeNameArray GetPCArray SetVersion"},
    {"manager", "ILXConfigFactoryCache", "GetTransientAttribute"},
    {"manager", "ILXServerEntryPoint", "SetEntryLong GetEntryObject GetEntryObjectByLong"},
    {"type", "ILXType",
     LX_BULK_ACCESS "AddPage RemovePage AddGroup RemoveGroup AddAttribute RemoveAttribute AddConfObjEditor "
                    "RemoveConfObjEditor Copy GetTypeComponentData"},
    {"type", "ILXTypeCache", "Reserved3 Reserved4 Reserved7"},
    {"type", "ILXTypeInheritance",
     "Reserved4 Reserved5 Reserved6 Reserved7 Reserved8 Reserved9 Reserved10 Reserved11 Reserved12 "
     "Reserved13 "
     "Reserved14 Reserved15"},
    {"page", "ILXPage", LX_BULK_ACCESS "dummy"},
    {"group", "ILXGroup", LX_BULK_ACCESS "dummy"},
    {"attribute", "ILXAttribute", LX_BULK_ACCESS},
    {"attribute type", "ILXAttributeType", LX_BULK_ACCESS "dummy"},
    {"format", "ILXFormat", LX_BULK_ACCESS "dummy"},
    {"editor", "ILXConfObjEditor", LX_BULK_ACCESS "dummy"},
    {"global format spec", "ILXGlobalAttributeFormatSpec", LX_BULK_ACCESS},
    {"browser id", "ILXBrowserId", LX_BULK_ACCESS "Set SetProperty dummy"},
    {"relation", "ILXParentChild", LX_BULK_ACCESS "AddPCInfo RemovePCInfo"},
    {"inherited relation", "ILXParentChild", LX_BULK_ACCESS "AddPCInfo RemovePCInfo"},
    {"PC info", "ILXPCInfo", LX_BULK_ACCESS "dummy"},
    {"transient relation", "ILXParentChild", LX_BULK_ACCESS "AddPCInfo RemovePCInfo"},
    {"transient PC info", "ILXPCInfo", LX_BULK_ACCESS "Set SetProperty dummy"},
    {"transient attribute", "ILXAttribute",
     LX_BULK_ACCESS "AddAttributeType RemoveAttributeType GetAttributeTypeEnum CreateFormat GetFormat DeleteFormat"},
};

void Methods::ExpectNotOffered(const char* kind, const std::string& interface_, const std::set<std::string>& methods) {
    std::size_t called = 0;
    for (const XFace& face : LXFacesOf(*m_world.Object(kind).Get())) {
        for (const XMethod& method : face.interface_->methods) {
            if (face.interface_->name != interface_ || methods.count(method.name) == 0) { continue; }
            SCOPED_TRACE(method.name);
            XCall call(m_world, method);
            EXPECT_EQ(call.Run(face.face), E_NOTIMPL);
            for (std::size_t i = 0; i < method.parameters.size(); ++i) {
                EXPECT_TRUE(!method.parameters[i].HandsOver() || call.What(i) == XCall::Left::Null);
            }
            ++called;
        }
    }
    EXPECT_EQ(called, methods.size());
    EXPECT_FALSE(LXErrorInformation::Take().present);
}

TEST_F(Methods, WhatIsNotOfferedIsRefusedWithABareCode) {
    SetErrorInfo(0, nullptr);
    for (const NotOffered& row : Refused) {
        SCOPED_TRACE(row.kind);
        std::istringstream words(row.methods);
        ExpectNotOffered(row.kind, row.interface_,
                         {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()});
    }
}

/// A property that a kind of object has, by index and by name; null text: any.
struct Property {
    const char* kind;
    int index;
    const OLECHAR* name;
    const OLECHAR* text;
    bool readOnly = false;
};
const Property Properties[] = {
    {"type", 0, OLESTR("LXCFG_typename"), OLESTR("Area")},
    {"page", 6, OLESTR("LXCFG_pagenumber"), OLESTR("1")},
    {"group", 2, OLESTR("LXCFG_groupnumber"), OLESTR("1")},
    {"attribute", 0, OLESTR("LXCFG_attributename"), OLESTR("Size")},
    {"attribute type", 3, OLESTR("LXCFG_attributetypename"), OLESTR("Big")},
    {"format", 0, OLESTR("LXCFG_attributename"), nullptr},
    {"editor", 3, OLESTR("LXCFG_progid"), OLESTR("E.Area")},
    {"global format spec", 0, OLESTR("LXCFGAFS_attributepropertyid"), nullptr},
    {"browser id", 0, OLESTR("LXCFG_browserid"), OLESTR("List"), true},
    {"inherited relation", 0, OLESTR("LXCFPC_childlistname"), OLESTR("nodes")},
    {"inherited relation", 19, OLESTR("LXCFPC_parentname"), OLESTR("Derived"), true},
    {"relation", 1, OLESTR("LXCFPC_childname"), OLESTR("Node")},
    {"PC info", 1, OLESTR("LXCFG_pcinfobrowserid"), OLESTR("List")},
    {"transient relation", 19, OLESTR("LXCFPC_parentname"), OLESTR("Plan")},
    {"transient PC info", 1, OLESTR("LXCFG_pcinfobrowserid"), OLESTR("Tree"), true},
    {"transient attribute", 0, OLESTR("LXCFG_attributename"), OLESTR("N")},
};

TEST_F(Methods, AValueIsTheSameByIndexAndByName) {
    for (const Property& row : Properties) {
        SCOPED_TRACE(row.kind);
        ILXConfigObject* const object = ConfigObject(row.kind);
        const XLXComBSTR name(row.name);
        const auto byName = [&] {
            XLXComVariant value;
            EXPECT_EQ(object->Get(name.Get(), value.Put()), S_OK);
            return value.AsText();
        };
        const XLXText first = LXRead(object, row.index);
        EXPECT_EQ(byName(), first);
        EXPECT_TRUE(row.text == nullptr || first == row.text);
        const auto wanted = [&](const OLECHAR* text) { return row.readOnly ? first : XLXText(text); };
        object->Set(name.Get(), XLXComVariant::FromBstr(OLESTR("by name")).Get());
        EXPECT_EQ(LXRead(object, row.index), wanted(OLESTR("by name")));
        object->SetProperty(row.index, XLXComVariant::FromBstr(OLESTR("by index")).Get());
        EXPECT_EQ(byName(), wanted(OLESTR("by index")));
    }
    // What is written to an inherited relation is the base's.
    EXPECT_EQ(LXRead(ConfigObject("relation"), LXRM_CHILDLISTNAME), OLESTR("by index"));
}

/// Kinds that take notifications, and the server's method that tells when their values are read again.
constexpr const char* Notified[][2] = {{"type", "ILXType"},
                                       {"page", "ILXPage"},
                                       {"group", "ILXGroup"},
                                       {"attribute", "ILXAttribute"},
                                       {"format", "ILXFormat"},
                                       {"attribute type", "ILXAttributeType"},
                                       {"editor", "ILXConfObjEditor"},
                                       {"global format spec", "ILXGlobalAttributeFormatSpec"},
                                       {"relation", "ILXParentChild"},
                                       {"browser id", "ILXBrowserId"},
                                       {"PC info", "ILXPCInfo"}};

TEST_F(Methods, EveryCachedObjectIsACallback) {
    const XLXComBSTR id(OLESTR("objects/x/0/1"));
    const XLXComBSTR dataType(OLESTR("cfc_specific"));
    for (const auto& [kind, interface_] : Notified) {
        SCOPED_TRACE(kind);
        const auto callback = Of<ILXCallbackUpdate>(kind);
        ASSERT_TRUE(callback);
        EXPECT_EQ(callback->CheckCallbackValid(), S_OK);
        EXPECT_EQ(callback->SetCallbackId(7), S_OK);
        tagLXClientInfo info = {};
        EXPECT_EQ(callback->GetClientInfo(&info), S_OK);
        XLXComBSTR texts[3]; // computer, user, password
        texts[0].Attach(info.bstrComputerName);
        texts[1].Attach(info.bstrUserName);
        texts[2].Attach(info.bstrPWD);
        EXPECT_EQ(info.ulProcessID, GetCurrentProcessId());
        EXPECT_TRUE(!texts[0].View().empty() && texts[1].View() == texts[0].View() && texts[2].View().empty());
        EXPECT_EQ(callback->ServerIsTerminating(), S_OK);
        const std::string method = std::string(interface_) + "::GetProperties";
        ILXConfigObject* const object = ConfigObject(kind);
        LXRead(object, 0);
        const auto before = CallsOf(method);
        const XLXText served = LXRead(object, 0); // the end of the server empties nothing
        EXPECT_EQ(CallsOf(method), before);
        EXPECT_EQ(callback->DataObjectChanged(id.Get(), dataType.Get(), 0, 1, 0, nullptr), S_OK);
        EXPECT_EQ(LXRead(object, 0), served);
        EXPECT_EQ(CallsOf(method), before + 1);
    }
}

} // namespace
