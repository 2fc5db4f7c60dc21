// SPDX-License-Identifier: MIT
//
// The hand-written server as a program: serves until its standard input ends.
//   usage: lxhandserver [silent|edits]
#include "handserver.h"

#include <objbase.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    const std::string wish = argc > 1 ? argv[1] : "";
    DWORD cookie = 0;
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) ||
        FAILED(LXRegisterHandServer(wish != "silent", wish == "edits", &cookie))) {
        return 99;
    }
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != EOF) {}
    CoRevokeClassObject(cookie);
    std::_Exit(0); // the thread that edits has no end
}
