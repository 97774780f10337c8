// The synthetic recordings: determinism, shape, and that the library finds
// the events where the generator put them.
#include "simulate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "analysis.h"

using namespace ctgtool;

namespace {

std::string csvOf(const SimulationOptions& options) {
    std::ostringstream out;
    writeRecordingCsv(out, simulate(options).recording);
    return out.str();
}

std::vector<SimulatedEvent> eventsOf(const Simulation& simulation,
                                     std::vector<SimulatedKind> kinds) {
    std::vector<SimulatedEvent> chosen;
    for (const SimulatedEvent& event : simulation.events) {
        if (std::find(kinds.begin(), kinds.end(), event.kind) != kinds.end())
            chosen.push_back(event);
    }
    return chosen;
}

// A detected interval [start, end] in samples overlaps a placed event (seconds, 10 s slack).
bool overlaps(const Event& found, const SimulatedEvent& placed, int rate) {
    return found.start < (placed.end + 10.0) * rate && found.end > (placed.start - 10.0) * rate;
}

int matched(const std::vector<Event>& found, const std::vector<SimulatedEvent>& placed, int rate) {
    return static_cast<int>(
        std::count_if(placed.begin(), placed.end(), [&](const SimulatedEvent& event) {
            return std::any_of(found.begin(), found.end(), [&](const Event& candidate) {
                return overlaps(candidate, event, rate);
            });
        }));
}

}  // namespace

TEST(Simulate, SameSeedGivesTheSameBytesOtherSeedsDiffer) {
    const std::string first = csvOf({20, 4, 7});
    EXPECT_EQ(first, csvOf({20, 4, 7}));
    EXPECT_NE(first, csvOf({20, 4, 8}));
    EXPECT_EQ(first.rfind("fhr,uc,fm\n", 0), 0u);
}

TEST(Simulate, TracesHaveTheRequestedLengthAndPlausibleValues) {
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
    EXPECT_THROW(simulate({0, 4, 1}), std::invalid_argument);
    EXPECT_THROW(simulate({10, 0, 1}), std::invalid_argument);
}

TEST(Simulate, PlacesEveryKindOfEventAndDrawsLossAndMarks) {
    const Simulation simulation = simulate({40, 4, 1});
    const Recording& recording = simulation.recording;
    for (SimulatedKind kind : {SimulatedKind::Contraction, SimulatedKind::Acceleration,
                               SimulatedKind::Movement, SimulatedKind::SignalLoss}) {
        EXPECT_FALSE(eventsOf(simulation, {kind}).empty()) << static_cast<int>(kind);
    }
    EXPECT_FALSE(
        eventsOf(simulation, {SimulatedKind::EarlyDeceleration, SimulatedKind::LateDeceleration})
            .empty());
    for (const SimulatedEvent& loss : eventsOf(simulation, {SimulatedKind::SignalLoss})) {
        EXPECT_EQ(recording.fhr[static_cast<int>((loss.start + loss.end) / 2 * 4)], 0);
    }
    for (const SimulatedEvent& mark : eventsOf(simulation, {SimulatedKind::Movement})) {
        EXPECT_EQ(recording.fm[static_cast<int>(mark.start * 4) + 1], 4);
    }
    const auto lost = std::count(recording.fhr.begin(), recording.fhr.end(), 0);
    EXPECT_GT(lost, 0);
    EXPECT_LT(lost, recording.samples() / 10);
}

TEST(Simulate, KrebsFindsThePlacedAccelerationsAndDecelerations) {
    int placedAccelerations = 0, foundAccelerations = 0, placedDecelerations = 0,
        foundDecelerations = 0;
    for (std::uint64_t seed = 1; seed <= 5; ++seed) {
        const Simulation simulation = simulate({40, 4, seed});
        AnalysisOptions options;
        options.methods = {Method::Krebs};
        const MethodResult krebs = analyze(simulation.recording, options).front();
        ASSERT_TRUE(krebs.ok) << krebs.error;
        const auto accelerations = eventsOf(simulation, {SimulatedKind::Acceleration});
        const auto decelerations = eventsOf(
            simulation, {SimulatedKind::EarlyDeceleration, SimulatedKind::LateDeceleration});
        // Nothing is found where nothing was placed.
        for (const Event& found : krebs.accelerations) {
            EXPECT_TRUE(std::any_of(
                accelerations.begin(), accelerations.end(),
                [&](const SimulatedEvent& placed) { return overlaps(found, placed, 4); }))
                << "seed " << seed << ": acceleration at sample " << found.start;
        }
        placedAccelerations += static_cast<int>(accelerations.size());
        foundAccelerations += matched(krebs.accelerations, accelerations, 4);
        placedDecelerations += static_cast<int>(decelerations.size());
        foundDecelerations += matched(krebs.decelerations, decelerations, 4);
        EXPECT_GE(krebs.record.baselineFhr, 120);
        EXPECT_LE(krebs.record.baselineFhr, 155);
    }
    EXPECT_GE(foundAccelerations, placedAccelerations * 9 / 10);
    EXPECT_GE(foundDecelerations, placedDecelerations * 8 / 10);
}
