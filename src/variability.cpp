#include <algorithm>
#include <climits>
#include <cstdint>

#include "algorithm.h"
#include "utils.h"

namespace utils {

// Runs of equal values are compressed to their first sample; a run is a peak
// when the signal rises into it and falls out of it.  The padding with INT_MAX
// keeps both edges from ever being peaks.
void findPeaks(const std::vector<int>& x, std::vector<int>& pks, std::vector<int>& locs) {
    const int64_t n = static_cast<int64_t>(x.size());
    auto y = [&](int64_t k) { return (k == 0 || k == n + 1) ? INT_MAX : x[k - 1]; };
    std::vector<int64_t> runStarts{0};
    for (int64_t k = 1; k <= n + 1; ++k) {
        if (y(k) != y(k - 1)) runStarts.push_back(k);
    }
    // Slope sign between neighbouring runs, from a 32-bit difference.
    auto slope = [&](size_t k) {
        const int32_t d = static_cast<int32_t>(static_cast<uint32_t>(y(runStarts[k + 1])) -
                                               static_cast<uint32_t>(y(runStarts[k])));
        return d >= 1 ? 1 : -1;
    };
    const size_t first = locs.size();
    if (runStarts.size() >= 4) {
        for (size_t j = 2; j + 1 < runStarts.size(); ++j) {
            if (slope(j) - slope(j - 1) < 0) locs.push_back(static_cast<int>(runStarts[j] - 1));
        }
    }
    for (size_t k = first; k < locs.size(); ++k) pks.push_back(x[locs[k]]);
}

}  // namespace utils

namespace {

// 32-bit sum that wraps around instead of overflowing.
int wrapAdd(int a, int b) {
    return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

// Pushes the segments between n events [s, e]: before the first, between each
// pair, after the last.  Nothing is clipped; overlapping events give segments
// that end before they start, which the variability stage skips.
void gapsBetween(const std::vector<int>& s, const std::vector<int>& e, int length,
                 std::vector<int>& segStarts, std::vector<int>& segEnds) {
    const size_t n = std::min(s.size(), e.size());
    if (n == 0) {
        segStarts.push_back(0);
        segEnds.push_back(wrapAdd(length, -1));
        return;
    }
    segStarts.push_back(0);
    segEnds.push_back(wrapAdd(s[0], -1));
    for (size_t k = 0; k + 1 < n; ++k) {
        segStarts.push_back(wrapAdd(e[k], 1));
        segEnds.push_back(wrapAdd(s[k + 1], -1));
    }
    segStarts.push_back(wrapAdd(e[n - 1], 1));
    segEnds.push_back(wrapAdd(length, -1));
}

}  // namespace

// Merges two event lists; starts and ends are sorted each on its own.
void QK4_CFhrAlgorithm::fhrBas1(std::vector<int> starts1, const std::vector<int>& ends1,
                                const std::vector<int>& starts2, const std::vector<int>& ends2,
                                int length, std::vector<int>& segStarts,
                                std::vector<int>& segEnds) const {
    starts1.insert(starts1.end(), starts2.begin(), starts2.end());
    std::vector<int> ends(ends1);
    ends.insert(ends.end(), ends2.begin(), ends2.end());
    std::sort(starts1.begin(), starts1.end());
    std::sort(ends.begin(), ends.end());
    gapsBetween(starts1, ends, length, segStarts, segEnds);
}

void QK4_CFhrAlgorithm::fhrBas2(const std::vector<int>& starts, const std::vector<int>& ends,
                                int length, std::vector<int>& segStarts,
                                std::vector<int>& segEnds) const {
    gapsBetween(starts, ends, length, segStarts, segEnds);
}

void QK4_CFhrAlgorithm::fhrBas3(const std::vector<int>& starts, const std::vector<int>& ends,
                                int length, std::vector<int>& segStarts,
                                std::vector<int>& segEnds) const {
    gapsBetween(starts, ends, length, segStarts, segEnds);
}

namespace {

constexpr double kCycleSpan = 60.0;

// Largest number of listed swing positions within one 60-sample span.  The
// positions come from different segments and are compared as listed.
void countCycles(const std::vector<double>& c, double& frequency) {
    const size_t m = c.size();
    if (m == 0) return;
    for (size_t b = 0; b + 1 < m; ++b) {
        double difference = c[b + 1] - c[b];
        if (difference > kCycleSpan) {
            frequency = std::max(frequency, 1.0);
            continue;
        }
        size_t count = 1;
        while (difference > 0.0) {
            ++count;
            if (count == m - b) break;
            difference = c[b + count] - c[b];
            if (difference > kCycleSpan) break;
        }
        frequency = std::max(frequency, static_cast<double>(count));
    }
    frequency = std::max(frequency, 1.0);
}

int32_t wrappingDifference(int a, int b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

}  // namespace

// Mean peak-to-trough swing over the segments and the largest number of swings
// inside one 60-sample span.  Segments reaching outside the trace are skipped.
void QK4_CFhrAlgorithm::cal_bpm_var(const std::vector<int>& fhr, int /*sampleRate*/,
                                    const std::vector<int>& segStart,
                                    const std::vector<int>& segEnd, double& amplitude,
                                    double& frequency) const {
    const size_t segments = std::min(segStart.size(), segEnd.size());
    std::vector<double> amplitudeSum(segStart.size(), 0.0);
    std::vector<double> swingPositions;
    int qualifyingSwings = 0;
    double cycles = 0.0;
    bool counted = false;
    const int64_t n = static_cast<int64_t>(fhr.size());
    for (size_t k = 0; k < segments; ++k) {
        const int64_t s = segStart[k], e = segEnd[k];
        if (e - s < 0 || s < 0 || e >= n || e - s + 1 <= 2) continue;
        const std::vector<int> seg(fhr.begin() + s, fhr.begin() + e + 1);
        std::vector<int> peakValues, peakPositions;
        utils::findPeaks(seg, peakValues, peakPositions);
        const int top = *std::max_element(seg.begin(), seg.end());
        std::vector<int> inverted(seg.size());
        for (size_t j = 0; j < seg.size(); ++j) inverted[j] = wrappingDifference(top, seg[j]);
        std::vector<int> troughValues, troughPositions;
        utils::findPeaks(inverted, troughValues, troughPositions);

        const size_t pairs = std::min(peakValues.size(), troughPositions.size());
        for (size_t t = 0; t < pairs; ++t) {
            const double swing = wrappingDifference(peakValues[t], seg[troughPositions[t]]);
            if (swing >= params.varAmplitudeMin) {
                ++qualifyingSwings;
                amplitudeSum[k] += swing;
            }
            if (swing > params.varCycleMin) swingPositions.push_back(peakPositions[t]);
        }
        counted = true;
    }
    // The cycles are counted over the list so far after every analyzed
    // segment.  The list only grows, and a longer list never lowers the count
    // from any base index, so the count over the final list is the largest of
    // them all: one count at the end gives the same frequency.
    if (counted) countCycles(swingPositions, cycles);
    // With no qualifying swing this is 0.0 / 0 at run time: a NaN amplitude.
    amplitude = utils::sum(amplitudeSum) / static_cast<double>(qualifyingSwings);
    frequency = cycles;
}
