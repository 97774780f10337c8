// The fast baseline must give the same bits as the written form on every input.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>

#include "algorithm.h"
#include "test_support.h"

namespace {

const BaselineShape kHeartRate{10, 300, 300};
const BaselineShape kContraction{20, 100, 300};

void expectSameBits(const std::vector<int>& trace, int seconds, int rate,
                    const BaselineShape& shape, const std::string& what) {
    const std::vector<double> plain = weightedModeBaselineReference(trace, seconds, rate, shape);
    const std::vector<double> fast = weightedModeBaselineLanes(trace, seconds, rate, shape);
    ASSERT_EQ(plain.size(), fast.size()) << what;
    for (size_t i = 0; i < plain.size(); ++i) {
        if (std::memcmp(&plain[i], &fast[i], sizeof(double)) != 0) {
            FAIL() << what << ": sample " << i << " plain " << plain[i] << " fast " << fast[i];
        }
    }
}

std::vector<int> randomWalk(std::mt19937& rng, int length, int start, int low, int high,
                            int jumpEvery) {
    std::vector<int> trace(length);
    int value = start;
    for (int& sample : trace) {
        value += static_cast<int>(rng() % 7) - 3;
        if (jumpEvery > 0 && rng() % jumpEvery == 0) value = low + static_cast<int>(rng() % (high - low + 1));
        sample = value;
    }
    return trace;
}

TEST(BaselineExactness, RandomWalksAtSeveralRatesAndWindows) {
    std::mt19937 rng(20261121);
    for (int trial = 0; trial < 120; ++trial) {
        const int rate = 1 + static_cast<int>(rng() % 4);
        const int length = 60 * rate + static_cast<int>(rng() % (600 * rate));
        // Windows that are whole minutes and windows that are not.
        const int seconds = length / rate - (trial % 2 ? static_cast<int>(rng() % 45) : 0);
        const std::vector<int> trace = randomWalk(rng, length, 140, 50, 220, 40);
        const std::string what = "trial " + std::to_string(trial);
        expectSameBits(trace, seconds, rate, kHeartRate, what);
        const std::vector<int> toco = randomWalk(rng, length, 20, 1, 120, 25);
        expectSameBits(toco, seconds, rate, kContraction, what);
    }
}

TEST(BaselineExactness, ValuesAtAndOutsideTheHistogramRanges) {
    std::mt19937 rng(7);
    const int edgeValues[] = {-5, 0, 1, 2, 98, 99, 100, 101, 150, 298, 299, 300, 301, 100000};
    std::vector<int> trace(1800);
    for (int& sample : trace) sample = edgeValues[rng() % std::size(edgeValues)];
    for (int rate : {1, 4}) {
        expectSameBits(trace, static_cast<int>(trace.size()) / rate, rate, kHeartRate, "heart rate");
        expectSameBits(trace, static_cast<int>(trace.size()) / rate, rate, kContraction, "toco");
    }
}

TEST(BaselineExactness, ConstantAndShortTraces) {
    for (int length : {1, 2, 59, 60, 61, 239, 240, 241, 1000}) {
        for (int value : {1, 20, 99, 100, 140}) {
            const std::vector<int> trace(length, value);
            expectSameBits(trace, length / 4, 4, kHeartRate, "constant " + std::to_string(value));
            expectSameBits(trace, length / 4, 4, kContraction, "constant " + std::to_string(value));
        }
    }
}

TEST(BaselineExactness, RepeatedRequestsGiveTheSameCurve) {
    std::mt19937 rng(11);
    const std::vector<int> first = randomWalk(rng, 2400, 140, 50, 220, 40);
    std::vector<int> second = first;
    second[1200] += 1;
    const std::vector<double> a = weightedModeBaseline(first, 600, 4, kHeartRate);
    const std::vector<double> b = weightedModeBaseline(second, 600, 4, kHeartRate);
    EXPECT_EQ(weightedModeBaseline(first, 600, 4, kHeartRate), a);
    EXPECT_EQ(weightedModeBaseline(second, 600, 4, kHeartRate), b);
    EXPECT_EQ(b, weightedModeBaselineLanes(second, 600, 4, kHeartRate));
    EXPECT_EQ(weightedModeBaseline(first, 600, 4, kContraction),
              weightedModeBaselineLanes(first, 600, 4, kContraction));
    EXPECT_EQ(weightedModeBaseline(first, 599, 4, kHeartRate),
              weightedModeBaselineLanes(first, 599, 4, kHeartRate));
}

TEST(BaselineExactness, ThreeHourRecording) {
    std::mt19937 rng(3);
    const int rate = 4;
    const std::vector<int> trace = randomWalk(rng, 3 * 3600 * rate, 135, 90, 190, 400);
    expectSameBits(trace, 3 * 3600, rate, kHeartRate, "three hours");
}

// Every research recording (both heart-rate variants, and the toco channel).
// CTGSCORE_RECORDINGS_LIMIT (minutes) keeps slow builds to the shorter ones.
TEST(BaselineExactness, ResearchRecordings) {
    const std::vector<std::string> channelOne = testing_support::trainRecordings("train");
    if (channelOne.empty()) GTEST_SKIP() << "research recordings not present";
    const char* limit = std::getenv("CTGSCORE_RECORDINGS_LIMIT");
    const size_t maxSamples = limit ? static_cast<size_t>(std::atoi(limit)) * 240 : SIZE_MAX;
    for (const std::string subdir : {"train", "train/fhrmax"}) {
        for (const std::string& path : testing_support::trainRecordings(subdir)) {
            const testing_support::Recording rec = testing_support::readCsv(path);
            if (rec.fhr.size() > maxSamples) continue;
            const int seconds = static_cast<int>(rec.fhr.size()) / 4;
            expectSameBits(rec.fhr, seconds, 4, kHeartRate, path);
            if (subdir == "train") expectSameBits(rec.uc, seconds, 4, kContraction, path);
        }
    }
}

}  // namespace
