// Fetal movement counting from the mark channel: the main scan with its
// 300-second dead time and the single-movement tail scan.
#include <gtest/gtest.h>

#include <tuple>
#include <utility>
#include <vector>

#include "algorithm.h"

namespace {

constexpr int kEveryMark = 4;
constexpr int kOtherMark = 8;

// A channel of the given length with the given words at the given seconds.
std::vector<int> channel(int length, const std::vector<std::pair<int, int>>& words) {
    std::vector<int> marks(length, 0);
    for (const auto& [second, word] : words) marks[second] = word;
    return marks;
}

}  // namespace

TEST(CalFm, DeadTimeModeMaskAndTailScan) {
    struct Case {
        const char* what;
        std::vector<int> marks;
        int mode, sampleRate, marksPerSecond;
        std::vector<int> positions;
    };
    // clang-format off
    const Case cases[] = {
        // One movement per dead time, and one more from the tail.
        {"a mark every second", std::vector<int>(1200, kEveryMark), 1, 4, 1, {0, 1200, 2400, 3600}},
        {"empty channel", {}, 1, 4, 1, {}},
        // The word at n - 300 - 1 is never examined; the tail starts at n - 300.
        {"word 899 of 1200", channel(1200, {{899, kEveryMark}}), 1, 4, 1, {}},
        {"word 898 of 1200", channel(1200, {{898, kEveryMark}}), 1, 4, 1, {898 * 4}},
        // The main scan tests the mode's bits: 4 (mode 1), 8 (mode 0) or either (2).
        {"mode 2", channel(1200, {{100, kEveryMark}, {500, kOtherMark}}), 2, 1, 1, {100, 500}},
        {"mode 1, other bits", channel(1200, {{100, 12}, {500, 5}}), 1, 1, 1, {100, 500}},
        {"mode 1, no bit 4", channel(1200, {{100, 1}, {200, 2}, {300, 16}}), 1, 1, 1, {}},
        // The tail takes only words exactly 4 or 8, whatever the mode, and at most one.
        {"tail, mode 0", channel(1200, {{100, kEveryMark}, {1000, kEveryMark}}), 0, 1, 1, {1000}},
        {"tail, mode 1", channel(1200, {{1000, kOtherMark}}), 1, 1, 1, {1000}},
        {"tail, mixed words", channel(1200, {{950, 12}, {1100, 5}}), 2, 1, 1, {}},
        // 850 clears 851 .. 1149, so the tail finds 1160, not 1000.
        {"dead time into the tail",
         channel(1200, {{850, kEveryMark}, {1000, kEveryMark}, {1160, kEveryMark}}), 1, 2, 1,
         {1700, 2320}},
        {"shorter than the dead time: the tail only", channel(1, {{0, kEveryMark}}), 1, 4, 1, {0}},
        // Two words per second: a dead time of 600 words, positions scaled by 5 / 2.
        {"two words a second",
         channel(1000, {{100, kEveryMark}, {699, kEveryMark}, {700, kEveryMark}}), 1, 5, 2,
         {200, 1400}},
    };
    // clang-format on
    for (const Case& c : cases) {
        QK4_CFhrAlgorithm analyser;
        QK4_FhrParameter parameters = analyser.getParameter();
        parameters.fmMode = c.mode;
        analyser.setParameter(parameters);
        std::vector<int> positions{-1, -2}, cleared{99};
        int count = -7, total = -7;
        analyser.cal_fm(c.sampleRate, c.marks, c.marksPerSecond, positions, count, cleared, total);
        const int found = static_cast<int>(c.positions.size());
        EXPECT_EQ(std::tuple(positions, count, total, cleared),
                  std::tuple(c.positions, found, found, std::vector<int>{}))
            << c.what;
    }
}
