// Fetal movement counting from the mark channel: the main scan with its
// 300-second dead time and the single-movement tail scan.
#include <gtest/gtest.h>

#include <vector>

#include "algorithm.h"

namespace {

constexpr int kEveryMark = 4;
constexpr int kOtherMark = 8;

struct Movements {
    std::vector<int> positions;
    int count = -7;
    std::vector<int> cleared{99};
    int total = -7;
};

class CalFm : public testing::Test {
protected:
    void setMode(int mode) {
        QK4_FhrParameter parameters = analyser.getParameter();
        parameters.fmMode = mode;
        analyser.setParameter(parameters);
    }

    Movements count(const std::vector<int>& marks, int sampleRate = 4, int marksPerSecond = 1) {
        Movements found;
        found.positions = {-1, -2};
        analyser.cal_fm(sampleRate, marks, marksPerSecond, found.positions, found.count,
                        found.cleared, found.total);
        EXPECT_EQ(found.total, found.count);
        EXPECT_TRUE(found.cleared.empty());
        EXPECT_EQ(found.count, static_cast<int>(found.positions.size()));
        return found;
    }

    std::vector<int> positions(const std::vector<int>& marks, int sampleRate = 4,
                               int marksPerSecond = 1) {
        return count(marks, sampleRate, marksPerSecond).positions;
    }

    // A channel of the given length with the given words at the given seconds.
    static std::vector<int> channel(int length, const std::vector<std::pair<int, int>>& words) {
        std::vector<int> marks(length, 0);
        for (const auto& [second, word] : words) marks[second] = word;
        return marks;
    }

    QK4_CFhrAlgorithm analyser;
};

}  // namespace

TEST_F(CalFm, MarkEverySecondCountsOncePerFiveMinutesPlusTheTail) {
    const auto found = count(std::vector<int>(1200, kEveryMark), 4);
    EXPECT_EQ(found.count, 4);
    EXPECT_EQ(found.positions, (std::vector<int>{0, 1200, 2400, 3600}));
}

TEST_F(CalFm, EmptyChannelGivesNothing) {
    EXPECT_EQ(count(std::vector<int>(1200, 0)).count, 0);
    EXPECT_EQ(count({}).count, 0);
}

TEST_F(CalFm, LastWordBeforeTheTailIsNeverExamined) {
    EXPECT_TRUE(positions(channel(1200, {{899, kEveryMark}})).empty());
    EXPECT_EQ(positions(channel(1200, {{898, kEveryMark}})), std::vector<int>{898 * 4});
    EXPECT_EQ(positions(channel(1200, {{900, kEveryMark}})), std::vector<int>{900 * 4});
}

TEST_F(CalFm, MainScanTestsTheModeMask) {
    const auto marks = channel(1200, {{100, kEveryMark}, {500, kOtherMark}});
    setMode(1);
    EXPECT_EQ(positions(marks, 1), std::vector<int>{100});
    setMode(0);
    EXPECT_EQ(positions(marks, 1), std::vector<int>{500});
    setMode(2);
    EXPECT_EQ(positions(marks, 1), (std::vector<int>{100, 500}));

    setMode(1);
    EXPECT_EQ(positions(channel(1200, {{100, 12}, {500, 5}}), 1), (std::vector<int>{100, 500}));
    EXPECT_TRUE(positions(channel(1200, {{100, 1}, {200, 2}, {300, 16}}), 1).empty());
}

TEST_F(CalFm, TailTakesOnlyExactWordsWhateverTheMode) {
    setMode(0);
    EXPECT_EQ(positions(channel(1200, {{100, kEveryMark}, {1000, kEveryMark}}), 1),
              std::vector<int>{1000});
    setMode(1);
    EXPECT_EQ(positions(channel(1200, {{1000, kOtherMark}}), 1), std::vector<int>{1000});
    for (int mode : {0, 1, 2}) {
        setMode(mode);
        EXPECT_TRUE(positions(channel(1200, {{950, 12}, {1100, 5}}), 1).empty()) << mode;
    }
}

TEST_F(CalFm, TailYieldsAtMostOneMovement) {
    EXPECT_EQ(positions(channel(1200, {{950, kEveryMark}, {1100, kEveryMark}}), 1),
              std::vector<int>{950});
}

TEST_F(CalFm, DeadTimeReachesIntoTheTail) {
    // 850 clears 851 .. 1149, so the tail finds 1160 and not 1000.
    const auto marks = channel(1200, {{850, kEveryMark}, {1000, kEveryMark}, {1160, kEveryMark}});
    EXPECT_EQ(positions(marks, 2), (std::vector<int>{1700, 2320}));
    // The word 299 seconds later is cleared, the one 300 seconds later counts.
    EXPECT_EQ(positions(channel(1200, {{100, kEveryMark}, {399, kEveryMark}, {400, kEveryMark}}), 1),
              (std::vector<int>{100, 400}));
}

TEST_F(CalFm, ChannelOfExactlyTheDeadTimeIsOneTail) {
    const auto found = count(channel(300, {{10, kEveryMark}, {20, kOtherMark}}), 4);
    EXPECT_EQ(found.positions, std::vector<int>{40});
}

TEST_F(CalFm, ShortChannelIsScannedAsATailFromTheFirstWord) {
    EXPECT_EQ(positions(channel(100, {{50, kOtherMark}, {70, kEveryMark}}), 4),
              std::vector<int>{200});
    EXPECT_EQ(positions(channel(1, {{0, kEveryMark}}), 4), std::vector<int>{0});
}

TEST_F(CalFm, FirstWordIsLostWhenTheChannelIsOneWordLongerThanTheTail) {
    // 301 words: no main scan, and the tail starts at word 1.
    EXPECT_TRUE(positions(channel(301, {{0, kEveryMark}})).empty());
    EXPECT_EQ(positions(channel(302, {{0, kEveryMark}})), std::vector<int>{0});
}

TEST_F(CalFm, SeveralWordsPerSecond) {
    // Two words per second: a dead time of 600 words, positions scaled by 5 / 2 = 2.
    const auto marks = channel(1000, {{100, kEveryMark}, {699, kEveryMark}, {700, kEveryMark}});
    EXPECT_EQ(positions(marks, 5, 2), (std::vector<int>{200, 1400}));
}
