#include "baseline_bounds.h"

#include <algorithm>
#include <cmath>

// Why the bounds are safe.
//
// For an output whose centre sample is c (the sample the profile's peak index
// weights), a sample j of its window weighs W[j - c + peak].  The profile
// rises like exp(rise * d) up to d = j - c = 0 and falls like
// exp(-fall * (d - flat)) from d = 1 on; call this model m(d).  Every profile
// index enters one output at most once, so for every output and every set of
// bins the model sum and the exact weight sum differ by at most
// E = sum over the profile of |W[k] - m(k - peak)|, measured once per curve.
//
// For a run of outputs with centres cA .. cB (window union [LA, HB], window
// intersection [LB, HA]), a sample's model weight is at most U(j):
// exp(rise * (j - cA)) up to cA, 1 up to cB + flat, exp(-fall * (j - cB - flat))
// after.  At least it is k * U(j) inside the intersection, with
// k = min(exp(-rise * (cB - cA)), exp(-fall * (cB - cA))).  So, value by value,
// the sum of U over the union bounds every output's band totals from above, and
// k times that sum, less the sum of U over the union's samples outside the
// intersection, bounds them from below.  The sums of U come from running
// per-value sums of exp(rise * j) and exp(-fall * j), so a run costs work in
// proportion to the values present, not to the window.
//
// Rounding: with u = 2^-53, N samples and exponential arguments of magnitude at
// most A, every computed term is within (A + 68) u of its model value (an exact
// exponential every 64 samples, products in between), the running sums within
// N u, the differences, scalings and band sums within (bins + 8) u, all
// relative to the magnitude M of the running sums scaled to the run; the exact
// totals of the written form lie within (N + bins) u M of the real sums.  So
// every computed bound is within
// D = E + (4 N + 4 bins + 4 A + 300) u (M + E) of what it bounds.
//
// A band whose upper bound falls short of the best lower bound by more than
// 2 D has, for every output of the run, an exact total strictly below the exact
// total of the band with that lower bound, so it can never be the first band
// with the largest total and its bins need no exact sums.  The code uses
// twice that margin.

namespace {

constexpr double kUnitRoundoff = 0x1p-53;
// Largest |argument| of the model's exponentials: keeps every term and every
// sum of at most 2^31 terms a normal double.
constexpr double kMaxArgument = 600.0;
// The terms are exact exponentials every kTermStride samples, products between.
constexpr int kTermStride = 64;

}  // namespace

// Fits the model to the weight profile and measures how far it is off.
WeightModel describeWeights(const BaselineWindow& window, int length) {
    WeightModel model;
    if (window.behind < 2 || window.ahead < 1) return model;
    model.rise = 5.0 / (window.behind - 1);
    model.fall = 1.9 / window.ahead;
    model.peak = window.behind - 1;
    model.flat = std::clamp(window.risingCount - window.behind, 0, 1);
    const std::vector<double>& weights = window.weights;
    model.argumentBound = std::max(model.rise, model.fall) *
                          (static_cast<double>(length) + static_cast<double>(weights.size()) + 4.0);
    if (model.argumentBound > kMaxArgument) return model;
    double deviation = 0.0, modelTotal = 0.0;
    for (int k = 0; k < static_cast<int>(weights.size()); ++k) {
        const double weight = k <= model.peak
                                  ? std::exp(model.rise * (k - model.peak))
                                  : std::exp(-model.fall * (k - model.peak - model.flat));
        deviation += std::fabs(weights[k] - weight);
        modelTotal += weight;
    }
    model.profileError =
        (deviation + (model.argumentBound + 4.0) * kUnitRoundoff * modelTotal) * (1.0 + 0x1p-30);
    model.riseTerms.resize(length);
    model.fallTerms.resize(length);
    const double riseStep = std::exp(model.rise), fallStep = std::exp(-model.fall);
    for (int j = 0; j < length; ++j) {
        if (j % kTermStride == 0) {
            model.riseTerms[j] = std::exp(model.rise * j);
            model.fallTerms[j] = std::exp(-model.fall * j);
        } else {
            model.riseTerms[j] = model.riseTerms[j - 1] * riseStep;
            model.fallTerms[j] = model.fallTerms[j - 1] * fallStep;
        }
    }
    model.usable = true;
    return model;
}

