#include <algorithm>

#include "methods.h"
#include "run_formats.h"
#include "utils.h"

namespace {

constexpr int kSmoothingWindow = 15;

// Sets mask[j] = 1 for start <= j < end, limited to the mask.
void markRange(std::vector<int>& mask, int start, int end) {
    const int from = std::max(start, 0);
    const int to = std::min(end, static_cast<int>(mask.size()));
    for (int j = from; j < to; ++j) mask[j] = 1;
}

}  // namespace

QK4_FhrResult QK4_CFhrFischer2::calFhrScore(int const* fhr, int const* uc, int const* fm,
                                            int length, int sampleRate) {
    if (!beginRun({"Fischer2", 5, kFischerParameterLine2, true}, fhr, uc, length, sampleRate)) {
        return result;
    }
    const std::vector<int> raw(fhr, fhr + length);
    std::vector<int> smoothed;
    utils::moving_average(kSmoothingWindow, raw, smoothed);
    const std::vector<int> peakMask = peakRegionMask(std::vector<double>(raw.begin(), raw.end()));

    PreparedTrace prepared;
    if (!prepareHeartRate(smoothed, fm, prepared)) return result;
    const HeartRateEvents events = analyseEvents(prepared.working, "fhrBas begin", "fhrBas end");
    std::vector<int> groupedPositions, groupedValues;
    groupAccelerations(peakMask, events.acc, groupedPositions, groupedValues);

    storeHeartRate(prepared.basalRateTwo, events, events.deepCount);
    result.decelerationExtra = events.decCount;
    std::vector<double> ucBase;
    const Contractions contractions = detectContractions(std::vector<int>(uc, uc + length), ucBase);
    result.strongContractionFlag = strongContractionFlag(contractions, ucBase);
    storeDecelerationTypes(prepared.working, events.dec, contractions.peaks);
    auto_Fischer2();
    finishRun(true);
    return result;
}

std::vector<int> QK4_CFhrFischer2::peakRegionMask(const std::vector<double>& rawTrace) const {
    std::vector<double> filtered;
    utils::filterlp(rawTrace, filtered);
    std::vector<double> values, widths;
    std::vector<int> locations, starts, ends;
    utils::findPeaksU(filtered, params.auxPeakA, params.auxPeakB, params.auxPeakSpan, values,
                      locations, starts, ends, widths, params.auxPeakD);
    std::vector<int> mask(rawTrace.size(), 0);
    for (size_t i = 0; i < starts.size(); ++i) markRange(mask, starts[i], ends[i]);
    return mask;
}

void QK4_CFhrFischer2::groupAccelerations(const std::vector<int>& peakMask, const EventLists& acc,
                                          std::vector<int>& groupedPositions,
                                          std::vector<int>& groupedValues) {
    std::vector<int> unionMask(peakMask.size(), 0);
    for (size_t k = 0; k < acc.starts.size() && k < acc.ends.size(); ++k) {
        markRange(unionMask, acc.starts[k], acc.ends[k]);
    }
    for (size_t j = 0; j < unionMask.size(); ++j) unionMask[j] |= peakMask[j] != 0;

    // Region ends are the indices where the union mask falls back to 0.
    std::vector<int> regionEnds;
    int previous = 0;
    for (size_t j = 0; j < unionMask.size(); ++j) {
        if (previous == 1 && unionMask[j] == 0) regionEnds.push_back(static_cast<int>(j));
        previous = unionMask[j];
    }
    size_t next = 0;
    for (int end : regionEnds) {
        int bestPosition = -1, bestValue = 0;
        for (; next < acc.triggers.size() && acc.triggers[next] < end; ++next) {
            if (bestPosition < 0 || acc.values[next] > bestValue) {
                bestPosition = acc.triggers[next];
                bestValue = acc.values[next];
            }
        }
        if (bestPosition >= 0) {
            groupedPositions.push_back(bestPosition);
            groupedValues.push_back(bestValue);
        }
    }
}

int QK4_CFhrFischer2::strongContractionFlag(const Contractions& contractions,
                                            const std::vector<double>& ucBase) {
    const size_t peaks = contractions.peaks.size();
    const size_t bounded = std::min(contractions.starts.size(), contractions.ends.size());
    if (bounded > peaks) return 0;
    // With fewer bounded contractions than peaks the first peak is skipped.
    const size_t shift = bounded < peaks ? 1 : 0;
    int strong = 0;
    for (size_t k = 0; k < bounded; ++k) {
        const int p = contractions.peaks[k + shift];
        const bool inside = p >= 0 && static_cast<size_t>(p) < contractions.filtered.size() &&
                            static_cast<size_t>(p) < ucBase.size();
        if (contractions.ends[k] - contractions.starts[k] > 50 && inside &&
            contractions.filtered[p] - ucBase[p] > 20.0) {
            ++strong;
        }
    }
    return strong >= 2 ? 1 : 0;
}

namespace {

int fischerBaselinePoints(int bpm) {
    if (bpm >= 110 && bpm <= 160) return 2;
    if ((bpm >= 100 && bpm <= 109) || (bpm >= 161 && bpm <= 180)) return 1;
    return 0;
}

// Not-a-number matches no row and scores 2.
int fischerAmplitudePoints(double amplitude) {
    if (amplitude < 3.0) return 0;
    if ((amplitude >= 3.0 && amplitude < 5.0) || amplitude > 25.0) return 1;
    return 2;
}

// The 3..5 band gives fewer points than the band below it unless there are at
// least four accelerations.
int fischerFrequencyPoints(double frequency, int accelerations) {
    if (frequency < 2.0) return 0;
    if (frequency >= 2.0 && frequency < 3.0) return 2;
    if (frequency >= 3.0 && frequency <= 5.0) return accelerations <= 3 ? 1 : 2;
    return 2;
}

int fischerAccelerationPoints(int accelerations) {
    if (accelerations <= 1) return 0;
    if (accelerations == 2) return 1;
    return 2;
}

int fischerDecelerationPoints(const QK4_FhrResult& r) {
    const int pattern = r.decelerationPattern;
    const int acc = r.accelerationCount;
    const int deep = r.decelerationCount;
    if (pattern != 3 && pattern != 4 && r.decelerationExtra <= 0 && deep <= 0) {
        return (r.decTypeCount1 > 2 || r.decTypeCount2 > 2) ? 1 : 2;
    }
    if ((pattern == 1 || pattern == 2) && acc >= 4) {
        return (deep <= 2 || (acc >= 8 && deep < acc)) ? 1 : 0;
    }
    return 0;
}

}  // namespace

int QK4_CFhrFischer2::auto_Fischer2() {
    result.baselineScore = fischerBaselinePoints(result.baselineFhr);
    result.amplitudeScore = fischerAmplitudePoints(result.variabilityAmplitude);
    result.frequencyScore =
        fischerFrequencyPoints(result.oscillationFrequency, result.accelerationCount);
    result.accelerationScore = fischerAccelerationPoints(result.accelerationCount);
    result.decelerationScore = fischerDecelerationPoints(result);
    result.totalScore = result.baselineScore + result.amplitudeScore + result.frequencyScore +
                        result.accelerationScore + result.decelerationScore;
    return result.decelerationScore;
}
