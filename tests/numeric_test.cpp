// Numeric helpers: rounding, truncation, sums, the two range generators, the
// 15-sample moving average, the low-pass FIR filter and the int comparator.
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include "utils.h"

namespace {

// First half of the low-pass coefficient table; the second half mirrors it.
constexpr std::array<double, 127> kHalfTaps = {
    -0.0001481284525129, -5.16803397164e-05, -6.048465284867e-05, -7.00751528713e-05,
    -8.050127493669e-05, -9.172247982878e-05, -0.0001038025737556, -0.0001167229147582,
    -0.0001305657170055, -0.0001452779719492, -0.0001608752364139, -0.0001772374755625,
    -0.0001944430473163, -0.0002124617557873, -0.0002313499052967, -0.0002507569725068,
    -0.0002709227796212, -0.0002917916005115, -0.0003130613806344, -0.0003349282249537,
    -0.0003570870290007, -0.0003795812891686, -0.0004022174118166, -0.0004249540386611,
    -0.0004475900018211, -0.0004700327461311, -0.00049210680398, -0.0005137172583344,
    -0.0005346346209895, -0.0005546981310075, -0.0005737191693221, -0.0005915545603046,
    -0.0006078832149803, -0.0006226132661119, -0.0006354250573421, -0.0006461322296311,
    -0.0006544889186151, -0.0006602500725303, -0.0006631554952431, -0.0006629471538567,
    -0.0006593695737736, -0.0006521609727167, -0.0006410305683929, -0.0006257068395144,
    -0.0006059220705599, -0.0005813982083346, -0.0005518367920537, -0.0005169894000555,
    -0.0004765671880792, -0.0004302885093638, -0.0003779252710138, -0.0003191808494784,
    -0.000253826454913, -0.0001815990273859, -0.0001022829927987, -1.564090105846e-05,
    7.854000963828e-05, 0.0001804642024978, 0.0002903062576582, 0.0004082504797244,
    0.0005344458704811, 0.0006690281084878, 0.0008121159902506, 0.0009638197644824,
    0.001124191288546, 0.00129331237325, 0.001471206291683, 0.001657884434602,
    0.00185333420213, 0.002057514336506, 0.002270370845426, 0.002491804609779,
    0.002721704613975, 0.002959928093214, 0.00320630699714, 0.003460638630471,
    0.003722709729099, 0.003992262582532, 0.00426901612149, 0.004552669175236,
    0.004842894865452, 0.005139319508766, 0.005441573955034, 0.005749234477892,
    0.006061880209404, 0.006379039805545, 0.006700242244011, 0.007024980192075,
    0.007352732991455, 0.007682954325996, 0.008015093250319, 0.008348563074838,
    0.008682774592482, 0.009017123134438, 0.00935099259408, 0.00968374516252,
    0.01001475274356, 0.01034336493476, 0.01066893442615, 0.01099080753137,
    0.0113083300207, 0.01162085184625, 0.01192771603693, 0.01222828317058,
    0.01252191227736, 0.01280797111179, 0.01308583761197, 0.01335491159888,
    0.01361459181928, 0.01386430477298, 0.01410349063475, 0.01433161370679,
    0.01454815026193, 0.01475261430991, 0.01494453083968, 0.01512346384553,
    0.01528899133461, 0.01544073754381, 0.01557834338402, 0.01570148718582,
    0.01580987980349, 0.01590327115807, 0.01598143340276, 0.01604418705273,
    0.01609138331197, 0.01612290986626, 0.01613869074337,
};

double tap(int k) { return k < 127 ? kHalfTaps[k] : kHalfTaps[253 - k]; }

// Filter output for input sample i, accumulated in tap order as the filter does.
double filteredSample(const std::vector<double>& in, int i) {
    double acc = 0.0;
    for (int k = 0; k < 253; ++k) {
        if (k < i) acc = acc + tap(k) * in[i - k];
    }
    return acc;
}

// Straightforward model of the whole filter: the value at output position j is
// the filtered input sample j + 127, with both ends padded by repetition.
std::vector<double> modelLowPass(const std::vector<double>& in) {
    const int n = static_cast<int>(in.size());
    std::vector<double> out(n);
    const double head = filteredSample(in, 253);
    const double tail = filteredSample(in, n - 1);
    for (int j = 0; j < n; ++j) {
        if (j < 127) out[j] = head;
        else if (j >= n - 127) out[j] = tail;
        else out[j] = filteredSample(in, j + 127);
    }
    return out;
}

std::vector<double> lowPass(const std::vector<double>& in) {
    std::vector<double> out;
    utils::filterlp(in, out);
    return out;
}

}  // namespace

TEST(RoundDouble, HalvesRoundAwayFromZero) {
    EXPECT_EQ(utils::round_double(2.5), 3);
    EXPECT_EQ(utils::round_double(-2.5), -3);
    EXPECT_EQ(utils::round_double(0.5), 1);
    EXPECT_EQ(utils::round_double(-0.5), -1);
    EXPECT_EQ(utils::round_double(-1.5), -2);
    EXPECT_EQ(utils::round_double(1.4999), 1);
    EXPECT_EQ(utils::round_double(-0.4), 0);
    EXPECT_EQ(utils::round_double(0.0), 0);
    EXPECT_EQ(utils::round_double(-0.0), 0);
    EXPECT_EQ(utils::round_double(139.5), 140);
}

