// SPDX-License-Identifier: MIT
//
// A module that is loaded late gets thread-local variables for threads that are already running, and new ones when it
// is loaded again. Its data has all kinds of access at once.
#include "latemodule.h"
#include "synctools.h"

#include <set>
#include <vector>

namespace {
XLXText LatePath() {
    OLECHAR program[1024] = {};
    const DWORD length = GetModuleFileNameW(nullptr, program, static_cast<DWORD>(std::size(program)));
    const XLXTextView path(program, length);
    constexpr std::string_view Name = LX_LATEMODULE;
    return XLXText(path.substr(0, path.find_last_of(OLESTR("/\\")) + 1)) + XLXText(Name.begin(), Name.end());
}

TEST(LateModule, IsUsedByThreadsThatWereThereBefore) {
    constexpr unsigned Rounds = 8000;
    XActor actors[4];
    for (XActor& actor : actors) {
        actor.Do([] {});
    }
    for (int load = 0; load < 3; ++load) {
        HMODULE const module = LoadLibraryW(LatePath().c_str());
        ASSERT_NE(nullptr, module);
        const auto work = reinterpret_cast<LateWork>(reinterpret_cast<void*>(GetProcAddress(module, LateWorkName)));
        ASSERT_NE(nullptr, work);
        unsigned broken[4] = {};
        std::vector<std::future<unsigned>> done;
        for (int i = 0; i < 4; ++i) {
            done.push_back(actors[i].Start([&, i] { return work(Rounds, &broken[i]); }));
        }
        std::set<unsigned> indices;
        for (auto& one : done) {
            indices.insert(one.get());
        }
        EXPECT_EQ(4u, indices.size());
        for (const unsigned one : broken) {
            EXPECT_EQ(0u, one);
        }
        EXPECT_NE(FALSE, FreeLibrary(module));
    }
}
} // namespace
