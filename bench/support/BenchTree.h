#pragma once

// The preference tree the store benchmarks read and write: 10 categories of 5 groups of 10
// items, 500 in all, the kinds in turn (integer, quantity, text, bool).

#include <memory>
#include <string>

#include "zevcore/quantities/Units.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"

namespace zevbench {

inline std::unique_ptr<CPreferenceManager> benchTree() {
    auto m = std::make_unique<CPreferenceManager>(0, "Bench");
    int key = 0;
    for (int c = 0; c < 10; ++c) {
        const int category = m->AddCategory(CString("Category ") + CString(std::to_string(c)), 0);
        for (int g = 0; g < 5; ++g) {
            const int group =
                m->AddGroup(CString("Group ") + CString(std::to_string(g)), 0, category);
            for (int i = 0; i < 10; ++i, ++key) {
                const CString name = CString("Item ") + CString(std::to_string(i));
                CPreferenceItem* item = nullptr;
                switch (key % 4) {
                    case 0:
                        item = new CIntPreference(name, 0, key, 1 << 20, 0);
                        break;
                    case 1:
                        item = new CQuantityPreference(name, 0, UNIT_LENGTH_SMALL, key * 0.5, 1.0,
                                                       0.0, 1e9);
                        break;
                    case 2:
                        item = new CStringPreference(name, 0, "a value of some length");
                        break;
                    default:
                        item = new CBoolPreference(name, 0, key & 1);
                        break;
                }
                m->AddPreference(key, item, group);
            }
        }
    }
    return m;
}

/// Gives every item of the tree a value of `round`'s, so that a write has all 500 to store.
inline void changeEvery(CPreferenceManager& m, int round) {
    for (const auto& [key, item] : m.Preferences()) {
        if (auto* i = dynamic_cast<CIntPreference*>(item)) i->SetValue((key + round) % 1000);
        if (auto* q = dynamic_cast<CQuantityPreference*>(item)) q->SetValue(key + round * 0.25);
        if (auto* s = dynamic_cast<CStringPreference*>(item))
            s->SetString(CString("a value of round ") + CString(std::to_string(round)));
        if (auto* b = dynamic_cast<CBoolPreference*>(item)) b->SetValue(round & 1);
    }
}

}  // namespace zevbench
