/* A host written in C: includes the public headers, checks the record layout,
 * calls the scoring functions and reads a recording it writes through the
 * readers' library.  Exits non-zero after the checks when one failed. */
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "ctgscore.h"
#include "ctgscore_io.h"

/* Layout anchors of the records: a word added, dropped or resized before one
 * of them moves it. */
_Static_assert(sizeof(QK4_FhrParameter) == 17 * sizeof(int), "parameter record: 17 ints");
_Static_assert(sizeof(QK4_FhrResult) == CTGSCORE_RESULT_WORDS * 4, "result record: 54 words");
_Static_assert(sizeof(QK4_UcResult) == sizeof(QK4_FhrResult), "contraction record: 54 words");
_Static_assert(offsetof(QK4_FhrResult, acogPatternFlags) == 32 * 4, "word 32");
_Static_assert(offsetof(QK4_FhrResult, oscillationFrequency) == 38 * 4, "words 38-39");
_Static_assert(offsetof(QK4_FhrResult, decelerationExtra) == 46 * 4, "word 46");
_Static_assert(offsetof(QK4_UcResult, peakContraction) == 7 * 4, "word 7");
_Static_assert(offsetof(QK4_UcResult, movementCount) == offsetof(QK4_FhrResult, movementCount),
               "word 51");

enum { RATE = 4, SAMPLES = 20 * 60 * RATE };

static int failures = 0;

static void check(int condition, const char* what) {
    if (!condition) {
        fprintf(stderr, "c_consumer: FAILED: %s\n", what);
        ++failures;
    }
}

/* Eight samples at 4 Hz, one movement mark in the second second. */
static void read_recording(void) {
    FILE* file = fopen("host.csv", "w");
    ctgio_error error;
    ctgio_recording* recording;
    if (file == NULL) {
        check(0, "host.csv written");
        return;
    }
    fputs("fhr,uc,fm\n", file);
    for (int i = 0; i < 8; ++i) fprintf(file, "%d,10,%d\n", 140 + i, i == 5 ? 4 : 0);
    fclose(file);
    check(ctgio_detect("host.csv") == CTGIO_FORMAT_CSV, "format detected");
    recording = ctgio_read("host.csv", NULL, &error);
    check(recording != NULL && error.code == CTGIO_OK, "recording read");
    if (recording != NULL) {
        check(recording->samples == 8 && recording->fhr[7] == 147 && recording->seconds == 2 &&
                  recording->movement_words[1] == 4 && strcmp(recording->name, "host") == 0,
              "recording values");
        ctgio_free(recording);
    }
    check(ctgio_read("absent.fhr", NULL, &error) == NULL && error.code == CTGIO_ERROR_NOT_FOUND,
          "missing file reported");
}

int main(void) {
    static int fhr[SAMPLES];
    static int fm[SAMPLES / RATE];
    QK4_FhrParameter given = {5, 2, 16, 16, 100, 12, 12, 100, 7, 8, 500, 20, 6, 7, 90, 2, 900};
    const QK4_FhrResult* result;
    const QK4_FhrLocation* location;

    check(QK4_getUCLocation()->accelerationStarts.count == 0, "no events before any run");
    check(QK4_getFischer2Baseline()->count == 0, "no baseline before any run");
    QK4_setParameter(&given);
    check(memcmp(QK4_getParameter(), &given, sizeof given) == 0, "parameters round trip");

    /* 140 bpm with a plateau 20 bpm higher for 20 s from sample 1000. */
    for (int i = 0; i < SAMPLES; ++i) fhr[i] = (i >= 1000 && i < 1000 + 20 * RATE) ? 160 : 140;
    result = (const QK4_FhrResult*)QK4_calFhrKrebs(fhr, fm, SAMPLES, RATE);
    check(result->totalScore != -1 && result->accelerationCount == 1, "Krebs run");
    location = QK4_getKrebsLocation();
    check(location->accelerationStarts.count == 1 && location->accelerationEnds.data[0] == 1080,
          "acceleration exported");
    check(QK4_getKrebsBaseline()->count == SAMPLES, "baseline curve exported");
    check(QK4_calFhrKrebs(fhr, fm, SAMPLES, 0)[0] == -1, "rate 0 fails the run");

    read_recording();

    if (failures == 0) printf("c_consumer: all checks passed\n");
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
