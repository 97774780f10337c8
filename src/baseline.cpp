#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>

#include "algorithm.h"
#include "utils.h"

namespace utils {

namespace {

// Sorts ascending; a counting sort when the values span a short range (heart
// rates, deceleration types), which gives the same sequence in linear time.
void sortValues(std::vector<int>& data) {
    if (data.empty()) return;
    const auto [low, high] = std::minmax_element(data.begin(), data.end());
    const int64_t lowest = *low;
    const int64_t span = static_cast<int64_t>(*high) - lowest + 1;
    if (span > 2 * static_cast<int64_t>(data.size()) + 4096) {
        std::sort(data.begin(), data.end());
        return;
    }
    std::vector<int> counts(static_cast<size_t>(span), 0);
    for (int value : data) ++counts[value - lowest];
    auto out = data.begin();
    for (int64_t k = 0; k < span; ++k)
        out = std::fill_n(out, counts[k], static_cast<int>(lowest + k));
}

}  // namespace

// Bin 0 takes everything up to the first midpoint, bin i the values in
// [mid(i-1), mid(i)] not taken before; values above the last midpoint are
// counted nowhere.
void hist(std::vector<int> data, const std::vector<int>& edges, std::vector<int>& counts) {
    sortValues(data);
    size_t p = 0;
    double lo = 0.0;
    for (size_t i = 0; i + 1 < edges.size(); ++i) {
        counts.push_back(0);
        const double up =
            static_cast<double>(static_cast<int>(static_cast<unsigned>(edges[i]) +
                                                 static_cast<unsigned>(edges[i + 1]))) *
            0.5;
        while (p < data.size() && (i == 0 || data[p] >= lo) && data[p] <= up) {
            ++counts.back();
            ++p;
        }
        lo = up;
    }
}

}  // namespace utils

// The most frequent heart rate on a 5 bpm grid from 60 to 210 (lowest bin on a tie).
int QK4_CFhrAlgorithm::basal_fhr(const std::vector<int>& trace) const {
    const std::vector<int> edges = utils::makeRange(fhrValidMin, 5, fhrValidMax);
    std::vector<int> counts;
    utils::hist(trace, edges, counts);
    size_t best = 0;
    for (size_t k = 1; k < counts.size(); ++k) {
        if (counts[k] > counts[best]) best = k;
    }
    return edges[best];
}

std::vector<double> QK4_CFhrAlgorithm::fhr_basalline(int value) const {
    const long long count = static_cast<long long>(sampleRate) * durationSeconds;
    return std::vector<double>(count > 0 ? static_cast<size_t>(count) : 0,
                               static_cast<double>(value));
}

std::vector<double> QK4_CFhrAlgorithm::fhr_baseline(const std::vector<int>& trace, int seconds) {
    samplePeriod = 1.0 / sampleRate;
    return weightedModeBaseline(trace, seconds, sampleRate, {10, 300, 300});
}

namespace {

constexpr double kExp5 = 148.4131591025766;
constexpr double kExp2 = 7.38905609893065;

}  // namespace

BaselineWindow baselineWindow(int length, int seconds, int sampleRate) {
    BaselineWindow window;
    if (length < 1 || sampleRate < 1) return window;
    const double period = 1.0 / sampleRate;
    window.ahead = utils::truncate_to_int(seconds / 60.0 * 0.5 * (60.0 / period));
    const long long remaining = static_cast<long long>(length) - window.ahead;
    const int behind = utils::truncate_to_int((seconds / 60) * 0.5 * (60.0 / period));
    window.behind = static_cast<int>(std::min<long long>(remaining - 1, behind));
    window.middleEnd = static_cast<int>(std::max<long long>(remaining, 0));
    // Windows without a positive half-width on both sides give an all-zero curve.
    if (window.ahead <= 0 || window.behind <= 0) return window;
    for (double a : utils::linspace(0.0, 5.0, window.behind)) {
        window.weights.push_back(std::exp(a) / kExp5);
    }
    window.risingCount = static_cast<int>(window.weights.size());
    const std::vector<double> falling = utils::linspace(2.0, 0.1, window.ahead + 1);
    for (size_t k = 1; k < falling.size(); ++k) {
        window.weights.push_back(std::exp(falling[k]) / kExp2);
    }
    return window;
}

