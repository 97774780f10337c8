// Which bands of the baseline histograms can hold the best total: cheap
// bounds on every band total of a run of neighbouring outputs, so that exact
// sums are formed only for the bins of bands that can win.
#pragma once

#include <vector>

#include "algorithm.h"

// Largest histogram (bins) the fast form handles.
constexpr int kMaxBaselineBins = 300;

// The weight profile of a window as exponentials: exp(rise * d) for d <= 0 and
// exp(-fall * (d - flat)) for d >= 1, d = weight index - peak, with a bound on
// how far the profile is from it and the terms exp(rise * j), exp(-fall * j)
// of every sample j.  Not usable for short or extreme windows.
struct WeightModel {
    bool usable = false;
    double rise = 0.0;
    double fall = 0.0;
    int flat = 0;
    int peak = 0;
    double profileError = 0.0;   // bound on the sum over the profile of |weight - model|
    double argumentBound = 0.0;  // bound on |rise * j|, |fall * j| and the like
    std::vector<double> riseTerms, fallTerms;
};
WeightModel describeWeights(const BaselineWindow& window, int length);

struct CandidateBands {
    std::vector<int> bands;  // first bin of every candidate band, ascending
    std::vector<int> rows;   // every bin those bands cover, ascending
};

class BandBounds {
public:
    BandBounds(const std::vector<int>& trace, const BaselineWindow& window,
               const WeightModel& model, const BaselineShape& shape);

    // The bands that can hold the best total of some output in
    // first .. first + count - 1: outputs of one region, asked for in
    // ascending order from call to call.  The region's weight index of sample
    // j for output o is j - o + offset, and its histogram has `bins` bins.
    const CandidateBands& candidates(int first, int count, long offset, int bins);

private:
    // Per-value sums of terms[j] over the samples j < x; x only moves forward.
    struct RunningSums {
        const double* terms = nullptr;
        int x = 0;
        std::vector<double> byValue;
        double all = 0.0;
    };
    struct Range {
        long first, last;  // inclusive; empty when last < first
    };
    // Centres of a run's first and last outputs and the scales of its largest weights.
    struct RunScales {
        long centreA, centreB;
        double riseScale, fallScale;
    };

    void advance(RunningSums& sums, long target) const;
    double addRange(RunningSums& from, RunningSums& to, Range range, double scale);
    void addEdge(Range range, const RunScales& run);
    void markBands(double margin, double shrink, int bins);
    void collect(int lowBand, int highBand);

    const std::vector<int>& trace_;
    int bandWidth_;
    int length_;
    int maxValue_;
    int lowestValue_ = 0;  // lowest and highest value in 1 .. maxValue_ present
    int highestValue_ = -1;
    const BaselineWindow& window_;
    const WeightModel& model_;
    bool pruning_;  // false: every band touching a present value is a candidate
    RunningSums riseFrom_, riseTo_, fallFrom_, fallTo_;
    std::vector<double> upper_, edges_, bandUpper_;
    std::vector<char> bandMarks_;
    CandidateBands candidates_;
};
