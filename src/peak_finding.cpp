#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <cstdlib>

#include "utils.h"

namespace utils {

namespace {

int signOf(double d) { return d > 0.0 ? 1 : (d < 0.0 ? -1 : 0); }

// Keeps entry k of every parallel vector exactly where keep(k) holds, in order.
template <class Keep, class... Vectors>
void keepWhere(Keep keep, size_t count, Vectors&... vectors) {
    size_t out = 0;
    for (size_t k = 0; k < count; ++k) {
        if (!keep(k)) continue;
        ((vectors[out] = vectors[k]), ...);
        ++out;
    }
    (vectors.resize(out), ...);
}

// Candidate peaks with their bases and widths, before the spacing filter.
struct PeakSet {
    std::vector<int> locs;
    std::vector<double> baseHeight;
    std::vector<int> leftBase;
    std::vector<int> rightBase;
    std::vector<double> widths;
};

PeakSet candidatePeaks(const std::vector<double>& signal, int minPeakHeight,
                       int minPeakProminence) {
    PeakSet set;
    const Extrema extrema = findExtrema(signal);
    for (int p : extrema.maxima) {
        if (signal[p] > static_cast<double>(minPeakHeight)) set.locs.push_back(p);
    }
    getPeakBase(signal, set.locs, extrema.inflections, set.baseHeight, set.leftBase, set.rightBase);
    removeMinPeakProminence(signal, set.locs, set.baseHeight, set.leftBase, set.rightBase,
                            minPeakProminence);
    set.widths = getHalfMaxBounds(signal, set.locs, set.baseHeight, set.leftBase, set.rightBase);
    return set;
}

// Ranks the peaks by height (ties by position) and lets each surviving peak
// delete every other peak within minPeakDistance (inclusive).  Returns the
// numbers of the surviving peaks in position order.
std::vector<int> spacingFilter(const std::vector<double>& signal, const std::vector<int>& locs,
                               int minPeakDistance) {
    const int m = static_cast<int>(locs.size());
    std::vector<double> heights(m);
    std::vector<int> ranked(m);
    for (int k = 0; k < m; ++k) {
        heights[k] = signal[locs[k]];
        ranked[k] = k;
    }
    ucqSort(heights.data(), 0, m - 1, ranked.data(), 0);
    idxSort(heights.data(), ranked.data(), m);

    std::vector<char> deleted(m, 0);
    for (int r = 0; r < m; ++r) {
        if (deleted[r]) continue;
        const int64_t centre = locs[ranked[r]];
        const int64_t lo = centre - minPeakDistance;
        const int64_t hi = centre + minPeakDistance;
        for (int j = 0; j < m; ++j) {
            const int64_t at = locs[ranked[j]];
            deleted[j] = deleted[j] || (lo <= at && at <= hi);
        }
        deleted[r] = 0;
    }
    std::vector<int> kept;
    for (int r = 0; r < m; ++r) {
        if (!deleted[r]) kept.push_back(ranked[r]);
    }
    if (!kept.empty()) std::qsort(kept.data(), kept.size(), sizeof(int), cmp);
    return kept;
}

}  // namespace

// The signal is bookended by DBL_MAX and runs of equal values are compressed to
// their first sample; sign changes of the first difference are the inflections,
// changes from rising to falling the maxima.
Extrema findExtrema(const std::vector<double>& signal) {
    const int n = static_cast<int>(signal.size());
    auto y = [&](int k) { return (k == 0 || k == n + 1) ? DBL_MAX : signal[k - 1]; };
    std::vector<int> kept{0};
    for (int k = 1; k <= n + 1; ++k) {
        if (y(k) != y(k - 1)) kept.push_back(k);
    }
    Extrema extrema;
    const int c = static_cast<int>(kept.size());
    for (int t = 1; t + 1 < c; ++t) {
        const int before = signOf(y(kept[t]) - y(kept[t - 1]));
        const int after = signOf(y(kept[t + 1]) - y(kept[t]));
        if (before != after) extrema.inflections.push_back(kept[t] - 1);
        if (before > 0 && after < 0) extrema.maxima.push_back(kept[t] - 1);
    }
    return extrema;
}

// The stack of remembered peaks that could carry a base past lower neighbouring
// peaks is emptied at every valley, so the base of a peak is simply the
// inflection walked last before reaching it.
void getLeftBase(const std::vector<double>& signal, const std::vector<int>& peaks,
                 const std::vector<int>& inflections, std::vector<int>& baseIndex,
                 std::vector<double>& baseHeight) {
    baseIndex.clear();
    baseHeight.clear();
    double valley = DBL_MAX;
    int valleyIndex = 0;
    size_t i = 0;
    for (int peak : peaks) {
        while (i < inflections.size() && inflections[i] != peak) {
            valleyIndex = inflections[i];
            valley = signal[valleyIndex];
            ++i;
        }
        baseIndex.push_back(valleyIndex);
        baseHeight.push_back(valley);
        if (i < inflections.size()) ++i;
    }
}

void getPeakBase(const std::vector<double>& signal, const std::vector<int>& peaks,
                 const std::vector<int>& inflections, std::vector<double>& baseHeight,
                 std::vector<int>& leftBase, std::vector<int>& rightBase) {
    std::vector<double> leftHeight, rightHeight;
    getLeftBase(signal, peaks, inflections, leftBase, leftHeight);
    const std::vector<int> reversedPeaks(peaks.rbegin(), peaks.rend());
    const std::vector<int> reversedInflections(inflections.rbegin(), inflections.rend());
    getLeftBase(signal, reversedPeaks, reversedInflections, rightBase, rightHeight);
    std::reverse(rightBase.begin(), rightBase.end());
    std::reverse(rightHeight.begin(), rightHeight.end());
    baseHeight.clear();
    for (size_t k = 0; k < peaks.size(); ++k) {
        baseHeight.push_back(std::max(leftHeight[k], rightHeight[k]));
    }
}

void removeMinPeakProminence(const std::vector<double>& signal, std::vector<int>& peaks,
                             std::vector<double>& baseHeight, std::vector<int>& leftBase,
                             std::vector<int>& rightBase, int minPeakProminence) {
    auto prominent = [&](size_t k) {
        return signal[peaks[k]] - baseHeight[k] >= static_cast<double>(minPeakProminence);
    };
    keepWhere(prominent, peaks.size(), peaks, baseHeight, leftBase, rightBase);
}

int findLeftIntercept(const std::vector<double>& signal, int peak, int leftBase, double ref) {
    if (peak < leftBase || signal[peak] <= ref) return peak;
    int i = peak;
    while (i >= leftBase && signal[i] > ref) --i;
    return i;
}

int findRightIntercept(const std::vector<double>& signal, int peak, int rightBase, double ref) {
    if (peak > rightBase || signal[peak] <= ref) return peak;
    int i = peak;
    while (i <= rightBase && signal[i] > ref) ++i;
    return i;
}

double linterp(double xa, double xb, double ya, double yb, double yc, double bc) {
    return (xb - xa) * ((yc + bc) * 0.5 - ya) / (yb - ya) + xa;
}

std::vector<double> getHalfMaxBounds(const std::vector<double>& signal,
                                     const std::vector<int>& peaks,
                                     const std::vector<double>& baseHeight,
                                     const std::vector<int>& leftBase,
                                     const std::vector<int>& rightBase) {
    std::vector<double> widths;
    for (size_t k = 0; k < peaks.size(); ++k) {
        const int p = peaks[k];
        const double b = baseHeight[k];
        const double ref = 0.5 * (signal[p] + b);
        const int iL = findLeftIntercept(signal, p, leftBase[k], ref);
        const double xLeft = iL >= leftBase[k]
                                 ? linterp(iL, iL + 1, signal[iL], signal[iL + 1], signal[p], b)
                                 : leftBase[k];
        const int iR = findRightIntercept(signal, p, rightBase[k], ref);
        const double xRight = iR <= rightBase[k]
                                  ? linterp(iR, iR - 1, signal[iR], signal[iR - 1], signal[p], b)
                                  : rightBase[k];
        widths.push_back(xRight - xLeft);
    }
    return widths;
}

// Hole-filling quicksort with values[lo] as pivot; the carried entries move with
// their values.  The larger part is handled by the loop, so the recursion depth
// stays logarithmic.
void ucqSort(double* values, int lo, int hi, int* carried, short ascending) {
    while (lo < hi) {
        const double pivot = values[lo];
        const int pivotCarried = carried ? carried[lo] : 0;
        auto staysRight = [&](double v) { return ascending ? v >= pivot : v < pivot; };
        auto staysLeft = [&](double v) { return ascending ? v < pivot : v >= pivot; };
        int i = lo, j = hi;
        while (i < j) {
            while (i < j && staysRight(values[j])) --j;
            if (i < j) {
                values[i] = values[j];
                if (carried) carried[i] = carried[j];
                ++i;
            }
            while (i < j && staysLeft(values[i])) ++i;
            if (i < j) {
                values[j] = values[i];
                if (carried) carried[j] = carried[i];
                --j;
            }
        }
        values[i] = pivot;
        if (carried) carried[i] = pivotCarried;
        if (i - lo < hi - i) {
            ucqSort(values, lo, i - 1, carried, ascending);
            lo = i + 1;
        } else {
            ucqSort(values, i + 1, hi, carried, ascending);
            hi = i - 1;
        }
    }
}

void idxSort(double* values, int* carried, int count) {
    int runStart = 0;
    for (int k = 1; k <= count; ++k) {
        if (k == count || values[k] != values[runStart]) {
            if (k - runStart > 1) std::qsort(carried + runStart, k - runStart, sizeof(int), cmp);
            runStart = k;
        }
    }
}

void findPeaks(const std::vector<double>& signal, int minPeakHeight, int minPeakProminence,
               int minPeakDistance, std::vector<double>& peakValues,
               std::vector<int>& peakLocations, std::vector<double>& peakWidths) {
    const PeakSet set = candidatePeaks(signal, minPeakHeight, minPeakProminence);
    peakValues.clear();
    peakLocations.clear();
    peakWidths.clear();
    for (int k : spacingFilter(signal, set.locs, minPeakDistance)) {
        peakValues.push_back(signal[set.locs[k]]);
        peakLocations.push_back(set.locs[k]);
        peakWidths.push_back(set.widths[k]);
    }
}

void removePeaksOutsideWidth(std::vector<int>& locs, std::vector<double>& other,
                             std::vector<double>& widths, int minWidth) {
    if (locs.empty() || minWidth == 0) return;
    auto wideEnough = [&](size_t k) { return widths[k] >= static_cast<double>(minWidth); };
    keepWhere(wideEnough, locs.size(), locs, other, widths);
}

void findPeaksU(const std::vector<double>& y, int minPeakHeight, int minPeakProminence,
                int minPeakDistance, std::vector<double>& pks, std::vector<int>& locs,
                std::vector<int>& starts, std::vector<int>& ends, std::vector<double>& widths,
                int minWidth) {
    PeakSet set = candidatePeaks(y, minPeakHeight, minPeakProminence);
    std::vector<double> values;
    for (int p : set.locs) values.push_back(y[p]);
    removePeaksOutsideWidth(set.locs, values, set.widths, minWidth);
    for (int k : spacingFilter(y, set.locs, minPeakDistance)) {
        int start = -1, end = -1;
        chick_Start_End(y, set.locs[k], truncate_to_int(set.widths[k]), start, end);
        pks.push_back(values[k]);
        locs.push_back(set.locs[k]);
        widths.push_back(set.widths[k]);
        starts.push_back(start);
        ends.push_back(end);
    }
}

}  // namespace utils

// Index 0 and the last sample are never chosen; among equal lows the one
// nearest to the peak wins.
void chick_Start_End(const std::vector<double>& y, int loc, int span, int& start, int& end) {
    start = -1;
    end = -1;
    if (span < 1) return;
    const int64_t size = static_cast<int64_t>(y.size());
    double bestLeft = DBL_MAX, bestRight = DBL_MAX;
    for (int64_t t = 0; t < span; ++t) {
        const int64_t left = static_cast<int64_t>(loc) - t;
        if (left > 0 && left < size && y[left] < bestLeft) {
            bestLeft = y[left];
            start = static_cast<int>(left);
        }
        const int64_t right = static_cast<int64_t>(loc) + t;
        if (right >= 0 && right < size - 1 && y[right] < bestRight) {
            bestRight = y[right];
            end = static_cast<int>(right);
        }
    }
}
