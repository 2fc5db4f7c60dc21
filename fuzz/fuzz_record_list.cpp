// SPDX-License-Identifier: MIT
#include "fuzztargets.h"

LX_FUZZ_TARGET(FuzzRecordList)