BandBounds::BandBounds(const std::vector<int>& trace, const BaselineWindow& window,
                       const WeightModel& model, const BaselineShape& shape)
    : trace_(trace),
      bandWidth_(shape.bandWidth),
      length_(static_cast<int>(trace.size())),
      maxValue_(std::max(shape.edgeBins, shape.tailBins)),
      window_(window),
      model_(model),
      bandMarks_(maxValue_ + 1, 0) {
    lowestValue_ = maxValue_ + 1;
    for (int value : trace) {
        if (value < 1 || value > maxValue_) continue;
        lowestValue_ = std::min(lowestValue_, value);
        highestValue_ = std::max(highestValue_, value);
    }
    pruning_ = model.usable && bandWidth_ >= 1 && highestValue_ >= lowestValue_;
    if (!pruning_) return;
    for (RunningSums* sums : {&riseFrom_, &riseTo_, &fallFrom_, &fallTo_}) {
        sums->byValue.assign(maxValue_ + 1, 0.0);
    }
    riseFrom_.terms = riseTo_.terms = model.riseTerms.data();
    fallFrom_.terms = fallTo_.terms = model.fallTerms.data();
    upper_.assign(maxValue_ + bandWidth_ + 2, 0.0);
    edges_.assign(maxValue_ + bandWidth_ + 2, 0.0);
}

void BandBounds::advance(RunningSums& sums, long target) const {
    const int end = static_cast<int>(std::clamp<long>(target, 0, length_));
    for (; sums.x < end; ++sums.x) {
        const int value = trace_[sums.x];
        if (value < 1 || value > maxValue_) continue;
        sums.byValue[value] += sums.terms[sums.x];
        sums.all += sums.terms[sums.x];
    }
}

// Adds scale times the per-value sums of the terms over `range` to upper_;
// returns the scaled sum over all samples up to the range's end.
double BandBounds::addRange(RunningSums& from, RunningSums& to, Range range, double scale) {
    if (range.last < range.first) return 0.0;
    advance(from, range.first);
    advance(to, range.last + 1);
    for (int v = lowestValue_; v <= highestValue_; ++v) {
        upper_[v] += scale * (to.byValue[v] - from.byValue[v]);
    }
    return scale * to.all;
}

// Adds the largest model weight of every sample in `range` to edges_.
void BandBounds::addEdge(Range range, const RunScales& run) {
    for (long j = range.first; j <= range.last; ++j) {
        const int value = trace_[j];
        if (value < 1 || value > maxValue_) continue;
        if (j <= run.centreA) {
            edges_[value] += model_.riseTerms[j] * run.riseScale;
        } else if (j <= run.centreB + model_.flat) {
            edges_[value] += 1.0;
        } else {
            edges_[value] += model_.fallTerms[j] * run.fallScale;
        }
    }
}

