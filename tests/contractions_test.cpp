// Contraction baseline, the zero-phase low-pass and contraction detection.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "algorithm.h"
#include "utils.h"

namespace {

constexpr int kRate = 4;

// ---------------------------------------------------------------------------
// Contraction baseline, checked against a direct, slow rendering of the
// weighted-mode scheme: a fresh histogram per sample, bands summed in order.

// Stepped range that always finishes with `end` (may repeat it).
std::vector<double> steppedRange(double start, double end, int count) {
    std::vector<double> out;
    if (1e-6 > std::abs(static_cast<int>(start - end))) return out;
    const double step = std::fabs(end - start) / static_cast<double>(count - 1);
    double x = start;
    if (start > end) {
        do {
            out.push_back(x);
            x -= step;
        } while (x >= end);
    } else {
        do {
            out.push_back(x);
            x += step;
        } while (x <= end);
    }
    out.push_back(end);
    return out;
}

double densestBandMean(const std::vector<double>& histogram) {
    double best = 0.0;
    double value = 0.0;
    for (int s = 1; s <= static_cast<int>(histogram.size()) - 21; ++s) {
        double total = 0.0;
        double moment = 0.0;
        for (int bin = s - 1; bin <= s + 18; ++bin) {
            total += histogram[bin];
            moment += (bin + 1) * histogram[bin];
        }
        if (total > best) {
            best = total;
            value = moment / total;
        }
    }
    return value;
}

std::vector<double> slowUcBaseline(const std::vector<int>& uc, int windowSeconds, int rate) {
    const int n = static_cast<int>(uc.size());
    std::vector<double> result(n, 0.0);
    const double perMinute = 60.0 / (1.0 / rate);
    const int ahead = static_cast<int>(windowSeconds / 60.0 * 0.5 * perMinute);
    const int behind =
        std::min(n - ahead - 1, static_cast<int>((windowSeconds / 60) * 0.5 * perMinute));
    if (behind < 1 || ahead < 1) return result;

    std::vector<double> weights;
    for (double a : steppedRange(0.0, 5.0, behind))
        weights.push_back(std::exp(a) / 148.4131591025766);
    const std::vector<double> falling = steppedRange(2.0, 0.1, ahead + 1);
    for (size_t i = 1; i < falling.size(); ++i)
        weights.push_back(std::exp(falling[i]) / 7.38905609893065);
    const int profile = static_cast<int>(weights.size());

    for (int i = 0; i < n; ++i) {
        std::vector<double> histogram(i >= n - ahead ? 300 : 100, 0.0);
        const auto add = [&](int sample, double weight) {
            const int bin = uc[sample] - 1;
            if (bin >= 0 && bin < static_cast<int>(histogram.size())) histogram[bin] += weight;
        };
        if (i < behind - 1) {
            for (int j = 0; j <= ahead + i; ++j) add(j, weights[profile - (ahead + 2 + i) + j]);
        } else if (i < n - ahead) {
            for (int t = 0; t <= ahead + behind - 1; ++t) add(i - behind + 1 + t, weights[t]);
        } else {
            for (int t = 0; t <= n - 2 - i + behind; ++t) add(i - behind + 1 + t, weights[t]);
        }
        result[i] = densestBandMean(histogram);
    }
    return result;
}

std::vector<int> randomTrace(int length, int low, int high, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> value(low, high);
    std::vector<int> trace(length);
    for (int& v : trace) v = value(rng);
    return trace;
}

class ContractionBaseline : public ::testing::Test {
protected:
    ContractionBaseline() { analyser.setSampleRate(kRate); }
    QK4_CFhrAlgorithm analyser;
};

TEST_F(ContractionBaseline, ConstantTraceIsItsOwnBaseline) {
    // All weight sits in one bin; the mean 20 * weight / weight may round by an ulp.
    const std::vector<double> base = analyser.uc_baseline(std::vector<int>(600, 20), 90);
    ASSERT_EQ(base.size(), 600u);
    for (int i = 0; i < 600; ++i) ASSERT_DOUBLE_EQ(base[i], 20.0) << i;
    EXPECT_EQ(analyser.getSamplePeriod(), 0.25);
}

TEST_F(ContractionBaseline, TopValuesAreSeenOnlyByTheEndRegion) {
    // 90 s at 4 Hz: 180 samples ahead, so the end region starts at 600 - 180.
    for (int value : {99, 100}) {
        SCOPED_TRACE(value);
        const std::vector<double> base = analyser.uc_baseline(std::vector<int>(600, value), 90);
        ASSERT_EQ(base.size(), 600u);
        for (int i = 0; i < 420; ++i) ASSERT_EQ(base[i], 0.0) << i;
        for (int i = 420; i < 600; ++i) ASSERT_DOUBLE_EQ(base[i], value) << i;
    }
}

TEST_F(ContractionBaseline, MatchesTheSlowRenderingBitForBit) {
    struct Case {
        int length;
        int windowSeconds;
    };
    // 90 s: 180 ahead, 120 behind; 100 s: a fractional window; 300 s on 1200
    // samples: the look-back limited by the length; 182 samples: one behind.
    for (const Case c : {Case{600, 90}, Case{600, 150}, Case{500, 100}, Case{1200, 300},
                         Case{400, 150}, Case{182, 90}}) {
        SCOPED_TRACE(testing::Message() << c.length << " samples, " << c.windowSeconds << " s");
        const std::vector<int> uc = randomTrace(c.length, 1, 100, c.length + c.windowSeconds);
        EXPECT_EQ(analyser.uc_baseline(uc, c.windowSeconds),
                  slowUcBaseline(uc, c.windowSeconds, kRate));
    }
}

TEST_F(ContractionBaseline, SamplesOutsideTheHistogramAreSkipped) {
    // 0 fits no bin; 101..120 fit only the 300-bin histogram of the end region.
    const std::vector<int> uc = randomTrace(600, 0, 120, 11);
    EXPECT_EQ(analyser.uc_baseline(uc, 90), slowUcBaseline(uc, 90, kRate));
}

TEST_F(ContractionBaseline, TooShortForTheWindowGivesZeros) {
    EXPECT_EQ(analyser.uc_baseline(std::vector<int>(181, 20), 90), std::vector<double>(181, 0.0));
    EXPECT_EQ(analyser.uc_baseline(std::vector<int>(600, 20), 30), std::vector<double>(600, 0.0));
    EXPECT_EQ(analyser.uc_baseline(std::vector<int>(600, 20), 0), std::vector<double>(600, 0.0));
    EXPECT_TRUE(analyser.uc_baseline({}, 90).empty());
}

// ---------------------------------------------------------------------------
// Low-pass filter.  Its state lives for the whole process, so every call made
// here is mirrored by this float rendering, which therefore always holds the
// same state as the library.

const float kCoefficients[5] = {
    static_cast<float>(0.013359200209379196), static_cast<float>(0.026718400418758392),
    static_cast<float>(0.013359200209379196), static_cast<float>(1.6474599838256836),
    static_cast<float>(-0.7008967995643616)};

float biquadStep(float* s) {
    const float y = kCoefficients[0] * s[0] + kCoefficients[1] * s[1] + kCoefficients[2] * s[2] +
                    kCoefficients[3] * s[3] + kCoefficients[4] * s[4];
    s[2] = s[1];
    s[1] = s[0];
    s[4] = s[3];
    s[3] = y;
    return y;
}

class FilterMirror {
public:
    std::vector<double> run(const std::vector<int>& x) {
        const size_t n = x.size();
        std::vector<double> out(n, 0.0);
        for (size_t j = 0; j < n; ++j) {
            forward_[0] = static_cast<float>(x[j]);
            out[n - 1 - j] = biquadStep(forward_);
        }
        for (size_t j = 0; j < n; ++j) {
            backward_[0] = static_cast<float>(out[j]);
            out[j] = biquadStep(backward_);
        }
        std::reverse(out.begin(), out.end());
        return out;
    }

private:
    float forward_[5] = {};
    float backward_[5] = {};
};

FilterMirror& mirror() {
    static FilterMirror instance;
    return instance;
}

struct Filtered {
    std::vector<double> actual;
    std::vector<double> expected;
};

Filtered lowpassBoth(const QK4_CFhrAlgorithm& analyser, const std::vector<int>& x) {
    Filtered f;
    f.actual = analyser.lowpass_filter(x);
    f.expected = mirror().run(x);
    return f;
}

std::uint32_t bitsOf(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

class LowPass : public ::testing::Test {
protected:
    QK4_CFhrAlgorithm analyser;
};

TEST_F(LowPass, StateCarriesOverFromOneCallToTheNext) {
    const std::vector<int> flat(200, 50);
    const Filtered first = lowpassBoth(analyser, flat);
    const Filtered second = lowpassBoth(analyser, flat);
    EXPECT_EQ(first.actual, first.expected);
    EXPECT_EQ(second.actual, second.expected);
    ASSERT_EQ(second.actual.size(), 200u);
    EXPECT_NE(first.actual.front(), second.actual.front());
    EXPECT_NE(first.actual.back(), second.actual.back());
    EXPECT_NEAR(second.actual[100], 50.0, 1e-3);
}

TEST_F(LowPass, FollowsTheSinglePrecisionRecursion) {
    for (unsigned seed : {1u, 2u, 3u}) {
        const Filtered f = lowpassBoth(analyser, randomTrace(500, 1, 100, seed));
        EXPECT_EQ(f.actual, f.expected) << "seed " << seed;
    }
    EXPECT_TRUE(lowpassBoth(analyser, {}).actual.empty());
}

TEST_F(LowPass, CoefficientsAreTheStoredFloats) {
    const double stored[5] = {0.013359200209379196, 0.026718400418758392, 0.013359200209379196,
                              1.6474599838256836, -0.7008967995643616};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(static_cast<double>(lpf004_coef[i]), stored[i]) << i;
}

TEST_F(LowPass, StepIsComputedInSinglePrecisionAndShiftsTheState) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> value(-300.0f, 300.0f);
    for (int trial = 0; trial < 2000; ++trial) {
        float state[5], expected[5];
        for (int i = 0; i < 5; ++i) state[i] = expected[i] = value(rng);
        const float before[5] = {state[0], state[1], state[2], state[3], state[4]};
        const float y = filter(lpf004_coef, state);
        ASSERT_EQ(bitsOf(y), bitsOf(biquadStep(expected))) << "trial " << trial;
        ASSERT_EQ(state[1], before[0]);
        ASSERT_EQ(state[2], before[1]);
        ASSERT_EQ(state[3], y);
        ASSERT_EQ(state[4], before[3]);
    }
}

TEST(Convolution, IsTheFullLinearConvolution) {
    const QK4_CFhrAlgorithm analyser;
    EXPECT_EQ(analyser.conv({1, 2, 3}, {0, 1, 0.5}), (std::vector<double>{0, 1, 2.5, 4, 1.5}));
    EXPECT_EQ(analyser.conv({2}, {1, 2, 3, 4}), (std::vector<double>{2, 4, 6, 8}));
}

// ---------------------------------------------------------------------------
// Contraction detection.

// Piecewise-linear integer trace through the given corners (index, value).
std::vector<int> throughCorners(int length, const std::vector<std::pair<int, int>>& corners) {
    std::vector<int> trace(length, corners.front().second);
    for (size_t c = 0; c + 1 < corners.size(); ++c) {
        const auto [x0, y0] = corners[c];
        const auto [x1, y1] = corners[c + 1];
        for (int i = x0; i <= x1; ++i)
            trace[i] = static_cast<int>(std::lround(y0 + double(y1 - y0) * (i - x0) / (x1 - x0)));
    }
    return trace;
}

// Offset of the first smallest value of d[from .. to - 1].
int firstLowest(const std::vector<double>& d, int from, int to) {
    return static_cast<int>(std::min_element(d.begin() + from, d.begin() + to) - d.begin()) - from;
}

class ContractionDetection : public ::testing::Test {
protected:
    ContractionDetection() { analyser.setSampleRate(kRate); }
    QK4_CFhrAlgorithm analyser;
};

TEST_F(ContractionDetection, PeaksNearTheEdgesGetNoStartOrTheLastSampleAsEnd) {
    // A contraction already under way at the first sample, one in the middle
    // and one still high at the last sample, over a resting tone of 5.
    const int n = 1600;
    const std::vector<int> uc = throughCorners(
        n, {{0, 45}, {40, 75}, {300, 5}, {600, 5}, {800, 65}, {1000, 5}, {1300, 5}, {1560, 55},
            {1599, 35}});
    const std::vector<double> base(n, 5.0);

    std::vector<int> peaks, starts, ends;
    std::vector<double> filtered = {1.0, 2.0};
    analyser.uc_detect(peaks, starts, ends, filtered, uc, base);
    const std::vector<double> expectedFiltered = mirror().run(uc);
    EXPECT_EQ(filtered, expectedFiltered);

    std::vector<double> d(n);
    for (int i = 0; i < n; ++i) d[i] = expectedFiltered[i] - base[i];
    std::vector<double> values, widths;
    std::vector<int> locations;
    utils::findPeaks(d, 10, 10, 60 * kRate, values, locations, widths);
    ASSERT_EQ(locations.size(), 3u);
    ASSERT_LT(locations[0] - widths[0], 1.0);  // the scenario reaches both edges
    ASSERT_GT(locations[2] + widths[2], n);

    EXPECT_EQ(peaks, locations);
    ASSERT_EQ(starts.size(), 2u);
    ASSERT_EQ(ends.size(), 2u);
    EXPECT_EQ(ends[1], n - 1);

    // The middle one: lowest points within one width before and after the peak.
    const int peak = locations[1];
    const double width = widths[1];
    const int before = static_cast<int>(peak - width);
    EXPECT_EQ(starts[0], before + firstLowest(d, before, peak));
    const int after = static_cast<int>(std::ceil(peak + width));
    EXPECT_EQ(ends[0], peak + firstLowest(d, peak, after));
    EXPECT_LT(starts[0], peak);
    EXPECT_GT(ends[0], peak);
}

}  // namespace
