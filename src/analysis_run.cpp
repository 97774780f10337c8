#include <algorithm>
#include <cstdint>

#include "algorithm.h"
#include "utils.h"

namespace {

void log(const std::string& message) { utils::log(true, message); }

}  // namespace

bool QK4_CFhrAlgorithm::beginRun(const RunSetup& setup, int const* fhr, int const* uc, int length,
                                 int rate) {
    clearMem();
    log(std::string("Type : ") + setup.typeName);
    if (rate < 1) {
        log("Error : sampling rate must be positive integer");
        return false;
    }
    sampleRate = rate;
    const QK4_FhrParameter& p = params;
    log(utils::format("Parameter 1: %d, %d,-- %d, %d, %d,-- %d, %d, %d", p.varAmplitudeMin,
                      p.varCycleMin, p.accMinDuration, p.accMinAmplitude, p.accMinSpacing,
                      p.decMinDuration, p.decMinAmplitude, p.decMinSpacing));
    log(utils::format(setup.parameterLine2, p.auxPeakA, p.auxPeakB, p.auxPeakSpan, p.auxPeakD,
                      p.ucPeakA, p.ucPeakB, p.ucPeakSpan, p.fmMode, p.reserved16));
    log("Score starting");
    // Computed in 64 bits: a huge rate must fail this check, not overflow.
    const int64_t minimum = static_cast<int64_t>(rate) * 60 * setup.minimumMinutes;
    samplesPerMinute = static_cast<int>(std::min<int64_t>(minimum, INT32_MAX));
    if (minimum > length) {
        log(utils::format("Error : The minimum length is %d minutes", setup.minimumMinutes));
        return false;
    }
    if (fhr == nullptr || (setup.needsUc && uc == nullptr)) {
        log("Error : input data is null");
        return false;
    }
    durationSeconds = length / rate;
    return true;
}

bool QK4_CFhrAlgorithm::prepareHeartRate(std::vector<int> trace, int const* fm,
                                         PreparedTrace& prepared) {
    prepared.working = std::move(trace);
    if (extremePointFilter(prepared.working) < 0) {
        log("Error : all heart rate out of range [60,210]");
        return false;
    }
    std::vector<int>& working = prepared.working;

    log("cal_fm begin");
    // The movement channel holds one word per second; a missing channel has no marks.
    std::vector<int> marks;
    if (fm != nullptr) marks.assign(fm, fm + durationSeconds);
    std::vector<int> movements, cleared;
    int movementCount = 0, movementTotal = 0;
    cal_fm(sampleRate, marks, 1, movements, movementCount, cleared, movementTotal);
    result.movementCount = movementCount;
    log("cal_fm end");

    log("update_fhr begin");
    const std::vector<int> updated = update_fhr(working, sampleRate, movements, 1);
    log("update_fhr end");

    log("basal_fhr begin");
    const int basalRateOne = basal_fhr(working);
    prepared.basalRateTwo = basal_fhr(updated);
    log("basal_fhr end");

    log("fhr_baseline begin");
    fhrBaseline = fhr_baseline(updated, durationSeconds);
    log("fhr_baseline end");

    const int basalDifference = basalRateOne - prepared.basalRateTwo;
    if (basalDifference >= -14 && basalDifference <= 14) thresholdFilter(working);
    return true;
}

QK4_CFhrAlgorithm::HeartRateEvents QK4_CFhrAlgorithm::analyseEvents(const std::vector<int>& working,
                                                                    const char* variabilityBegin,
                                                                    const char* variabilityEnd) {
    HeartRateEvents events;
    log("detect_acc begin");
    detect_acc(working, fhrBaseline, events.acc.triggers, events.acc.values, accLocationA,
               accLocationB, events.accCount);
    events.acc.starts = accLocationA;
    events.acc.ends = accLocationB;
    log("detect_acc end");

    log("detect_dec begin");
    detect_dec(working, fhrBaseline, events.dec.triggers, events.dec.values, decLocationA,
               decLocationB, events.decCount, events.deepCount);
    events.dec.starts = decLocationA;
    events.dec.ends = decLocationB;
    log("detect_dec end");

    log(variabilityBegin);
    const int length = static_cast<int>(working.size());
    std::vector<int> segStarts, segEnds;
    if (events.accCount > 0 && events.decCount > 0) {
        log("Type 1");
        fhrBas1(accLocationA, accLocationB, decLocationA, decLocationB, length, segStarts, segEnds);
    } else if (events.accCount > 0) {
        log("Type 2");
        fhrBas2(accLocationA, accLocationB, length, segStarts, segEnds);
    } else if (events.decCount > 0) {
        log("Type 3");
        fhrBas3(decLocationA, decLocationB, length, segStarts, segEnds);
    } else {
        log("Type 4");
        segStarts = {0};
        segEnds = {length - 1};
    }
    log("CalBpmVar");
    cal_bpm_var(working, sampleRate, segStarts, segEnds, events.amplitude, events.frequency);
    log(variabilityEnd);
    return events;
}

void QK4_CFhrAlgorithm::storeHeartRate(int basalRate, const HeartRateEvents& events,
                                       int decelerationWord) {
    log("auto_score begin");
    result.baselineFhr = basalRate;
    result.variabilityAmplitude = events.amplitude;
    result.accelerationCount = events.accCount;
    result.oscillationFrequency = events.frequency;
    result.decelerationCount = decelerationWord;
}

Contractions QK4_CFhrAlgorithm::detectContractions(const std::vector<int>& uc,
                                                   std::vector<double>& ucBase) {
    ucBase = uc_baseline(uc, durationSeconds);
    Contractions contractions;
    uc_detect(contractions.peaks, contractions.starts, contractions.ends, contractions.filtered, uc,
              ucBase);
    return contractions;
}

void QK4_CFhrAlgorithm::storeDecelerationTypes(const std::vector<int>& working,
                                               const EventLists& dec,
                                               const std::vector<int>& contractionPeaks) {
    DecelerationTypes types;
    if (result.decelerationCount > 0) {
        dec_type(types.types, types.maxType, types.typeHistogram, types.earlyCount,
                 types.lateOrLowCount, types.delayedCount, types.otherCount, working, dec.triggers,
                 dec.starts, dec.ends, contractionPeaks);
    }
    result.decelerationPattern = types.maxType;
    result.decTypeCount1 = types.earlyCount;
    result.decTypeCount2 = types.lateOrLowCount;
    result.decTypeCount3 = types.delayedCount;
    result.decTypeCount4 = types.otherCount;
}

void QK4_CFhrAlgorithm::finishRun(bool withScoreLine) const {
    log("auto_score end");
    log("Score finished");
    if (withScoreLine) {
        log(utils::format("Score : %d, %d, %d, %d, %d, %d, %d\n", word(0), word(1), word(2),
                          word(3), word(4), word(5), word(6)));
    }
}
