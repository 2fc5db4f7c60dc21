// SPDX-License-Identifier: MIT
#include "fuzztargets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzRecordList({data, size});
    return 0;
}
