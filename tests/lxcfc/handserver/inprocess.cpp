// SPDX-License-Identifier: MIT
//
// lxcfc with the hand-written server in the same process, for platforms on which a server has no process of its own.
#include "XProgram.h"
#include "handserver.h"

#include <objbase.h>

#include <cstdlib>

int main(int argc, char** argv) {
    const std::string wish = std::getenv("LX_HANDSERVER") != nullptr ? std::getenv("LX_HANDSERVER") : "";
    DWORD cookie = 0;
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) ||
        FAILED(LXRegisterHandServer(wish != "silent", wish == "edits", &cookie))) {
        return 99;
    }
    const int status = LXRunProgram(std::vector<std::string>(argv + 1, argv + argc));
    CoRevokeClassObject(cookie);
    CoUninitialize();
    return status;
}
