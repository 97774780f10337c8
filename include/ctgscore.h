/**
 * @file ctgscore.h
 * @brief ctgscore: cardiotocography (CTG) analysis library.
 *
 * A host hands over the fetal heart rate trace (bpm), the contraction (toco)
 * trace and the fetal movement marks as int arrays.  The library finds the
 * heart-rate baseline, accelerations, decelerations, contractions and
 * movements, measures the short-term variability and rates the recording by
 * one of four methods: the Krebs score, a modified Fischer score, ACOG
 * guideline flags and a contraction method.
 *
 * Ownership: everything the library returns is owned by the library; the
 * host never frees it.  Lifetime: the result record and the parameter record
 * are overwritten by later calls; arrays handed out by the location and
 * baseline getters stay valid for the life of the process.
 *
 * One thread at a time: all functions work on one process-wide analyser,
 * created by the first call and never destroyed, and share its results and
 * the contraction filter state (which carries over from call to call).  Calls
 * must not overlap; a host that calls from several threads serialises every
 * call, getters included.
 *
 * Failure shows only in the result record (see ::QK4_FhrResult) and in the
 * daily run log "FhrScore_<year>_<month>_<day>.log" that every run appends to
 * in the working directory, its lines also echoed to standard output.
 *
 * This header compiles as C and as C++.  The three ACOG functions have C++
 * linkage and are therefore declared for C++ only.
 */
#ifndef CTGSCORE_H
#define CTGSCORE_H

/** Marks the exported functions (default symbol visibility). */
#if defined(__GNUC__)
#define CTGSCORE_API __attribute__((visibility("default")))
#else
#define CTGSCORE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @brief Tuning of event detection: 17 ints, in this order.
 *
 * Times are in seconds, amplitudes in bpm.  Each run uses a field's default
 * in place of a value outside its range (the record itself keeps the value
 * given); -1 means "not set".
 */
typedef struct QK4_FhrParameter {
    int varAmplitudeMin; /**< 0: swing counted for the variability amplitude, bpm; 2..10, default 4 */
    int varCycleMin;     /**< 1: swing counted for the oscillation frequency, bpm; 1..5, default 3 */
    int accMinDuration;  /**< 2: shortest acceleration, s; 15..20, default 17 */
    int accMinAmplitude; /**< 3: least rise above the baseline, bpm; 15..20, default 17 */
    int accMinSpacing;   /**< 4: spacing of accelerations, s; 30..600, default 120 */
    int decMinDuration;  /**< 5: shortest deceleration, s; 10..20, default 18 */
    int decMinAmplitude; /**< 6: least fall below the baseline, bpm; 10..20, default 18 */
    int decMinSpacing;   /**< 7: spacing of decelerations, s; 30..600, default 120 */
    int auxPeakA;        /**< 8: Fischer heart-rate peak height; 5..15, default 6 */
    int auxPeakB;        /**< 9: Fischer heart-rate peak prominence; 5..15, default 6 */
    int auxPeakSpan;     /**< 10: Fischer heart-rate peak spacing, samples; 20..600, default 24 */
    int auxPeakD;        /**< 11: Fischer heart-rate peak width, samples; 10..35, default 15 */
    int ucPeakA;         /**< 12: contraction peak height; 5..15, default 10 */
    int ucPeakB;         /**< 13: contraction peak prominence; 5..15, default 10 */
    int ucPeakSpan;      /**< 14: contraction peak spacing, s; 20..600, default 60 */
    int fmMode;          /**< 15: movement bit: 0 bit 8, 1 bit 4, 2 either; default 1 */
    int reserved16;      /**< 16: checked and logged, not used; 300..1800, default 300 */
} QK4_FhrParameter;

/**
 * @brief The result of a run: 54 consecutive 32-bit words.
 *
 * Every word is -1 after a failed run, and every word a method does not fill
 * stays -1.  The doubles take two words each.  The contraction method gives
 * words 0..7 meanings of its own: 0 the intensity rating (0..2), 1 the last
 * contraction's end minus its peak, 2 the last peak minus the end before it,
 * 3 the baseline heart rate, 4 and 6 the last two contraction ends, 5 the
 * last peak, 7 the highest toco value of the first five minutes (positions in
 * samples).
 */
