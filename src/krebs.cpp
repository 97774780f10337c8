#include "methods.h"
#include "run_formats.h"

QK4_FhrResult QK4_CFhrKrebs::calFhrScore(int const* fhr, int const* fm, int length, int rate) {
    if (!beginRun({"Krebs", 1, kParameterLine2, false}, fhr, nullptr, length, rate)) {
        return result;
    }
    PreparedTrace prepared;
    if (!prepareHeartRate(std::vector<int>(fhr, fhr + length), fm, prepared)) return result;
    const HeartRateEvents events =
        analyseEvents(prepared.working, "cal_bpm_var begin", "cal_bpm_var end");
    storeHeartRate(prepared.basalRateTwo, events, events.decCount);
    auto_Krebs();
    finishRun(true);
    return result;
}

namespace {

// Range tests as one unsigned comparison: values below the lower bound wrap
// around and fail, which is why negative counts land in the 2-point column.
bool within(int value, int lower, int upper) {
    return static_cast<unsigned>(value) - static_cast<unsigned>(lower) <=
           static_cast<unsigned>(upper) - static_cast<unsigned>(lower);
}

int baselinePoints(int bpm) {
    if (within(bpm, 110, 160)) return 2;
    if (within(bpm, 100, 109) || within(bpm, 161, 180)) return 1;
    return 0;
}

// Not-a-number fails every comparison and scores 2.
int amplitudePoints(double amplitude) {
    if (amplitude < 5.0) return 0;
    if ((amplitude >= 5.0 && amplitude <= 9.0) || amplitude > 25.0) return 1;
    return 2;
}

int frequencyPoints(double frequency) {
    if (frequency < 3.0) return 0;
    if (frequency >= 3.0 && frequency <= 6.0) return 1;
    return 2;
}

int countPoints(int count) {
    if (count == 0) return 0;
    if (within(count, 1, 4)) return 1;
    return 2;
}

int decelerationPoints(int count) {
    if (count >= 2) return 0;
    if (count == 1) return 1;
    return 2;
}

}  // namespace

int QK4_CFhrKrebs::auto_Krebs() {
    result.baselineScore = baselinePoints(result.baselineFhr);
    result.amplitudeScore = amplitudePoints(result.variabilityAmplitude);
    result.frequencyScore = frequencyPoints(result.oscillationFrequency);
    result.accelerationScore = countPoints(result.accelerationCount);
    result.decelerationScore = decelerationPoints(result.decelerationCount);
    result.movementScore = countPoints(result.movementCount);
    result.totalScore = result.baselineScore + result.amplitudeScore + result.frequencyScore +
                        result.accelerationScore + result.decelerationScore + result.movementScore;
    return result.totalScore;
}
