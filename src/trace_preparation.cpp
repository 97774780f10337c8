#include <cstdint>

#include "algorithm.h"
#include "utils.h"

// Replaces samples outside the valid heart-rate range by the last valid value
// before them (leading invalid samples by the first valid one).  Returns -1,
// leaving the trace untouched, when no sample is valid.
int QK4_CFhrAlgorithm::extremePointFilter(std::vector<int>& trace) const {
    const size_t n = trace.size();
    if (n < 1) return 0;
    auto invalid = [&](int v) { return v < fhrValidMin || v > fhrValidMax; };
    if (invalid(trace[0])) {
        size_t j = 1;
        while (j < n && invalid(trace[j])) ++j;
        if (j == n) return -1;
        trace[0] = trace[j];
    }
    for (size_t i = 1; i < n; ++i) {
        if (invalid(trace[i])) trace[i] = trace[i - 1];
    }
    return 0;
}

namespace {

// Joins movement positions lying within clusterSpan of a cluster's first
// position into segments widened by margin on both sides.
void movementSegments(const std::vector<int>& p, int64_t clusterSpan, int64_t margin,
                      int64_t length, std::vector<int64_t>& starts, std::vector<int64_t>& ends) {
    const size_t m = p.size();
    size_t skip = 0;
    for (size_t i = 1; i < m; ++i) {
        if (skip > 0) {
            --skip;
            continue;
        }
        // Every later position in reach joins, even after one that is out of reach.
        std::vector<int> cluster{p[i - 1]};
        for (size_t j = i; j < m; ++j) {
            if (static_cast<int64_t>(p[j]) - p[i - 1] <= clusterSpan) {
                cluster.push_back(p[j]);
                ++skip;
            }
        }
        if (cluster.size() < 2) continue;  // a lone movement alters nothing
        const int64_t a = cluster.front() - margin;
        const int64_t b = cluster.back() + margin;
        if (!ends.empty() && a <= ends.back()) {
            ends.back() = b;
        } else {
            starts.push_back(a);
            ends.push_back(b);
        }
        if (starts.front() < 1) starts.front() = 1;
        if (ends.back() < 0 || ends.back() >= length - 1) ends.back() = length - 2;
    }
}

// Replaces the inner samples of [s0, e0] by the rounded straight line between
// the two end samples.
void bridge(std::vector<int>& r, int64_t s0, int64_t e0) {
    const int64_t n = e0 - s0;
    const int y0 = r[s0], y1 = r[e0];
    const double slope =
        y1 > y0 ? static_cast<double>(static_cast<int64_t>(y1) - y0) / static_cast<double>(n)
                : static_cast<double>(static_cast<int64_t>(y0) - y1) / static_cast<double>(n);
    for (int64_t t = 1; t < n; ++t) {
        if (y1 > y0) {
            r[s0 + t] = utils::round_double(y0 + static_cast<double>(t) * slope);
        } else if (y1 < y0) {
            r[s0 + t] = utils::round_double(y0 - static_cast<double>(t) * slope);
        } else {
            r[s0 + t] = y0;
        }
    }
}

}  // namespace

// Bridges the stretches disturbed by clustered fetal movements with straight
// lines: movements within 90 s of each other form a cluster, widened by 30 s.
std::vector<int> QK4_CFhrAlgorithm::update_fhr(std::vector<int> trace, int fs,
                                               const std::vector<int>& movements, int div) const {
    if (movements.size() < 2 || div == 0) return trace;
    const int64_t w = static_cast<int64_t>(fs) / div;
    const int64_t length = static_cast<int64_t>(trace.size());
    std::vector<int64_t> starts, ends;
    movementSegments(movements, 90 * w, 30 * w, length, starts, ends);
    for (size_t m = 0; m < starts.size(); ++m) {
        // Segments reaching outside the trace are not bridged.
        if (starts[m] >= 0 && starts[m] < ends[m] && ends[m] < length) {
            bridge(trace, starts[m], ends[m]);
        }
    }
    return trace;
}

// Holds the previous sample in place of a drop steeper than thresholdMinStep
// or a rise of more than thresholdMaxAboveBaseline over the baseline.
void QK4_CFhrAlgorithm::thresholdFilter(std::vector<int>& trace) const {
    const size_t n = trace.size();
    for (size_t i = 1; i < n; ++i) {
        const bool steepDrop = static_cast<int64_t>(trace[i]) - trace[i - 1] < thresholdMinStep;
        const bool farAbove =
            i < fhrBaseline.size() && static_cast<double>(trace[i]) - fhrBaseline[i] >
                                          static_cast<double>(thresholdMaxAboveBaseline);
        if (steepDrop || farAbove) trace[i] = trace[i - 1];
    }
}