typedef struct QK4_FhrResult {
    int totalScore;               /**< 0: total score (Krebs 0..12, Fischer 0..10); ACOG leaves it -1 */
    int baselineScore;            /**< 1: baseline item, points */
    int amplitudeScore;           /**< 2: variability amplitude item, points */
    int frequencyScore;           /**< 3: oscillation frequency item, points */
    int accelerationScore;        /**< 4: accelerations item, points */
    int decelerationScore;        /**< 5: decelerations item, points */
    int movementScore;            /**< 6: fetal movements item (Krebs), points */
    int acogBaselineFlags[4];     /**< 7..10: ACOG baseline flags, one-hot */
    int acogVariabilityFlags[5];  /**< 11..15: ACOG variability flags, one-hot */
    int acogAccelerationFlags[4]; /**< 16..19: ACOG acceleration flags, one-hot */
    int acogDecFlagsA[3];         /**< 20..22: ACOG early-deceleration flags */
    int strongContractionFlag;    /**< 23: Fischer: 1 when strong contractions were found */
    int acogDecFlagsB[5];         /**< 24..28: ACOG late or low deceleration flags */
    int acogDecFlagsC[3];         /**< 29..31: ACOG delayed-deceleration flags */
    int acogPatternFlags[3];      /**< 32..34: ACOG pattern flags */
    int baselineFhr;              /**< 35: baseline heart rate, bpm (-1: ACOG run failed) */
    double variabilityAmplitude;  /**< 36..37: mean swing, bpm; not a number without swings */
    double oscillationFrequency;  /**< 38..39: most swings within 60 samples */
    int accelerationCount;        /**< 40: accelerations found */
    int decelerationCount;        /**< 41: Krebs: decelerations; Fischer and ACOG: deep ones */
    int decelerationPattern;      /**< 42: Fischer and ACOG: highest deceleration type found, 0 none */
    int reserved43;               /**< 43: not used */
    int decTypeCount1;            /**< 44: decelerations of type 1 (early) */
    int decTypeCount2;            /**< 45: decelerations of type 2 (late or low) */
    int decelerationExtra;        /**< 46: Fischer and ACOG: all decelerations */
    int decTypeCount3;            /**< 47: decelerations of type 3 (delayed) */
    int decTypeCount4;            /**< 48: decelerations of other types */
    int acogReservedE;            /**< 49: ACOG sets it to 0 */
    int acogReservedF;            /**< 50: ACOG sets it to 0 */
    int movementCount;            /**< 51: fetal movements found */
    int reserved52;               /**< 52: the contraction method sets it to 0 */
    int reserved53;               /**< 53: not used */
} QK4_FhrResult;

/** @brief One exported list: a library-owned array and its length. */
typedef struct QK4_FhrList {
    int* data; /**< the values; valid for the life of the process */
    int count; /**< number of values */
} QK4_FhrList;

/**
 * @brief Event locations of a method's last run, as sample positions.
 *
 * The n-th start and the n-th end bound the n-th event.  The contraction
 * method finds no events: its lists are empty.
 */
typedef struct QK4_FhrLocation {
    QK4_FhrList accelerationStarts; /**< first sample of each acceleration */
    QK4_FhrList accelerationEnds;   /**< last sample of each acceleration */
    QK4_FhrList decelerationStarts; /**< first sample of each deceleration */
    QK4_FhrList decelerationEnds;   /**< last sample of each deceleration */
} QK4_FhrLocation;

/** @brief The heart-rate baseline curve of a method's last run. */
typedef struct QK4_FhrBaseline {
    double* data; /**< one value per sample, bpm; valid for the life of the process */
    int count;    /**< number of values: one per sample analysed, 0 after a failed run */
} QK4_FhrBaseline;

/** Number of 32-bit words in ::QK4_FhrResult. */
#define CTGSCORE_RESULT_WORDS 54

/**
 * @brief Stores the parameter record that every later run uses.
 *
 * The 17 fields are copied as given, without checks; each run replaces a
 * field outside its range by its default.  Until the first call every field
 * is "not set" (-1), so runs use the defaults.
 *
 * @param parameters the record to copy; NULL is ignored.  The library keeps
 *                   no pointer to it.
 */
CTGSCORE_API void QK4_setParameter(QK4_FhrParameter* parameters);

/**
 * @brief The stored parameter record.
 *
 * When any of fields 0..7, 15 or 16 is -1 ("not set"), the stored record is
 * first replaced by the 17 defaults; -1 in fields 8..14 only is shown as given.
 *
 * @return the library's record; valid for the life of the process, changed by
 *         the next QK4_setParameter() or QK4_getParameter().  Never NULL.
 */
CTGSCORE_API QK4_FhrParameter* QK4_getParameter(void);

/**
 * @brief Rates a recording by the Krebs score (total 0..12, six items of 0..2).
 *
 * @param fhr    heart rate, bpm, one value per sample (0 = signal loss; values
 *               outside 60..210 are replaced by the last valid one); at least
 *               `length` values.
 * @param fm     movement marks, one word per second (`length / rate` words);
 *               bit 4 or 8 marks a movement (see QK4_FhrParameter::fmMode).
 *               NULL: no marks.
 * @param length samples in each trace; at least one minute (60 * `rate`).
 * @param rate   samples per second, at least 1.
 * @return the shared result record (::QK4_FhrResult, CTGSCORE_RESULT_WORDS
 *         words), overwritten by the next run of any method.  Never NULL.  On
 *         failure (rate below 1, less than a minute, `fhr` NULL, no heart-rate
 *         sample in 60..210) every word is -1 and the log names the reason.
 */
CTGSCORE_API int* QK4_calFhrKrebs(int const* fhr, int const* fm, int length, int rate);

