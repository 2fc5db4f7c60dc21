// SPDX-License-Identifier: MIT
//
// Direct notifications to a cached object that overtake a bulk read with its old values: the next read returns the new
// values.
#include "inside.h"

namespace {
struct Overtaken {
    const char* call;  ///< the call that the notification overtakes
    const char* reset; ///< the notification that causes this call
    LONG mode;
};
constexpr Overtaken Rows[] = {{"ILXConfigFactoryEx::GetTypeArrayEx", "objects/x/0/1", 15},
                              {"ILXType::GetTypeComponentData", "objects/x/0/512", 0}};

using DirectNotification = CacheTest;

TEST_F(DirectNotification, IsNotLostInABulkRead) {
    for (const Overtaken& row : Rows) {
        for (const bool onAttribute : {false, true}) { // or on its type
            SCOPED_TRACE(std::string(row.call) + (onAttribute ? ", attribute" : ", type"));
            ASSERT_EQ(Start(row.mode), S_OK);
            const auto type = Type("Pump");
            const auto head = Attribute("Pump", "Head");
            LXRead(head.Get(), XProperty::Label);
            m_server->SendNotification(row.reset);
            const std::string label = std::string("New ") + row.call + (onAttribute ? "a" : "t");
            {
                const Inside overtaken(Calls(), row.call, [&] {
                    Edit().SetTypeProperty("Pump", XProperty::TypeLabel, label, XNotify::No);
                    Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, label, XNotify::No);
                    for (const OLECHAR* id : {OLESTR("properties/Pump/1/2"), OLESTR("properties/Pump/2/512")}) {
                        onAttribute ? LXNotifyStraight(head, id) : LXNotifyStraight(type, id);
                    }
                });
                LXRead(Attribute("Pump", "Head").Get(), XProperty::Label); // causes the bulk read
            }
            EXPECT_EQ(LXNarrow(LXRead(head.Get(), XProperty::Label)), label);
            if (!onAttribute) { EXPECT_EQ(LXNarrow(LXRead(type.Get(), XProperty::TypeLabel)), label); }
            Terminate();
        }
    }
}
} // namespace
