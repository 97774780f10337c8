#include <algorithm>
#include <cmath>
#include <deque>

#include "algorithm.h"
#include "utils.h"

namespace utils {

// Bin 0 takes everything up to the first midpoint, bin i the values in
// [mid(i-1), mid(i)] not taken before; values above the last midpoint are
// counted nowhere.
void hist(std::vector<int> data, const std::vector<int>& edges, std::vector<int>& counts) {
    std::sort(data.begin(), data.end());
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

// The fast form computes kLanes neighbouring output samples at once.  Each lane
// keeps its own histogram and receives exactly the weights of the written form,
// in the same ascending sample order; samples outside a lane's window add +0.0,
// which leaves a non-negative sum unchanged.  Bands without weight cannot win
// (the best total starts at 0.0 and must be beaten strictly), so the band search
// only visits bands that touch a filled bin.
namespace {

constexpr int kLanes = 32;
constexpr int kMaxBins = 300;
// Lanes are handled in chunks of kChunk doubles, each chunk sum kept in a register.
constexpr int kChunk = 8;
constexpr int kChunks = kLanes / kChunk;
typedef double Chunk
    __attribute__((vector_size(kChunk * sizeof(double)), aligned(sizeof(double)), may_alias));

// Sample positions grouped by value: the positions of value v, ascending, are
// positions[start[v] .. start[v + 1]).
struct PositionsByValue {
    std::vector<int> positions;
    std::vector<int> start;

    PositionsByValue(const std::vector<int>& trace, int maxValue) : start(maxValue + 2, 0) {
        for (int value : trace) {
            if (value >= 1 && value <= maxValue) ++start[value + 1];
        }
        for (int v = 1; v <= maxValue + 1; ++v) start[v] += start[v - 1];
        positions.resize(start[maxValue + 1]);
        std::vector<int> next(start.begin(), start.end() - 1);
        for (int j = 0; j < static_cast<int>(trace.size()); ++j) {
            const int value = trace[j];
            if (value >= 1 && value <= maxValue) positions[next[value]++] = j;
        }
    }
};

// Fills histogram row v - 1 (v = 1 .. bins) with the sum, in ascending sample
// order, of the kLanes consecutive weights padded[base + j ..] of every sample
// j in [first, last] holding the value v.  Each row's sum stays in registers.
// Returns the lowest and highest filled row through lowRow and highRow.
__attribute__((target_clones("avx512f", "avx2", "default"))) void accumulateLanes(
    const PositionsByValue& byValue, int first, int last, const double* padded, long base, int bins,
    double* histogram, int& lowRow, int& highRow) {
    lowRow = bins;
    highRow = -1;
    for (int v = 1; v <= bins; ++v) {
        const int* begin = byValue.positions.data() + byValue.start[v];
        const int* end = byValue.positions.data() + byValue.start[v + 1];
        const int* from = std::lower_bound(begin, end, first);
        const int* to = std::upper_bound(from, end, last);
        Chunk* row = reinterpret_cast<Chunk*>(histogram + static_cast<long>(v - 1) * kLanes);
        Chunk sum[kChunks] = {};
        for (const int* p = from; p < to; ++p) {
            const Chunk* weights = reinterpret_cast<const Chunk*>(padded + base + *p);
            for (int c = 0; c < kChunks; ++c) sum[c] = sum[c] + weights[c];
        }
        for (int c = 0; c < kChunks; ++c) row[c] = sum[c];
        if (from == to) continue;
        lowRow = std::min(lowRow, v - 1);
        highRow = v - 1;
    }
}

// Bands whose approximate total (from prefix sums) falls this far, relative to
// the whole histogram, below the approximate best cannot be the exact best:
// the prefix and band sums over at most 300 bins err by less than 2^-43 of it.
constexpr double kCandidateMargin = 0x1p-40;

// bandEstimate for every lane of a lane histogram whose filled rows lie in
// [lowRow, highRow].  Exact band totals, added in the written order, are formed
// only for the bands that can hold the best total; the first band reaching the
// best total is the same as in a search over every band.
__attribute__((target_clones("avx512f", "avx2", "default"))) void bandEstimateLanes(
    const double* histogram, int bins, int bandWidth, int lowRow, int highRow, double* estimates) {
    double best[kLanes] = {};
    int bestBand[kLanes];
    std::fill(bestBand, bestBand + kLanes, -1);
    const int firstBand = std::max(0, lowRow - bandWidth + 1);
    const int lastBand = std::min(bins - bandWidth - 2, highRow);
    const Chunk* rows = reinterpret_cast<const Chunk*>(histogram);
    Chunk prefix[kMaxBins + 1];
    for (int c = 0; c < kChunks; ++c) {
        const int span = lastBand + bandWidth - firstBand;
        prefix[0] = Chunk{};
        for (int r = 0; r < span; ++r)
            prefix[r + 1] = prefix[r] + rows[(firstBand + r) * kChunks + c];
        Chunk bestApprox = prefix[0];
        for (int t = firstBand; t <= lastBand; ++t) {
            const Chunk approx = prefix[t - firstBand + bandWidth] - prefix[t - firstBand];
            bestApprox = bestApprox > approx ? bestApprox : approx;
        }
        const Chunk threshold = bestApprox - prefix[span > 0 ? span : 0] * (2 * kCandidateMargin);
        for (int t = firstBand; t <= lastBand; ++t) {
            const Chunk approx = prefix[t - firstBand + bandWidth] - prefix[t - firstBand];
            bool candidate = false;
            for (int k = 0; k < kChunk; ++k) candidate = candidate || approx[k] >= threshold[k];
            if (!candidate) continue;
            Chunk total = rows[t * kChunks + c];
            for (int m = 1; m < bandWidth; ++m) total = total + rows[(t + m) * kChunks + c];
            for (int k = 0; k < kChunk; ++k) {
                const int s = c * kChunk + k;
                if (total[k] > best[s]) {
                    best[s] = total[k];
                    bestBand[s] = t;
                }
            }
        }
    }
    for (int s = 0; s < kLanes; ++s) {
        if (bestBand[s] < 0) {
            estimates[s] = 0.0;
            continue;
        }
        double moment = 0.0;
        for (int m = 0; m < bandWidth; ++m) {
            const int bin = bestBand[s] + m;
            moment = moment + static_cast<double>(bin + 1) * histogram[bin * kLanes + s];
        }
        estimates[s] = moment / best[s];
    }
}

// Weights of one region padded with kLanes zeros on both sides: entry
// kLanes + k holds weights[k] for k in 0..lastIndex.
std::vector<double> paddedWeights(const std::vector<double>& weights, int lastIndex) {
    std::vector<double> padded(lastIndex + 1 + 2 * kLanes, 0.0);
    std::copy(weights.begin(), weights.begin() + lastIndex + 1, padded.begin() + kLanes);
    return padded;
}

class LaneBaseline {
public:
    LaneBaseline(const std::vector<int>& trace, const BaselineWindow& window,
                 const BaselineShape& shape)
        : window_(window),
          shape_(shape),
          n_(static_cast<int>(trace.size())),
          // The start region never uses the last weight; the others use the
          // first behind + ahead weights.
          startWeights_(paddedWeights(window.weights, static_cast<int>(window.weights.size()) - 2)),
          middleWeights_(paddedWeights(window.weights, window.behind + window.ahead - 1)),
          byValue_(trace, std::max(shape.edgeBins, shape.tailBins)),
          histogram_(static_cast<size_t>(std::max(shape.edgeBins, shape.tailBins)) * kLanes) {}

    // Outputs i .. i + count - 1 (count <= kLanes), all in the region of output
    // i.  Lanes beyond count follow the same region's formula on the same
    // samples and are discarded.
    void group(int i, int count, double* curve) {
        const WindowSpan firstSpan = window_.span(i, n_);
        const WindowSpan lastSpan = window_.span(i + count - 1, n_);
        const bool start = i < window_.behind - 1;
        const std::vector<double>& padded = start ? startWeights_ : middleWeights_;
        // Weight index of output o at sample j: j - o + offset.
        const long offset = start ? static_cast<long>(window_.weights.size()) - window_.ahead - 2
                                  : window_.behind - 1;
        // Row slot s holds output i + kLanes - 1 - s, so the lanes read ascending weights.
        const long base = kLanes + offset - i - (kLanes - 1);
        const int bins = firstSpan.tail ? shape_.tailBins : shape_.edgeBins;
        int lowRow = 0, highRow = 0;
        accumulateLanes(byValue_, firstSpan.first, lastSpan.last, padded.data(), base, bins,
                        histogram_.data(), lowRow, highRow);
        double estimates[kLanes];
        bandEstimateLanes(histogram_.data(), bins, shape_.bandWidth, lowRow, highRow, estimates);
        for (int s = kLanes - count; s < kLanes; ++s) curve[i + kLanes - 1 - s] = estimates[s];
    }

private:
    const BaselineWindow& window_;
    const BaselineShape& shape_;
    int n_;
    std::vector<double> startWeights_;
    std::vector<double> middleWeights_;
    PositionsByValue byValue_;
    std::vector<double> histogram_;
};

// First output after the region (start, middle or end) of output i.
int regionEnd(const BaselineWindow& window, int i, int length) {
    if (i < window.behind - 1) return window.behind - 1;
    return i < window.middleEnd ? window.middleEnd : length;
}

}  // namespace

std::vector<double> weightedModeBaselineLanes(const std::vector<int>& trace, int seconds,
                                              int sampleRate, const BaselineShape& shape) {
    const int n = static_cast<int>(trace.size());
    const BaselineWindow window = baselineWindow(n, seconds, sampleRate);
    // Every weight index of the written form lies inside the profile when it is
    // at least behind + ahead long; otherwise keep to the written form.
    if (window.weights.empty() || std::max(shape.edgeBins, shape.tailBins) > kMaxBins ||
        static_cast<long>(window.weights.size()) <
            static_cast<long>(window.behind) + window.ahead) {
        return weightedModeBaselineReference(trace, seconds, sampleRate, shape);
    }
    std::vector<double> curve(n, 0.0);
    LaneBaseline lanes(trace, window, shape);
    for (int i = 0; i < n;) {
        const int count = std::min(kLanes, regionEnd(window, i, n) - i);
        lanes.group(i, count, curve.data());
        i += count;
    }
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
