/* A C host of libctgscore: rates a made-up 20-minute recording by all four
 * methods and prints one line per method.  Its standard output carries only
 * those lines: the library's log echo goes to /dev/null around every call
 * (the daily log file in the working directory keeps the lines).
 *
 * Built against an installed copy:
 *   export PKG_CONFIG_PATH=/opt/ctgscore/lib/pkgconfig
 *   cc -std=c99 c_host.c $(pkg-config --cflags --libs ctgscore) \
 *      -Wl,-rpath,"$(pkg-config --variable=libdir ctgscore)" -o c_host
 */
#define _POSIX_C_SOURCE 200809L

#include <ctgscore.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

enum { RATE = 4, SAMPLES = 20 * 60 * RATE, SECONDS = SAMPLES / RATE };

static int fhr[SAMPLES]; /* bpm */
static int uc[SAMPLES];  /* toco units */
static int fm[SECONDS];  /* movement marks, one word per second */

/* 140 bpm swinging by 8 bpm every 6 s, with a 20 s rise of 25 bpm every 6
 * minutes. */
static int heart_rate(int second) {
    const int rising = second % 360 >= 150 && second % 360 < 170;
    return (rising ? 165 : 140) + (second % 6 < 3 ? 4 : -4);
}

/* A resting tone of 15 and a contraction of one minute peaking at 60 every
 * 4 minutes. */
static int toco(int second) {
    const int into_contraction = second % 240 - 120;
    if (into_contraction < 0 || into_contraction >= 60) return 15;
    return 60 - 45 * abs(into_contraction - 30) / 30;
}

/* Fills the traces, with a movement mark every 5 minutes. */
static void make_recording(void) {
    for (int i = 0; i < SAMPLES; ++i) {
        fhr[i] = heart_rate(i / RATE);
        uc[i] = toco(i / RATE);
    }
    for (int second = 100; second < SECONDS; second += 300) fm[second] = 4;
}

/* Points standard output at /dev/null and returns the descriptor to restore. */
static int mute_stdout(void) {
    fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    const int sink = open("/dev/null", O_WRONLY);
    if (saved < 0 || sink < 0 || dup2(sink, STDOUT_FILENO) < 0) {
        perror("c_host: redirecting standard output");
        exit(EXIT_FAILURE);
    }
    close(sink);
    return saved;
}

static void restore_stdout(int saved) {
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
}

static int* run_krebs(void) { return QK4_calFhrKrebs(fhr, fm, SAMPLES, RATE); }
static int* run_fischer(void) { return QK4_calFhrFischer2(fhr, uc, fm, SAMPLES, RATE); }
static int* run_acog(void) { return QK4_calFhrAcog(fhr, uc, fm, SAMPLES, RATE); }
static int* run_uc(void) { return QK4_calFhrUC(fhr, uc, fm, SAMPLES, RATE); }

static void print_krebs(const int* words) {
    printf("total %d of 12", ((const QK4_FhrResult*)words)->totalScore);
}

static void print_fischer(const int* words) {
    printf("total %d of 10", ((const QK4_FhrResult*)words)->totalScore);
}

static void print_flags(const char* name, const int* flags, int count) {
    printf(" %s ", name);
    for (int i = 0; i < count; ++i) printf("%d", flags[i]);
}

static void print_acog(const int* words) {
    const QK4_FhrResult* r = (const QK4_FhrResult*)words;
    printf("flags");
    print_flags("baseline", r->acogBaselineFlags, 4);
    print_flags("variability", r->acogVariabilityFlags, 5);
    print_flags("accelerations", r->acogAccelerationFlags, 4);
    print_flags("early", r->acogDecFlagsA, 3);
    print_flags("late", r->acogDecFlagsB, 5);
    print_flags("delayed", r->acogDecFlagsC, 3);
    print_flags("pattern", r->acogPatternFlags, 3);
}

static void print_contractions(const int* words) {
    const QK4_UcResult* r = (const QK4_UcResult*)words;
    printf("rating %d, strongest %d, last peak at %d ending at %d, previous end %d",
           r->intensityRating, r->peakContraction, r->lastContractionPeak, r->lastContractionEnd,
           r->previousContractionEnd);
}

typedef struct Method {
    const char* name;
    int* (*run)(void);
    QK4_FhrLocation* (*location)(void);
    QK4_FhrBaseline* (*baseline)(void);
    void (*print)(const int* words);
} Method;

static const Method methods[] = {
    {"krebs", run_krebs, QK4_getKrebsLocation, QK4_getKrebsBaseline, print_krebs},
    {"fischer", run_fischer, QK4_getFischer2Location, QK4_getFischer2Baseline, print_fischer},
    {"acog", run_acog, QK4_getAcogLocation, QK4_getAcogBaseline, print_acog},
    {"contractions", run_uc, QK4_getUCLocation, QK4_getUCBaseline, print_contractions},
};

/* Runs one method and prints its line; returns 0 when the run failed. */
static int report(const Method* method) {
    const int saved = mute_stdout();
    const QK4_FhrResult* result = (const QK4_FhrResult*)method->run();
    const QK4_FhrLocation* events = method->location();
    const QK4_FhrBaseline* curve = method->baseline();
    restore_stdout(saved);
    if (result->baselineFhr == -1) {
        fprintf(stderr, "c_host: the %s run failed; the daily log says why\n", method->name);
        return 0;
    }
    printf("%s: ", method->name);
    method->print((const int*)result);
    printf("; baseline %d bpm over %d samples, %d accelerations, %d decelerations\n",
           result->baselineFhr, curve->count, events->accelerationStarts.count,
           events->decelerationStarts.count);
    return 1;
}

int main(void) {
    printf("ctgscore %d.%d.%d\n", CTGSCORE_VERSION_MAJOR, CTGSCORE_VERSION_MINOR,
           CTGSCORE_VERSION_PATCH);
    make_recording();

    const int saved = mute_stdout();
    QK4_FhrParameter* parameters = QK4_getParameter();
    parameters->accMinSpacing = 90;
    QK4_setParameter(parameters);
    restore_stdout(saved);

    int succeeded = 1;
    for (size_t i = 0; i < sizeof methods / sizeof methods[0]; ++i) {
        succeeded &= report(&methods[i]);
    }
    return succeeded ? EXIT_SUCCESS : EXIT_FAILURE;
}
