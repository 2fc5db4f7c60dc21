// SPDX-License-Identifier: MIT
//
// Direct notifications to a cached object that overtake a bulk read with its old values: the next read returns the new
// values.
#include "hostileserver.h"

namespace {
struct Overtaken {
    const char* name;
    const char* call;  ///< the call that the notification overtakes
    const char* reset; ///< the notification that causes this call
    bool onAttribute;  ///< notifies the attribute instead of its type
};

std::ostream& operator<<(std::ostream& out, const Overtaken& overtaken) { return out << overtaken.name; }

class StraightToAnObject : public HostileTest, public testing::WithParamInterface<Overtaken> {};

TEST_P(StraightToAnObject, IsNotLostInABulkRead) {
    const bool inType = GetParam().call == std::string("ILXType::GetTypeComponentData");
    ASSERT_EQ(Start(inType ? 0 : 15), S_OK);
    const auto type = Type("Pump");
    const auto head = Attribute("Pump", "Head");
    LXRead(head.Get(), XProperty::Label);
    const auto face = GetParam().onAttribute ? head.As<ILXCallbackUpdate>() : type.As<ILXCallbackUpdate>();
    m_server->SendNotification(GetParam().reset);
    bool pending = true;
    Calls().SetHook([&](const XServerCall& call) {
        if (call.name == GetParam().call && call.point == XCallPoint::Answer && pending) {
            pending = false;
            Edit().SetTypeProperty("Pump", XProperty::TypeLabel, "New type", XNotify::No);
            Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "New head", XNotify::No);
            const XLXComBSTR dataType(OLESTR("cfc_specific"));
            for (const OLECHAR* id : {OLESTR("properties/Pump/1/2"), OLESTR("properties/Pump/2/512")}) {
                EXPECT_EQ(face->DataObjectChanged(XLXComBSTR(XLXText(id)).Get(), dataType.Get(), 256, 900, 0, nullptr),
                          S_OK);
            }
        }
    });
    LXRead(Attribute("Pump", "Head").Get(), XProperty::Label); // causes the bulk read
    ASSERT_FALSE(pending);
    Calls().SetHook({});
    EXPECT_EQ(LXRead(Attribute("Pump", "Head").Get(), XProperty::Label), OLESTR("New head"));
    EXPECT_EQ(LXRead(head.Get(), XProperty::Label), OLESTR("New head"));
    if (!GetParam().onAttribute) { EXPECT_EQ(LXRead(type.Get(), XProperty::TypeLabel), OLESTR("New type")); }
    Terminate();
}

INSTANTIATE_TEST_SUITE_P(
    Hostile, StraightToAnObject,
    testing::Values(Overtaken{"TypeInTheTypeArray", "ILXConfigFactoryEx::GetTypeArrayEx", "objects/x/0/1", false},
                    Overtaken{"AttributeInTheTypeArray", "ILXConfigFactoryEx::GetTypeArrayEx", "objects/x/0/1", true},
                    Overtaken{"TypeInItsComponents", "ILXType::GetTypeComponentData", "objects/x/0/512", false},
                    Overtaken{"AttributeInComponents", "ILXType::GetTypeComponentData", "objects/x/0/512", true}),
    testing::PrintToStringParamName());
} // namespace
