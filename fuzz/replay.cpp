// SPDX-License-Identifier: MIT
//
// Replays the seeds of the fuzz targets as a test: targets must accept those named ok_ and refuse those named bad_.
#include "fuzztargets.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {
struct Target {
    const char* name;
    bool (*run)(XBytes);
};

std::ostream& operator<<(std::ostream& out, const Target& target) { return out << target.name; }

class Corpus : public testing::TestWithParam<Target> {};

TEST_P(Corpus, IsAcceptedOrRefusedByItsNames) {
    int taken = 0;
    int refused = 0;
    for (const auto& file :
         std::filesystem::directory_iterator(std::filesystem::path(LX_FUZZ_CORPUS) / GetParam().name)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::vector<char> content{std::istreambuf_iterator<char>(stream), {}};
        const std::vector<std::uint8_t> bytes(content.begin(), content.end());
        const bool expected = file.path().filename().string().starts_with("ok_");
        EXPECT_EQ(GetParam().run(bytes), expected) << file.path().filename();
        ++(expected ? taken : refused);
    }
    EXPECT_GT(taken, 0);
    EXPECT_GT(refused, 0);
}

INSTANTIATE_TEST_SUITE_P(Fuzz, Corpus,
                         testing::Values(Target{"fuzz_type_array", FuzzTypeArray},
                                         Target{"fuzz_attribute_list", FuzzAttributeList},
                                         Target{"fuzz_type_components", FuzzTypeComponents},
                                         Target{"fuzz_record_list", FuzzRecordList},
                                         Target{"fuzz_operations", FuzzOperations}),
                         testing::PrintToStringParamName());
} // namespace
