#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "algorithm.h"
#include "utils.h"

namespace {

// Shared machinery of the acceleration and deceleration detectors.  `Back`
// tells whether a sample has come back near the baseline (the event's
// boundary); `Better` picks the extreme used when no boundary is found
// (lowest sample for accelerations, highest for decelerations).
template <class Back, class Better>
struct EventScan {
    const std::vector<int>& fhr;
    int64_t n;
    Back back;
    Better better;

    // First boundary sample from `from` down to `to` (never below 0), or -1.
    int64_t scanBackward(int64_t from, int64_t to) const {
        for (int64_t j = from; j >= std::max<int64_t>(to, 0); --j) {
            if (back(j)) return j;
        }
        return -1;
    }
    // First boundary sample from `from` up to `to` (never past the end), or -1.
    int64_t scanForward(int64_t from, int64_t to) const {
        for (int64_t j = from; j <= std::min<int64_t>(to, n - 1); ++j) {
            if (back(j)) return j;
        }
        return -1;
    }
    // Position of the first extreme in a buffer of `places` places where place p
    // holds fhr[first + p]; places before index 0 are left out, and with
    // zeroPadded the last place holds 0 instead of a sample.
    int64_t extremePlace(int64_t first, int64_t places, bool zeroPadded) const {
        int64_t best = -1;
        int bestValue = 0;
        for (int64_t p = std::max<int64_t>(0, -first); p < places; ++p) {
            const int value = (zeroPadded && p == places - 1) ? 0 : fhr[first + p];
            if (best < 0 || better(value, bestValue)) {
                best = p;
                bestValue = value;
            }
        }
        return std::max<int64_t>(best, 0);
    }
    // Tail-pass boundaries: found by scanning, else two samples after the extreme
    // of the W samples before i, and the extreme of fhr[i+1 .. n-2] after it.
    int64_t tailStart(int64_t i, int64_t w) const {
        const int64_t found = scanBackward(i - 1, i - w);
        return found >= 0 ? found : i - w + extremePlace(i - w, w, false) + 2;
    }
    int64_t tailEnd(int64_t i) const {
        const int64_t found = scanForward(i + 1, n - 1);
        return found >= 0 ? found : i + 1 + extremePlace(i + 1, n - 2 - i, false);
    }
};

template <class Back, class Better>
EventScan<Back, Better> makeScan(const std::vector<int>& fhr, int64_t n, Back back, Better better) {
    return {fhr, n, back, better};
}

// Sizes of one detector run, in samples.
struct DetectorLimits {
    int64_t n;          // samples with both a trace value and a baseline value
    int64_t w;          // search span: spanSeconds of samples, 30 samples below 2 Hz
    int64_t spacing;    // minimum distance from the last candidate
    int64_t duration;   // minimum event length
    int64_t quietTail;  // the last 15 s hold no trigger
};

DetectorLimits detectorLimits(const std::vector<int>& fhr, const std::vector<double>& base,
                              int rate, int spanSeconds, int spacingSeconds, int durationSeconds) {
    const int64_t r = rate;
    return {static_cast<int64_t>(std::min(fhr.size(), base.size())),
            rate < 2 ? 30 : spanSeconds * r, spacingSeconds * r, durationSeconds * r,
            std::max<int64_t>(15 * r, 0)};
}

// Records one event when it lasts long enough.
bool recordEvent(int64_t i, int lastValue, int64_t start, int64_t end, int64_t minDuration,
                 std::vector<int>& triggers, std::vector<int>& values, std::vector<int>& starts,
                 std::vector<int>& ends, int& count) {
    if (end - start < minDuration) return false;
    ++count;
    triggers.push_back(static_cast<int>(i));
    values.push_back(lastValue);
    starts.push_back(static_cast<int>(start));
    ends.push_back(static_cast<int>(end));
    return true;
}

}  // namespace

void QK4_CFhrAlgorithm::detect_acc(const std::vector<int>& fhr, const std::vector<double>& base,
                                   std::vector<int>& triggers, std::vector<int>& values,
                                   std::vector<int>& starts, std::vector<int>& ends,
                                   int& count) const {
    starts.clear();
    ends.clear();
    const DetectorLimits limits =
        detectorLimits(fhr, base, sampleRate, 120, params.accMinSpacing, params.accMinDuration);
    const int64_t n = limits.n, w = limits.w;
    auto scan = makeScan(
        fhr, n, [&](int64_t j) { return fhr[j] < base[j] + 3.0; },
        [](int a, int b) { return a < b; });
    int64_t last = 0;
    int lastValue = 0;
    auto candidate = [&](int64_t i) {
        return static_cast<double>(fhr[i]) >= params.accMinAmplitude + base[i] &&
               i - last >= limits.spacing;
    };

    for (int64_t i = 0; i < n - w; ++i) {
        if (!candidate(i)) continue;
        last = i;
        lastValue = fhr[i];
        int64_t start = scan.scanBackward(i - 1, i - w + 1);
        if (start < 0) {
            // Zero-padded buffer: its trailing 0 is the minimum for positive
            // samples, which puts the start at i - 1.
            start = i - w + scan.extremePlace(i - w + 1, w, true);
            if (start == 1) start = 10;
        }
        int64_t end = scan.scanForward(i + 1, i + w + 1);
        if (end < 0) end = i + scan.extremePlace(i + 1, w, false) + 1;
        recordEvent(i, lastValue, start, end, limits.duration, triggers, values, starts, ends,
                    count);
    }
    // The last 15 s hold no trigger.
    for (int64_t i = std::max<int64_t>(n - w, 0); i < n - limits.quietTail; ++i) {
        if (!candidate(i)) continue;
        last = i;
        lastValue = fhr[i];
        recordEvent(i, lastValue, scan.tailStart(i, w), scan.tailEnd(i), limits.duration, triggers,
                    values, starts, ends, count);
    }
}

