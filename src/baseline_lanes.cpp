// The fast form of the weighted-mode baseline: kLanes neighbouring output
// samples at once, each lane receiving exactly the weights of the written form
// in the same ascending sample order (samples outside a lane's window add
// +0.0, which leaves a non-negative sum unchanged), and exact sums formed only
// for the bins of bands that can hold the best total.
#include <algorithm>
#include <cmath>

#include "algorithm.h"
#include "baseline_bounds.h"
#include "lane_kernels.h"

namespace {

// Sample positions grouped by value: the positions of value v, ascending, are
// positions[start[v] .. start[v + 1]).
class PositionsByValue {
public:
    PositionsByValue(const std::vector<int>& trace, int maxValue) : start_(maxValue + 2, 0) {
        for (int value : trace) {
            if (value >= 1 && value <= maxValue) ++start_[value + 1];
        }
        for (int v = 1; v <= maxValue + 1; ++v) start_[v] += start_[v - 1];
        positions_.resize(start_[maxValue + 1]);
        std::vector<int> next(start_.begin(), start_.end() - 1);
        for (int j = 0; j < static_cast<int>(trace.size()); ++j) {
            const int value = trace[j];
            if (value >= 1 && value <= maxValue) positions_[next[value]++] = j;
        }
    }

    // The first position of value v at or after x.
    const int* firstAtOrAfter(int v, int x) const { return std::lower_bound(begin(v), end(v), x); }
    const int* begin(int v) const { return positions_.data() + start_[v]; }
    const int* end(int v) const { return positions_.data() + start_[v + 1]; }

private:
    std::vector<int> positions_;
    std::vector<int> start_;
};

// Positions stream through the block kernel in blocks of this many samples,
// so that the 32 KB of weights they read stay in a first-level data cache.
constexpr int kBlockSamples = 4096;

// Weights of one region padded with kLanes zeros on both sides: entry
// kLanes + k holds weights[k] for k in 0..lastIndex.
std::vector<double> paddedWeights(const std::vector<double>& weights, int lastIndex) {
    std::vector<double> padded(lastIndex + 1 + 2 * kLanes, 0.0);
    std::copy(weights.begin(), weights.begin() + lastIndex + 1, padded.begin() + kLanes);
    return padded;
}

// Everything of a request that depends only on its length, window and rate.
struct LaneProfile {
    int length, seconds, sampleRate;
    BaselineWindow window;
    WeightModel model;
    std::vector<double> startWeights, middleWeights;
};

// The profile of the last request: the runs of one recording ask for curves of
// the same length again and again.
const LaneProfile& laneProfile(int length, int seconds, int sampleRate) {
    static LaneProfile last{-1, 0, 0, {}, {}, {}, {}};
    if (last.length == length && last.seconds == seconds && last.sampleRate == sampleRate) {
        return last;
    }
    last = {length, seconds, sampleRate, baselineWindow(length, seconds, sampleRate), {}, {}, {}};
    const BaselineWindow& window = last.window;
    if (window.weights.empty()) return last;
    last.model = describeWeights(window, length);
    // The start region never uses the last weight; the others use the first
    // behind + ahead weights.
    last.startWeights = paddedWeights(window.weights, static_cast<int>(window.weights.size()) - 2);
    last.middleWeights = paddedWeights(window.weights, window.behind + window.ahead - 1);
    return last;
}

class LaneBaseline {
public:
    LaneBaseline(const std::vector<int>& trace, const LaneProfile& profile,
                 const BaselineShape& shape)
        : window_(profile.window),
          shape_(shape),
          n_(static_cast<int>(trace.size())),
          startWeights_(profile.startWeights),
          middleWeights_(profile.middleWeights),
          byValue_(trace, std::max(shape.edgeBins, shape.tailBins)),
          bounds_(trace, profile.window, profile.model, shape),
          histogram_(static_cast<size_t>(std::max(shape.edgeBins, shape.tailBins)) * kLanes),
          blockKernel_(blockKernel()),
          bandKernel_(bandKernel()) {}

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
        const CandidateBands& candidates = bounds_.candidates(i, count, offset, bins);
        accumulate(candidates.rows, firstSpan.first, lastSpan.last, padded.data() + base);
        double estimates[kLanes];
        bandKernel_(histogram_.data(), candidates.bands.data(),
                    static_cast<int>(candidates.bands.size()), shape_.bandWidth, estimates);
        for (int s = kLanes - count; s < kLanes; ++s) curve[i + kLanes - 1 - s] = estimates[s];
    }

private:
    // Fills the listed rows (row v - 1 for value v) with the sums of the lane
    // weights of every sample of that value in [first, last], block by block
    // in sample order.
    void accumulate(const std::vector<int>& rows, int first, int last, const double* weights) {
        runs_.clear();
        for (int row : rows) {
            const int value = row + 1;
            double* sums = histogram_.data() + static_cast<long>(row) * kLanes;
            const RowRun run{byValue_.firstAtOrAfter(value, first), byValue_.end(value), sums,
                             true};
            if (run.next != run.end && *run.next <= last) {
                runs_.push_back(run);
            } else {
                std::fill(sums, sums + kLanes, 0.0);
            }
        }
        for (int blockStart = first; blockStart <= last; blockStart += kBlockSamples) {
            const int limit = std::min(last + 1, blockStart + kBlockSamples);
            blockKernel_(runs_.data(), static_cast<int>(runs_.size()), limit, weights);
        }
    }

    const BaselineWindow& window_;
    const BaselineShape& shape_;
    int n_;
    const std::vector<double>& startWeights_;
    const std::vector<double>& middleWeights_;
    PositionsByValue byValue_;
    BandBounds bounds_;
    std::vector<double> histogram_;
    std::vector<RowRun> runs_;
    BlockKernel blockKernel_;
    BandKernel bandKernel_;
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
    const LaneProfile& profile = laneProfile(n, seconds, sampleRate);
    const BaselineWindow& window = profile.window;
    // Every weight index of the written form lies inside the profile when it is
    // at least behind + ahead long; otherwise keep to the written form.
    if (window.weights.empty() || std::max(shape.edgeBins, shape.tailBins) > kMaxBaselineBins ||
        static_cast<long>(window.weights.size()) <
            static_cast<long>(window.behind) + window.ahead) {
        return weightedModeBaselineReference(trace, seconds, sampleRate, shape);
    }
    std::vector<double> curve(n, 0.0);
    LaneBaseline lanes(trace, profile, shape);
    for (int i = 0; i < n;) {
        const int count = std::min(kLanes, regionEnd(window, i, n) - i);
        lanes.group(i, count, curve.data());
        i += count;
    }
    return curve;
}
