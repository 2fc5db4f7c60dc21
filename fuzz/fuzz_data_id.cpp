// SPDX-License-Identifier: MIT
#include "cachetargets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzDataId({data, size});
    return 0;
}
