// The synthetic recordings: determinism, plausible traces, every kind of event.
#include "simulate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

using namespace ctgtool;

namespace {

std::string csvOf(const SimulationOptions& options) {
    std::ostringstream out;
    writeRecordingCsv(out, simulate(options).recording);
    return out.str();
}

}  // namespace

TEST(Simulate, SameSeedGivesTheSameBytesOtherSeedsDiffer) {
    const std::string first = csvOf({20, 4, 7});
    EXPECT_EQ(first, csvOf({20, 4, 7}));
    EXPECT_NE(first, csvOf({20, 4, 8}));
    EXPECT_EQ(first.rfind("fhr,uc,fm\n", 0), 0u);
    EXPECT_THROW(simulate({0, 4, 1}), std::invalid_argument);
    EXPECT_THROW(simulate({10, 0, 1}), std::invalid_argument);
}

TEST(Simulate, PlausibleTracesWithEveryKindOfEventDrawn) {
    for (const int rate : {1, 2, 4}) {
        const Simulation simulation = simulate({30, rate, 3});
        const Recording& recording = simulation.recording;
        ASSERT_EQ(recording.samples(), 30 * 60 * rate);
        ASSERT_EQ(recording.uc.size(), recording.fhr.size());
        ASSERT_EQ(recording.fm.size(), recording.fhr.size());
        for (int i = 0; i < recording.samples(); ++i) {
            ASSERT_TRUE(recording.fhr[i] == 0 ||
                        (recording.fhr[i] >= 50 && recording.fhr[i] <= 230));
            ASSERT_TRUE(recording.uc[i] >= 0 && recording.uc[i] <= 100);
            ASSERT_TRUE(recording.fm[i] == 0 || recording.fm[i] == 4);
        }
    }
    const Simulation simulation = simulate({40, 4, 1});
    const Recording& recording = simulation.recording;
    std::set<SimulatedKind> kinds;
    for (const SimulatedEvent& event : simulation.events) {
        kinds.insert(event.kind);
        if (event.kind == SimulatedKind::SignalLoss) {
            EXPECT_EQ(recording.fhr[static_cast<int>((event.start + event.end) / 2 * 4)], 0);
        }
        if (event.kind == SimulatedKind::Movement) {
            EXPECT_EQ(recording.fm[static_cast<int>(event.start * 4) + 1], 4);
        }
    }
    const size_t decelerationKinds = kinds.erase(SimulatedKind::EarlyDeceleration) +
                                     kinds.erase(SimulatedKind::LateDeceleration);
    EXPECT_GT(decelerationKinds, 0u);
    EXPECT_EQ(kinds.size(), 4u);  // contractions, accelerations, movements, signal loss
    const auto lost = std::count(recording.fhr.begin(), recording.fhr.end(), 0);
    EXPECT_GT(lost, 0);
    EXPECT_LT(lost, recording.samples() / 10);
}
