#include <algorithm>

#include "methods.h"
#include "run_formats.h"

QK4_FhrResult QK4_CFhrAcog::calFhrScore(int const* fhr, int const* uc, int const* fm, int length,
                                        int sampleRate) {
    if (!beginRun({"ACOG", 1, kParameterLine2, true}, fhr, uc, length, sampleRate)) return result;
    PreparedTrace prepared;
    if (!prepareHeartRate(std::vector<int>(fhr, fhr + length), fm, prepared)) return result;
    const HeartRateEvents events = analyseEvents(prepared.working, "fhrBas begin", "fhrBas end");
    storeHeartRate(prepared.basalRateTwo, events, events.deepCount);
    result.decelerationExtra = events.decCount;
    std::vector<double> ucBase;
    const Contractions contractions = detectContractions(std::vector<int>(uc, uc + length), ucBase);
    storeDecelerationTypes(prepared.working, events.dec, contractions.peaks);
    result.acogReservedE = 0;
    result.acogReservedF = 0;
    auto_Acog();
    finishRun(false);
    return result;
}

namespace {

template <size_t N>
void setFlags(int (&group)[N], std::initializer_list<int> flags) {
    std::fill(group, group + N, 0);
    std::copy(flags.begin(), flags.end(), group);
}

bool lowBaseline(int bpm) { return bpm >= 0 && bpm <= 109; }

void baselineFlags(int (&flags)[4], int bpm, double amplitude) {
    if (bpm >= 110 && bpm <= 160) return setFlags(flags, {1, 0, 0, 0});
    if (bpm > 160) return setFlags(flags, {0, 1, 0, 0});
    if (lowBaseline(bpm) && amplitude > 0.0) return setFlags(flags, {0, 0, 1, 0});
    if (lowBaseline(bpm) && amplitude == 0.0) return setFlags(flags, {0, 0, 0, 1});
    setFlags(flags, {});
}

void variabilityFlags(int (&flags)[5], double amplitude, int bpm, int c2, int c3) {
    if (amplitude >= 5.0 && amplitude <= 25.0) return setFlags(flags, {1, 0, 0, 0, 0});
    if (amplitude == 0.0 && c3 <= 2) return setFlags(flags, {0, 1, 0, 0, 0});
    if (amplitude > 0.0 && amplitude < 5.0) return setFlags(flags, {0, 0, 1, 0, 0});
    if (amplitude > 25.0) return setFlags(flags, {0, 0, 0, 1, 0});
    if (amplitude < 0.1 && (lowBaseline(bpm) || c2 > 2 || c3 > 0)) {
        return setFlags(flags, {0, 0, 0, 0, 1});
    }
    setFlags(flags, {});
}

void accelerationFlags(int (&flags)[4], int accelerations) {
    if (accelerations > 0) return setFlags(flags, {1, 0, 0, 0});
    if (accelerations == 0) return setFlags(flags, {0, 1, 0, 1});
    setFlags(flags, {});
}

void earlyDecelerationFlags(int (&flags)[3], int c1) {
    if (c1 > 0) return setFlags(flags, {1, 0, 0});
    if (c1 == 0) return setFlags(flags, {0, 1, 1});
    setFlags(flags, {});
}

void lateDecelerationFlags(int (&flags)[5], int c2, double amplitude, int extra, int e) {
    if (c2 == 0) return setFlags(flags, {1, 0, 0, 0, 0});
    if (c2 > 2 && amplitude > 0.0 && amplitude <= 25.0) return setFlags(flags, {0, 1, 0, 0, 0});
    if (extra >= 1) return setFlags(flags, {0, 0, 1, 0, 0});
    if (e >= 1) return setFlags(flags, {0, 0, 0, 1, 0});
    if (c2 > 2 && amplitude < 0.1) return setFlags(flags, {0, 0, 0, 0, 1});
    setFlags(flags, {});
}

void delayedDecelerationFlags(int (&flags)[3], int c3, double amplitude) {
    if (c3 == 0) return setFlags(flags, {1, 0, 0});
    if (c3 > 2 && amplitude >= 5.0 && amplitude <= 25.0) return setFlags(flags, {0, 1, 0});
    if (c3 > 2 && amplitude < 0.1) return setFlags(flags, {0, 0, 1});
    setFlags(flags, {});
}

void patternFlags(int (&flags)[3], int f) {
    if (f == 0) return setFlags(flags, {1, 1, 0});
    if (f > 0) return setFlags(flags, {0, 0, 1});
    setFlags(flags, {});
}

}  // namespace

// One-hot flags per criterion of the ACOG classification; the first matching
// row of each group wins.
int QK4_CFhrAcog::auto_Acog() {
    QK4_FhrResult& r = result;
    const double a = r.variabilityAmplitude;
    baselineFlags(r.acogBaselineFlags, r.baselineFhr, a);
    variabilityFlags(r.acogVariabilityFlags, a, r.baselineFhr, r.decTypeCount2, r.decTypeCount3);
    accelerationFlags(r.acogAccelerationFlags, r.accelerationCount);
    earlyDecelerationFlags(r.acogDecFlagsA, r.decTypeCount1);
    lateDecelerationFlags(r.acogDecFlagsB, r.decTypeCount2, a, r.decelerationExtra,
                          r.acogReservedE);
    delayedDecelerationFlags(r.acogDecFlagsC, r.decTypeCount3, a);
    patternFlags(r.acogPatternFlags, r.acogReservedF);
    return 0;
}
