/*
 * ctgscore: cardiotocography (CTG) analysis library.
 *
 * A host hands over the fetal heart rate trace (bpm), the contraction trace
 * (toco units) and the fetal movement marks (one word per second) as int
 * arrays; the library returns a result record of 54 32-bit words, the event
 * locations and the heart-rate baseline curve.  Everything returned is owned
 * by the library and stays valid for the life of the process.  The library
 * keeps process-wide state: calls must not overlap.
 *
 * This header compiles as C and as C++.  The three ACOG functions have C++
 * linkage and are therefore declared for C++ only.
 */
#ifndef CTGSCORE_H
#define CTGSCORE_H

#if defined(__GNUC__)
#define CTGSCORE_API __attribute__((visibility("default")))
#else
#define CTGSCORE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Tuning of event detection: 17 ints.  Out-of-range fields are replaced by
 * their defaults before every analysis; -1 means "not set". */
typedef struct QK4_FhrParameter {
    int varAmplitudeMin; /*  0: 2..10,    default 4   */
    int varCycleMin;     /*  1: 1..5,     default 3   */
    int accMinDuration;  /*  2: 15..20 s, default 17  */
    int accMinAmplitude; /*  3: 15..20,   default 17  */
    int accMinSpacing;   /*  4: 30..600 s, default 120 */
    int decMinDuration;  /*  5: 10..20 s, default 18  */
    int decMinAmplitude; /*  6: 10..20,   default 18  */
    int decMinSpacing;   /*  7: 30..600 s, default 120 */
    int auxPeakA;        /*  8: 5..15,    default 6   */
    int auxPeakB;        /*  9: 5..15,    default 6   */
    int auxPeakSpan;     /* 10: 20..600,  default 24  */
    int auxPeakD;        /* 11: 10..35,   default 15  */
    int ucPeakA;         /* 12: 5..15,    default 10  */
    int ucPeakB;         /* 13: 5..15,    default 10  */
    int ucPeakSpan;      /* 14: 20..600 s, default 60 */
    int fmMode;          /* 15: 0..2,     default 1   */
    int reserved16;      /* 16: 300..1800, default 300 */
} QK4_FhrParameter;

/* The result record: 54 consecutive 32-bit words, all -1 after a reset.
 * Doubles take two words.  Comments give the word index.  The contraction
 * method reuses words 0..7 for its own values (see README). */
typedef struct QK4_FhrResult {
    int totalScore;               /*  0 */
    int baselineScore;            /*  1 */
    int amplitudeScore;           /*  2 */
    int frequencyScore;           /*  3 */
    int accelerationScore;        /*  4 */
    int decelerationScore;        /*  5 */
    int movementScore;            /*  6 */
    int acogBaselineFlags[4];     /*  7..10 */
    int acogVariabilityFlags[5];  /* 11..15 */
    int acogAccelerationFlags[4]; /* 16..19 */
    int acogDecFlagsA[3];         /* 20..22 */
    int strongContractionFlag;    /* 23 */
    int acogDecFlagsB[5];         /* 24..28 */
    int acogDecFlagsC[3];         /* 29..31 */
    int acogPatternFlags[3];      /* 32..34 */
    int baselineFhr;              /* 35 */
    double variabilityAmplitude;  /* 36..37 */
    double oscillationFrequency;  /* 38..39 */
    int accelerationCount;        /* 40 */
    int decelerationCount;        /* 41 */
    int decelerationPattern;      /* 42 */
    int reserved43;               /* 43 */
    int decTypeCount1;            /* 44 */
    int decTypeCount2;            /* 45 */
    int decelerationExtra;        /* 46 */
    int decTypeCount3;            /* 47 */
    int decTypeCount4;            /* 48 */
    int acogReservedE;            /* 49 */
    int acogReservedF;            /* 50 */
    int movementCount;            /* 51 */
    int reserved52;               /* 52 */
    int reserved53;               /* 53 */
} QK4_FhrResult;

/* One exported list: a library-owned array and its length. */
typedef struct QK4_FhrList {
    int* data;
    int count;
} QK4_FhrList;

/* Event locations of a method's last run, in samples. */
typedef struct QK4_FhrLocation {
    QK4_FhrList accelerationStarts; /* acceleration list A */
    QK4_FhrList accelerationEnds;   /* acceleration list B */
    QK4_FhrList decelerationStarts; /* deceleration list A */
    QK4_FhrList decelerationEnds;   /* deceleration list B */
} QK4_FhrLocation;

/* The heart-rate baseline curve of a method's last run, one value a sample. */
typedef struct QK4_FhrBaseline {
    double* data;
    int count;
} QK4_FhrBaseline;

#define CTGSCORE_RESULT_WORDS 54

CTGSCORE_API void QK4_setParameter(QK4_FhrParameter* parameters);
CTGSCORE_API QK4_FhrParameter* QK4_getParameter(void);

CTGSCORE_API int* QK4_calFhrKrebs(int const* fhr, int const* fm, int length, int rate);
CTGSCORE_API QK4_FhrLocation* QK4_getKrebsLocation(void);
CTGSCORE_API QK4_FhrBaseline* QK4_getKrebsBaseline(void);

CTGSCORE_API int* QK4_calFhrUC(int const* fhr, int const* uc, int const* fm, int length, int rate);
CTGSCORE_API QK4_FhrLocation* QK4_getUCLocation(void);
CTGSCORE_API QK4_FhrBaseline* QK4_getUCBaseline(void);

CTGSCORE_API int* QK4_calFhrFischer2(int const* fhr, int const* uc, int const* fm, int length,
                                     int rate);
CTGSCORE_API QK4_FhrLocation* QK4_getFischer2Location(void);
CTGSCORE_API QK4_FhrBaseline* QK4_getFischer2Baseline(void);

#ifdef __cplusplus
} /* extern "C" */

/* The ACOG entry points are exported under their C++ (mangled) names. */
CTGSCORE_API int* QK4_calFhrAcog(int const* fhr, int const* uc, int const* fm, int length,
                                 int rate);
CTGSCORE_API QK4_FhrLocation* QK4_getAcogLocation();
CTGSCORE_API QK4_FhrBaseline* QK4_getAcogBaseline();
#endif

#endif /* CTGSCORE_H */