WindowSpan BaselineWindow::span(int i, int length) const {
    const int size = static_cast<int>(weights.size());
    if (i < behind - 1) return {0, ahead + i, size - (ahead + 2 + i), false};
    if (i < middleEnd) return {i - behind + 1, i + ahead, 0, false};
    return {i - behind + 1, length - 1, 0, true};
}

double bandEstimate(const double* histogram, int bins, int bandWidth) {
    double best = 0.0;
    int bestBand = -1;
    // The two highest bins never fall inside a band.
    for (int t = 0; t + bandWidth + 1 < bins; ++t) {
        double total = histogram[t];
        for (int m = 1; m < bandWidth; ++m) total = total + histogram[t + m];
        if (total > best) {
            best = total;
            bestBand = t;
        }
    }
    if (bestBand < 0) return 0.0;
    double moment = 0.0;
    for (int m = 0; m < bandWidth; ++m) {
        moment = moment + static_cast<double>(bestBand + 1 + m) * histogram[bestBand + m];
    }
    return moment / best;
}

namespace {

// One output sample of the written form: a fresh histogram, weights added in
// ascending sample order, then the band search.
double singleOutput(const std::vector<int>& trace, const BaselineWindow& window,
                    const BaselineShape& shape, int i) {
    const int n = static_cast<int>(trace.size());
    const WindowSpan span = window.span(i, n);
    const int bins = span.tail ? shape.tailBins : shape.edgeBins;
    const int weightCount = static_cast<int>(window.weights.size());
    std::vector<double> histogram(bins, 0.0);
    for (int j = span.first; j <= span.last; ++j) {
        const int w = span.weight0 + (j - span.first);
        const int value = trace[j];
        if (w >= 0 && w < weightCount && value >= 1 && value <= bins) {
            histogram[value - 1] += window.weights[w];
        }
    }
    return bandEstimate(histogram.data(), bins, shape.bandWidth);
}

}  // namespace

std::vector<double> weightedModeBaselineReference(const std::vector<int>& trace, int seconds,
                                                  int sampleRate, const BaselineShape& shape) {
    const int n = static_cast<int>(trace.size());
    std::vector<double> curve(n, 0.0);
    const BaselineWindow window = baselineWindow(n, seconds, sampleRate);
    if (window.weights.empty()) return curve;
    for (int i = 0; i < n; ++i) curve[i] = singleOutput(trace, window, shape, i);
    return curve;
}

namespace {

// The runs ask for the same curve more than once (the Krebs, ACOG and
// contraction runs of one recording share their heart-rate trace, the Fischer
// and ACOG runs their toco trace), so the last few curves are kept, with their
// requests, and handed out again for an identical request.
class RecentBaselines {
public:
    const std::vector<double>* find(const std::vector<int>& trace, int seconds, int sampleRate,
                                    const BaselineShape& shape) const {
        for (const Entry& entry : entries_) {
            if (entry.seconds == seconds && entry.sampleRate == sampleRate &&
                entry.shape.bandWidth == shape.bandWidth &&
                entry.shape.edgeBins == shape.edgeBins && entry.shape.tailBins == shape.tailBins &&
                entry.trace == trace) {
                return &entry.curve;
            }
        }
        return nullptr;
    }

    void keep(const std::vector<int>& trace, int seconds, int sampleRate,
              const BaselineShape& shape, const std::vector<double>& curve) {
        if (entries_.size() == kKept) entries_.pop_front();
        entries_.push_back({trace, seconds, sampleRate, shape, curve});
    }

private:
    static constexpr size_t kKept = 4;
    struct Entry {
        std::vector<int> trace;
        int seconds;
        int sampleRate;
        BaselineShape shape;
        std::vector<double> curve;
    };
    std::deque<Entry> entries_;
};

}  // namespace

std::vector<double> weightedModeBaseline(const std::vector<int>& trace, int seconds, int sampleRate,
                                         const BaselineShape& shape) {
    static RecentBaselines recent;
    if (const std::vector<double>* known = recent.find(trace, seconds, sampleRate, shape)) {
        return *known;
    }
    std::vector<double> curve = weightedModeBaselineLanes(trace, seconds, sampleRate, shape);
    recent.keep(trace, seconds, sampleRate, shape, curve);
    return curve;
}