TEST(RoundDouble, AddsHalfBeforeFlooring) {
    // The largest double below 0.5 plus 0.5 rounds up to 1.0, so floor(x + 0.5) gives 1.
    const double belowHalf = std::nextafter(0.5, 0.0);
    EXPECT_EQ(utils::round_double(belowHalf), 1);
    EXPECT_EQ(utils::round_double(-belowHalf), -1);
}

TEST(TruncateToInt, TruncatesTowardZeroAndSaturatesToIntMin) {
    EXPECT_EQ(utils::truncate_to_int(2.9), 2);
    EXPECT_EQ(utils::truncate_to_int(-2.9), -2);
    EXPECT_EQ(utils::truncate_to_int(2147483647.0), INT_MAX);
    EXPECT_EQ(utils::truncate_to_int(-2147483648.0), INT_MIN);
    EXPECT_EQ(utils::truncate_to_int(2147483648.0), INT_MIN);
    EXPECT_EQ(utils::truncate_to_int(1.0 - std::numeric_limits<double>::max()), INT_MIN);
    EXPECT_EQ(utils::truncate_to_int(std::numeric_limits<double>::quiet_NaN()), INT_MIN);
}

TEST(Sum, PlainLeftToRightAccumulation) {
    EXPECT_EQ(utils::sum({}), 0.0);
    EXPECT_EQ(utils::sum(std::vector<double>(10, 0.1)), 0.9999999999999999);
    // The 1.0 is absorbed by 1e100 before the cancellation: no compensation.
    EXPECT_EQ(utils::sum({1.0, 1e100, -1e100}), 0.0);
    EXPECT_EQ(utils::sum({1e100, -1e100, 1.0}), 1.0);
}

TEST(Linspace, IntegralStepsRepeatTheEndPoint) {
    EXPECT_EQ(utils::linspace(0.0, 5.0, 6), (std::vector<double>{0, 1, 2, 3, 4, 5, 5}));
    EXPECT_EQ(utils::linspace(5.0, 0.0, 6), (std::vector<double>{5, 4, 3, 2, 1, 0, 0}));
    EXPECT_EQ(utils::linspace(0.0, 1.0, 2), (std::vector<double>{0, 1, 1}));
}

TEST(Linspace, OvershootGivesCountPointsEndingExactlyAtEnd) {
    const auto up = utils::linspace(0.0, 5.0, 14);
    ASSERT_EQ(up.size(), 14u);
    EXPECT_EQ(up.front(), 0.0);
    EXPECT_EQ(up.back(), 5.0);
    EXPECT_LT(up[12], 5.0);

    const auto down = utils::linspace(2.0, 0.1, 20);
    ASSERT_EQ(down.size(), 20u);
    EXPECT_EQ(down.front(), 2.0);
    EXPECT_EQ(down.back(), 0.1);
    for (std::size_t k = 1; k < down.size(); ++k) EXPECT_LT(down[k], down[k - 1]) << k;
}

TEST(Linspace, SpanBelowOneGivesNothing) {
    EXPECT_TRUE(utils::linspace(0.0, 0.9, 10).empty());
    EXPECT_TRUE(utils::linspace(1.0, 0.1, 10).empty());
    EXPECT_TRUE(utils::linspace(3.0, 3.0, 4).empty());
}

TEST(Linspace, CountOneGivesStartAndEnd) {
    EXPECT_EQ(utils::linspace(0.0, 5.0, 1), (std::vector<double>{0.0, 5.0}));
    EXPECT_EQ(utils::linspace(2.0, 0.1, 1), (std::vector<double>{2.0, 0.1}));
}

TEST(Linspace, CountBelowOneGivesNothing) {
    EXPECT_TRUE(utils::linspace(0.0, 5.0, 0).empty());
    EXPECT_TRUE(utils::linspace(0.0, 5.0, -3).empty());
    EXPECT_TRUE(utils::linspace(2.0, 0.1, 0).empty());
}

TEST(MakeRange, FirstIsAlwaysPresent) {
    EXPECT_EQ(utils::makeRange(10, 5, 20), (std::vector<int>{10, 15, 20}));
    EXPECT_EQ(utils::makeRange(10, 5, 24), (std::vector<int>{10, 15, 20}));
    EXPECT_EQ(utils::makeRange(30, 5, 20), (std::vector<int>{30}));
    const auto edges = utils::makeRange(60, 5, 210);
    ASSERT_EQ(edges.size(), 31u);
    EXPECT_EQ(edges.back(), 210);
}

