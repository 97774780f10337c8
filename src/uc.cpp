#include <algorithm>
#include <cstdint>

#include "methods.h"
#include "run_formats.h"
#include "utils.h"

QK4_FhrResult QK4_CFhrUC::calFhrScore(int const* fhr, int const* uc, int const* fm, int length,
                                      int rate) {
    if (!beginRun({"UC", 1, kParameterLine2, true}, fhr, uc, length, rate)) return result;
    PreparedTrace prepared;
    if (!prepareHeartRate(std::vector<int>(fhr, fhr + length), fm, prepared)) return result;

    utils::log(true, "auto_score begin");
    result.baselineFhr = prepared.basalRateTwo;
    result.variabilityAmplitude = 0.0;
    result.oscillationFrequency = 0.0;
    result.accelerationCount = 0;
    result.decelerationCount = 0;
    result.decTypeCount1 = result.decTypeCount2 = result.decelerationExtra = 0;
    result.decTypeCount3 = result.decTypeCount4 = 0;
    result.reserved52 = 0;

    // A contraction sample of 0 counts as 1.
    std::vector<int> contraction(uc, uc + length);
    std::replace(contraction.begin(), contraction.end(), 0, 1);
    std::vector<double> ucBase;
    const Contractions found = detectContractions(contraction, ucBase);
    setWord(3, result.baselineFhr);
    rateContractions(found, contraction, rate);
    auto_UC();
    utils::log(true, "uc end");
    finishRun(true);
    return result;
}

// Words 1, 2, 4, 5, 6 pair the last entries of the peak and end lists as they
// stand; word 7 is the highest sample of the first five minutes and word 0 its
// rating.  With fewer than two ends word 1 stays -1.
void QK4_CFhrUC::rateContractions(const Contractions& found, const std::vector<int>& contraction,
                                  int rate) {
    if (found.ends.size() < 2) {
        for (int index : {0, 2, 4, 5, 6, 7}) setWord(index, 0);
        return;
    }
    const int lastEnd = found.ends.back();
    const int previousEnd = found.ends[found.ends.size() - 2];
    const int lastPeak = found.peaks.back();
    setWord(4, lastEnd);
    setWord(6, previousEnd);
    setWord(5, lastPeak);
    setWord(1, lastEnd - lastPeak);
    setWord(2, lastPeak - previousEnd);

    const int64_t window = std::min<int64_t>(contraction.size(), 300 * static_cast<int64_t>(rate));
    int peak = 0;
    for (int64_t j = 0; j < window; ++j) peak = std::max(peak, contraction[j]);
    setWord(7, peak);
    setWord(0, peak > 90 ? 2 : (peak > 30 ? 1 : 0));
}
