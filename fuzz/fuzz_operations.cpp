// SPDX-License-Identifier: MIT
#include "cachetargets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzOperations({data, size});
    return 0;
}
