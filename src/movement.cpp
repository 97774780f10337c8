#include <algorithm>
#include <cstdint>

#include "algorithm.h"

namespace {

// Mark bits: 4 counts for modes 1 and 2, 8 for modes 0 and 2.
int markMask(int fmMode) {
    switch (fmMode) {
        case 0:
            return 8;
        case 2:
            return 12;
        default:
            return 4;
    }
}

}  // namespace

// Counts fetal movements: after a counted mark the following 300 s of marks are
// ignored.  The main scan tests the mode's mark bits; the last 300 s (or the
// whole channel when it is shorter) give at most one more movement, from a
// word that is exactly 4 or exactly 8.
void QK4_CFhrAlgorithm::cal_fm(int sampleRate, std::vector<int> marks, int marksPerSecond,
                               std::vector<int>& movementPositions, int& movementCount,
                               std::vector<int>& clearedList, int& movementTotal) const {
    movementCount = 0;
    movementTotal = 0;
    movementPositions.clear();
    clearedList.clear();
    if (marksPerSecond < 1) return;
    const int64_t n = static_cast<int64_t>(marks.size());
    const int64_t span = 300 * static_cast<int64_t>(marksPerSecond);
    const int64_t scale = sampleRate / marksPerSecond;
    const int mask = markMask(params.fmMode);

    auto count = [&](int64_t word) {
        ++movementCount;
        movementPositions.push_back(static_cast<int>(scale * word));
    };
    // The word at n - span - 1 is never examined.
    for (int64_t i = 0; i + 1 < n - span; ++i) {
        if ((marks[i] & mask) == 0) continue;
        count(i);
        std::fill(marks.begin() + i + 1, marks.begin() + std::min(i + span, n), 0);
    }
    for (int64_t j = std::max<int64_t>(n - span, 0); j < n; ++j) {
        if (marks[j] == 4 || marks[j] == 8) {
            count(j);
            break;
        }
    }
    movementTotal = movementCount;
}
