// SPDX-License-Identifier: MIT
#include "XModelValue.h"
#include "XProgram.h"

#ifdef _WIN32
#include <windows.h>

#include <shellapi.h>
#endif

int main(int argc, char** argv) {
    std::vector<std::string> arguments;
#ifdef _WIN32
    (void)argv;
    LPWSTR* const wide = CommandLineToArgvW(GetCommandLineW(), &argc);
    for (int i = 1; i < argc; ++i) {
        arguments.push_back(LXToUtf8(wide[i]));
    }
    LocalFree(wide);
#else
    arguments.assign(argv + 1, argv + argc);
#endif
    return LXRunProgram(std::move(arguments));
}
