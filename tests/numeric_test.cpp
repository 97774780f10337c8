// Numeric helpers: rounding, truncation, sums, the two range generators, the
// 15-sample moving average, the low-pass FIR filter and the int comparator.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "dispatch_levels.h"
#include "utils.h"

namespace {

std::vector<double> lowPass(const std::vector<double>& in) {
    std::vector<double> out;
    utils::filterlp(in, out);
    return out;
}

// The 253 taps the filter uses, read back from its answer to a unit spike: a
// spike at 253 puts tap k at output position 126 + k.
std::vector<double> usedTaps() {
    std::vector<double> spike(506, 0.0);
    spike[253] = 1.0;
    const std::vector<double> out = lowPass(spike);
    return std::vector<double>(out.begin() + 126, out.begin() + 126 + 253);
}

// FNV-1a over the bit patterns, so a change in any digit of any tap shows.
std::uint64_t fingerprint(const std::vector<double>& values) {
    std::uint64_t hash = 14695981039346656037ull;
    for (double v : values) {
        unsigned char bytes[sizeof v];
        std::memcpy(bytes, &v, sizeof v);
        for (unsigned char b : bytes) hash = (hash ^ b) * 1099511628211ull;
    }
    return hash;
}

// Straightforward model of the whole filter: output position j holds the
// filtered input sample j + 127 (taps k < i only), both ends padded by repetition.
std::vector<double> modelLowPass(const std::vector<double>& in, const std::vector<double>& taps) {
    const int n = static_cast<int>(in.size());
    auto filtered = [&](int i) {
        double acc = 0.0;
        for (int k = 0; k < 253 && k < i; ++k) acc = acc + taps[k] * in[i - k];
        return acc;
    };
    std::vector<double> out(n);
    for (int j = 0; j < n; ++j) out[j] = filtered(std::min(std::max(j, 126), n - 128) + 127);
    return out;
}

// Trailing mean of up to 15 samples (those before the start are absent),
// truncated toward zero; the first window - 1 samples pass unchanged.
std::vector<int> modelMovingAverage(int window, const std::vector<int>& in) {
    std::vector<int> out;
    for (int i = 0; i < static_cast<int>(in.size()); ++i) {
        int total = 0;
        for (int k = 0; k < 15 && k <= i; ++k) total += in[i - k];
        out.push_back(i < window - 1 ? in[i] : total / 15);
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

TEST(Sum, PlainLeftToRightAccumulation) {
    EXPECT_EQ(utils::sum({}), 0.0);
    EXPECT_EQ(utils::sum(std::vector<double>(10, 0.1)), 0.9999999999999999);
    EXPECT_EQ(utils::sum({1.0, 1e100, -1e100}), 0.0);  // no compensation
    EXPECT_EQ(utils::sum({1e100, -1e100, 1.0}), 1.0);
}

TEST(Linspace, SteppedRangeThatAlwaysEndsWithEnd) {
    using V = std::vector<double>;
    EXPECT_EQ(utils::linspace(0.0, 5.0, 6), (V{0, 1, 2, 3, 4, 5, 5}));  // lands on end: twice
    EXPECT_EQ(utils::linspace(5.0, 0.0, 6), (V{5, 4, 3, 2, 1, 0, 0}));
    EXPECT_EQ(utils::linspace(0.0, 1.0, 2), (V{0, 1, 1}));
    EXPECT_EQ(utils::linspace(0.0, 5.0, 1), (V{0.0, 5.0}));
    EXPECT_EQ(utils::linspace(2.0, 0.1, 1), (V{2.0, 0.1}));
    // A span whose integer part is 0, or a count below 1, gives nothing.
    const std::tuple<double, double, int> nothing[] = {{0.0, 0.9, 10}, {1.0, 0.1, 10},
                                                       {3.0, 3.0, 4},  {0.0, 5.0, 0},
                                                       {0.0, 5.0, -3}, {2.0, 0.1, 0}};
    for (const auto& [start, end, count] : nothing) {
        EXPECT_TRUE(utils::linspace(start, end, count).empty())
            << start << " " << end << " " << count;
    }
    // Steps that overshoot the end give count points, the last exactly end.
    const V up = utils::linspace(0.0, 5.0, 14);
    ASSERT_EQ(up.size(), 14u);
    EXPECT_LT(up[12], 5.0);
    EXPECT_EQ(up.back(), 5.0);
    const V down = utils::linspace(2.0, 0.1, 20);
    ASSERT_EQ(down.size(), 20u);
    EXPECT_EQ(down.front(), 2.0);
    EXPECT_EQ(down.back(), 0.1);
    for (size_t k = 1; k < down.size(); ++k) EXPECT_LT(down[k], down[k - 1]) << k;
}

TEST(MakeRange, FirstIsAlwaysPresent) {
    EXPECT_EQ(utils::makeRange(10, 5, 20), (std::vector<int>{10, 15, 20}));
    EXPECT_EQ(utils::makeRange(10, 5, 24), (std::vector<int>{10, 15, 20}));
    EXPECT_EQ(utils::makeRange(30, 5, 20), (std::vector<int>{30}));
}

TEST(MovingAverage, FifteenSampleSpanWhateverTheWindow) {
    std::vector<int> ramp(30), fifteens(20, 15), negative(15, 0);
    for (int i = 0; i < 30; ++i) ramp[i] = i;
    negative[14] = -29;  // -29 / 15 truncates to -1
    const std::vector<int> shortInput{5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    struct Case {
        int window;
        const std::vector<int>& in;
    };
    for (const Case& c : {Case{15, ramp}, Case{20, ramp}, Case{1, fifteens}, Case{15, negative},
                          Case{15, shortInput}, Case{15, {}}}) {
        std::vector<int> out{1, 2, 3};
        utils::moving_average(c.window, c.in, out);
        EXPECT_EQ(out, modelMovingAverage(c.window, c.in)) << "window " << c.window;
    }
}

TEST(FilterLowPass, TapsAreTheTableAndOutputsMatchADirectConvolutionBitForBit) {
    const std::vector<double> taps = usedTaps();
    EXPECT_EQ(fingerprint(taps), 0x97a9bf9f48287b07ull);  // the 253 used taps of the table
    EXPECT_NEAR(utils::sum(taps), 1.1430469558195901, 1e-15);

    std::mt19937 rng(20240305);
    std::uniform_real_distribution<double> value(50.0, 200.0);
    for (int n : {254, 255, 380, 1000}) {
        std::vector<double> in(n);
        for (auto& v : in) v = value(rng);
        const std::vector<double> expected = modelLowPass(in, taps);
        testing_support::atEveryLevel([&] { EXPECT_EQ(lowPass(in), expected) << "length " << n; });
    }
    EXPECT_TRUE(lowPass(std::vector<double>(253, 5.0)).empty());
}

TEST(Cmp, OrdersIntsAscending) {
    std::vector<int> values{9, -3, 4, 4, 0};
    std::qsort(values.data(), values.size(), sizeof(int), utils::cmp);
    EXPECT_EQ(values, (std::vector<int>{-3, 0, 4, 4, 9}));
}
