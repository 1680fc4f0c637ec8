#pragma once

// One piece of work done by one side (ZEVCore or a peer). prepare() sets the work up, outside
// what is measured, and hands back the step that is repeated; an empty step means it could not
// be set up.

#include <functional>
#include <vector>

namespace peers {

struct Case {
    const char* work;
    const char* side;
    std::function<std::function<void()>()> prepare;
};

std::vector<Case> expressionCases();
std::vector<Case> xmlCases();
std::vector<Case> dxfCases();
std::vector<Case> meshCases();
std::vector<Case> otherCases();

inline std::vector<Case> allCases() {
    std::vector<Case> all;
    for (auto family : {expressionCases, xmlCases, dxfCases, meshCases, otherCases})
        for (Case& c : family()) all.push_back(std::move(c));
    return all;
}

/// Keeps a value alive as far as the optimizer knows.
template <class T>
inline void keep(const T& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

}  // namespace peers
