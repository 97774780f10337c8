// The synthetic recordings: plausible traces at every rate (the expected outputs of
// the tool tests pin the example recordings themselves).
#include "recordings/simulate.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace ctgtool;

TEST(Simulate, PlausibleTracesAtEveryRateAndBadOptionsRefused) {
    EXPECT_THROW(simulate({0, 4, 1}), std::invalid_argument);
    EXPECT_THROW(simulate({10, 0, 1}), std::invalid_argument);

    for (const int rate : {1, 2, 4}) {
        const Recording recording = simulate({40, rate, 1});
        ASSERT_EQ(recording.samples(), 40 * 60 * rate);
        ASSERT_TRUE(recording.uc.size() == recording.fhr.size() &&
                    recording.fm.size() == recording.fhr.size());
        for (int i = 0; i < recording.samples(); ++i) {
            ASSERT_TRUE(recording.fhr[i] == 0 ||
                        (recording.fhr[i] >= 50 && recording.fhr[i] <= 230));
            ASSERT_TRUE(recording.uc[i] >= 0 && recording.uc[i] <= 100);
            ASSERT_TRUE(recording.fm[i] == 0 || recording.fm[i] == 4);
        }
        const auto lost = std::count(recording.fhr.begin(), recording.fhr.end(), 0);
        EXPECT_TRUE(lost > 0 && lost < recording.samples() / 10) << rate;
    }
}
