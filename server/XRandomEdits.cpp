// SPDX-License-Identifier: MIT
#include "XRandomEdits.h"

#include "XEditChoice.h"

using namespace LXRandom;

std::map<std::string, unsigned> LXRandomEdits(XServerEdits edits, unsigned seed, unsigned count, XNotify notify) {
    std::vector<XKind> kinds = KindsOfTypes();
    const std::vector<XKind> others = KindsOfOthers();
    kinds.insert(kinds.end(), others.begin(), others.end());
    std::vector<const XKind*> lots; // each kind as often as its weight
    for (const XKind& kind : kinds) {
        lots.insert(lots.end(), kind.weight, &kind);
    }

    XChoice choice(seed);
    std::map<std::string, unsigned> made;
    for (unsigned done = 0; done < count;) {
        const XKind& kind = *lots[choice.Below(lots.size())];
        Edit edit; // chosen under the model's lock; made without it
        edits.Change([&](XServerModel& model) { edit = kind.choose(model, choice); });
        if (edit) {
            edit(edits, notify);
            ++made[kind.name];
            ++done;
        }
    }
    return made;
}