TEST(MovingAverage, FifteenSampleTrailingMeanAfterRawHead) {
    std::vector<int> out;
    utils::moving_average(15, std::vector<int>(20, 7), out);
    EXPECT_EQ(out, std::vector<int>(20, 7));

    std::vector<int> ramp(20);
    for (int i = 0; i < 20; ++i) ramp[i] = i;
    utils::moving_average(15, ramp, out);
    ASSERT_EQ(out.size(), 20u);
    for (int i = 0; i < 14; ++i) EXPECT_EQ(out[i], i);
    for (int i = 14; i < 20; ++i) EXPECT_EQ(out[i], i - 7) << i;  // mean of i-14 .. i
}

TEST(MovingAverage, NegativeSumsTruncateTowardZero) {
    std::vector<int> in(15, 0);
    std::vector<int> out;
    in[14] = -1;
    utils::moving_average(15, in, out);
    EXPECT_EQ(out.back(), 0);
    in[14] = -29;
    utils::moving_average(15, in, out);
    EXPECT_EQ(out.back(), -1);
}

TEST(MovingAverage, SpanStaysFifteenWhateverTheWindow) {
    std::vector<int> ramp(30);
    for (int i = 0; i < 30; ++i) ramp[i] = i;
    std::vector<int> out;
    utils::moving_average(20, ramp, out);
    ASSERT_EQ(out.size(), 30u);
    for (int i = 0; i < 19; ++i) EXPECT_EQ(out[i], i);
    for (int i = 19; i < 30; ++i) EXPECT_EQ(out[i], i - 7) << i;
}

TEST(MovingAverage, SmallWindowTreatsSamplesBeforeStartAsAbsent) {
    std::vector<int> out;
    utils::moving_average(1, std::vector<int>(20, 15), out);
    ASSERT_EQ(out.size(), 20u);
    for (int i = 0; i < 14; ++i) EXPECT_EQ(out[i], i + 1) << i;  // (i + 1) * 15 / 15
    for (int i = 14; i < 20; ++i) EXPECT_EQ(out[i], 15) << i;
}

TEST(MovingAverage, ShortOrEmptyInputKeepsOnlyTheHead) {
    std::vector<int> out{1, 2, 3};
    utils::moving_average(15, {}, out);
    EXPECT_TRUE(out.empty());
    const std::vector<int> shortInput{5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    utils::moving_average(15, shortInput, out);
    EXPECT_EQ(out, shortInput);
}

TEST(FilterLowPass, ConstantInputScalesByTheUsedTaps) {
    for (double level : {1.0, 7.0, 140.0}) {
        const std::vector<double> in(400, level);
        const auto out = lowPass(in);
        ASSERT_EQ(out.size(), in.size());
        // Every output holds all 253 used taps inside the signal.
        const double expected = filteredSample(in, 399);
        EXPECT_NEAR(expected, level * 1.1430469558195901, 1e-12 * level);
        for (std::size_t j = 0; j < out.size(); ++j) ASSERT_EQ(out[j], expected) << level << " " << j;
    }
}

TEST(FilterLowPass, FirstSampleNeverEntersAnOutput) {
    std::vector<double> in(300, 0.0);
    in[0] = 1000.0;
    EXPECT_EQ(lowPass(in), std::vector<double>(300, 0.0));
}

TEST(FilterLowPass, SpikeShowsThroughTheUsedTapsOnly) {
    // A unit spike at input 100 reaches filtered samples 101 .. 352 (253 taps,
    // the 254th never used); output position j holds filtered sample j + 127,
    // and the head repeats position 126 (filtered sample 253).
    std::vector<double> in(600, 0.0);
    in[100] = 1.0;
    const auto out = lowPass(in);
    ASSERT_EQ(out.size(), 600u);
    for (int j = 0; j < 126; ++j) ASSERT_EQ(out[j], tap(153)) << j;
    for (int j = 126; j <= 225; ++j) ASSERT_EQ(out[j], tap(j + 127 - 100)) << j;
    for (int j = 226; j < 600; ++j) ASSERT_EQ(out[j], 0.0) << j;
}

TEST(FilterLowPass, MatchesDirectConvolutionBitForBit) {
    std::mt19937 rng(20240305);
    std::uniform_real_distribution<double> value(50.0, 200.0);
    for (int n : {254, 255, 380, 1000}) {
        std::vector<double> in(n);
        for (auto& v : in) v = value(rng);
        const auto out = lowPass(in);
        ASSERT_EQ(out, modelLowPass(in)) << "length " << n;
    }
}

TEST(FilterLowPass, ShortInputGivesEmptyOutput) {
    std::vector<double> out{1.0};
    utils::filterlp(std::vector<double>(253, 5.0), out);
    EXPECT_TRUE(out.empty());
    utils::filterlp({}, out);
    EXPECT_TRUE(out.empty());
}

TEST(Cmp, OrdersIntsAscending) {
    const int a = 7, b = 2;
    EXPECT_EQ(utils::cmp(&a, &b), 5);
    EXPECT_EQ(utils::cmp(&b, &a), -5);
    EXPECT_EQ(utils::cmp(&a, &a), 0);
    std::vector<int> values{9, -3, 4, 4, 0};
    std::qsort(values.data(), values.size(), sizeof(int), utils::cmp);
    EXPECT_EQ(values, (std::vector<int>{-3, 0, 4, 4, 9}));
}