/**
 * @brief Accelerations and decelerations of the last Krebs run.
 *
 * Every call allocates four new arrays (the lists' lengths) and keeps the
 * earlier ones, so a host that calls it for ever grows by that much a call.
 *
 * @return the shared location record, refilled by every location getter;
 *         the arrays it points to stay valid for the life of the process.
 *         Never NULL; before any run the lists are empty.
 */
CTGSCORE_API QK4_FhrLocation* QK4_getKrebsLocation(void);

/**
 * @brief The heart-rate baseline curve of the last Krebs run.
 *
 * Every call allocates a new array of the curve's length and keeps the
 * earlier ones.
 *
 * @return the shared baseline record, refilled by every baseline getter; the
 *         array it points to stays valid for the life of the process.  Never
 *         NULL; before any run the curve is empty.
 */
CTGSCORE_API QK4_FhrBaseline* QK4_getKrebsBaseline(void);

/**
 * @brief Rates the contractions of a recording (intensity rating 0..2).
 *
 * Words 0..7 of the result take the contraction method's own meanings (see
 * ::QK4_FhrResult).  Toco samples of 0 count as 1.  The contraction filter
 * state carries over from earlier runs in the process.
 *
 * @param fhr    heart rate, bpm, one value per sample (see QK4_calFhrKrebs()).
 * @param uc     toco trace, device units, one value per sample; `length` values.
 * @param fm     movement marks, one word per second, or NULL.
 * @param length samples in each trace; at least one minute (60 * `rate`).
 * @param rate   samples per second, at least 1.
 * @return the shared result record, as for QK4_calFhrKrebs(); on failure
 *         (also with `uc` NULL) every word is -1.
 */
CTGSCORE_API int* QK4_calFhrUC(int const* fhr, int const* uc, int const* fm, int length, int rate);

/**
 * @brief Event locations of the last contraction-method run: always empty lists.
 * @return as for QK4_getKrebsLocation().
 */
CTGSCORE_API QK4_FhrLocation* QK4_getUCLocation(void);

/**
 * @brief The heart-rate baseline curve of the last contraction-method run.
 * @return as for QK4_getKrebsBaseline().
 */
CTGSCORE_API QK4_FhrBaseline* QK4_getUCBaseline(void);

/**
 * @brief Rates a recording by the modified Fischer score (total 0..10).
 *
 * The heart rate is smoothed over 15 samples before its range is checked.
 * The deceleration types (words 42, 44..48) and the strong-contraction flag
 * (word 23) depend on the contractions found, and so on the contraction filter
 * state left by earlier runs in the process.
 *
 * @param fhr    heart rate, bpm, one value per sample (see QK4_calFhrKrebs()).
 * @param uc     toco trace, device units, one value per sample.
 * @param fm     movement marks, one word per second, or NULL.
 * @param length samples in each trace; at least five minutes (300 * `rate`).
 * @param rate   samples per second, at least 1.
 * @return the shared result record, as for QK4_calFhrKrebs(); on failure
 *         (also with `uc` NULL or under five minutes) every word is -1.
 */
CTGSCORE_API int* QK4_calFhrFischer2(int const* fhr, int const* uc, int const* fm, int length,
                                     int rate);

/**
 * @brief Accelerations and decelerations of the last Fischer run.
 * @return as for QK4_getKrebsLocation().
 */
CTGSCORE_API QK4_FhrLocation* QK4_getFischer2Location(void);

/**
 * @brief The heart-rate baseline curve of the last Fischer run.
 * @return as for QK4_getKrebsBaseline().
 */
CTGSCORE_API QK4_FhrBaseline* QK4_getFischer2Baseline(void);

#ifdef __cplusplus
} /* extern "C" */

/**
 * @brief Classifies a recording by the ACOG guideline: one-hot flags in words
 *        7..34.
 *
 * Exported under its C++ (mangled) name.  Word 0 is never written: a failed
 * run shows as word 35 (the baseline heart rate) staying -1.
 *
 * @param fhr    heart rate, bpm, one value per sample (see QK4_calFhrKrebs()).
 * @param uc     toco trace, device units, one value per sample.
 * @param fm     movement marks, one word per second, or NULL.
 * @param length samples in each trace; at least one minute (60 * `rate`).
 * @param rate   samples per second, at least 1.
 * @return the shared result record, as for QK4_calFhrKrebs(); on failure
 *         (also with `uc` NULL) every word is -1.
 */
CTGSCORE_API int* QK4_calFhrAcog(int const* fhr, int const* uc, int const* fm, int length,
                                 int rate);

/**
 * @brief Accelerations and decelerations of the last ACOG run (C++ linkage).
 * @return as for QK4_getKrebsLocation().
 */
CTGSCORE_API QK4_FhrLocation* QK4_getAcogLocation();

/**
 * @brief The heart-rate baseline curve of the last ACOG run (C++ linkage).
 * @return as for QK4_getKrebsBaseline().
 */
CTGSCORE_API QK4_FhrBaseline* QK4_getAcogBaseline();
#endif

#endif /* CTGSCORE_H */
