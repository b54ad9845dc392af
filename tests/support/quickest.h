#pragma once

#include <algorithm>
#include <chrono>
#include <functional>

/// The shortest time of some runs of `measured`, each of which tells how long something took. A
/// machine that has other things to do makes any of them long, but none short; so they end with the
/// first one that is shorter than `enough`.
inline std::chrono::steady_clock::duration QuickestOf(
    int runs, std::chrono::milliseconds enough,
    const std::function<std::chrono::steady_clock::duration()>& measured) {
    auto quickest = std::chrono::steady_clock::duration::max();
    for (int run = 0; run < runs && quickest >= enough; ++run) {
        quickest = std::min(quickest, measured());
    }
    return quickest;
}
