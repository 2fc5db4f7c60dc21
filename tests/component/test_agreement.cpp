// SPDX-License-Identifier: MIT
//
// The cache and the server must give the same answers to all requests: without edits, after many edits, and while a
// notification that makes everything stale overtakes every call to the server.
#include "XRandomEdits.h"
#include "cachefixture.h"

#include <random>

namespace {
XServerModel GeneratedModel(int types, int attributesPerType) {
    XGeneratorOptions options;
    options.types = types;
    options.attributesPerType = attributesPerType;
    return LXGenerateModel(options);
}
} // namespace

/// Bulk records come with the server's objects or without them.
class Agreement : public CacheTest, public testing::WithParamInterface<bool> {
protected:
    explicit Agreement(XServerModel model = GeneratedModel(24, 6)) : CacheTest(std::move(model)) {}

    /// Compares all answers of the cache and the server.
    void ExpectAgreement() {
        for (const XInquiry& inquiry : LXEveryInquiry(m_server->Model())) {
            if (inquiry.topic <= XTopic::BrowserIds) { continue; }
            ASSERT_EQ("", LXDifference(*Factory().Get(), *m_server->ConfigFactory().Get(), inquiry));
        }
    }
};

TEST_P(Agreement, BeforeAndAfterRandomEdits) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    m_server->DeliverComponentObjects(GetParam());
    ASSERT_EQ(Start(), S_OK);
    ExpectAgreement();
    for (unsigned round = 0; round < 5; ++round) {
        LXRandomEdits(*m_server, seed + round, 20);
        ExpectAgreement();
    }
}

INSTANTIATE_TEST_SUITE_P(Records, Agreement, testing::Bool(),
                         [](const auto& test) { return test.param ? "WithObjects" : "WithoutObjects"; });

class Discarding : public Agreement {
protected:
    Discarding() : Agreement(GeneratedModel(4, 2)) {}
};

TEST_P(Discarding, EveryCallIsOvertakenByANotificationOfEverything) {
    ASSERT_EQ(Start(), S_OK);
    Discard(GetParam());
    ExpectAgreement();
    Edit().AddAttribute("Type00000", "Late");
    ExpectAgreement();
}

INSTANTIATE_TEST_SUITE_P(NotificationThread, Discarding, testing::Bool(),
                         [](const auto& test) { return test.param ? "Other" : "Same"; });
