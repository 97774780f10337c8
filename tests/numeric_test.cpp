// Numeric helpers: rounding, truncation, the 15-sample moving average and the
// low-pass FIR filter.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "dispatch_levels.h"
#include "test_support.h"
#include "utils.h"

namespace {

using Doubles = std::vector<double>;

Doubles lowPass(const Doubles& in) {
    Doubles out;
    utils::filterlp(in, out);
    return out;
}

// Trailing mean of up to 15 samples (those before the start are absent),
// truncated toward zero; the first window - 1 samples pass unchanged.
std::vector<int> modelMovingAverage(int window, const std::vector<int>& in) {
    std::vector<int> out;
    for (int i = 0; i < static_cast<int>(in.size()); ++i) {
        int total = 0;
        for (int k = 0; k < 15 && k <= i; ++k) total += in[i - k];
        out.push_back(i + 1 < window ? in[i] : total / 15);
    }
    return out;
}

}  // namespace

TEST(Rounding, HalvesAwayFromZeroAndTruncationSaturatesToIntMin) {
    // The largest double below 0.5, plus 0.5, rounds to 1.0 before the floor.
    const double belowHalf = std::nextafter(0.5, 0.0);
    // clang-format off
    const std::pair<double, int> rounded[] = {
        {2.5, 3}, {-2.5, -3}, {0.5, 1}, {-0.5, -1}, {-1.5, -2}, {1.4999, 1}, {-0.4, 0}, {-0.0, 0},
        {139.5, 140}, {belowHalf, 1}, {-belowHalf, -1}};
    // clang-format on
    for (const auto& [x, expected] : rounded) EXPECT_EQ(utils::round_double(x), expected) << x;

    const double nan = std::numeric_limits<double>::quiet_NaN();
    // clang-format off
    const std::pair<double, int> truncated[] = {
        {2.9, 2}, {-2.9, -2}, {2147483647.0, INT_MAX}, {-2147483648.0, INT_MIN},
        {2147483648.0, INT_MIN}, {-std::numeric_limits<double>::max(), INT_MIN}, {nan, INT_MIN}};
    // clang-format on
    for (const auto& [x, expected] : truncated) EXPECT_EQ(utils::truncate_to_int(x), expected) << x;
}

TEST(MovingAverage, FifteenSampleSpanWhateverTheWindow) {
    std::vector<int> ramp(30), fifteens(20, 15), negative(15, 0);
    for (int i = 0; i < 30; ++i) ramp[i] = i;
    negative[14] = -29;  // -29 / 15 truncates to -1
    // A window at or below 1 lets no sample pass unaveraged, INT_MIN included.
    const std::pair<int, std::vector<int>> cases[] = {
        {15, ramp},      {20, ramp},     {1, fifteens},
        {INT_MIN, ramp}, {15, negative}, {15, {5, 6, 7, 8, 9, 10, 11, 12, 13, 14}},
        {15, {}}};
    for (const auto& [window, in] : cases) {
        std::vector<int> out{1, 2, 3};
        utils::moving_average(window, in, out);
        EXPECT_EQ(out, modelMovingAverage(window, in)) << "window " << window;
    }
}

TEST(FilterLowPass, TapsAreTheTableAndOutputsKeepTheirBitsAtEveryLevel) {
    // The 253 used taps, read back from the answer to a unit spike at 253,
    // which puts tap k at output position 126 + k.
    Doubles spike(506, 0.0);
    spike[253] = 1.0;
    const Doubles response = lowPass(spike);
    const Doubles taps(response.begin() + 126, response.begin() + 126 + 253);
    EXPECT_EQ(testing_support::fingerprint(taps), 0x97a9bf9f48287b07ull);
    EXPECT_NEAR(utils::sum(taps), 1.1430469558195901, 1e-15);

    // Output position j holds the filtered input sample j + 127 (taps k < i
    // only), both ends padded by repetition; the fingerprint was taken when the
    // outputs matched that direct convolution.
    std::mt19937 rng(20240305);
    std::uniform_real_distribution<double> value(50.0, 200.0);
    std::vector<Doubles> inputs;
    for (int n : {254, 255, 380, 1000}) {
        inputs.emplace_back(n);
        for (auto& v : inputs.back()) v = value(rng);
    }
    testing_support::atEveryLevel([&] {
        Doubles outputs;
        for (const Doubles& in : inputs) {
            const Doubles out = lowPass(in);
            outputs.insert(outputs.end(), out.begin(), out.end());
        }
        EXPECT_EQ(testing_support::fingerprint(outputs), 0xf0fa3441be3ef8a3ull);
    });
    EXPECT_TRUE(lowPass(Doubles(253, 5.0)).empty());
}