void QK4_CFhrAlgorithm::detect_dec(const std::vector<int>& fhr, const std::vector<double>& base,
                                   std::vector<int>& triggers, std::vector<int>& values,
                                   std::vector<int>& starts, std::vector<int>& ends, int& count,
                                   int& deepCount) const {
    starts.clear();
    ends.clear();
    const DetectorLimits limits =
        detectorLimits(fhr, base, sampleRate, 30, params.decMinSpacing, params.decMinDuration);
    const int64_t n = limits.n, w = limits.w;
    auto scan = makeScan(
        fhr, n, [&](int64_t j) { return fhr[j] > base[j] - 3.0; },
        [](int a, int b) { return a > b; });
    int64_t last = 0;
    int lastValue = 0;
    auto candidate = [&](int64_t i) {
        return base[i] - params.decMinAmplitude >= static_cast<double>(fhr[i]) &&
               i - last >= limits.spacing;
    };
    // A deep deceleration (30 bpm or more below the baseline) counts when the
    // lowest sample above the baseline in 1..i and the highest one from i on lie
    // more than 90 s apart; neither scan stops at the nearest crossing.
    auto deepTest = [&](int64_t i) {
        if (!(fhr[i] <= base[i] - 30.0)) return;
        double a = 0.0, b = 0.0;
        for (int64_t k = i; k >= 1; --k) {
            if (static_cast<double>(fhr[k]) > base[k]) a = static_cast<double>(k);
        }
        for (int64_t k = i; k < n; ++k) {
            if (fhr[k] > base[k]) b = static_cast<double>(k);
        }
        if (b - a > 90.0 * sampleRate) ++deepCount;
    };

    for (int64_t i = 0; i < n - w; ++i) {
        if (!candidate(i)) continue;
        last = i;
        lastValue = fhr[i];
        int64_t start = scan.scanBackward(i - 1, i - w);
        if (start < 0) start = i - w + scan.extremePlace(i - w, w, false);
        int64_t end = scan.scanForward(i + 1, i + w);
        if (end < 0) end = i + scan.extremePlace(i + 1, w, true) + 1;
        if (recordEvent(i, lastValue, start, end, limits.duration, triggers, values, starts, ends,
                        count)) {
            deepTest(i);
        }
    }
    for (int64_t i = std::max<int64_t>(n - w, 0); i < n - limits.quietTail; ++i) {
        if (!candidate(i)) continue;
        last = i;
        lastValue = fhr[i];
        if (recordEvent(i, lastValue, scan.tailStart(i, w), scan.tailEnd(i), limits.duration,
                        triggers, values, starts, ends, count)) {
            deepTest(i);
        }
    }
}

// Types each deceleration against the first contraction peak only:
// 1 early, 0 other, 3 delayed, 2 late, 4 low (2 and 4 share one counter).
void QK4_CFhrAlgorithm::dec_type(std::vector<int>& types, int& maxType,
                                 std::vector<int>& typeHistogram, int& earlyCount,
                                 int& lateOrLowCount, int& delayedCount, int& otherCount,
                                 const std::vector<int>& A, const std::vector<int>& B,
                                 const std::vector<int>& C, const std::vector<int>& D,
                                 const std::vector<int>& E) const {
    std::vector<int>(B.size(), 0).swap(types);
    const int64_t r = sampleRate;
    for (size_t i = 0; i < B.size() && !E.empty(); ++i) {
        const int64_t b = B[i];
        const int64_t u = b - E[0];
        if (std::abs(u) < 60 * r) {
            if (b <= E[0] && u < 15 * r) {
                types[i] = 1;
                ++earlyCount;
            } else if (u <= 30 * r) {
                ++otherCount;
            } else {
                types[i] = 3;
                ++delayedCount;
            }
            continue;
        }
        const bool inside = b >= 0 && b < static_cast<int64_t>(A.size());
        const int a = inside ? A[b] : 0;
        const int64_t len = i < C.size() && i < D.size() ? int64_t(D[i]) - C[i] : 0;
        if (a <= 60) {
            if (a == 60 || len <= 60 * r) {
                ++otherCount;
            } else {
                types[i] = 4;
                ++lateOrLowCount;
            }
        } else if (len >= 60 * r) {
            ++otherCount;
        } else {
            types[i] = 2;
            ++lateOrLowCount;
        }
    }
    maxType = types.empty() ? 0 : *std::max_element(types.begin(), types.end());
    utils::hist(types, {0, 1, 2, 3, 4}, typeHistogram);
}