const CandidateBands& BandBounds::candidates(int first, int count, long offset, int bins) {
    const int lowBand = std::max(0, lowestValue_ - bandWidth_);
    const int highBand = std::min(bins - bandWidth_ - 2, highestValue_ - 1);
    if (highBand < lowBand) {
        candidates_.bands.clear();
        candidates_.rows.clear();
        return candidates_;
    }
    if (!pruning_) {
        std::fill(bandMarks_.begin() + lowBand, bandMarks_.begin() + highBand + 1, 1);
        collect(lowBand, highBand);
        return candidates_;
    }
    const int last = first + count - 1;
    const WindowSpan spanA = window_.span(first, length_);
    const WindowSpan spanB = window_.span(last, length_);
    RunScales run;
    const int flat = model_.flat;
    run.centreA = first - offset + model_.peak;
    run.centreB = last - offset + model_.peak;
    run.riseScale = std::exp(-model_.rise * run.centreA);
    run.fallScale = std::exp(model_.fall * (run.centreB + flat));
    std::fill(upper_.begin() + lowestValue_, upper_.begin() + highestValue_ + 1, 0.0);
    std::fill(edges_.begin() + lowestValue_, edges_.begin() + highestValue_ + 1, 0.0);
    // Upper bounds over the union of the windows: the rising part, the at most
    // count + flat samples around the centres, the falling part.
    double magnitude = addRange(
        riseFrom_, riseTo_, {spanA.first, std::min<long>(run.centreA, spanB.last)}, run.riseScale);
    const Range middle{std::max<long>(run.centreA + 1, spanA.first),
                       std::min<long>(run.centreB + flat, spanB.last)};
    for (long j = middle.first; j <= middle.last; ++j) {
        const int value = trace_[j];
        if (value >= 1 && value <= maxValue_) upper_[value] += 1.0;
    }
    magnitude += std::max<long>(middle.last - middle.first + 1, 0);
    magnitude +=
        addRange(fallFrom_, fallTo_,
                 {std::max<long>(run.centreB + flat + 1, spanA.first), spanB.last}, run.fallScale);
    // The union's samples outside the intersection (all of them when the
    // intersection is empty), for the lower bounds.
    const long leftEnd = std::min<long>(spanB.first - 1, spanB.last);
    addEdge({spanA.first, leftEnd}, run);
    addEdge({std::max<long>(spanA.last + 1, leftEnd + 1), spanB.last}, run);
    const double runLength = static_cast<double>(run.centreB - run.centreA);
    const double shrink =
        std::min(std::exp(-model_.rise * runLength), std::exp(-model_.fall * runLength));
    const double margin = 2.0 * (model_.profileError +
                                 (4.0 * length_ + 4.0 * bins + 4.0 * model_.argumentBound + 300.0) *
                                     kUnitRoundoff * (magnitude + model_.profileError));
    std::fill(bandMarks_.begin() + lowBand, bandMarks_.begin() + highBand + 1, 0);
    markBands(margin, shrink, bins);
    collect(lowBand, highBand);
    return candidates_;
}

// Marks every band whose upper bound reaches the best lower bound less twice the margin.
void BandBounds::markBands(double margin, double shrink, int bins) {
    const int lowBand = std::max(0, lowestValue_ - bandWidth_);
    const int highBand = std::min(bins - bandWidth_ - 2, highestValue_ - 1);
    // Band t covers the values t + 1 .. t + bandWidth; totals slide along the values.
    double upperTotal = 0.0, edgeTotal = 0.0, bestLower = 0.0;
    for (int v = lowBand + 1; v < lowBand + bandWidth_; ++v) {
        upperTotal += upper_[v];
        edgeTotal += edges_[v];
    }
    bandUpper_.resize(highBand - lowBand + 1);
    for (int t = lowBand; t <= highBand; ++t) {
        upperTotal += upper_[t + bandWidth_];
        edgeTotal += edges_[t + bandWidth_];
        bandUpper_[t - lowBand] = upperTotal;
        bestLower = std::max(bestLower, shrink * upperTotal - edgeTotal);
        upperTotal -= upper_[t + 1];
        edgeTotal -= edges_[t + 1];
    }
    for (int t = lowBand; t <= highBand; ++t) {
        if (bandUpper_[t - lowBand] >= bestLower - 2.0 * margin) bandMarks_[t] = 1;
    }
}

void BandBounds::collect(int lowBand, int highBand) {
    candidates_.bands.clear();
    candidates_.rows.clear();
    int nextRow = 0;
    for (int t = lowBand; t <= highBand; ++t) {
        if (!bandMarks_[t]) continue;
        candidates_.bands.push_back(t);
        for (int row = std::max(nextRow, t); row < t + bandWidth_; ++row) {
            candidates_.rows.push_back(row);
        }
        nextRow = t + bandWidth_;
    }
}
