/* A host written in C: includes the public header, checks the record layout
 * and calls the C functions.  Exits non-zero on the first failed check. */
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "ctgscore.h"

_Static_assert(sizeof(QK4_FhrParameter) == 17 * sizeof(int), "parameter record: 17 ints");
_Static_assert(sizeof(QK4_FhrResult) == CTGSCORE_RESULT_WORDS * 4, "result record: 54 words");
_Static_assert(offsetof(QK4_FhrResult, acogBaselineFlags) == 7 * 4, "word 7");
_Static_assert(offsetof(QK4_FhrResult, strongContractionFlag) == 23 * 4, "word 23");
_Static_assert(offsetof(QK4_FhrResult, acogPatternFlags) == 32 * 4, "word 32");
_Static_assert(offsetof(QK4_FhrResult, baselineFhr) == 35 * 4, "word 35");
_Static_assert(offsetof(QK4_FhrResult, variabilityAmplitude) == 36 * 4, "words 36-37");
_Static_assert(offsetof(QK4_FhrResult, oscillationFrequency) == 38 * 4, "words 38-39");
_Static_assert(offsetof(QK4_FhrResult, accelerationCount) == 40 * 4, "word 40");
_Static_assert(offsetof(QK4_FhrResult, decelerationExtra) == 46 * 4, "word 46");
_Static_assert(offsetof(QK4_FhrResult, movementCount) == 51 * 4, "word 51");

enum { RATE = 4, MINUTES = 20, SAMPLES = MINUTES * 60 * RATE };

static int failures = 0;

static void check(int condition, const char* what) {
    if (!condition) {
        fprintf(stderr, "c_consumer: FAILED: %s\n", what);
        ++failures;
    }
}

static void parametersRoundTrip(void) {
    QK4_FhrParameter given = {5, 2, 16, 16, 100, 12, 12, 100, 7, 8, 500, 20, 6, 7, 90, 2, 900};
    QK4_setParameter(&given);
    const QK4_FhrParameter* shown = QK4_getParameter();
    check(shown != NULL && memcmp(shown, &given, sizeof given) == 0, "parameters round trip");

    QK4_FhrParameter defaults = {4, 3, 17, 17, 120, 18, 18, 120, 6, 6, 24, 15, 10, 10, 60, 1, 300};
    QK4_setParameter(&defaults);
}

/* 140 bpm with a plateau 20 bpm higher for 20 s from sample 1000. */
static void krebsRun(void) {
    static int fhr[SAMPLES];
    static int fm[SAMPLES / RATE];
    for (int i = 0; i < SAMPLES; ++i) fhr[i] = (i >= 1000 && i < 1000 + 20 * RATE) ? 160 : 140;

    const int* words = QK4_calFhrKrebs(fhr, fm, SAMPLES, RATE);
    check(words != NULL, "result record returned");
    if (words == NULL) return;
    const QK4_FhrResult* result = (const QK4_FhrResult*)words;
    check(result->totalScore != -1, "Krebs run succeeded");
    check(result->baselineFhr == 140, "baseline 140 bpm");
    check(result->accelerationCount == 1, "one acceleration");

    const QK4_FhrLocation* location = QK4_getKrebsLocation();
    check(location->accelerationStarts.count == 1 && location->accelerationStarts.data[0] == 999,
          "acceleration starts at the last sample before the plateau");
    check(location->accelerationEnds.count == 1 && location->accelerationEnds.data[0] == 1080,
          "acceleration ends at the first sample after the plateau");
    check(location->decelerationStarts.count == 0, "no deceleration");

    const QK4_FhrBaseline* baseline = QK4_getKrebsBaseline();
    check(baseline->count == SAMPLES, "one baseline value per sample");
    check(baseline->count > 0 && baseline->data[0] > 139.9 && baseline->data[0] < 140.1,
          "baseline curve at 140 bpm");

    words = QK4_calFhrKrebs(fhr, fm, SAMPLES, 0);
    check(words[0] == -1, "rate 0 fails the run");
}

static void otherGetters(void) {
    const QK4_FhrLocation* location = QK4_getUCLocation();
    check(location->accelerationStarts.count == 0 && location->decelerationEnds.count == 0,
          "UC location empty before any contraction run");
    check(QK4_getFischer2Baseline()->count == 0, "Fischer baseline empty before any run");
    check(QK4_getUCBaseline()->count == 0, "UC baseline empty before any run");
    check(QK4_getFischer2Location()->accelerationEnds.count == 0, "Fischer location empty");
}

int main(void) {
    otherGetters();
    parametersRoundTrip();
    krebsRun();
    if (failures == 0) printf("c_consumer: all checks passed\n");
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
